#include "moltelib/app_connection.h"

#include "support/loopback.h"

namespace {

// A connection, and the peer's end of it.
struct Session {
    OwnedSocket listener{ORVEX_SOCK_ServerOpen(0)};
    ORVEX_APPCONN conn = {7, 7};
    uint32_t ip = loopback_address(listener).nNetIP;
    int32_t opened = ORVEX_APPCONN_ClientOpenEx(&conn, &ip, port_of(listener), 1);
    OwnedSocket peer{opened == 1 ? ORVEX_SOCK_Accept(listener) : OXSOCKET_INVALID};
};

TEST(AppConnection, TransfersBothWays) {
    Session session;
    ORVEX_APPCONN& conn = session.conn;
    EXPECT_TRUE(ORVEX_APPCONN_IsValid(&conn) == 1 && conn.nState == 0);
    char bytes[6] = "";
    EXPECT_EQ(ORVEX_APPCONN_SendData(&conn, "there", 5), 5);
    EXPECT_EQ(ORVEX_SOCK_Recv(session.peer, bytes, 5), 5);
    EXPECT_EQ(ORVEX_SOCK_Send(session.peer, "back", 4), 4);
    EXPECT_EQ(ORVEX_APPCONN_RecvData(&conn, bytes, 4), 4);
    EXPECT_STREQ(bytes, "backe");
    for (const auto& [seconds, expected] : {tuple(3, 3000), {-1, 3000}, {0, 0}}) {
        EXPECT_EQ(ORVEX_APPCONN_SetSendTimeOut(&conn, seconds), 0);
        EXPECT_EQ(ORVEX_APPCONN_SetRecvTimeOut(&conn, seconds), 0);
        EXPECT_EQ(ORVEX_SOCK_GetIntOption(conn.hSocket, OXSOCK_SO_SNDTIMEO), expected);
        EXPECT_EQ(ORVEX_SOCK_GetIntOption(conn.hSocket, OXSOCK_SO_RCVTIMEO), expected);
    }

    EXPECT_EQ(session.peer.close(), 1);
    EXPECT_EQ(ORVEX_SOCK_Shutdown(conn.hSocket, 1, 0), 1);
    EXPECT_TRUE(told(ORVEX_APPCONN_SendData(&conn, "x", 1)).ends_with(" < 66 oappconn"));
    EXPECT_TRUE(told(ORVEX_APPCONN_RecvData(&conn, bytes, 1)).ends_with(" < 97 oappconn"));
    EXPECT_EQ(told(ORVEX_APPCONN_SendData(&conn, bytes, -1)), "50 oappconn @66 < 66 oappconn");
    EXPECT_EQ(told(ORVEX_APPCONN_RecvData(&conn, bytes, 0)), "0");
    for (const int32_t valid : {1, 0}) {
        EXPECT_EQ(ORVEX_APPCONN_IsValid(&conn), valid);
        EXPECT_EQ(ORVEX_APPCONN_CloseConnection(&conn), 1);
        EXPECT_EQ(taken_error(), "");
    }
}

TEST(AppConnection, OpensByName) {
    const Session session;
    const int32_t port = port_of(session.listener);
    ORVEX_APPCONN conn = {7, 7};
    EXPECT_EQ(ORVEX_APPCONN_ClientOpen(&conn, "127.0.0.1", port), 1);
    EXPECT_EQ(ORVEX_APPCONN_CloseConnection(&conn), 1);
    EXPECT_EQ(ORVEX_APPCONN_ClientOpenEx(&conn, "127.0.0.1", port, 0), 1);
    EXPECT_EQ(ORVEX_APPCONN_CloseConnection(&conn), 1);
}

TEST(AppConnection, OpensThatFail) {
    ORVEX_APPCONN conn = {7, 7};
    EXPECT_TRUE(told(ORVEX_APPCONN_ClientOpen(&conn, "", 1)).ends_with(", 52 oappconn"));
    EXPECT_TRUE(conn.hSocket == OXSOCKET_INVALID && conn.nState == 0);
    EXPECT_TRUE(told(ORVEX_APPCONN_ClientOpenEx(&conn, nullptr, 1, 1)).ends_with(", 37 oappconn"));
    EXPECT_EQ(error_of(ORVEX_APPCONN_ClientOpen(nullptr, "127.0.0.1", 1)), "50 oappconn");
    EXPECT_EQ(ORVEX_APPCONN_CloseConnection(nullptr), 1);
    EXPECT_EQ(error_of(ORVEX_APPCONN_SetSendTimeOut(nullptr, 1)), "83 oxsockop set opt");
}

// The careful close reads what comes before the end, and finds nothing more.
TEST(AppConnection, ClosesAsTheParameterSays) {
    for (const bool careful : {false, true}) {
        Session session;
        EXPECT_EQ(ORVEX_SOCK_Shutdown(session.peer, 1, 0), 1);
        EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&session.conn.hSocket, 1, 20, 0, nullptr), 1);
        ORVEX_Err_ClearError();
        g_stBv.bSockSafeClose = careful ? 1 : 0;
        EXPECT_EQ(ORVEX_APPCONN_CloseConnection(&session.conn), 1);
        g_stBv.bSockSafeClose = 0;
        EXPECT_EQ(taken_error().starts_with("74 oxsockop"), careful);
    }
}

}  // namespace
