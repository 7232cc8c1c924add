// The bounded queue of items between threads.
#include <atomic>
#include <cstring>

#include "concurrency/oxthrdop.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/data_queue.h"
#include "moltelib/event.h"
#include "moltelib/memory.h"
#include "moltelib/state.h"

using molte::CritGuard;
using molte::here;
using molte::kBadArgument;

namespace {

constexpr auto kModule = molte::kOxthrdop;

bool usable(const MOLTE_DATAQUE* queue, const void* item) {
    return queue != nullptr && queue->stCrit.bInited != 0 &&
           (item != nullptr || queue->nItemSize == 0);
}

bool closing(MOLTE_DATAQUE* queue) {
    return std::atomic_ref(queue->bClosing).load(std::memory_order_acquire) != 0;
}

uint8_t* slot(const MOLTE_DATAQUE& queue, int32_t index) {
    return static_cast<uint8_t*>(queue.pData) + int64_t{index} * queue.nItemSize;
}

int32_t behind(const MOLTE_DATAQUE& queue, int32_t index) {
    return index + 1 < queue.nMaxItem ? index + 1 : 0;
}

void copy_item(const MOLTE_DATAQUE& queue, void* to, const void* from) {
    if (queue.nItemSize > 0) std::memcpy(to, from, static_cast<size_t>(queue.nItemSize));
}

// Of the lock's reserved bytes two are the queue's: whether an event was signalled since one of
// those who wait for it looked at the queue. Then it is signalled still, or woke one that is about
// to look, and signalling it again would only cost: twice the time of a busy queue.
struct Signal {
    OXHANDLE event;
    uint8_t& given;
};

Signal data_signal(MOLTE_DATAQUE* queue) {
    return {queue->hDataEvent, queue->stCrit.abyReserved[0]};
}

Signal room_signal(MOLTE_DATAQUE* queue) {
    return {queue->hRoomEvent, queue->stCrit.abyReserved[1]};
}

void give(const Signal& signal) {
    if (signal.given == 0 && ORVEX_EVENT_Set(signal.event) > 0) signal.given = 1;
}

// A signal wakes one thread, and two that nobody waited for yet are one: so whoever was woken, and
// leaves something for others, hands it on. False when the queue is full.
bool add(MOLTE_DATAQUE* queue, const void* item, bool woken) {
    const CritGuard guard(queue->stCrit);
    const Signal room = room_signal(queue);
    room.given = 0;
    if (queue->nItemCount == queue->nMaxItem) return false;
    ++queue->nItemCount;
    copy_item(*queue, slot(*queue, queue->nWritePos), item);
    queue->nWritePos = behind(*queue, queue->nWritePos);
    give(data_signal(queue));
    if (woken && queue->nItemCount < queue->nMaxItem) give(room);
    return true;
}

// The same; false when it is empty.
bool take(MOLTE_DATAQUE* queue, void* item, bool woken) {
    const CritGuard guard(queue->stCrit);
    const Signal data = data_signal(queue);
    data.given = 0;
    if (queue->nItemCount == 0) return false;
    --queue->nItemCount;
    copy_item(*queue, item, slot(*queue, queue->nReadPos));
    queue->nReadPos = behind(*queue, queue->nReadPos);
    give(room_signal(queue));
    if (woken && queue->nItemCount > 0) give(data);
    return true;
}

// Who gives up leaves the signal that woke it to the next.
int32_t give_up(OXHANDLE event, bool woken) {
    if (woken) ORVEX_EVENT_Set(event);
    return -1;
}

bool make(MOLTE_DATAQUE* queue) {
    MOLTE_InitCrit(&queue->stCrit);
    queue->hDataEvent = ORVEX_EVENT_Create(nullptr);
    if (queue->hDataEvent == nullptr) return false;
    queue->hRoomEvent = ORVEX_EVENT_Create(nullptr);
    if (queue->hRoomEvent == nullptr) return false;
    const int64_t size = int64_t{queue->nMaxItem} * queue->nItemSize;
    queue->pData = ORVEX_release_malloc(size);
    if (queue->pData == nullptr) return false;
    std::memset(queue->pData, 0, static_cast<size_t>(size));
    return true;
}

}  // namespace

int32_t MOLTE_DATAQUE_Init(MOLTE_DATAQUE* pQueue, int32_t nMaxItem, int32_t nItemSize) {
    if (pQueue == nullptr) return kModule.fail(here(), kBadArgument);
    *pQueue = {};
    if (nMaxItem < 1 || nItemSize < 0) return kModule.fail(here(), kBadArgument);
    pQueue->nMaxItem = nMaxItem;
    pQueue->nItemSize = nItemSize;
    if (make(pQueue)) return 1;
    MOLTE_DATAQUE_Release(pQueue);
    return kModule.trace(here());
}

int32_t MOLTE_DATAQUE_Release(MOLTE_DATAQUE* pQueue) {
    if (pQueue == nullptr) return kModule.fail(here(), kBadArgument);
    MOLTE_ReleaseCrit(&pQueue->stCrit);
    ORVEX_EVENT_Release(pQueue->hDataEvent);
    ORVEX_EVENT_Release(pQueue->hRoomEvent);
    ORVEX_free(pQueue->pData);
    *pQueue = {};
    return 1;
}

int32_t MOLTE_DATAQUE_AddClient(MOLTE_DATAQUE* pQueue, const void* pItem) {
    if (!usable(pQueue, pItem)) return kModule.fail(here(), kBadArgument);
    bool woken = false;
    while (!add(pQueue, pItem, woken)) {
        woken = molte::wait_for_next_look(pQueue->hRoomEvent);
        if (molte::stop_requested()) return give_up(pQueue->hRoomEvent, woken);
    }
    return 1;
}

int32_t MOLTE_DATAQUE_GetClient(MOLTE_DATAQUE* pQueue, void* pItem) {
    if (!usable(pQueue, pItem)) return kModule.fail(here(), kBadArgument);
    bool woken = false;
    while (!take(pQueue, pItem, woken)) {
        if (closing(pQueue)) return -1;
        woken = molte::wait_for_next_look(pQueue->hDataEvent);
        if (molte::stop_requested() || closing(pQueue)) return give_up(pQueue->hDataEvent, woken);
    }
    return 1;
}
