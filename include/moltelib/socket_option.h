/*
 * Options of sockets.
 *
 * The numbers below hold on every system, and so do the forms of the values: time limits are
 * milliseconds, a linger record is two 16-bit numbers (on or off, seconds). Unless told otherwise a
 * function returns 0, or -1 with error 83 and the data "set opt" ("get opt" where it reads).
 *
 * Failures are reported under module "oxsockop".
 */
#ifndef MOLTELIB_SOCKET_OPTION_H
#define MOLTELIB_SOCKET_OPTION_H

#include "moltelib/base.h"
#include "moltelib/socket_address.h"

/* Levels. */
#define OXSOCK_SOL_SOCKET 65535
#define OXSOCK_IPPROTO_IP 0
#define OXSOCK_IPPROTO_TCP 6

/* Options of the socket. */
#define OXSOCK_SO_REUSEADDR 4
#define OXSOCK_SO_KEEPALIVE 8
#define OXSOCK_SO_BROADCAST 32
#define OXSOCK_SO_LINGER 128
#define OXSOCK_SO_SNDBUF 4097
#define OXSOCK_SO_RCVBUF 4098
#define OXSOCK_SO_SNDTIMEO 4101
#define OXSOCK_SO_RCVTIMEO 4102
#define OXSOCK_SO_ERROR 4103
#define OXSOCK_SO_TYPE 4104
#define OXSOCK_SO_MAX_MSG_SIZE 8195 /* to be read from a datagram socket: 65507 on Linux */

/* Of IP. */
#define OXSOCK_IP_TTL 4
#define OXSOCK_IP_MULTICAST_IF 9
#define OXSOCK_IP_MULTICAST_TTL 10
#define OXSOCK_IP_MULTICAST_LOOP 11
#define OXSOCK_IP_ADD_MEMBERSHIP 12
#define OXSOCK_IP_DROP_MEMBERSHIP 13

/* Of TCP. */
#define OXSOCK_TCP_NODELAY 1

/* Commands. */
#define OXSOCK_FIONREAD 0x4004667Fu /* bytes that can be read at once */
#define OXSOCK_FIONBIO 0x8004667Eu  /* 1: calls don't wait; 0: they do */

/* Any option; nLen, *pnLen are bytes at pValue. */
MOLTE_API int32_t ORVEX_SOCK_SetOption(OXSOCKET hSocket, int32_t nLevel, int32_t nName,
                                       const void* pValue, int32_t nLen);
MOLTE_API int32_t ORVEX_SOCK_GetOption(OXSOCKET hSocket, int32_t nLevel, int32_t nName,
                                       void* pValue, int32_t* pnLen);

/* An option of the socket with a value of 4 bytes. The second returns the value, -1 on failure. */
MOLTE_API int32_t ORVEX_SOCK_SetIntOption(OXSOCKET hSocket, int32_t nName, int32_t nValue);
MOLTE_API int32_t ORVEX_SOCK_GetIntOption(OXSOCKET hSocket, int32_t nName);

/* A command with its argument, which it may change: 0, or -1 with error 83 and "ioctl". */
MOLTE_API int32_t ORVEX_SOCK_Ioctl(OXSOCKET hSocket, uint32_t nCommand, uint32_t* pnArg);

/*
 * The longest a single wait for data, or for room to send, may last. In SECONDS; 0 means no limit.
 * A negative number is error 83, and what exceeds 2147483 (24 days) counts as that. A listening
 * socket gives its limits to those it accepts; its own wait has none.
 */
MOLTE_API int32_t ORVEX_SOCK_SetRecvTimeOut(OXSOCKET hSocket, int32_t nSeconds);
MOLTE_API int32_t ORVEX_SOCK_SetSendTimeOut(OXSOCKET hSocket, int32_t nSeconds);

/*
 * The address may be bound again. On Linux while connections of a former listener linger; ON
 * WINDOWS EVEN WHILE ANOTHER SOCKET IS BOUND TO IT.
 */
MOLTE_API int32_t ORVEX_SOCK_ReuseSocket(OXSOCKET hSocket);

/* Datagrams may go to broadcast addresses, or not. */
MOLTE_API int32_t ORVEX_SOCK_SetCanBroadcast(OXSOCKET hSocket);
MOLTE_API int32_t ORVEX_SOCK_SetNoBroadcast(OXSOCKET hSocket);

/* ---- Multicast ---- */

/* Joins, leaves the group whose address the record holds, on the interface of the system's choice.
 */
MOLTE_API int32_t ORVEX_SOCK_MultiCastJoin(OXSOCKET hSocket, const OXSOCKADDR* pAddr);
MOLTE_API int32_t ORVEX_SOCK_MultiCastDrop(OXSOCKET hSocket, const OXSOCKADDR* pAddr);

/* How many routers a datagram passes. The second returns the value, -1 on failure. */
MOLTE_API int32_t ORVEX_SOCK_MultiCastSetTTL(OXSOCKET hSocket, uint8_t nTTL);
MOLTE_API int32_t ORVEX_SOCK_MultiCastGetTTL(OXSOCKET hSocket);

/* The interface to send by, named by its address or host name (ORVEX_SOCK_NameToIP). */
MOLTE_API int32_t ORVEX_SOCK_MultiCastSetIF(OXSOCKET hSocket, const char* pszName);

/* Whether this host gets what it sends to a group. The second returns it, -1 on failure. */
MOLTE_API int32_t ORVEX_SOCK_SetLoopbackFlag(OXSOCKET hSocket, uint8_t bLoopback);
MOLTE_API int32_t ORVEX_SOCK_GetLoopbackFlag(OXSOCKET hSocket);

#endif
