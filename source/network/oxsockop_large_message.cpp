// Large messages over UDP, and the request record.
#include "moltelib/large_message.h"

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "concurrency/oxthrdop.h"
#include "core/owners.h"
#include "core/oxsysutl_memory.h"
#include "moltelib/byte_field.h"
#include "moltelib/clock.h"
#include "moltelib/socket_option.h"
#include "moltelib/text_hook.h"
#include "moltelib/uuid.h"
#include "network/oxsockop.h"
#include "platform/ticks.h"

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::here;

constexpr int32_t kMostPacket = 32768;  // a datagram, head and all
constexpr int32_t kHeadSize = sizeof(MOLTE_UDPHEAD);
constexpr uint32_t kMostData = kMostPacket - kHeadSize;
constexpr uint32_t kMostPackets = 32768;
constexpr uint16_t kVersion = 6;
constexpr char kMagic[] = {'$', 'u', 'p', 'k', '$', 'x', 'c', 'g'};

struct Packet {
    MOLTE_UDPHEAD head;
    uint8_t data[kMostData];
};
static_assert(sizeof(Packet) == kMostPacket);

constinit std::atomic<uint64_t> next_message{1};
constinit std::atomic<uint32_t> messages_begun{0};

// ---- Sending ----

// The data of a packet: what the system takes in one, with room to spare for what others may wrap
// it in, within what receivers take.
uint32_t data_per_packet(OXSOCKET socket) {
    constexpr int64_t spare = 100;
    const int64_t packet = ORVEX_SOCK_GetIntOption(socket, OXSOCK_SO_MAX_MSG_SIZE) - spare;
    if (packet < 1 || packet > kMostPacket) return kMostData;
    return static_cast<uint32_t>(std::max<int64_t>(packet - kHeadSize, 1));
}

// Below a millisecond it only gives way.
void pace(int32_t microseconds) {
    constexpr int32_t usual = 1000;
    constexpr int32_t milli = 1000;
    constexpr int32_t second = 1'000'000;
    const int32_t delay = microseconds == 0 ? usual : std::max(microseconds, 0);
    ORVEX_Sleep(delay / second);
    Sleep(static_cast<DWORD>(delay % second / milli));
}

// ---- Receiving ----

// Whether the bytes received can be a packet. No sender makes more packets than there may be, or
// fewer than its message needs.
bool is_packet(const Packet& packet, int32_t size) {
    if (size <= kHeadSize || MOLTE_UDPHEAD_IsValid(&packet.head) == 0) return false;
    const MOLTE_UDPHEAD& head = packet.head;
    const uint64_t length = Char4To_uint4(head.nDataLen);
    const uint64_t total = Char4To_uint4(head.nTotalLen);
    const uint32_t count = Char4To_uint4(head.nPacketCount);
    return length + kHeadSize == static_cast<uint64_t>(size) &&
           Char4To_uint4(head.nDataOffset) + length <= total &&
           Char4To_uint4(head.nPacketIndex) < count && count <= kMostPackets &&
           total <= uint64_t{count} * kMostData;
}

template <size_t size>
bool equal(const uint8_t (&a)[size], const uint8_t (&b)[size]) {
    return std::memcmp(a, b, size) == 0;
}

// The message that is being put together, if there is one.
class Message {
 public:
    [[nodiscard]] bool is_there() const { return data_ != nullptr; }

    // Whether a valid packet is one of its own.
    [[nodiscard]] bool owns(const MOLTE_UDPHEAD& head) const {
        return is_there() && equal(head.stUuid, head_.stUuid) &&
               equal(head.nTotalLen, head_.nTotalLen) &&
               equal(head.nPacketCount, head_.nPacketCount) && equal(head.n64Seq, head_.n64Seq);
    }

    // By the head of its first packet. False without memory.
    bool begin(const MOLTE_UDPHEAD& head) {
        MOLTE_OutMsgOldFmt("init a new packet. %u. %" PRIu64 "\n",
                           messages_begun.fetch_add(1, std::memory_order_relaxed),
                           Char8To_uint8(head.n64Seq));
        head_ = head;
        count_ = Char4To_uint4(head.nPacketCount);
        received_ = 0;
        data_.reset(static_cast<uint8_t*>(molte::zeroed_malloc(size())));
        if (!is_there()) return false;
        std::memset(has_, 0, (count_ + 7) / 8);
        return true;
    }

    // Takes the data of a packet; whether that was the last one.
    bool take(const Packet& packet) {
        std::memcpy(data_.get() + Char4To_uint4(packet.head.nDataOffset), packet.data,
                    Char4To_uint4(packet.head.nDataLen));
        const uint32_t index = Char4To_uint4(packet.head.nPacketIndex);
        if (!has(index)) ++received_;
        has_[index / 8] = static_cast<uint8_t>(has_[index / 8] | 1U << index % 8);
        return received_ == count_;
    }

    // For the sake of another one.
    void give_up() {
        constexpr uint32_t told_above = 10;
        if (is_there() && received_ > told_above) tell_lost();
        data_.reset();
    }

    // No packet came in time.
    void drop() {
        data_.reset();
        MOLTE_OutMsgOldFmt("wait data time out\n");
        MOLTE_OutMsgOldFmt("Total packet=%d received=%d\n", static_cast<int32_t>(count_),
                           static_cast<int32_t>(received_));
    }

    [[nodiscard]] int32_t size() const {
        return static_cast<int32_t>(Char4To_uint4(head_.nTotalLen));
    }
    [[nodiscard]] uint8_t* release() { return data_.release(); }

 private:
    [[nodiscard]] bool has(uint32_t index) const {
        return (has_[index / 8] & 1U << index % 8) != 0;
    }

    // As many as have room.
    void tell_lost() const {
        char list[512] = "";
        size_t length = 0;
        for (uint32_t i = 0; i < count_; ++i) {
            if (has(i)) continue;
            char number[16];
            const auto size =
                static_cast<size_t>(std::snprintf(number, sizeof number, " %" PRIu32, i));
            if (length + size >= sizeof list) break;
            std::memcpy(list + length, number, size + 1);
            length += size;
        }
        MOLTE_OutMsgOldFmt("lost packet=%s\n", list);
    }

    molte::Heap<uint8_t> data_;
    MOLTE_UDPHEAD head_{};
    uint32_t count_ = 0;
    uint32_t received_ = 0;
    uint8_t has_[kMostPackets / 8];  // the first count_ bits have values
};

int32_t receive_failed() {
    MOLTE_OutMsg(OXMSG_ERROR | OXMSG_TO_STDOUT | OXMSG_TO_INNER_FILE | OXMSG_TO_OUTER_FILE,
                 " large recv failed");
    return -1;
}

}  // namespace

int32_t ORVEX_SOCKUDP_LargeSend(OXSOCKET hSocket, const void* pData, int32_t nLen,
                                const OXSOCKADDR* pAddr, int32_t nAddrLen, int32_t nDelayMicroSec) {
    constexpr int32_t not_sent = 1318;
    if (pData == nullptr && nLen > 0) return molte::refuse_null(here(), nLen);
    const auto total = static_cast<uint32_t>(std::max(nLen, 0));
    const uint32_t most = data_per_packet(hSocket);
    const uint32_t count = (total + most - 1) / most;
    Packet packet;
    MOLTE_UDPHEAD_Init(&packet.head);
    ORVEX_UUID_Gen(packet.head.stUuid);
    uint4ToChar4(total, packet.head.nTotalLen);
    uint4ToChar4(count, packet.head.nPacketCount);
    uint8ToChar8(next_message.fetch_add(1, std::memory_order_relaxed), packet.head.n64Seq);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t offset = i * most;
        const uint32_t size = std::min(total - offset, most);
        uint4ToChar4(i, packet.head.nPacketIndex);
        uint4ToChar4(size, packet.head.nDataLen);
        uint4ToChar4(offset, packet.head.nDataOffset);
        std::memcpy(packet.data, static_cast<const uint8_t*>(pData) + offset, size);
        const int32_t whole = kHeadSize + static_cast<int32_t>(size);
        if (ORVEX_SOCKUDP_Send(hSocket, &packet, whole, 0, pAddr, nAddrLen) < 0) {
            return kModule.trace(not_sent);
        }
        pace(nDelayMicroSec);
    }
    return 1;
}

int32_t ORVEX_SOCKUDP_LargeRecv(OXSOCKET hSocket, uint8_t** ppData, int32_t* pnLen,
                                OXSOCKADDR* pAddr, int32_t* pnAddrLen) {
    constexpr int32_t not_waited = 1458;
    constexpr int32_t not_received = 1475;
    constexpr int32_t no_memory = 1517;
    if (ppData == nullptr || pnLen == nullptr)
        return kModule.fail(here(), molte::kNowhereToReceive);
    *ppData = nullptr;
    *pnLen = 0;
    Packet packet;
    Message message;
    for (;;) {
        const int32_t seconds = message.is_there() ? 1 : -1;
        int32_t ready = 0;
        const int32_t waited = ORVEX_SOCK_WaitDataToRead(&hSocket, 1, seconds, 0, &ready);
        if (waited < 0) return kModule.trace(not_waited);
        if (waited == 0) {
            message.drop();
            if (molte::stop_requested()) return receive_failed();
            continue;
        }
        if (ready == 0) {
            MOLTE_OutMsgOldFmt("sock has been closed\n");
            return 0;
        }
        const int32_t size =
            ORVEX_SOCKUDP_Recv(hSocket, &packet, sizeof packet, 0, pAddr, pnAddrLen);
        if (size < 0) {
            kModule.trace(not_received);
            return receive_failed();
        }
        if (!is_packet(packet, size)) {
            MOLTE_OutMsgOldFmt("packet is invalid\n");
            continue;
        }
        if (!message.owns(packet.head)) {
            message.give_up();
            if (!message.begin(packet.head)) {
                kModule.trace(no_memory);
                return receive_failed();
            }
        }
        if (!message.take(packet)) continue;
        *pnLen = message.size();
        *ppData = message.release();
        return 1;
    }
}

// ---- The head ----

int32_t MOLTE_UDPHEAD_Init(MOLTE_UDPHEAD* pHead) {
    if (pHead == nullptr) return kModule.fail(here(), molte::kBadArgument);
    *pHead = {};
    uint4ToChar4(kHeadSize, pHead->nHeadSize);
    uint2ToChar2(kVersion, pHead->nVersion);
    std::memcpy(pHead->szMagic, kMagic, sizeof kMagic);
    return 1;
}

int32_t MOLTE_UDPHEAD_IsValid(const MOLTE_UDPHEAD* pHead) {
    if (pHead != nullptr && Char4To_uint4(pHead->nHeadSize) == kHeadSize &&
        Char2To_uint2(pHead->nVersion) == kVersion &&
        std::memcmp(pHead->szMagic, kMagic, sizeof kMagic) == 0) {
        return 1;
    }
    kModule.fail_text(here(), molte::kBadHead, molte::SystemError::none, "bad udp head");
    return 0;
}

// ---- The request record ----

int32_t InitUDPRequest(UDPRequest* pRequest) {
    if (pRequest == nullptr) return kModule.fail(here(), molte::kBadArgument);
    *pRequest = {0, 'y', {}, {'u', '.', '#'}, {}};
    return 0;
}

int32_t IsValidUDPRequest(const UDPRequest* pRequest) {
    const bool valid = pRequest != nullptr && pRequest->cMark == 'y' &&
                       std::memcmp(pRequest->acMark, "u.#", sizeof pRequest->acMark) == 0;
    return valid ? 1 : 0;
}

int32_t GetUDPRequestValue(const UDPRequest* pRequest) {
    return pRequest != nullptr ? static_cast<int32_t>(Char4To_uint4(pRequest->nValue)) : 0;
}

int32_t SetUDPRequestValue(int32_t nValue, UDPRequest* pRequest) {
    if (pRequest == nullptr) return kModule.fail(here(), molte::kBadArgument);
    uint4ToChar4(static_cast<uint32_t>(nValue), pRequest->nValue);
    return 1;
}
