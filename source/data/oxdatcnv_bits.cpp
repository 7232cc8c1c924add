// Bit arrays.
#include <cstring>

#include "core/report.h"
#include "moltelib/bit_array.h"
#include "moltelib/memory.h"

namespace {

constexpr molte::Module kModule("oxdatcnv");

uint8_t mask_of(int32_t i) {
    return static_cast<uint8_t>(128 >> (i & 7));
}

// Whole bytes at once; the bits before and behind them one by one.
template <typename One>
int32_t fill(uint8_t* bits, int32_t start, int32_t n, uint8_t byte, One one) {
    const int64_t end = static_cast<int64_t>(start) + (n > 0 ? n : 0);
    int64_t i = start;
    for (; i < end && (i & 7) != 0; ++i) one(bits, static_cast<int32_t>(i));
    const int64_t whole = (end - i) / 8;
    if (whole > 0) std::memset(bits + i / 8, byte, static_cast<size_t>(whole));
    for (i += whole * 8; i < end; ++i) one(bits, static_cast<int32_t>(i));
    return 1;
}

}  // namespace

uint8_t* OX_BITARRAY_GetBitByteAndMask(uint8_t* pBits, int32_t i, uint8_t* pMask) {
    *pMask = mask_of(i);
    return pBits + i / 8;
}

int32_t OX_BITARRAY_SetBitFlag(uint8_t* pBits, int32_t i) {
    pBits[i / 8] = static_cast<uint8_t>(pBits[i / 8] | mask_of(i));
    return 1;
}

int32_t OX_BITARRAY_ClearBitFlag(uint8_t* pBits, int32_t i) {
    pBits[i / 8] = static_cast<uint8_t>(pBits[i / 8] & ~mask_of(i));
    return 1;
}

int32_t OX_BITARRAY_SetClearBitFlag(uint8_t* pBits, int32_t i, int32_t bClear) {
    return bClear == 0 ? OX_BITARRAY_SetBitFlag(pBits, i) : OX_BITARRAY_ClearBitFlag(pBits, i);
}

int32_t OX_BITARRAY_SetBitArray(uint8_t* pBits, int32_t nStart, int32_t n) {
    return fill(pBits, nStart, n, 0xFF, OX_BITARRAY_SetBitFlag);
}

int32_t OX_BITARRAY_ClearBitArray(uint8_t* pBits, int32_t nStart, int32_t n) {
    return fill(pBits, nStart, n, 0, OX_BITARRAY_ClearBitFlag);
}

int32_t OX_BITARRAY_IsBitFlagSet(const uint8_t* pBits, int32_t i) {
    return (pBits[i / 8] & mask_of(i)) != 0 ? 1 : 0;
}

int32_t OX_BITARRAY_GetByteCount(int32_t nBits) {
    return nBits / 8 + (nBits % 8 > 0 ? 1 : 0);
}

uint8_t* OX_BITARRAY_Alloc(int32_t nBits) {
    if (nBits < 0) {
        kModule.fail(molte::here(), molte::kBadArgument);
        return nullptr;
    }
    const int32_t size = OX_BITARRAY_GetByteCount(nBits);
    auto* bits = static_cast<uint8_t*>(ORVEX_release_malloc(size));
    if (bits == nullptr) {
        kModule.trace(molte::here());
        return nullptr;
    }
    std::memset(bits, 0, static_cast<size_t>(size));
    return bits;
}
