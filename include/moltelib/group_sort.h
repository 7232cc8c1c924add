/*
 * Sorting of large arrays that hold few distinct keys, and of small ones; exchanging memory.
 *
 * size is the item size in bytes, n the number of items; cmp is that of qsort. Below two items
 * nothing is done. A null comparison, a size below 1, or null items with n above 0 are error 50 of
 * module "oxsysutl". Nothing is told otherwise: a sort never fails.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_GROUP_SORT_H
#define MOLTELIB_GROUP_SORT_H

#include "moltelib/base.h"
#include "moltelib/sorted_array.h"

/*
 * Sorts by distributing the items to the groups of equal ones. It is made for arrays with at least
 * 1000 items, of which 200 on average are equal; any other is sorted by qsort, after at most a look
 * at each item when it turns out to have more than n / 200 distinct keys (2 for small n).
 *
 * Items are compared with copies of items, which lie elsewhere: cmp must go by their bytes alone.
 * Up to 20 MiB of items go through a block of memory, and equal ones keep their order; larger
 * arrays, and those for which no block can be had, are sorted in place, and EQUAL ITEMS DO NOT KEEP
 * THEIR ORDER. Without memory for the tables of groups it is qsort again, and the error record may
 * tell of that memory.
 *
 * nGroupHint is for how many groups the tables are made at first; below 1 means n / 200, at most
 * 128. They grow, and it doesn't change how many groups there may be.
 */
MOLTE_API void MOLTE_GroupSortEx(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp,
                                 int32_t nGroupHint);
/* The same without a hint. */
MOLTE_API void MOLTE_GroupSort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp);

/*
 * Sorts in place by SELECTION, despite its name: n * (n - 1) / 2 comparisons and at most n - 1
 * exchanges, for a few items that are dear to move. Equal items don't keep their order.
 */
MOLTE_API void MOLTE_BubbleSort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp);

/* Exchanges nSize bytes of two places that don't overlap; below 1 nothing. Error 50 for null. */
MOLTE_API void MOLTE_ExchangeData(void* pA, void* pB, int32_t nSize);

#endif
