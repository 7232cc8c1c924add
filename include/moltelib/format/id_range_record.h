/*
 * A range of identifiers as it crosses the network: two big-endian numbers (moltelib/byte_field.h),
 * 8 bytes.
 */
#ifndef MOLTELIB_FORMAT_ID_RANGE_RECORD_H
#define MOLTELIB_FORMAT_ID_RANGE_RECORD_H

#include "moltelib/base.h"

typedef struct OX_NETIDRANGE {
    uint8_t nStart[4];
    uint8_t nEnd[4];
} OX_NETIDRANGE;

#if defined(__cplusplus)
static_assert(sizeof(OX_NETIDRANGE) == 8, "the layout is a format");
#endif

#endif
