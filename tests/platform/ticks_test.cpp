#include "platform/ticks.h"

#include "platform/time.h"
#include "support/common.h"

namespace {

// Whoever loses the processor between two readings tries again.
TEST(Ticks, SpansAgreeWithTheCounter) {
    const auto ticks = [] {
        LARGE_INTEGER now{};
        QueryPerformanceCounter(&now);
        return now.QuadPart;
    };
    EXPECT_EQ(platform::span_ticks(5, 3) + platform::span_ticks(7, 7), 0);
    double nearest = 1;
    for (int tries = 0; tries < 20 && nearest > 0.005; ++tries) {
        const auto begin = ticks();
        const uint64_t from = platform::span_reading();
        Sleep(5);
        const uint64_t to = platform::span_reading();
        const auto passed = static_cast<double>(ticks() - begin);
        const auto span = static_cast<double>(platform::span_ticks(from, to));
        nearest = std::min(nearest, std::abs(span / passed - 1));
    }
    EXPECT_LE(nearest, 0.005);
}

TEST(Ticks, TheClockCountsMillisecondsThoughTheProcessSleeps) {
    const long before = platform::clock();
    const auto begin = steady_clock::now();
    Sleep(30);
    const auto passed = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
    EXPECT_GE(platform::clock() - before, 25);
    EXPECT_LE(passed.count(), platform::clock() - before + 5);
}

TEST(Ticks, WhatIsOutsideTheCalendarIsRefused) {
    tm fields{};
    fields.tm_mon = 12;
    EXPECT_EQ(platform::asctime(&fields), nullptr);
}

}  // namespace
