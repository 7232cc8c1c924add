/*
 * A queue of printed texts between the threads that print and the threads that show. A program's
 * text hook puts each text in with OTXTHOOK_MSGQUELIST_AddMsg, whose arguments are those the hook
 * got; any number of threads take them out.
 *
 * Functions may be called from any thread, but for making and releasing the queue.
 *
 * Failures are reported under module "otxthook".
 */
#ifndef MOLTELIB_MESSAGE_QUEUE_H
#define MOLTELIB_MESSAGE_QUEUE_H

#include "moltelib/base.h"

/* A text; who takes it out releases it. */
typedef struct OTXTHOOK_MSGQUENODE {
    struct OTXTHOOK_MSGQUENODE* pNext;
    void* pUserData; /* the hook's */
    char* pText;     /* terminated */
    uint32_t nMask;
    int32_t nDataSize;
    int32_t nLen;
} OTXTHOOK_MSGQUENODE;

typedef struct OTXTHOOK_MSGQUELIST {
    OTXTHOOK_MSGQUENODE* pHead;
    OTXTHOOK_MSGQUENODE* pTail;
    OXHANDLE hEvent; /* automatic-reset: there is something to look at */
    int32_t bStopShow;
    MOLTE_CRIT stLock;
} OTXTHOOK_MSGQUELIST;

#if defined(__cplusplus)
static_assert(sizeof(OTXTHOOK_MSGQUELIST) == 128, "the size is part of the interface");
#endif

/* Makes an empty queue; 1, or -1 with nothing made. */
MOLTE_API int32_t OTXTHOOK_MSGQUELIST_Init(OTXTHOOK_MSGQUELIST* pList);

/* Frees all that is in it, and zeroes it; 1, or 0 for null. No thread may be waiting in it. */
MOLTE_API int32_t OTXTHOOK_MSGQUELIST_Release(OTXTHOOK_MSGQUELIST* pList);

/*
 * Copies nLen bytes of a text, and adds a terminator, into a new node at the end; 1. 0 for a null
 * text, an nLen below 1, or a queue that was stopped; -1 when memory is out.
 */
MOLTE_API int32_t OTXTHOOK_MSGQUELIST_AddMsg(OTXTHOOK_MSGQUELIST* pList, uint32_t nMask,
                                             void* pUserData, int32_t nDataSize,
                                             const char* pszText, int32_t nLen);

/* Takes the first node out, or null when there is none. */
MOLTE_API OTXTHOOK_MSGQUENODE* OTXTHOOK_MSGQUELIST_GetNode(OTXTHOOK_MSGQUELIST* pList);

/*
 * Takes the first node out, and waits for one while there is none: until the queue is stopped, or
 * bStopAll of g_stBv is set, which is seen within a second. Then null. What is in the queue when it
 * is stopped is still given.
 */
MOLTE_API OTXTHOOK_MSGQUENODE* OTXTHOOK_MSGQUELIST_GetMsg(OTXTHOOK_MSGQUELIST* pList);

/* Stops the queue: nothing more goes in, and nobody waits any more. 1, or 0 for null. */
MOLTE_API int32_t OTXTHOOK_MSGQUELIST_StopShow(OTXTHOOK_MSGQUELIST* pList);

/* Frees a node with its text and clears the caller's pointer; 0. */
MOLTE_API int32_t OTXTHOOK_MSGQUENODE_Release(OTXTHOOK_MSGQUENODE** ppNode);

#endif
