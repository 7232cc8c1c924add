/*
 * Messages of any size over UDP.
 *
 *     ORVEX_SOCKUDP_LargeSend(socket, data, size, &peer, sizeof peer, 0);          one side
 *
 *     uint8_t* data;                                                               the other
 *     int32_t size;
 *     if (ORVEX_SOCKUDP_LargeRecv(socket, &data, &size, NULL, NULL) > 0) ORVEX_free(data);
 *
 * A message is cut into numbered datagrams of at most 32768 bytes, each behind a head of 64
 * (moltelib/format/udp_head_record.h), and put together again in whatever order they come. NOTHING
 * IS ACKNOWLEDGED OR SENT AGAIN: a message with a hole is dropped after a second of silence, and
 * the sender isn't told. Its delay behind each datagram is the only control of the flow: what the
 * receiver's socket has no room for is lost (OXSOCK_SO_RCVBUF gives it more).
 *
 * A receiver puts together one message at a time, and a socket has one receiver. Datagrams of two
 * messages that come mixed make each other start over, and neither is received.
 *
 * What is lost is told as text to the hooks (MOLTE_OutMsgOldFmt): "init a new packet. %u. %s\n",
 * how many messages the process began to receive before this one and the message's number;
 * "packet is invalid\n"; "wait data time out\n" and "Total packet=%d received=%d\n";
 * "lost packet=%s\n" with " %d" for each missing one, as many as 511 characters hold, of a message
 * that another one interrupts when more than 10 of its datagrams had come; "sock has been
 * closed\n". A receive that fails tells " large recv failed" with its error.
 *
 * Senders and receivers need no lock. The first takes 33 KB of stack, the other 42 KB.
 *
 * Failures are reported under module "oxsockop".
 */
#ifndef MOLTELIB_LARGE_MESSAGE_H
#define MOLTELIB_LARGE_MESSAGE_H

#include "moltelib/base.h"
#include "moltelib/format/udp_head_record.h"
#include "moltelib/format/udp_request_record.h"
#include "moltelib/socket_address.h"

/*
 * Sends nLen bytes as one message to an address, to the peer of a connected socket where pAddr is
 * null: 1. Datagrams are 32768 bytes, or 100 less than the socket's OXSOCK_SO_MAX_MSG_SIZE where
 * that is less. Behind each, the last one too, it sleeps for nDelayMicroSec, for 1000 when that is
 * 0; THE FRACTION OF A MILLISECOND IS DROPPED, so that below 1000 it only gives way to other
 * threads.
 *
 * An nLen below 1 sends nothing, and gives 1. -1 with error 73, the datagram's first bytes and line
 * 1318 in the history for one that isn't sent: what went before stays sent. Error 85 for a null
 * pData. RECEIVERS TAKE AT MOST 32768 DATAGRAMS, 1071644672 bytes: of a longer message they take
 * nothing, and this call doesn't tell.
 */
MOLTE_API int32_t ORVEX_SOCKUDP_LargeSend(OXSOCKET hSocket, const void* pData, int32_t nLen,
                                          const OXSOCKADDR* pAddr, int32_t nAddrLen,
                                          int32_t nDelayMicroSec);

/*
 * Waits for a message, for as long as it takes: 1 with it in *ppData, the caller's to free with
 * ORVEX_free, and its length in *pnLen. pAddr, unless null, gets where the last datagram came from,
 * be it of the message or not; *pnAddrLen is its size, 16 where the pointer is null, and then what
 * was written.
 *
 * 0 when the socket is found closed. -1 when the wait fails, error 75 with line 1458 in the
 * history, also when another thread closes the socket, which is seen a second later at most; error
 * 74 with line 1475 when a datagram can't be read, also for one of more than 32768 bytes and on a
 * socket that is shut; error 20 with line 1517 when there is no memory; without an error when
 * bStopAll of g_stBv is set as a message is dropped by time. WHILE NO MESSAGE HAS BEGUN bStopAll
 * ISN'T SEEN: close the socket. Error 86 for a null ppData or pnLen. On 0 and -1 *ppData is null.
 *
 * What can be no datagram of a message is passed over, with error 300 in the record when its head
 * is bad: one whose lengths don't agree, whose data is empty or lies outside of its message, whose
 * index isn't below its count, or whose message couldn't have been cut into so few, or is one of
 * more than 32768. A REPEATED DATAGRAM IS COPIED AGAIN. Memory is used up by what has come, not by
 * the length that a head claims.
 */
MOLTE_API int32_t ORVEX_SOCKUDP_LargeRecv(OXSOCKET hSocket, uint8_t** ppData, int32_t* pnLen,
                                          OXSOCKADDR* pAddr, int32_t* pnAddrLen);

/* Zeroes a head and writes its size, version and magic: 1; -1 with error 50 for null. */
MOLTE_API int32_t MOLTE_UDPHEAD_Init(MOLTE_UDPHEAD* pHead);

/* 1 if those three are in place, else 0 with error 300 ("bad udp head"). */
MOLTE_API int32_t MOLTE_UDPHEAD_IsValid(const MOLTE_UDPHEAD* pHead);

/* ---- The request record ---- */

/* Zeroes a record and writes its marks: 0, NOT 1; -1 with error 50 for null. */
MOLTE_API int32_t InitUDPRequest(UDPRequest* pRequest);

/* 1 if its marks are in place, else 0, also for null. */
MOLTE_API int32_t IsValidUDPRequest(const UDPRequest* pRequest);

/* Its number; 0 for null. */
MOLTE_API int32_t GetUDPRequestValue(const UDPRequest* pRequest);

/* Writes its number: 1; -1 with error 50 for null. THE VALUE COMES FIRST. */
MOLTE_API int32_t SetUDPRequestValue(int32_t nValue, UDPRequest* pRequest);

#endif
