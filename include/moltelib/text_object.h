/*
 * The growable string object.
 *
 *     OXSTR_STROBJ text;
 *     if (OXSTR_STROBJ_Init(&text, 0) > 0) {
 *         OXSTR_STROBJ_Printf(&text, "%s=%d\n", name, value);
 *         puts(text.pBuf);
 *     }
 *     OXSTR_STROBJ_Free(&text);
 *
 * All functions but OXSTR_STROBJ_Free give -1 with error 50 for a null object.
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_TEXT_OBJECT_H
#define MOLTELIB_TEXT_OBJECT_H

#include <stdarg.h>

#include "moltelib/base.h"

/*
 * A plain structure of the caller. The buffer is zero-filled where it was never written, and that
 * zero ends the text: nothing else does after OXSTR_STROBJ_Append. An object that is to use a fixed
 * buffer is filled in by hand with bCanGrow 0.
 */
typedef struct OXSTR_STROBJ {
    char* pBuf;
    int32_t nLen;      /* bytes of text */
    int32_t nCapacity; /* bytes of the buffer */
    uint8_t bCanGrow;  /* 1: the object owns pBuf and may reallocate it */
    uint8_t bOption;   /* given to OXSTR_STROBJ_Init, kept for the caller */
    uint8_t abyReserved[6];
} OXSTR_STROBJ;

#if defined(__cplusplus)
static_assert(sizeof(OXSTR_STROBJ) == 24);
#endif

/* Makes obj empty with a buffer of 4096 zeros; what it held before is not released. 1, or -1
 * without memory, with obj zeroed. */
MOLTE_API int32_t OXSTR_STROBJ_Init(OXSTR_STROBJ* obj, uint8_t option);

/* Frees the buffer if bCanGrow is set, and zeroes obj. 0. */
MOLTE_API int32_t OXSTR_STROBJ_Free(OXSTR_STROBJ* obj);

/*
 * Sees to it that nLen + n is below the capacity, where n below 1 counts as 4096: if it isn't, the
 * capacity rises by n rounded up to a multiple of 4096. 1; -1 when there is no memory or the
 * capacity would pass 2^31 - 1 (error 20), or when bCanGrow is 0 (error 124): then nothing changed.
 */
MOLTE_API int32_t OXSTR_STROBJ_EnsureFreeSizeIs(OXSTR_STROBJ* obj, int32_t n);

/*
 * Appends n bytes, growing for n + 1; data must not lie in obj's own buffer. 1, or -1, with error
 * 50 for n below 0 or null data.
 */
MOLTE_API int32_t OXSTR_STROBJ_Append(OXSTR_STROBJ* obj, const void* data, int32_t n);

/*
 * Append text by the platform's printf rules; the bytes added. No argument may point into obj's own
 * buffer. -1 when the object can't grow or the text can't be made: then text and length are as they
 * were.
 */
MOLTE_API int32_t OXSTR_STROBJ_vPrintf(OXSTR_STROBJ* obj, const char* fmt, va_list args);
MOLTE_API int32_t OXSTR_STROBJ_Printf(OXSTR_STROBJ* obj, const char* fmt, ...) MOLTE_PRINTF(2, 3);

/* Sets nLen to 0; 1. The old bytes stay in the buffer. */
MOLTE_API int32_t OXSTR_STROBJ_Empty(OXSTR_STROBJ* obj);

#endif
