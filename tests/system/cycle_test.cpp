#include "support/environment.h"
#include "support/rows.h"
#include "support/test.h"

namespace {

ORVEXDATETIME moment(const std::string& digits) {
    ORVEXDATETIME record{};
    if (!digits.empty()) ORVEX_DateTime_DispFmt2DBFmt(digits.c_str(), &record);
    return record;
}

MOLTE_TC_CYCLE cycle_of(const std::string& numbers) {
    std::istringstream in(numbers);
    int n[8] = {};
    for (int& number : n) in >> number;
    const auto byte = [&](int i) { return static_cast<uint8_t>(n[i]); };
    MOLTE_TC_CYCLE cycle{};
    std::memset(&cycle, 0xEE, sizeof cycle);
    cycle.nCycleType = static_cast<int8_t>(n[0]);
    cycle.nWeekDay = byte(1);
    cycle.nMonthDay = byte(2);
    cycle.nMonth = byte(3);
    cycle.nDay = byte(4);
    cycle.nHour = byte(5);
    cycle.nMinute = byte(6);
    uint2ToChar2(static_cast<uint16_t>(n[7]), cycle.nIntervalMin);
    return cycle;
}

TEST(Cycle, Rows) {
    change_zone("ABC-3");
    check_rows(TEST_ROWS,
               {{"cycle", [](const Texts& row) {
                     constexpr int32_t unwritten = -7;
                     const ORVEXDATETIME last = moment(row[0]);
                     ORVEXDATETIME now = moment(row[1]);
                     const MOLTE_TC_CYCLE cycle = cycle_of(row[2]);
                     int32_t seconds = unwritten;
                     const int32_t result = MOLTE_TC_IsCycleReached(&last, &now, &cycle, &seconds);
                     EXPECT_EQ(MOLTE_TC_IsCycleReached(&last, &now, &cycle, nullptr), result);
                     if (result < 0) return taken_error();
                     return std::to_string(result) + " " +
                            (seconds == unwritten ? "-" : std::to_string(seconds));
                 }}});
}

TEST(Cycle, TakesThePresentFromTheClock) {
    const MOLTE_TC_CYCLE cycle = cycle_of("6 0 0 0 0 0 0 60");
    ORVEXDATETIME now{};
    int32_t seconds = 0;
    ORVEXDATETIME last;
    const int64_t before = ORVEX_Time();
    FormatDateTime(before - 600, &last);
    ASSERT_EQ(MOLTE_TC_IsCycleReached(&last, &now, &cycle, &seconds), 0);
    EXPECT_GE(DateTimeToSecond(&now), before);
    EXPECT_EQ(seconds, DateTimeToSecond(&last) + 3600 - DateTimeToSecond(&now));
    EXPECT_EQ(error_of(MOLTE_TC_IsCycleReached(nullptr, &now, &cycle, &seconds)), "50 oxsysutl");
}

}  // namespace
