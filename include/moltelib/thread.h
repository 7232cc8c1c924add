/*
 * Threads, mutexes, critical sections, and the lock of the run-time's local-time functions.
 *
 * Functions may be called from any thread.
 *
 * Failures are reported under module "oxthrdop".
 */
#ifndef MOLTELIB_THREAD_H
#define MOLTELIB_THREAD_H

#include <time.h>

#include "moltelib/base.h"

/* ---- Threads ---- */

/* What a thread runs; its result is the thread's exit code, which nothing here reads. */
typedef uint32_t (*OXTHREADROUTINE)(void* pContext);

/*
 * Starts a thread. nStackSize is in bytes, 0 for the system's own; nFlags are CreateThread's, 0 to
 * run at once. The handle goes to *phThread and is closed by the caller; with phThread null the
 * thread runs detached. Its identifier goes to *pnThreadId unless that is null.
 * ALWAYS 1: when no thread could be made *phThread is null and error 277 is reported.
 *
 * Whoever waits for the end of a thread passes its handle to a wait of moltelib/event.h:
 * ORVEX_EVENT_Wait, or ORVEX_EVENT_MultiTimeWait for several. A thread that has ended stays
 * signalled for every wait. The handle is closed afterwards; closing it first waits for nothing.
 */
MOLTE_API int32_t ORVEX_CreateThread(OXHANDLE* phThread, int64_t nStackSize,
                                     OXTHREADROUTINE pfnRoutine, void* pContext, uint32_t nFlags,
                                     uint32_t* pnThreadId);

/* Starts a detached thread with the system's own stack size; always 1, as above. */
MOLTE_API int32_t ORVEX_StartThread(OXTHREADROUTINE pfnRoutine, void* pContext);

/* Gives the handle back; the thread goes on. Always 1. */
MOLTE_API int32_t ORVEX_CloseThreadHandle(OXHANDLE hThread);

/*
 * Ends a thread wherever it is, with nothing released: for a process that is about to end itself.
 * The system's own result, 0 for failure.
 */
MOLTE_API int32_t ORVEX_TerminateThread(OXHANDLE hThread, uint32_t nExitCode);

/* The identifier of the calling thread. */
MOLTE_API uint32_t ORVEX_THREAD_GetCurID(void);

/*
 * Takes a mutex, with no time limit. 1, also when its holder died (what it guards may then be half
 * done); -1 when the wait fails, with line 24 in the history.
 */
MOLTE_API int32_t ORVEX_THREAD_Lock(OXHANDLE hMutex);

/* Gives it back; -1 with line 35 in the history when the caller doesn't hold it. */
MOLTE_API int32_t ORVEX_THREAD_UnLock(OXHANDLE hMutex);

/* ---- Critical sections: recursive locks among the threads of one process. Always 1. ---- */

MOLTE_API int32_t ORVEX_InitCritSect(OXCRITSECT* pSection);
MOLTE_API int32_t ORVEX_DestroyCritSect(OXCRITSECT* pSection);

/* Enter as often as you like; leave as many times. Two names each. */
MOLTE_API int32_t MOLTE_EnterCrit(OXCRITSECT* pSection);
MOLTE_API int32_t ORVEX_EnterCritSect(OXCRITSECT* pSection);
MOLTE_API int32_t MOLTE_LeaveCrit(OXCRITSECT* pSection);
MOLTE_API int32_t ORVEX_LeaveCritSect(OXCRITSECT* pSection);

/* 1 when it was got; -1 with error 283 ("dead lock") when another thread holds it. */
MOLTE_API int32_t ORVEX_TryEnterCritSect(OXCRITSECT* pSection);

/* ---- Local time ---- */

/* The lock that the run-time's local-time functions need; made at its first use. Always 1. */
MOLTE_API int32_t ORVEX_InnerTimeLock(void);
MOLTE_API int32_t ORVEX_InnerTimeUnlock(void);

/*
 * The local time of a time value (seconds since 1970, null for now), converted under the lock. The
 * nine fields go to *pTm, which is zeroed first, unless pTm is null. The result is the run-time's
 * shared record, which may be overwritten at any time: use pTm. Null when there is no such time.
 */
MOLTE_API struct tm* ORVEX_LocalTime(const int64_t* pTime, struct tm* pTm);

/*
 * The same as text: "Mon Jun 04 11:00:41 2018\n", copied to pszDst (26 bytes) unless that is null.
 * The result is the run-time's shared text: use pszDst. Null, with pszDst as it was, when there is
 * no such time.
 */
MOLTE_API char* ORVEX_ctime(const int64_t* pTime, char* pszDst);

/* The same for broken-down time; null for the local time of now. */
MOLTE_API char* ORVEX_asctime(const struct tm* pTm, char* pszDst);

#endif
