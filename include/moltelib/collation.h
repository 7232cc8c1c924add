/*
 * Collation: comparing characters and texts with case or without it, by code or by pinyin.
 *
 * A character is its byte, or lead byte * 256 + trail byte in the process's code page. A lead byte
 * that ends its text stands for itself, as a single byte. Pinyin is that of g_stPinYin
 * (moltelib/pinyin.h), which a program builds first: while it is not built no character has a
 * reading, and characters without one compare by code.
 *
 * Comparisons give a number below 0, 0 for equal, or above 0. A null text is the empty one where
 * nothing else is said. Nothing here keeps a state or takes a lock; case depends on
 * the process's locale (OXLANG_SetLocale).
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_COLLATION_H
#define MOLTELIB_COLLATION_H

#include "moltelib/base.h"

typedef int32_t (*OCOLL_CHARCMP)(int32_t a, int32_t b);
typedef int32_t (*OCOLL_STRCMP)(const char* a, const char* b);
typedef int32_t (*OCOLL_WILDMATCH)(const char* pszText, const char* pszPattern);

/* ---- Characters ---- */

/* The difference of the two in upper case. Only single bytes have a case. */
MOLTE_API int32_t OCOLL_SB_CharCiCmp(int32_t a, int32_t b);

/* The difference a - b. The names are one function. */
MOLTE_API int32_t OCOLL_DB_CharBinCmp(int32_t a, int32_t b);
MOLTE_API int32_t OCOLL_SB_CharBinCmp(int32_t a, int32_t b);

/* By reading: MOLTE_HZPY_Cmp with mode 0, so characters that share any reading are equal. */
MOLTE_API int32_t OCOLL_DB_CharPyCmp(int32_t a, int32_t b);

/* By reading as text: mode MOLTE_HZPY_VARIANT_A, or _B when bVarA is 0. */
MOLTE_API int32_t OCOLL_DB_CharVarPyCmp(int32_t a, int32_t b, int32_t bVarA);
MOLTE_API int32_t OCOLL_DB_CharAVarPyCmp(int32_t a, int32_t b);
MOLTE_API int32_t OCOLL_DB_CharBVarPyCmp(int32_t a, int32_t b);

/*
 * Compares two characters of 1 or 2 bytes: by the routine for their width, and a single-byte one is
 * below (-1) any double-byte one.
 */
MOLTE_API int32_t OCOLL_MB_CharCmp(int32_t a, int32_t nLenA, int32_t b, int32_t nLenB,
                                   OCOLL_CHARCMP sbCmp, OCOLL_CHARCMP dbCmp);

/* ---- Texts ---- */

/* Compares as unsigned bytes: -1, 0 or 1. The order of keys. The names are one function. */
MOLTE_API int32_t MOLTE_CompKey(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrBinCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_SB_StrBinCmp(const char* a, const char* b);

/* MOLTE_STR_stricmp (moltelib/text.h) by another name; what that says of null holds here. */
MOLTE_API int32_t OCOLL_SB_StrCiCmp(const char* a, const char* b);

/*
 * Compares the FIRST characters of two texts, and nothing behind them: -1 or 1 when one text is
 * empty (0 when both are), or when one character is double-byte, which is above any single byte;
 * else the result of the routine for their width. When that is 0 the characters are looked at
 * again, for ever: TEXTS WHOSE FIRST CHARACTERS ARE EQUAL DON'T RETURN, unless the routine comes to
 * another result or another thread changes a text. Whoever orders whole texts takes MOLTE_CompKey
 * or OCOLL_SB_StrCiCmp.
 */
MOLTE_API int32_t UTIL_MB_StrCmp(const char* a, const char* b, OCOLL_CHARCMP sbCmp,
                                 OCOLL_CHARCMP dbCmp);

/*
 * The same walk, which doesn't return either, with fixed routines. Ci compares single bytes without
 * case, Cs by code; Py is by reading, AVarPy and BVarPy by reading as text.
 */
MOLTE_API int32_t OCOLL_MB_StrPyCiCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrAVarPyCiCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrBVarPyCiCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrPyCsCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrAVarPyCsCmp(const char* a, const char* b);
MOLTE_API int32_t OCOLL_MB_StrBVarPyCsCmp(const char* a, const char* b);

/* ---- Choice by collation identifiers (moltelib/language.h) ---- */

/*
 * For single bytes: OCOLL_DB_CharBinCmp for "Lat_Cs" (3), OCOLL_SB_CharCiCmp for any other, ALSO
 * for "Lat_Bin" (1).
 */
MOLTE_API OCOLL_CHARCMP ORVEX_UTIL_GetLatCmpRoutine(int32_t nLatId);

/* For double-byte characters: always OCOLL_DB_CharBinCmp. */
MOLTE_API OCOLL_CHARCMP ORVEX_UTIL_GetMBCmpRoutine(void);

/*
 * The routine of moltelib/wild_match.h for the two identifiers. Its single bytes are compared with
 * case for "Lat_Cs" (3), else without. Only while the default language (OXLANG_LID_Get(0)) is 2052
 * it knows double-byte characters, and compares them by reading for "MB_Py" (52), by reading as
 * text for "MB_VarPy" (53), else by code.
 */
MOLTE_API OCOLL_WILDMATCH ORVEX_UTIL_GetWildMatchRoutine(int32_t nLatId, int32_t nMbId);

#endif
