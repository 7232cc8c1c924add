// The list of the threads that keep a call trace.
#include <utility>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/state.h"
#include "moltelib/thread_list.h"

namespace {

constexpr auto kModule = molte::kOxthrdop;
using molte::kBadArgument;

void link_at_tail(MOLTE_THREADLIST* list, MOLTE_THREADLISTNODE* node) {
    const molte::CritGuard guard(list->stCrit);
    node->pPrev = list->pTail;
    (list->pTail != nullptr ? list->pTail->pNext : list->pHead) = node;
    list->pTail = node;
}

void unlink(MOLTE_THREADLIST* list, MOLTE_THREADLISTNODE* node) {
    (node->pPrev != nullptr ? node->pPrev->pNext : list->pHead) = node->pNext;
    (node->pNext != nullptr ? node->pNext->pPrev : list->pTail) = node->pPrev;
}

MOLTE_THREADLISTNODE* take_out(MOLTE_THREADLIST* list, uint32_t thread_id) {
    const molte::CritGuard guard(list->stCrit);
    MOLTE_THREADLISTNODE* node = list->pHead;
    while (node != nullptr && node->nThreadId != thread_id) node = node->pNext;
    if (node != nullptr) unlink(list, node);
    return node;
}

}  // namespace

int32_t MOLTE_THREADLIST_Init(MOLTE_THREADLIST* pList) {
    *pList = {};
    return MOLTE_InitCrit(&pList->stCrit);
}

int32_t MOLTE_THREADLIST_Release(MOLTE_THREADLIST* pList) {
    MOLTE_ReleaseCrit(&pList->stCrit);
    MOLTE_THREADLISTNODE* node = std::exchange(pList->pHead, nullptr);
    pList->pTail = nullptr;
    while (node != nullptr) {
        MOLTE_THREADLISTNODE* next = node->pNext;
        MOLTE_THREADLISTNODE_Release(node);
        node = next;
    }
    return 1;
}

int32_t MOLTE_THREADLISTNODE_Release(MOLTE_THREADLISTNODE* pNode) {
    if (pNode == nullptr) return 1;
    ORVEX_free(pNode->stTrace.pEnt);
    ORVEX_free(pNode);
    return 1;
}

MOLTE_THREADLISTNODE* MOLTE_THREADLIST_Add(MOLTE_THREADLIST* pList, const char* pszFile,
                                           int32_t nLine) {
    MOLTE_THDATA* data = MOLTE_THDATA_GetData();
    if (data == nullptr) return nullptr;
    if (data->pCallTrace != nullptr) return data->pCallTrace;
    if (pList->stCrit.bInited == 0) {
        kModule.fail(molte::here(), kBadArgument);
        return nullptr;
    }
    molte::Heap<MOLTE_THREADLISTNODE> node = molte::allocate<MOLTE_THREADLISTNODE>(1);
    if (node == nullptr) {
        kModule.trace(872);
        return nullptr;
    }
    node[0] = {};
    node[0].nThreadId = ORVEX_THREAD_GetCurID();
    MOLTE_CALLTRACEHEAD_PushEnt(&node[0].stTrace, pszFile, nLine);
    link_at_tail(pList, node.get());
    data->pCallTrace = node.release();
    return data->pCallTrace;
}

int32_t MOLTE_THREADLIST_Remove(MOLTE_THREADLIST* pList) {
    if (pList->stCrit.bInited == 0) return 0;
    MOLTE_THREADLISTNODE* node = take_out(pList, ORVEX_THREAD_GetCurID());
    if (node == nullptr) return 0;
    return MOLTE_THREADLISTNODE_Release(node);
}
