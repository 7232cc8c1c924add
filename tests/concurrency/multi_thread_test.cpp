#include "support/test.h"

namespace {

// Counts in the status, and fails on a null item.
int32_t work(void* item, ORVEX_ALLTHREAD_STATUS* status) {
    ORVEX_Err_ClearError();  // it has a record of its own
    if (item == nullptr) std::atomic_ref(status->bFailed).store(1);
    std::atomic_ref(status->abyCaller[0]).fetch_add(1);
    return 1;
}

TEST(MultiThread, ComesBackWhenAllHaveEnded) {
    constexpr uint8_t kItems = 40;
    ORVEX_ALLTHREAD_STATUS status;
    void* items[kItems];
    std::fill_n(items, kItems, &status);
    for (const int32_t failed : {0, 1}) {
        if (failed != 0) items[3] = nullptr;
        std::memset(&status, 0x55, sizeof status);
        EXPECT_EQ(ORVEX_MultiThreadExec(work, items, kItems, &status, 0), 1 - 2 * failed);
        EXPECT_EQ((Ints{status.abyCaller[0], status.bStop, status.bFailed}),
                  (Ints{kItems, 0, failed}));
    }
    EXPECT_EQ(error_of(ORVEX_MultiThreadExec(work, items, 0, &status, 0)), "50 oxsysutl");
}

TEST(WaitThreadBurst, LetsOneOfThoseWhoWaitGo) {
    OXHANDLE event = ORVEX_EVENT_Create(nullptr);
    int32_t count = 0;
    std::atomic<int> gone{0};
    const auto meet = [&] {
        EXPECT_EQ(MOLTE_WaitThreadBurst(event, &count, 3), 1);
        if (++gone < 2) ORVEX_EVENT_Set(event);  // for the other one
    };
    EXPECT_EQ(MOLTE_WaitThreadBurst(nullptr, &count, 1), 1);
    EXPECT_EQ(g_stBv.nInitCount, 1);
    std::thread first(meet);
    std::thread second(meet);
    for (bool arrived = false; !arrived; ORVEX_ShortOpUnLock()) {
        ORVEX_ShortOpLock();
        arrived = count == 2;
    }
    EXPECT_EQ(MOLTE_WaitThreadBurst(event, &count, 3), 1);
    first.join();
    second.join();
    EXPECT_EQ(ORVEX_EVENT_TimeWaitInMilliSecond(event, 1), 0);  // one signal, and one of ours
    g_stBv.bStopAll = 1;
    EXPECT_EQ(MOLTE_WaitThreadBurst(event, &count, 2), 0);
    ORVEX_EVENT_Release(event);
    ORVEX_BASE_ReleaseVar();
}

}  // namespace
