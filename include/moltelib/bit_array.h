/*
 * Bit arrays: a plain byte buffer with no header, as files and packets hold bit maps. Bit 0 is the
 * most significant bit of the first byte: bit i is byte i / 8 under the mask 128 >> i % 8.
 * No function checks the range; the buffer is the caller's. Results are 1 unless said otherwise.
 *
 * Failures are reported under module "oxdatcnv".
 */
#ifndef MOLTELIB_BIT_ARRAY_H
#define MOLTELIB_BIT_ARRAY_H

#include "moltelib/base.h"

/* The byte that holds bit i; its mask goes to *pMask. */
MOLTE_API uint8_t* OX_BITARRAY_GetBitByteAndMask(uint8_t* pBits, int32_t i, uint8_t* pMask);

/* Set bit i, and clear it. */
MOLTE_API int32_t OX_BITARRAY_SetBitFlag(uint8_t* pBits, int32_t i);
MOLTE_API int32_t OX_BITARRAY_ClearBitFlag(uint8_t* pBits, int32_t i);

/* Zero bClear SETS the bit, anything else clears it. */
MOLTE_API int32_t OX_BITARRAY_SetClearBitFlag(uint8_t* pBits, int32_t i, int32_t bClear);

/* Set or clear n bits from nStart on; n below 1 does nothing. */
MOLTE_API int32_t OX_BITARRAY_SetBitArray(uint8_t* pBits, int32_t nStart, int32_t n);
MOLTE_API int32_t OX_BITARRAY_ClearBitArray(uint8_t* pBits, int32_t nStart, int32_t n);

/* 1 or 0. */
MOLTE_API int32_t OX_BITARRAY_IsBitFlagSet(const uint8_t* pBits, int32_t i);

/* The bytes that nBits bits take. */
MOLTE_API int32_t OX_BITARRAY_GetByteCount(int32_t nBits);

/*
 * A zeroed buffer for nBits bits, the caller's to release with ORVEX_free. Null with error 20 when
 * memory is out, with error 50 (module "oxdatcnv") for a negative number.
 */
MOLTE_API uint8_t* OX_BITARRAY_Alloc(int32_t nBits);

#endif
