/*
 * The list of the threads that keep a call trace, each with its node. g_stBv holds the one list in
 * use.
 *
 * Failures are reported under module "oxthrdop".
 */
#ifndef MOLTELIB_THREAD_LIST_H
#define MOLTELIB_THREAD_LIST_H

#include "moltelib/base.h"
#include "moltelib/thread_data.h"

typedef struct MOLTE_THREADLISTNODE {
    struct MOLTE_THREADLISTNODE* pPrev;
    struct MOLTE_THREADLISTNODE* pNext;
    uint32_t nThreadId;
    MOLTE_CALLTRACEHEAD stTrace; /* the node owns its entries */
} MOLTE_THREADLISTNODE;

/* 128 bytes; all zero means not made. */
typedef struct MOLTE_THREADLIST {
    MOLTE_THREADLISTNODE* pHead;
    MOLTE_THREADLISTNODE* pTail;
    MOLTE_CRIT stCrit; /* guards the links; its bInited tells that the list is ready */
    uint8_t abyReserved[16];
} MOLTE_THREADLIST;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_THREADLIST) == 128, "the size is part of the interface");
#endif

/* Makes an empty list; 1. */
MOLTE_API int32_t MOLTE_THREADLIST_Init(MOLTE_THREADLIST* pList);

/*
 * Frees every node and the lock; 1. Threads that still run keep a pointer to their node: the
 * caller sees to it that none uses it any more.
 */
MOLTE_API int32_t MOLTE_THREADLIST_Release(MOLTE_THREADLIST* pList);

/* Frees a node that is in no list, with its entries; 1. */
MOLTE_API int32_t MOLTE_THREADLISTNODE_Release(MOLTE_THREADLISTNODE* pNode);

/*
 * The calling thread's node; the first call makes it, with pszFile and nLine as its first entry.
 * Null when there is no memory for it, with line 872 in the history, and with error 50 when the
 * list isn't made.
 */
MOLTE_API MOLTE_THREADLISTNODE* MOLTE_THREADLIST_Add(MOLTE_THREADLIST* pList, const char* pszFile,
                                                     int32_t nLine);

/* Unlinks and frees the calling thread's node, which its block then forgets; 1, or 0 when there is
 * none or no list. */
MOLTE_API int32_t MOLTE_THREADLIST_Remove(MOLTE_THREADLIST* pList);

#endif
