/*
 * Sockets by IPv4: open, move data, wait, close.
 *
 *     OXSOCKET peer = ORVEX_SOCK_ClientOpen("matcher", 4711);
 *     if (peer == OXSOCKET_INVALID || ORVEX_SOCK_Send(peer, request, size) < 0) ORVEX_Err_Print();
 *     ORVEX_SOCK_Close(peer);
 *
 * The first call that opens a socket starts the system's socket library. A function that returns a
 * socket returns OXSOCKET_INVALID on failure. Nothing is tried again, no socket is closed but by
 * those functions and by an open that failed, and there is no framing: what is sent in one call may
 * be received in two. After a failed send or receive nobody knows how far the stream is; close it.
 *
 * No call raises a signal or is ended by one, and sockets aren't inherited by programs that are
 * started. Any descriptor works, however large. A socket may be used by several threads, but two
 * that send, or two that receive, mix their data.
 *
 * A report of a failed call holds the system's number of the error and its name ("ECONNREFUSED",
 * on Windows "WSAECONNREFUSED"), "No Error" for those beside the usual ones. A socket that isn't
 * open is error 72 to 83 of the call that meets it, never a crash.
 *
 * Failures are reported under module "oxsockop".
 */
#ifndef MOLTELIB_SOCKET_H
#define MOLTELIB_SOCKET_H

#include "moltelib/base.h"
#include "moltelib/socket_address.h"

/* Families, types and protocols of ORVEX_SOCK_Socket. */
#define OXSOCK_AF_INET 2
#define OXSOCK_STREAM 1
#define OXSOCK_DGRAM 2
#define OXSOCK_RAW 3
#define OXSOCK_IPPROTO_ICMP 1

/* Flags of the calls that move data. Any other is refused. */
#define OXSOCK_MSG_OOB 1       /* urgent data */
#define OXSOCK_MSG_PEEK 2      /* what is read stays; for a single piece of at most 4096 bytes */
#define OXSOCK_MSG_DONTROUTE 4 /* to hosts of the own network alone */
#define OXSOCK_MSG_WAITALL 8   /* a receive waits for all it asked for */

/* Time limits that the program sets for the sockets opened here, in seconds, and what was measured
 * of transfers that reached their end: bytes per second, all 0 before the first. */
typedef struct ORVEX_GLBSOCKOPT {
    int32_t nServerSendTimeOut; /* of listening sockets and those they accept, if above 0 */
    int32_t nServerRecvTimeOut;
    int32_t nClientSendTimeOut; /* of connected sockets, if above 0 */
    int32_t nClientRecvTimeOut;
    int32_t nMinSendSpeed;
    int32_t nMaxSendSpeed;
    int32_t nMinRecvSpeed;
    int32_t nMaxRecvSpeed;
} ORVEX_GLBSOCKOPT;

/* Sockets to wait for; after the call those that are ready. */
typedef struct OXSOCKSET {
    uint32_t nCount; /* at most 64 */
    OXSOCKET ahSocket[64];
} OXSOCKSET;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_GLBSOCKOPT) == 32);
static_assert(sizeof(OXSOCKSET) == 520 && offsetof(OXSOCKSET, ahSocket) == 8);
#endif

/* All 0 at load; the library only writes the speeds. */
MOLTE_API ORVEX_GLBSOCKOPT g_glbsockopt;

/* How far the latest transfer of the process is, 0 to 100. An indicator only: one for all threads.
 */
MOLTE_API int32_t nSockProgressPercent;

/* ---- Start and end ---- */

/* Starts the system's socket library unless it is: 1, or -1 with error 79 and its reason. */
MOLTE_API int32_t ORVEX_SOCK_Init(void);
MOLTE_API int32_t ORVEX_SOCK_EnsureInited(void);

/*
 * Ends it, for all users in the process: starts aren't counted. On Windows open sockets fail from
 * then on, elsewhere they stay. A later open starts it again. 1.
 */
MOLTE_API int32_t ORVEX_SOCK_End(void);

/* ---- Open ---- */

/* A TCP socket, or one of any kind; error 80. */
MOLTE_API OXSOCKET ORVEX_SOCK_OpenSocket(void);
MOLTE_API OXSOCKET ORVEX_SOCK_Socket(int32_t nFamily, int32_t nType, int32_t nProtocol);

/*
 * Connects to a host by its name or dotted text, or by the address at pnNetIP, and applies the
 * client's time limits. Error 82 ("IP=%s Port=%d") when nobody answers there, after whatever time
 * the system gives it, and for a port that is none; those of ORVEX_SOCK_NameToIP; 83 when a limit
 * can't be set.
 */
MOLTE_API OXSOCKET ORVEX_SOCK_ClientOpen(const char* pszName, int32_t nPort);
MOLTE_API OXSOCKET ORVEX_SOCK_ClientOpenByIP(const uint32_t* pnNetIP, int32_t nPort);

/*
 * Listens at a port of all interfaces, at one that the system chooses for 0 or below, with the
 * backlog of g_stBv.nListenBacklogCnt (100 when that is below 1), and applies the server's time
 * limits. Bit 0 of nFlags: ORVEX_SOCK_ReuseSocket first, which ORVEX_SOCK_ServerOpen does. Error 76
 * with the 16 bytes of the address when it can't be had, 83 when an option can't be set.
 */
MOLTE_API OXSOCKET ORVEX_SOCK_ServerOpenEx(int32_t nPort, int32_t nFlags);
MOLTE_API OXSOCKET ORVEX_SOCK_ServerOpen(int32_t nPort);

/*
 * Waits for a client, without a limit; error 78, also when another thread closes the listener,
 * which is seen a second later at most. The second also gives the client's address, unless pAddr is
 * null; *pnAddrLen is its size, 16 where the pointer is null, and then what was written.
 */
MOLTE_API OXSOCKET ORVEX_SOCK_Accept(OXSOCKET hSocket);
MOLTE_API OXSOCKET ORVEX_SOCK_AcceptPeer(OXSOCKET hSocket, OXSOCKADDR* pAddr, int32_t* pnAddrLen);

/* Binds to an address in host order and a port, a negative one counting as 0: 1, -1 with error 76.
 */
MOLTE_API int32_t ORVEX_SOCK_Bind(OXSOCKET hSocket, uint32_t nHostIP, int32_t nPort);

/* A UDP socket; one that is bound as ORVEX_SOCK_Bind does, but for the address's network order, and
 * with ORVEX_SOCK_ReuseSocket before. */
MOLTE_API OXSOCKET ORVEX_SOCKUDP_ClientOpen(void);
MOLTE_API OXSOCKET ORVEX_SOCKUDP_ServerOpenEx(int32_t nPort, uint32_t nNetIP);
MOLTE_API OXSOCKET ORVEX_SOCKUDP_ServerOpen(int32_t nPort);

/* ---- Close ---- */

/* 1; 0 for OXSOCKET_INVALID; -1 with error 72. Data not read makes the system tell the peer so. */
MOLTE_API int32_t ORVEX_SOCK_Close(OXSOCKET hSocket);

/*
 * With bit 0 of nFlags the careful close: it tells the peer the end of the data, and takes and
 * drops what that still sends, for one second at most. Its time limit of receiving is 1 second
 * then. Results as above; what fails before the close is reported and ignored.
 */
MOLTE_API int32_t ORVEX_SOCK_CloseEx(OXSOCKET hSocket, int32_t nFlags);

/* Ends sending, receiving or both: 1, or -1 with error 83; 0 when neither is wanted. */
MOLTE_API int32_t ORVEX_SOCK_Shutdown(OXSOCKET hSocket, int32_t bSend, int32_t bRecv);

/* ---- Move data ---- */

/*
 * Sends, receives exactly nLen bytes, in pieces of at most 4096, each with the flags nOption: nLen;
 * 0 for nLen below 1, which touches nothing; -1. A time limit that passes, an end of the peer or a
 * socket that doesn't wait is a failure like any other, and WHAT WAS MOVED UNTIL THEN IS LOST.
 * Errors 73 and 74 tell result, bytes moved and wanted, the peer, and the seconds of the last
 * piece; 85 ("send data error: Len=%d Pt=%p") and 86 a null buffer.
 *
 * nSockProgressPercent grows with the pieces by 100 / (nLen / 4096 + 1), up to 100, and is 100 at
 * the end; SO FROM 409600 BYTES ON IT IS 0 UNTIL THEN. A failure leaves it as it is. The speeds are
 * updated by transfers of a millisecond and more, IN 32 BITS: above 2147483 bytes they wrap.
 */
MOLTE_API int32_t ORVEX_SOCK_SendWithOption(OXSOCKET hSocket, const void* pData, int32_t nLen,
                                            int32_t nOption);
MOLTE_API int32_t ORVEX_SOCK_Send(OXSOCKET hSocket, const void* pData, int32_t nLen);
MOLTE_API int32_t ORVEX_SOCK_RecvWithOption(OXSOCKET hSocket, void* pData, int32_t nLen,
                                            int32_t nOption);
MOLTE_API int32_t ORVEX_SOCK_Recv(OXSOCKET hSocket, void* pData, int32_t nLen);

/*
 * One datagram: the bytes moved, or -1. Error 73 holds its first bytes, error 74 those of the
 * address; 85, 86 a null buffer. Of the addresses either may be null; *pnAddrLen is the size of
 * pAddr, 16 where the pointer is null, and then what was written. A datagram longer than nLen is
 * cut, lost, and error 74.
 */
MOLTE_API int32_t ORVEX_SOCKUDP_Send(OXSOCKET hSocket, const void* pData, int32_t nLen,
                                     int32_t nFlags, const OXSOCKADDR* pAddr, int32_t nAddrLen);
MOLTE_API int32_t ORVEX_SOCKUDP_Recv(OXSOCKET hSocket, void* pData, int32_t nLen, int32_t nFlags,
                                     OXSOCKADDR* pAddr, int32_t* pnAddrLen);

/* How many bytes can be read at once; of UDP on Linux, those of the first datagram. -1 with 83. */
MOLTE_API int32_t ORVEX_SOCK_BufDataLen(OXSOCKET hSocket);

/* Reads and drops what has come, for as long as more comes; 1. A failed read ends the first; the
 * second reports it, and ends only when nothing was taken by it. */
MOLTE_API int32_t ORVEX_SOCK_DiscardData(OXSOCKET hSocket);
MOLTE_API int32_t ORVEX_SOCKUDP_DiscardData(OXSOCKET hSocket);

/*
 * Relays between two connected sockets until both have ended: 1. When one has, what comes from the
 * other is dropped. Failures of reads and sends are reported and end nothing but the side that
 * can't be read. -1 with a failed wait. The sockets stay open.
 */
MOLTE_API int32_t ORVEX_SOCK_Proxy(OXSOCKET hA, OXSOCKET hB);

/* ---- Wait ---- */

/*
 * Waits until a socket of the sets is ready: to be read, to be written, for urgent data or a failed
 * connection, which the third set alone tells. A TCP socket that was never connected is ready for
 * nothing. Sets may be null, but hold one socket in all, and none may be given twice. A negative
 * nSec means no limit. How many are ready, and the sets keep those; 0 after the time, with empty
 * sets; -1 with error 75, also for a socket that isn't open or is closed meanwhile. nfds isn't
 * looked at.
 */
MOLTE_API int32_t ORVEX_SOCK_Select(int32_t nfds, OXSOCKSET* pRead, OXSOCKSET* pWrite,
                                    OXSOCKSET* pExcept, int32_t nSec, int32_t nMicroSec);

/*
 * Waits until one of nCount sockets can be read, which it can at the end of its peer as well. How
 * many different ones can; pnFlags, if not null, is nCount words, 1 for each entry that can, else
 * 0. ONLY THE FIRST 64 DIFFERENT SOCKETS ARE WATCHED; others are never flagged. 0 after the time;
 * -1 with error 87 for a null array or a count below 1, error 75 as above. A negative nSec means no
 * limit.
 */
MOLTE_API int32_t ORVEX_SOCK_WaitDataToRead(const OXSOCKET* phSocket, int32_t nCount, int32_t nSec,
                                            int32_t nMicroSec, int32_t* pnFlags);

#endif
