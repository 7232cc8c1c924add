/*
 * Locks by name between the threads of a process: one table of slots, of which a name has one only
 * while somebody holds or wants it.
 *
 *     ORVEX_LISTLOCKHANDLE lock;
 *     if (ORVEX_LOCK_LockItem(&lock, 0, 0, 0, "card 17") == 1) {
 *         ...
 *         ORVEX_LOCK_UnLockItem(&lock);
 *     }
 *
 * A thread may lock a name again while it holds it; each lock has a handle of its own. Functions
 * may be called from any thread, but ORVEX_LOCK_ListLockFree only while nobody holds or wants
 * anything.
 *
 * Failures are reported under module "orvexlck".
 */
#ifndef MOLTELIB_LIST_LOCK_H
#define MOLTELIB_LIST_LOCK_H

#include "moltelib/base.h"

#define ORVEX_LISTLOCK_NAME_SIZE 264

/* A slot of the table. */
typedef struct ORVEX_LISTLOCKITEM {
    OXCRITSECT stCrit; /* the lock of the name */
    int32_t nRef;      /* who holds it and who waits; free at 0 or below */
    int32_t bNoMatch;  /* always 0; a slot with it set would not be found by its name */
    char szName[ORVEX_LISTLOCK_NAME_SIZE];
} ORVEX_LISTLOCKITEM;

/* The table; the library's own. */
typedef struct ORVEX_LISTLOCK {
    OXCRITSECT stCrit;
    int32_t nMaxItem; /* slots */
    int32_t nUsed;    /* all above were never used, or are free again */
    ORVEX_LISTLOCKITEM* pItem;
} ORVEX_LISTLOCK;

/* A lock that is held; in the caller's memory. */
typedef struct ORVEX_LISTLOCKHANDLE {
    ORVEX_LISTLOCK* pList;
    int32_t nIndex; /* of the slot; -1 after unlocking */
} ORVEX_LISTLOCKHANDLE;

/* ---- The table ---- */

/* How many slots the next table gets; 32 unless it was set. */
MOLTE_API int32_t ORVEX_LOCK_GetListLockCnt(void);

/* Sets it, to at most 2048. Always 1. A table that stands keeps its size. nUnused isn't looked at.
 */
MOLTE_API int32_t ORVEX_LOCK_SetListLockCnt(int32_t nUnused, int32_t nCount);

/*
 * Makes the table, if it doesn't stand; the first lock does it too. 1; -1 with the error of the
 * allocator and a line in the history, also for a count below 0. With a count of 0 the table
 * stands, and is full.
 */
MOLTE_API int32_t ORVEX_LOCK_ListLockInit(void);

/* Ends it; 0 if there is none. */
MOLTE_API int32_t ORVEX_LOCK_ListLockFree(void);

/* ---- Locks ---- */

/*
 * Locks a name, exactly as it is written, without a time limit. The three numbers aren't looked at.
 * 1, or -1 with error 3503 ("Function parameters have null values") for a null pointer, 50 for a
 * name of 264 bytes and more, 3502 when the table is full: it never grows.
 */
MOLTE_API int32_t ORVEX_LOCK_LockItem(ORVEX_LISTLOCKHANDLE* pHandle, int32_t nUnused1,
                                      int32_t nUnused2, int32_t nUnused3, const char* pszName);

/*
 * Unlocks. 1, or -1 with error 3501 when there is no table, 3504 for a handle that is null, was
 * unlocked, or isn't one of the calling thread's locks.
 */
MOLTE_API int32_t ORVEX_LOCK_UnLockItem(ORVEX_LISTLOCKHANDLE* pHandle);

#endif
