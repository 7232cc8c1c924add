/*
 * PA, the growing array of fixed-size items. Items are raw bytes: they are copied, and compared
 * byte by byte. The structure is the caller's; it may be read, and is changed through these
 * functions. nCount is never above nCapacity, and new memory is zero-filled.
 *
 * The array grows in whole multiples of nGrowBy items: when it must hold an index or count NEED at
 * or past nCapacity, it gains ((nGrowBy - nCapacity + NEED) / nGrowBy) * nGrowBy items. The block
 * behind may be larger, so that many small steps cost no more than a few large ones.
 *
 * Results are 1, or -1 with an error of module "oarray" (20 and its history when memory is out;
 * or the index INT32_MAX is asked for; then the array is as it was). An item passed in must not lie
 * in the array itself.
 *
 * Failures are reported under module "oarray".
 */
#ifndef MOLTELIB_ARRAY_H
#define MOLTELIB_ARRAY_H

#include "moltelib/base.h"

typedef struct PA {
    int32_t nItemSize; /* bytes per item */
    int32_t nCount;    /* items in use */
    int32_t nCapacity; /* items allocated */
    int32_t nGrowBy;   /* growth quantum in items */
    void* pData;       /* the items, contiguous; null when nCapacity is 0 */
    uint64_t nReserved;
} PA;

#if defined(__cplusplus)
static_assert(sizeof(PA) == 32);
#endif

/*
 * Makes an empty array of items of nItemSize bytes with room for nCapacity, zeroed; below 1 nothing
 * is allocated. nGrowBy becomes 16 for items below 16 bytes, 8 below 512, 2 from 512 up. Items of
 * 0 bytes are counted as others are, but their array doesn't grow (error 50); a negative nItemSize
 * is error 50.
 */
MOLTE_API int32_t PA_Init(PA* pArray, int32_t nItemSize, int32_t nCapacity);

/*
 * Fills the structure around a buffer that exists already; nothing is allocated or checked. The
 * buffer must come from ORVEX_release_malloc if the array is to grow or to be released, and
 * nGrowBy must then be above 0.
 */
MOLTE_API int32_t PA_Build(PA* pArray, void* pData, int32_t nItemSize, int32_t nCount,
                           int32_t nCapacity, int32_t nGrowBy);

/* Frees the items and zeroes the structure; 1. */
MOLTE_API int32_t PA_Release(PA* pArray);

/* Makes room for index n, and so for n + 1 items; below 0 stands for nCount. */
MOLTE_API int32_t PA_AllocMem(PA* pArray, int32_t n);

/* Makes room for n items; 0 when it is there already. */
MOLTE_API int32_t PA_SetBuf(PA* pArray, int32_t n);

/*
 * Stores an item at nIndex; below 0 stands for nCount. At or past the end nCount becomes
 * nIndex + 1, and the items between are zero.
 */
MOLTE_API int32_t PA_SetAt(PA* pArray, int32_t nIndex, const void* pItem);

/*
 * Opens a place at nIndex and stores the item there; past the end it leaves zero items between. A
 * negative index is error 414 ("cur idx=%d").
 */
MOLTE_API int32_t PA_InsertAt(PA* pArray, int32_t nIndex, const void* pItem);

/* Stores an item behind the last one. */
MOLTE_API int32_t PA_Append(PA* pArray, const void* pItem);

/* Appends n items that lie in a row; the new nCount, or -1. A negative n is error 50. */
MOLTE_API int32_t PA_MultiAppend(PA* pArray, const void* pItems, int32_t n);

/* Removes an item; the capacity stays. No such index: error 415 ("cur=%d max=%d"). */
MOLTE_API int32_t PA_DelAt(PA* pArray, int32_t nIndex);

/* The lowest index with these bytes, or -1 with no report. */
MOLTE_API int32_t PA_Lookup(const PA* pArray, const void* pItem);

/* Removes the first item with these bytes; -1 with a line in the history when there is none. */
MOLTE_API int32_t PA_DelItem(PA* pArray, const void* pItem);

/* Copies an item to pOut. No such index: error 417 ("cur=%d max=%d"). */
MOLTE_API int32_t PA_GetAt(const PA* pArray, int32_t nIndex, void* pOut);

/* Makes pDst a copy of pSrc, with a buffer of its own; what pDst held is not released. */
MOLTE_API int32_t PA_Duplicate(const PA* pSrc, PA* pDst);

/*
 * Copies the items into pDst's buffer and leaves pDst's nCount as it was: the caller sets it. Error
 * 416 when pDst has no buffer, another item size or a capacity below pSrc's count.
 */
MOLTE_API int32_t PA_Copy(const PA* pSrc, PA* pDst);

#endif
