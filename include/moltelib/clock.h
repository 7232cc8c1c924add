/*
 * The high-resolution clock and sleeps.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_CLOCK_H
#define MOLTELIB_CLOCK_H

#include "moltelib/base.h"

/* Ticks since some moment in the past, and how many of them a second has. Never run backwards. */
MOLTE_API int64_t MOLTE_HiResoTickCount(void);
MOLTE_API int64_t MOLTE_HiResoTickPerSec(void);

/* A difference of ticks in seconds. */
MOLTE_API double MOLTE_HiResoTickToSec(int64_t nTicks);

/*
 * Sleep for a number of SECONDS, milliseconds or microseconds; below 1 not at all. Of microseconds
 * the fraction of a millisecond is dropped: 999 don't sleep. The result of the first is its
 * argument, of the others 1.
 */
MOLTE_API int32_t ORVEX_Sleep(int32_t nSeconds);
MOLTE_API int32_t ORVEX_SleepMilli(int32_t nMilliSeconds);
MOLTE_API int32_t ORVEX_SleepMicro(int32_t nMicroSeconds);

#endif
