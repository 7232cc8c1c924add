/*
 * An intrusive doubly linked list: the first two words of any record are its links. The list owns
 * nothing and allocates nothing; all but ODBLINK_IsNodeExist and the walks take constant time.
 * Results are 1 unless said otherwise.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_LINKED_LIST_H
#define MOLTELIB_LINKED_LIST_H

#include "moltelib/base.h"

typedef struct ODBLINK_NODE {
    struct ODBLINK_NODE* pPrev;
    struct ODBLINK_NODE* pNext;
} ODBLINK_NODE;

typedef struct ODBLINK_LIST {
    ODBLINK_NODE* pHead;
    ODBLINK_NODE* pTail;
} ODBLINK_LIST;

/*
 * Called for each node from the head. It must store into *pnGoOn at every call: above 0 goes on, 0
 * or less stops. It may remove or free the node it is called with.
 */
typedef int32_t (*ODBLINK_VISITOR)(ODBLINK_LIST* pList, ODBLINK_NODE* pNode, int32_t* pnGoOn);
typedef void (*ODBLINK_FREENODE)(ODBLINK_NODE* pNode);

/* Empties the list; 0. */
MOLTE_API int32_t ODBLINK_Init(ODBLINK_LIST* pList);

/* Appends a node that is in no list. */
MOLTE_API int32_t ODBLINK_AddNode(ODBLINK_LIST* pList, ODBLINK_NODE* pNode);

/* Unlinks a node of the list; the node's own links keep their values. */
MOLTE_API int32_t ODBLINK_RemoveNode(ODBLINK_LIST* pList, ODBLINK_NODE* pNode);
MOLTE_API int32_t ODBLINK_MoveToTail(ODBLINK_LIST* pList, ODBLINK_NODE* pNode);

/* 1 when the node is in the list, by its address; else 0. */
MOLTE_API int32_t ODBLINK_IsNodeExist(const ODBLINK_LIST* pList, const ODBLINK_NODE* pNode);

/* The result of the last call, 0 for an empty list. */
MOLTE_API int32_t ODBLINK_Traverse(ODBLINK_LIST* pList, ODBLINK_VISITOR pfnVisit);

/* Calls pfnFree for every node (null: for none) and empties the list. */
MOLTE_API int32_t ODBLINK_Release(ODBLINK_LIST* pList, ODBLINK_FREENODE pfnFree);

#endif
