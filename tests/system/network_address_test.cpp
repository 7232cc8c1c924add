#include "support/test.h"

namespace {

TEST(NetworkAddress, Text) {
    const uint8_t mac[6] = {0x00, 0x1A, 0x2B, 0xFF, 0x04, 0xC5};
    char text[18];
    EXPECT_STREQ(MOLTE_UTIL_Mac2String(mac, 6, text, 18), "00-1A-2B-FF-04-C5");
    EXPECT_STREQ(MOLTE_UTIL_Mac2String(mac, 1, text, 3), "00");
    EXPECT_STREQ(MOLTE_UTIL_Mac2String(nullptr, -1, text, 1), "");
    for (const auto& [size, room] : {tuple(6, 17), {1, 2}, {0, 0}, {-5, 0}, {0x60000000, 18}}) {
        EXPECT_EQ(error_of(MOLTE_UTIL_Mac2String(mac, size, text, room)), "50 oxsysutl") << size;
    }
    EXPECT_EQ(MOLTE_UTIL_GetMacAddress(nullptr), -1);
}

#if defined(_WIN32)
TEST(NetworkAddress, AdaptersOfThisMachine) {
    MOLTE_MACLIST list;
    const int32_t count = MOLTE_UTIL_GetMacAddress(&list);
    EXPECT_EQ(list.nCount, count);
    EXPECT_TRUE(count >= 0 && count <= 10) << count;
}
#endif

}  // namespace

#if !defined(_WIN32)

#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>

// So many adapters as a test makes up, behind three that don't count: loopback, an address of no
// link, and a link of long addresses; -1 fails.
static int made_up = 0;

extern "C" [[gnu::visibility("default")]] int getifaddrs(ifaddrs** list) {
    static ifaddrs entries[32];
    static sockaddr_ll links[32];
    static char name[] = "made";
    if (made_up < 0) return errno = EMFILE, -1;
    for (int i = 0; i < made_up + 3; ++i) {
        links[i] = {};
        links[i].sll_family = AF_PACKET;
        links[i].sll_hatype = i == 2 ? ARPHRD_INFINIBAND : ARPHRD_ETHER;
        links[i].sll_halen = i == 2 ? 20 : 6;
        for (int k = 0; k < 6; ++k) links[i].sll_addr[k] = static_cast<uint8_t>(16 * k + i - 3);
        entries[i] = {};
        entries[i].ifa_name = name;
        entries[i].ifa_flags = i == 0 ? unsigned{IFF_LOOPBACK} : 0;
        entries[i].ifa_addr = i == 1 ? nullptr : reinterpret_cast<sockaddr*>(&links[i]);
        if (i > 0) entries[i - 1].ifa_next = &entries[i];
    }
    *list = entries;
    return 0;
}

extern "C" [[gnu::visibility("default")]] void freeifaddrs(ifaddrs*) {}

namespace {

TEST(NetworkAddress, AtMostTenAdaptersFit) {
    MOLTE_MACLIST list;
    for (const int there : {0, 1, 2, 3, 10, 11, 20}) {
        made_up = there;
        std::string expected(64, '\0');
        expected[0] = static_cast<char>(std::min(there, 10));
        for (size_t i = 0; i < static_cast<size_t>(expected[0]); ++i) {
            for (size_t k = 0; k < 6; ++k) expected[4 + 6 * i + k] = static_cast<char>(16 * k + i);
        }
        EXPECT_EQ(MOLTE_UTIL_GetMacAddress(&list), expected[0]) << there;
        EXPECT_EQ(bytes_of(list), expected);
    }
    made_up = -1;
    EXPECT_EQ(error_of(MOLTE_UTIL_GetMacAddress(&list)), "101 oxsysutl get mac address");
}

}  // namespace

#endif
