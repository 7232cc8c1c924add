/*
 * Dates and times: the compact records (moltelib/format/date_time_record.h), their text forms,
 * validity, comparisons, calendar arithmetic, and the clock.
 *
 * Months are 1 to 12 in every argument and 0 to 11 in a record. Times are local unless said
 * otherwise, by the zone that the run-time has: after a change of the variable TZ a program calls
 * tzset (_tzset on Windows), and the next call here goes by it. Time values are seconds since
 * 1970-01-01 00:00 UTC. Functions that make or take a record return 1 where nothing else is said;
 * functions that make a text terminate it and return its number of characters (at most 26, and 31
 * of ORVEX_DigitToStrTime: a buffer of 32 bytes holds each of them). A null text is an error where
 * it says so. The calendar is the Gregorian one.
 *
 * All functions may be called from any thread.
 *
 * Failures are reported under module "oxdatcnv".
 */
#ifndef MOLTELIB_DATE_TIME_H
#define MOLTELIB_DATE_TIME_H

#include "moltelib/base.h"
#include "moltelib/format/date_time_record.h"

/* ---- Building records and taking them apart ---- */

/* Stores the fields; nothing is checked. */
MOLTE_API int32_t ORVEX_SetDate(ORVEXDATE* pDate, int32_t nYear, int32_t nMonth, int32_t nDay);

/* Clamps the hour to 0..23, minute and second to 0..59, and stores seconds times 1000. */
MOLTE_API int32_t ORVEX_SetTime(ORVEXTIME* pTime, int32_t nHour, int32_t nMinute, int32_t nSecond);

/* The fields of a date; nothing is checked. */
MOLTE_API int32_t ORVEX_GetDate(const ORVEXDATE* pDate, int32_t* pnYear, int32_t* pnMonth,
                                int32_t* pnDay);

/* The seconds are the millisecond word over 1000, rounded down. */
MOLTE_API int32_t ORVEX_GetTime(const ORVEXTIME* pTime, int32_t* pnHour, int32_t* pnMinute,
                                int32_t* pnSecond);
MOLTE_API int32_t ORVEX_GetDateTime(const ORVEXDATETIME* pDateTime, int32_t* pnYear,
                                    int32_t* pnMonth, int32_t* pnDay, int32_t* pnHour,
                                    int32_t* pnMinute, int32_t* pnSecond);

/* 1 when all 8 bytes are 0, which means "not set"; else 0. Two names of one function. */
MOLTE_API int32_t ORVEX_IsEmptyDateTime(const ORVEXDATETIME* pDateTime);
MOLTE_API int32_t ORVEX_DateTime_IsNULL(const ORVEXDATETIME* pDateTime);

/* Stores 1 January 1980, midnight. */
MOLTE_API int32_t ORVEX_SetDefaultDateTime(ORVEXDATETIME* pDateTime);

/*
 * 1 when one field of two records is equal, else 0: the year, the month byte alone (of whatever
 * year), the day byte alone (of whatever month). The last compares all of the date.
 */
MOLTE_API int32_t ORVEX_TimeIsSameYear(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB);
MOLTE_API int32_t ORVEX_TimeIsSameMonth(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB);
MOLTE_API int32_t ORVEX_TimeIsSameDay(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB);
MOLTE_API int32_t ORVEX_TimeIsSameYearMonDay(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB);

/* ---- Text for people ---- */

/*
 * The printf formats of a time and of a date, not to be freed. The date ends in a blank; where the
 * language of messages and that of the user are Chinese it has the Chinese words instead of
 * slashes.
 */
MOLTE_API const char* UTIL_GetTimeStrFormat(void);
MOLTE_API const char* UTIL_GetDateStrFormat(void);

/* A time, and a date with the blank behind it, in those formats. */
MOLTE_API int32_t ORVEX_TimeToStr(const ORVEXTIME* pTime, char* pszDst);
MOLTE_API int32_t ORVEX_DateToStr(const ORVEXDATE* pDate, char* pszDst);

/* Date and time, or "Not set" for an all-zero record. */
MOLTE_API int32_t ORVEX_DateTimeToStr(const ORVEXDATETIME* pDateTime, char* pszDst);

/* The local date and time of a time value. */
MOLTE_API int32_t ORVEX_TimeIntToStr(int64_t nSeconds, char* pszDst);

/* ---- Text of digits, as databases hold it ---- */

/* YYYYMMDD, hhmmss, and the two together. */
MOLTE_API int32_t ORVEX_Date_DBFmt2DispFmt(const ORVEXDATE* pDate, char* pszDst);
MOLTE_API int32_t ORVEX_Time_DBFmt2DispFmt(const ORVEXTIME* pTime, char* pszDst);
MOLTE_API int32_t ORVEX_DateTime_DBFmt2DispFmt(const ORVEXDATETIME* pDateTime, char* pszDst);

/*
 * And back: 1, or -1 with error 50 for a null text or one of under 8, 6 or 14 characters; its
 * data is the text, or "bad format" for the last. Characters are taken by plain arithmetic, each
 * less 48, with no test that they are digits. A date isn't checked; the hour is clamped to 0..23,
 * minute and second to 0..59.
 */
MOLTE_API int32_t ORVEX_Date_DispFmt2DBFmt(const char* pszText, ORVEXDATE* pDate);
MOLTE_API int32_t ORVEX_Time_DispFmt2DBFmt(const char* pszText, ORVEXTIME* pTime);
MOLTE_API int32_t ORVEX_DateTime_DispFmt2DBFmt(const char* pszText, ORVEXDATETIME* pDateTime);

/*
 * 14 digits, year to second, as numbers or as a time value (ORVEX_MkTime). The digits aren't
 * checked; a null text or one of under 14 characters gives -1 with error 50, "bad format".
 */
MOLTE_API int32_t ORVEX_StrTimeToDigit(const char* pszText, int32_t* pnYear, int32_t* pnMonth,
                                       int32_t* pnDay, int32_t* pnHour, int32_t* pnMinute,
                                       int32_t* pnSecond);
MOLTE_API int64_t ORVEX_MkTimeStr(const char* pszText);

/*
 * And back: four digits of the year and two of each other number; of numbers that need more, the
 * text is cut at 31 characters.
 */
MOLTE_API int32_t ORVEX_DigitToStrTime(int32_t nYear, int32_t nMonth, int32_t nDay, int32_t nHour,
                                       int32_t nMinute, int32_t nSecond, char* pszDst);

/* ---- The clock ---- */

/* Now as a time value. Three names of one function. */
MOLTE_API int64_t ORVEX_Time(void);
MOLTE_API int64_t ORVEX_GetTimeInt(void);
MOLTE_API int64_t ORVEX_GetTimeInt64(void);

/* Now in milliseconds since 1970. */
MOLTE_API int64_t ORVEX_GetTimeMilli(void);

/*
 * Seconds of wall time, with a fraction, since the program started (on POSIX: since the time was
 * first asked for). Take differences.
 */
MOLTE_API float ORVEX_etime(void);

/* The local date of now; 2000, 1 and 1 when it can't be had. */
MOLTE_API int32_t ORVEX_GetCurrentYear(void);
MOLTE_API int32_t ORVEX_GetCurrentMonth(void);
MOLTE_API int32_t ORVEX_GetCurrentDay(void);

/*
 * The record of a time value, and of now. 1, or -1 with an all-zero record when the local time
 * can't be had; nothing is reported.
 */
MOLTE_API int32_t FormatDateTime(int64_t nTime, ORVEXDATETIME* pDateTime);
MOLTE_API int32_t FormatCurrentDateTime(ORVEXDATETIME* pDateTime);
MOLTE_API int32_t FormatCurrentDate4(ORVEXDATE* pDate);
MOLTE_API int32_t FormatCurrentTime4(ORVEXTIME* pTime);

/*
 * Now as YYYYMMDD, and as hhmmss with the MINUTE PLUS 1: at 12:59:30 the text is "126030". Files
 * depend on it. Empty when the local time can't be had.
 */
MOLTE_API int32_t FormatCurrentDate(char* pszDst);
MOLTE_API int32_t FormatCurrentTime(char* pszDst);

/* ---- Numbers from records ---- */

/* (year - 1) * 366 + month (0 to 11) * 30 + day: a key to order by, not a count of days. */
MOLTE_API int32_t DateToDay(const ORVEXDATE* pDate);
MOLTE_API int32_t TimeToMilliSecond(const ORVEXTIME* pTime);

/* (hour * 60 + minute) * 60: the seconds of the record are left out. */
MOLTE_API int32_t TimeToSecond(const ORVEXTIME* pTime);

/* The time value of a date's first second, and of a date and time (ORVEX_MkTime). */
MOLTE_API int64_t DateToSecond(const ORVEXDATE* pDate);
MOLTE_API int64_t DateTimeToSecond(const ORVEXDATETIME* pDateTime);

/* ---- Comparisons: -1, 0 or 1 ---- */

MOLTE_API int32_t DateComp(const ORVEXDATE* pA, const ORVEXDATE* pB); /* by DateToDay */
MOLTE_API int32_t TimeComp(const ORVEXTIME* pA, const ORVEXTIME* pB); /* to the millisecond */
MOLTE_API int32_t DateTimeCompBak(const ORVEXDATETIME* pA,
                                  const ORVEXDATETIME* pB);                       /* both in turn */
MOLTE_API int32_t DateTimeComp(const ORVEXDATETIME* pA, const ORVEXDATETIME* pB); /* by bytes */

/* Two little-endian numbers of nSize bytes. */
MOLTE_API int32_t BYTECmp(const void* pA, const void* pB, int32_t nSize);

/* 1 when the moment is in the range, else 0: from belongs to it, to doesn't. */
MOLTE_API int32_t MOLTE_DT_IsInRange(const MOLTE_DTRANGE* pRange, const ORVEXDATETIME* pDateTime);
MOLTE_API int32_t MOLTE_DT_IsInIntRange(const MOLTE_DTINTRANGE* pRange, uint32_t nTime);

/* ---- Calendar ---- */

/* 1 for a leap year, else 0. */
MOLTE_API int32_t ORVEX_DateTime_IsLeapYear(int32_t nYear);

/*
 * The day of the year, 1 for 1 January. February of most leap years counts 28 days: the leap test
 * sees the year with its two bytes exchanged, and stored numbers depend on that.
 */
MOLTE_API int32_t ORVEX_Date_GetYearDay(const ORVEXDATE* pDate);

/* The year day over 7, rounded up: week 1 is days 1 to 7, whatever the weekday. */
MOLTE_API int32_t ORVEX_Date_GetYearWeek(const ORVEXDATE* pDate);

/*
 * 1 when the date is one of the calendar up to the year 2100 (from 0 on), or the time one of a
 * day; else 0 with error 140 ("bad date : 2100-2-29") or 141 ("bad time : 24-0-0").
 */
MOLTE_API int32_t ORVEX_DateTime_IsValidDate(uint32_t nYear, uint32_t nMonth, uint32_t nDay);
MOLTE_API int32_t ORVEX_DateTime_IsValidTime(uint32_t nHour, uint32_t nMinute, uint32_t nSecond);
MOLTE_API int32_t RVEXDate_IsValid(const ORVEXDATE* pDate);
MOLTE_API int32_t RVEXTime_IsValid(const ORVEXTIME* pTime);
MOLTE_API int32_t RVEXDateTime_IsValid(const ORVEXDATETIME* pDateTime);

/*
 * The time value of local fields, or -1. It is built with the daylight-saving flag of now, not of
 * the date asked about.
 */
MOLTE_API int64_t ORVEX_MkTime(int32_t nYear, int32_t nMonth, int32_t nDay, int32_t nHour,
                               int32_t nMinute, int32_t nSecond);

/*
 * The days between two dates, never negative. Whole years count by the calendar, the days within
 * a year by ORVEX_Date_GetYearDay with its February.
 */
MOLTE_API int32_t DateDiffByDay(const ORVEXDATE* pA, const ORVEXDATE* pB);

#endif
