#include "moltelib/socket_address.h"

#include "support/loopback.h"

namespace {

TEST(SocketAddress, LiesInNetworkOrder) {
    OXSOCKADDR address;
    std::memset(&address, 0xEE, sizeof address);
    EXPECT_EQ(ORVEX_SOCK_SetAddr(&address, 0x7F000001, 0x1F90), 1);
    const std::string expected = "\x02\0\x1F\x90\x7F\0\0\x01\0\0\0\0\0\0\0\0"s;
    EXPECT_EQ(bytes_of(address), expected);
    EXPECT_EQ(ORVEX_SOCK_SetAddrN(&address, address.nNetIP, 0x1F90), 1);
    EXPECT_EQ(bytes_of(address), expected);

    EXPECT_EQ(error_of(ORVEX_SOCK_SetAddr(nullptr, 0x7F000001, 1)), "83 oxsockop");

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

TEST(SocketAddress, Texts) {
    char text[OXSOCK_IP_TEXT_SIZE];
    EXPECT_EQ(ORVEX_SOCK_ntoa(0xFFFEFDFC, text), 1);
    EXPECT_STREQ(text, "255.254.253.252");
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddr(&address, 0x0A000001, 0);
    EXPECT_EQ(ORVEX_SOCK_NetIP2Name(address.nNetIP, text), 1);
    EXPECT_STREQ(text, "10.0.0.1");
    EXPECT_EQ(error_of(ORVEX_SOCK_ntoa(0x0A000001, nullptr)), "262 oxsockop ip=167772161");

    uint32_t ip = 7;
    for (const auto& [name, expected] : {tuple("10.0.0.1", 0x0A000001U),
                                         {"127.1", 0x7F000001U},
                                         {"255.255.255.255", UINT32_MAX},
                                         {"localhost", 0x7F000001U}}) {
        EXPECT_EQ(ORVEX_SOCK_NameToIP(name, &ip), 1) << name;
        ORVEX_SOCK_SetAddr(&address, expected, 0);
        EXPECT_EQ(ip, address.nNetIP) << name;
    }
    EXPECT_EQ(error_of(ORVEX_SOCK_NameToIP("", &ip)), "84 oxsockop");
    EXPECT_EQ(error_of(ORVEX_SOCK_NameToIP(nullptr, &ip)), "84 oxsockop");
    EXPECT_EQ(error_of(ORVEX_SOCK_NameToIP("localhost", nullptr)), "84 oxsockop");
    for (const std::string name : {"no host has blanks", "127.0.0.1 junk", "127.0.0.1 ", " "}) {
        EXPECT_EQ(error_of(ORVEX_SOCK_NameToIP(name.c_str(), &ip)), "81 oxsockop " + name);
    }
    EXPECT_EQ(ip, address.nNetIP);
}

TEST(SocketAddress, OfSockets) {
    uint32_t ip = 7;
    const OwnedSocket fresh(ORVEX_SOCK_OpenSocket());
    EXPECT_EQ(error_of(ORVEX_SOCK_GetHostIP(fresh, &ip)), "83 oxsockop");
    EXPECT_EQ(system_error_name(), "EINVAL");
    EXPECT_EQ(ip, 0U);
    EXPECT_EQ(error_of(ORVEX_SOCK_GetPeerIP(fresh, &ip)), "83 oxsockop");
    EXPECT_EQ(system_error_name(), "ENOTCONN");
    EXPECT_EQ(error_of(ORVEX_SOCK_GetPeerIP(fresh, nullptr)), "83 oxsockop");
    const Connection peers;
    for (const auto& call : {ORVEX_SOCK_GetHostIPName, ORVEX_SOCK_GetPeerIPName}) {
        char text[OXSOCK_IP_TEXT_SIZE];
        EXPECT_EQ(call(peers.client, text), 1);
        EXPECT_STREQ(text, "127.0.0.1");
        EXPECT_EQ(error_of(call(OXSOCKET_INVALID, text)), "83 oxsockop");
    }
}

TEST(SocketAddress, Hosts) {
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

}  // namespace
