#include "support/test.h"

namespace {

using Seconds = std::chrono::duration<double>;

TEST(Clock, SleepsInThreeUnits) {
    const tuple<int32_t (*)(int32_t), int32_t, int32_t, double> cases[] = {
        {ORVEX_Sleep, 0, 0, 0},
        {ORVEX_Sleep, -5, -5, 0},
        {ORVEX_SleepMilli, 1020, 1, 1.02},
        {ORVEX_SleepMilli, -1, 1, 0},
        {ORVEX_SleepMicro, 20'999, 1, 0.02},
        {ORVEX_SleepMicro, 999, 1, 0},
        {ORVEX_SleepMicro, INT32_MIN, 1, 0}};
    for (const auto& [sleep, argument, result, least] : cases) {
        const auto begin = std::chrono::steady_clock::now();
        const int64_t ticks = MOLTE_HiResoTickCount();
        EXPECT_EQ(sleep(argument), result);
        const double counted = MOLTE_HiResoTickToSec(MOLTE_HiResoTickCount() - ticks);
        const Seconds passed = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(counted, least - 0.002) << argument;
        EXPECT_LE(counted, passed.count() + 0.001);
    }
}

}  // namespace
