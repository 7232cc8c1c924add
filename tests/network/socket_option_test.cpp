#include "moltelib/socket_option.h"

#include "network/socket_scenes.h"
#include "support/asleep.h"

namespace {

int32_t get_number(OXSOCKET socket, int32_t level, int32_t name, uint32_t* value, int32_t* size) {
    return ORVEX_SOCK_GetOption(socket, level, name, value, size);
}

using SocketOption = Sockets;

TEST_F(SocketOption, GroupsAreJoinedAndLeft) {
    const OwnedSocket udp(ORVEX_SOCKUDP_ServerOpen(0));
    OXSOCKADDR group;
    ORVEX_SOCK_SetAddr(&group, 0xEF010203, 0);
    if (ORVEX_SOCK_MultiCastJoin(udp, &group) != 0) GTEST_SKIP() << "no interface for multicast";
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastJoin(udp, &group)), "83 oxsockop set opt");
    EXPECT_EQ(ORVEX_SOCK_MultiCastDrop(udp, &group), 0);
    EXPECT_EQ(error_of(ORVEX_SOCK_MultiCastDrop(udp, &group)), "83 oxsockop set opt");
}

TEST_F(SocketOption, AnAcceptThatDoesNotWait) {
    const OwnedSocket listener(ORVEX_SOCK_ServerOpen(0));
    uint32_t on = 1;
    EXPECT_EQ(ORVEX_SOCK_Ioctl(listener, OXSOCK_FIONBIO, &on), 0);
    EXPECT_EQ(error_number_of(ORVEX_SOCK_Accept(listener)), 78U);
    EXPECT_EQ(system_error_name(), "EWOULDBLOCK");
    on = 0;
    EXPECT_EQ(ORVEX_SOCK_Ioctl(listener, OXSOCK_FIONBIO, &on), 0);
    SleepingThread server(
        [&] { EXPECT_TRUE(OwnedSocket(ORVEX_SOCK_Accept(listener)) != OXSOCKET_INVALID); });
    const OwnedSocket late(ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener)));
    server.join();
}

[[maybe_unused]] const bool plays = play_scenes<SocketOption>(
    "SocketOption", TEST_ROWS,
    with_socket_steps({{"set", socket_step<ORVEX_SOCK_SetIntOption>},
                       {"get_number", socket_step<get_number>},
                       {"reuse", socket_step<ORVEX_SOCK_ReuseSocket>},
                       {"allow_broadcasts", socket_step<ORVEX_SOCK_SetCanBroadcast>},
                       {"refuse_broadcasts", socket_step<ORVEX_SOCK_SetNoBroadcast>},
                       {"limit_receive", socket_step<ORVEX_SOCK_SetRecvTimeOut>},
                       {"limit_send", socket_step<ORVEX_SOCK_SetSendTimeOut>},
                       {"set_multicast_ttl", socket_step<ORVEX_SOCK_MultiCastSetTTL>},
                       {"multicast_ttl", socket_step<ORVEX_SOCK_MultiCastGetTTL>},
                       {"set_loopback", socket_step<ORVEX_SOCK_SetLoopbackFlag>},
                       {"loopback", socket_step<ORVEX_SOCK_GetLoopbackFlag>},
                       {"set_interface", socket_step<ORVEX_SOCK_MultiCastSetIF>},
                       {"join", socket_step<ORVEX_SOCK_MultiCastJoin>},
                       {"receive_with", socket_step<ORVEX_SOCK_RecvWithOption>},
                       {"discard", socket_step<ORVEX_SOCK_DiscardData>}}));

}  // namespace
