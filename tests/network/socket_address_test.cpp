#include "moltelib/socket_address.h"

#include "network/socket_scenes.h"

namespace {

using SocketAddress = Sockets;

TEST_F(SocketAddress, LiesInNetworkOrder) {
    OXSOCKADDR address;
    std::memset(&address, 0xEE, sizeof address);
    EXPECT_EQ(ORVEX_SOCK_SetAddr(&address, kLoopback, 0x1F90), 1);
    EXPECT_EQ(bytes_of(address), "\x02\0\x1F\x90\x7F\0\0\x01\0\0\0\0\0\0\0\0"s);
    const std::string text = "IP=127.0.0.1 Port=8080";
    for (size_t room = 1; room < 25; ++room) {
        const std::unique_ptr<char[]> exact(new char[room]);
        EXPECT_EQ(ORVEX_SOCK_AddrN2Str(&address, exact.get(), static_cast<int32_t>(room)),
                  exact.get());
        EXPECT_EQ(exact.get(), text.substr(0, room - 1)) << room;
    }
    char left[] = "left";
    EXPECT_EQ(ORVEX_SOCK_AddrN2Str(&address, left, 0), left);
    EXPECT_STREQ(left, "left");
    EXPECT_STREQ(ORVEX_SOCK_AddrN2Str(nullptr, left, 5), "");
}

TEST_F(SocketAddress, Hosts) {
    char name[256] = "";
    const uint32_t loopback = loopback_address(0).nNetIP;
    ASSERT_EQ(ORVEX_SOCK_GetHostNameByAddr(loopback, name, sizeof name), 1);
    const std::string whole = name;
    EXPECT_FALSE(whole.empty());
    const std::unique_ptr<char[]> exact(new char[3]);
    EXPECT_EQ(ORVEX_SOCK_GetHostNameByAddr(loopback, exact.get(), 3), 1);
    EXPECT_EQ(exact.get(), whole.substr(0, 2));
    EXPECT_EQ(error_of(ORVEX_SOCK_GetHostNameByAddr(loopback, name, 0)), "81 oxsockop");

    uint32_t ips[64];
    const int32_t count = ORVEX_SOCK_GetAllHostIP(ips, 64);
    EXPECT_TRUE(count > 0 && count <= 64) << error_of_this_thread();
    uint32_t first[2] = {0, 7};
    EXPECT_EQ(ORVEX_SOCK_GetAllHostIP(first, 1), 1);
    EXPECT_TRUE(first[0] == ips[0] && first[1] == 7);
}

[[maybe_unused]] const bool plays = play_scenes<SocketAddress>(
    "SocketAddress", TEST_ROWS,
    with_socket_steps({{"text_of", step_of<ORVEX_SOCK_ntoa>},
                       {"text_of_net", step_of<ORVEX_SOCK_NetIP2Name>},
                       {"ip_of", step_of<ORVEX_SOCK_NameToIP>},
                       {"host_ip", socket_step<ORVEX_SOCK_GetHostIP>},
                       {"peer_ip", socket_step<ORVEX_SOCK_GetPeerIP>},
                       {"host_name", socket_step<ORVEX_SOCK_GetHostIPName>},
                       {"peer_name", socket_step<ORVEX_SOCK_GetPeerIPName>}}));

}  // namespace
