#include "support/called.h"
#include "support/environment.h"

namespace {

// What digits as "20180604110041" stand for.
ORVEXDATETIME moment(const std::string& digits) {
    ORVEXDATETIME d;
    EXPECT_EQ(ORVEX_DateTime_DispFmt2DBFmt(digits.c_str(), &d), 1) << digits;
    return d;
}

// The same of a field.
struct Moment : ORVEXDATETIME {
    explicit Moment(const std::string& digits) : ORVEXDATETIME(moment(digits)) {}
};

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

std::string numbers(const Ints& values) {
    std::string text;
    for (const int32_t value : values) text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

ORVEXDATE date_of(uint32_t year, int32_t month, int32_t day) {
    ORVEXDATE date;
    ORVEX_SetDate(&date, static_cast<int32_t>(year), month, day);
    return date;
}

std::string shown(Text bytes) {
    ORVEXDATETIME record;
    std::memcpy(&record, bytes, sizeof record);
    char text[3][32];
    const int32_t length = ORVEX_DateTimeToStr(&record, text[0]);
    EXPECT_EQ(static_cast<size_t>(length), std::strlen(text[0]));
    EXPECT_EQ(ORVEX_IsEmptyDateTime(&record), text[0] == "Not set"s ? 1 : 0);
    EXPECT_EQ(ORVEX_DateTime_IsNULL(&record), text[0] == "Not set"s ? 1 : 0);
    const int32_t date_digits = ORVEX_Date_DBFmt2DispFmt(&record.stDate, text[1]);
    const int32_t time_digits = ORVEX_Time_DBFmt2DispFmt(&record.stTime, text[2]);
    const std::string digits = text[1] + ""s + text[2];
    EXPECT_EQ(ORVEX_DateTime_DBFmt2DispFmt(&record, text[1]), date_digits + time_digits);
    EXPECT_EQ(text[1], digits);
    return text[0] + "|"s + digits;
}

// The records that digits give, of a date and a time, or the errors.
std::string records(Text date_digits, Text time_digits) {
    ORVEXDATE date;
    ORVEXTIME time;
    const int32_t dated = ORVEX_Date_DispFmt2DBFmt(date_digits, &date);
    const std::string date_error = taken_error();
    const int32_t timed = ORVEX_Time_DispFmt2DBFmt(time_digits, &time);
    return (dated == 1 ? hex(date) : date_error) + "|" + (timed == 1 ? hex(time) : taken_error());
}

// Their order by date, by time, by both and by all bytes, and what they have in common.
std::string two(Moment* a, Moment* b) {
    EXPECT_EQ(DateTimeComp(b, a), -DateTimeComp(a, b));
    return numbers({DateComp(&a->stDate, &b->stDate), TimeComp(&a->stTime, &b->stTime),
                    DateTimeCompBak(a, b), DateTimeComp(a, b), ORVEX_TimeIsSameYear(a, b),
                    ORVEX_TimeIsSameMonth(a, b), ORVEX_TimeIsSameDay(a, b),
                    ORVEX_TimeIsSameYearMonDay(a, b)});
}

// What a check of three numbers told; that of their record tells the same.
std::string validity(int32_t result, const ORVEXDATETIME& record) {
    const std::string told = outcome(result);
    EXPECT_EQ(RVEXDateTime_IsValid(&record), result);
    return told;
}
std::string valid_date(uint32_t year, uint32_t month, uint32_t day) {
    const auto date = date_of(year, static_cast<int32_t>(month), static_cast<int32_t>(day));
    return validity(ORVEX_DateTime_IsValidDate(year, month, day), {{}, date});
}
std::string valid_time(uint32_t hour, uint32_t minute, uint32_t second) {
    ORVEXDATETIME record = moment("20240229000000");
    record.stTime.nHour = static_cast<uint8_t>(hour);
    record.stTime.nMinute = static_cast<uint8_t>(minute);
    record.stTime.anMilliSecond[0] = static_cast<uint8_t>(second * 1000);
    record.stTime.anMilliSecond[1] = static_cast<uint8_t>(second * 1000 >> 8);
    return validity(ORVEX_DateTime_IsValidTime(hour, minute, second), record);
}

const Calls kCalls = {
    {"shown", called<shown>},
    {"records", called<records>},
    {"two", called<two>},
    {"leap year", called<ORVEX_DateTime_IsLeapYear>},
    {"valid date", called<valid_date>},
    {"valid time", called<valid_time>},
    {"in a range", called<[](Moment* begin, Moment* end, Moment* at) {
         const MOLTE_DTRANGE range{*begin, *end};
         return MOLTE_DT_IsInRange(&range, at);
     }>},
    {"in 0x100 to 0xFF000000", called<[](uint32_t at) {
         const MOLTE_DTINTRANGE range{{0, 0, 1, 0}, {0xFF, 0, 0, 0}};
         return MOLTE_DT_IsInIntRange(&range, at);
     }>},
    {"day and week of the year", called<[](uint32_t year, int32_t month, int32_t day) {
         const ORVEXDATE date = date_of(year, month, day);
         return numbers({ORVEX_Date_GetYearDay(&date), ORVEX_Date_GetYearWeek(&date)});
     }>},
    {"days between", called<[](Moment* a, Moment* b) {
         EXPECT_EQ(DateDiffByDay(&b->stDate, &a->stDate), DateDiffByDay(&a->stDate, &b->stDate));
         return DateDiffByDay(&a->stDate, &b->stDate);
     }>},
    {"bytes", called<BYTECmp>}};

TEST(DateTime, Rows) {
    check_rows(TEST_ROWS, kCalls);
}

TEST(DateRecord, OfDigitsAndNumbers) {
    ORVEXDATETIME d;
    ORVEX_SetDefaultDateTime(&d);
    EXPECT_EQ(hex(d), "000000000100bc07");
    EXPECT_EQ(hex(moment("20180604110041")), "28a0000b0405e207");
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
    const ORVEXDATETIME d = moment("20240301000000");
    const ORVEXTIME t = moment("20240301010203").stTime;
    EXPECT_EQ(DateToDay(&d.stDate), 2023 * 366 + 2 * 30 + 1);
    EXPECT_EQ(TimeToMilliSecond(&t), 3723000);
    EXPECT_EQ(TimeToSecond(&t), 3720);  // without the seconds
    EXPECT_EQ(DateToSecond(&d.stDate), DateTimeToSecond(&d));
    EXPECT_EQ(ORVEX_MkTimeStr("20240301000000"), DateTimeToSecond(&d));
    EXPECT_EQ(ORVEX_MkTime(INT32_MIN, 1, 1, 0, 0, 0), -1);
}

// What is now in every form, as the zone has it from now on.
void check_now(Text zone) {
    ORVEXDATETIME record;
    ORVEXDATETIME now;
    ORVEXDATETIME parts;
    int64_t second = 0;
    char day[32];
    char clock[32];
    do {  // until all of it is of one second
        second = ORVEX_Time();
        FormatDateTime(second, &record);
        EXPECT_EQ(FormatCurrentDateTime(&now), 1);
        FormatCurrentDate4(&parts.stDate);
        FormatCurrentTime4(&parts.stTime);
        FormatCurrentDate(day);
        FormatCurrentTime(clock);
    } while (ORVEX_Time() != second);
    EXPECT_EQ(hex(now) + hex(parts), hex(record) + hex(record)) << zone;
    struct tm f {};
    ORVEX_LocalTime(&second, &f);
    char text[64];
    snprintf(text, sizeof text, "%04d%02d%02d", f.tm_year + 1900, f.tm_mon + 1, f.tm_mday);
    EXPECT_STREQ(day, text);
    // The text of the time is a minute ahead.
    snprintf(text, sizeof text, "%02d%02d%02d", f.tm_hour, f.tm_min + 1, f.tm_sec);
    EXPECT_STREQ(clock, text);
    snprintf(text, sizeof text, "%s%02d%02d%02d", day, f.tm_hour, f.tm_min, f.tm_sec);
    EXPECT_EQ(hex(now), hex(moment(text)));
    EXPECT_GE(ORVEX_GetCurrentYear(), f.tm_year + 1900);
}

TEST(Clock, FollowsAChangeOfTheZoneAtOnce) {
    for (const auto& [zone, first_hour] : {std::pair("UTC0", 0), {"XYZ-3", 3}, {"ABC5", 19}}) {
        change_zone(zone);
        ORVEXDATETIME record;
        FormatDateTime(0, &record);
        EXPECT_EQ(record.stTime.nHour, first_hour) << zone;
        check_now(zone);
    }
    const int64_t second = ORVEX_Time();
    EXPECT_NEAR(static_cast<double>(second), static_cast<double>(std::time(nullptr)), 2);
    EXPECT_LE(second * 1000, ORVEX_GetTimeMilli());
    // The seconds are those of the last tick, up to some milliseconds ago.
    EXPECT_LE(ORVEX_GetTimeMilli() / 1000, ORVEX_GetTimeInt() + 1);
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
