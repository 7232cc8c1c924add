/*
 * Compiled wildcard templates: a pattern is compiled once and matched often, byte by byte exactly,
 * without recursion and nearly without going back.
 *
 *   *        any run of characters, also none
 *   .        zero or one character. A run of "*" and "." is any run if it holds a "*", else ONE
 *            optional character
 *   ?        one whole character
 *   [...]    one character of a class, "[^...]" one that is not in it
 *   \ and c  the character c itself
 *   other    that character
 *
 * In a class "\" makes the next character itself. "-" is a range from the character before it to
 * the one behind it, both letters of one case or both digits; behind a range goes on from one above
 * its end, so that "[a-c-e]" holds a, b, c and e. A descending range is empty. The first "]" ends
 * the class, also in first place, which leaves it empty; so does the end of the pattern.
 *
 * The language is close to that of moltelib/wild_match.h, not the same. What surprises, and is
 * meant:
 *
 *   - A "*" takes the LEFTMOST place of what follows it, for good: a later failure never comes back
 *     to it. "*a*bc" does match "xabxbc", since the last "*" looks at the end of the text.
 *   - What follows the last "*" is looked for from as many bytes before the end of the text as its
 *     literals have (a class counts as the bytes it lists, "?" as one), even where earlier pieces
 *     have matched already: "a*ab" matches "ab".
 *   - Behind a "*", a run of characters whose longest literal isn't its first element must stand
 *     just there: "*?ab*" matches "xabz" but not "xyabz".
 *   - A "." at the END of the pattern matches any rest: "a." matches "abcd".
 *   - A negated class takes the end of the text for a character: "[^a]*" matches "". Behind that
 *     only a "*" or "." that ends the pattern matches, and what follows the last "*".
 *   - A pattern that is one run, without "*" and ".", matches the EMPTY text if the run doesn't
 *     match there: "abc" matches "abc" and "", "[^a]" doesn't match "".
 *   - A "\" at the end of the pattern stands for the terminator, which is never part of what is
 *     matched: such a pattern matches no text, but for the rule before.
 *
 * A compiled template is only read by the matching functions: any number of threads may use one.
 * Double-byte characters go by the code page in force at compiling and at matching. Compiling
 * reports to module "ocollate"; matching reports nothing and allocates nothing.
 *
 * Failures are reported under module "ocollate".
 */
#ifndef MOLTELIB_WILD_TEMPLATE_H
#define MOLTELIB_WILD_TEMPLATE_H

#include "moltelib/array.h"
#include "moltelib/base.h"

#define MOLTE_WMCHAR_ANY 1     /* nLen characters, whatever they are */
#define MOLTE_WMCHAR_CLASS 2   /* a character that pText lists */
#define MOLTE_WMCHAR_LITERAL 3 /* the bytes of pText */

/* An element of a fixed run. */
typedef struct MOLTE_WMCHAR {
    int16_t nLen;    /* bytes of pText; of MOLTE_WMCHAR_ANY the characters */
    uint8_t bMB;     /* 1: pText holds a double-byte character */
    uint8_t bNegate; /* 1: a negated class */
    int32_t nType;   /* MOLTE_WMCHAR_...; 0: none yet */
    char* pText;     /* heap, with terminator; null for MOLTE_WMCHAR_ANY and for an empty class */
} MOLTE_WMCHAR;

#define MOLTE_WMSUBSTR_ANY 1      /* any run of characters */
#define MOLTE_WMSUBSTR_OPTIONAL 2 /* zero or one character */
#define MOLTE_WMSUBSTR_FIXED 3    /* the elements */

/* A piece of a template. Pieces that are not MOLTE_WMSUBSTR_FIXED never stand side by side. */
typedef struct MOLTE_WMSUBSTR {
    int32_t nType;       /* MOLTE_WMSUBSTR_...; 0: none yet */
    int32_t nChar;       /* elements of MOLTE_WMSUBSTR_FIXED */
    MOLTE_WMCHAR* pChar; /* heap */
} MOLTE_WMSUBSTR;

/* A template. The structure is the caller's, its contents are released by MOLTE_WMTEMPL_Free. */
typedef struct MOLTE_WMTEMPL {
    int32_t nSubStr;
    MOLTE_WMSUBSTR* pSubStr; /* heap; null when nSubStr is 0 */
} MOLTE_WMTEMPL;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_WMCHAR) == 16);
static_assert(sizeof(MOLTE_WMSUBSTR) == 16);
#endif

/*
 * Compiles a pattern into *pTempl, whose former contents are not freed. An empty pattern gives a
 * template without pieces. 1; -1 with *pTempl empty and error
 *   101  a range in a class whose ends aren't letters of one case or digits
 *   420  a "\" at the end of a class
 *   421  a lead byte at the end of a class ("bad hz")
 *   422  a lead byte at the end of the pattern
 *   50   a null argument; a class that lists more than 32767 bytes
 *   20   no memory
 * A literal of more than 32767 bytes, and as many "?", are kept as several elements.
 */
MOLTE_API int32_t MOLTE_CompileTempl(const char* pszPattern, MOLTE_WMTEMPL* pTempl);

/* 1 if the whole text matches, else 0. A template without pieces matches every text; apart from
 * that a null argument is no match. */
MOLTE_API int32_t MOLTE_CompiledWildMatch(const MOLTE_WMTEMPL* pTempl, const char* pszText);

/* Frees the contents and zeroes the structure; 0. */
MOLTE_API int32_t MOLTE_WMTEMPL_Free(MOLTE_WMTEMPL* pTempl);

/* ---- The parts of it ---- */

/* MOLTE_CompiledWildMatch for n pieces; with none only the empty text matches. A loop, whatever its
 * name says. */
MOLTE_API int32_t MOLTE_UTIL_RecurWMatch(const MOLTE_WMSUBSTR* pPieces, int32_t n,
                                         const char* pszText);

/* Matches n elements at the head of a text: the bytes taken, 0 for no match. The terminator counts
 * when a negated class or a "\" at the end of the pattern has taken it. */
MOLTE_API int32_t MOLTE_WMCHAR_ForewardMatch(const MOLTE_WMCHAR* pChars, int32_t n,
                                             const char* pszText);

/*
 * Finds n elements in a text: the bytes of the first place that is found, and its offset in *pnPos
 * (which may be null); 0 for none, and then *pnPos isn't written. Nor is it when the longest
 * literal (the earliest of several) isn't the first element: only the head of the text is looked at
 * then. A first place behind 2 GB is none.
 */
MOLTE_API int32_t MOLTE_WMCHAR_StrMatch(const MOLTE_WMCHAR* pChars, int32_t n, const char* pszText,
                                        int32_t* pnPos);

/* Free what an element (a piece) owns and clear it; 0. MOLTE_WMCHAR_Free leaves the kind. */
MOLTE_API int32_t MOLTE_WMCHAR_Free(MOLTE_WMCHAR* pChar);
MOLTE_API int32_t MOLTE_WMSUBSTR_Free(MOLTE_WMSUBSTR* pSubStr);

/*
 * Steps of compiling. FinWmChar moves the bytes of an array (of items of 1 byte) into the element
 * as its text, appends the element to an array of elements, and clears it. FinSubStr moves the
 * elements of an array into a piece that is MOLTE_WMSUBSTR_FIXED, appends the piece to an array of
 * pieces, and clears it. 1; 0 and nothing is done when it has no kind; -1 with error 20, or 50 for
 * a null argument, an array of other items and more than 32767 bytes.
 */
MOLTE_API int32_t MOLTE_UTIL_FinWmChar(PA* pChars, MOLTE_WMCHAR* pCur, PA* pText);
MOLTE_API int32_t MOLTE_UTIL_FinSubStr(PA* pPieces, PA* pChars, MOLTE_WMSUBSTR* pCur);

/* 1 for "a" to "z", 2 for "A" to "Z", 3 for "0" to "9", else 0. */
MOLTE_API int32_t MOLTE_UTIL_CharType(int32_t c);

#endif
