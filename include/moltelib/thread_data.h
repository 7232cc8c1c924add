/*
 * What the library keeps for each thread: the error record, a scratch buffer, named items, client
 * data and the thread's call trace; and a way for programs to keep a block of their own per thread.
 *
 * A thread's block is made at its first use and needs no bring-up. The library gets no notice when
 * a thread ends: a thread calls MOLTE_THDATA_FreeData before it does, or its block is lost.
 * All functions work on the calling thread; none locks.
 *
 * Failures are reported under module "oxthrdat".
 */
#ifndef MOLTELIB_THREAD_DATA_H
#define MOLTELIB_THREAD_DATA_H

#include "moltelib/base.h"
#include "moltelib/format/error_record.h"

#define MOLTE_THITEM_MAX 4
#define MOLTE_THITEM_NAME_SIZE 24
#define MOLTE_CLIENTDATA_SIZE 32

/* A frame of a call trace. */
typedef struct MOLTE_CALLTRACEENT {
    char szFile[12]; /* the last 11 characters of the source name, terminated */
    int32_t nLine;
} MOLTE_CALLTRACEENT;

/* A call trace. All zero is an empty one; pEnt is released with ORVEX_free. */
typedef struct MOLTE_CALLTRACEHEAD {
    MOLTE_CALLTRACEENT* pEnt;
    int32_t nCount;    /* entries in use */
    int32_t nCapacity; /* entries allocated */
    int32_t nSkip;     /* pushes that found no memory and stand in no entry */
} MOLTE_CALLTRACEHEAD;

/* A named item. The library never looks at pData. */
typedef struct MOLTE_THITEM {
    char szName[MOLTE_THITEM_NAME_SIZE];
    void* pData;
} MOLTE_THITEM;

/* The block of a thread. It begins with the error record: one pointer serves as both. */
typedef struct MOLTE_THDATA {
    ORVEX_ERRDATA stErr;
    char szBuffer[32];
    int32_t bInnerThread; /* an inner worker thread of the program */
    int32_t nItemCount;   /* 0 to 4 */
    int32_t bHasClientData;
    int32_t nClientDataLen; /* 0 to 32 */
    MOLTE_THITEM astItem[MOLTE_THITEM_MAX];
    uint8_t abyClientData[MOLTE_CLIENTDATA_SIZE];
    struct MOLTE_THREADLISTNODE* pCallTrace; /* null until the first trace entry */
} MOLTE_THDATA;

/* A key of per-thread blocks. */
typedef struct MOLTE_THDATAKEY {
    int32_t bInited;
    int32_t nDataSize; /* bytes of a thread's block */
    uint32_t nKey;     /* the platform's thread-local key */
} MOLTE_THDATAKEY;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_CALLTRACEENT) == 16, "the size is part of the interface");
static_assert(sizeof(MOLTE_THITEM) == 32, "the size is part of the interface");
static_assert(sizeof(MOLTE_THDATA) == 856, "the size is part of the interface");
static_assert(offsetof(MOLTE_THDATA, stErr) == 0, "a block is used as its error record");
#endif

/*
 * Makes the library's thread-local key. 1, also when it is there already; -1 when the platform has
 * no key left. Called at bring-up, and by the first use of a block before it.
 */
MOLTE_API int32_t MOLTE_THDATA_Init(void);

/* Gives the key back. 1, or 0 when there was none. The block of no thread is freed. */
MOLTE_API int32_t MOLTE_THDATA_Destroy(void);

/*
 * The calling thread's block, made and zeroed at its first use; it stays the library's. Null when
 * there is no key or no memory; no error is set then, for it is the error record that is missing.
 */
MOLTE_API MOLTE_THDATA* MOLTE_THDATA_GetData(void);

/* The block if the thread has one, else null. */
MOLTE_API MOLTE_THDATA* MOLTE_THDATA_GetDataNoAlloc(void);

/* Frees the block and takes the thread off the thread list. 0 when there is no key, else 1. */
MOLTE_API int32_t MOLTE_THDATA_FreeData(void);

/* The block's scratch buffer of 32 bytes, or null. */
MOLTE_API char* MOLTE_THDATA_GetBuffer(void);

/* Marks the thread as an inner worker (or not); gives bFlag back, or 0 when there is no block. */
MOLTE_API int32_t MOLTE_THDATA_SetInnerThreadFlag(int32_t bFlag);

/* The flag of above; 0 when there is no block. */
MOLTE_API int32_t MOLTE_THDATA_IsInnerThread(void);

/*
 * Keeps nLen bytes of pData for the thread and gives the number kept. An nLen below 0 or above 31
 * counts as 32, so pData then holds 32 bytes. -1 when there is no block, or with error 50 when
 * pData is null.
 */
MOLTE_API int32_t MOLTE_THDATA_SetClientData(const void* pData, int32_t nLen);

/*
 * Copies the kept bytes, at most nLen, to pBuf and gives their number; 0 when nothing was kept.
 * -1 when there is no block, or with error 50 when pBuf is null or nLen negative.
 */
MOLTE_API int32_t MOLTE_THDATA_GetClientData(void* pBuf, int32_t nLen);

/*
 * Adds a named item behind the others; names need not differ. 1; -1 with error 117 when 4 items are
 * in use, with error 124 for a name of 24 characters or more, with error 50 for a null name.
 */
MOLTE_API int32_t MOLTE_THITEMDAT_Add(const char* pszName, void* pData);

/*
 * Finding an item by name looks at the first item only. Any other name counts as not found, even
 * if the table holds it; MOLTE_THITEMDAT_GetLast and MOLTE_THITEMDAT_GetByIndex reach the others.
 */

/* Removes the first item if it has this name; those behind it move up. 1, 0 not found, -1. */
MOLTE_API int32_t MOLTE_THITEMDAT_Remove(const char* pszName);

/* Removes the last item. 1, or -1 with error 120 when there is none. */
MOLTE_API int32_t MOLTE_THITEMDAT_RemoveLast(void);

/* The data of the first item if it has this name; else null with error 120. */
MOLTE_API void* MOLTE_THITEMDAT_Get(const char* pszName);

/* The data of the last item, or null with error 120. */
MOLTE_API void* MOLTE_THITEMDAT_GetLast(void);

/* The data of item nIndex, from 0; null with error 120 when there is no such item. */
MOLTE_API void* MOLTE_THITEMDAT_GetByIndex(int32_t nIndex);

/*
 * Records a frame at the end of a trace: the last 11 characters of pszFile, and the line. 1; 0 when
 * it was not recorded: there is no memory, or an earlier push found none and was not popped yet.
 */
MOLTE_API int32_t MOLTE_CALLTRACEHEAD_PushEnt(MOLTE_CALLTRACEHEAD* pHead, const char* pszFile,
                                              int32_t nLine);

/*
 * Undoes nCount pushes. With at least nCount unrecorded ones those alone are counted off: 0.
 * Otherwise the entries less the unrecorded ones are dropped, 1, and the count of unrecorded ones
 * stays as it is: a trace that ran out of memory stays short from then on. An nCount below 1: 0.
 */
MOLTE_API int32_t MOLTE_CALLTRACEHEAD_PopEnt(MOLTE_CALLTRACEHEAD* pHead, int32_t nCount);

/*
 * Records a frame of the calling thread: 1, or 0 when it was not recorded. Does nothing unless the
 * parameter SupportStackTrace is on and the library is up. The first frame of a thread stands
 * twice in its trace.
 */
MOLTE_API int32_t MOLTE_STACKTRACE_AddEnt(const char* pszFile, int32_t nLine);

/* Undoes nCount frames of the calling thread, as MOLTE_CALLTRACEHEAD_PopEnt. */
MOLTE_API int32_t MOLTE_STACKTRACE_RemoveEnt(int32_t nCount);

/*
 * Writes the thread's trace as text to pszBuf, a line "name" "line" "\n" for each frame, with
 * nothing between name and number. Nothing bounds it: the caller's buffer holds up to 23 bytes per
 * frame and a terminator. Empty when traces are off or the thread has none. 1, or 0 for null.
 */
MOLTE_API int32_t MOLTE_STACKTRACE_GetHistory(char* pszBuf);

/*
 * Blocks of a program's own, one for each thread. Making, freeing and asking take the key itself;
 * the two getters take a key record whose nKey and nDataSize the caller has filled.
 */

/* Makes a key. 1, or -1 when the platform has none left, or with error 50 for null. */
MOLTE_API int32_t ORVEX_InitThreadDataKey(uint32_t* pKey);

/* Gives the key back; the threads' blocks stay allocated. 1, or -1 with error 50 for null. */
MOLTE_API int32_t ORVEX_ReleaseThreadDataKey(uint32_t* pKey);

/* The calling thread's block of nDataSize bytes, made and zeroed at its first use; null on failure,
 * with error 20 when memory is out. ORVEX_FreeThreadSpecData frees it. */
MOLTE_API void* ORVEX_GetThreadSpecData(const MOLTE_THDATAKEY* pRec);

/* The block if the thread has one, else null. */
MOLTE_API void* ORVEX_GetThreadSpecDataNoAlloc(const MOLTE_THDATAKEY* pRec);

/* Frees the calling thread's block, if it has one. 1, or -1 with error 50 for null. */
MOLTE_API int32_t ORVEX_FreeThreadSpecData(const uint32_t* pKey);

/* 1 if the calling thread has a block, else 0. */
MOLTE_API int32_t ORVEX_HasThreadSpecData(const uint32_t* pKey);

#endif
