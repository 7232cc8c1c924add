// Date and time records: building, taking apart, comparing; as text for people, and as digits.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "data/oxdatcnv.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"
#include "moltelib/language.h"
#include "platform/system.h"

using molte::low_first;
using molte::second_of;
using molte::year_of;

namespace {

constexpr auto kModule = molte::kOxdatcnv;
using molte::kBadArgument;
constexpr size_t kTextSize = 32;  // what a caller's buffer holds at least
constexpr size_t kDateDigits = 8;
constexpr size_t kTimeDigits = 6;
constexpr size_t kDateTimeDigits = kDateDigits + kTimeDigits;

void put_low_first(int32_t value, uint8_t (&field)[2]) {
    field[0] = static_cast<uint8_t>(value);
    field[1] = static_cast<uint8_t>(value >> 8);
}

template <typename T>
int32_t three_way(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

struct Fields {
    int32_t year, month, day, hour, minute, second;
};

Fields fields_of(const ORVEXDATETIME& moment) {
    Fields f{};
    ORVEX_GetDateTime(&moment, &f.year, &f.month, &f.day, &f.hour, &f.minute, &f.second);
    return f;
}

bool has_length(const char* text, size_t length) {
    return text != nullptr && strnlen(text, length) == length;
}

// Plain arithmetic: what is no digit gives what it gives, bytes from 128 up being negative.
int32_t number(const char* digits, int count) {
    int32_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value * 10 + (static_cast<signed char>(digits[i]) - '0');
    return value;
}

Fields parse(const char* text) {
    return {number(text, 4),     number(text + 4, 2),  number(text + 6, 2),
            number(text + 8, 2), number(text + 10, 2), number(text + 12, 2)};
}

int32_t bad_format() {
    return kModule.fail(458, kBadArgument, molte::SystemError::none, "bad format");
}

}  // namespace

int32_t ORVEX_SetDate(ORVEXDATE* pDate, int32_t nYear, int32_t nMonth, int32_t nDay) {
    pDate->nDay = static_cast<uint8_t>(nDay);
    pDate->nMonth = static_cast<uint8_t>(static_cast<uint32_t>(nMonth) - 1);
    put_low_first(nYear, pDate->anYear);
    return 1;
}

int32_t ORVEX_SetTime(ORVEXTIME* pTime, int32_t nHour, int32_t nMinute, int32_t nSecond) {
    pTime->nHour = static_cast<uint8_t>(std::clamp(nHour, 0, 23));
    pTime->nMinute = static_cast<uint8_t>(std::clamp(nMinute, 0, 59));
    put_low_first(std::clamp(nSecond, 0, 59) * 1000, pTime->anMilliSecond);
    return 1;
}

int32_t ORVEX_GetDate(const ORVEXDATE* pDate, int32_t* pnYear, int32_t* pnMonth, int32_t* pnDay) {
    *pnYear = year_of(*pDate);
    *pnMonth = pDate->nMonth + 1;
    *pnDay = pDate->nDay;
    return 1;
}

int32_t ORVEX_GetTime(const ORVEXTIME* pTime, int32_t* pnHour, int32_t* pnMinute,
                      int32_t* pnSecond) {
    *pnHour = pTime->nHour;
    *pnMinute = pTime->nMinute;
    *pnSecond = second_of(*pTime);
    return 1;
}

int32_t ORVEX_GetDateTime(const ORVEXDATETIME* pDateTime, int32_t* pnYear, int32_t* pnMonth,
                          int32_t* pnDay, int32_t* pnHour, int32_t* pnMinute, int32_t* pnSecond) {
    ORVEX_GetDate(&pDateTime->stDate, pnYear, pnMonth, pnDay);
    return ORVEX_GetTime(&pDateTime->stTime, pnHour, pnMinute, pnSecond);
}

int32_t ORVEX_IsEmptyDateTime(const ORVEXDATETIME* pDateTime) {
    constexpr ORVEXDATETIME empty{};
    return std::memcmp(pDateTime, &empty, sizeof empty) == 0 ? 1 : 0;
}

int32_t ORVEX_DateTime_IsNULL(const ORVEXDATETIME* pDateTime) {
    return ORVEX_IsEmptyDateTime(pDateTime);
}

int32_t ORVEX_SetDefaultDateTime(ORVEXDATETIME* pDateTime) {
    ORVEX_SetTime(&pDateTime->stTime, 0, 0, 0);
    return ORVEX_SetDate(&pDateTime->stDate, 1980, 1, 1);
}

int32_t ORVEX_TimeIsSameYear(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    return year_of(pA->stDate) == year_of(pB->stDate) ? 1 : 0;
}

int32_t ORVEX_TimeIsSameMonth(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    return pA->stDate.nMonth == pB->stDate.nMonth ? 1 : 0;
}

int32_t ORVEX_TimeIsSameDay(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    return pA->stDate.nDay == pB->stDate.nDay ? 1 : 0;
}

int32_t ORVEX_TimeIsSameYearMonDay(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    return std::memcmp(&pA->stDate, &pB->stDate, sizeof pA->stDate) == 0 ? 1 : 0;
}

int32_t DateToDay(const ORVEXDATE* pDate) {
    return (year_of(*pDate) - 1) * 366 + pDate->nMonth * 30 + pDate->nDay;
}

int32_t TimeToMilliSecond(const ORVEXTIME* pTime) {
    return (pTime->nHour * 60 + pTime->nMinute) * 60000 + low_first(pTime->anMilliSecond);
}

int32_t TimeToSecond(const ORVEXTIME* pTime) {
    return (pTime->nHour * 60 + pTime->nMinute) * 60;  // the record's seconds don't count
}

int32_t DateComp(const ORVEXDATE* pA, const ORVEXDATE* pB) {
    return three_way(DateToDay(pA), DateToDay(pB));
}

int32_t TimeComp(const ORVEXTIME* pA, const ORVEXTIME* pB) {
    return three_way(TimeToMilliSecond(pA), TimeToMilliSecond(pB));
}

int32_t DateTimeCompBak(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    const int32_t by_date = DateComp(&pA->stDate, &pB->stDate);
    return by_date != 0 ? by_date : TimeComp(&pA->stTime, &pB->stTime);
}

int32_t DateTimeComp(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB) {
    return BYTECmp(pA, pB, sizeof *pA);
}

int32_t BYTECmp(const void* pA, const void* pB, int32_t nSize) {
    const auto* a = static_cast<const uint8_t*>(pA);
    const auto* b = static_cast<const uint8_t*>(pB);
    for (int32_t i = nSize - 1; i >= 0; --i) {
        if (a[i] != b[i]) return three_way(a[i], b[i]);
    }
    return 0;
}

int32_t MOLTE_DT_IsInRange(const MOLTE_DTRANGE* pRange, const ORVEXDATETIME* pDateTime) {
    return DateTimeComp(pDateTime, &pRange->stFrom) >= 0 &&
                   DateTimeComp(pDateTime, &pRange->stTo) < 0
               ? 1
               : 0;
}

int32_t MOLTE_DT_IsInIntRange(const MOLTE_DTINTRANGE* pRange, uint32_t nTime) {
    return nTime >= Char4To_uint4(pRange->nFrom) && nTime < Char4To_uint4(pRange->nTo) ? 1 : 0;
}

const char* UTIL_GetTimeStrFormat(void) {
    return "%02d:%02d:%02d";
}

const char* UTIL_GetDateStrFormat(void) {
    // Both the messages' and the user's language must be Chinese. Year, month and day in GBK.
    const bool chinese = OXLANG_LID_Get(OXLANG_KIND_MESSAGE) == OXLANG_CHINESE &&
                         GetUserDefaultLangID() == OXLANG_CHINESE;
    return chinese ? "%4d\xC4\xEA%2d\xD4\xC2%2d\xC8\xD5" : "%4d/%2d/%2d ";
}

int32_t ORVEX_TimeToStr(const ORVEXTIME* pTime, char* pszDst) {
    const Fields f = fields_of({*pTime, {}});
    return snprintf(pszDst, kTextSize, UTIL_GetTimeStrFormat(), f.hour, f.minute, f.second);
}

int32_t ORVEX_DateToStr(const ORVEXDATE* pDate, char* pszDst) {
    const Fields f = fields_of({{}, *pDate});
    return snprintf(pszDst, kTextSize, UTIL_GetDateStrFormat(), f.year, f.month, f.day);
}

int32_t ORVEX_DateTimeToStr(const ORVEXDATETIME* pDateTime, char* pszDst) {
    if (ORVEX_IsEmptyDateTime(pDateTime) != 0) {
        std::memcpy(pszDst, "Not set", sizeof "Not set");
        return sizeof "Not set" - 1;
    }
    const int32_t date_length = ORVEX_DateToStr(&pDateTime->stDate, pszDst);
    return date_length + ORVEX_TimeToStr(&pDateTime->stTime, pszDst + date_length);
}

int32_t ORVEX_TimeIntToStr(int64_t nSeconds, char* pszDst) {
    ORVEXDATETIME moment;
    FormatDateTime(nSeconds, &moment);
    return ORVEX_DateTimeToStr(&moment, pszDst);
}

int32_t ORVEX_Date_DBFmt2DispFmt(const ORVEXDATE* pDate, char* pszDst) {
    const Fields f = fields_of({{}, *pDate});
    return snprintf(pszDst, kTextSize, "%04d%02d%02d", f.year, f.month, f.day);
}

int32_t ORVEX_Time_DBFmt2DispFmt(const ORVEXTIME* pTime, char* pszDst) {
    const Fields f = fields_of({*pTime, {}});
    return snprintf(pszDst, kTextSize, "%02d%02d%02d", f.hour, f.minute, f.second);
}

int32_t ORVEX_DateTime_DBFmt2DispFmt(const ORVEXDATETIME* pDateTime, char* pszDst) {
    const Fields f = fields_of(*pDateTime);
    return ORVEX_DigitToStrTime(f.year, f.month, f.day, f.hour, f.minute, f.second, pszDst);
}

int32_t ORVEX_Date_DispFmt2DBFmt(const char* pszText, ORVEXDATE* pDate) {
    if (!has_length(pszText, kDateDigits)) {
        return kModule.fail_text(molte::here(), kBadArgument, molte::SystemError::none, pszText);
    }
    return ORVEX_SetDate(pDate, number(pszText, 4), number(pszText + 4, 2), number(pszText + 6, 2));
}

int32_t ORVEX_Time_DispFmt2DBFmt(const char* pszText, ORVEXTIME* pTime) {
    if (!has_length(pszText, kTimeDigits)) {
        return kModule.fail_text(molte::here(), kBadArgument, molte::SystemError::none, pszText);
    }
    return ORVEX_SetTime(pTime, number(pszText, 2), number(pszText + 2, 2), number(pszText + 4, 2));
}

int32_t ORVEX_DateTime_DispFmt2DBFmt(const char* pszText, ORVEXDATETIME* pDateTime) {
    if (!has_length(pszText, kDateTimeDigits)) return bad_format();
    ORVEX_Time_DispFmt2DBFmt(pszText + kDateDigits, &pDateTime->stTime);
    return ORVEX_Date_DispFmt2DBFmt(pszText, &pDateTime->stDate);
}

int32_t ORVEX_StrTimeToDigit(const char* pszText, int32_t* pnYear, int32_t* pnMonth, int32_t* pnDay,
                             int32_t* pnHour, int32_t* pnMinute, int32_t* pnSecond) {
    if (!has_length(pszText, kDateTimeDigits)) return bad_format();
    const Fields f = parse(pszText);
    *pnYear = f.year;
    *pnMonth = f.month;
    *pnDay = f.day;
    *pnHour = f.hour;
    *pnMinute = f.minute;
    *pnSecond = f.second;
    return 1;
}

int64_t ORVEX_MkTimeStr(const char* pszText) {
    if (!has_length(pszText, kDateTimeDigits)) return bad_format();
    const Fields f = parse(pszText);
    return ORVEX_MkTime(f.year, f.month, f.day, f.hour, f.minute, f.second);
}

int32_t ORVEX_DigitToStrTime(int32_t nYear, int32_t nMonth, int32_t nDay, int32_t nHour,
                             int32_t nMinute, int32_t nSecond, char* pszDst) {
    const int length = snprintf(pszDst, kTextSize, "%04d%02d%02d%02d%02d%02d", nYear, nMonth, nDay,
                                nHour, nMinute, nSecond);
    return std::min(length, static_cast<int>(kTextSize) - 1);  // of what is there
}
