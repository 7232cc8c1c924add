/*
 * Languages and collations: the language that a program works in, the collation that a Latin or a
 * multi-byte text column is sorted by, and the names of both.
 *
 * What the library does by them: the default language sets the code page (OXLANG_SetLocale), and
 * with 2052 Chinese is understood (moltelib/pinyin.h, moltelib/collation.h); the language of
 * messages decides with that of the user's system on the form of dates (moltelib/date_time.h). The
 * languages of times and dates and the two collations are kept for programs. The TEXTS of errors
 * and products are loaded at bring-up and don't follow any of these (moltelib/error.h).
 *
 * A language is the platform's locale number; a collation has a number of the system's own:
 *
 *     languages                      collations
 *     0     "Lang_Default"           0 "Lat_Default"    50 "MB_Default"
 *     2052  "Lang_Chs"               1 "Lat_Bin"        51 "MB_Bin"
 *     1033  "Lang_English"           2 "Lat_Ci"         52 "MB_Py"
 *     10    "Lang_Spanish"           3 "Lat_Cs"         53 "MB_VarPy"
 *
 * A collation text names one or two collations joined by an underscore, as "MB_Py_Lat_Ci".
 *
 * The first bring-up sets all this by the parameter DEF_LANG_ID; tear-down and later bring-ups
 * leave it. EVERY bring-up ends by setting the locale for the texts that it loads: by DEF_LANG_ID
 * as well, but where that is absent or 0 by the language of the user, while the default language is
 * 2052 or 0 then. Nothing locks: programs change the language before they start threads.
 *
 * Failures are reported under module "oxlang".
 */
#ifndef MOLTELIB_LANGUAGE_H
#define MOLTELIB_LANGUAGE_H

#include "moltelib/base.h"

#define OXLANG_CHINESE 2052
#define OXLANG_ENGLISH 1033
#define OXLANG_SPANISH 10

#define OXLANG_COLLATION_COUNT 8
#define OXLANG_LANGUAGE_COUNT 4

/* The collations. */
enum {
    OXLANG_COLLATE_LAT_DEFAULT = 0,
    OXLANG_COLLATE_LAT_BIN = 1,
    OXLANG_COLLATE_LAT_CI = 2,
    OXLANG_COLLATE_LAT_CS = 3,
    OXLANG_COLLATE_MB_DEFAULT = 50,
    OXLANG_COLLATE_MB_BIN = 51,
    OXLANG_COLLATE_MB_PY = 52,
    OXLANG_COLLATE_MB_VARPY = 53
};

/* One row of a name table. */
typedef struct OXLANG_NAMEROW {
    const char* pszName; /* constant text */
    int32_t nId;
} OXLANG_NAMEROW;

typedef struct OXLANG_LANGTABLE {
    int32_t nCount; /* 4 when filled */
    OXLANG_NAMEROW astRow[OXLANG_LANGUAGE_COUNT];
} OXLANG_LANGTABLE;

/* The language state; all zero at load. */
typedef struct OXLANG_VAR {
    int32_t nDefLID;    /* default language */
    int32_t nMsgLID;    /* language of messages */
    int32_t nTimeLID;   /* language of times */
    int32_t nDateLID;   /* language of dates */
    int32_t nLatCollID; /* Latin collation */
    int32_t nMBCollID;  /* multi-byte collation */
    OXLANG_NAMEROW astCollName[OXLANG_COLLATION_COUNT];
    OXLANG_LANGTABLE stLangName;
    int32_t bInited; /* set at the end of OXLANG_Init */
} OXLANG_VAR;

#if defined(__cplusplus)
static_assert(sizeof(OXLANG_NAMEROW) == 16);
static_assert(sizeof(OXLANG_LANGTABLE) == 72);
static_assert(sizeof(OXLANG_VAR) == 232);
#endif

/* The state of the process; to be read. */
MOLTE_API OXLANG_VAR g_stLangVar;

/*
 * Sets the state up: needs a main path, which a program may have given as an empty one, fills the
 * tables, sets the collations to 0 and 50 and the language by OXLANG_SetDefLang. 0 when it is done
 * already; -1 with error 1000 or that of the registry (no main path), or 134.
 */
MOLTE_API int32_t OXLANG_Init(void);

/* ---- The language in use ---- */

/* What OXLANG_LID_Get and OXLANG_LID_Set are about. */
#define OXLANG_KIND_DEFAULT 0
#define OXLANG_KIND_MESSAGE 1
#define OXLANG_KIND_TIME 2
#define OXLANG_KIND_DATE 3
#define OXLANG_KIND_LATIN_COLLATION 4
#define OXLANG_KIND_MULTIBYTE_COLLATION 5

/* The id of that kind; any other kind gives the default language. */
MOLTE_API int32_t OXLANG_LID_Get(int32_t nKind);

/*
 * For kinds 1 to 5 sets that id and gives THE OLD ONE; the locale stays. Any other kind sets all
 * four languages and the locale: 1, or -1 with error 134, the languages then being set all the
 * same. No id is refused.
 */
MOLTE_API int32_t OXLANG_LID_Set(int32_t nKind, int32_t nId);

/*
 * Sets the four languages and the locale by DEF_LANG_ID of the parameter file, 0 where that is
 * absent or negative; and the collations to 0 and 50. 1, or -1 with error 134.
 */
MOLTE_API int32_t OXLANG_LID_Init(void);

/*
 * The same without the collations, with 2052 (Chinese) where DEF_LANG_ID is absent; a negative one
 * is taken as it stands.
 */
MOLTE_API int32_t OXLANG_SetDefLang(void);

/*
 * Sets the locale, and with it the code page, of the whole process: "chs" for 2052, "esp" for every
 * Spanish id (its low 10 bits are 10), "us" for any other. 1; -1 with error 134 ("set locale error.
 * %s") where the system lacks that locale.
 */
MOLTE_API int32_t OXLANG_SetLocale(int32_t nId);

/* The default language and that of messages. */
MOLTE_API int32_t OXLANG_GetLID(void);
MOLTE_API int32_t OXLANG_GetMsgLID(void);

/* 2052 where the user's language is that, else 1033. */
MOLTE_API int32_t OLANG_GetOsUILangID(void);

/* The default language after OXLANG_Init, or that of the user's system when that fails. */
MOLTE_API int32_t OXLANG_GetRVEXLangID(void);

/* The state and its two tables, never null; not to be freed. */
MOLTE_API OXLANG_VAR* OXLANG_GetLocale(void);
MOLTE_API OXLANG_NAMEROW* OXLANG_GetCollName(void);
MOLTE_API OXLANG_LANGTABLE* OXLANG_GetLangName(void);

/* ---- Names of languages ---- */

/* Fills a caller's table; 1, or -1 with error 50 for null. */
MOLTE_API int32_t OXLANG_LANG_Init(OXLANG_LANGTABLE* pTable);

/* 1 for 0, 2052 and 1033 ONLY: Spanish isn't valid here, though it has a name. Else 0. */
MOLTE_API int32_t OXLANG_UTIL_IsValidLID(int32_t nId);

/* 2052 for null, for a name not found, and before OXLANG_Init. */
MOLTE_API int32_t OXLANG_LANGStr2LID(const char* pszName);

/* Never null: an unknown id, or any before OXLANG_Init, gives the name of 2052. */
MOLTE_API const char* OXLANG_LANGLID2Str(int32_t nId);

/* ---- Names of collations ---- */

/* Fills a caller's table of 8 rows; 1, or -1 with error 50 for null. */
MOLTE_API int32_t OXLANG_COLLATE_InitName(OXLANG_NAMEROW* pTable);

/* 1 for 0 to 3, and for 50 to 53; else 0. */
MOLTE_API int32_t OXLANG_COLLATE_IsValidLatID(int32_t nId);
MOLTE_API int32_t OXLANG_COLLATE_IsValidMBID(int32_t nId);

/*
 * The id of a collation, or -1 (also for null). *pbLatin, which may be null, becomes 1 for an id
 * below 4, else 0.
 */
MOLTE_API int32_t OXLANG_COLLATE_Name2ID(const char* pszName, int32_t* pbLatin);

/* The name, also copied to pszBuf (16 bytes) unless that is null; null for an unknown id. */
MOLTE_API const char* OXLANG_COLLATE_ID2Name(int32_t nId, char* pszBuf);

/*
 * Writes a collation text of at most 23 characters. The Latin part is the name of nLat, 0 to 3. The
 * part before it is the name of nSecond, but NEVER that of a multi-byte collation: an nSecond of 50
 * to 53 adds nothing, so that 2 and 52 give "Lat_Ci". With neither part -1 with error 250 ("at
 * least one coll id is valid. lat=%d mb=%d"). A null pszBuf: error 50.
 */
MOLTE_API int32_t OXLANG_COLLATE_ID2Str(int32_t nLat, int32_t nSecond, char* pszBuf);

/*
 * Reads a collation text; what it doesn't name becomes Lat_Bin (1) and MB_Bin (51), also when it
 * fails. -1 with error 251 (the text and " : bad collate type") for anything else than one or two
 * names; error 50 for a null argument.
 */
MOLTE_API int32_t OXLANG_COLLATE_Str2ID(const char* pszText, int32_t* pnLat, int32_t* pnMB);

#endif
