/*
 * The version of a program: four big-endian numbers (moltelib/byte_field.h), 8 bytes. In this order
 * versions compare as the bytes do.
 */
#ifndef MOLTELIB_FORMAT_APPLICATION_VERSION_RECORD_H
#define MOLTELIB_FORMAT_APPLICATION_VERSION_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_APPVERSION {
    uint8_t nMajor[2];
    uint8_t nMinor[2];
    uint8_t nBuild[2];
    uint8_t nRevision[2];
} MOLTE_APPVERSION;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_APPVERSION) == 8, "the layout is a format");
#endif

#endif
