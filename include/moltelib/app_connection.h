/*
 * Application connections: an open TCP socket in a record of its own, which the protocols of
 * applications pass around.
 *
 *     ORVEX_APPCONN conn;
 *     if (ORVEX_APPCONN_ClientOpen(&conn, "matcher", 4711) < 0) return -1;
 *     ORVEX_APPCONN_SendData(&conn, request, size);
 *     ORVEX_APPCONN_CloseConnection(&conn);
 *
 * A record is used by one thread at a time. A failed transfer leaves it open; the caller closes it.
 * Null counts as a connection that isn't open, whose transfers fail, and which can't be opened.
 *
 * Failures are reported under modules "oappconn" and "oxsockop".
 */
#ifndef MOLTELIB_APP_CONNECTION_H
#define MOLTELIB_APP_CONNECTION_H

#include "moltelib/base.h"

typedef struct ORVEX_APPCONN {
    OXSOCKET hSocket; /* OXSOCKET_INVALID: not open */
    int64_t nState;   /* 0; nothing uses it */
} ORVEX_APPCONN;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_APPCONN) == 16);
#endif

/* Makes it a connection that isn't open: 1, 0 for null. One that is open in it is forgotten, NOT
 * CLOSED. */
MOLTE_API int32_t ORVEX_APPCONN_InitConnStruct(ORVEX_APPCONN* pConn);

/* Whether it holds a socket: 1 or 0. */
MOLTE_API int32_t ORVEX_APPCONN_IsValid(const ORVEX_APPCONN* pConn);

/*
 * Connects, as ORVEX_SOCK_ClientOpen does, and with the same time limits: 1, or -1 with its errors,
 * error 50 for a null record. The record is made anew before, whatever stands in it. The second
 * takes with bByIP at pHost an address in network order (uint32_t), without it a name.
 */
MOLTE_API int32_t ORVEX_APPCONN_ClientOpen(ORVEX_APPCONN* pConn, const char* pszName,
                                           int32_t nPort);
MOLTE_API int32_t ORVEX_APPCONN_ClientOpenEx(ORVEX_APPCONN* pConn, const void* pHost, int32_t nPort,
                                             int32_t bByIP);

/* Send, receive exactly nLen bytes, as ORVEX_SOCK_Send and ORVEX_SOCK_Recv do: nLen, also when it
 * is 0; -1 with their errors, with error 50 for nLen below 0. */
MOLTE_API int32_t ORVEX_APPCONN_SendData(ORVEX_APPCONN* pConn, const void* pData, int32_t nLen);
MOLTE_API int32_t ORVEX_APPCONN_RecvData(ORVEX_APPCONN* pConn, void* pData, int32_t nLen);

/*
 * Closes what is open; always 1, and after it the connection isn't open. With bSockSafeClose of
 * g_stBv (parameter SockSafeClose) by the careful close of ORVEX_SOCK_CloseEx, which takes a second
 * at most. A failure is reported and ignored.
 */
MOLTE_API int32_t ORVEX_APPCONN_CloseConnection(ORVEX_APPCONN* pConn);

/* The time limits of ORVEX_SOCK_SetSendTimeOut and ORVEX_SOCK_SetRecvTimeOut, in SECONDS, with
 * their results: 0, or -1. Seconds below 0 do nothing and give 0; 0 removes the limit. */
MOLTE_API int32_t ORVEX_APPCONN_SetSendTimeOut(ORVEX_APPCONN* pConn, int32_t nSeconds);
MOLTE_API int32_t ORVEX_APPCONN_SetRecvTimeOut(ORVEX_APPCONN* pConn, int32_t nSeconds);

#endif
