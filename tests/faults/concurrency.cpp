#include <thread>

#include "faults.h"

FAMILY(event) {
    OXHANDLE events[2] = {};
    OXHANDLE other = nullptr;
    if (DID(events[0] = ORVEX_EVENT_Create("faults")) && DID(other = ORVEX_EVENT_Open("faults"))) {
        int32_t result = 0;
        if (DID(ORVEX_EVENT_Set(other))) {
            GIVES(result = ORVEX_EVENT_TimeWait(events[0], 1), result == 1);
            if (result != 1) ORVEX_EVENT_TimeWait(events[0], 1);  // the signal is still there
        }
        // Nobody signals: the wait sleeps.
        GIVES(result = ORVEX_EVENT_TimeWaitInMilliSecond(events[0], 20), result == 0);
        events[1] = ORVEX_EVENT_Create(nullptr);
        bool signalled = false;
        std::thread later([&] {
            ORVEX_SleepMilli(5);  // so that the wait for two sleeps as well
            signalled = ORVEX_EVENT_Set(other) == 1;
            MOLTE_THDATA_FreeData();
        });
        const bool waited = DID(result = ORVEX_EVENT_MultiTimeWait(events, 2, 0, 1));
        later.join();
        if (waited) RIGHT(result == (signalled ? 1 : 0));
    }
    for (OXHANDLE event : {other, events[0], events[1]}) FAULTY((ORVEX_EVENT_Release(event), 1));
}
AFTER(event) {
    const OXHANDLE event = ORVEX_EVENT_Create("faults");
    RIGHT(event != nullptr && ORVEX_EVENT_Set(event) == 1 && ORVEX_EVENT_TimeWait(event, 1) == 1);
    ORVEX_EVENT_Release(event);
}

FAMILY(thread) {
    static int32_t runs = 0;
    const auto run = [](void*) -> uint32_t {
        ++runs;
        MOLTE_THDATA_SetInnerThreadFlag(1);
        MOLTE_THDATA_FreeData();
        return 7;
    };
    OXHANDLE thread = nullptr;
    int32_t ended = 0;
    RIGHT(FAULTY(ORVEX_CreateThread(&thread, 0, run, nullptr, 0, nullptr)) == 1);
    RIGHT_OR("always 1: the null handle and error 277 tell", thread != nullptr);
    if (thread != nullptr) {
        if (!DID(ended = ORVEX_EVENT_TimeWait(thread, 5))) ended = ORVEX_EVENT_TimeWait(thread, 5);
    } else {
        RIGHT(GetRvexErrNo() == 277);
    }
    RIGHT(runs == (thread != nullptr ? 1 : 0) && ended == runs);
    ORVEX_CloseThreadHandle(thread);
    OXCRITSECT section;
    ORVEX_InitCritSect(&section);
    RIGHT(DID(ORVEX_TryEnterCritSect(&section)) && FAULTY(ORVEX_LeaveCritSect(&section)) == 1);
    ORVEX_DestroyCritSect(&section);
    const int64_t moment = 1000000000;
    struct tm fields;
    RIGHT(FAULTY(ORVEX_LocalTime(&moment, &fields)) != nullptr && fields.tm_year == 101);
}

FAMILY(data_queue) {
    MOLTE_DATAQUE queue;
    if (!DID(MOLTE_DATAQUE_Init(&queue, 2, sizeof(int32_t)))) {
        RIGHT(queue.pData == nullptr && queue.hDataEvent == nullptr);
        return;
    }
    std::thread writer([&] {
        for (int32_t n = 0; n < 5; ++n) MOLTE_DATAQUE_AddClient(&queue, &n);
        MOLTE_THDATA_FreeData();
    });
    int32_t item = -1;
    for (int32_t n = 0; n < 5; ++n) {
        RIGHT(FAULTY(MOLTE_DATAQUE_GetClient(&queue, &item)) == 1 && item == n);
    }
    writer.join();
    MOLTE_DATAQUE_Release(&queue);
}

FAMILY(integer_resource) {
    MOLTE_INTRESOURCE resource;
    if (!DID(MOLTE_INTRESOURCE_Init(&resource, 1))) return;
    RIGHT(FAULTY(MOLTE_INTRESOURCE_Get(&resource, 0)) == 1);
    std::thread later([&] {
        MOLTE_INTRESOURCE_Free(&resource);
        MOLTE_THDATA_FreeData();
    });
    RIGHT(FAULTY(MOLTE_INTRESOURCE_Get(&resource, -1)) == 1 && resource.nFree == 0);
    later.join();
    MOLTE_INTRESOURCE_Release(&resource);
}

FAMILY(multi_thread) {
    int32_t counts[8] = {};
    void* items[8];
    for (int32_t i = 0; i < 8; ++i) items[i] = &counts[i];
    const auto run = [](void* item, ORVEX_ALLTHREAD_STATUS*) -> int32_t {
        ++*static_cast<int32_t*>(item);
        return 1;
    };
    // The items that got no thread are worked on here, or make the whole fail.
    ORVEX_ALLTHREAD_STATUS status;
    int32_t worked = 0;
    const bool all = DID(ORVEX_MultiThreadExec(run, items, 8, &status, ORVEX_RUN_REST_HERE));
    for (const int32_t count : counts) worked += count;
    RIGHT(worked == (all ? 8 : 0));
    const bool done = DID(ORVEX_MultiThreadExec(run, items, 8, &status, 0));
    RIGHT(status.bStop == status.bFailed && !(done && status.bFailed != 0));
}

FAMILY(resource_lock) {
    MOLTE_RESLOCK* table = nullptr;
    if (!DID(table = MOLTE_RESLOCK_Init(nullptr, 16, 8))) return;
    MOLTE_RESLOCKID ids[20];
    int32_t locked = 0;
    for (MOLTE_RESLOCKID& id : ids) {
        const auto sid = static_cast<uint64_t>(&id - ids);
        const bool done = DID(MOLTE_RESLOCK_LockBySID(table, &id, 1, 0, sid, 0));
        RIGHT(id.bLocked == (done ? 1 : 0));
        locked += id.bLocked;
        RIGHT(table->nActive == locked);
    }
    for (MOLTE_RESLOCKID& id : ids) {
        const int32_t was_locked = id.bLocked;
        RIGHT(MOLTE_RESLOCK_Unlock(table, &id) == was_locked);
    }
    RIGHT(table->nActive == 0);
    MOLTE_RESLOCK_Release(&table);
}

FAMILY(list_lock) {
    ORVEX_LISTLOCKHANDLE lock{};
    if (DID(ORVEX_LOCK_LockItem(&lock, 0, 0, 0, "a"))) {
        RIGHT(lock.nIndex == 0);
        RIGHT(FAULTY(ORVEX_LOCK_UnLockItem(&lock)) == 1 && lock.nIndex == -1);
    }
    RIGHT(FAULTY(ORVEX_LOCK_ListLockFree()) == (lock.pList != nullptr ? 1 : 0));
}

FAMILY(process_lock) {
    OXHANDLE mutex = nullptr;
    OXHANDLE semaphore = nullptr;
    int32_t result = 0;
    if (DID(MOLTE_MUTEX_Create(&mutex, "mutex"))) {
        GIVES(result = MOLTE_MUTEX_Lock(&mutex, 1), result == 1 && MOLTE_MUTEX_Unlock(&mutex) == 1);
        RIGHT(FAULTY(MOLTE_MUTEX_Release(&mutex)) == 1);
    }
    if (DID(MOLTE_SEMA_Create(&semaphore, 1, 1, "semaphore"))) {
        GIVES(result = MOLTE_SEMA_GetResource(&semaphore, 1), result == 1);
        if (result == 1) RIGHT(FAULTY(MOLTE_SEMA_FreeResource(&semaphore)) == 1);
        RIGHT(FAULTY(MOLTE_SEMA_Release(&semaphore)) == 1);
    }
}
AFTER(process_lock) {
    OXHANDLE mutex = nullptr;
    OXHANDLE semaphore = nullptr;
    RIGHT(MOLTE_MUTEX_Create(&mutex, "mutex") == 1 && MOLTE_MUTEX_Lock(&mutex, 1) == 1);
    RIGHT(MOLTE_SEMA_Create(&semaphore, 1, 1, "semaphore") == 1);
    RIGHT(MOLTE_SEMA_GetResource(&semaphore, 1) == 1);
}
