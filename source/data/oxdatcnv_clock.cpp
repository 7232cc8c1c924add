// The clock: now, as time values, records and texts.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

#include "moltelib/date_time.h"
#include "moltelib/thread.h"
#include "platform/time.h"

namespace {

constexpr size_t kTextSize = 32;

bool local_time(const int64_t* moment, struct tm* fields) {
    return ORVEX_LocalTime(moment, fields) != nullptr;
}

bool local_now(struct tm* fields) {
    return local_time(nullptr, fields);
}

// A field of any value without overflow.
int32_t less(int32_t field, int32_t first) {
    return std::max(field, std::numeric_limits<int32_t>::min() + first) - first;
}

ORVEXDATETIME record_of(const struct tm& fields) {
    ORVEXDATETIME record;
    ORVEX_SetTime(&record.stTime, fields.tm_hour, fields.tm_min, fields.tm_sec);
    ORVEX_SetDate(&record.stDate, fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday);
    return record;
}

}  // namespace

int64_t ORVEX_Time(void) {
    return _time64(nullptr);
}
int64_t ORVEX_GetTimeInt(void) {
    return ORVEX_Time();
}
int64_t ORVEX_GetTimeInt64(void) {
    return ORVEX_Time();
}

int64_t ORVEX_GetTimeMilli(void) {
    struct __timeb64 now;
    _ftime64(&now);
    return static_cast<int64_t>(now.time) * 1000 + now.millitm;
}

float ORVEX_etime(void) {
    return static_cast<float>(static_cast<double>(platform::clock()) / 1000.0);
}

int32_t ORVEX_GetCurrentYear(void) {
    struct tm now {};
    return local_now(&now) ? now.tm_year + 1900 : 2000;
}

int32_t ORVEX_GetCurrentMonth(void) {
    struct tm now {};
    return local_now(&now) ? now.tm_mon + 1 : 1;
}

int32_t ORVEX_GetCurrentDay(void) {
    struct tm now {};
    return local_now(&now) ? now.tm_mday : 1;
}

int32_t FormatDateTime(int64_t nTime, ORVEXDATETIME* pDateTime) {
    struct tm fields {};
    *pDateTime = {};
    if (!local_time(&nTime, &fields)) return -1;
    *pDateTime = record_of(fields);
    return 1;
}

int32_t FormatCurrentDateTime(ORVEXDATETIME* pDateTime) {
    return FormatDateTime(ORVEX_Time(), pDateTime);
}

int32_t FormatCurrentDate4(ORVEXDATE* pDate) {
    ORVEXDATETIME now;
    const int32_t result = FormatCurrentDateTime(&now);
    *pDate = now.stDate;
    return result;
}

int32_t FormatCurrentTime4(ORVEXTIME* pTime) {
    ORVEXDATETIME now;
    const int32_t result = FormatCurrentDateTime(&now);
    *pTime = now.stTime;
    return result;
}

int32_t FormatCurrentDate(char* pszDst) {
    struct tm now {};
    pszDst[0] = '\0';
    if (!local_now(&now)) return 0;
    return snprintf(pszDst, kTextSize, "%04d%02d%02d", now.tm_year + 1900, now.tm_mon + 1,
                    now.tm_mday);
}

int32_t FormatCurrentTime(char* pszDst) {
    struct tm now {};
    pszDst[0] = '\0';
    if (!local_now(&now)) return 0;
    // One minute ahead, up to 60: meant so, files depend on it.
    return snprintf(pszDst, kTextSize, "%02d%02d%02d", now.tm_hour, now.tm_min + 1, now.tm_sec);
}

int64_t ORVEX_MkTime(int32_t nYear, int32_t nMonth, int32_t nDay, int32_t nHour, int32_t nMinute,
                     int32_t nSecond) {
    struct tm now {};
    local_now(&now);
    struct tm fields {};
    fields.tm_year = less(nYear, 1900);
    fields.tm_mon = less(nMonth, 1);
    fields.tm_mday = nDay;
    fields.tm_hour = nHour;
    fields.tm_min = nMinute;
    fields.tm_sec = nSecond;
    fields.tm_isdst = now.tm_isdst;  // of now, not of the date asked about
    ORVEX_InnerTimeLock();
    const int64_t time = _mktime64(&fields);
    ORVEX_InnerTimeUnlock();
    return time;
}

int64_t DateToSecond(const ORVEXDATE* pDate) {
    const ORVEXDATETIME midnight{{}, *pDate};
    return DateTimeToSecond(&midnight);
}

int64_t DateTimeToSecond(const ORVEXDATETIME* pDateTime) {
    int32_t year = 0;
    int32_t month = 0;
    int32_t day = 0;
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
    ORVEX_GetDateTime(pDateTime, &year, &month, &day, &hour, &minute, &second);
    return ORVEX_MkTime(year, month, day, hour, minute, second);
}
