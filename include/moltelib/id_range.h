/*
 * Ranges of 32-bit identifiers: their arithmetic, arrays of them kept as sets, and work handed out
 * from one set to another.
 *
 *     OX_IDRANGEARRAY_AddRange(&ready, &all, 1, 0);
 *     while (OX_IDRANGEARRAY_GetReadySeg(&ready, &working, &seg, 1000) > 0) ...
 *     OX_IDRANGEARRAY_SimpRemove(&working, &seg);              when it is done, or
 *     OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &seg);    to give it back
 *
 * A range holds nStart and all up to, but not, nEnd; with nEnd not above nStart it is empty. The
 * identifier 0xFFFFFFFF is therefore in no range. All comparisons are unsigned.
 *
 * A null pointer is error 50 and -1, ALSO FROM FUNCTIONS THAT ANSWER YES OR NO: test those for a
 * result above 0. Functions with an unsigned result give 0 then, those without a result do nothing.
 * pRanges may be null when n is below 1. -1 otherwise means that memory is out, with a line in the
 * history; the array is then as it was, apart from whole ranges that were dealt with before.
 *
 * Failures are reported under module "oidrange".
 */
#ifndef MOLTELIB_ID_RANGE_H
#define MOLTELIB_ID_RANGE_H

#include "moltelib/base.h"
#include "moltelib/format/id_range_record.h"

typedef struct OX_IDRANGE {
    uint32_t nStart; /* the first identifier */
    uint32_t nEnd;   /* the one behind the last */
} OX_IDRANGE;

/*
 * Arrays own their ranges. Zeroed, they are empty. The structure may be read, and is changed
 * through the functions below.
 */
typedef struct OX_IDRANGEARRAY {
    int32_t nCount;
    int32_t nCapacity; /* may tell less than there is: see OX_IDRANGEARRAY_Dup */
    OX_IDRANGE* pRange;
} OX_IDRANGEARRAY;

typedef struct OX_NETIDRANGEARRAY {
    int32_t nCount;
    int32_t nCapacity;
    OX_NETIDRANGE* pRange;
} OX_NETIDRANGEARRAY;

/* ---- Single ranges ---- */

/* How many identifiers. */
MOLTE_API uint32_t OX_IDRANGE_GetCount(const OX_IDRANGE* pRange);

/* 1 for an empty range, else 0. */
MOLTE_API int32_t OX_IDRANGE_IsEmpty(const OX_IDRANGE* pRange);

/* 1 if both fields are equal, else 0. */
MOLTE_API int32_t OX_IDRANGE_IsSame(const OX_IDRANGE* pA, const OX_IDRANGE* pB);

/* 1 if a reaches from b's start or below to b's end or above, be they empty or not; else 0. */
MOLTE_API int32_t OX_IDRANGE_IsLarger(const OX_IDRANGE* pA, const OX_IDRANGE* pB);

/* What both hold; (0, 0) if there is nothing. pOut may be one of the two. */
MOLTE_API void OX_IDRANGE_Intersect(const OX_IDRANGE* pA, const OX_IDRANGE* pB, OX_IDRANGE* pOut);

/* 1 if there is something that both hold, else 0. */
MOLTE_API int32_t OX_IDRANGE_HasIntersection(const OX_IDRANGE* pA, const OX_IDRANGE* pB);

/* How many identifiers lie between two ranges; 0 if either is empty, or they touch or overlap. */
MOLTE_API uint32_t OX_IDRANGE_CalcDistance(const OX_IDRANGE* pA, const OX_IDRANGE* pB);

/*
 * What is left of a without b: before it and behind it. (0, 0) for both if a is empty; a itself in
 * *pLeft if b holds nothing of it. Else *pLeft is (a's start, b's start) and *pRight (b's end, a's
 * end), either of which can come out inverted: that counts as empty. The outputs may be a or b.
 */
MOLTE_API void OX_IDRANGE_Subtract(const OX_IDRANGE* pA, const OX_IDRANGE* pB, OX_IDRANGE* pLeft,
                                   OX_IDRANGE* pRight);

/* ---- Ranges in a row ---- */

/* Sorts by nStart alone. */
MOLTE_API void OX_IDRANGE_Sort(OX_IDRANGE* pRanges, int32_t n);

/*
 * Sorts, and joins ranges that overlap or touch, empty ones like all others; the new count. With n
 * below 2, n.
 */
MOLTE_API int32_t OX_IDRANGE_Merge(OX_IDRANGE* pRanges, int32_t n);

/* The sum of the counts; what several ranges hold is counted for each. */
MOLTE_API uint64_t OX_IDRANGE_GetAllCount(const OX_IDRANGE* pRanges, int32_t n);

/*
 * Writes "[start end]" for each range, one behind the other, into nSize bytes with a terminator;
 * the length. The first range that doesn't fit ends the text.
 */
MOLTE_API int32_t OX_IDRANGE_sPrint(char* pszBuf, int32_t nSize, const OX_IDRANGE* pRanges,
                                    int32_t n);

/* ---- Network form ---- */

/* A range into the form that is stored and sent, and back. */
MOLTE_API void OX_IDRANGE_ToNETIDRANGE(const OX_IDRANGE* pRange, OX_NETIDRANGE* pNet);
MOLTE_API void OX_NETIDRANGE_ToIDRANGE(const OX_NETIDRANGE* pNet, OX_IDRANGE* pRange);

/* How many identifiers. */
MOLTE_API uint32_t OX_NETIDRANGE_GetCount(const OX_NETIDRANGE* pNet);

/* ---- Arrays ---- */

/* Makes an array empty, whatever the structure held; nothing is released. 1. */
MOLTE_API int32_t OX_IDRANGEARRAY_Init(OX_IDRANGEARRAY* pArray);

/* The same, with room for n ranges; 1. */
MOLTE_API int32_t OX_IDRANGEARRAY_InitByBuf(OX_IDRANGEARRAY* pArray, int32_t n);
MOLTE_API int32_t OX_NETIDRANGEARRAY_InitByBuf(OX_NETIDRANGEARRAY* pArray, int32_t n);

/* Frees the ranges and zeroes the structure. 1 from the first, 0 from the second: meant. */
MOLTE_API int32_t OX_IDRANGEARRAY_Release(OX_IDRANGEARRAY* pArray);
MOLTE_API int32_t OX_NETIDRANGEARRAY_Release(OX_NETIDRANGEARRAY* pArray);

/*
 * Adds n ranges, which must not lie in the array; the capacity grows by what is missing, rounded up
 * to a multiple of 16. Then the array is merged, unless bit 0 of nFlags is set. 1; 0 for n below 1.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_AddRange(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRanges,
                                           int32_t n, uint32_t nFlags);

/*
 * Takes from the set all that n ranges hold; 1. An element that is cut in two has the whole array
 * sorted and merged. Several ranges must not lie in the array.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_RemoveRange(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRanges,
                                              int32_t n);

/* Removes the first element that is the same range; 1, or 0 if there is none. */
MOLTE_API int32_t OX_IDRANGEARRAY_SimpRemove(OX_IDRANGEARRAY* pArray, const OX_IDRANGE* pRange);

/* 1 if any element is not empty, else 0. */
MOLTE_API int32_t OX_IDRANGEARRAY_HasWork(const OX_IDRANGEARRAY* pArray);

/*
 * 1 if the first element that overlaps the range holds all of it, 2 if it holds a part (though the
 * next may hold the rest), 0 if there is none.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_IsHoldRange(const OX_IDRANGEARRAY* pArray,
                                              const OX_IDRANGE* pRange);

/*
 * Copies the elements over those of another array; 1. Its buffer is kept if it is large enough, or
 * there is nothing to copy; else a new one has exactly that size while nCapacity becomes 0, so that
 * it is taken for too small by the next growth, and OX_IDRANGEARRAY_ToNET gives 0 for it: meant. On
 * failure pDst is empty, and keeps its buffer.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_Dup(const OX_IDRANGEARRAY* pSrc, OX_IDRANGEARRAY* pDst);

/* ---- Work ---- */

/*
 * The first element; but if elements other than the last are empty, and start below it, the lowest
 * of those: meant so. 1; 0 and (0, 0) for an empty array.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_GetMinSeg(const OX_IDRANGEARRAY* pArray, OX_IDRANGE* pOut);

/*
 * The head of the first element that isn't empty, of at most nMax identifiers; with bTake it is
 * taken from it. An element that is used up stays, empty. 1; 0 for no work, and *pOut is as it was.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_GetSegToWork(OX_IDRANGEARRAY* pArray, OX_IDRANGE* pOut,
                                               uint32_t nMax, int32_t bTake);

/*
 * Moves the lowest identifiers, nMax at most, from one set to another, where they stand at the end
 * as one range; how many, or -1. The element that they come from may stay, empty. With pWorking
 * null nothing moves: a look at what would be next. 0, and (0, 0), for no work.
 */
MOLTE_API int64_t OX_IDRANGEARRAY_GetReadySeg(OX_IDRANGEARRAY* pReady, OX_IDRANGEARRAY* pWorking,
                                              OX_IDRANGE* pOut, uint32_t nMax);

/*
 * Gives a range that was handed out back: adds it to pReady, merged, and removes it from pWorking,
 * if it is there; 1.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_AbortWorkSeg(OX_IDRANGEARRAY* pReady, OX_IDRANGEARRAY* pWorking,
                                               const OX_IDRANGE* pSeg);

/* ---- Arrays in network form ----
 *
 * The target is zeroed (what it held is not released) and gets a copy in the other form, in a
 * buffer of exactly that size; 1. 0 for a source without elements or with nCapacity below 1.
 */
MOLTE_API int32_t OX_IDRANGEARRAY_ToNET(const OX_IDRANGEARRAY* pArray, OX_NETIDRANGEARRAY* pNet);
MOLTE_API int32_t OX_IDRANGEARRAY_FromNET(const OX_NETIDRANGEARRAY* pNet, OX_IDRANGEARRAY* pArray);

#endif
