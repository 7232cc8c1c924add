// Byte fields, bar codes and number text, and bit arrays.
//
// The conversions that the first header defines for its users are exported from here.
#define MOLTE_BYTE_FIELD_EXPORT
#include "moltelib/byte_field.h"

#include <bit>
#include <cstring>
#include <cwchar>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/bit_array.h"
#include "moltelib/memory.h"
#include "moltelib/number_text.h"
#include "moltelib/text_convert.h"
#include "moltelib/thread_data.h"
#include "platform/byte_order.h"
#include "platform/text.h"

namespace {

constexpr auto kModule = molte::kOxdatcnv;

constexpr uint32_t kLongBarCode = 36;
constexpr uint32_t kNoBuffer = 51;
constexpr int kMaxBarCodeDigits = 19;
constexpr int32_t kMaxKeyLength = 31;
constexpr int kNumberTextSize = 32;

// The buffer to use: the caller's, the thread's, or the one that is left.
char* text_buffer(char* given, char* fallback) {
    if (given != nullptr) return given;
    char* own = MOLTE_THDATA_GetBuffer();
    return own != nullptr ? own : fallback;
}

// The text of a number as wide characters in buf.
wchar_t* widen(const char* text, wchar_t* buf) {
    const molte::Heap<wchar_t> wide(ox_mbstowcs(text));
    if (wide == nullptr) {
        kModule.trace(molte::here());
        return nullptr;
    }
    return wcscpy(buf, wide.get());
}

int64_t read_wide(const wchar_t* s) {
    char text[256];
    if (MOLTE_STR_wcstombs(s, text, sizeof text) < 0) return kModule.trace(molte::here());
    return _atoi64(text);
}

// Field to integer and back, each way the same bytes move.
void exchange(uint32_t* p, int32_t n) {
    if (n < 1 || std::endian::native == std::endian::big) return;
    platform::swap_bytes(p, static_cast<size_t>(n));
}

void add2(const uint8_t* p, uint32_t v, uint8_t* out) {
    uint2ToChar2(static_cast<uint16_t>(Char2To_uint2(p) + v), out);
}
void add4(const uint8_t* p, uint32_t v, uint8_t* out) {
    uint4ToChar4(Char4To_uint4(p) + v, out);
}
void add8(const uint8_t* p, uint64_t v, uint8_t* out) {
    uint8ToChar8(Char8To_uint8(p) + v, out);
}

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

void MOLTE_Int4_lton(uint32_t* p, int32_t n) {
    exchange(p, n);
}
void MOLTE_Int4_ntol(uint32_t* p, int32_t n) {
    exchange(p, n);
}

void Char2Add(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add2(a, Char2To_uint2(b), out);
}
void Char4Add(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add4(a, Char4To_uint4(b), out);
}
void Char8Add(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add8(a, Char8To_uint8(b), out);
}

void Char2Minus(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add2(a, 0U - Char2To_uint2(b), out);
}
void Char4Minus(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add4(a, 0U - Char4To_uint4(b), out);
}
void Char8Minus(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    add8(a, 0U - Char8To_uint8(b), out);
}

void Adduint2ToChar2(uint8_t* p, uint16_t v) {
    add2(p, v, p);
}
void Adduint4ToChar4(uint8_t* p, uint32_t v) {
    add4(p, v, p);
}

void IncrementChar2(uint8_t* p) {
    add2(p, 1, p);
}
void IncrementChar4(uint8_t* p) {
    add4(p, 1, p);
}
void IncrementChar8(uint8_t* p) {
    add8(p, 1, p);
}

void DecrementChar2(uint8_t* p) {
    add2(p, UINT32_MAX, p);
}
void DecrementChar4(uint8_t* p) {
    add4(p, UINT32_MAX, p);
}
void DecrementChar8(uint8_t* p) {
    add8(p, UINT64_MAX, p);
}

uint64_t BarCodeTo_uint8(const char* s) {
    uint64_t value = 0;
    for (int i = 0; s != nullptr && i < kMaxBarCodeDigits && s[i] >= '0' && s[i] <= '9'; ++i) {
        value = value * 10 + static_cast<uint64_t>(s[i] - '0');
    }
    return value;
}

int32_t uint8ToBarCode(uint64_t v, char* buf, int32_t len) {
    if (buf == nullptr || len < 0) return kModule.fail(molte::here(), molte::kBadArgument);
    memset(buf, '0', static_cast<size_t>(len));
    buf[len] = 0;
    char digits[kNumberTextSize];
    const auto count = static_cast<int32_t>(strlen(_ui64toa(v, digits, 10)));
    if (count >= len) {
        return kModule.fail(molte::here(), kLongBarCode, molte::SystemError::none,
                            "bufflen=%d barcodelen=%d bar=%s", len, count, digits);
    }
    memcpy(buf + len - count, digits, static_cast<size_t>(count));
    return 1;
}

int32_t MOLTE_BuildKey(char* key, const char* prefix, int32_t keyLen) {
    if (keyLen == 0) return 0;
    if (key == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    if (keyLen < 0 || keyLen > kMaxKeyLength) keyLen = kMaxKeyLength;
    const auto wanted = static_cast<size_t>(keyLen);
    const size_t length = strnlen(key, wanted * 2 + 1);
    if (length > wanted * 2) return kModule.fail(molte::here(), molte::kBadArgument);
    if (length == wanted) return 1;
    char work[kMaxKeyLength + 1];
    memset(work, '0', wanted);
    if (length < wanted) {
        const size_t padding = wanted - length;
        memcpy(work + padding, key, length);
        if (prefix != nullptr) memcpy(work, prefix, strnlen(prefix, padding));
    } else {
        memcpy(work, key, length - wanted);
    }
    memcpy(key, work, wanted);
    key[wanted] = 0;
    return 1;
}

char* MOLTE_i64toa(int64_t v, char* buf) {
    static char fallback[kNumberTextSize];
    return _i64toa(v, text_buffer(buf, fallback), 10);
}

char* MOLTE_ui64toa(uint64_t v, char* buf) {
    static char fallback[kNumberTextSize];
    return _ui64toa(v, text_buffer(buf, fallback), 10);
}

wchar_t* MOLTE_i64tow(int64_t v, wchar_t* buf) {
    if (buf == nullptr) {
        kModule.fail(molte::here(), kNoBuffer, molte::SystemError::runtime);
        return nullptr;
    }
    return widen(MOLTE_i64toa(v, nullptr), buf);
}

wchar_t* MOLTE_ui64tow(uint64_t v, wchar_t* buf) {
    if (buf == nullptr) {
        kModule.fail(molte::here(), kNoBuffer, molte::SystemError::runtime);
        return nullptr;
    }
    return widen(MOLTE_ui64toa(v, nullptr), buf);
}

int64_t MOLTE_atoi64(const char* s) {
    return s != nullptr ? _atoi64(s) : kModule.fail(molte::here(), molte::kBadArgument);
}

uint64_t MOLTE_atoui64(const char* s) {
    return static_cast<uint64_t>(MOLTE_atoi64(s));
}

int64_t MOLTE_wtoi64(const wchar_t* s) {
    return read_wide(s);
}

uint64_t MOLTE_wtoui64(const wchar_t* s) {
    return static_cast<uint64_t>(read_wide(s));
}

int32_t MOLTE_LimitData(int32_t min, int32_t max, int32_t v) {
    if (v < min) return min;
    return v < max ? v : max;
}

int32_t MOLTE_LimitDefData(int32_t min, int32_t max, int32_t v, int32_t def) {
    return v >= min && v <= max ? v : def;
}

int32_t MOLTE_LimitBool(int32_t* pv) {
    if (pv == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    *pv = *pv != 0 ? 1 : 0;
    return *pv;
}

int32_t MOLTE_IsAllSameChar(const void* buf, int32_t n, uint8_t ch) {
    const auto* bytes = static_cast<const uint8_t*>(buf);
    for (int32_t i = 0; i < n; ++i) {
        if (bytes[i] != ch) return 0;
    }
    return 1;
}

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
