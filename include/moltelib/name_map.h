/*
 * Tables of names with their numbers. The tables are the caller's; a row without a name is skipped
 * where names are looked for.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_NAME_MAP_H
#define MOLTELIB_NAME_MAP_H

#include "moltelib/base.h"

typedef struct MOLTE_NAMEMAP {
    const char* pszName;
    int32_t nValue;
} MOLTE_NAMEMAP;

typedef struct MOLTE_NAMEMAPHEAD {
    const char* pszTitle;
    const MOLTE_NAMEMAP* pRows;
    int32_t nRowCount;
} MOLTE_NAMEMAPHEAD;

/*
 * The number of the first row of exactly that name. -1, WHICH MAY BE A NUMBER as well, with error
 * 120 and the name as data when there is none, with error 50 for a null name or null rows with
 * nCount above 0.
 */
MOLTE_API int32_t MOLTE_NAMEMAP_Name2Val(const MOLTE_NAMEMAP* pRows, int32_t nCount,
                                         const char* pszName);

/*
 * The name of the first row of that number; it is the table's. Null with error 120 ("value not
 * exist %d") when there is none, with error 50 for null rows with nCount above 0.
 */
MOLTE_API const char* MOLTE_NAMEMAP_Val2Name(const MOLTE_NAMEMAP* pRows, int32_t nCount,
                                             int32_t nValue);

/*
 * Prints a table to standard output: the title on a line and "name=%32s  val=%d" on one for each
 * row. 1; -1 with error 50 for null, or null rows with nRowCount above 0.
 */
MOLTE_API int32_t MOLTE_NAMEMAPHEAD_Print(const MOLTE_NAMEMAPHEAD* pHead);

/* "CHS" for 0, "En" for 1; else null, without an error. Not the identifiers of language.h. */
MOLTE_API const char* MOLTE_OX_LANGID_Name(int32_t nId);

#endif
