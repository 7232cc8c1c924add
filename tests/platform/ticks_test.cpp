#include "platform/ticks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

double counted_seconds() {
    LARGE_INTEGER ticks{};
    LARGE_INTEGER per_second{};
    EXPECT_NE(QueryPerformanceCounter(&ticks), FALSE);
    EXPECT_NE(QueryPerformanceFrequency(&per_second), FALSE);
    return static_cast<double>(ticks.QuadPart) / static_cast<double>(per_second.QuadPart);
}

TEST(Ticks, TheCountersAgreeWithTheTimeASleepTakes) {
    const auto begin = std::chrono::steady_clock::now();
    const double counted_begin = counted_seconds();
    const DWORD tick_begin = GetTickCount();
    Sleep(60);
    const DWORD ticked = GetTickCount() - tick_begin;
    const double counted = counted_seconds() - counted_begin;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
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

}  // namespace
