/*
 * Single characters of 8-bit text, by the code page that OXLANG_SetLocale has set. In code page 936
 * a lead byte and the byte behind it are one character; without a code page each byte is one.
 *
 * Functions may be called from any thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_MULTIBYTE_H
#define MOLTELIB_MULTIBYTE_H

#include "moltelib/base.h"

/* Not 0 when the low byte of c is the first of a double-byte character. */
MOLTE_API int32_t ORVEX_isleadbyte(int32_t c);

/*
 * The character at s: its byte, with *pnLen 1, or for a lead byte the first byte times 256 plus the
 * second, with *pnLen 2. THE BYTE BEHIND A LEAD BYTE ISN'T LOOKED AT: of a text that is cut within
 * a character it is the terminator, and a walk must not step over that. -1 with error 50 for a
 * null.
 */
MOLTE_API int32_t ORVEX_GetCharMB(const char* s, int32_t* pnLen);

/* The bytes of the character at s, 0 for the terminator and for null, -1 (nothing is reported) for
 * one that is cut or not in the code page. Two names. */
MOLTE_API int32_t ORVEX_mblen(const char* s);
MOLTE_API int32_t ORVEX_CharByte(const char* s);

/*
 * The first byte times 256 plus the second, BOTH TAKEN AS SIGNED: -20575 for 0xB0 and 0xA1, where
 * ORVEX_GetCharMB gives 0xB0A1.
 */
MOLTE_API int32_t ORVEX_MB2Code(int32_t nFirst, int32_t nSecond);

#endif
