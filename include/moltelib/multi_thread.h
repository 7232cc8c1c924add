/*
 * A function run over many items with a thread for each, and a meeting point of threads.
 *
 * Failures are reported under modules "oxsysutl" and "oxthrdop".
 */
#ifndef MOLTELIB_MULTI_THREAD_H
#define MOLTELIB_MULTI_THREAD_H

#include "moltelib/base.h"

/* What all calls of a work function share. 64 bytes. They write it at the same time: whoever reads
 * what others write makes sure that this may be. */
typedef struct ORVEX_ALLTHREAD_STATUS {
    int32_t bStop;   /* asks the others to end */
    int32_t bFailed; /* makes the whole fail */
    uint8_t abyCaller[56];
} ORVEX_ALLTHREAD_STATUS;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_ALLTHREAD_STATUS) == 64, "the size is part of the interface");
#endif

/* What the threads of one run share with the one that waits for them. */
typedef struct ORVEX_ALLTHREAD_PARAM {
    MOLTE_CRIT stCrit;
    int32_t nRunning; /* threads that were started and haven't ended */
    ORVEX_ALLTHREAD_STATUS* pStatus;
    OXHANDLE hDoneEvent; /* automatic-reset: a thread has ended */
} ORVEX_ALLTHREAD_PARAM;

/* Zeroes it and makes its event and its lock; 1. -1 with line 4803 in the history, and with error
 * 50 for null. */
MOLTE_API int32_t ORVEX_ALLTHREAD_PARAM_Init(ORVEX_ALLTHREAD_PARAM* pParam);

/* Gives them up and zeroes it; 1, also for one that isn't made. */
MOLTE_API int32_t ORVEX_ALLTHREAD_PARAM_Release(ORVEX_ALLTHREAD_PARAM* pParam);

/*
 * Works on one item. A call that fails sets bFailed of the status, and may set bStop to tell the
 * others to end. Its result is the exit code of its thread, which nothing reads; a negative one
 * counts only for a call in the calling thread, see ORVEX_RUN_REST_HERE.
 */
typedef int32_t (*ORVEX_WORKFUNCTION)(void* pItem, ORVEX_ALLTHREAD_STATUS* pStatus);

/* A flag of ORVEX_MultiThreadExec: items for which no thread could be started are worked on in the
 * calling thread, in order, when the others are done, up to the first with a negative result. */
#define ORVEX_RUN_REST_HERE 1

/*
 * Runs the function on each of nCount items, each in a thread of its own, and returns when all have
 * ended. 1 when none set bFailed of *pStatus, which is zeroed first; else -1. A thread that can't
 * be started is error 277 of module "oxthrdop", and the items behind it still get theirs; then,
 * unless the flag above is given, bStop and bFailed are set in the end. With the flag, a negative
 * result in the calling thread sets bFailed, and adds line 4863 to the history.
 *
 * Each thread has an error record of its own, which is gone with it: a work function that wants its
 * error told copies it (ORVEX_CopyErrData) to a place of its own. -1 with error 50 for a null
 * function, array or status, or a count below 1.
 */
MOLTE_API int32_t ORVEX_MultiThreadExec(ORVEX_WORKFUNCTION pfnWork, void* const* ppItems,
                                        int32_t nCount, ORVEX_ALLTHREAD_STATUS* pStatus,
                                        int32_t nFlags);

/*
 * A meeting point of nThreads threads. *pCount is 0 at first, and only this function changes it,
 * under the short global lock; it brings the library up while nInitCount of g_stBv is 0. Each but
 * the last waits on hEvent with no time limit: 1 when it was signalled, 0 at once when bStopAll of
 * g_stBv is set, -1 with the error of the wait. The last sets *pCount to 0, signals hEvent, which
 * may be null here, and gets 1.
 *
 * AN EVENT OF ORVEX_EVENT_Create LETS ONE OF THOSE GO THAT WAIT: with more than two threads each
 * that was let go signals the event again for the next.
 */
MOLTE_API int32_t MOLTE_WaitThreadBurst(OXHANDLE hEvent, int32_t* pCount, int32_t nThreads);

#endif
