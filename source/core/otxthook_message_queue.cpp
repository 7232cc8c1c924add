// The message queue.
#include <cstring>

#include "concurrency/oxthrdop.h"
#include "core/otxthook.h"
#include "moltelib/event.h"
#include "moltelib/memory.h"
#include "moltelib/message_queue.h"

using molte::here;
using namespace molte::hooks;

namespace {

constexpr int32_t kLookAgainSeconds = 1;

bool stopped(OTXTHOOK_MSGQUELIST* list) {
    return std::atomic_ref(list->bStopShow).load(std::memory_order_acquire) != 0;
}

void free_node(OTXTHOOK_MSGQUENODE* node) {
    ORVEX_free(node->pText);
    ORVEX_free(node);
}

// A node with a copy of the text, or null.
OTXTHOOK_MSGQUENODE* new_node(const char* text, int32_t length) {
    auto node = molte::allocate<OTXTHOOK_MSGQUENODE>(1);
    if (node == nullptr) {
        kModule.trace(695);
        return nullptr;
    }
    auto copy = molte::allocate<char>(int64_t{length} + 1);
    if (copy == nullptr) {
        kModule.trace(696);
        return nullptr;
    }
    std::memcpy(copy.get(), text, static_cast<size_t>(length));
    copy[static_cast<size_t>(length)] = '\0';
    node[0] = {};
    node[0].pText = copy.release();
    node[0].nLen = length;
    return node.release();
}

// False when the queue was stopped meanwhile.
bool append(OTXTHOOK_MSGQUELIST* list, OTXTHOOK_MSGQUENODE* node) {
    const molte::CritGuard guard(list->stLock);
    if (list->bStopShow != 0) return false;
    (list->pHead == nullptr ? list->pHead : list->pTail->pNext) = node;
    list->pTail = node;
    ORVEX_EVENT_Set(list->hEvent);
    return true;
}

// The first node; *more tells whether another one follows.
OTXTHOOK_MSGQUENODE* take(OTXTHOOK_MSGQUELIST* list, bool* more) {
    const molte::CritGuard guard(list->stLock);
    OTXTHOOK_MSGQUENODE* node = list->pHead;
    if (node == nullptr) return nullptr;
    list->pHead = node->pNext;
    if (list->pHead == nullptr) list->pTail = nullptr;
    node->pNext = nullptr;
    *more = list->pHead != nullptr;
    return node;
}

}  // namespace

int32_t OTXTHOOK_MSGQUELIST_Init(OTXTHOOK_MSGQUELIST* pList) {
    if (pList == nullptr) return kModule.fail(here(), kBadArgument);
    *pList = {};
    pList->hEvent = ORVEX_EVENT_Create(nullptr);
    if (pList->hEvent == nullptr) {
        OTXTHOOK_MSGQUELIST_Release(pList);
        return kModule.trace(671);
    }
    return MOLTE_InitCrit(&pList->stLock);
}

int32_t OTXTHOOK_MSGQUELIST_Release(OTXTHOOK_MSGQUELIST* pList) {
    if (pList == nullptr) return 0;
    ORVEX_EVENT_Release(pList->hEvent);
    MOLTE_ReleaseCrit(&pList->stLock);
    while (pList->pHead != nullptr) {
        OTXTHOOK_MSGQUENODE* node = pList->pHead;
        pList->pHead = node->pNext;
        free_node(node);
    }
    *pList = {};
    return 1;
}

int32_t OTXTHOOK_MSGQUELIST_AddMsg(OTXTHOOK_MSGQUELIST* pList, uint32_t nMask, void* pUserData,
                                   int32_t nDataSize, const char* pszText, int32_t nLen) {
    if (pList == nullptr || pList->stLock.bInited == 0) return kModule.fail(here(), kBadArgument);
    if (nLen < 1 || pszText == nullptr || stopped(pList)) return 0;
    OTXTHOOK_MSGQUENODE* node = new_node(pszText, nLen);
    if (node == nullptr) return -1;
    node->pUserData = pUserData;
    node->nMask = nMask;
    node->nDataSize = nDataSize;
    if (append(pList, node)) return 1;
    free_node(node);
    return 0;
}

OTXTHOOK_MSGQUENODE* OTXTHOOK_MSGQUELIST_GetNode(OTXTHOOK_MSGQUELIST* pList) {
    if (pList == nullptr || pList->stLock.bInited == 0) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    bool more = false;
    return take(pList, &more);
}

OTXTHOOK_MSGQUENODE* OTXTHOOK_MSGQUELIST_GetMsg(OTXTHOOK_MSGQUELIST* pList) {
    if (pList == nullptr || pList->stLock.bInited == 0) {
        kModule.fail(here(), kBadArgument);
        return nullptr;
    }
    for (;;) {
        bool more = false;
        OTXTHOOK_MSGQUENODE* node = take(pList, &more);
        const bool stop = node == nullptr && (stopped(pList) || molte::stop_requested());
        // One signal wakes one reader: who has nothing left to wait for hands it on.
        if (more || stop) ORVEX_EVENT_Set(pList->hEvent);
        if (node != nullptr || stop) return node;
        if (ORVEX_EVENT_TimeWait(pList->hEvent, kLookAgainSeconds) < 0) {
            kModule.trace(here());
            return nullptr;
        }
    }
}

int32_t OTXTHOOK_MSGQUELIST_StopShow(OTXTHOOK_MSGQUELIST* pList) {
    if (pList == nullptr || pList->stLock.bInited == 0) return 0;
    const molte::CritGuard guard(pList->stLock);
    std::atomic_ref(pList->bStopShow).store(1, std::memory_order_release);
    ORVEX_EVENT_Set(pList->hEvent);
    return 1;
}

int32_t OTXTHOOK_MSGQUENODE_Release(OTXTHOOK_MSGQUENODE** ppNode) {
    if (ppNode == nullptr || *ppNode == nullptr) return 0;
    free_node(*ppNode);
    *ppNode = nullptr;
    return 0;
}
