// Calendar arithmetic and validity.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/report.h"
#include "data/date_fields.h"
#include "moltelib/date_time.h"

using molte::year_of;

namespace {

constexpr molte::Module kModule("oxdatcnv");
constexpr uint32_t kBadDate = 140;
constexpr uint32_t kBadTime = 141;
constexpr uint32_t kLastYear = 2100;
constexpr uint32_t kFebruary = 2;

// February's 29 is the upper bound; the leap rule is asked apart.
constexpr uint8_t kMonthDays[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool is_leap(int32_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool is_date(uint32_t year, uint32_t month, uint32_t day) {
    if (year > kLastYear || month < 1 || month > 12) return false;
    if (day < 1 || day > kMonthDays[month - 1]) return false;
    return month != kFebruary || day <= (is_leap(static_cast<int32_t>(year)) ? 29U : 28U);
}

// Formats as the contract of both checks has it; 0, so that it can be returned.
int32_t refuse(uint32_t error, const char* what, uint32_t a, uint32_t b, uint32_t c) {
    kModule.fail(molte::here(), error, molte::SystemError::none, "%s%d-%d-%d", what,
                 static_cast<int32_t>(a), static_cast<int32_t>(b), static_cast<int32_t>(c));
    return 0;
}

}  // namespace

int32_t ORVEX_DateTime_IsLeapYear(int32_t nYear) {
    return is_leap(nYear) ? 1 : 0;
}

int32_t ORVEX_Date_GetYearDay(const ORVEXDATE* pDate) {
    // The leap test takes the year with its bytes exchanged. Stored numbers depend on it, so it
    // must not become the calendar's rule.
    const bool counts_29 = is_leap(pDate->anYear[0] << 8 | pDate->anYear[1]);
    const int32_t months_before = std::min<int32_t>(pDate->nMonth, 12);
    int32_t days = pDate->nDay;
    for (int32_t month = 0; month < months_before; ++month) days += kMonthDays[month];
    return months_before >= 2 && !counts_29 ? days - 1 : days;
}

int32_t ORVEX_Date_GetYearWeek(const ORVEXDATE* pDate) {
    return (ORVEX_Date_GetYearDay(pDate) + 6) / 7;
}

int32_t ORVEX_DateTime_IsValidDate(uint32_t nYear, uint32_t nMonth, uint32_t nDay) {
    return is_date(nYear, nMonth, nDay) ? 1 : refuse(kBadDate, "bad date : ", nYear, nMonth, nDay);
}

int32_t ORVEX_DateTime_IsValidTime(uint32_t nHour, uint32_t nMinute, uint32_t nSecond) {
    return nHour < 24 && nMinute < 60 && nSecond < 60
               ? 1
               : refuse(kBadTime, "bad time : ", nHour, nMinute, nSecond);
}

int32_t RVEXDate_IsValid(const ORVEXDATE* pDate) {
    return ORVEX_DateTime_IsValidDate(static_cast<uint32_t>(year_of(*pDate)), pDate->nMonth + 1U,
                                      pDate->nDay);
}

int32_t RVEXTime_IsValid(const ORVEXTIME* pTime) {
    return ORVEX_DateTime_IsValidTime(pTime->nHour, pTime->nMinute,
                                      static_cast<uint32_t>(molte::second_of(*pTime)));
}

int32_t RVEXDateTime_IsValid(const ORVEXDATETIME* pDateTime) {
    return RVEXDate_IsValid(&pDateTime->stDate) != 0 && RVEXTime_IsValid(&pDateTime->stTime) != 0
               ? 1
               : 0;
}

int32_t DateDiffByDay(const ORVEXDATE* pA, const ORVEXDATE* pB) {
    if (DateToDay(pA) > DateToDay(pB)) std::swap(pA, pB);
    int32_t days = ORVEX_Date_GetYearDay(pB) - ORVEX_Date_GetYearDay(pA);
    // Whole years go by the calendar, unlike the year days: the mixture is meant.
    for (int32_t year = year_of(*pA); year < year_of(*pB); ++year)
        days += is_leap(year) ? 366 : 365;
    // The last day of a month and the first of the next have one key and aren't exchanged.
    return std::abs(days);
}
