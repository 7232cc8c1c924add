/*
 * Search in a text, and the search object, which finds or replaces a literal text.
 *
 * The case of letters is that of the code page that OXLANG_SetLocale has set, for each byte alone:
 * a trail byte that is a letter of ASCII has a case, too.
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_TEXT_SEARCH_H
#define MOLTELIB_TEXT_SEARCH_H

#include "moltelib/base.h"
#include "moltelib/text_object.h"

/* strstr; and the same where a hit begins at a whole character of the process's code page. */
MOLTE_API char* ox_strstr(const char* text, const char* sub);
MOLTE_API char* ox_mbstrstr(const char* text, const char* sub);

/*
 * The byte position of the first occurrence of sub in text, for the first function whatever its
 * case, or -1; also -1 when either is empty, and with error 50 when either is null.
 */
MOLTE_API int32_t MOLTE_STR_FindSubStr(const char* text, const char* sub);
MOLTE_API int32_t MOLTE_STR_FindSubStrWithCase(const char* text, const char* sub);

/*
 * The first character of s with this value, walking by whole characters, or null. A double-byte
 * character has the value lead byte * 256 + trail byte. Null for a null s.
 */
MOLTE_API char* MOLTE_STR_Chr(const char* s, int32_t value);

/* What MOLTE_STR_REG_ looks for. All zero but the pattern is a search for the first occurrence. */
typedef struct OXSTR_REGOBJ {
    uint8_t abyOption[3];   /* not read here */
    uint8_t bAllMatches;    /* go on after the first match */
    uint32_t anUnused[2];   /* not read here */
    int32_t nStartOffset;   /* bytes of the text to skip */
    uint64_t nUnused;       /* not read here */
    const char* pszPattern; /* the text to look for, byte by byte; there is no pattern language */
    void* pCompiled;        /* a block of ORVEX_release_malloc or null */
} OXSTR_REGOBJ;

/* A match: from its first byte to one past its last, counted from the start of the text. */
typedef struct OXSTR_MATCH {
    int32_t nStart;
    int32_t nEnd;
} OXSTR_MATCH;

/* The matches found. All zero with bCanGrow 1 is an empty list; its owner frees pMatch. */
typedef struct OXSTR_MATCHLIST {
    OXSTR_MATCH* pMatch;
    int32_t nCount;
    int32_t nCapacity; /* pairs */
    uint8_t bCanGrow;  /* 1: pMatch comes from ORVEX_release_malloc, or is null */
    uint8_t abyReserved[7];
} OXSTR_MATCHLIST;

#if defined(__cplusplus)
static_assert(sizeof(OXSTR_REGOBJ) == 40 && sizeof(OXSTR_MATCHLIST) == 24);
static_assert(offsetof(OXSTR_REGOBJ, nStartOffset) == 12);
static_assert(offsetof(OXSTR_REGOBJ, pszPattern) == 24);
#endif

/* Does nothing; 0. */
MOLTE_API int32_t OXSTR_REGOBJ_Compile(OXSTR_REGOBJ* reg);
/* Frees pCompiled and clears it; 0. The object itself and its pattern stay the caller's. */
MOLTE_API int32_t OXSTR_REGOBJ_Free(OXSTR_REGOBJ* reg);

/*
 * Searches text from reg's start offset. With matches null: 1 when there is a match. Otherwise
 * appends each match to the list: 1 for the first, or with bAllMatches their number; matches don't
 * overlap. 0 without a match. -1 when a list that can't grow is full (no error), when it can't be
 * grown, and with error 50 for a null text, reg or pattern or a negative start offset.
 *
 * An empty pattern matches where the search starts, and with bAllMatches again and again until the
 * list is full or doesn't grow any more.
 */
MOLTE_API int32_t MOLTE_STR_REG_Find(const char* text, const OXSTR_REGOBJ* reg,
                                     OXSTR_MATCHLIST* matches);

/*
 * Replaces in strObj the first match, or with bAllMatches each, in place; 1. The search sees the
 * text up to nLen or its first NUL. After each replacement it starts again at the start offset, so
 * what a replacement brings in is searched too: one that holds the pattern goes on until the object
 * doesn't grow any more, except one that equals it, which stops at once. No terminator is written:
 * a text that got shorter leaves its old bytes behind nLen.
 *
 * -1 when the object can't grow, with bCanGrow 0 then without an error and with bAllMatches of reg
 * left cleared; -1 with error 50 for bad arguments. Writes to reg while it runs. Neither the
 * replacement nor the pattern may lie in strObj's own buffer.
 */
MOLTE_API int32_t MOLTE_STR_REG_Replace(OXSTR_STROBJ* strObj, OXSTR_REGOBJ* reg,
                                        const char* replacement);

#endif
