#include "platform/ticks.h"
#include "support/common.h"

#include <cmath>

namespace {

double counted_seconds() {
    LARGE_INTEGER ticks{};
    LARGE_INTEGER per_second{};
    EXPECT_NE(QueryPerformanceCounter(&ticks), FALSE);
    EXPECT_NE(QueryPerformanceFrequency(&per_second), FALSE);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(per_second.QuadPart);
}

TEST(Ticks, TheCountersAgreeWithTheTimeASleepTakes) {
    const auto begin = steady_clock::now();
    const double counted_begin = counted_seconds();
    const DWORD tick_begin = GetTickCount();
    Sleep(60);
    const DWORD ticked = GetTickCount() - tick_begin;
    const double counted = counted_seconds() - counted_begin;
    const std::chrono::duration<double> passed = steady_clock::now() - begin;
    EXPECT_GE(counted, 0.059);
    EXPECT_LE(counted, passed.count() + 0.001);
    EXPECT_GE(ticked, 60U - 17U);  // the step of GetTickCount on Windows is up to 16
    EXPECT_LE(ticked, counted * 1000 + 17);
    double finest = 1;
    for (int i = 0; i < 1000; ++i) {
        const double before = counted_seconds();
        double next = before;
        while (next == before) next = counted_seconds();
        finest = std::min(finest, next - before);
    }
    EXPECT_LT(finest, 0.0001);
}

// Whoever loses the processor between two readings tries again.
TEST(Ticks, SpansAgreeWithTheCounter) {
    const auto ticks = [] {
        LARGE_INTEGER now{};
        QueryPerformanceCounter(&now);
        return now.QuadPart;
    };
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
    EXPECT_EQ(platform::span_ticks(5, 3), 0);
    EXPECT_EQ(platform::span_ticks(7, 7), 0);
}

}  // namespace
