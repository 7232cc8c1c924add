/*
 * Wild matching: whole texts against patterns as they stand.
 *
 *   *        any run of characters, also none
 *   .        zero or one character
 *   ?        one character
 *   [...]    one character of a class: characters and ranges low-high. "[^...]" is one character
 *            that is not in it. The first "]" ends the class, so "]" can't stand inside
 *   \ and c  one character that is NOT c: the escape is inverted, unlike that of the compiled
 *            templates (moltelib/wild_template.h). To find a "*" itself, write "[*]"
 *   other    that character, by the comparison routine
 *
 * An empty pattern matches every text. A class without "]", empty, or "[^]" matches nothing, nor
 * does a "\" at the end of the pattern. In a class an element with "-" behind it is a range, and
 * where nothing stands behind the "-" the character that comes to it doesn't match; the elements
 * are tried from the left, so it may match before. A range is the characters not below its low and
 * not above its high end by the comparison routine; "[c-a]" is empty.
 *
 * In double-byte text (the functions with MB in their names) characters are whole, and
 *   - a double-byte character in a pattern matches double-byte characters only, single single;
 *   - a "." at the end of the pattern matches nothing or a SINGLE byte, but no double-byte one;
 *   - "\" takes a single byte from the pattern and from the text, else there is no match;
 *   - a class holds single bytes and matches single bytes. A double-byte character in the text
 *     matches no class, negated or not, and none matches that comes to one in the class.
 *
 * Compared by pinyin, a Chinese character of the pattern matches each that shares a reading with it
 * (MOLTE_HZPY_Cmp; the table must be built).
 *
 * All give 1 for a match, else 0, also for a null text or pattern. Any thread may call them. Time
 * is at most that of text length times pattern length times the number of "." between two "*". Up
 * to 63 "." in the pattern take no memory but the stack; with more a text as long takes some from
 * the heap, and doesn't match when there is none.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_WILD_MATCH_H
#define MOLTELIB_WILD_MATCH_H

#include "moltelib/collation.h"

/*
 * With any routines, which get the character of the text first. Their results must depend on their
 * arguments alone. They are asked from left to right, a "*" taking nothing first, then one
 * character more each time, and a "." nothing first; no more often than can change the result. In a
 * pattern of more than 12 "*" and "." the order is left open. With fewer, each "." may double the
 * time told above.
 */
MOLTE_API int32_t OCOLL_SB_WildMatch(const char* pszText, const char* pszPattern,
                                     OCOLL_CHARCMP cmp);
MOLTE_API int32_t OCOLL_MB_WildMatch(const char* pszText, const char* pszPattern,
                                     OCOLL_CHARCMP sbCmp, OCOLL_CHARCMP dbCmp);

/* Bytes by code; without case. */
MOLTE_API int32_t ORVEX_WildMatch(const char* pszText, const char* pszPattern);
MOLTE_API int32_t ORVEX_Ci_WildMatch(const char* pszText, const char* pszPattern);

/* Double-byte text by code; by reading; by reading as text (OCOLL_DB_CharBVarPyCmp). */
MOLTE_API int32_t ORVEX_MB_WildMatch(const char* pszText, const char* pszPattern);
MOLTE_API int32_t ORVEX_MB_WildPyMatch(const char* pszText, const char* pszPattern);
MOLTE_API int32_t ORVEX_MB_WildVarPyMatch(const char* pszText, const char* pszPattern);

/* The same, single bytes without case. */
MOLTE_API int32_t ORVEX_MB_Ci_WildMatch(const char* pszText, const char* pszPattern);
MOLTE_API int32_t ORVEX_MB_Ci_WildPyMatch(const char* pszText, const char* pszPattern);
MOLTE_API int32_t ORVEX_MB_Ci_WildVarPyMatch(const char* pszText, const char* pszPattern);

/* Shortens each run of "*" to one, in place: 1; 0 for a null or empty pattern. */
MOLTE_API int32_t ORVEX_NormalizeTempl(char* pszPattern);

#endif
