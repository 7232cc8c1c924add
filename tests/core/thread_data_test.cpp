#include "support/scenes.h"

namespace {

class ThreadData : public InFolder {
 protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        ORVEX_BASE_ReleaseVar();
        MOLTE_THDATA_FreeData();
        MOLTE_THDATA_Destroy();
    }
};

std::string history() {
    char text[4096];
    MOLTE_STACKTRACE_GetHistory(text);
    return text;
}

std::string add_item(const Texts& step) {
    static char letters[] = "abcdefgh";
    return outcome(MOLTE_THITEMDAT_Add(text_or_null(step[1]), std::strchr(letters, step[2][0])));
}
// The letter that an item is.
std::string letter(const void* item) {
    return item == nullptr ? outcome(item) : std::string(1, *static_cast<const char*>(item));
}

[[maybe_unused]] const bool plays = play_scenes<ThreadData>(
    "ThreadData", TEST_ROWS,
    {{"set_client", step_of<MOLTE_THDATA_SetClientData>},
     {"get_client", step_of<MOLTE_THDATA_GetClientData>},
     {"add", add_item},
     {"get", [](const Texts& step) { return letter(MOLTE_THITEMDAT_Get(step[1].c_str())); }},
     {"get_last", [](const Texts&) { return letter(MOLTE_THITEMDAT_GetLast()); }},
     {"get_at",
      [](const Texts& step) { return letter(MOLTE_THITEMDAT_GetByIndex(std::stoi(step[1]))); }},
     {"remove", step_of<MOLTE_THITEMDAT_Remove>},
     {"remove_last", step_of<MOLTE_THITEMDAT_RemoveLast>},
     {"push", step_of<MOLTE_CALLTRACEHEAD_PushEnt>},
     {"pop", step_of<MOLTE_CALLTRACEHEAD_PopEnt>},
     {"set_trace", step_of<[](MOLTE_CALLTRACEHEAD* head, int32_t count, int32_t skipped) {
          head->nCount = head->nCapacity = count;
          return head->nSkip = skipped;
      }>},
     {"trace", step_of<[](MOLTE_CALLTRACEHEAD* head) {
          return outcome(head->nCount) + " of " + outcome(head->nCapacity) + ", skipped " +
                 outcome(head->nSkip);
      }>},
     {"entry", step_of<[](MOLTE_CALLTRACEHEAD* head, int32_t at) {
          return head->pEnt[at].szFile + " "s + outcome(head->pEnt[at].nLine);
      }>},
     {"free_trace", step_of<[](MOLTE_CALLTRACEHEAD* head) {
          ORVEX_free(head->pEnt);
          return 1;
      }>},
     {"bring_up", step_of<[] {
          ORVEX_SetMainPath("no folder");
          return ORVEX_BASE_InitVar();
      }>},
     {"tear_down", step_of<ORVEX_BASE_ReleaseVar>},
     {"trace_supported", step_of<[](int32_t flag) { return g_stBv.bSupportStackTrace = flag; }>},
     {"enter", step_of<MOLTE_STACKTRACE_AddEnt>},
     {"leave", step_of<MOLTE_STACKTRACE_RemoveEnt>},
     {"history", step_of<[] { return history(); }>}},
    true);

TEST_F(ThreadData, TheBlockComesWithItsFirstUseAndNeedsNoBringUp) {
    EXPECT_EQ(MOLTE_THDATA_FreeData(), 0);  // no key yet
    EXPECT_EQ(MOLTE_THDATA_GetDataNoAlloc(), nullptr);
    MOLTE_THDATA* block = MOLTE_THDATA_GetData();
    EXPECT_EQ(static_cast<void*>(ORVEX_GetErrData()), block);
    EXPECT_EQ(MOLTE_THDATA_GetBuffer(), block->szBuffer);
    EXPECT_EQ(MOLTE_THDATA_SetInnerThreadFlag(7), 7);
    std::thread([block] {
        EXPECT_EQ(MOLTE_THDATA_GetDataNoAlloc(), nullptr);
        EXPECT_EQ(MOLTE_THDATA_IsInnerThread(), 0);
        EXPECT_NE(MOLTE_THDATA_GetData(), block);
        EXPECT_EQ(MOLTE_THDATA_FreeData(), 1);
    }).join();
    EXPECT_EQ(MOLTE_THDATA_GetData(), block);
    EXPECT_EQ(MOLTE_THDATA_IsInnerThread(), 7);
    EXPECT_EQ(MOLTE_THDATA_FreeData(), 1);
    EXPECT_EQ(MOLTE_THDATA_Destroy(), 1);
    EXPECT_EQ(MOLTE_THDATA_Destroy(), 0);
}

TEST_F(ThreadData, ATraceIsItsThreads) {
    ORVEX_SetMainPath("no folder");
    ASSERT_EQ(ORVEX_BASE_InitVar(), 1);
    MOLTE_STACKTRACE_AddEnt("mine", 10);
    std::thread([] {
        EXPECT_EQ(history(), "");
        MOLTE_STACKTRACE_AddEnt("other", 1);
        EXPECT_EQ(history(), "other1\nother1\n");
        MOLTE_THDATA_FreeData();  // leaves the list
        EXPECT_EQ(history(), "");
    }).join();
    EXPECT_EQ(g_stBv.stThreadList.pHead, g_stBv.stThreadList.pTail);
    EXPECT_EQ(history(), "mine10\nmine10\n");
}

TEST_F(ThreadData, ProgramsKeepBlocksOfTheirOwn) {
    MOLTE_THDATAKEY rec{1, 16, 0};
    ASSERT_EQ(ORVEX_InitThreadDataKey(&rec.nKey), 1);
    EXPECT_EQ(ORVEX_GetThreadSpecDataNoAlloc(&rec), nullptr);
    auto* block = static_cast<char*>(ORVEX_GetThreadSpecData(&rec));
    EXPECT_EQ(std::string(block, 16), std::string(16, '\0'));
    std::thread([&rec] { EXPECT_EQ(ORVEX_HasThreadSpecData(&rec.nKey), 0); }).join();
    EXPECT_EQ(ORVEX_GetThreadSpecData(&rec), block);
    EXPECT_EQ(ORVEX_FreeThreadSpecData(&rec.nKey), 1);
    EXPECT_EQ(ORVEX_HasThreadSpecData(&rec.nKey), 0);
    rec.nDataSize = -1;
    EXPECT_EQ(ORVEX_GetThreadSpecData(&rec), nullptr);
    EXPECT_EQ(ORVEX_GetThreadSpecDataNoAlloc(nullptr), nullptr);
    EXPECT_EQ(ORVEX_ReleaseThreadDataKey(&rec.nKey), 1);
}

// Takes every key of the process, so the library finds none.
CHILD_ROLE(without_keys) {
    ORVEX_Err_Set(1, 0, "first", 1, 0, nullptr, 0);
    MOLTE_THDATA_FreeData();
    MOLTE_THDATA_Destroy();
    uint32_t key = 0;
    while (ORVEX_InitThreadDataKey(&key) == 1) {
    }
    if (MOLTE_THDATA_Init() != -1 || MOLTE_THDATA_GetData() != nullptr) return 2;
    if (MOLTE_THDATA_SetClientData("x", 1) != -1) return 3;
    if (MOLTE_THITEMDAT_Add("x", nullptr) != -1) return 4;
    if (MOLTE_THDATA_GetBuffer() != nullptr || MOLTE_THDATA_IsInnerThread() != 0) return 5;
    ORVEX_Err_ClearError();
    ORVEX_SetMainPath("no folder");
    if (ORVEX_BASE_InitVar() != -1 || g_stBv.nInitCount != 0) return 6;
    tell_parent(error_of_this_thread() + ": " + history_of_this_thread());
    std::thread([] { tell_parent(error_of_this_thread()); }).join();  // the one record of all
    ORVEX_ReleaseThreadDataKey(&key);
    return ORVEX_BASE_InitVar() == 1 ? 0 : 7;
}

TEST_F(ThreadData, WithoutAKeyErrorsGoToOneSharedRecord) {
    ChildProcess child("without_keys");
    EXPECT_EQ(child.read_line(), "103 : 25 oxthrdat, 373 moltevar");
    EXPECT_EQ(child.read_line(), "103 ");
    EXPECT_EQ(child.wait(), 0);
}

}  // namespace
