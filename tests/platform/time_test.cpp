#include "platform/time.h"
#include "support/common.h"

namespace {

constexpr __time64_t kJune2024 = 1717245296;  // 2024-06-01 12:34:56 UTC

std::string text(const char* value) {
    return value != nullptr ? value : "null";
}

tm calendar(int year, int month, int day, int second) {
    tm fields{};
    fields.tm_year = year;
    fields.tm_mon = month;
    fields.tm_mday = day;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return fields;
}

TEST(Time, CalendarsThereAndBack) {
    const tm* mine = _gmtime64(&kJune2024);
    std::thread([] {
        const __time64_t other = 0;
        EXPECT_EQ(_gmtime64(&other)->tm_year, 70);
    }).join();
    EXPECT_EQ(text(platform::asctime(mine)), "Sat Jun 01 12:34:56 2024\n");  // the thread's own
    tm local = *_localtime64(&kJune2024);
    EXPECT_EQ(_mktime64(&local), kJune2024);
    tm carried = calendar(124, 14, 40, 100);
    ASSERT_GT(_mktime64(&carried), 0);
    EXPECT_EQ(text(platform::asctime(&carried)), "Wed Apr 09 00:01:40 2025\n");
}

TEST(Time, ValuesOutsideTheCalendarAreRefused) {
    const __time64_t before = -1;
    const __time64_t beyond = INT64_MAX;
    for (const __time64_t* time : {&before, &beyond, static_cast<const __time64_t*>(nullptr)}) {
        EXPECT_EQ(_localtime64(time), nullptr);
        EXPECT_EQ(_ctime64(time), nullptr);
    }
    tm year_1960 = calendar(60, 0, 1, 0);
    EXPECT_EQ(_mktime64(&year_1960), -1);
    const tm thirteenth_month = calendar(70, 12, 1, 0);
    EXPECT_EQ(platform::asctime(&thirteenth_month), nullptr);
}

TEST(Time, TheClockCountsWallTimeInMilliseconds) {
    const long before = platform::clock();
    std::this_thread::sleep_for(milliseconds(30));  // uses no processor time
    const long passed = platform::clock() - before;
    EXPECT_GE(passed, 25);
    EXPECT_LT(passed, 5000);
}

}  // namespace
