// Date and time records: building, taking apart, comparing.
#include <algorithm>
#include <cstring>

#include "data/date_fields.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"

using molte::low_first;
using molte::put_low_first;
using molte::second_of;
using molte::year_of;

namespace {

template <typename T>
int32_t three_way(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
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
