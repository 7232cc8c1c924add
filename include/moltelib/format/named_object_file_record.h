/*
 * The named object file: a map of 1024 bytes, then blocks of one size, block n at n * size + 1024,
 * each with a head that links it into a chain. Numbers are big-endian byte fields
 * (moltelib/byte_field.h), links are numbers of blocks with -1 (four bytes 0xFF) for none, reserved
 * bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_NAMED_OBJECT_FILE_RECORD_H
#define MOLTELIB_FORMAT_NAMED_OBJECT_FILE_RECORD_H

#include "moltelib/base.h"

#define NOBF_NAME_SIZE 40

typedef struct NOBF_FILEHEAD {
    uint8_t nHeadSize[4]; /* 32 */
    uint8_t abyReserved1[4];
    char szMagic[16]; /* "namedfileobject" with its terminator */
    uint8_t abyReserved2[8];
} NOBF_FILEHEAD;

/* A chain of blocks. */
typedef struct NOBF_OBJECT {
    uint8_t abyReserved1[24];
    char szName[NOBF_NAME_SIZE]; /* terminated */
    uint8_t nFirstBlock[4];
    uint8_t nLastBlock[4];
    uint8_t nBlockCount[4];
    uint8_t abyChainId[2]; /* goes as it stands into the heads of its blocks */
    uint8_t abyReserved2[50];
} NOBF_OBJECT;

typedef struct NOBF_MAP {
    NOBF_FILEHEAD stHead;
    uint8_t abyReserved1[8];
    uint8_t nBlockSize[4];
    uint8_t abyReserved2[84];
    NOBF_OBJECT stFree;   /* the free blocks */
    NOBF_OBJECT stSecond; /* no name, no use so far */
    uint8_t abyReserved3[640];
} NOBF_MAP;

/* The first bytes of a block. */
typedef struct NOBF_BLOCKHEAD {
    uint8_t abyReserved1[2];
    uint8_t abyChainId[2];
    uint8_t nIndex[4]; /* its own number */
    uint8_t nNext[4];
    uint8_t nPrevious[4];
    uint8_t abyReserved2[12];
} NOBF_BLOCKHEAD;

#if defined(__cplusplus)
static_assert(sizeof(NOBF_FILEHEAD) == 32, "the layout is a format");
static_assert(sizeof(NOBF_OBJECT) == 128, "the layout is a format");
static_assert(offsetof(NOBF_OBJECT, nFirstBlock) == 64, "the layout is a format");
static_assert(offsetof(NOBF_OBJECT, abyChainId) == 76, "the layout is a format");
static_assert(sizeof(NOBF_MAP) == 1024, "the layout is a format");
static_assert(offsetof(NOBF_MAP, nBlockSize) == 40, "the layout is a format");
static_assert(offsetof(NOBF_MAP, stFree) == 128, "the layout is a format");
static_assert(offsetof(NOBF_MAP, stSecond) == 256, "the layout is a format");
static_assert(sizeof(NOBF_BLOCKHEAD) == 28, "the layout is a format");
static_assert(offsetof(NOBF_BLOCKHEAD, nNext) == 8, "the layout is a format");
#endif

#endif
