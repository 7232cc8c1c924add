/*
 * A counting resource: so many units, taken and given back by threads.
 *
 * Who waits is woken at once by a unit that is given back, and looks again after a second in any
 * case: so long bStopAll of g_stBv may take to be seen.
 *
 * A null pointer, and a resource that isn't made, are error 50 and -1.
 *
 * Failures are reported under module "oxthrdop".
 */
#ifndef MOLTELIB_INTEGER_RESOURCE_H
#define MOLTELIB_INTEGER_RESOURCE_H

#include "moltelib/base.h"

typedef struct MOLTE_INTRESOURCE {
    int32_t nTotal;
    int32_t nFree;
    uint64_t nReserved;
    OXHANDLE hFreeEvent; /* automatic-reset: signalled when a unit is given back */
    MOLTE_CRIT stCrit;
} MOLTE_INTRESOURCE;

/* Makes a resource of nCount units, all of them free; 1. -1 with nothing made: with line 1046 in
 * the history when there is no event for it, with error 50 for a count below 0. */
MOLTE_API int32_t MOLTE_INTRESOURCE_Init(MOLTE_INTRESOURCE* pRes, int32_t nCount);

/* Gives up what it is made of, and zeroes it; 1, also for one that isn't made. No other thread may
 * be in it: it takes no lock. */
MOLTE_API int32_t MOLTE_INTRESOURCE_Release(MOLTE_INTRESOURCE* pRes);

/*
 * Takes a unit; 1. While there is none it waits a second and looks again: nWait times, 0 for not at
 * all, and below 0 with no limit. 0 when it got none: nWait has run out, or bStopAll is set.
 * MIND THE UNIT: nWait counts waits of at most a second, and one that was woken in vain, because
 * another thread was quicker, counts as well.
 */
MOLTE_API int32_t MOLTE_INTRESOURCE_Get(MOLTE_INTRESOURCE* pRes, int32_t nWait);

/* Gives a unit back; 1. -1 with error 101 when none is taken, and nothing changes. Who gives back
 * need not be who took. */
MOLTE_API int32_t MOLTE_INTRESOURCE_Free(MOLTE_INTRESOURCE* pRes);

#endif
