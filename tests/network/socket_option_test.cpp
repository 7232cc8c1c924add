#include "moltelib/socket_option.h"

#include "support/asleep.h"
#include "support/loopback.h"

namespace {

TEST(SocketOption, WhatIsSetIsRead) {
    const OwnedSocket udp(ORVEX_SOCKUDP_ClientOpen());
    const auto value = [&](int32_t name) { return ORVEX_SOCK_GetIntOption(udp, name); };
    EXPECT_EQ(value(OXSOCK_SO_REUSEADDR), 0);
    EXPECT_EQ(ORVEX_SOCK_ReuseSocket(udp), 0);
    EXPECT_EQ(value(OXSOCK_SO_REUSEADDR), 1);
    EXPECT_EQ(ORVEX_SOCK_SetCanBroadcast(udp), 0);
    EXPECT_EQ(value(OXSOCK_SO_BROADCAST), 1);
    EXPECT_EQ(ORVEX_SOCK_SetNoBroadcast(udp), 0);
    EXPECT_EQ(value(OXSOCK_SO_BROADCAST), 0);
    EXPECT_EQ(ORVEX_SOCK_SetIntOption(udp, OXSOCK_SO_RCVBUF, 65536), 0);
    EXPECT_EQ(value(OXSOCK_SO_RCVBUF), 65536);
    EXPECT_EQ(value(OXSOCK_SO_TYPE), OXSOCK_DGRAM);
    for (const auto& [seconds, milli] : {tuple(3, 3000), {0, 0}, {INT32_MAX, 2147483000}}) {
        EXPECT_EQ(ORVEX_SOCK_SetRecvTimeOut(udp, seconds), 0);
        EXPECT_EQ(ORVEX_SOCK_SetSendTimeOut(udp, seconds), 0);
        EXPECT_EQ(value(OXSOCK_SO_RCVTIMEO), milli);
        EXPECT_EQ(value(OXSOCK_SO_SNDTIMEO), milli);
    }
    EXPECT_EQ(ORVEX_SOCK_MultiCastSetTTL(udp, 200), 0);
    EXPECT_EQ(ORVEX_SOCK_MultiCastGetTTL(udp), 200);
    for (const uint8_t flag : {uint8_t{0}, uint8_t{1}}) {
        EXPECT_EQ(ORVEX_SOCK_SetLoopbackFlag(udp, flag), 0);
        EXPECT_EQ(ORVEX_SOCK_GetLoopbackFlag(udp), flag);
    }
    EXPECT_EQ(ORVEX_SOCK_MultiCastSetIF(udp, "127.0.0.1"), 0);
    const OwnedSocket tcp(ORVEX_SOCK_OpenSocket());
    const uint16_t linger[2] = {1, 300};
    uint16_t read[2] = {};
    int32_t size = sizeof read;
    EXPECT_EQ(ORVEX_SOCK_SetOption(tcp, OXSOCK_SOL_SOCKET, OXSOCK_SO_LINGER, linger, 4), 0);
    EXPECT_EQ(ORVEX_SOCK_GetOption(tcp, OXSOCK_SOL_SOCKET, OXSOCK_SO_LINGER, read, &size), 0);
    EXPECT_TRUE(read[0] == 1 && read[1] == 300 && size == 4);
    const int32_t on = 1;
    EXPECT_EQ(ORVEX_SOCK_SetOption(tcp, OXSOCK_IPPROTO_TCP, OXSOCK_TCP_NODELAY, &on, 4), 0);
}

TEST(SocketOption, GroupsAreJoinedAndLeft) {
    const OwnedSocket udp(ORVEX_SOCKUDP_ServerOpen(0));
    OXSOCKADDR group;
    ORVEX_SOCK_SetAddr(&group, 0xEF010203, 0);
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastJoin(udp, nullptr)), "83 oxsockop set opt");
    if (ORVEX_SOCK_MultiCastJoin(udp, &group) != 0) GTEST_SKIP() << "no interface for multicast";
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastJoin(udp, &group)), "83 oxsockop set opt");
    EXPECT_EQ(ORVEX_SOCK_MultiCastDrop(udp, &group), 0);
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastDrop(udp, &group)), "83 oxsockop set opt");
}

TEST(SocketOption, Refusals) {
    const OwnedSocket udp(ORVEX_SOCKUDP_ClientOpen());
    EXPECT_EQ(error_of(ORVEX_SOCK_SetRecvTimeOut(udp, -1)), "83 oxsockop set opt");
    EXPECT_EQ(error_of(ORVEX_SOCK_SetIntOption(udp, 4711, 1)), "83 oxsockop set opt");
    EXPECT_EQ(error_of(ORVEX_SOCK_GetIntOption(udp, 4711)), "83 oxsockop get opt");
    EXPECT_GE(ORVEX_SOCK_GetIntOption(udp, OXSOCK_SO_MAX_MSG_SIZE), 65507);
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastSetIF(udp, "")), "84 oxsockop");
    EXPECT_EQ(error_of(ORVEX_SOCK_SetLoopbackFlag(OXSOCKET_INVALID, 1)), "83 oxsockop set opt");
    EXPECT_EQ(system_error_name(), "ENOTSOCK");
    EXPECT_EQ(error_of(ORVEX_SOCK_GetLoopbackFlag(UINT64_C(1) << 32)), "83 oxsockop get opt");
    uint32_t value = 1;
    EXPECT_EQ(error_of(ORVEX_SOCK_Ioctl(udp, 12345, &value)), "83 oxsockop ioctl");
}

TEST(SocketOption, ASocketThatDoesNotWait) {
    const Connection peers;
    uint32_t on = 1;
    EXPECT_EQ(ORVEX_SOCK_Ioctl(peers.server, OXSOCK_FIONBIO, &on), 0);
    char bytes[3];
    EXPECT_EQ(ORVEX_SOCK_Recv(peers.server, bytes, 1), -1);
    EXPECT_EQ(system_error_name(), "EWOULDBLOCK");
    EXPECT_EQ(ORVEX_SOCK_Send(peers.client, "abc", 3), 3);
    EXPECT_EQ(ORVEX_SOCK_WaitDataToRead(&peers.server.number, 1, 20, 0, nullptr), 1);
    EXPECT_EQ(ORVEX_SOCK_BufDataLen(peers.server), 3);
    EXPECT_EQ(ORVEX_SOCK_RecvWithOption(peers.server, bytes, 3, OXSOCK_MSG_PEEK), 3);
    EXPECT_EQ(ORVEX_SOCK_DiscardData(peers.server), 1);
    EXPECT_EQ(ORVEX_SOCK_BufDataLen(peers.server), 0);
    EXPECT_EQ(error_of(ORVEX_SOCK_BufDataLen(OXSOCKET_INVALID)), "83 oxsockop ioctl");

    EXPECT_EQ(ORVEX_SOCK_Ioctl(peers.listener, OXSOCK_FIONBIO, &on), 0);
    EXPECT_EQ(error_number_of(ORVEX_SOCK_Accept(peers.listener)), 78U);
    EXPECT_EQ(system_error_name(), "EWOULDBLOCK");
    on = 0;
    EXPECT_EQ(ORVEX_SOCK_Ioctl(peers.listener, OXSOCK_FIONBIO, &on), 0);
    SleepingThread server(
        [&] { EXPECT_TRUE(OwnedSocket(ORVEX_SOCK_Accept(peers.listener)) != OXSOCKET_INVALID); });
    const OwnedSocket late(ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(peers.listener)));
    server.join();
}

}  // namespace
