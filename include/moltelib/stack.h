/*
 * A stack of fixed-size items on a growing array: the top is the array's last item. The structure
 * is the caller's. Results are 1, or -1 with the error told; the module is "oxsysutl".
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_STACK_H
#define MOLTELIB_STACK_H

#include "moltelib/array.h"
#include "moltelib/base.h"

typedef struct MOLTE_STACK {
    int32_t bInited;
    int32_t nReserved;
    PA stItems;
} MOLTE_STACK;

/* Makes an empty stack with room for 16 items of nItemSize bytes. */
MOLTE_API int32_t MOLTE_STACK_Init(MOLTE_STACK* pStack, int32_t nItemSize);

/* 1 when it holds nothing, else 0. */
MOLTE_API int32_t MOLTE_STACK_IsEmpty(const MOLTE_STACK* pStack);

/* Frees the items and zeroes the structure; 0 when it wasn't made. */
MOLTE_API int32_t MOLTE_STACK_Release(MOLTE_STACK* pStack);

/* Puts a copy of an item on top. */
MOLTE_API int32_t MOLTE_STACK_Push(MOLTE_STACK* pStack, const void* pItem);

/* Takes the top off, or only reads it; pOut may be null. An empty stack gives -1. */
MOLTE_API int32_t MOLTE_STACK_Pop(MOLTE_STACK* pStack, void* pOut);
MOLTE_API int32_t MOLTE_STACK_GetTop(const MOLTE_STACK* pStack, void* pOut);

/*
 * Reads the item nDepth below the top (0 is the top); with pOut null it reads nothing. At or past
 * the count: error 271 ("idx=%d max=%d"). A negative depth: error 417 of the array.
 */
MOLTE_API int32_t MOLTE_STACK_GetDeepTop(const MOLTE_STACK* pStack, int32_t nDepth, void* pOut);

#endif
