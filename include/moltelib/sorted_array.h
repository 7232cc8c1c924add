/*
 * Sorted arrays of items of any size: sorting, searches, sets.
 *
 * size is the item size in bytes, n the number of items. A comparison gets a key first and an item
 * second and returns a negative number, 0 or a positive number for a key that is below, equal to or
 * above the item; where two items are compared, the earlier one goes first. It must not fail.
 *
 * A null comparison, a size below 1, or null items with n above 0 are error 50 of module
 * "oxsysutl", and -1; but where a result is told for few items, it holds whatever else is given.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_SORTED_ARRAY_H
#define MOLTELIB_SORTED_ARRAY_H

#include "moltelib/array.h"
#include "moltelib/base.h"

typedef int (*MOLTE_COMPARE)(const void* pKey, const void* pItem);

/* The run-time's qsort. */
MOLTE_API void MOLTE_qsort(void* pBase, int32_t n, int32_t size, MOLTE_COMPARE cmp);

/* ---- Searches; the array is sorted by cmp. An index, or -1 without an error for none. ---- */

/* An item equal to the key; of several any. */
MOLTE_API int32_t MOLTE_bsearch(const void* pKey, const void* pBase, int32_t n, int32_t size,
                                MOLTE_COMPARE cmp);

/* The first item equal to the key. */
MOLTE_API int32_t MOLTE_SearchLow(const void* pKey, const void* pBase, int32_t n, int32_t size,
                                  MOLTE_COMPARE cmp);

/* The last item equal to the key. */
MOLTE_API int32_t MOLTE_SearchHigh(const void* pKey, const void* pBase, int32_t n, int32_t size,
                                   MOLTE_COMPARE cmp);

/* Where to insert the key: behind all items that are not greater. 0 for n below 1. */
MOLTE_API int32_t MOLTE_FindInsPos(const void* pKey, const void* pBase, int32_t n, int32_t size,
                                   MOLTE_COMPARE cmp);

/* ---- Duplicates; the array is sorted by cmp ---- */

/* Keeps the first of each run of equal items; the new count. 1 for n below 2, also for no item. */
MOLTE_API int32_t MOLTE_RemoveDupItem(void* pItems, int32_t size, int32_t n, MOLTE_COMPARE cmp);

/* 1 if two neighbours are equal, else 0. */
MOLTE_API int32_t MOLTE_HasDupItem(const void* pItems, int32_t size, int32_t n, MOLTE_COMPARE cmp);

/* ---- Sets ---- */

/*
 * Splits two sets into what is in a alone, in both, and in b alone. Each list is first sorted and
 * freed of duplicates in place (its count is then the caller's to work out). The three new lists
 * are sorted; each is a block that the caller releases with ORVEX_free, null when it is empty.
 * "Both" holds the items of the shorter list, of a when they are equally long.
 *
 * Output pointers, to a list or to a count, may be null; a list that isn't wanted isn't made.
 * A list that is null is absent: the other one is then copied whole to its own output. 1; 0 when
 * both are absent; -1 with a line in the history when memory is out, and the outputs are then null
 * and 0. a and b must not overlap.
 */
MOLTE_API int32_t MOLTE_KeyDiff(void* pA, int32_t nA, void* pB, int32_t nB, void** ppOnlyA,
                                int32_t* pnOnlyA, void** ppBoth, int32_t* pnBoth, void** ppOnlyB,
                                int32_t* pnOnlyB, MOLTE_COMPARE cmp, int32_t size);

/*
 * Shrinks a PA to its items and gives its buffer, which stays the array's. Without items the array
 * is released and zeroed, and the result is null. When no smaller block can be had the old one
 * stays, with the error of the allocator on record. Null for null, with error 50.
 */
MOLTE_API void* MOLTE_UTIL_DupData(PA* pArray);

#endif
