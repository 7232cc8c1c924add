#include "support/asleep.h"
#include "support/environment.h"
#include "support/posix.h"
#include "support/test.h"

namespace {

class State : public testing::Test {
 protected:
    void SetUp() override { ORVEX_SetMainPath("no folder"); }  // all that bring-up needs
    void TearDown() override { ORVEX_BASE_ReleaseVar(); }
};

TEST_F(State, BringUpOnceAndAgainAfterTearDown) {
    EXPECT_EQ(ORVEX_BASE_InitVar(), 1);
    const PA& list = g_stBv.stLineBufList;
    EXPECT_EQ((Ints{list.nItemSize, list.nCount, list.nCapacity, list.nGrowBy}),
              (Ints{8, 0, 4, 16}));
    EXPECT_EQ(g_stBv.nPrintErrorMask, 8200U);
    EXPECT_EQ(g_stBv.nListenBacklogCnt, 64);  // as its parameter says
    const fs::path program(g_stBv.szAppName);
    EXPECT_EQ(program.filename().string(), g_stBv.szAppShortName);
    EXPECT_EQ(program.stem(), "state_test");
    EXPECT_EQ(g_stBv.nAppFileSize, static_cast<int32_t>(fs::file_size(program)));
    g_stBv.nPrintInfoMask = 5;
    EXPECT_EQ(ORVEX_BASE_InitVar(), 0);
    EXPECT_EQ(g_stBv.nPrintInfoMask, 5U);  // the second call changes nothing

    EXPECT_EQ(ORVEX_BASE_ReleaseVar(), 1);
    for (const MOLTE_CRIT* crit :
         {&g_stBv.stShortOpLock, &g_stBv.stCounterLock, &g_stBv.stThreadList.stCrit}) {
        EXPECT_EQ(crit->bInited, 0);
    }
    EXPECT_EQ(list.pData, nullptr);
    EXPECT_EQ(MOLTE_THDATA_GetDataNoAlloc(), nullptr);
    EXPECT_EQ(g_stBv.szAppShortName, program.filename().string());  // stays
    EXPECT_EQ(ORVEX_BASE_ReleaseVar(), 1);
    EXPECT_EQ(ORVEX_BASE_InitVar(), 1);
    EXPECT_EQ(g_stBv.nInitCount, 1);
    EXPECT_EQ(g_stBv.nPrintInfoMask, 0U);
}

constexpr char kLongName[] = "C:\\some folder\\a_program_name_of_forty_characters_whole";

CHILD_ROLE(has_long_name) {
    ORVEX_SetMainPath("no folder");
    if (ORVEX_BASE_InitVar() != 1 || std::strcmp(g_stBv.szAppName, kLongName) != 0) return 1;
    return std::strcmp(g_stBv.szAppShortName, "a_program_name_of_forty_charact") == 0 ? 0 : 2;
}

CHILD_ROLE(has_no_main_path) {
    if (ORVEX_BASE_InitVar() != -1 || history_of_this_thread() != "413 moltevar") return 1;
    if (GetRvexErrNo() != 1000 || g_stBv.stCounterLock.bInited != 0) return 2;
    if (ORVEX_BASE_InitVar() != 0 || ORVEX_BASE_ReleaseVar() != 1) return 3;
    ORVEX_SetMainPath("");  // empty, and given
    return ORVEX_BASE_InitVar() == 1 && g_stBv.stCounterLock.bInited == 1 ? 0 : 4;
}

TEST_F(State, WithoutAMainPathBringUpFailsUntilOneIsGiven) {
    const TempFolder registry;
    set_variable("MOLTELIB_REGISTRY_FOLDER", registry.str().c_str());
    EXPECT_EQ(ChildProcess("has_no_main_path").wait(), 0);
}

TEST_F(State, AShortNameHas31CharactersAndAGivenNameHasNone) {
    EXPECT_EQ(ChildProcess("has_long_name", {}, kLongName).wait(), 0);
    MOLTE_SetAppName("given");
    ASSERT_EQ(ORVEX_BASE_InitVar(), 1);
    EXPECT_STREQ(g_stBv.szAppName, "given");
    EXPECT_STREQ(g_stBv.szAppShortName, "");
    EXPECT_EQ(g_stBv.nAppFileSize, 0);
}

TEST_F(State, TheShortLockBringsUpOnceForAllThreads) {
    int counted = 0;
    in_threads(4, [&counted](int) {
        for (int round = 0; round < 1000; ++round) {
            EXPECT_EQ(ORVEX_ShortOpLock(), 1);
            ORVEX_ShortOpLock();  // recursive
            ++counted;
            ORVEX_ShortOpUnLock();
            EXPECT_EQ(ORVEX_ShortOpUnLock(), 1);
        }
    });
    EXPECT_EQ(counted, 4000);
    EXPECT_EQ(g_stBv.nInitCount, 1);
}

// Another thread brings the library up, and can't end before the local time is unlocked here.
class HeldBuilder : public Pinned {
 public:
    HeldBuilder() {
        ORVEX_InnerTimeLock();
        ORVEX_CreateThread(&thread_, 0, run, &result_, 0, nullptr);
        while (std::atomic_ref(g_stBv.nInitCount) == 0) std::this_thread::yield();
    }
    ~HeldBuilder() { ORVEX_CloseThreadHandle(thread_); }
    int32_t finish() {
        ORVEX_InnerTimeUnlock();
        ORVEX_EVENT_Wait(thread_);
        return result_;
    }

 private:
    static uint32_t run(void* result) {
        *static_cast<int32_t*>(result) = ORVEX_BASE_InitVar();
        MOLTE_THDATA_FreeData();
        return 0;
    }
    OXHANDLE thread_ = nullptr;
    int32_t result_ = 0;
};

TEST_F(State, OthersWaitForTheWholeOfBringUp) {
    HeldBuilder builder;
    EXPECT_EQ(ORVEX_BASE_InitVar(), 0);  // this thread holds what the builder waits for
    EXPECT_EQ(ORVEX_ShortOpLock() + ORVEX_ShortOpUnLock(), 2);
    int32_t result = -1;
    bool whole = false;
    SleepingThread other([&] {
        result = ORVEX_BASE_InitVar();
        whole = g_stBv.stCounterLock.bInited != 0;
    });
    EXPECT_EQ(builder.finish(), 1);
    other.join();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(whole);
}

// The list of hooks is locked while they run and while they are closed.
TEST_F(State, HooksAndBringUpDoNotWaitForEachOther) {
    static std::unique_ptr<HeldBuilder> builder;
    static const auto meet = [] {
        builder = std::make_unique<HeldBuilder>();
        EXPECT_EQ(ORVEX_ShortOpLock() + ORVEX_ShortOpUnLock(), 2);
        EXPECT_EQ(ORVEX_BASE_InitVar(), 0);
    };
    const auto hook = [](uint32_t, void*, int32_t, const char*, int32_t) {
        meet();
        EXPECT_EQ(builder->finish(), 1);  // while the list is locked
        return 0;
    };
    const auto close = [](void*, int32_t) {
        meet();
        return 0;
    };
    OTXTHOOK_InstallHook(hook, nullptr, nullptr, 0, OXMSG_TO_OUTER, 1);
    EXPECT_EQ(OTXTHOOK_OutText(0, "x", 1, 0), 1);
    ORVEX_BASE_ReleaseVar();
    OTXTHOOK_InstallHook(hook, close, nullptr, 0, OXMSG_TO_OUTER, 1);
    EXPECT_EQ(OTXTHOOK_Release(), 1);
    EXPECT_EQ(builder->finish(), 1);
    builder = nullptr;
}

#if !defined(_WIN32)
TEST_F(State, AForkedChildDoesNotWaitForABuilderThatItLacks) {
    HeldBuilder builder;
    EXPECT_EQ(in_fork([] {
                  ORVEX_InnerTimeUnlock();
                  if (ORVEX_BASE_InitVar() != 0) return 1;
                  return ORVEX_BASE_ReleaseVar() == 1 && ORVEX_BASE_InitVar() == 1 ? 0 : 2;
              }),
              0);
    EXPECT_EQ(builder.finish(), 1);
}
#endif

TEST_F(State, CountersCountFromBringUpOn) {
    int64_t* const counters = &g_stBv.n64ReadCount;  // six in a row
    EXPECT_EQ(MOLTE_COUNTER_ReadInc(10, 3) + MOLTE_COUNTER_WriteInc(10, 3), 0);
    EXPECT_EQ(counters[0] + counters[1], 0);
    ASSERT_EQ(ORVEX_BASE_InitVar(), 1);
    in_threads(2, [](int) {
        for (int i = 0; i < 500; ++i) {
            MOLTE_COUNTER_ReadInc(10, 3);
            MOLTE_COUNTER_WriteInc(INT64_C(0x100000000), 1);
        }
    });
    EXPECT_EQ(std::vector<int64_t>(counters, counters + 6),
              (std::vector<int64_t>{1000, 1000, 10000, 1000 * INT64_C(0x100000000), 3000, 1000}));
}

TEST_F(State, SmallAnswers) {
    MOLTE_CRIT crit;
    std::memset(&crit, 0xFF, sizeof crit);
    EXPECT_EQ(MOLTE_COUNTER_Init(&crit), 1);
    EXPECT_EQ(crit.bInited + crit.abyReserved[30], 1);
    EXPECT_EQ(MOLTE_COUNTER_Release(&crit) + MOLTE_ReleaseCrit(&crit), 2);
    EXPECT_EQ(MOLTE_InitCrit(nullptr), -1);
    char text[40];
    EXPECT_EQ(ORVEX_BASE_BuildVerAndTime(text) - ORVEX_BASE_BuildVerAndTime(nullptr), 0);
    EXPECT_STREQ(text, "Mon Jun  4 11:00:41 2018(Build 1130)");
    EXPECT_EQ(MOLTE_IsBigEndian(), 0);
}

}  // namespace
