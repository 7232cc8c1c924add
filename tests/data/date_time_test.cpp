#include "support/rows.h"
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
    for (const char c : bytes_of(record)) {
        snprintf(byte, sizeof byte, "%02x", static_cast<uint8_t>(c));
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
    d = moment(2047, 12, 31, 9, 8, 7);
    d.stTime.anMilliSecond[0] = 0xE7;  // 7,143 ms: rounded down to 7 s
    Ints f(6);
    ORVEX_GetDateTime(&d, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
    EXPECT_EQ(f, (Ints{2047, 12, 31, 9, 8, 7}));
}

TEST(DateRecord, FieldsCompareAlone) {
    const auto a = moment(2020, 5, 7, 1, 0, 0);
    // The month of another year is the same month.
    for (const auto& [b, same] : {tuple(moment(2021, 5, 7, 2, 0, 0), Ints{0, 1, 1, 0}),
                                  {moment(2020, 6, 8, 1, 0, 0), {1, 0, 0, 0}},
                                  {a, {1, 1, 1, 1}}}) {
        EXPECT_EQ((Ints{ORVEX_TimeIsSameYear(&a, &b), ORVEX_TimeIsSameMonth(&a, &b),
                        ORVEX_TimeIsSameDay(&a, &b), ORVEX_TimeIsSameYearMonDay(&a, &b)}),
                  same);
    }
}

TEST(DateText, EveryForm) {
    const auto d = moment(2018, 6, 4, 1, 2, 3);
    ORVEXDATETIME only_day{};
    only_day.stDate.nDay = 1;
    ORVEXDATETIME widest;
    std::memset(&widest, 0xFF, sizeof widest);
    const tuple<ORVEXDATETIME, Text, Text> rows[] = {
        {d, "2018/ 6/ 4 01:02:03", "20180604010203"},
        {{}, "Not set", "00000100000000"},
        {only_day, "   0/ 1/ 1 00:00:00", "00000101000000"},
        {widest, "65535/256/255 255:255:65", "6553525625525525565"}};
    char text[32];
    for (const auto& [record, shown, digits] : rows) {
        EXPECT_EQ(ORVEX_DateTimeToStr(&record, text), static_cast<int32_t>(std::strlen(shown)));
        EXPECT_STREQ(text, shown);
        EXPECT_EQ(ORVEX_DateTime_DBFmt2DispFmt(&record, text),
                  static_cast<int32_t>(std::strlen(digits)));
        EXPECT_STREQ(text, digits);
    }
    EXPECT_EQ(ORVEX_Date_DBFmt2DispFmt(&d.stDate, text), 8);
    EXPECT_STREQ(text, "20180604");
    EXPECT_EQ(ORVEX_Time_DBFmt2DispFmt(&d.stTime, text), 6);
    EXPECT_STREQ(text, "010203");
}

TEST(DateText, DigitsBackIntoRecords) {
    ORVEXDATETIME d;
    EXPECT_EQ(ORVEX_DateTime_DispFmt2DBFmt("20180604110041", &d), 1);
    EXPECT_EQ(hex(d), "28a0000b0405e207");
    EXPECT_EQ(ORVEX_Time_DispFmt2DBFmt("2575AB", &d.stTime), 1);  // clamped, not refused
    EXPECT_EQ(hex(d.stTime), "78e63b17");
    EXPECT_EQ(ORVEX_Time_DispFmt2DBFmt("\xB0\xB0\xB0\xB0\xB0\xB0", &d.stTime), 1);
    EXPECT_EQ(hex(d.stTime), "00000000");  // bytes from 128 up are negative
    EXPECT_EQ(ORVEX_Date_DispFmt2DBFmt("2018130412", &d.stDate), 1);  // nothing is checked
    EXPECT_EQ(d.stDate.nMonth, 12);
    EXPECT_EQ(error_of(ORVEX_Date_DispFmt2DBFmt("2018060", &d.stDate)), "50 oxdatcnv 2018060");
    EXPECT_EQ(error_of(ORVEX_Date_DispFmt2DBFmt(nullptr, &d.stDate)), "50 oxdatcnv");
    EXPECT_EQ(error_of(ORVEX_Time_DispFmt2DBFmt("11004", &d.stTime)), "50 oxdatcnv 11004");
    for (const Text bad : {"2018060411004", Text{}}) {
        EXPECT_EQ(error_of(ORVEX_DateTime_DispFmt2DBFmt(bad, &d)), "50 oxdatcnv bad format");
        EXPECT_EQ(ORVEX_MkTimeStr(bad), -1);
    }
    Ints f(6);
    ORVEX_StrTimeToDigit("20180604110041", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
    EXPECT_EQ(f, (Ints{2018, 6, 4, 11, 0, 41}));
    char text[32];
    const int32_t cut = ORVEX_DigitToStrTime(INT32_MIN, 0, 0, 0, 0, INT32_MIN, text);
    EXPECT_EQ(static_cast<size_t>(cut), std::strlen(text));
}

TEST(DateNumbers, KeysAndSeconds) {
    const auto d = moment(2024, 3, 1, 0, 0, 0);
    const auto t = time_of(1, 2, 3);
    EXPECT_EQ(DateToDay(&d.stDate), 2023 * 366 + 2 * 30 + 1);
    EXPECT_EQ(TimeToMilliSecond(&t), 3723000);
    EXPECT_EQ(TimeToSecond(&t), 3720);  // without the seconds
    EXPECT_EQ(DateToSecond(&d.stDate), DateTimeToSecond(&d));
    EXPECT_EQ(ORVEX_MkTimeStr("20240301000000"), DateTimeToSecond(&d));
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
    for (const auto& [d, in] : {std::pair(moment(2019, 12, 31, 23, 59, 59), 0),
                                {range.stFrom, 1},
                                {moment(2020, 1, 31, 23, 59, 59), 1},
                                {range.stTo, 0}}) {
        EXPECT_EQ(MOLTE_DT_IsInRange(&range, &d), in) << hex(d);
    }
    const MOLTE_DTINTRANGE numbers{{0, 0, 1, 0}, {0xFF, 0, 0, 0}};
    for (const auto& [t, in] :
         {std::pair(255U, 0), {256U, 1}, {0xFEFFFFFFU, 1}, {0xFF000000U, 0}}) {
        EXPECT_EQ(MOLTE_DT_IsInIntRange(&numbers, t), in) << t;
    }
}

uint32_t number(const std::string& field) {
    return static_cast<uint32_t>(std::stoul(field, nullptr, 0));
}
// That of three fields.
ORVEXDATE date_in(const Texts& row, size_t from = 0) {
    return date(static_cast<int32_t>(number(row[from])), std::stoi(row[from + 1]),
                std::stoi(row[from + 2]));
}

const Calls kCalls = {{"valid date",
                       [](const Texts& row) {
                           return std::to_string(ORVEX_DateTime_IsValidDate(
                               number(row[0]), number(row[1]), number(row[2])));
                       }},
                      {"valid time",
                       [](const Texts& row) {
                           return std::to_string(ORVEX_DateTime_IsValidTime(
                               number(row[0]), number(row[1]), number(row[2])));
                       }},
                      {"day of the year",
                       [](const Texts& row) {
                           const ORVEXDATE record = date_in(row);
                           return std::to_string(ORVEX_Date_GetYearDay(&record));
                       }},
                      {"days between", [](const Texts& row) {
                           const ORVEXDATE a = date_in(row);
                           const ORVEXDATE b = date_in(row, 3);
                           EXPECT_EQ(DateDiffByDay(&b, &a), DateDiffByDay(&a, &b));
                           return std::to_string(DateDiffByDay(&a, &b));
                       }}};

TEST(Calendar, Rows) {
    check_rows(TEST_ROWS, kCalls);
}

TEST(Calendar, Validity) {
    EXPECT_EQ(error_of(ORVEX_DateTime_IsValidDate(2100, 2, 29) - 1),
              "140 oxdatcnv bad date : 2100-2-29");
    EXPECT_EQ(error_of(ORVEX_DateTime_IsValidTime(24, 0, 0) - 1), "141 oxdatcnv bad time : 24-0-0");
    auto d = moment(2020, 2, 29, 23, 0, 0);
    EXPECT_EQ(RVEXDateTime_IsValid(&d), 1);
    d.stTime.nMinute = 60;
    EXPECT_EQ(RVEXDateTime_IsValid(&d), 0);
    EXPECT_EQ(RVEXDate_IsValid(&d.stDate) - RVEXTime_IsValid(&d.stTime), 1);
    d.stDate.nMonth = 12;
    EXPECT_EQ(RVEXDate_IsValid(&d.stDate), 0);
}

TEST(Calendar, WeeksAndLeapYears) {
    for (const auto& [day, week] : {std::pair(1, 1), {7, 1}, {8, 2}, {31, 5}}) {
        const auto record = date(2023, 1, day);
        EXPECT_EQ(ORVEX_Date_GetYearWeek(&record), week);
    }
    for (const auto& [year, leap] : {std::pair(2000, 1), {1900, 0}, {2024, 1}}) {
        EXPECT_EQ(ORVEX_DateTime_IsLeapYear(year), leap);
    }
}

TEST(Clock, NowInEveryForm) {
    int64_t second = 0;
    ORVEXDATETIME now;
    char day[32];
    char clock[32];
    do {  // until all of it is of one second
        second = ORVEX_Time();
        ASSERT_EQ(FormatCurrentDateTime(&now), 1);
        FormatCurrentDate(day);
        FormatCurrentTime(clock);
    } while (ORVEX_Time() != second);
    EXPECT_NEAR(static_cast<double>(second), static_cast<double>(std::time(nullptr)), 2);
    struct tm f {};
    ORVEX_LocalTime(&second, &f);
    const int32_t year = f.tm_year + 1900;
    EXPECT_EQ(hex(now), hex(moment(year, f.tm_mon + 1, f.tm_mday, f.tm_hour, f.tm_min, f.tm_sec)));
    char text[64];
    snprintf(text, sizeof text, "%04d%02d%02d", year, f.tm_mon + 1, f.tm_mday);
    EXPECT_STREQ(day, text);
    snprintf(text, sizeof text, "%02d%02d%02d", f.tm_hour, f.tm_min + 1, f.tm_sec);
    EXPECT_STREQ(clock, text);  // a minute ahead
    EXPECT_LE(second * 1000, ORVEX_GetTimeMilli());
    // The seconds are those of the last tick, up to some milliseconds ago.
    EXPECT_LE(ORVEX_GetTimeMilli() / 1000, ORVEX_GetTimeInt() + 1);
    EXPECT_GE(ORVEX_GetCurrentYear(), year);
}

void change_zone(const char* zone) {
#if defined(_WIN32)
    _putenv_s("TZ", zone);
    _tzset();
#else
    setenv("TZ", zone, 1);
    tzset();
#endif
}

TEST(Clock, FollowsAChangeOfTheZoneAtOnce) {
    for (const auto& [zone, first_hour] : {std::pair("UTC0", 0), {"XYZ-3", 3}, {"ABC5", 19}}) {
        change_zone(zone);
        ORVEXDATETIME record;
        FormatDateTime(0, &record);
        EXPECT_EQ(record.stTime.nHour, first_hour) << zone;
        ORVEXDATETIME now;
        ORVEXDATETIME parts;
        int64_t second = 0;
        do {  // until all of it is of one second
            second = ORVEX_Time();
            FormatDateTime(second, &record);
            FormatCurrentDateTime(&now);
            FormatCurrentDate4(&parts.stDate);
            FormatCurrentTime4(&parts.stTime);
        } while (ORVEX_Time() != second);
        EXPECT_EQ(hex(now) + hex(parts), hex(record) + hex(record)) << zone;
    }
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

}  // namespace
