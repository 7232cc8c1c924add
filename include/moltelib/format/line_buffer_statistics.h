/*
 * How full a line buffer is, in the form that is sent: 64 bytes, numbers are big-endian byte fields
 * (moltelib/byte_field.h), reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_LINE_BUFFER_STATISTICS_H
#define MOLTELIB_FORMAT_LINE_BUFFER_STATISTICS_H

#include "moltelib/base.h"

typedef struct OLINEBUF_STAT {
    uint8_t nRecSize[4]; /* 64 */
    uint8_t abyReserved1[4];
    uint8_t nBufSize[4];
    uint8_t nBlocks[4];
    uint8_t nUnusedBlocks[4]; /* never used yet; 0 once the ring has gone round */
    uint8_t nFreeBytes[4];    /* free room of the blocks in use, summed */
    uint8_t nLines[4];        /* lines held */
    uint8_t abyReserved2[4];
    uint8_t nNextLineID[8]; /* lines added so far */
    uint8_t abyReserved3[24];
} OLINEBUF_STAT;

#if defined(__cplusplus)
static_assert(sizeof(OLINEBUF_STAT) == 64, "the layout is a format");
static_assert(offsetof(OLINEBUF_STAT, nFreeBytes) == 20, "the layout is a format");
static_assert(offsetof(OLINEBUF_STAT, nNextLineID) == 32, "the layout is a format");
#endif

#endif
