#include "support/asleep.h"
#include "support/test.h"

namespace {

struct Event : Pinned {
    OXHANDLE handle;
    explicit Event(const char* name = nullptr) : handle(ORVEX_EVENT_Create(name)) {}
    ~Event() { ORVEX_EVENT_Release(handle); }
};

TEST(Event, WaitsWithoutLimitWhereTheUnitSaysSo) {
    Event event;
    const std::vector<int32_t (*)(OXHANDLE)> waits = {
        [](OXHANDLE e) { return ORVEX_EVENT_TimeWait(e, 0); },
        [](OXHANDLE e) { return ORVEX_EVENT_TimeWait(e, -3); },
        [](OXHANDLE e) { return ORVEX_EVENT_TimeWaitInMilliSecond(e, 0); },
        [](OXHANDLE e) { return ORVEX_EVENT_WaitEx(e, 0); },
        ORVEX_EVENT_Wait,
        [](OXHANDLE e) { return ORVEX_EVENT_MultiTimeWait(&e, 1, 0, 0); }};
    for (const auto& wait : waits) {
        SleepingThread waiter([&] { EXPECT_EQ(wait(event.handle), 1); });
        ORVEX_EVENT_Set(event.handle);
    }
}

TEST(Event, WaitExComesBackAfterFiveSeconds) {
    Event event;
    const auto begin = steady_clock::now();
    EXPECT_EQ(ORVEX_EVENT_WaitEx(event.handle, 60), 0);
    const auto passed = steady_clock::now() - begin;
    EXPECT_TRUE(passed >= milliseconds(4900) && passed < milliseconds(30'000));
    g_stBv.bStopAll = 1;
    EXPECT_EQ(ORVEX_EVENT_WaitEx(event.handle, 0), 0);  // or without end
}

TEST(Event, BadArgumentsAndFailures) {
    Event event;
    EXPECT_EQ(ORVEX_EVENT_Set(nullptr), 0);
    ORVEX_EVENT_Release(nullptr);
    for (const auto& result :
         {ORVEX_EVENT_TimeWait(nullptr, 1), ORVEX_EVENT_TimeWaitInMilliSecond(nullptr, 1),
          ORVEX_EVENT_MultiTimeWait(nullptr, 1, 0, 1),
          ORVEX_EVENT_MultiTimeWait(&event.handle, 0, 0, 1)}) {
        EXPECT_EQ(result, -1);
    }
    EXPECT_EQ(error_of_this_thread(), "419 oxthrdop");
    const auto foreign = reinterpret_cast<OXHANDLE>(uintptr_t{0x7654320});
    EXPECT_EQ(error_of(ORVEX_EVENT_Set(foreign)), "288 oxthrdop");
    EXPECT_EQ(error_of(ORVEX_EVENT_TimeWait(foreign, 1)), "289 oxthrdop LastErrCode=6 time=-1");
    const std::string name = "moltelib-test-" + fs::path(TempFolder().path()).filename().string();
    EXPECT_EQ(error_of(ORVEX_EVENT_Open(name.c_str())), "287 oxthrdop LastErrCode=2");
    const Event named(name.c_str());
    OXHANDLE opened = ORVEX_EVENT_Open(name.c_str());
    EXPECT_EQ(ORVEX_EVENT_Set(opened), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWait(named.handle, 5), 1);
    ORVEX_EVENT_Release(opened);
}

TEST(Event, WaitsForOneAndForAll) {
    Event a;
    Event b;
    const OXHANDLE both[] = {a.handle, b.handle};
    ORVEX_EVENT_Set(b.handle);
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 1, 1), 0);  // one is missing: nothing is taken
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 0, 1), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWaitInMilliSecond(b.handle, 1), 0);
    ORVEX_EVENT_Set(a.handle);
    ORVEX_EVENT_Set(b.handle);
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 1, 1), 1);
}

}  // namespace
