/*
 * Events, and waiting for them and for whatever else of the system can be waited for: threads
 * (moltelib/thread.h), mutexes, semaphores. An event is automatic-reset and made unsignalled: a
 * signal releases one waiter and is gone with it; given with nobody waiting it stays for the next.
 *
 * MIND THE UNITS: seconds, unless the name says milliseconds. In both 0 means no limit.
 *
 * Waits return 1 signalled, 0 time-out, -1 failure: error 419 for a null event (a null array or a
 * count below 1), error 289 ("LastErrCode=%d time=%d", the system's error and the result of its
 * wait) for a wait that ends in any other way, an abandoned mutex included. Functions may be called
 * from any thread.
 *
 * Failures are reported under module "oxthrdop".
 */
#ifndef MOLTELIB_EVENT_H
#define MOLTELIB_EVENT_H

#include "moltelib/base.h"

/*
 * Makes an event, or opens the one of that name; names are shared by the processes of the user.
 * With pszName null it is the process's own. Null with error 286 ("LastErrCode=%d. %s").
 */
MOLTE_API OXHANDLE ORVEX_EVENT_Create(const char* pszName);

/* Opens a named event; null with error 287 ("LastErrCode=%d") when there is none. */
MOLTE_API OXHANDLE ORVEX_EVENT_Open(const char* pszName);

/* Closes the handle, unless it is null. */
MOLTE_API void ORVEX_EVENT_Release(OXHANDLE hEvent);

/* Signals. 1; 0 for null; -1 with error 288. */
MOLTE_API int32_t ORVEX_EVENT_Set(OXHANDLE hEvent);

/* Waits at most nSeconds; below 1 there is no limit. */
MOLTE_API int32_t ORVEX_EVENT_TimeWait(OXHANDLE hEvent, int32_t nSeconds);

/* Waits at most nMilliSeconds; at exactly 0 there is no limit. */
MOLTE_API int32_t ORVEX_EVENT_TimeWaitInMilliSecond(OXHANDLE hEvent, uint32_t nMilliSeconds);

/* Waits with no limit. */
MOLTE_API int32_t ORVEX_EVENT_Wait(OXHANDLE hEvent);

/*
 * Waits at most 5 seconds, however large nSeconds is, so that the caller can look at bStopAll of
 * g_stBv; with that set it returns 0 at once. At 0 or below there is no limit.
 */
MOLTE_API int32_t ORVEX_EVENT_WaitEx(OXHANDLE hEvent, int32_t nSeconds);

/*
 * Waits for one of nCount objects, or with bWaitAll for all of them at once, at most nSeconds;
 * below 1 there is no limit. Which one was signalled isn't told. More than 64 objects, and one that
 * stands twice in a wait for all, are error 289.
 */
MOLTE_API int32_t ORVEX_EVENT_MultiTimeWait(const OXHANDLE* phEvents, int32_t nCount,
                                            int32_t bWaitAll, int32_t nSeconds);

#endif
