/*
 * The list of the threads that keep a call trace.
 */
#ifndef MOLTELIB_THREAD_LIST_H
#define MOLTELIB_THREAD_LIST_H

#include "moltelib/base.h"

typedef struct MOLTE_THREADLISTNODE MOLTE_THREADLISTNODE;

/* 128 bytes; all zero means not made. */
typedef struct MOLTE_THREADLIST {
    MOLTE_THREADLISTNODE* pHead;
    MOLTE_THREADLISTNODE* pTail;
    MOLTE_CRIT stCrit; /* guards the links; its bInited tells that the list is ready */
    uint8_t abyReserved[16];
} MOLTE_THREADLIST;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_THREADLIST) == 128);
#endif

#endif
