#include "moltelib/large_message.h"

#include <regex>

#include "support/loopback.h"
#include "support/rows.h"

namespace {

// A datagram as the table of its fields has it, built by hand.
std::string datagram(char message, uint32_t total, uint32_t count, uint32_t index, uint32_t offset,
                     const std::string& data) {
    const auto field = [](uint64_t value, int size) {
        std::string bytes;
        while (size-- > 0) bytes += static_cast<char>(value >> 8 * size);
        return bytes;
    };
    return field(64, 4) + field(6, 2) + field(0, 2) + "$upk$xcg" + std::string(16, message) +
           field(total, 4) + field(count, 4) + field(index, 4) + field(data.size(), 4) +
           field(offset, 4) + field(0, 4) + field(static_cast<uint64_t>(message), 8) + data;
}

// Those of a token of the rows.
Texts datagrams(const std::string& token) {
    static const std::regex form(
        R"((.):(\d+)/(\d+):(\d+)(?:-(\d+))?(?:@(\d+))?(?:=([^+!]*))?(?:\+([^!]*))?(?:!(\d+))?)");
    if (token == "E") return {""};
    std::smatch part;
    EXPECT_TRUE(std::regex_match(token, part, form)) << token;
    const auto number = [&](size_t i, uint32_t otherwise) {
        return part[i].matched ? static_cast<uint32_t>(std::stoul(part[i])) : otherwise;
    };
    Texts all;
    for (uint32_t i = number(4, 0), last = number(5, i); i <= last; ++i) {
        const std::string data =
            part[7].matched ? part[7] : std::string(1, static_cast<char>('a' + i));
        all.push_back(datagram(token[0], number(2, 0), number(3, 0), i, number(6, i), data));
        all.back() += part[8];
        if (part[9].matched) all.back()[number(9, 0)] ^= '\x80';
    }
    return all;
}

// Two sockets, and what is told to the hooks. Datagrams wait at the socket before a receive begins,
// so no result depends on how fast anybody is.
class LargeMessage : public testing::Test {
 protected:
    LargeMessage() {
        ORVEX_SOCK_SetIntOption(in_, OXSOCK_SO_RCVBUF, 1 << 20);
        OTXTHOOK_InstallHook(
            keep, nullptr, this, 0,
            OXMSG_TO_INNER | OXMSG_TO_STDOUT | OXMSG_INNER | OXMSG_OUTER | OXMSG_INFO, 1);
    }
    ~LargeMessage() override { OTXTHOOK_RemoveHook(keep, 1); }

    void send(const std::string& bytes) {
        const auto size = static_cast<int32_t>(bytes.size());
        EXPECT_EQ(ORVEX_SOCKUDP_Send(out_, bytes.data(), size, 0, &to_, sizeof to_), size);
    }
    int32_t send_large(const std::string& data) {
        return ORVEX_SOCKUDP_LargeSend(out_, data.data(), static_cast<int32_t>(data.size()), &to_,
                                       sizeof to_, 1);
    }
    // What a receive gives: the message, or what was told of the failure.
    std::string receive() {
        uint8_t* data = nullptr;
        int32_t size = 7;
        OXSOCKADDR from{};
        ORVEX_Err_ClearError();
        texts_.clear();
        result_ = ORVEX_SOCKUDP_LargeRecv(in_, &data, &size, &from, nullptr);
        if (result_ < 0) {
            EXPECT_TRUE(data == nullptr && size == 0);
            return told(result_);
        }
        EXPECT_EQ(bytes_of(from), bytes_of(loopback_address(out_)));
        std::string message(reinterpret_cast<Text>(data), static_cast<size_t>(size));
        ORVEX_free(data);
        return message;
    }

    OwnedSocket in_{ORVEX_SOCKUDP_ServerOpenEx(0, loopback_address(0).nNetIP)};
    OwnedSocket out_{ORVEX_SOCKUDP_ServerOpenEx(0, loopback_address(0).nNetIP)};
    OXSOCKADDR to_ = loopback_address(in_);
    int32_t result_ = 0;
    std::string texts_;
    uint32_t next_ = UINT32_MAX;       // the number of the next message; unknown before the first
    std::vector<Texts> when_dropped_;  // datagrams for each time that a message is
    bool stops_ = false;               // behind them

 private:
    static int32_t keep(uint32_t mask, void* own, int32_t, Text text, int32_t) {
        auto& test = *static_cast<LargeMessage*>(own);
        const bool failure = std::string(text).starts_with(" large recv failed");
        const uint32_t added = OXMSG_OUTER | OXMSG_INFO | OXMSG_ERROR_TEXT;
        EXPECT_EQ(mask, failure ? 114696 | added : 33168U) << text;
        unsigned number = 0;
        char message[24];
        if (std::sscanf(text, "init a new packet. %u. %23[0-9]\n", &number, message) == 2) {
            EXPECT_TRUE(test.next_ == UINT32_MAX || number == test.next_) << number;
            test.next_ = number + 1;
            test.texts_ += "init "s + message + "\n";
            return 1;
        }
        test.texts_ += text;
        if (!std::string(text).starts_with("Total packet=")) return 1;
        if (test.when_dropped_.empty()) {
            g_stBv.bStopAll = test.stops_ ? 1 : 0;
            return 1;
        }
        for (const std::string& bytes : test.when_dropped_[0]) test.send(bytes);
        test.when_dropped_.erase(test.when_dropped_.begin());
        return 1;
    }
};

TEST_F(LargeMessage, PacketsOfAllKinds) {
    for (const Texts& row : rows_of(TEST_ROWS, "receives")) {
        std::istringstream tokens(row[0]);
        bool later = false;
        for (std::string token; tokens >> token;) {
            if (token == "T") {
                when_dropped_.emplace_back();
                later = true;
                continue;
            }
            for (const std::string& bytes : datagrams(token)) {
                later ? when_dropped_.back().push_back(bytes) : send(bytes);
            }
        }
        EXPECT_EQ(receive(), row[1]) << row[0];
        EXPECT_EQ(texts_, row[2]) << row[0];
    }
}

TEST_F(LargeMessage, WhatNoPacketFillsIsZeroInUsedMemoryToo) {
    constexpr uint32_t total = (2 << 20) + 5;
    constexpr uint32_t count = 65;
    for (int round = 0; round < 4; ++round) {
        for (uint32_t i = 0; i < count; ++i) send(datagram('A', total, count, i, 5000 * i, "x"));
        std::string message = receive();
        EXPECT_EQ(message.size(), total);
        EXPECT_EQ(std::count(message.begin(), message.end(), '\0'), total - count) << round;
        message.assign(total, 'y');
        void* const used = ORVEX_release_malloc(total);
        std::memset(used, 'y', total);
        ORVEX_free(used);
    }
}

TEST_F(LargeMessage, OnTheWire) {
    std::string data(32705, '\0');
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7 + i / 251);
    EXPECT_EQ(send_large(data), 1);
    EXPECT_EQ(send_large(""), 1);
    EXPECT_EQ(ORVEX_SOCKUDP_LargeSend(out_, nullptr, -5, &to_, sizeof to_, 0), 1);
    EXPECT_EQ(send_large("x"), 1);
    std::string packets[3];
    for (std::string& packet : packets) {
        packet.resize(40'000);
        const int32_t size = ORVEX_SOCKUDP_Recv(in_, packet.data(), 40'000, 0, nullptr, nullptr);
        packet.resize(static_cast<size_t>(std::max(size, 0)));
    }
    EXPECT_EQ(ORVEX_SOCK_BufDataLen(in_), 0);
    ASSERT_TRUE(packets[0].size() == 32768 && packets[1].size() == 65 && packets[2].size() == 65);
    const std::string uuid = packets[0].substr(16, 16);
    const auto of_a = [](std::string packet) {
        return packet.replace(16, 16, 16, 'A').replace(56, 8, "\0\0\0\0\0\0\0A"s);
    };
    EXPECT_EQ(of_a(packets[0]), datagram('A', 32705, 2, 0, 0, data.substr(0, 32704)));
    EXPECT_EQ(of_a(packets[1]), datagram('A', 32705, 2, 1, 32704, data.substr(32704)));
    EXPECT_EQ(packets[1].substr(16, 16), uuid);
    EXPECT_NE(packets[2].substr(16, 16), uuid);
    const auto sequence = [](const std::string& packet) {
        return Char8To_uint8(reinterpret_cast<const uint8_t*>(packet.data()) + 56);
    };
    EXPECT_EQ(sequence(packets[1]), sequence(packets[0]));
    EXPECT_EQ(sequence(packets[2]), sequence(packets[0]) + 3);  // two had nothing to send
}

TEST_F(LargeMessage, ComesWholeAtItsPace) {
    for (const auto& [size, delay, least] :
         {tuple(1, 0, 1), {32704, -1, 0}, {98304, 999, 0}, {32705, 1'020'000, 2040}}) {
        std::string data(static_cast<size_t>(size), '\0');
        std::generate(data.begin(), data.end(), std::minstd_rand(1));
        const auto begin = steady_clock::now();
        EXPECT_EQ(ORVEX_SOCKUDP_LargeSend(out_, data.data(), size, &to_, sizeof to_, delay), 1);
        EXPECT_GE(steady_clock::now() - begin, milliseconds(least));
        EXPECT_EQ(receive(), data);
    }
}

TEST_F(LargeMessage, Failures) {
    const std::string failed = " large recv failed";
    send(std::string(32769, 'x'));
    EXPECT_TRUE(receive().ends_with(" < 1475 oxsockop"));
    EXPECT_TRUE(texts_.starts_with(failed)) << texts_;

    send(datagram('A', 2, 2, 1, 1, "x"));
    stops_ = true;
    const auto begin = steady_clock::now();
    receive();
    EXPECT_GE(steady_clock::now() - begin, milliseconds(990));
    EXPECT_EQ(result_, -1);
    const Text stopped =
        "init 65\nwait data time out\nTotal packet=2 received=1\n large recv failed";
    EXPECT_TRUE(texts_.starts_with(stopped)) << texts_;
    g_stBv.bStopAll = 0;

    EXPECT_EQ(ORVEX_SOCK_Shutdown(in_, 0, 1), 1);
    EXPECT_EQ(receive().substr(0, 11), "74 oxsockop");
    EXPECT_TRUE(texts_.starts_with(failed)) << texts_;
    EXPECT_EQ(in_.close(), 1);
    const std::string closed = receive();
    EXPECT_TRUE(closed.starts_with("75 oxsockop") && closed.ends_with(" < 1458 oxsockop"))
        << closed;
    EXPECT_EQ(texts_, "");
    uint8_t* data = nullptr;
    int32_t size = 0;
    EXPECT_EQ(error_of(ORVEX_SOCKUDP_LargeRecv(in_, nullptr, &size, nullptr, nullptr)),
              "86 oxsockop");
    EXPECT_EQ(error_of(ORVEX_SOCKUDP_LargeRecv(in_, &data, nullptr, nullptr, nullptr)),
              "86 oxsockop");

    const std::string no_data =
        error_of(ORVEX_SOCKUDP_LargeSend(out_, nullptr, 1, &to_, sizeof to_, 1));
    EXPECT_TRUE(no_data.starts_with("85 oxsockop send data error: Len=1 Pt=")) << no_data;
    const std::string not_sent = told(ORVEX_SOCKUDP_LargeSend(out_, "x", 1, &to_, 3, 1));
    EXPECT_TRUE(not_sent.starts_with("73 oxsockop \0\0\0\x40\0\x06"s)) << not_sent;
    EXPECT_TRUE(not_sent.ends_with(" < 1318 oxsockop")) << not_sent;
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST_F(LargeMessage, LengthsThatLieCostNoMemory) {
    const auto kilobytes = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    const auto before = kilobytes();
    for (int round = 0; round < 3; ++round) {
        for (const uint32_t total : {20U << 20, 1'000'000'000U, 30U << 20, 20U << 20}) {
            for (char message = 'A'; message < 'K'; ++message) {
                send(datagram(message, total, 32768, 5, total / 2, "x"));
            }
        }
        send(datagram('Z', 1, 1, 0, 0, "z"));
        EXPECT_EQ(receive(), "z");
    }
    EXPECT_LT(kilobytes() - before, 16'000);
}

#endif

TEST(UdpRequest, Bytes) {
    UDPRequest request;
    std::memset(&request, 0xEE, sizeof request);
    EXPECT_EQ(InitUDPRequest(&request), 0);
    EXPECT_EQ(SetUDPRequestValue(0x01020384, &request), 1);
    EXPECT_EQ(bytes_of(request), "\0y\0\0\0\0\0\0\0u.#\x01\x02\x03\x84"s);
    EXPECT_EQ(GetUDPRequestValue(&request), 0x01020384);
    for (size_t i = 0; i < 13; ++i) {
        UDPRequest other = request;
        reinterpret_cast<uint8_t*>(&other)[i] ^= 1;
        EXPECT_EQ(IsValidUDPRequest(&other), i == 1 || (i >= 9 && i <= 11) ? 0 : 1) << i;
    }
    EXPECT_EQ(IsValidUDPRequest(nullptr), 0);
    EXPECT_EQ(GetUDPRequestValue(nullptr), 0);
    for (const int32_t result :
         {InitUDPRequest(nullptr), SetUDPRequestValue(1, nullptr), MOLTE_UDPHEAD_Init(nullptr)}) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(error_of_this_thread(), "50 oxsockop");
    }
}

}  // namespace
