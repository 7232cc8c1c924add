/*
 * The state of a file in a fixed form: the element of directory and package lists, and sent as it
 * stands. 384 bytes; numbers are big-endian byte fields (moltelib/byte_field.h), reserved bytes are
 * 0, times are seconds since 1970-01-01 00:00 UTC.
 */
#ifndef MOLTELIB_FORMAT_FILE_STAT_RECORD_H
#define MOLTELIB_FORMAT_FILE_STAT_RECORD_H

#include "moltelib/base.h"

#define OXFILESTAT_NAME_SIZE 264

/* Bits of nAttr. */
#define OXFILESTAT_OWNER_READS 0x01
#define OXFILESTAT_OWNER_WRITES 0x02
#define OXFILESTAT_DIRECTORY 0x40

typedef struct OXFILESTAT {
    uint8_t nSize[8];
    uint8_t nAttr;
    uint8_t abyReserved1[3];
    uint8_t nModTime[4]; /* low 32 bits */
    uint8_t nChangeTime[4];
    uint8_t nAccessTime[4];
    uint8_t nGroupId[2];
    uint8_t abyReserved2[2];
    uint8_t nUserId[2];
    uint8_t abyReserved3[2];
    char szName[OXFILESTAT_NAME_SIZE]; /* terminated */
    char szShortName[16];              /* terminated; ORVEX_FileFindCopyName alone fills it */
    uint8_t abyReserved4[4];
    uint8_t nDevice[4];
    uint8_t abyReserved5[12];
    uint8_t nLinkCount[2];
    uint8_t abyReserved6[2];
    uint8_t n64ModTime[8];
    uint8_t n64ChangeTime[8];
    uint8_t n64AccessTime[8];
    uint8_t abyReserved7[24];
} OXFILESTAT;

#if defined(__cplusplus)
static_assert(sizeof(OXFILESTAT) == 384, "the layout is a format");
static_assert(offsetof(OXFILESTAT, nModTime) == 12, "the layout is a format");
static_assert(offsetof(OXFILESTAT, nGroupId) == 24, "the layout is a format");
static_assert(offsetof(OXFILESTAT, szName) == 32, "the layout is a format");
static_assert(offsetof(OXFILESTAT, szShortName) == 296, "the layout is a format");
static_assert(offsetof(OXFILESTAT, nDevice) == 316, "the layout is a format");
static_assert(offsetof(OXFILESTAT, nLinkCount) == 332, "the layout is a format");
static_assert(offsetof(OXFILESTAT, n64ModTime) == 336, "the layout is a format");
#endif

#endif
