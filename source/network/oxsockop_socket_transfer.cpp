// Data is moved through sockets.
#include <algorithm>
#include <atomic>

#include "moltelib/clock.h"
#include "moltelib/socket_option.h"
#include "moltelib/text.h"
#include "network/oxsockop.h"
#include "platform/ticks.h"

int32_t nSockProgressPercent;

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::fail_socket;
using molte::here;

constexpr int32_t kPiece = 4096;
constexpr int32_t kWhole = 100;  // percent

// What is for the whole process, and written by all threads that transfer.
int32_t load(int32_t& shared) {
    return std::atomic_ref(shared).load(std::memory_order_relaxed);
}
void store(int32_t& shared, int32_t value) {
    std::atomic_ref(shared).store(value, std::memory_order_relaxed);
}

// Transfers of less than a millisecond have no speed. In 32 bits, so that the speed of more than
// 2147483 bytes is another number.
void count_speed(int32_t length, int32_t milliseconds, int32_t& least, int32_t& most) {
    if (milliseconds <= 0) return;
    const auto scaled = static_cast<int32_t>(static_cast<uint32_t>(length) * 1000U);
    const int32_t speed = scaled / milliseconds;
    const int32_t before_least = load(least);
    const int32_t before_most = load(most);
    const bool first = before_least == 0 && before_most == 0;
    if (first || speed < before_least) store(least, speed);
    if (first || speed > before_most) store(most, speed);
}

// By the counter of ticks, which costs a short transfer less than two looks at the clock.
int32_t milliseconds_since(uint64_t begin) {
    const int64_t ticks = platform::span_ticks(begin, platform::span_reading());
    return static_cast<int32_t>(ticks / (MOLTE_HiResoTickPerSec() / 1000));
}

struct Direction {
    int32_t* least_speed;
    int32_t* most_speed;
    uint32_t error;
    const char* failure;  // result, moved, total, peer, seconds
};

const Direction kSending = {&g_glbsockopt.nMinSendSpeed, &g_glbsockopt.nMaxSendSpeed,
                            molte::kNotSent,
                            "Send error retval=%d sent=%d total=%d. ip=%s time=%g"};
const Direction kReceiving = {&g_glbsockopt.nMinRecvSpeed, &g_glbsockopt.nMaxRecvSpeed,
                              molte::kNotReceived,
                              "recvdata error. retval=%d read=%d total=%d. ip=%s time=%g"};

// A piece that failed. A result of 0, the end of the peer, comes with no error of the system.
int32_t fail_piece(int32_t line, const Direction& way, OXSOCKET socket, int result, int32_t moved,
                   int32_t total, uint64_t begin) {
    const int number = result < 0 ? WSAGetLastError() : 0;
    const int64_t ticks = platform::span_ticks(begin, platform::span_reading());
    uint32_t ip = 0;
    ORVEX_SOCK_GetPeerIP(socket, &ip);
    char peer[OXSOCK_IP_TEXT_SIZE] = "";
    ORVEX_SOCK_NetIP2Name(ip, peer);
    char text[256] = "";
    ox_snprintf(text, sizeof text, way.failure, result, moved, total, peer,
                MOLTE_HiResoTickToSec(ticks));
    return molte::refuse_socket(line, way.error, number, text);
}

// Moves all of it in pieces; call(done, size) moves one.
template <typename Call>
int32_t move_all(int32_t line, const Direction& way, OXSOCKET socket, int32_t length, Call call) {
    store(nSockProgressPercent, 0);
    const int32_t step = kWhole / (length / kPiece + 1);
    const uint64_t begin = platform::span_reading();
    uint64_t piece_begin = begin;
    for (int32_t done = 0; done < length;) {
        const int result = call(done, std::min(kPiece, length - done));
        if (result < 1) return fail_piece(line, way, socket, result, done, length, piece_begin);
        store(nSockProgressPercent, std::min(kWhole, load(nSockProgressPercent) + step));
        done += result;
        if (done < length) piece_begin = platform::span_reading();
    }
    count_speed(length, milliseconds_since(begin), *way.least_speed, *way.most_speed);
    store(nSockProgressPercent, kWhole);
    return length;
}

}  // namespace

// ---- Streams ----

int32_t ORVEX_SOCK_SendWithOption(OXSOCKET hSocket, const void* pData, int32_t nLen,
                                  int32_t nOption) {
    if (nLen < 1) return 0;
    if (pData == nullptr) return molte::refuse_null(here(), nLen);
    const auto* bytes = static_cast<const char*>(pData);
    return move_all(here(), kSending, hSocket, nLen, [=](int32_t done, int32_t size) {
        return platform::send(hSocket, bytes + done, size, nOption);
    });
}

int32_t ORVEX_SOCK_Send(OXSOCKET hSocket, const void* pData, int32_t nLen) {
    return ORVEX_SOCK_SendWithOption(hSocket, pData, nLen, 0);
}

int32_t ORVEX_SOCK_RecvWithOption(OXSOCKET hSocket, void* pData, int32_t nLen, int32_t nOption) {
    if (nLen < 1) return 0;
    if (pData == nullptr) return kModule.fail(here(), molte::kNowhereToReceive);
    auto* bytes = static_cast<char*>(pData);
    return move_all(here(), kReceiving, hSocket, nLen, [=](int32_t done, int32_t size) {
        return platform::recv(hSocket, bytes + done, size, nOption);
    });
}

int32_t ORVEX_SOCK_Recv(OXSOCKET hSocket, void* pData, int32_t nLen) {
    return ORVEX_SOCK_RecvWithOption(hSocket, pData, nLen, 0);
}

int32_t ORVEX_SOCK_BufDataLen(OXSOCKET hSocket) {
    uint32_t waiting = 0;
    if (ORVEX_SOCK_Ioctl(hSocket, OXSOCK_FIONREAD, &waiting) < 0) return kModule.trace(here());
    return static_cast<int32_t>(std::min<uint32_t>(waiting, INT32_MAX));
}

int32_t ORVEX_SOCK_DiscardData(OXSOCKET hSocket) {
    char dropped[1024];
    for (;;) {
        const int32_t waiting = ORVEX_SOCK_BufDataLen(hSocket);
        if (waiting <= 0) return 1;
        const int32_t size = std::min<int32_t>(waiting, sizeof dropped);
        if (ORVEX_SOCK_RecvWithOption(hSocket, dropped, size, 0) < 0) return 1;
    }
}

// ---- Datagrams ----

int32_t ORVEX_SOCKUDP_Send(OXSOCKET hSocket, const void* pData, int32_t nLen, int32_t nFlags,
                           const OXSOCKADDR* pAddr, int32_t nAddrLen) {
    if (pData == nullptr && nLen > 0) return molte::refuse_null(here(), nLen);
    const int sent = platform::sendto(hSocket, pData, nLen, nFlags, pAddr, nAddrLen);
    return sent >= 0 ? sent : fail_socket(here(), molte::kNotSent, pData, nLen);
}

int32_t ORVEX_SOCKUDP_Recv(OXSOCKET hSocket, void* pData, int32_t nLen, int32_t nFlags,
                           OXSOCKADDR* pAddr, int32_t* pnAddrLen) {
    if (pData == nullptr && nLen > 0) return kModule.fail(here(), molte::kNowhereToReceive);
    int length = pnAddrLen != nullptr ? *pnAddrLen : static_cast<int>(sizeof *pAddr);
    const int received = platform::recvfrom(hSocket, pData, nLen, nFlags, pAddr, &length);
    if (received < 0) {
        return fail_socket(here(), molte::kNotReceived, pAddr,
                           molte::address_size(pAddr, pnAddrLen));
    }
    if (pAddr != nullptr && pnAddrLen != nullptr) *pnAddrLen = length;
    return received;
}

int32_t ORVEX_SOCKUDP_DiscardData(OXSOCKET hSocket) {
    char dropped[1024];
    int32_t waiting = ORVEX_SOCK_BufDataLen(hSocket);
    while (waiting > 0) {
        const int received =
            platform::recvfrom(hSocket, dropped, sizeof dropped, 0, nullptr, nullptr);
        // One that was too long is gone.
        const bool taken = received >= 0 || WSAGetLastError() == WSAEMSGSIZE;
        if (received < 0) fail_socket(here(), molte::kNotReceived);
        const int32_t left = ORVEX_SOCK_BufDataLen(hSocket);
        if (!taken && left == waiting) break;
        waiting = left;
    }
    return 1;
}
