/*
 * Integers in stored and wire records: arrays of N bytes, most significant byte first, called CharN
 * fields. (The date and time records alone are low byte first and don't use this family.)
 *
 * Pointers are taken on trust and need no alignment.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_BYTE_FIELD_H
#define MOLTELIB_BYTE_FIELD_H

#include "moltelib/base.h"

/*
 * The conversions are inline where this header is used; the library exports them as well.
 */
#if defined(MOLTE_BYTE_FIELD_EXPORT)
#define MOLTE_FIELD MOLTE_API
#else
#define MOLTE_FIELD static inline
#endif

/* A field to a host integer. */
MOLTE_FIELD uint16_t Char2To_uint2(const uint8_t* p) {
    return (uint16_t)(p[0] << 8 | p[1]);
}
MOLTE_FIELD uint32_t Char4To_uint4(const uint8_t* p) {
    return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | p[3];
}
MOLTE_FIELD uint64_t Char8To_uint8(const uint8_t* p) {
    return (uint64_t)p[0] << 56 | (uint64_t)p[1] << 48 | (uint64_t)p[2] << 40 |
           (uint64_t)p[3] << 32 | (uint64_t)p[4] << 24 | (uint64_t)p[5] << 16 |
           (uint64_t)p[6] << 8 | p[7];
}
/* Six bytes 0xFF are the null value and give -1, all bits set. */
MOLTE_FIELD uint64_t Char6To_uint8(const uint8_t* p) {
    const uint64_t v = (uint64_t)p[0] << 40 | (uint64_t)p[1] << 32 | (uint64_t)p[2] << 24 |
                       (uint64_t)p[3] << 16 | (uint64_t)p[4] << 8 | p[5];
    return v == 0xFFFFFFFFFFFFu ? UINT64_MAX : v;
}

/* A host integer to a field; Char6 takes the low 48 bits. */
MOLTE_FIELD void uint2ToChar2(uint16_t v, uint8_t* p) {
    p[0] = (uint8_t)(v >> 8);
    p[1] = (uint8_t)v;
}
MOLTE_FIELD void uint4ToChar4(uint32_t v, uint8_t* p) {
    p[0] = (uint8_t)(v >> 24);
    p[1] = (uint8_t)(v >> 16);
    p[2] = (uint8_t)(v >> 8);
    p[3] = (uint8_t)v;
}
MOLTE_FIELD void uint8ToChar6(uint64_t v, uint8_t* p) {
    p[0] = (uint8_t)(v >> 40);
    p[1] = (uint8_t)(v >> 32);
    p[2] = (uint8_t)(v >> 24);
    p[3] = (uint8_t)(v >> 16);
    p[4] = (uint8_t)(v >> 8);
    p[5] = (uint8_t)v;
}
MOLTE_FIELD void uint8ToChar8(uint64_t v, uint8_t* p) {
    p[0] = (uint8_t)(v >> 56);
    p[1] = (uint8_t)(v >> 48);
    uint8ToChar6(v, p + 2);
}

#undef MOLTE_FIELD

/* Turns n host integers into fields in place, and back. n below 1 does nothing. */
MOLTE_API void MOLTE_Int4_lton(uint32_t* p, int32_t n);
MOLTE_API void MOLTE_Int4_ntol(uint32_t* p, int32_t n);

/*
 * Arithmetic on fields. All of it is modular: a carry or borrow past the top byte is lost. out may
 * be one of the inputs.
 */
MOLTE_API void Char2Add(const uint8_t* a, const uint8_t* b, uint8_t* out);
MOLTE_API void Char4Add(const uint8_t* a, const uint8_t* b, uint8_t* out);
MOLTE_API void Char8Add(const uint8_t* a, const uint8_t* b, uint8_t* out);
MOLTE_API void Char2Minus(const uint8_t* a, const uint8_t* b, uint8_t* out);
MOLTE_API void Char4Minus(const uint8_t* a, const uint8_t* b, uint8_t* out);
MOLTE_API void Char8Minus(const uint8_t* a, const uint8_t* b, uint8_t* out);

/* Adds a host integer, 1, or -1 to a field in place. */
MOLTE_API void Adduint2ToChar2(uint8_t* p, uint16_t v);
MOLTE_API void Adduint4ToChar4(uint8_t* p, uint32_t v);
MOLTE_API void IncrementChar2(uint8_t* p);
MOLTE_API void IncrementChar4(uint8_t* p);
MOLTE_API void IncrementChar8(uint8_t* p);
MOLTE_API void DecrementChar2(uint8_t* p);
MOLTE_API void DecrementChar4(uint8_t* p);
MOLTE_API void DecrementChar8(uint8_t* p);

#endif
