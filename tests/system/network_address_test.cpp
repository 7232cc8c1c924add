#include "support/test.h"

namespace {

TEST(NetworkAddress, Text) {
    const uint8_t mac[6] = {0x00, 0x1A, 0x2B, 0xFF, 0x04, 0xC5};
    char text[18];
    EXPECT_EQ(MOLTE_UTIL_Mac2String(mac, 6, text, 18), text);
    EXPECT_STREQ(text, "00-1A-2B-FF-04-C5");
    EXPECT_STREQ(MOLTE_UTIL_Mac2String(mac, 1, text, 3), "00");
    EXPECT_STREQ(MOLTE_UTIL_Mac2String(mac, 0, text, 1), "");
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

#include <dlfcn.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>

// The adapters of the machine, or, from 0 on, so many that a test makes up; -2 fails.
static int made_up = -1;
static ifaddrs entries[32];
static sockaddr_ll links[32];

extern "C" [[gnu::visibility("default")]] int getifaddrs(ifaddrs** list) {
    if (made_up == -1) {
        using Real = int (*)(ifaddrs**);
        return reinterpret_cast<Real>(dlsym(RTLD_NEXT, "getifaddrs"))(list);
    }
    if (made_up == -2) return errno = EMFILE, -1;
    static char name[] = "made";
    const int others = 3;  // loopback, an address of no link, and a link of long addresses
    for (int i = 0; i < made_up + others; ++i) {
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

extern "C" [[gnu::visibility("default")]] void freeifaddrs(ifaddrs* list) {
    using Real = void (*)(ifaddrs*);
    if (list != entries) reinterpret_cast<Real>(dlsym(RTLD_NEXT, "freeifaddrs"))(list);
}

namespace {

TEST(NetworkAddress, AtMostTenAdaptersFit) {
    for (const int there : {0, 1, 2, 3, 10, 11, 20}) {
        made_up = there;
        std::string expected(64, '\0');
        expected[0] = static_cast<char>(std::min(there, 10));
        for (int i = 0; i < expected[0]; ++i) {
            for (int k = 0; k < 6; ++k) expected[4 + 6 * i + k] = static_cast<char>(16 * k + i);
        }
        MOLTE_MACLIST list;
        EXPECT_EQ(MOLTE_UTIL_GetMacAddress(&list), expected[0]) << there;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&list), 64), expected);
    }
    made_up = -2;
    MOLTE_MACLIST list;
    EXPECT_EQ(error_of(MOLTE_UTIL_GetMacAddress(&list)), "101 oxsysutl get mac address");
    made_up = -1;
}

// Those that the kernel lists under /sys, as does "ip link".
TEST(NetworkAddress, AdaptersOfThisMachine) {
    std::vector<std::string> expected;
    for (const auto& entry : fs::directory_iterator("/sys/class/net")) {
        int type = 0;
        std::string address;
        std::ifstream(entry.path() / "type") >> type;
        std::ifstream(entry.path() / "address") >> address;
        if (type == ARPHRD_ETHER) expected.push_back(address);
    }
    MOLTE_MACLIST list;
    ASSERT_EQ(MOLTE_UTIL_GetMacAddress(&list), std::min<int>(10, int(expected.size())));
    for (int i = 0; i < list.nCount; ++i) {
        char text[18];
        std::string address = MOLTE_UTIL_Mac2String(list.aaMac[i], 6, text, sizeof text);
        for (char& c : address) c = c == '-' ? ':' : static_cast<char>(std::tolower(c));
        EXPECT_NE(std::find(expected.begin(), expected.end(), address), expected.end()) << address;
    }
}

}  // namespace

#endif
