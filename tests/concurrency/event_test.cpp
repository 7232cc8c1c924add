#include "support/test.h"

namespace {

struct Event {
    OXHANDLE handle;
    explicit Event(const char* name = nullptr) : handle(ORVEX_EVENT_Create(name)) {}
    ~Event() { ORVEX_EVENT_Release(handle); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
};

// A name of this run's own, so that other runs of the test don't meet it.
std::string unique_name(const char* what) {
    return std::string("moltelib-test-") + what + "-" +
           std::to_string(steady_clock::now().time_since_epoch().count());
}

uint32_t set_after_a_while(void* event) {
    ORVEX_SleepMilli(50);
    ORVEX_EVENT_Set(event);
    return 0;
}

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
        ORVEX_StartThread(set_after_a_while, event.handle);
        EXPECT_EQ(wait(event.handle), 1);
    }
}

TEST(Event, WaitExComesBackAfterFiveSeconds) {
    Event event;
    auto begin = steady_clock::now();
    EXPECT_EQ(ORVEX_EVENT_WaitEx(event.handle, 60), 0);
    const auto passed = steady_clock::now() - begin;
    EXPECT_TRUE(passed >= milliseconds(4900) && passed < milliseconds(9000));
    g_stBv.bStopAll = 1;
    begin = steady_clock::now();
    EXPECT_EQ(ORVEX_EVENT_WaitEx(event.handle, 0), 0);
    EXPECT_LT(steady_clock::now() - begin, milliseconds(1000));
    g_stBv.bStopAll = 0;
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
    EXPECT_EQ(error_of(ORVEX_EVENT_Open(unique_name("none").c_str())),
              "287 oxthrdop LastErrCode=2");
}

TEST(Event, WaitsForOneAndForAll) {
    Event a;
    Event b;
    const OXHANDLE both[] = {a.handle, b.handle};
    EXPECT_EQ(ORVEX_EVENT_Set(b.handle) + ORVEX_EVENT_Set(b.handle), 2);
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 1, 1), 0);  // one is missing: nothing is taken
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 0, 1), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWaitInMilliSecond(b.handle, 1), 0);  // a second signal is none
    ORVEX_EVENT_Set(a.handle);
    ORVEX_EVENT_Set(b.handle);
    EXPECT_EQ(ORVEX_EVENT_MultiTimeWait(both, 2, 1, 1), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWait(a.handle, 1), 0);
}

TEST(Event, OneOfANameIsSetByAnyHandleOfIt) {
    const std::string name = unique_name("common");
    Event made(name.c_str());
    Event made_again(name.c_str());
    OXHANDLE opened = ORVEX_EVENT_Open(name.c_str());
    for (OXHANDLE handle : {made_again.handle, opened}) {
        EXPECT_EQ(ORVEX_EVENT_Set(handle), 1);
        EXPECT_EQ(ORVEX_EVENT_TimeWait(made.handle, 5), 1);
    }
    ORVEX_EVENT_Release(opened);
}

}  // namespace
