#include "platform/time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <string>
#include <thread>

namespace {

constexpr __time64_t kJune2024 = 1717245296;  // 2024-06-01 12:34:56 UTC

std::string text(const char* value) {
    return value != nullptr ? value : "null";
}

TEST(Time, UniversalAndLocalTimeAndBack) {
    EXPECT_EQ(text(platform::asctime(_gmtime64(&kJune2024))), "Sat Jun 01 12:34:56 2024\n");
    tm local{};
    ASSERT_EQ(_localtime64_s(&local, &kJune2024), 0);
    EXPECT_EQ(_mktime64(&local), kJune2024);
    EXPECT_EQ(text(_ctime64(&kJune2024)), text(platform::asctime(_localtime64(&kJune2024))));
}

TEST(Time, FieldsBeyondTheirRangeCarryOver) {
    tm local{};
    local.tm_year = 124;
    local.tm_mon = 14;
    local.tm_mday = 40;
    local.tm_sec = 100;
    local.tm_isdst = -1;
    ASSERT_GT(_mktime64(&local), 0);
    EXPECT_EQ(text(platform::asctime(&local)), "Wed Apr 09 00:01:40 2025\n");
}

TEST(Time, ValuesOutsideTheCalendarAreRefused) {
    const __time64_t before = -1;
    const __time64_t beyond = INT64_MAX;
    for (const __time64_t* time : {&before, &beyond, static_cast<const __time64_t*>(nullptr)}) {
        EXPECT_EQ(_localtime64(time), nullptr);
        EXPECT_EQ(_ctime64(time), nullptr);
    }
    tm year_1960{};
    year_1960.tm_year = 60;
    year_1960.tm_mday = 1;
    EXPECT_EQ(_mktime64(&year_1960), -1);
    tm thirteenth_month{};
    thirteenth_month.tm_mon = 12;
    EXPECT_EQ(platform::asctime(&thirteenth_month), nullptr);
}

TEST(Time, EachThreadHasItsOwnRecord) {
    const tm* mine = _gmtime64(&kJune2024);
    std::thread([] {
        const __time64_t other = 0;
        EXPECT_EQ(_gmtime64(&other)->tm_year, 70);
    }).join();
    EXPECT_EQ(mine->tm_year, 124);
}

TEST(Time, ThePresentAgrees) {
    __timeb64 now{};
    __time64_t stored = 0;
    const __time64_t first = _time64(&stored);
    _ftime64(&now);
    EXPECT_EQ(first, stored);
    EXPECT_LE(first, now.time);
    EXPECT_NEAR(static_cast<double>(first), static_cast<double>(std::time(nullptr)), 2);
}

TEST(Time, TheClockCountsWallTime) {
    const long before = platform::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // uses no processor time
    const long passed = platform::clock() - before;
    EXPECT_GE(passed, 25);
    EXPECT_LT(passed, 5000);
}

}  // namespace
