/*
 * The file of bar-code rules: a head of 40 bytes, and the rules in a row (see
 * moltelib/barcode_rule.h). The count is big-endian (moltelib/byte_field.h).
 */
#ifndef MOLTELIB_FORMAT_BARCODE_RULE_RECORD_H
#define MOLTELIB_FORMAT_BARCODE_RULE_RECORD_H

#include "moltelib/base.h"

#define CONVBAR_MAGIC "ConvBarRuleFile" /* with its terminator in the file */
#define CONVBAR_PATTERN_SIZE 48
#define CONVBAR_MAX_OPS 50

typedef struct CONVBAR_FILEHEAD {
    uint8_t nCount[4];
    uint8_t abyReserved[4]; /* 0 */
    char szMagic[32];       /* CONVBAR_MAGIC, the rest 0 */
} CONVBAR_FILEHEAD;

/* Kinds of operation. */
enum {
    CONVBAR_OP_DELETE = 1, /* the character at nPos */
    CONVBAR_OP_SWAP = 2,   /* those at nPos and nArg */
    CONVBAR_OP_MOVE = 3,   /* the one at nPos to nArg */
    CONVBAR_OP_INSERT = 4  /* the character nArg at nPos */
};

#define CONVBAR_OP_REPEAT 1 /* of nFlags: until the text has the wanted length */

typedef struct CONVBAR_OP {
    uint8_t nKind;
    uint8_t nFlags;
    uint8_t nPos; /* counted from 1 */
    uint8_t nArg; /* a second position, or a character */
} CONVBAR_OP;

/* Bits of a rule's nFlags. */
enum { CONVBAR_RULE_OFF = 1, CONVBAR_RULE_WILD = 2 };

typedef struct CONVBAR_RULE {
    char szPattern[CONVBAR_PATTERN_SIZE]; /* need not be terminated */
    uint8_t nOpCount;
    uint8_t nPatternLen; /* 0: a default rule */
    uint8_t nFlags;
    uint8_t abyReserved[5]; /* 0 */
    CONVBAR_OP astOp[CONVBAR_MAX_OPS];
} CONVBAR_RULE;

#if defined(__cplusplus)
static_assert(sizeof(CONVBAR_FILEHEAD) == 40, "the layout is a format");
static_assert(sizeof(CONVBAR_OP) == 4, "the layout is a format");
static_assert(sizeof(CONVBAR_RULE) == 256, "the layout is a format");
static_assert(offsetof(CONVBAR_RULE, nOpCount) == 48, "the layout is a format");
static_assert(offsetof(CONVBAR_RULE, astOp) == 56, "the layout is a format");
#endif

#endif
