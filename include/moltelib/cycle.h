/*
 * Time cycles: whether a job that runs every hour, day, week, month or year is due again.
 *
 *     if (MOLTE_TC_IsCycleReached(&stLast, &stNow, &stCycle, &nWaitSec) == 1) run_the_job();
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_CYCLE_H
#define MOLTELIB_CYCLE_H

#include "moltelib/base.h"
#include "moltelib/format/cycle_record.h"
#include "moltelib/format/date_time_record.h"

/*
 * Tells whether the time has come again for a job that ran last at pLast (all zero: never). pNow is
 * the present; one that is all zero IS FILLED from the clock. Both are local time.
 *
 * 1 when it is due; 0 when not, and *pnWaitSec becomes the seconds to wait before asking again; -1
 * with error 418 ("type=%d") for an unknown kind of cycle, with error 50 for a null pointer or a
 * moment that has no local time. pnWaitSec may be null; for a job that is due it becomes 0, EXCEPT
 * IN A YEARLY CYCLE, which leaves it alone. What can't be had in 32 bits is the largest number.
 *
 * - A job that never ran is due, also in a cycle of unknown kind.
 * - When pLast isn't before pNow the clock was set back, or the job has just run: the wait lasts to
 *   a second past pLast.
 * - Hourly: due an hour after the last run, or at nMinute, unless it ran in this hour at nMinute or
 *   later.
 * - Daily: due when the last run lies before the latest nHour:nMinute.
 * - Weekly: due when the last run lies more than a week before the next nWeekDay, nHour:nMinute.
 *   AFTER THE WEEKDAY the next one is taken to be 2 days later, not 7, behind it: so the week that
 *   must have passed begins earlier, and the wait is negative from the third day on. Meant.
 * - Monthly: due when the last run lies in an earlier year, so from 1 January on whatever nMonthDay
 *   is; when it lies two months back; and when it lies in the month before and nMonthDay,
 *   nHour:nMinute has passed. Otherwise the wait is a day, or on the day itself to the hour.
 * - Yearly: the same with years: two years back, or the year before and the date has passed.
 * - Interval: due nIntervalMin minutes after the last run.
 */
MOLTE_API int32_t MOLTE_TC_IsCycleReached(const ORVEXDATETIME* pLast, ORVEXDATETIME* pNow,
                                          const MOLTE_TC_CYCLE* pCycle, int32_t* pnWaitSec);

#endif
