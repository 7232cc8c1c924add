// A file as one large message over UDP: as the library sends it, its datagrams in any order, and
// behind another message that lacks some. Datagrams that the receiver has no room for are lost, so
// all is sent again, ever more slowly, until the receiver answers that it has a message.
#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "exchange.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Peer {
    OXSOCKET socket;
    OXSOCKADDR address;
    int32_t delay;  // behind each datagram, microseconds
};

// The datagrams of a message, each a little smaller than those of the library.
std::vector<Bytes> cut(const Bytes& message) {
    constexpr uint32_t most = 30'000;
    const auto total = static_cast<uint32_t>(message.size());
    MOLTE_UDPHEAD head;
    MOLTE_UDPHEAD_Init(&head);
    ORVEX_UUID_Gen(head.stUuid);
    uint4ToChar4(total, head.nTotalLen);
    uint4ToChar4((total + most - 1) / most, head.nPacketCount);
    std::vector<Bytes> datagrams;
    for (uint32_t offset = 0; offset < total; offset += most) {
        const uint32_t size = std::min(most, total - offset);
        uint4ToChar4(static_cast<uint32_t>(datagrams.size()), head.nPacketIndex);
        uint4ToChar4(size, head.nDataLen);
        uint4ToChar4(offset, head.nDataOffset);
        Bytes& datagram = datagrams.emplace_back(sizeof head + size);
        std::memcpy(datagram.data(), &head, sizeof head);
        std::copy_n(message.data() + offset, size, datagram.data() + sizeof head);
    }
    return datagrams;
}

bool send_all(const Peer& to, const std::vector<Bytes>& datagrams) {
    for (const Bytes& bytes : datagrams) {
        const auto size = static_cast<int32_t>(bytes.size());
        if (ORVEX_SOCKUDP_Send(to.socket, bytes.data(), size, 0, &to.address, sizeof to.address) <
            0)
            return false;
        ORVEX_SleepMicro(to.delay);
    }
    return true;
}

bool send_in_order(const Peer& to, const Bytes& message) {
    return ORVEX_SOCKUDP_LargeSend(to.socket, message.data(), static_cast<int32_t>(message.size()),
                                   &to.address, sizeof to.address, to.delay) > 0;
}

bool send_shuffled(const Peer& to, const Bytes& message) {
    std::vector<Bytes> datagrams = cut(message);
    std::shuffle(datagrams.begin(), datagrams.end(), std::mt19937(std::random_device{}()));
    return send_all(to, datagrams);
}

bool send_behind_holes(const Peer& to, const Bytes& message) {
    Bytes other = message;
    for (uint8_t& byte : other) byte ^= 0xFF;
    std::vector<Bytes> datagrams = cut(other);
    for (size_t i = datagrams.size(); i-- > 0;) {
        if (i % 5 == 0) datagrams.erase(datagrams.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return send_all(to, datagrams) && send_in_order(to, message);
}

template <bool send_once(const Peer& to, const Bytes& message)>
bool send_message(int32_t port, const char* path) {
    uint8_t* bytes = nullptr;
    int32_t size = 0;
    if (ORVEX_LoadBinDataFile(path, &bytes, &size) <= 0) return false;
    const Bytes message(bytes, bytes + size);
    ORVEX_free(bytes);
    const Socket socket(ORVEX_SOCKUDP_ClientOpen());
    Peer to = {socket.number, {}, 1000};
    ORVEX_SOCK_SetAddr(&to.address, 0x7F000001, port);
    for (; to.delay < 50'000; to.delay *= 2) {
        constexpr int32_t answer_limit = 3;
        if (!send_once(to, message)) return false;
        if (ORVEX_SOCK_WaitDataToRead(&to.socket, 1, answer_limit, 0, nullptr) <= 0) continue;
        UDPRequest answer;
        return ORVEX_SOCKUDP_Recv(to.socket, &answer, sizeof answer, 0, nullptr, nullptr) ==
                   sizeof answer &&
               IsValidUDPRequest(&answer) > 0 && GetUDPRequestValue(&answer) == size;
    }
    return false;
}

// The answer is the length of what came.
bool receive_message(const char* path) {
    const Socket socket(ORVEX_SOCKUDP_ServerOpen(0));
    ORVEX_SOCK_SetIntOption(socket.number, OXSOCK_SO_RCVBUF, 1 << 20);
    if (!tell_port(socket)) return false;
    uint8_t* bytes = nullptr;
    int32_t size = 0;
    OXSOCKADDR from{};
    if (ORVEX_SOCKUDP_LargeRecv(socket.number, &bytes, &size, &from, nullptr) <= 0) return false;
    const bool saved = ORVEX_SaveBinDataToFile(path, bytes, size) > 0;
    ORVEX_free(bytes);
    UDPRequest answer;
    InitUDPRequest(&answer);
    SetUDPRequestValue(size, &answer);
    return saved && ORVEX_SOCKUDP_Send(socket.number, &answer, sizeof answer, 0, &from,
                                       sizeof from) == sizeof answer;
}

const AddWay in_order("message", "file", send_message<send_in_order>, receive_message);
const AddWay shuffled("message_shuffled", "file", send_message<send_shuffled>, receive_message);
const AddWay holes("message_behind_holes", "file", send_message<send_behind_holes>,
                   receive_message);

}  // namespace
