/*
 * Edits of a text in place: trimming, cutting, padding, replacing.
 *
 * Functions that take bytes work on bytes; those that take a set of characters walk by whole
 * characters of the process's code page, where a double-byte character's value is its lead byte
 * times 256 plus its trail byte. A lead byte that ends the text stands for itself. Blanks and the
 * case of letters are those of the code page, for each byte alone.
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_TEXT_EDIT_H
#define MOLTELIB_TEXT_EDIT_H

#include "moltelib/base.h"

/* Removes every leading (trailing) byte that equals ch. 1; 0 for a null s. */
MOLTE_API int32_t MOLTE_STR_LeftTrim(char* s, char ch);
MOLTE_API int32_t MOLTE_STR_RightTrim(char* s, char ch);

/* The first byte of s that is no blank, which may be its terminator; null for null. Nothing moves.
 */
MOLTE_API char* MOLTE_STR_LeftTrimSpace(const char* s);
/* Cuts trailing blanks off. 1; 0 for a null s. */
MOLTE_API int32_t MOLTE_STR_RightTrimSpace(char* s);

/* Removes the leading characters that occur in set; an empty set removes none. 1; 0 for a null. */
MOLTE_API int32_t MOLTE_STR_LeftStrTrim(char* s, const char* set);

/*
 * Removes the trailing characters that occur in set. 1; 0 for a null; -1 when memory for a set of
 * more than 128 bytes is lacking. Two surprises are meant:
 * - with only single-byte characters in set, bytes of s from 128 up are never removed;
 * - with a double-byte character in set, the byte at which the walk from the right stops is removed
 *   as well, though it wasn't matched. That walk goes byte by byte: at p above 0 it looks for the
 *   value made of the bytes p - 1 and p if p - 1 holds a lead byte, else of the byte p - 1 alone,
 *   and stops where set lacks it, or at p 0. The text then ends at p.
 */
MOLTE_API int32_t MOLTE_STR_RightStrTrim(char* s, const char* set);

/*
 * Removes the first n bytes of s, a text of len bytes; len below 0 means that s is measured. With n
 * at or above the length the text becomes empty; n 0 leaves it as it is. 1; -1 with error 50 for a
 * null s or n below 0.
 */
MOLTE_API int32_t MOLTE_STR_LeftTrunc(char* s, int32_t n, int32_t len);

/*
 * Pads s on the right with ch up to width bytes and ends it there: a longer text is cut. s must
 * have room for width + 1 bytes. 1; -1 with error 50 for a null s or width below 0.
 */
MOLTE_API int32_t MOLTE_STR_Padding(char* s, int32_t width, char ch);

/* Replaces each byte from by to; the number replaced, 0 for a null s. */
MOLTE_API int32_t ox_str_replace(char* s, char from, char to);

/*
 * Writes src to dst, room for dstSize bytes, with each occurrence of from, whatever its case,
 * replaced by to. The number of replacements. -1
 * - with error 124 "buffer not enough" when at an occurrence the room left in dst is not above the
 *   length of from (be generous: what the copy needs is not asked), or doesn't hold the copy;
 * - without an error when the rest behind the last occurrence doesn't fit with its terminator;
 * - with error 50 for a null pointer.
 * After -1 dst holds no usable text. src and dst must not overlap.
 */
MOLTE_API int32_t MOLTE_STR_ReplaceSubStr(const char* src, const char* from, const char* to,
                                          char* dst, int32_t dstSize);

#endif
