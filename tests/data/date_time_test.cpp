#include "support/test.h"

namespace {

ORVEXDATE date(int32_t year, int32_t month, int32_t day) {
    ORVEXDATE d;
    ORVEX_SetDate(&d, year, month, day);
    return d;
}

ORVEXTIME time_of(int32_t hour, int32_t minute, int32_t second) {
    ORVEXTIME t;
    ORVEX_SetTime(&t, hour, minute, second);
    return t;
}

ORVEXDATETIME moment(int32_t y, int32_t mo, int32_t d, int32_t h, int32_t mi, int32_t s) {
    return {time_of(h, mi, s), date(y, mo, d)};
}

template <typename T>
std::string hex(const T& record) {
    std::string text;
    char byte[3];
    for (size_t i = 0; i < sizeof record; ++i) {
        snprintf(byte, sizeof byte, "%02x", reinterpret_cast<const uint8_t*>(&record)[i]);
        text += byte;
    }
    return text;
}

TEST(DateRecord, BytesAsFilesHoldThem) {
    EXPECT_EQ(hex(moment(2018, 6, 4, 11, 0, 41)), "28a0000b0405e207");
    EXPECT_EQ(hex(time_of(23, 59, 75)), "78e63b17");  // the second is clamped to 59
    EXPECT_EQ(hex(time_of(-1, 60, -5)), "00003b00");
    ORVEXDATETIME d;
    ORVEX_SetDefaultDateTime(&d);
    EXPECT_EQ(hex(d), "000000000100bc07");
    const ORVEXDATETIME not_set{};
    EXPECT_EQ(ORVEX_IsEmptyDateTime(&not_set), 1);
    EXPECT_EQ(ORVEX_DateTime_IsNULL(&d), 0);
}

TEST(DateRecord, TakenApart) {
    ORVEXDATETIME d = moment(2047, 12, 31, 9, 8, 7);
    d.stTime.anMilliSecond[0] = 0xE7;  // 7,143 ms: rounded down to 7 s
    int32_t f[6];
    ORVEX_GetDateTime(&d, f, f + 1, f + 2, f + 3, f + 4, f + 5);
    EXPECT_EQ((std::vector<int32_t>(f, f + 6)), (std::vector<int32_t>{2047, 12, 31, 9, 8, 7}));
}

TEST(DateRecord, FieldsCompareAlone) {
    const auto a = moment(2020, 5, 7, 1, 0, 0);
    const auto b = moment(2021, 5, 7, 2, 0, 0);
    const auto c = moment(2020, 6, 8, 1, 0, 0);
    EXPECT_EQ(ORVEX_TimeIsSameYear(&a, &b), 0);
    EXPECT_EQ(ORVEX_TimeIsSameYear(&a, &c), 1);
    EXPECT_EQ(ORVEX_TimeIsSameMonth(&a, &b), 1);  // of different years
    EXPECT_EQ(ORVEX_TimeIsSameDay(&a, &b), 1);
    EXPECT_EQ(ORVEX_TimeIsSameDay(&a, &c), 0);
    EXPECT_EQ(ORVEX_TimeIsSameYearMonDay(&a, &b), 0);
    EXPECT_EQ(ORVEX_TimeIsSameYearMonDay(&a, &a), 1);
}

TEST(DateText, EveryForm) {
    const auto d = moment(2018, 6, 4, 1, 2, 3);
    char text[32];
    EXPECT_EQ(ORVEX_DateTimeToStr(&d, text), 19);
    EXPECT_STREQ(text, "2018/ 6/ 4 01:02:03");
    EXPECT_EQ(ORVEX_DateToStr(&d.stDate, text), 11);
    EXPECT_STREQ(text, "2018/ 6/ 4 ");
    EXPECT_EQ(ORVEX_DateTime_DBFmt2DispFmt(&d, text), 14);
    EXPECT_STREQ(text, "20180604010203");
    EXPECT_EQ(ORVEX_Date_DBFmt2DispFmt(&d.stDate, text), 8);
    EXPECT_STREQ(text, "20180604");
    EXPECT_EQ(ORVEX_Time_DBFmt2DispFmt(&d.stTime, text), 6);
    EXPECT_STREQ(text, "010203");
    const ORVEXDATETIME not_set{};
    EXPECT_EQ(ORVEX_DateTimeToStr(&not_set, text), 7);
    EXPECT_STREQ(text, "Not set");
    ORVEXDATETIME only_day{};
    only_day.stDate.nDay = 1;
    ORVEX_DateTimeToStr(&only_day, text);
    EXPECT_STREQ(text, "   0/ 1/ 1 00:00:00");
    ORVEXDATETIME widest;
    std::memset(&widest, 0xFF, sizeof widest);
    EXPECT_EQ(ORVEX_DateTimeToStr(&widest, text), 24);
    EXPECT_STREQ(text, "65535/256/255 255:255:65");
}

TEST(DateText, DigitsBackIntoRecords) {
    ORVEXDATETIME d;
    EXPECT_EQ(ORVEX_DateTime_DispFmt2DBFmt("20180604110041", &d), 1);
    EXPECT_EQ(hex(d), "28a0000b0405e207");
    EXPECT_EQ(ORVEX_Time_DispFmt2DBFmt("2575AB", &d.stTime), 1);  // clamped, not refused
    EXPECT_EQ(hex(d.stTime), "78e63b17");
    EXPECT_EQ(ORVEX_Date_DispFmt2DBFmt("2018130412", &d.stDate), 1);  // nothing is checked
    EXPECT_EQ(d.stDate.nMonth, 12);
    EXPECT_EQ(error_of(ORVEX_Date_DispFmt2DBFmt("2018060", &d.stDate)), "50 oxdatcnv 2018060");
    EXPECT_EQ(error_of(ORVEX_Time_DispFmt2DBFmt("11004", &d.stTime)), "50 oxdatcnv 11004");
    EXPECT_EQ(error_of(ORVEX_DateTime_DispFmt2DBFmt("2018060411004", &d)),
              "50 oxdatcnv bad format");
    for (auto* read : {&ORVEX_Date_DispFmt2DBFmt}) {
        EXPECT_EQ(error_of(read(nullptr, &d.stDate)), "50 oxdatcnv");
    }
    EXPECT_EQ(ORVEX_DateTime_DispFmt2DBFmt(nullptr, &d), -1);
    EXPECT_EQ(ORVEX_MkTimeStr("2018"), -1);
    int32_t f[6];
    EXPECT_EQ(ORVEX_StrTimeToDigit("20180604110041", f, f + 1, f + 2, f + 3, f + 4, f + 5), 1);
    EXPECT_EQ((std::vector<int32_t>(f, f + 6)), (std::vector<int32_t>{2018, 6, 4, 11, 0, 41}));
    char text[32];
    EXPECT_EQ(ORVEX_DigitToStrTime(f[0], f[1], f[2], f[3], f[4], f[5], text), 14);
    EXPECT_STREQ(text, "20180604110041");
    const int32_t cut = ORVEX_DigitToStrTime(INT32_MIN, 0, 0, 0, 0, INT32_MIN, text);
    EXPECT_EQ(static_cast<size_t>(cut), std::strlen(text));
}

TEST(DateNumbers, KeysAndSeconds) {
    const auto d = date(2024, 3, 1);
    EXPECT_EQ(DateToDay(&d), 2023 * 366 + 2 * 30 + 1);
    const auto t = time_of(1, 2, 3);
    EXPECT_EQ(TimeToMilliSecond(&t), 3723000);
    EXPECT_EQ(TimeToSecond(&t), 3720);  // without the seconds
    const auto d_t = moment(2024, 3, 1, 0, 0, 0);
    EXPECT_EQ(DateToSecond(&d), DateTimeToSecond(&d_t));
    EXPECT_EQ(ORVEX_MkTimeStr("20240301000000"), DateToSecond(&d));
    EXPECT_EQ(ORVEX_MkTime(INT32_MIN, 1, 1, 0, 0, 0), -1);
}

TEST(DateCompare, OrdersByKeyBytesAndTime) {
    const auto a = moment(2020, 1, 31, 10, 0, 0);
    const auto b = moment(2020, 2, 1, 9, 0, 0);
    EXPECT_EQ(DateComp(&a.stDate, &b.stDate), 0);  // 0 * 30 + 31 is 1 * 30 + 1
    EXPECT_EQ(DateTimeCompBak(&a, &b), 1);         // so the time decides
    EXPECT_EQ(DateTimeComp(&a, &b), -1);
    EXPECT_EQ(TimeComp(&b.stTime, &a.stTime), -1);
    EXPECT_EQ(BYTECmp("\x01\x80", "\x02\x7F", 2), 1);  // the last byte weighs most, unsigned
    EXPECT_EQ(BYTECmp("a", "b", 0), 0);
}

TEST(DateRange, FromBelongsToDoesNot) {
    const MOLTE_DTRANGE range{moment(2020, 1, 1, 0, 0, 0), moment(2020, 2, 1, 0, 0, 0)};
    const auto before = moment(2019, 12, 31, 23, 59, 59);
    const auto inside = moment(2020, 1, 31, 23, 59, 59);
    EXPECT_EQ(MOLTE_DT_IsInRange(&range, &before), 0);
    EXPECT_EQ(MOLTE_DT_IsInRange(&range, &range.stFrom), 1);
    EXPECT_EQ(MOLTE_DT_IsInRange(&range, &inside), 1);
    EXPECT_EQ(MOLTE_DT_IsInRange(&range, &range.stTo), 0);
    const MOLTE_DTINTRANGE numbers{{0, 0, 1, 0}, {0xFF, 0, 0, 0}};
    for (const auto& [t, in] : std::vector<std::pair<uint32_t, int32_t>>{
             {255, 0}, {256, 1}, {0xFEFFFFFF, 1}, {0xFF000000, 0}}) {
        EXPECT_EQ(MOLTE_DT_IsInIntRange(&numbers, t), in) << t;
    }
}

TEST(Calendar, Validity) {
    struct Case {
        uint32_t y, m, d;
        int32_t valid;
    };
    for (const auto& c : std::vector<Case>{{2100, 2, 28, 1},
                                           {2100, 2, 29, 0},
                                           {2000, 2, 29, 1},
                                           {2024, 2, 29, 1},
                                           {2023, 2, 29, 0},
                                           {2101, 1, 1, 0},
                                           {0, 1, 1, 1},
                                           {2020, 0, 1, 0},
                                           {2020, 13, 1, 0},
                                           {2020, 4, 31, 0},
                                           {2020, 12, 31, 1},
                                           {2020, 1, 0, 0},
                                           {UINT32_MAX, 1, 1, 0}}) {
        EXPECT_EQ(ORVEX_DateTime_IsValidDate(c.y, c.m, c.d), c.valid) << c.y << c.m << c.d;
    }
    ORVEX_DateTime_IsValidDate(2100, 2, 29);
    EXPECT_EQ(error_of_this_thread(), "140 oxdatcnv bad date : 2100-2-29");
    EXPECT_EQ(ORVEX_DateTime_IsValidTime(23, 59, 59), 1);
    EXPECT_EQ(ORVEX_DateTime_IsValidTime(24, 0, 0), 0);
    EXPECT_EQ(error_of_this_thread(), "141 oxdatcnv bad time : 24-0-0");
    EXPECT_EQ(ORVEX_DateTime_IsValidTime(0, 60, 0), 0);
    EXPECT_EQ(ORVEX_DateTime_IsValidTime(0, 0, 60), 0);
    auto d = moment(2020, 2, 29, 23, 0, 0);
    EXPECT_EQ(RVEXDateTime_IsValid(&d), 1);
    d.stTime.nMinute = 60;
    EXPECT_EQ(RVEXDateTime_IsValid(&d), 0);
    EXPECT_EQ(RVEXDate_IsValid(&d.stDate), 1);
    EXPECT_EQ(RVEXTime_IsValid(&d.stTime), 0);
    d.stDate.nMonth = 12;
    EXPECT_EQ(RVEXDate_IsValid(&d.stDate), 0);
}

TEST(Calendar, YearDaysOfAnExchangedYear) {
    const auto year_day = [](int32_t y, int32_t m, int32_t d) {
        const auto record = date(y, m, d);
        return ORVEX_Date_GetYearDay(&record);
    };
    EXPECT_EQ(year_day(2024, 3, 1), 60);  // a leap year that isn't counted
    EXPECT_EQ(year_day(2024, 2, 29), 60);
    EXPECT_EQ(year_day(2023, 12, 31), 365);
    EXPECT_EQ(year_day(0x0400, 3, 1), 61);   // exchanged: year 4, a leap year
    EXPECT_EQ(year_day(0x6400, 3, 1), 60);   // exchanged: year 100
    EXPECT_EQ(year_day(0x9001, 3, 1), 61);   // exchanged: year 0x0190 = 400
    const auto beyond = date(2023, 256, 1);  // a month byte of 255 from outside
    EXPECT_EQ(ORVEX_Date_GetYearDay(&beyond), 366);
    for (const auto& [day, week] :
         std::vector<std::pair<int32_t, int32_t>>{{1, 1}, {7, 1}, {8, 2}, {31, 5}}) {
        const auto record = date(2023, 1, day);
        EXPECT_EQ(ORVEX_Date_GetYearWeek(&record), week);
    }
    EXPECT_EQ(ORVEX_DateTime_IsLeapYear(2000), 1);
    EXPECT_EQ(ORVEX_DateTime_IsLeapYear(1900), 0);
    EXPECT_EQ(ORVEX_DateTime_IsLeapYear(2024), 1);
}

TEST(Calendar, DayDistance) {
    struct Case {
        ORVEXDATE a, b;
        int32_t days;
    };
    for (const auto& c : std::vector<Case>{
             {date(2023, 1, 1), date(2023, 1, 1), 0},
             {date(2023, 1, 1), date(2023, 12, 31), 364},
             {date(2023, 1, 31), date(2023, 2, 1), 1},  // of one key
             {date(2023, 12, 31), date(2024, 1, 1), 1},
             {date(2024, 2, 28), date(2024, 3, 1), 1},   // the year day misses 29 February
             {date(2024, 1, 1), date(2025, 1, 1), 366},  // but the whole year counts it
             {date(1999, 6, 1), date(2001, 6, 1), 731}}) {
        EXPECT_EQ(DateDiffByDay(&c.a, &c.b), c.days);
        EXPECT_EQ(DateDiffByDay(&c.b, &c.a), c.days);
    }
}

struct tm local(int64_t t) {
    struct tm fields {};
    ORVEX_LocalTime(&t, &fields);
    return fields;
}

TEST(Clock, NowInEveryForm) {
    const int64_t before = static_cast<int64_t>(std::time(nullptr));
    ORVEXDATETIME now;
    char day[32];
    char clock[32];
    ASSERT_EQ(FormatCurrentDateTime(&now), 1);
    FormatCurrentDate(day);
    FormatCurrentTime(clock);
    const int64_t after = ORVEX_Time();
    // Any second between the two readings will do for each of the texts.
    bool record_seen = false;
    bool day_seen = false;
    bool clock_seen = false;
    for (int64_t t = before - 1; t <= after; ++t) {
        const struct tm f = local(t);
        ORVEXDATETIME record;
        ASSERT_EQ(FormatDateTime(t, &record), 1);
        EXPECT_EQ(hex(record), hex(moment(f.tm_year + 1900, f.tm_mon + 1, f.tm_mday, f.tm_hour,
                                          f.tm_min, f.tm_sec)));
        record_seen |= hex(record) == hex(now);
        char text[64];
        snprintf(text, sizeof text, "%04d%02d%02d", f.tm_year + 1900, f.tm_mon + 1, f.tm_mday);
        day_seen |= std::string(text) == day;
        snprintf(text, sizeof text, "%02d%02d%02d", f.tm_hour, f.tm_min + 1, f.tm_sec);
        clock_seen |= std::string(text) == clock;  // a minute ahead
    }
    EXPECT_TRUE(record_seen) << hex(now);
    EXPECT_TRUE(day_seen) << day;
    EXPECT_TRUE(clock_seen) << clock;
    EXPECT_LE(before, ORVEX_GetTimeInt64());
    EXPECT_LE(before * 1000, ORVEX_GetTimeMilli());
    EXPECT_LE(ORVEX_GetTimeMilli() / 1000, ORVEX_GetTimeInt());
    const struct tm f = local(before);
    EXPECT_GE(ORVEX_GetCurrentYear(), f.tm_year + 1900);
    EXPECT_TRUE(ORVEX_GetCurrentMonth() >= 1 && ORVEX_GetCurrentMonth() <= 12);
    EXPECT_TRUE(ORVEX_GetCurrentDay() >= 1 && ORVEX_GetCurrentDay() <= 31);
}

TEST(Clock, TimeValuesThereAndBack) {
    const int64_t now = ORVEX_Time();
    ORVEXDATETIME record;
    FormatDateTime(now, &record);
    EXPECT_EQ(DateTimeToSecond(&record), now);
    char text[32];
    char expected[32];
    ORVEX_TimeIntToStr(now, text);
    ORVEX_DateTimeToStr(&record, expected);
    EXPECT_STREQ(text, expected);
    std::memset(&record, 1, sizeof record);
    EXPECT_EQ(FormatDateTime(INT64_MAX, &record), -1);  // no such year
    EXPECT_EQ(ORVEX_IsEmptyDateTime(&record), 1);
    ORVEX_TimeIntToStr(INT64_MAX, text);
    EXPECT_STREQ(text, "Not set");
}

TEST(Clock, ElapsedTimeIsWallTime) {
    const float start = ORVEX_etime();
    ORVEX_SleepMilli(60);
    const float passed = ORVEX_etime() - start;
    EXPECT_GE(passed, 0.05F);
    EXPECT_LT(passed, 5.0F);
}

}  // namespace
