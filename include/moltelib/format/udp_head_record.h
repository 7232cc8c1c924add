/*
 * The head of a datagram that carries a piece of a large message: 64 bytes that cross the network
 * as they stand, before the data. Numbers are big-endian byte fields (moltelib/byte_field.h),
 * reserved bytes are 0 and aren't looked at.
 */
#ifndef MOLTELIB_FORMAT_UDP_HEAD_RECORD_H
#define MOLTELIB_FORMAT_UDP_HEAD_RECORD_H

#include "moltelib/base.h"

typedef struct MOLTE_UDPHEAD {
    uint8_t nHeadSize[4]; /* 64 */
    uint8_t nVersion[2];  /* 6 */
    uint8_t abyReserved1[2];
    char szMagic[8];         /* "$upk$xcg", with no terminator */
    uint8_t stUuid[16];      /* one for each message */
    uint8_t nTotalLen[4];    /* bytes of the whole message */
    uint8_t nPacketCount[4]; /* datagrams of the message */
    uint8_t nPacketIndex[4]; /* which of them this is, from 0 */
    uint8_t nDataLen[4];     /* bytes behind this head */
    uint8_t nDataOffset[4];  /* where they lie in the message */
    uint8_t abyReserved2[4];
    uint8_t n64Seq[8]; /* number of the message in the process that sends it */
} MOLTE_UDPHEAD;

#if defined(__cplusplus)
static_assert(sizeof(MOLTE_UDPHEAD) == 64 && offsetof(MOLTE_UDPHEAD, szMagic) == 8);
static_assert(offsetof(MOLTE_UDPHEAD, stUuid) == 16 && offsetof(MOLTE_UDPHEAD, nTotalLen) == 32);
static_assert(offsetof(MOLTE_UDPHEAD, nPacketIndex) == 40);
static_assert(offsetof(MOLTE_UDPHEAD, nDataOffset) == 48 && offsetof(MOLTE_UDPHEAD, n64Seq) == 56);
#endif

#endif
