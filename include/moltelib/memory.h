/*
 * The allocator. Whatever the library hands to its caller to own comes from here and is released
 * with ORVEX_free. All functions may be called from any thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_MEMORY_H
#define MOLTELIB_MEMORY_H

#include "moltelib/base.h"

/*
 * Allocates nSize bytes, not zeroed; the caller owns them. Null on failure, with error 20 (the
 * errno, and the text "Size=" with the decimal size as data).
 */
MOLTE_API void* ORVEX_release_malloc(int64_t nSize);

/*
 * Grows an array that is held by pointer and capacity, in items of nItemSize bytes: raises
 * *pnCapacity by nGrow, reallocates *ppData to it and zero-fills the new items. A negative
 * capacity counts as 0, an nGrow below 1 as 16.
 * 1, or -1 with error 20: then pointer and capacity are as they were.
 */
MOLTE_API int32_t ORVEX_release_realloc(void** ppData, int32_t nItemSize, int32_t* pnCapacity,
                                        int32_t nGrow);

/* Frees p, which may be null. The three names are one function. */
MOLTE_API void ORVEX_free(void* p);
MOLTE_API void ThreadFreeMemory(void* p);
MOLTE_API void ORVEX_CONVBAR_FreeMem(void* p);

/* Kept names of a former debugging allocator; they do nothing. */
MOLTE_API int32_t ORVEX_debug_realloc(void);     /* always -1 */
MOLTE_API int32_t ORVEX_dbg_malloc(void);        /* always 0 */
MOLTE_API int32_t MOLTE_DumpMemoryLeak(void);    /* always 0 */
MOLTE_API int32_t ORVEX_ALLOCHOOK_Install(void); /* always 1 */

#endif
