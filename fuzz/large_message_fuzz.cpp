// Datagrams as peers may send them, put together to messages; what comes out is what a plain twin
// of the receiver gets.
//
// An input is records of 16 bytes: kind and message, data length (2), total (4), count (2),
// index (2), offset (4) and a letter. Their bytes go behind a head that is right, or as they stand.
#include <sys/socket.h>

#include <set>
#include <vector>

#include "frame.h"

namespace {

constexpr size_t kRecord = 16;
constexpr size_t kMostDatagrams = 24;  // what the socket holds

uint64_t number(std::string_view bytes) {
    uint64_t value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<uint8_t>(byte);
    return value;
}

struct Datagram {
    std::string bytes;
    explicit Datagram(std::string_view record) {
        const int kind = record[0] & 7;
        const char message = static_cast<char>('A' + (record[0] >> 3 & 3));
        uint64_t length = number(record.substr(1, 2)) % 40000;
        if (kind != 0) length %= 300;
        MOLTE_UDPHEAD head;
        MOLTE_UDPHEAD_Init(&head);
        std::memset(head.stUuid, message, sizeof head.stUuid);
        head.n64Seq[7] = static_cast<uint8_t>(message);
        const uint64_t wide = kind == 1 ? 1 << 22 : 300;  // mostly lengths that can agree
        uint4ToChar4(static_cast<uint32_t>(number(record.substr(3, 4)) % wide), head.nTotalLen);
        uint4ToChar4(static_cast<uint32_t>(number(record.substr(7, 2)) % (wide / 64)),
                     head.nPacketCount);
        uint4ToChar4(static_cast<uint32_t>(number(record.substr(9, 2)) % (wide / 64)),
                     head.nPacketIndex);
        uint4ToChar4(static_cast<uint32_t>(number(record.substr(11, 4)) % wide), head.nDataOffset);
        uint4ToChar4(static_cast<uint32_t>(length), head.nDataLen);
        if (kind == 2) reinterpret_cast<char*>(&head)[record[15] & 63] ^= record[14];
        bytes.assign(reinterpret_cast<const char*>(&head), sizeof head);
        bytes.append(length, record[15]);
        if (kind == 3) bytes = record.substr(1);
        if (kind == 4) bytes += record[15];
    }
};

// The receiver, the plain way.
class Twin {
 public:
    // Whether a message is whole with this datagram.
    bool take(const std::string& bytes) {
        if (!is_valid(bytes)) return false;
        const std::string own = bytes.substr(16, 24) + bytes.substr(56, 8);
        if (own != own_) {
            own_ = own;
            indices_.clear();
            pieces_.clear();
        }
        pieces_.push_back(bytes);
        indices_.insert(at(bytes, 40));
        if (indices_.size() != at(bytes, 36)) return false;
        own_.clear();
        data.assign(at(bytes, 32), '\0');
        for (const std::string& piece : pieces_) {
            data.replace(at(piece, 48), piece.size() - 64, piece.substr(64));
        }
        return true;
    }
    std::string data;

 private:
    static uint64_t at(const std::string& bytes, size_t offset) {
        return number(std::string_view(bytes).substr(offset, 4));
    }
    static bool is_valid(const std::string& bytes) {
        using std::string_view_literals::operator""sv;
        if (bytes.size() < 65 || bytes.substr(0, 6) != "\0\0\0\x40\0\x06"sv) return false;
        if (bytes.substr(8, 8) != "$upk$xcg") return false;
        const uint64_t total = at(bytes, 32);
        const uint64_t count = at(bytes, 36);
        return at(bytes, 44) + 64 == bytes.size() && at(bytes, 48) + at(bytes, 44) <= total &&
               at(bytes, 40) < count && count <= 32768 && total <= count * 32704;
    }
    std::string own_;
    std::vector<std::string> pieces_;
    std::set<uint64_t> indices_;
};

}  // namespace

// Both ends of a local pair that keeps messages: in order, none is lost, and its end is seen.
void try_input(std::string_view input) {
    int ends[2];
    must(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0);
    std::vector<std::string> wanted;
    Twin twin;
    bool too_long = false;  // ends a receive, and with it the message that it put together
    for (size_t i = 0; i < kMostDatagrams && input.size() >= kRecord && !too_long; ++i) {
        const Datagram datagram(input.substr(0, kRecord));
        input.remove_prefix(kRecord);
        const auto size = static_cast<ssize_t>(datagram.bytes.size());
        const ssize_t sent =
            send(ends[0], datagram.bytes.data(), datagram.bytes.size(), MSG_DONTWAIT);
        if (sent < 0) break;  // full
        must(sent == size);
        too_long = size > 32768;
        if (!too_long && twin.take(datagram.bytes)) wanted.push_back(twin.data);
    }
    close(ends[0]);
    const auto socket = static_cast<OXSOCKET>(ends[1]);
    uint8_t* data = nullptr;
    int32_t size = 0;
    size_t got = 0;
    while (ORVEX_SOCKUDP_LargeRecv(socket, &data, &size, nullptr, nullptr) > 0) {
        must(got < wanted.size());
        must(std::string_view(reinterpret_cast<char*>(data), static_cast<size_t>(size)) ==
             wanted[got++]);
        ORVEX_free(data);
    }
    must(got == wanted.size() && data == nullptr && GetRvexErrNo() == 74);
    ORVEX_SOCK_Close(socket);
}
