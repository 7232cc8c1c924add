/*
 * What a machine is. 128 bytes that travel between machines; numbers are big-endian byte fields
 * (moltelib/byte_field.h), reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_COMPUTER_INFO_RECORD_H
#define MOLTELIB_FORMAT_COMPUTER_INFO_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_COMPUTERINFO {
    uint8_t nRecSize[4]; /* 128 */
    uint8_t nPhysicalMemInMB[4];
    uint8_t nOsClass; /* 0 Unix, 1 Windows */
    uint8_t nOsType;
    uint8_t nCpuCount[2];
    uint8_t abyReserved1[4];
    char szName[32]; /* terminated */
    uint8_t abyReserved2[80];
} MOLTE_COMPUTERINFO;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_COMPUTERINFO) == 128, "the layout is a format");
static_assert(offsetof(MOLTE_COMPUTERINFO, nCpuCount) == 10, "the layout is a format");
static_assert(offsetof(MOLTE_COMPUTERINFO, szName) == 16, "the layout is a format");
#endif

#endif
