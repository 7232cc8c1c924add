/*
 * 8-bit text in the process's code page (see OXLANG_SetLocale) to wide text and back. A character
 * that the other side lacks is a failure; nothing is replaced or dropped.
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_TEXT_CONVERT_H
#define MOLTELIB_TEXT_CONVERT_H

#include "moltelib/base.h"

/*
 * The converted text, which the caller owns. Null for null, without memory, or with error 103, the
 * errno, and as data "mbstowcs" or "wcstombs" when it couldn't be measured, or a text with "maybe
 * need setlocal." when it couldn't be converted.
 */
MOLTE_API wchar_t* ox_mbstowcs(const char* src);
MOLTE_API char* ox_wcstombs(const wchar_t* src);

/*
 * The same into a buffer of dstChars characters, dstBytes bytes. 1; -1 with error 103 as above, for
 * both directions with the texts of the first; with error 2624 "dest buf size=%d <= src size=%d",
 * the size given and the size needed with the terminator, when the buffer is too small; with error
 * 50 for a null pointer. dst is not touched when measuring or the buffer fails.
 */
MOLTE_API int32_t MOLTE_STR_mbstowcs(const char* src, wchar_t* dst, int32_t dstChars);
MOLTE_API int32_t MOLTE_STR_wcstombs(const wchar_t* src, char* dst, int32_t dstBytes);

#endif
