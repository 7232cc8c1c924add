/*
 * One process's use of memory and time. 128 bytes that travel between machines; numbers are
 * big-endian byte fields (moltelib/byte_field.h), reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_PROCESS_INFO_RECORD_H
#define MOLTELIB_FORMAT_PROCESS_INFO_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_PROCESSINFO {
    uint8_t nRecSize[4]; /* 128 */
    uint8_t abyReserved1[4];
    uint8_t nPageFileInKB[4];
    uint8_t nWorkingSetInKB[4];
    uint8_t nUserTime[4]; /* seconds */
    uint8_t nKernelTime[4];
    uint8_t nCreationTime[4]; /* a time value, see MOLTE_GetProcessInfo */
    uint8_t nProcessId[4];    /* input as well */
    uint8_t abyReserved2[44];
    uint8_t nPeakPageFileInKB[4];
    uint8_t nPeakWorkingSetInKB[4];
    uint8_t abyReserved3[44];
} MOLTE_PROCESSINFO;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_PROCESSINFO) == 128, "the layout is a format");
static_assert(offsetof(MOLTE_PROCESSINFO, nProcessId) == 28, "the layout is a format");
static_assert(offsetof(MOLTE_PROCESSINFO, nPeakPageFileInKB) == 76, "the layout is a format");
#endif

#endif
