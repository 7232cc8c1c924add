/*
 * Names of persons to pinyin. A name may mix Chinese characters, Latin letters and other bytes. It
 * is split into parts, and from the parts come a text of all its readings and a wildcard pattern:
 *
 *     name                            readings                 pattern
 *     ZHANG/CHANG SAN in Chinese      " ZHANG CHANG  SAN "     "*"
 *     a character and "ab"            " WANG  ab "             "* AB *"
 *     "A1B"                           " A  B "                 "* A * B *"
 *
 * The readings are those of moltelib/pinyin.h. With an empty table Chinese characters have none,
 * which is no failure; a table that isn't built is error 933.
 *
 * Names must be well formed: a lead byte that ends the name counts as a character whose second byte
 * is 0. What has no room in an output is cut, the terminator always being there. No state; any
 * thread. -1 leaves error 20, that of MOLTE_HZPY_HzCode2Py, or 50 for a bad argument.
 *
 * Failures are reported under module "oxpinyin".
 */
#ifndef MOLTELIB_NAME_PINYIN_H
#define MOLTELIB_NAME_PINYIN_H

#include "moltelib/array.h"
#include "moltelib/base.h"

#define MOLTE_NAMEPART_CHINESE 0
#define MOLTE_NAMEPART_LETTERS 1 /* a run of letters of the code page */
#define MOLTE_NAMEPART_OTHER 2   /* a run of other single bytes: digits, blanks */

typedef struct MOLTE_NAMEPART {
    int32_t nValue; /* the code of a Chinese character; the length of a run in bytes */
    int32_t nType;  /* MOLTE_NAMEPART_CHINESE, ... */
    char* pszText;  /* the run, on the heap; null for a Chinese character */
} MOLTE_NAMEPART;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_NAMEPART) == 16);
#endif

/*
 * Splits a name; *ppParts becomes an array for the caller, who frees it by
 * MOLTE_NAMEPART_MultiFree and ORVEX_free. The number of parts; 0 with *ppParts null for a null or
 * an empty name; -1 with *ppParts null.
 */
MOLTE_API int32_t MOLTE_Name2Part(const char* pszName, MOLTE_NAMEPART** ppParts);

/* Frees the text and clears it and nValue, nType staying; 1. */
MOLTE_API int32_t MOLTE_NAMEPART_Free(MOLTE_NAMEPART* pPart);

/* Frees the texts of n parts and clears all their fields; the array stays. 1. */
MOLTE_API int32_t MOLTE_NAMEPART_MultiFree(MOLTE_NAMEPART* pParts, int32_t n);

/*
 * Appends to an array of MOLTE_NAMEPART a copy of pPart that owns a copy of the nValue bytes at its
 * pszText, with a terminator. nValue and pszText of pPart are cleared then: the text it pointed to
 * stays its owner's. 1, or -1 with both as they were; an array of items of another size is
 * error 50.
 */
MOLTE_API int32_t UTIL_AppendStringPart(PA* pArray, MOLTE_NAMEPART* pPart);

/*
 * Writes all readings of the parts, in order: for a Chinese character a blank before each reading
 * and one behind the last; a run of letters, in its case, between two blanks; nothing else. Two
 * blanks thus stand between neighbours. 1 or -1.
 */
MOLTE_API int32_t MOLTE_NAMEPART2PinYin(const MOLTE_NAMEPART* pParts, int32_t n, char* pszOut,
                                        int32_t nOutSize);

/* The same for a name: 1, or 0 with an empty pszOut for a null or an empty one, or -1. */
MOLTE_API int32_t MOLTE_Name2Pinyin(const char* pszName, char* pszOut, int32_t nOutSize);

/*
 * Writes the pattern that covers all but the letters: "*", a blank, the run in upper case and a
 * blank for each run of letters, and a last "*". 1; 0 for a null or an empty name, pszOut then
 * staying AS IT IS; -1.
 */
MOLTE_API int32_t MOLTE_Name2Wild(const char* pszName, char* pszOut, int32_t nOutSize);

#endif
