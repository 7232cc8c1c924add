/*
 * How a machine's memory and processors are used. 64 bytes that travel between machines; numbers
 * are big-endian byte fields (moltelib/byte_field.h), sizes in bytes, reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_MEMORY_STATUS_RECORD_H
#define MOLTELIB_FORMAT_MEMORY_STATUS_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_MEMSTATUS {
    uint8_t nRecSize[4]; /* 64 */
    uint8_t nMemoryLoad; /* physical memory in use, percent */
    uint8_t nCpuUsage;   /* percent; 255 when not known */
    uint8_t abyReserved1[2];
    uint8_t nTotalPhysical[8];
    uint8_t nFreePhysical[8];
    uint8_t nTotalPageFile[8]; /* physical memory and page files together */
    uint8_t nFreePageFile[8];
    uint8_t nTotalVirtual[8]; /* addresses of the process that filled the record */
    uint8_t nFreeVirtual[8];
    uint8_t abyReserved2[8];
} MOLTE_MEMSTATUS;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_MEMSTATUS) == 64, "the layout is a format");
static_assert(offsetof(MOLTE_MEMSTATUS, nTotalPhysical) == 8, "the layout is a format");
static_assert(offsetof(MOLTE_MEMSTATUS, nFreeVirtual) == 48, "the layout is a format");
#endif

#endif
