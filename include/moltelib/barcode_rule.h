/*
 * Bar-code rules: they turn the text of a scanned bar code into the form in which a system stores
 * it as a card number. A rule is chosen by the text, its operations are applied one after the
 * other, and the result is brought to the wanted length.
 *
 *     CONVBAR_RULES rules;
 *     rules.nCount = ORVEX_CONVBAR_GetAllRule(&rules.pRule);
 *     ORVEX_CONVBAR_SimpConv("00123", card, 13, &rules);   card holds 14 bytes
 *     ORVEX_free(rules.pRule);
 *
 * The choice. Rules are tried in their order. One with an nPatternLen above 0 fits if its pattern
 * is a wild one that matches the whole text (ORVEX_WildMatch), or else if its first nPatternLen
 * bytes are those of the text. If none fits it is the first with an nPatternLen of 0, a default
 * rule; if there is none, no operation is applied. One that is switched off is never chosen, NOT
 * EVEN AS A DEFAULT.
 *
 * The operations, of which a rule has at most 50. Positions are counted from 1; an operation with
 * one outside the text is passed over, as is one of an unknown kind. Position 0 is in no text.
 *   delete  removes a character; with CONVBAR_OP_REPEAT again while the text is too long
 *   swap    exchanges two characters
 *   move    removes a character and inserts it again at the second position
 *   insert  inserts a character, at most behind the last one. WHERE THE TEXT ALREADY HAS THE
 *           WANTED LENGTH, INSTEAD, NO FURTHER OPERATION IS APPLIED, also for position 0. With
 *           CONVBAR_OP_REPEAT again until it has that length, and the conversion ends
 *
 * The length. "0" is put in front of a text that is too short; of one that is too long the FIRST
 * characters go.
 *
 * Nothing here keeps a state: rules that are only read are shared by any threads.
 *
 * Failures are reported under module "oconvbar".
 */
#ifndef MOLTELIB_BARCODE_RULE_H
#define MOLTELIB_BARCODE_RULE_H

#include "moltelib/base.h"
#include "moltelib/format/barcode_rule_record.h"

typedef struct CONVBAR_RULES {
    int32_t nCount;
    CONVBAR_RULE* pRule;
} CONVBAR_RULES;

/* ---- Converting ---- */

/*
 * Converts a terminated text whose length is nInputLen, and writes nOutputLen characters and a
 * terminator to pszOutput, which holds nOutputLen + 1 bytes and must not overlap the input. AN
 * EMPTY TEXT GIVES AN EMPTY ONE, and not zeros. ALWAYS 0: what can't be applied is passed over.
 * Null or nRuleCount below 1 is no rule, a null input an empty one; an nOutputLen below 0 writes
 * nothing, as null does. Of a text only the first 1,024 characters count, and it grows to no more
 * by inserting; the output may be longer. Allocates nothing.
 */
MOLTE_API int32_t ORVEX_CONVBAR_Conv(const char* pszInput, int32_t nInputLen, char* pszOutput,
                                     int32_t nOutputLen, const CONVBAR_RULE* pRules,
                                     int32_t nRuleCount);

/* The same of a whole text, by a set of rules that may be null. */
MOLTE_API int32_t ORVEX_CONVBAR_SimpConv(const char* pszInput, char* pszOutput, int32_t nOutputLen,
                                         const CONVBAR_RULES* pRules);

/*
 * Insert and remove a character; the position counts FROM 0 here, and to the length in the first,
 * the length less 1 in the second. 1, and *pnLen is the new length; 0 with nothing done for any
 * other position and for null. It is the length that counts: no terminator is looked at, or written
 * behind a text that grew, which has room for one more; a text that shrank ends with a 0 byte.
 */
MOLTE_API int32_t CONVBAR_UTIL_StrAddAt(char* pszText, int32_t* pnLen, int32_t nPos, char chAdd);
MOLTE_API int32_t CONVBAR_UTIL_StrDelAt(char* pszText, int32_t* pnLen, int32_t nPos);

/* ---- The file of rules ----
 *
 * A failure is -1 with a line of each function that passes it on: 1 the file isn't opened, 3 not
 * read whole, 4 not written whole, 301 it is no file of rules; the data of 1 and 301 are its name;
 * 50 a null name or list, or a negative count; 20 of "oxsysutl", no memory. Without a main path it
 * is the error of UTIL_GetMainPath.
 */

/* Writes the file's name, "convbar.cnv" in the CONF folder; 256 bytes hold it. 1 or -1. */
MOLTE_API int32_t ORVEX_CONVBAR_PathFileName(char* pszDst);

/*
 * Writes rules to a file; 1. It is written in place: THE OLD RULES ARE GONE WHEN IT IS OPENED, and
 * a failure from then on leaves a part of the new ones, which are refused when they are loaded.
 * "The owner reads and writes" is added to the mode of a file that is there.
 */
MOLTE_API int32_t ORVEX_CONVBAR_SaveAllRuleByFN(const char* pszName, const CONVBAR_RULE* pRules,
                                                int32_t nCount);

/* The same to the file of the installation. */
MOLTE_API int32_t ORVEX_CONVBAR_SaveAllRule(const CONVBAR_RULE* pRules, int32_t nCount);

/*
 * Loads the rules of a file: how many. The caller releases *ppRules with ORVEX_free; it is null for
 * no rules and on failure. A count that the file is too short for is error 3, and what stands
 * behind the rules is not looked at. The file is opened as by ORVEX_FileOpenByChmod.
 */
MOLTE_API int32_t ORVEX_CONVBAR_GetAllRuleByFN(const char* pszName, CONVBAR_RULE** ppRules);

/* The same of the file of the installation. */
MOLTE_API int32_t ORVEX_CONVBAR_GetAllRule(CONVBAR_RULE** ppRules);

#endif
