/*
 * Pinyin: how Chinese characters read.
 *
 * A character is its double-byte code in the process's code page, lead byte * 256 + trail byte. A
 * reading is a syllable in upper case without tone ("u" with two dots is written V), kept as two
 * indexes: of its initial (shengmu) and of its final (yunmu) in the lists of the table. A character
 * has up to seven readings, the most common one first.
 *
 * The process has one table, g_stPinYin. A program builds it by MOLTE_HZPY_Init after language and
 * main path are set; the library never does by itself. Afterwards it is only read, by any thread
 * and without a lock. What changes it (Init, Release, the fuzzy functions, tear-down) belongs to
 * start and end, where nobody reads.
 *
 * Its files lie in CONF\LANG\HZ of the main path:
 *
 *   PINYIN.TXT   A line per syllable: 1 to 15 ASCII letters of either case from the start of the
 *                line, then the characters that read so, in double-byte code. Any other line is
 *                skipped, and so are single bytes behind the letters. A line has up to 65534 bytes;
 *                of a longer one each 65535 bytes count as a line. A file of 1 GB and more is
 *                refused.
 *   HZFUZZY.DAT  The 32 bytes of MOLTE_HZPY_FUZZYOPT. Need not exist.
 *
 * Results are 1, 0 or -1 as told below. A null argument is error 50 where nothing else is said.
 *
 * Failures are reported under module "oxpinyin".
 */
#ifndef MOLTELIB_PINYIN_H
#define MOLTELIB_PINYIN_H

#include "moltelib/base.h"

#define MOLTE_HZPY_MAX_READINGS 7
#define MOLTE_HZPY_PATH_SIZE 262 /* room for each name of a file or folder here */
#define MOLTE_HZPY_TEXT_SIZE 16  /* room for each reading as text */

/* A part of syllables. The empty text is a valid shengmu. */
typedef struct MOLTE_HZPY_PHENTRY {
    char szText[6];      /* upper case */
    uint8_t bFuzzy;      /* 1: has a partner, which often is mistaken for it */
    uint8_t nFuzzyIndex; /* the partner's index in the same list */
} MOLTE_HZPY_PHENTRY;

/* A list of parts; at most 256, for an index is a byte. Grows by 16. */
typedef struct MOLTE_HZPY_PHTABLE {
    MOLTE_HZPY_PHENTRY* pEntries; /* heap */
    int32_t nCount;
    int32_t nCapacity;
} MOLTE_HZPY_PHTABLE;

/* Which parts have a partner, 0 for no: the bytes of HZFUZZY.DAT. */
typedef struct MOLTE_HZPY_FUZZYOPT {
    uint8_t abyReserved[4];
    uint8_t bZhZ; /* shengmu ZH has the partner Z, and so on */
    uint8_t bShS;
    uint8_t bChC;
    uint8_t bGK;
    uint8_t bHF;
    uint8_t bNL;
    uint8_t bAngAn; /* yunmu */
    uint8_t bEngEn;
    uint8_t bIngIn;
    uint8_t bIangIan;
    uint8_t bUangUan;
    uint8_t abyReserved2[17];
} MOLTE_HZPY_FUZZYOPT;

typedef struct MOLTE_HZPY_PYTABLE {
    MOLTE_HZPY_PHTABLE stShengmu;
    MOLTE_HZPY_PHTABLE stYunmu;
    MOLTE_HZPY_FUZZYOPT stOpt;
} MOLTE_HZPY_PYTABLE;

/* The readings of a character: pairs of shengmu index and yunmu index. */
typedef struct MOLTE_HZPY_ONEHZ {
    uint8_t abyPair[MOLTE_HZPY_MAX_READINGS][2];
    uint8_t nCount;
    uint8_t byReserved;
} MOLTE_HZPY_ONEHZ;

/* The readings of the characters from nFirstCode on, one entry for each code. */
typedef struct MOLTE_HZPY_HZTABLE {
    MOLTE_HZPY_ONEHZ* pEntries; /* heap */
    int32_t nCount;
    int32_t nCapacity;
    int32_t nFirstCode; /* the code of entry 0 */
} MOLTE_HZPY_HZTABLE;

typedef struct MOLTE_HZPY_TABLE {
    int32_t bInited; /* set by MOLTE_HZPY_Init */
    int32_t nReserved;
    MOLTE_HZPY_PYTABLE stPY;
    MOLTE_HZPY_HZTABLE stHZ;
} MOLTE_HZPY_TABLE;

/* The readings of a character as text, of which a slot holds at most 7 letters. */
typedef struct MOLTE_HZPY_ONEHZSTR {
    char aszPY[MOLTE_HZPY_MAX_READINGS][8];
    int32_t nCount;
    int32_t nSegIndex; /* MOLTE_HZPY_Str2Py: the piece that is this character */
} MOLTE_HZPY_ONEHZSTR;

/* A piece of a text. */
typedef struct MOLTE_HZPY_PYSEG {
    char* pszText; /* heap */
    int32_t nSize; /* bytes with the terminator */
} MOLTE_HZPY_PYSEG;

/* How characters compare. */
typedef struct MOLTE_HZPY_CMPOPT {
    uint8_t nMode;   /* 0, MOLTE_HZPY_VARIANT_A or _B; told at MOLTE_HZPY_UTIL_HzCmp */
    uint8_t bPinyin; /* 0: by code alone */
    uint8_t abyReserved[6];
} MOLTE_HZPY_CMPOPT;

#define MOLTE_HZPY_VARIANT_A 97
#define MOLTE_HZPY_VARIANT_B 98

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_HZPY_PHENTRY) == 8);
static_assert(offsetof(MOLTE_HZPY_PHENTRY, nFuzzyIndex) == 7);
static_assert(sizeof(MOLTE_HZPY_FUZZYOPT) == 32);
static_assert(offsetof(MOLTE_HZPY_FUZZYOPT, bUangUan) == 14);
static_assert(sizeof(MOLTE_HZPY_ONEHZ) == 16);
static_assert(offsetof(MOLTE_HZPY_ONEHZ, nCount) == 14);
static_assert(sizeof(MOLTE_HZPY_ONEHZSTR) == 64);
#endif

/* The process's table. A program that fills it by itself releases it first. */
MOLTE_API MOLTE_HZPY_TABLE g_stPinYin;

/* ---- Life ---- */

/*
 * Builds g_stPinYin, which pTable must be: else error 931. 1; 0 when it is built already; -1 with
 * the error of MOLTE_HZPY_BuildPY, the table then being empty. Under any other language than 2052
 * the table stays EMPTY and that is success: no character has a reading. A success may leave error
 * 930 behind, see MOLTE_HZPY_UTIL_GetPyIndex; or that of MOLTE_HZPY_LoadOpt, and no options then.
 */
MOLTE_API int32_t MOLTE_HZPY_Init(MOLTE_HZPY_TABLE* pTable);

/*
 * Frees and zeroes the lists and the characters; 1. bInited STAYS as it is, also when tear-down
 * (ORVEX_BASE_ReleaseVar) frees the table: clear it to build the table again.
 */
MOLTE_API int32_t MOLTE_HZPY_Release(MOLTE_HZPY_TABLE* pTable);

/*
 * Loads PINYIN.TXT into a table, whose characters it makes unless MOLTE_HZPY_InitHZTable has, and
 * cuts off the codes before the first one with a reading. 1; -1 with error 1 (errno and the path),
 * 3 or 20, with 1000 for no main path, and with that of MOLTE_HZPY_AddPy.
 */
MOLTE_API int32_t MOLTE_HZPY_BuildPY(MOLTE_HZPY_TABLE* pTable);

/* Zeroes; frees and zeroes. 1. */
MOLTE_API int32_t MOLTE_HZPY_InitPYTable(MOLTE_HZPY_PYTABLE* pPY);
MOLTE_API int32_t MOLTE_HZPY_FreePYTable(MOLTE_HZPY_PYTABLE* pPY);
MOLTE_API int32_t MOLTE_HZPY_FreePHTable(MOLTE_HZPY_PHTABLE* pPH);
MOLTE_API int32_t MOLTE_HZPY_FreeHZTable(MOLTE_HZPY_HZTABLE* pHZ);

/* Makes 65536 entries without readings, from code 0; what it held is not freed. 1, or -1 (20). */
MOLTE_API int32_t MOLTE_HZPY_InitHZTable(MOLTE_HZPY_HZTABLE* pHZ);

/* ---- Parts and readings ---- */

/* The index of exactly that text, or -1 with error 930 ("py=%s max=%d": text, count). */
MOLTE_API int32_t MOLTE_HZPY_UTIL_GetPyIndex(const MOLTE_HZPY_PHTABLE* pPH, const char* pszText);

/*
 * The index of the text, which is appended if it is new; error 930 then STAYS BEHIND, as
 * MOLTE_HZPY_UTIL_GetPyIndex reports it. Of a text only the first 5 bytes are kept. -1 with error
 * 20, or 50 for a 257th part.
 */
MOLTE_API int32_t MOLTE_HZPY_UTIL_AddPy(MOLTE_HZPY_PHTABLE* pPH, const char* pszText);

/*
 * Upper-cases the syllable IN PLACE, splits it, adds what is new to the lists and writes the two
 * indexes. A syllable with A, E or O in front is all yunmu, its shengmu the empty text; any other
 * has its first letter as shengmu, with the second one when that is H, whatever the first is:
 * "ghost" gives GH and OST. 1 or -1.
 */
MOLTE_API int32_t MOLTE_HZPY_AddPy(MOLTE_HZPY_PYTABLE* pPY, char* pszSyllable, uint8_t* pPair);

/*
 * Adds a reading to a character. 0 when it has that one already; else 1, ALSO when it has seven:
 * the new one is dropped then. Error 50 for a code without entry.
 */
MOLTE_API int32_t MOLTE_HZPY_AddHz(MOLTE_HZPY_HZTABLE* pHZ, const uint8_t* pPair, int32_t nCode);

/* ---- Files ---- */

/* Write the folder, and the two files with it, to room for MOLTE_HZPY_PATH_SIZE bytes. 1, or -1
 * with error 1000 of module "oxmnpath" when no main path is known; the registry isn't asked. */
MOLTE_API int32_t MOLTE_HZPY_MainPath(char* pszBuf);
MOLTE_API int32_t MOLTE_HZPY_HzTablePathFN(char* pszBuf);
MOLTE_API int32_t MOLTE_HZPY_FuzzyTableFN(char* pszBuf);

/* "PINYIN.TXT"; not to be freed. */
MOLTE_API const char* MOLTE_HZPY_HzTableFN(void);

/* ---- Fuzzy partners ---- */

/*
 * Reads HZFUZZY.DAT. 1; 0 with *pOpt zeroed when there is no such file; -1 with error 1 (errno and
 * the path), 3 ("fd=%d pbuf=%p nsize=%d") for a short one, or 1000.
 */
MOLTE_API int32_t MOLTE_HZPY_LoadOpt(MOLTE_HZPY_FUZZYOPT* pOpt);

/*
 * RESETS the options: zeroes *pOpt first, then writes those zeros to the file, which is made
 * writable (mode 0600). It never stores an option. 1; 0 when there is no such file, which isn't
 * made; -1 with error 1, 4 ("fd=%d buf=%p size=%d") or 1000. The file is emptied first: one that
 * is cut by a failure holds no options, which MOLTE_HZPY_LoadOpt tells as error 3.
 */
MOLTE_API int32_t MOLTE_HZPY_SaveOpt(MOLTE_HZPY_FUZZYOPT* pOpt);

/*
 * Gives a part of a list its partner: 1. 0 when bOn is 0, and nothing is done. -1 with error 930
 * for a part that isn't there.
 */
MOLTE_API int32_t MOLTE_HZPY_UTIL_SetFuzzy(MOLTE_HZPY_PHTABLE* pPH, int32_t bOn,
                                           const char* pszFrom, const char* pszTo);

/* Takes all partners of a list away; 1. */
MOLTE_API int32_t MOLTE_HZPY_UTIL_ClearFuzzy(MOLTE_HZPY_PHTABLE* pPH);

/*
 * Sets the partners anew by stOpt. Always 1: for a part that a list lacks an error stays behind.
 * The library never calls it, so partners are there only if a program does.
 */
MOLTE_API int32_t MOLTE_HZPY_FuzzyChange(MOLTE_HZPY_PYTABLE* pPY);

/* Kept names that do nothing; 0. */
MOLTE_API int32_t MOLTE_HZPY_GetFuzzyTable(void);
MOLTE_API int32_t MOLTE_HZPY_SetFuzzyTable(void);

/* ---- Readings of a character ---- */

/*
 * Copies the readings of a code from g_stPinYin: 1, or 0 with *pOneHz zeroed when it has none. -1
 * with error 932 ("hz code=%d") for a code above 65535, 933 when the table isn't built.
 */
MOLTE_API int32_t MOLTE_HZPY_HzCode2Py(int32_t nCode, MOLTE_HZPY_ONEHZ* pOneHz);

/* The same for the character at pszText. A single-byte one, or the end of the text: error 934
 * ("str=%c. %d byte=%d": the byte, its number, 1). */
MOLTE_API int32_t MOLTE_HZPY_HzChar2Py(const char* pszText, MOLTE_HZPY_ONEHZ* pOneHz);

/* Write readings by the lists of g_stPinYin: of one pair into room for MOLTE_HZPY_TEXT_SIZE bytes;
 * of a character into one slot each, nSegIndex becoming 0. An index beyond its list is the empty
 * text. 1. */
MOLTE_API int32_t MOLTE_HZPY_PINYIN2Str(const uint8_t* pPair, char* pszDst);
MOLTE_API int32_t MOLTE_HZPY_ONEHZ2Str(const MOLTE_HZPY_ONEHZ* pOneHz, MOLTE_HZPY_ONEHZSTR* pStr);

/* Writes the two bytes of a code, with NO TERMINATOR; 1. */
MOLTE_API int32_t MOLTE_HZ_Code2Str(int32_t nCode, char* pOut);

/* ---- Text ---- */

/* Makes the piece a copy of a text, null being the empty one; what it held is not freed. 1 or -1.
 */
MOLTE_API int32_t MOLTE_HZPY_PYSEG_SetStr(MOLTE_HZPY_PYSEG* pSeg, const char* pszText);

/* Frees and clears the texts of n pieces, not the array; 1. */
MOLTE_API int32_t MOLTE_HZPY_PYSEG_Free(MOLTE_HZPY_PYSEG* pSegs, int32_t n);

/*
 * Turns a text of at most 1024 bytes into pinyin. Single bytes stay. A reading has a blank before
 * it unless it is the first thing. A character without reading stays as it is and ALWAYS has a
 * blank before it, also at the head of the result. A blank parts Chinese from what follows.
 *
 * 1: the whole text is in pszOut.
 * 0: some characters have several readings (or the text is empty: all outputs are 0 then). pszOut
 *    isn't written. *ppSegs are the pieces of the text: each such character is a piece of its own,
 *    in its two bytes, and *ppPoly tells for each its readings and its piece. The caller picks a
 *    reading, joins the pieces, and frees the texts by MOLTE_HZPY_PYSEG_Free and both arrays by
 *    ORVEX_free.
 * -1: error 935 for a null argument or an nOutSize below 1, 936 ("max=%d cur=%d") for a longer
 *    text, 124 ("buffer length not enough") when the result has no room, in pszOut or in the 2047
 *    bytes that a piece can have; and that of MOLTE_HZPY_HzCode2Py.
 */
MOLTE_API int32_t MOLTE_HZPY_Str2Py(const char* pszText, char* pszOut, int32_t nOutSize,
                                    MOLTE_HZPY_PYSEG** ppSegs, int32_t* pnSegs,
                                    MOLTE_HZPY_ONEHZSTR** ppPoly, int32_t* pnPoly);

/* ---- Comparison: below 0, 0 or above ---- */

/*
 * Compares the syllables A and B as text: -1, 0 or 1. Partners change NOTHING: they are for the
 * programs that show them, and no reading is made equal by its partner.
 */
MOLTE_API int32_t UTIL_A_FuzzyMatch(const MOLTE_HZPY_PYTABLE* pPY,
                                    const MOLTE_HZPY_PHENTRY* pShengmuA,
                                    const MOLTE_HZPY_PHENTRY* pYunmuA,
                                    const MOLTE_HZPY_PHENTRY* pShengmuB,
                                    const MOLTE_HZPY_PHENTRY* pYunmuB);

/*
 * Compares two readings; equal pairs are 0. Mode 0: by shengmu, those being one by yunmu. Mode 97:
 * UTIL_A_FuzzyMatch of A and B. Any other: that of B and A, negated.
 */
MOLTE_API int32_t MOLTE_HZPY_UTIL_HzCmp(const MOLTE_HZPY_PYTABLE* pPY, const uint8_t* pPairA,
                                        const uint8_t* pPairB, int32_t nMode);

/*
 * Compares two characters. Without bPinyin, and when one of them has no reading, the result is the
 * DIFFERENCE of the codes. Characters that share any reading are equal. Else the first readings
 * decide. A table that isn't built is not reported: nothing in it has a reading. Null: error 50.
 */
MOLTE_API int32_t MOLTE_HZPY_Cmp(const MOLTE_HZPY_TABLE* pTable, uint16_t nCodeA, uint16_t nCodeB,
                                 const MOLTE_HZPY_CMPOPT* pOpt);

/* ---- Dumps to standard output; 1 ---- */

MOLTE_API int32_t MOLTE_HZPY_PrintPHArr(const MOLTE_HZPY_PHTABLE* pPH);
MOLTE_API int32_t MOLTE_HZPY_PrintPYTable(const MOLTE_HZPY_PYTABLE* pPY);
MOLTE_API int32_t MOLTE_HZPY_PrintHz(const MOLTE_HZPY_TABLE* pTable);

#endif
