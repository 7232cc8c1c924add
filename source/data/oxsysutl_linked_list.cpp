// The intrusive doubly linked list.
#include "moltelib/linked_list.h"

int32_t ODBLINK_Init(ODBLINK_LIST* pList) {
    *pList = {};
    return 0;
}

int32_t ODBLINK_AddNode(ODBLINK_LIST* pList, ODBLINK_NODE* pNode) {
    pNode->pPrev = pList->pTail;
    pNode->pNext = nullptr;
    (pList->pTail != nullptr ? pList->pTail->pNext : pList->pHead) = pNode;
    pList->pTail = pNode;
    return 1;
}

int32_t ODBLINK_RemoveNode(ODBLINK_LIST* pList, ODBLINK_NODE* pNode) {
    (pNode->pPrev != nullptr ? pNode->pPrev->pNext : pList->pHead) = pNode->pNext;
    (pNode->pNext != nullptr ? pNode->pNext->pPrev : pList->pTail) = pNode->pPrev;
    return 1;
}

int32_t ODBLINK_MoveToTail(ODBLINK_LIST* pList, ODBLINK_NODE* pNode) {
    ODBLINK_RemoveNode(pList, pNode);
    return ODBLINK_AddNode(pList, pNode);
}

int32_t ODBLINK_IsNodeExist(const ODBLINK_LIST* pList, const ODBLINK_NODE* pNode) {
    for (const ODBLINK_NODE* node = pList->pHead; node != nullptr; node = node->pNext) {
        if (node == pNode) return 1;
    }
    return 0;
}

int32_t ODBLINK_Traverse(ODBLINK_LIST* pList, ODBLINK_VISITOR pfnVisit) {
    int32_t result = 0;
    int32_t go_on = 0;
    ODBLINK_NODE* node = pList->pHead;
    while (node != nullptr) {
        ODBLINK_NODE* next = node->pNext;
        result = pfnVisit(pList, node, &go_on);
        if (go_on <= 0) break;
        node = next;
    }
    return result;
}

int32_t ODBLINK_Release(ODBLINK_LIST* pList, ODBLINK_FREENODE pfnFree) {
    ODBLINK_NODE* node = pList->pHead;
    while (node != nullptr) {
        ODBLINK_NODE* next = node->pNext;
        if (pfnFree != nullptr) pfnFree(node);
        node = next;
    }
    *pList = {};
    return 1;
}
