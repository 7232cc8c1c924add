/*
 * Texts into lists of texts.
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_TEXT_SPLIT_H
#define MOLTELIB_TEXT_SPLIT_H

#include "moltelib/base.h"

/*
 * Splits a command line into its arguments, whose number goes to *pnArgc. Null, with *pnArgc as it
 * was, when there is none, no memory, or with error 50 when an argument is null.
 *
 * - A blank (byte 32) outside quotes separates; a tab is an ordinary byte.
 * - A double quote begins or ends a quoted stretch and is dropped. A quote that is never closed
 *   reaches to the end of the line. An empty quoted pair alone makes no argument.
 * - Backslashes before a double quote count by pairs: each pair is one backslash, and one left over
 *   makes the quote an ordinary byte. Other backslashes are ordinary bytes.
 *
 * All arguments lie in one block, at the start of which the first stands: release the first pointer
 * with ORVEX_free, then the array.
 */
MOLTE_API char** OXSTR_CmdStr2Arg(const char* cmdLine, int32_t* pnArgc);

/*
 * Splits text at each delim; the number of items goes to *pnCount, 0 when there is none. Two
 * delimiters in a row, and one at the start, make an empty item, one at the end makes none. Behind
 * a delimiter the search goes on one byte after its start, so the further bytes of a longer one
 * begin the next item: "1ab2" at "ab" gives "1" and "b2".
 *
 * The caller releases each item with ORVEX_free, then the array. Null without an item: for a null
 * or empty text, without memory, or with error 50 when another argument is null. When memory runs
 * out later, the array comes back with its count and null items: be ready for them.
 */
MOLTE_API char** ox_strsplit(const char* text, const char* delim, int32_t* pnCount);

#endif
