#include "moltelib/host_probe.h"

#include "support/loopback.h"
#include "support/own_network.h"
#include "support/unprivileged.h"

namespace {

using Bytes = std::vector<uint8_t>;

int32_t plain_sum(const Bytes& bytes, size_t from) {
    uint64_t sum = 0;
    for (size_t i = from; i < bytes.size(); ++i) sum += bytes[i] * (i % 2 == from % 2 ? 1ULL : 256);
    while (sum > 0xFFFF) sum = sum / 65536 + sum % 65536;
    return static_cast<int32_t>(0xFFFF - sum);
}

TEST(HostProbe, ChecksumOfAnyLengthAtAnyAddress) {
    const uint8_t published[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};  // RFC 1071
    EXPECT_EQ(UTIL_CheckSum(published, 8), 0x0D22);
    EXPECT_EQ(UTIL_CheckSum("\xFF\xFF", 2), 0);
    EXPECT_EQ(UTIL_CheckSum(published, -1), 0xFFFF);
    Bytes bytes(3'000'001, 0xFF);  // where sums of 32 bits would wrap
    EXPECT_EQ(UTIL_CheckSum(bytes.data(), 3'000'001), plain_sum(bytes, 0));
    for (uint8_t seed = 1; !bytes.empty(); bytes.resize(std::min<size_t>(bytes.size() - 1, 299))) {
        for (uint8_t& byte : bytes) byte = seed = static_cast<uint8_t>(seed * 77 + 131);
        const auto odd = static_cast<int32_t>(bytes.size() - 1);
        EXPECT_EQ(UTIL_CheckSum(bytes.data(), odd + 1), plain_sum(bytes, 0)) << odd;
        EXPECT_EQ(UTIL_CheckSum(bytes.data() + 1, odd), plain_sum(bytes, 1)) << odd;
    }
}

// An echo as it must be; its sequence is of the same moment as its time, which was just before.
void check_echo(const Bytes& echo, int64_t earliest) {
    const auto time = static_cast<int64_t>(Char8To_uint8(&echo[8]));
    EXPECT_TRUE(time >= earliest && time <= MOLTE_HiResoTickCount());
    const auto number = static_cast<uint16_t>(MOLTE_GetProcessID());
    Bytes expected = {8, 0, echo[2], echo[3], 0, 0, echo[15], echo[14]};
    std::memcpy(&expected[4], &number, sizeof number);
    expected.insert(expected.end(), &echo[8], &echo[16]);
    expected.resize(echo.size(), 'E');
    EXPECT_EQ(echo, expected);
    EXPECT_EQ(plain_sum(echo, 0), 0);
}

TEST(HostProbe, PacketsStayInTheirBytes) {
    for (const int32_t length : {-1, 7, 8, 33}) {
        Bytes packet(8 + static_cast<size_t>(std::max(length, 0)), 0xEE);
        const int64_t now = MOLTE_HiResoTickCount();
        EXPECT_EQ(UTIL_InitIcmpV4Header(packet.data(), length), 1);
        EXPECT_EQ(UTIL_SetIcmpParam(packet.data(), length), 1);
        if (length >= 8) check_echo(packet, now);
        EXPECT_EQ(UTIL_SetIcmpParam(packet.data(), length), 1);  // sums the checksum as well
        EXPECT_NE(plain_sum(packet, 0), 0);
    }
    EXPECT_EQ(error_of(UTIL_InitIcmpV4Header(nullptr, 32)), "50 oxsockop");
    EXPECT_EQ(error_of(UTIL_SetIcmpParam(nullptr, 32)), "50 oxsockop");
}

// A probe that fails, or of nobody: the error, the last line of its history, and the record.
void check_failure(Text host, const std::string& error, Text line, const Ints& record) {
    UTIL_ICMPPARAM probe = {5, 6, 7, 8, 9};
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_SOCK_IsHostAlive(host, &probe), *line == '\0' ? 0 : -1);
    EXPECT_EQ(error_of_this_thread().substr(0, error.size()), error);
    EXPECT_TRUE(history_of_this_thread().ends_with(line)) << history_of_this_thread();
    EXPECT_EQ(Ints(&probe.nPingCount, &probe.nPingCount + 5), record);
}

TEST(HostProbe, AnUnknownHostLeavesTheRecord) {
    check_failure("no host has blanks", "81 oxsockop no host has blanks", "1789 oxsockop",
                  {5, 6, 7, 8, 9});
    EXPECT_EQ(error_number_of(ORVEX_SOCK_IsHostAlive(nullptr, nullptr)), 84U);
}

// Probes this machine, again when something else was heard first, and listens to it.
void check_captured_probe(OXSOCKET ear) {
    ORVEX_SOCK_Bind(ear, kLoopback, 0);
    ORVEX_SOCK_SetRecvTimeOut(ear, 20);
    UTIL_ICMPPARAM probe{};
    const int64_t begin = MOLTE_HiResoTickCount();
    while (ORVEX_SOCK_IsHostAlive("127.0.0.1", &probe) == 0 && GetRvexErrNo() == 0) {
    }
    const double most = MOLTE_HiResoTickToSec(MOLTE_HiResoTickCount() - begin) * 1e6;
    EXPECT_EQ(GetRvexErrNo(), 0U) << error_of_this_thread();
    EXPECT_TRUE(probe.nElapsedMicroSec >= 0 && probe.nElapsedMicroSec <= most);
    const auto number = static_cast<uint16_t>(MOLTE_GetProcessID());
    for (int32_t size = 0; size >= 0;) {
        Bytes packet(8192);
        size = ORVEX_SOCKUDP_Recv(ear, packet.data(), 8192, 0, nullptr, nullptr);
        const bool own = size >= 40 && std::memcmp(&packet[24], &number, 2) == 0;
        if (!own || packet[20] != 8) continue;
        EXPECT_TRUE(packet[0] == 0x45 && packet[8] == 128 && packet[9] == 1);  // IP, its TTL, ICMP
        packet.resize(static_cast<size_t>(size));
        EXPECT_EQ(size, 60);
        return check_echo({packet.begin() + 20, packet.end()}, begin);
    }
    ADD_FAILURE() << error_of_this_thread();
}

// Runs it in a network of its own, where there is such a thing, and with a raw socket: not where
// rights to either are wanting.
void heard_alone(const std::function<void(OXSOCKET)>& run) {
    bool done = false;
    in_thread([&] {
        const OwnedSocket raw(enter_own_network() ? ORVEX_SOCK_Socket(2, 3, 1) : OXSOCKET_INVALID);
        done = raw != OXSOCKET_INVALID;
        if (done) run(raw);
    }).join();
    if (!done) GTEST_SKIP() << "no rights";
}

TEST(HostProbe, IsHeardByteForByte) {
    heard_alone(check_captured_probe);
}

#if !defined(_WIN32)

TEST(HostProbe, NoAnswerIsAwaitedForASecond) {
    heard_alone([](OXSOCKET) {
        const steady_clock::time_point begin = steady_clock::now();
        check_failure("239.1.2.3", "74 oxsockop \2\0\0\0\xEF\1\2\3\0\0\0\0\0\0\0\0"s, "",
                      {1, 1, 128, 32, 9});
        EXPECT_EQ(system_error_name(), "ETIMEDOUT");
        EXPECT_GE(steady_clock::now() - begin, milliseconds(900));
        check_failure("11.1.2.3", "73 oxsockop \x08\0"s, "1815 oxsockop", {1, 1, 128, 32, 9});
        EXPECT_EQ(ORVEX_GetErrData()->nDataLen, 40);
    });
}

// What comes of a probe of nobody while somebody sends such a packet, of 5000 seconds ago: more
// than 32 bits of microseconds.
void check_forged(OXSOCKET raw, uint8_t flipped, int32_t expected) {
    const int64_t begin = MOLTE_HiResoTickCount();
    const int64_t age = 5000 * MOLTE_HiResoTickPerSec();
    Bytes forged(40);
    UTIL_InitIcmpV4Header(forged.data(), 32);
    forged[0] = 200;  // of no known type
    forged[4] ^= flipped;
    uint8ToChar8(static_cast<uint64_t>(begin - age), &forged[8]);
    OXSOCKADDR here;
    ORVEX_SOCK_SetAddr(&here, kLoopback, 0);
    std::atomic<bool> heard{false};
    std::thread forger = in_thread([&] {
        while (!heard) ORVEX_SOCKUDP_Send(raw, forged.data(), 40, 0, &here, sizeof here);
    });
    UTIL_ICMPPARAM probe{};
    int32_t result = 0;
    do {
        ORVEX_Err_ClearError();
        result = ORVEX_SOCK_IsHostAlive("239.1.2.3", &probe);
    } while (GetRvexErrNo() == 74);  // nothing came in time
    heard = true;
    forger.join();
    EXPECT_EQ(result, expected) << error_of_this_thread();
    EXPECT_EQ(GetRvexErrNo(), 0U);
    const double most = MOLTE_HiResoTickToSec(MOLTE_HiResoTickCount() - begin) * 1e6;
    const uint32_t beyond = static_cast<uint32_t>(probe.nElapsedMicroSec - 5'000'000'000);
    EXPECT_TRUE(result == 0 || beyond <= most + 1) << beyond;
}

TEST(HostProbe, AnswersAreBelieved) {
    heard_alone([](OXSOCKET raw) {
        check_forged(raw, 0, 1);
        check_forged(raw, 1, 0);
    });
}

TEST(HostProbe, WithoutRightsItFails) {
    const Unprivileged user;
    check_failure("127.0.0.1", "80 oxsockop", "1801 oxsockop", {1, 1, 128, 32, 9});
}

#endif

}  // namespace
