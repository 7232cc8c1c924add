#include "moltelib/app_connection.h"

#include "network/socket_scenes.h"

namespace {

int32_t open_by_ip(ORVEX_APPCONN* conn, Text host, int32_t port) {
    uint32_t ip = 0;
    ORVEX_SOCK_NameToIP(host, &ip);
    return ORVEX_APPCONN_ClientOpenEx(conn, &ip, port, 1);
}
int32_t open_by_either(ORVEX_APPCONN* conn, Text host, int32_t port, int32_t by_ip) {
    return ORVEX_APPCONN_ClientOpenEx(conn, host, port, by_ip);
}
int32_t spoil(ORVEX_APPCONN* conn) {
    *conn = {7, 7};
    return 1;
}
int64_t state(ORVEX_APPCONN* conn) {
    return conn->nState;
}
int32_t end(ORVEX_APPCONN* conn) {
    return ORVEX_SOCK_Shutdown(conn->hSocket, 1, 0);
}
int32_t wait_for_data(ORVEX_APPCONN* conn) {
    return wait_to_read(conn->hSocket);
}
int32_t careful(int32_t closes) {
    return g_stBv.bSockSafeClose = closes;
}
std::string limit(ORVEX_APPCONN* conn, int32_t seconds) {
    EXPECT_EQ(ORVEX_APPCONN_SetSendTimeOut(conn, seconds), 0);
    EXPECT_EQ(ORVEX_APPCONN_SetRecvTimeOut(conn, seconds), 0);
    return std::to_string(ORVEX_SOCK_GetIntOption(conn->hSocket, OXSOCK_SO_SNDTIMEO)) + " " +
           std::to_string(ORVEX_SOCK_GetIntOption(conn->hSocket, OXSOCK_SO_RCVTIMEO));
}

constexpr bool with_lines = true;
[[maybe_unused]] const bool plays = play_scenes<Sockets>(
    "AppConnection", TEST_ROWS,
    with_socket_steps({{"open_by_name", socket_step<ORVEX_APPCONN_ClientOpen>},
                       {"open_by_ip", socket_step<open_by_ip>},
                       {"open_by_either", socket_step<open_by_either>},
                       {"valid", step_of<ORVEX_APPCONN_IsValid>},
                       {"spoil", step_of<spoil>},
                       {"state", step_of<state>},
                       {"send_data", step_of<ORVEX_APPCONN_SendData>},
                       {"receive_data", step_of<ORVEX_APPCONN_RecvData>},
                       {"limit", step_of<limit>},
                       {"limit_send", step_of<ORVEX_APPCONN_SetSendTimeOut>},
                       {"end", step_of<end>},
                       {"wait_for_data", step_of<wait_for_data>},
                       {"careful", step_of<careful>},
                       {"close_connection", step_of<ORVEX_APPCONN_CloseConnection>}}),
    with_lines);

}  // namespace
