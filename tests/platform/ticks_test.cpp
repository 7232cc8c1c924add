#include "platform/ticks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

using std::chrono::steady_clock;

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
    const double passed = std::chrono::duration<double>(steady_clock::now() - begin).count();

    EXPECT_GE(counted, 0.059);
    EXPECT_LE(counted, passed + 0.001);
    EXPECT_GE(ticked, 60U - 17U);  // the step of GetTickCount on Windows is up to 16
    EXPECT_LE(ticked, counted * 1000 + 17);
}

TEST(Ticks, TheCounterHasAFineStep) {
    double finest = 1;
    for (int i = 0; i < 1000; ++i) {
        const double begin = counted_seconds();
        double next = begin;
        while (next == begin) next = counted_seconds();
        finest = std::min(finest, next - begin);
    }
    EXPECT_GT(finest, 0);
    EXPECT_LT(finest, 0.0001);
}

TEST(Ticks, SleepingForNothingComesBackAtOnce) {
    const auto begin = steady_clock::now();
    Sleep(0);
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(1));
}

}  // namespace
