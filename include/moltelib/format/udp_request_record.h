/*
 * A small request or answer in a datagram of its own: 16 bytes that cross the network as they
 * stand, with one number, a big-endian byte field (moltelib/byte_field.h). Reserved bytes are 0 and
 * aren't looked at.
 */
#ifndef MOLTELIB_FORMAT_UDP_REQUEST_RECORD_H
#define MOLTELIB_FORMAT_UDP_REQUEST_RECORD_H

#include "moltelib/base.h"

typedef struct UDPRequest {
    uint8_t nReserved1;
    char cMark; /* 'y' */
    uint8_t abyReserved2[7];
    char acMark[3]; /* 'u', '.', '#' */
    uint8_t nValue[4];
} UDPRequest;

#if defined(__cplusplus)
static_assert(sizeof(UDPRequest) == 16 && offsetof(UDPRequest, cMark) == 1);
static_assert(offsetof(UDPRequest, acMark) == 9 && offsetof(UDPRequest, nValue) == 12);
#endif

#endif
