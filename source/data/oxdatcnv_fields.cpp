// The conversions that the header defines for its users are exported from here.
#define MOLTE_BYTE_FIELD_EXPORT
#include "moltelib/byte_field.h"

#include <bit>

#include "platform/byte_order.h"

namespace {

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
