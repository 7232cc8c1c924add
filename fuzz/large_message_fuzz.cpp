// Datagrams as peers may send them, put together to messages of nothing but what was sent.
//
// An input is records of 16 bytes: kind and message, data length (2), total (4), count (2),
// index (2), offset (4) and a letter. Their bytes go behind a head that is right, or as they stand.
#include <sys/socket.h>

#include "frame.h"

namespace {

constexpr size_t kRecord = 16;
constexpr size_t kMostDatagrams = 24;  // what the socket holds

std::string datagram(std::string_view record) {
    const int kind = record[0] & 7;
    const char message = static_cast<char>('A' + (record[0] >> 3 & 3));
    const uint32_t most = kind == 1 ? 1 << 22 : 300;  // mostly lengths that can agree
    const auto number = [&](size_t at, int size, uint32_t limit) {
        uint64_t value = 0;
        for (; size > 0; --size) value = value << 8 | static_cast<uint8_t>(record[at++]);
        return static_cast<uint32_t>(value % limit);
    };
    const uint32_t length = number(1, 2, kind == 0 ? 40000 : 300);
    MOLTE_UDPHEAD head;
    MOLTE_UDPHEAD_Init(&head);
    std::memset(head.stUuid, message, sizeof head.stUuid);
    head.n64Seq[7] = static_cast<uint8_t>(message);
    uint4ToChar4(number(3, 4, most), head.nTotalLen);
    uint4ToChar4(number(7, 2, most / 64), head.nPacketCount);
    uint4ToChar4(number(9, 2, most / 64), head.nPacketIndex);
    uint4ToChar4(number(11, 4, most), head.nDataOffset);
    uint4ToChar4(length, head.nDataLen);
    if (kind == 2) reinterpret_cast<char*>(&head)[record[15] & 63] ^= record[14];
    if (kind == 3) return std::string(record.substr(1));
    return std::string(reinterpret_cast<const char*>(&head), sizeof head) +
           std::string(kind == 4 ? length + 1 : length, record[15]);
}

}  // namespace

// Both ends of a local pair that keeps messages: in order, none is lost, and its end is seen.
void try_input(std::string_view input) {
    int ends[2];
    must(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    std::string sent;
    for (size_t i = 0; i < kMostDatagrams && input.size() >= kRecord; ++i) {
        const std::string bytes = datagram(input.substr(0, kRecord));
        input.remove_prefix(kRecord);
        if (send(ends[0], bytes.data(), bytes.size(), MSG_DONTWAIT) < 0) break;  // full
        sent += bytes;
    }
    close(ends[0]);
    const auto socket = static_cast<OXSOCKET>(ends[1]);
    uint8_t* data = nullptr;
    int32_t size = 0;
    while (ORVEX_SOCKUDP_LargeRecv(socket, &data, &size, nullptr, nullptr) > 0) {
        for (int32_t i = 0; i < size; ++i) {
            must(data[i] == 0 || sent.find(static_cast<char>(data[i])) != std::string::npos);
        }
        ORVEX_free(data);
    }
    must(data == nullptr && size == 0 && GetRvexErrNo() == 74);
    ORVEX_SOCK_Close(socket);
}
