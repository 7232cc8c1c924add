/*
 * The file of the binary error log: a map of 1024 bytes that begins with the file head, then blocks
 * of 8192 bytes, block n at n * 8192 + 1024. Numbers are big-endian byte fields
 * (moltelib/byte_field.h), reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_BINARY_ERROR_LOG_RECORD_H
#define MOLTELIB_FORMAT_BINARY_ERROR_LOG_RECORD_H

#include "moltelib/base.h"

#define BERRLOG_BLOCK_SIZE 8192
#define BERRLOG_ENTRIES_MAX 255 /* what a block has room for, were there no text */

typedef struct BERRLOG_FILEHEAD {
    uint8_t nHeadSize[4]; /* 32 */
    uint8_t abyReserved1[4];
    char szMagic[16]; /* "erlogfileobject" with its terminator */
    uint8_t abyReserved2[8];
} BERRLOG_FILEHEAD;

typedef struct BERRLOG_FILEMAP {
    BERRLOG_FILEHEAD stHead;
    uint8_t abyReserved1[8];
    uint8_t nCurBlock[4];
    uint8_t bWrapped; /* a block has filled and the walk went round */
    uint8_t abyReserved2[3];
    uint8_t n64NextSeq[8];
    uint8_t abyReserved3[968];
} BERRLOG_FILEMAP;

typedef struct BERRLOG_ENTRY {
    uint8_t nKind; /* 1 */
    uint8_t abyReserved1[3];
    uint8_t tTime[4];   /* seconds since 1970, low 32 bits */
    uint8_t nOffset[4]; /* of the text in the block */
    uint8_t nLen[4];    /* bytes of the text; what runs past the block's end isn't there */
    uint8_t n64Seq[8];
    uint8_t abyReserved2[8];
} BERRLOG_ENTRY;

/* Texts lie wherever the entries say, also over the entries and over each other. */
typedef struct BERRLOG_BLOCK {
    uint8_t abyReserved1[8];
    uint8_t nDataPos[4]; /* base of the text area; stays 0 */
    uint8_t nEntryCount[4];
    uint8_t abyReserved2[16];
    BERRLOG_ENTRY astEntry[BERRLOG_ENTRIES_MAX];
} BERRLOG_BLOCK;

/* What a reader wants: entries from that time on. */
typedef struct BERRLOG_FILTER {
    uint8_t abyReserved[8];
    uint8_t tTime[4];
} BERRLOG_FILTER;

#if defined(__cplusplus)
static_assert(sizeof(BERRLOG_FILEHEAD) == 32, "the layout is a format");
static_assert(sizeof(BERRLOG_FILEMAP) == 1024, "the layout is a format");
static_assert(offsetof(BERRLOG_FILEMAP, nCurBlock) == 40, "the layout is a format");
static_assert(offsetof(BERRLOG_FILEMAP, n64NextSeq) == 48, "the layout is a format");
static_assert(sizeof(BERRLOG_ENTRY) == 32, "the layout is a format");
static_assert(sizeof(BERRLOG_BLOCK) == BERRLOG_BLOCK_SIZE, "the layout is a format");
static_assert(offsetof(BERRLOG_BLOCK, astEntry) == 32, "the layout is a format");
#endif

#endif
