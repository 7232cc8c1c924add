/*
 * Single characters of UTF-8 in its first form (RFC 2279), with lengths of 1 to 6 bytes.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_UTF8_H
#define MOLTELIB_UTF8_H

#include "moltelib/base.h"

/*
 * Decodes the character at p; its bytes go to *pnLen, which may be null and is written on success
 * only. -1 where no character stands: a continuation byte, 0xFE or 0xFF in front, a further byte
 * that is no continuation byte, or a null p. Overlong forms are accepted.
 *
 * The value is the code point for 1 to 3 bytes only. From 4 bytes on, marker bits of the first byte
 * stay in it, as this is how its users have always compared them: with 4 bytes it is the code point
 * plus 0x400000, with 5 plus 0x18000000; with 6 the 32 bits that are left of it.
 */
MOLTE_API int32_t UTF8CharToInt(const char* p, int32_t* pnLen);

/* The bytes of the character at p, or -1, as UTF8CharToInt tells. */
MOLTE_API int32_t UTF8CharByteLen(const char* p);

/*
 * Encodes code into out, 8 bytes of which are zeroed first. The length, 1 to 6; -1 for a negative
 * code, and then out is not touched.
 */
MOLTE_API int32_t IntToUTF8Char(int32_t code, char* out);

#endif
