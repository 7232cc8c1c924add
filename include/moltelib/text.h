/*
 * Bounded formatting and copying of text, its length, and what can be asked of it.
 *
 * Blanks, printable characters and the case of letters are those of the code page that
 * OXLANG_SetLocale has set, of ASCII alone before it. Lead bytes of double-byte characters are none
 * of them and have no case.
 *
 * Failures are reported under modules "oxstring" and "oxsysutl".
 */
#ifndef MOLTELIB_TEXT_H
#define MOLTELIB_TEXT_H

#include "moltelib/base.h"

/*
 * Formats into dst, room for size characters, by the platform's printf rules. The characters
 * written without the terminator, if that found room as well. A text that fills the buffer exactly
 * has no terminator: -1 with error 501. A longer one leaves a full buffer without terminator and
 * the run-time's own negative result, with no error. With dst null and size 0 nothing is written
 * and the result is the length of the text; that of an empty one "fills" the 0 characters: -1 with
 * error 501. Other bad arguments: -1 with error 50.
 */
MOLTE_API int32_t ox_snprintf(char* dst, int32_t size, const char* fmt, ...) MOLTE_PRINTF(3, 4);
/* The same for wide text: %s takes wide text, %hs 8-bit text. size counts characters. */
MOLTE_API int32_t ox_snprintfW(wchar_t* dst, int32_t size, const wchar_t* fmt, ...);

/* Exactly strncpy, wcsncpy, strncat, wcsncat: dst is returned. n below 0 counts as 0. */
MOLTE_API char* ox_strncpy(char* dst, const char* src, int64_t n);
MOLTE_API wchar_t* ox_strncpyW(wchar_t* dst, const wchar_t* src, int64_t n);
MOLTE_API char* ox_strncat(char* dst, const char* src, int64_t n);
MOLTE_API wchar_t* ox_strncatW(wchar_t* dst, const wchar_t* src, int64_t n);

/*
 * Copies src if it is shorter than n, else its first n - 1 bytes, and a terminator; at most n bytes
 * in all and none behind the terminator. 1; 0 with n below 1, and then dst is not touched; -1 with
 * error 50 for a null pointer.
 */
MOLTE_API int32_t ORVEX_strncpy(char* dst, const char* src, int32_t n);

/* A copy that the caller owns. ORVEX_StrDup of null is null, ox_strdup of null an empty text. Null
 * when there is no memory. */
MOLTE_API char* ORVEX_StrDup(const char* s);
MOLTE_API char* ox_strdup(const char* s);

/* The length in characters of the kind; 0 for null. */
MOLTE_API int32_t ox_strlen(const char* s);
MOLTE_API int32_t ox_strlenW(const wchar_t* s);
/* The length if it is below limit, else -1. Looks at no more than limit characters. */
MOLTE_API int32_t ox_limstrlen(const char* s, int32_t limit);
MOLTE_API int32_t ox_limstrlenW(const wchar_t* s, int32_t limit);

/*
 * Copies bytes of src up to stopChar, the end, or dstSize - 1 bytes. dst is terminated only when at
 * least one byte was copied; with nothing copied it stays as it was. The bytes copied, but -1 when
 * dstSize - 1 bytes were copied and the next byte of src is neither stopChar nor the end: the field
 * didn't fit. dstSize below 1 gives 0.
 */
MOLTE_API int32_t ox_copyto(char* dst, int32_t dstSize, const char* src, char stopChar);
/*
 * The same, where escChar is dropped and the byte behind it copied whatever it is. An escape that
 * is the last byte of src ends the copy. When both characters are the same it stops.
 */
MOLTE_API int32_t ox_copytoesc(char* dst, int32_t dstSize, const char* src, char stopChar,
                               char escChar);

/*
 * Compares byte by byte without regard to the case of letters: below 0, 0 or above 0. With null
 * pointers the result is a == b: 1 for two nulls and 0, which reads as equal, for one. The names
 * are one function.
 */
MOLTE_API int32_t MOLTE_STR_stricmp(const char* a, const char* b);
MOLTE_API int32_t MOLTE_STR_IsSamePath(const char* a, const char* b);

/*
 * Compares two fields of nA and nB bytes, either of which may end earlier with a terminator: the
 * result of strncmp over the shorter count. If that is equal and the counts differ, the longer
 * field's next byte decides: 0 when it is a terminator, else 1 for a longer a and -1 for a longer
 * b. THAT BYTE COUNTS also when both texts ended before it, so it must be there to be read. A count
 * below 0 counts as 0.
 */
MOLTE_API int32_t MOLTE_STR_strncmp(const char* a, int32_t nA, const char* b, int32_t nB);

/* 1 when s begins (ends) with the other text, which is always so when that is empty, else 0; 0 when
 * either is null. */
MOLTE_API int32_t MOLTE_STR_HeadIs(const char* s, const char* head);
MOLTE_API int32_t ox_strstartwith(const char* s, const char* head);
MOLTE_API int32_t ox_strendwith(const char* s, const char* tail);
/* The place just past head when s begins with it, else null. */
MOLTE_API char* ox_striphead(const char* s, const char* head);

/* 1 when all bytes are digits, also when there are none; 0 for null. */
MOLTE_API int32_t ox_isalldigit(const char* s);

/*
 * 1 when each of n bytes is a blank or not printable, and, for MB, none is a lead byte; else 0.
 * n below 1 gives 1, a null buf with n above 0 gives -1 with error 50.
 */
MOLTE_API int32_t MOLTE_STR_MBIsBlank(const char* buf, int32_t n);
MOLTE_API int32_t MOLTE_STR_SBIsBlank(const char* buf, int32_t n);

/*
 * Kept names. They were to take len bytes from pos, but have nowhere to put them. Null s, pos below
 * 0 or at or past the end, or len below 0 or reaching past the end: 0 from ox_substr, -1 from
 * ox_part_atoi, which also gives -1 for len above 127. Within the text both give -1 with error 50.
 */
MOLTE_API int32_t ox_substr(const char* s, int32_t pos, int32_t len);
MOLTE_API int32_t ox_part_atoi(const char* s, int32_t pos, int32_t len);

#endif
