/*
 * The kind of a file system. 256 bytes that travel between machines; reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_FILE_SYSTEM_INFO_RECORD_H
#define MOLTELIB_FORMAT_FILE_SYSTEM_INFO_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_FILESYSTEMINFO {
    uint8_t nRecSize[4]; /* 256, big-endian */
    uint8_t abyReserved1[4];
    uint8_t nType; /* MOLTE_FileSystemType2Name names it */
    uint8_t abyReserved2[247];
} MOLTE_FILESYSTEMINFO;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_FILESYSTEMINFO) == 256, "the layout is a format");
static_assert(offsetof(MOLTE_FILESYSTEMINFO, nType) == 8, "the layout is a format");
#endif

#endif
