/*
 * A bounded queue of items of one size, between any number of threads that add and any number that
 * take. Items are copied in and out under a lock: they are meant to be small, a pointer or a short
 * record.
 *
 *     MOLTE_DATAQUE queue;
 *     if (MOLTE_DATAQUE_Init(&queue, 1024, sizeof(struct task)) < 0) ...
 *     ... MOLTE_DATAQUE_AddClient(&queue, &task);                    in the threads that produce
 *     ... while (MOLTE_DATAQUE_GetClient(&queue, &task) > 0) ...     in those that consume
 *
 * Who waits is woken at once by who makes its wait worthless, and looks again after a second in any
 * case: so long bStopAll of g_stBv and bClosing may take to be seen by a thread that sleeps. To
 * have it quicker set bClosing, and signal hDataEvent: each reader that gives up wakes the next.
 *
 * WHO WAITS FOR AN EVENT OF THE QUEUE ITSELF looks into the queue before it waits again, with one
 * of the calls below: before one of its side has, an event isn't signalled a second time.
 *
 * A null pointer, and a queue that isn't made, are error 50 and -1.
 *
 * Failures are reported under module "oxthrdop".
 */
#ifndef MOLTELIB_DATA_QUEUE_H
#define MOLTELIB_DATA_QUEUE_H

#include "moltelib/base.h"

typedef struct MOLTE_DATAQUE {
    MOLTE_CRIT stCrit; /* guards all below; its bInited tells that the queue is made */
    int32_t nMaxItem;
    int32_t nReadPos;    /* index of the next item to take */
    int32_t nWritePos;   /* index of the next free slot */
    int32_t nItemCount;  /* items held */
    int32_t nItemSize;   /* bytes */
    int32_t bClosing;    /* set by the owner, and by nothing here: readers give up */
    OXHANDLE hDataEvent; /* automatic-reset: signalled when an item is added */
    OXHANDLE hRoomEvent; /* automatic-reset: signalled when an item is taken */
    void* pData;         /* nMaxItem times nItemSize bytes, the queue's own */
} MOLTE_DATAQUE;

/*
 * Makes an empty queue of nMaxItem items of nItemSize bytes; nothing is allocated later. 1, or -1
 * with nothing made: error 50 for an nMaxItem below 1 or an nItemSize below 0.
 */
MOLTE_API int32_t MOLTE_DATAQUE_Init(MOLTE_DATAQUE* pQueue, int32_t nMaxItem, int32_t nItemSize);

/* Frees all, with the items still held, and zeroes it; 1, also for one that isn't made. No other
 * thread may be in the queue: it takes no lock. */
MOLTE_API int32_t MOLTE_DATAQUE_Release(MOLTE_DATAQUE* pQueue);

/*
 * Adds a copy of an item, and waits for room as long as there is none; 1. -1 WITHOUT AN ERROR when
 * bStopAll is set while it waits. bClosing DOESN'T END A WRITER, and with room nothing does: items
 * go in while the program stops.
 */
MOLTE_API int32_t MOLTE_DATAQUE_AddClient(MOLTE_DATAQUE* pQueue, const void* pItem);

/*
 * Takes the oldest item out into pItem, and waits for one as long as there is none; 1. -1 WITHOUT
 * AN ERROR when bStopAll or bClosing is set while it waits; a queue that is empty and closing is
 * not waited for at all. Items still held are given out first, but for this: A READER THAT COMES
 * OUT OF ITS WAIT GIVES UP WITHOUT LOOKING, so items may be left.
 */
MOLTE_API int32_t MOLTE_DATAQUE_GetClient(MOLTE_DATAQUE* pQueue, void* pItem);

#endif
