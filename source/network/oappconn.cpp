#include "moltelib/app_connection.h"

#include <cstring>

#include "core/modules.h"
#include "moltelib/socket.h"
#include "moltelib/socket_option.h"
#include "moltelib/state.h"

namespace {

constexpr auto kModule = molte::kOappconn;

OXSOCKET socket_of(const ORVEX_APPCONN* connection) {
    return connection != nullptr ? connection->hSocket : OXSOCKET_INVALID;
}

template <typename Open>
int32_t open_by(int32_t line, ORVEX_APPCONN* connection, Open open) {
    if (ORVEX_APPCONN_InitConnStruct(connection) == 0) {
        kModule.fail(line, molte::kBadArgument);
        return kModule.trace(line);
    }
    connection->hSocket = open();
    return connection->hSocket != OXSOCKET_INVALID ? 1 : kModule.trace(line);
}

int32_t whole_or_failed(int32_t line, int32_t moved, int32_t length) {
    if (moved == length) return length;
    if (length < 0) kModule.fail(line, molte::kBadArgument);
    return kModule.trace(line);
}

}  // namespace

int32_t ORVEX_APPCONN_InitConnStruct(ORVEX_APPCONN* pConn) {
    if (pConn == nullptr) return 0;
    *pConn = {OXSOCKET_INVALID, 0};
    return 1;
}

int32_t ORVEX_APPCONN_IsValid(const ORVEX_APPCONN* pConn) {
    return socket_of(pConn) != OXSOCKET_INVALID ? 1 : 0;
}

int32_t ORVEX_APPCONN_ClientOpen(ORVEX_APPCONN* pConn, const char* pszName, int32_t nPort) {
    return open_by(52, pConn, [=] { return ORVEX_SOCK_ClientOpen(pszName, nPort); });
}

int32_t ORVEX_APPCONN_ClientOpenEx(ORVEX_APPCONN* pConn, const void* pHost, int32_t nPort,
                                   int32_t bByIP) {
    return open_by(37, pConn, [=] {
        if (bByIP == 0 || pHost == nullptr) {
            return ORVEX_SOCK_ClientOpen(static_cast<const char*>(pHost), nPort);
        }
        uint32_t ip = 0;  // which may stand at any address of a packed record
        std::memcpy(&ip, pHost, sizeof ip);
        return ORVEX_SOCK_ClientOpenByIP(&ip, nPort);
    });
}

int32_t ORVEX_APPCONN_SendData(ORVEX_APPCONN* pConn, const void* pData, int32_t nLen) {
    return whole_or_failed(66, ORVEX_SOCK_SendWithOption(socket_of(pConn), pData, nLen, 0), nLen);
}

int32_t ORVEX_APPCONN_RecvData(ORVEX_APPCONN* pConn, void* pData, int32_t nLen) {
    return whole_or_failed(97, ORVEX_SOCK_RecvWithOption(socket_of(pConn), pData, nLen, 0), nLen);
}

int32_t ORVEX_APPCONN_CloseConnection(ORVEX_APPCONN* pConn) {
    if (ORVEX_APPCONN_IsValid(pConn) != 0) {
        constexpr int32_t careful = 1;
        if (g_stBv.bSockSafeClose != 0) {
            ORVEX_SOCK_CloseEx(pConn->hSocket, careful);
        } else {
            ORVEX_SOCK_Close(pConn->hSocket);
        }
    }
    ORVEX_APPCONN_InitConnStruct(pConn);
    return 1;
}

int32_t ORVEX_APPCONN_SetSendTimeOut(ORVEX_APPCONN* pConn, int32_t nSeconds) {
    return nSeconds >= 0 ? ORVEX_SOCK_SetSendTimeOut(socket_of(pConn), nSeconds) : 0;
}

int32_t ORVEX_APPCONN_SetRecvTimeOut(ORVEX_APPCONN* pConn, int32_t nSeconds) {
    return nSeconds >= 0 ? ORVEX_SOCK_SetRecvTimeOut(socket_of(pConn), nSeconds) : 0;
}
