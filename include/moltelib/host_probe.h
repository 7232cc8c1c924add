/*
 * Whether a host is alive: one ICMP echo (RFC 792), and how long the answer took.
 *
 *     UTIL_ICMPPARAM probe;
 *     if (ORVEX_SOCK_IsHostAlive("matcher", &probe) != 1) return -1;
 *     printf("%d us\n", probe.nElapsedMicroSec);
 *
 * It takes a raw socket, and so the rights of an administrator (on Linux CAP_NET_RAW); without them
 * a probe is -1 with error 80. Its state is on the stack: any number of threads may probe. But
 * PROBES OF ONE PROCESS AT THE SAME TIME HEAR ONE ANOTHER, for its number is what tells their
 * answers from others: a host that is down counts as alive while another thread probes one that is
 * up.
 *
 * Failures are reported under module "oxsockop".
 */
#ifndef MOLTELIB_HOST_PROBE_H
#define MOLTELIB_HOST_PROBE_H

#include "moltelib/base.h"

/* What a probe does, and what came of it. Nothing here is looked at. */
typedef struct UTIL_ICMPPARAM {
    int32_t nPingCount;       /* requests sent: 1 */
    int32_t nTimeOutSec;      /* seconds to wait for each answer: 1 */
    int32_t nTTL;             /* time to live of the request: 128 */
    int32_t nDataSize;        /* data bytes of the request: 32 */
    int32_t nElapsedMicroSec; /* time of all answers together, set when the host is alive */
} UTIL_ICMPPARAM;

#if defined(__cplusplus)
static_assert(sizeof(UTIL_ICMPPARAM) == 20);
#endif

/*
 * Probes a host by its name or dotted text: 1 alive, 0 no answer within a second, -1. The first
 * four fields of the record are SET, WHATEVER STANDS THERE; it may be null, and stays as it is when
 * the host isn't found.
 *
 * The first ICMP packet that this machine gets is taken for the answer if it has the length and the
 * identifier of the request, and else for none: NEITHER ITS TYPE NOR ITS SENDER COUNT. So a probe
 * of this machine hears its own request. The time is told by what the packet brings back, and may
 * be anything where that isn't what was sent.
 *
 * 0 leaves error 74 with the bytes of the address when nothing came. -1 comes with errors 81 and 84
 * (no such host, no name), 80 (no raw socket), 83 (the time limit or the time to live can't be
 * set), 73 (not sent, with the bytes of the packet). A buffer of 65536 bytes that can't be had is
 * error 83 and no failure.
 */
MOLTE_API int32_t ORVEX_SOCK_IsHostAlive(const char* pszName, UTIL_ICMPPARAM* pParam);

/* ---- Packets ----
 *
 * A packet is 8 bytes of header and nDataLen bytes of data (below 0 counts as 0): type, code,
 * 16-bit checksum, identifier and sequence; the data begins with the time of sending, 8 bytes,
 * big-endian. The numbers of the header lie as the machine has them.
 */

/* Writes an echo request: type 8, code 0, checksum 0, identifier the low 16 bits of the process's
 * number, sequence 0, and data of 'E' alone. 1, or -1 with error 50 for null. */
MOLTE_API int32_t UTIL_InitIcmpV4Header(void* pPacket, int32_t nDataLen);

/*
 * Writes the ticks of this moment (MOLTE_HiResoTickCount) as the time of sending, where the data
 * has room for them, and their low 16 bits as the sequence; then the checksum of it all. THE
 * CHECKSUM THAT STANDS THERE IS SUMMED AS WELL: it comes out right only where that is 0. 1, or -1
 * with error 50 for null.
 */
MOLTE_API int32_t UTIL_SetIcmpParam(void* pPacket, int32_t nDataLen);

/*
 * The Internet checksum (RFC 1071) of nLen bytes at any address: the complement of the sum of its
 * 16-bit words, as the machine reads them, and of a last odd byte; 0 to 0xFFFF. Nothing, which is
 * null or nLen below 1, gives 0xFFFF. There is no failure.
 */
MOLTE_API int32_t UTIL_CheckSum(const void* pData, int32_t nLen);

#endif
