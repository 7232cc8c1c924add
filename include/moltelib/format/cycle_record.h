/*
 * A time cycle, as the scheduling programs keep it: which of the times apply, the kind of the cycle
 * decides.
 */
#ifndef MOLTELIB_FORMAT_CYCLE_RECORD_H
#define MOLTELIB_FORMAT_CYCLE_RECORD_H

#include "moltelib/base.h"

/* Values of nCycleType. */
#define MOLTE_TC_HOURLY 1   /* at nMinute */
#define MOLTE_TC_DAILY 2    /* at nHour:nMinute */
#define MOLTE_TC_WEEKLY 3   /* on nWeekDay at nHour:nMinute */
#define MOLTE_TC_MONTHLY 4  /* on nMonthDay at nHour:nMinute */
#define MOLTE_TC_YEARLY 5   /* on nMonth, nDay at nHour:nMinute */
#define MOLTE_TC_INTERVAL 6 /* every nIntervalMin minutes */

typedef struct MOLTE_TC_CYCLE {
    uint8_t anReserved1[4]; /* not looked at, as the other reserved bytes */
    int8_t nCycleType;
    uint8_t nWeekDay;  /* 0 is Sunday */
    uint8_t nMonthDay; /* of a monthly cycle, 1 to 31 */
    uint8_t nMonth;    /* of a yearly cycle, 1 to 12 */
    uint8_t nDay;      /* of a yearly cycle, 1 to 31 */
    uint8_t anReserved2[3];
    uint8_t nHour;   /* 0 to 23 */
    uint8_t nMinute; /* 0 to 59 */
    uint8_t nIntervalMin[2];
} MOLTE_TC_CYCLE;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_TC_CYCLE) == 16 && offsetof(MOLTE_TC_CYCLE, nCycleType) == 4);
static_assert(offsetof(MOLTE_TC_CYCLE, nHour) == 12 &&
              offsetof(MOLTE_TC_CYCLE, nIntervalMin) == 14);
#endif

#endif
