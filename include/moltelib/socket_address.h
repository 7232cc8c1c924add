/*
 * Addresses of IPv4, their texts, and the names of hosts.
 *
 * An address of a socket is a record of 16 bytes, the system's own sockaddr_in: a pointer to one
 * may be cast to the other. An "IP" is a 32-bit address. MIND THE BYTE ORDER: HostIP is a number of
 * the machine (0x7F000001 for 127.0.0.1), NetIP and the IPs without another word are in network
 * order, as they lie in the record. Ports are numbers of the machine everywhere but in the record.
 *
 * A text of an IP takes 16 bytes with its terminator; OXSOCK_IP_TEXT_SIZE.
 *
 * Look-ups of names wait for the system, which may take seconds, and may be made by many threads at
 * once. They are error 81 when the host isn't found.
 *
 * Failures are reported under module "oxsockop".
 */
#ifndef MOLTELIB_SOCKET_ADDRESS_H
#define MOLTELIB_SOCKET_ADDRESS_H

#include "moltelib/base.h"

#define OXSOCK_IP_TEXT_SIZE 16

/* An address and a port. */
typedef struct OXSOCKADDR {
    uint16_t nFamily; /* 2 for IPv4 */
    uint16_t nNetPort;
    uint32_t nNetIP;
    uint8_t abyZero[8];
} OXSOCKADDR;

#if defined(__cplusplus)
static_assert(sizeof(OXSOCKADDR) == 16 && offsetof(OXSOCKADDR, nNetIP) == 4);
#endif

/* Fill the record with an address in either byte order. Of the port the low 16 bits count; 1, or -1
 * with error 83 for a null pointer. */
MOLTE_API int32_t ORVEX_SOCK_SetAddr(OXSOCKADDR* pAddr, uint32_t nHostIP, int32_t nPort);
MOLTE_API int32_t ORVEX_SOCK_SetAddrN(OXSOCKADDR* pAddr, uint32_t nNetIP, int32_t nPort);

/*
 * Writes "IP=127.0.0.1 Port=80" and returns pszDst; cut to nDstLen - 1 characters, where a text of
 * exactly nDstLen also reports error 501. Null, or an nDstLen below 1, writes nothing; a null
 * record gives an empty text.
 */
MOLTE_API char* ORVEX_SOCK_AddrN2Str(const OXSOCKADDR* pAddr, char* pszDst, int32_t nDstLen);

/*
 * The address of dotted text, or the first one of a host: 1. -1 with error 84 for a null pointer or
 * an empty name, with error 81 and the name when there is no such host. "255.255.255.255" is looked
 * up as a name. Starts the socket library.
 */
MOLTE_API int32_t ORVEX_SOCK_NameToIP(const char* pszName, uint32_t* pnNetIP);

/* The dotted text of an address: 1; -1 with error 262 ("ip=%d", the address in the machine's order)
 * for a null pszDst. */
MOLTE_API int32_t ORVEX_SOCK_ntoa(uint32_t nHostIP, char* pszDst);
MOLTE_API int32_t ORVEX_SOCK_NetIP2Name(uint32_t nNetIP, char* pszDst);

/*
 * The own address of a socket, and that of its peer: 1, or -1 with error 83 (not bound, not
 * connected, null). The first sets *pnNetIP to 0 before it asks.
 */
MOLTE_API int32_t ORVEX_SOCK_GetHostIP(OXSOCKET hSocket, uint32_t* pnNetIP);
MOLTE_API int32_t ORVEX_SOCK_GetPeerIP(OXSOCKET hSocket, uint32_t* pnNetIP);

/* The same as dotted text. */
MOLTE_API int32_t ORVEX_SOCK_GetHostIPName(OXSOCKET hSocket, char* pszDst);
MOLTE_API int32_t ORVEX_SOCK_GetPeerIPName(OXSOCKET hSocket, char* pszDst);

/*
 * The name of a host by its address, cut to nDstLen - 1 characters: 1, or -1 with error 81, also
 * for null and an nDstLen below 1.
 */
MOLTE_API int32_t ORVEX_SOCK_GetHostNameByAddr(uint32_t nNetIP, char* pszDst, int32_t nDstLen);

/*
 * Writes at most nMax addresses of this host, by its name, and returns how many; 0 if there is
 * none; -1 with error 81. Starts the socket library.
 */
MOLTE_API int32_t ORVEX_SOCK_GetAllHostIP(uint32_t* pnNetIP, int32_t nMax);

#endif
