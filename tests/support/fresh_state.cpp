// No test finds what another left in the library: part of each program that links it.
#include <gtest/gtest.h>

#include "moltelib.h"
#include "support/threads.h"

namespace {

class FreshState : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        if (g_stBv.nInitCount != 0) ORVEX_BASE_ReleaseVar();
        // All of the record but what owns something.
        MOLTE_BASEVAR fresh{};
        fresh.stShortOpLock = g_stBv.stShortOpLock;
        fresh.stLineBufList = g_stBv.stLineBufList;
        fresh.stParamAdm = g_stBv.stParamAdm;
        fresh.stCounterLock = g_stBv.stCounterLock;
        fresh.stThreadList = g_stBv.stThreadList;
        fresh.stTextHook = g_stBv.stTextHook;
        g_stBv = fresh;
        g_stLangVar = {};
        g_bParamIsCaseSensitive = 1;
        ORVEX_Err_ClearError();
    }
};

// The list of listeners owns it.
[[maybe_unused]] const bool listens = [] {
    at_end_of_thread = [] { MOLTE_THDATA_FreeData(); };
    testing::UnitTest::GetInstance()->listeners().Append(new FreshState);
    return true;
}();

}  // namespace
