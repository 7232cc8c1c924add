/*
 * The date and time records of all files and messages. The two-byte fields are low byte first,
 * which is the exception to the big-endian rule of the other records. All zero means "not set".
 * Read as one little-endian 64-bit number, a later ORVEXDATETIME compares greater.
 */
#ifndef MOLTELIB_FORMAT_DATE_TIME_RECORD_H
#define MOLTELIB_FORMAT_DATE_TIME_RECORD_H

#include "moltelib/base.h"

typedef struct ORVEXDATE {
    uint8_t nDay;      /* 1 to 31 */
    uint8_t nMonth;    /* 0 to 11: January is 0 */
    uint8_t anYear[2]; /* low byte first */
} ORVEXDATE;

typedef struct ORVEXTIME {
    uint8_t anMilliSecond[2]; /* milliseconds within the minute, low byte first */
    uint8_t nMinute;          /* 0 to 59 */
    uint8_t nHour;            /* 0 to 23 */
} ORVEXTIME;

typedef struct ORVEXDATETIME {
    ORVEXTIME stTime;
    ORVEXDATE stDate;
} ORVEXDATETIME;

/* From belongs to a range, to does not. */
typedef struct MOLTE_DTRANGE {
    ORVEXDATETIME stFrom;
    ORVEXDATETIME stTo;
} MOLTE_DTRANGE;

/* The same in seconds since 1970, big-endian. */
typedef struct MOLTE_DTINTRANGE {
    uint8_t nFrom[4];
    uint8_t nTo[4];
} MOLTE_DTINTRANGE;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_DTRANGE) == 16 && sizeof(MOLTE_DTINTRANGE) == 8);
static_assert(sizeof(ORVEXDATE) == 4 && sizeof(ORVEXTIME) == 4 && sizeof(ORVEXDATETIME) == 8);
static_assert(offsetof(ORVEXDATETIME, stDate) == 4);
#endif

#endif
