/*
 * The record by which an administrator sees and changes a parameter of a running program: 128 bytes
 * that cross the network as they stand. Numbers are big-endian byte fields (moltelib/byte_field.h),
 * reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_PARAMETER_RECORD_H
#define MOLTELIB_FORMAT_PARAMETER_RECORD_H

#include "moltelib/base.h"

/* Kinds of value. */
#define MOLTE_PARAM_INT 0   /* 32-bit integer: 4 bytes of abyValue */
#define MOLTE_PARAM_TEXT 1  /* text: terminated within abyValue */
#define MOLTE_PARAM_BYTES 2 /* raw bytes: the first nMaxLen of abyValue, at most 80 */
#define MOLTE_PARAM_LONG 3  /* 64-bit integer: 8 bytes of abyValue */

typedef struct MOLTE_PARAMNETITEM {
    char szName[32];
    uint8_t nType;
    uint8_t nMaxLen; /* low byte of the room that the value has in the program */
    uint8_t bValid;  /* 1 when the value is filled in */
    uint8_t nReserved1;
    uint8_t tChanged[4]; /* time of the last change, seconds since 1970 */
    uint8_t abyReserved2[8];
    uint8_t abyValue[80];
} MOLTE_PARAMNETITEM;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_PARAMNETITEM) == 128);
static_assert(offsetof(MOLTE_PARAMNETITEM, nType) == 32);
static_assert(offsetof(MOLTE_PARAMNETITEM, tChanged) == 36);
static_assert(offsetof(MOLTE_PARAMNETITEM, abyValue) == 48);
#endif

#endif
