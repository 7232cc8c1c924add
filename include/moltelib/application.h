/*
 * What the running program is: its path and command line, the product and company it presents
 * itself as, and the names of the images that the system handles. Its version is in
 * moltelib/application_version.h.
 *
 * A product has a block of texts among the string resources, which start at 20401 for product 1,
 * 20201 for 2, 20301 for 3, 20101 for 5 and 20001 for any other; item 1 is the first of its block,
 * item 6 the text for titles.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_APPLICATION_H
#define MOLTELIB_APPLICATION_H

#include "moltelib/base.h"

/* Copies the raw command line, cut to nDstLen - 1 characters; 1, or -1 with error 50 for null, 3
 * with an empty text when the system doesn't tell it. */
MOLTE_API int32_t MOLTE_GetCommandLine(char* pszDst, int32_t nDstLen);

/* Writes the full path of the program's file, cut to nDstLen - 1 characters: 1, or -1. */
MOLTE_API int32_t MOLTE_Win_GetExeName(char* pszDst, int32_t nDstLen);

/*
 * Writes the program's name, cut to nDstLen - 1 characters: the first word of the command line if
 * that is in quotes, else the full path of its file. 1, 0 when there is no command line. A null
 * pszDst or an nDstLen below 1 is error 50, -1.
 */
MOLTE_API int32_t MOLTE_GetAppName(char* pszDst, int32_t nDstLen);

/*
 * Set the name (at most 255 characters) and the version text (at most 31) that stand in g_stBv. A
 * name set before bring-up stays, and the short name then remains empty. 1, or -1 with error 50
 * for null. Call them at start: they take no lock.
 */
MOLTE_API int32_t MOLTE_SetAppName(const char* pszName);
MOLTE_API int32_t MOLTE_SetAppVersion(const char* pszText);

/* ---- Product and company ---- */

/*
 * The text of a product's item, of the product that the parameter DEF_PRODUCT_ID names (0 when it
 * can't be read); never null, not to be freed. A missing text gives a built-in one. In the second a
 * product of 0 means the parameter.
 */
MOLTE_API const char* MOLTE_GetCorpInfo(int32_t nItem);
MOLTE_API const char* MOLTE_GetCorpInfoByProduct(int32_t nItem, int32_t nProduct);

/*
 * Replace all behind the first '-' of a title by a blank and the product's text for titles; the
 * title must have room. 1; 0, and the title stays, without such a text or without a '-'; -1 with
 * error 50 for null. The first takes the default block; in the second a product of 0 means that
 * block, NOT the parameter.
 */
MOLTE_API int32_t MOLTE_AdjustAppTitle(char* pszTitle);
MOLTE_API int32_t MOLTE_AdjustAppTitleByProduct(char* pszTitle, int32_t nProduct);

/*
 * The same on wide text, of which at most 255 characters are taken. They are written WITHOUT A
 * TERMINATOR over what stands there: of a longer title the end stays ("abc-xyz" with the text "T"
 * becomes "abc- Tz"). Where they reach its end they are terminated.
 */
MOLTE_API int32_t MOLTE_AdjustAppTitleW(wchar_t* pszTitle);
MOLTE_API int32_t MOLTE_AdjustAppTitleByProductW(wchar_t* pszTitle, int32_t nProduct);

/* ---- Images ---- */

/*
 * The printable name of an image, or null; not to be freed. Classes are 1 rolled fingers (10
 * items), 2 palms (7), 3 plain groups (4), 4 portraits (3), 8 plain fingers (10); items count from
 * 1, 0 is none. An item below 0 or above 10 counts as 1; of class 3 one above 4 as 1, of class 4
 * one above 3 as 3, of class 2 one above 7 gives null, as does another class.
 */
MOLTE_API const char* MOLTE_ImagePrtItemName(int32_t nClass, int32_t nItem);

#endif
