// Sockets are waited for; the careful close and the relay, which do.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "moltelib/clock.h"
#include "moltelib/socket_option.h"
#include "network/oxsockop.h"
#include "platform/ticks.h"

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::fail_socket;
using molte::here;
using platform::SocketSet;

static_assert(sizeof(OXSOCKSET) == sizeof(SocketSet));
static_assert(offsetof(OXSOCKSET, ahSocket) == offsetof(SocketSet, sockets));

SocketSet* platform_set(OXSOCKSET* set) {
    return reinterpret_cast<SocketSet*>(set);
}

bool holds(const SocketSet& set, OXSOCKET socket) {
    const SOCKET* const end = set.sockets + set.count;
    return std::find(set.sockets, end, socket) != end;
}

// The first sockets that differ, as many as fit. Most are known to be new by a bit that nobody has
// set, which saves two thirds of the time that a wait costs beside the system's.
SocketSet different_ones(const OXSOCKET* sockets, int32_t count) {
    SocketSet set;
    set.count = 0;
    uint64_t seen[4] = {};
    for (int32_t i = 0; i < count && set.count < platform::kMostSockets; ++i) {
        const OXSOCKET socket = sockets[i];
        const auto bit = static_cast<unsigned>((socket ^ socket >> 2) % 256);
        const uint64_t mask = uint64_t{1} << bit % 64;
        if ((seen[bit / 64] & mask) != 0 && holds(set, socket)) continue;
        seen[bit / 64] |= mask;
        set.sockets[set.count++] = socket;
    }
    return set;
}

// ---- The relay ----

struct Sides {
    OXSOCKET sockets[2];
    int32_t ready[2];
    int32_t live;
};

// Drops or relays what a side has; false at its end.
bool move_from(const Sides& sides, int32_t side) {
    char buffer[4097];
    const OXSOCKET from = sides.sockets[side];
    int32_t waiting = ORVEX_SOCK_BufDataLen(from);
    if (waiting == 0) return false;
    while (waiting > 0) {
        const int32_t size = std::min<int32_t>(waiting, sizeof buffer);
        const bool received = ORVEX_SOCK_RecvWithOption(from, buffer, size, 0) > 0;
        if (received && sides.live == 2) {
            ORVEX_SOCK_SendWithOption(sides.sockets[1 - side], buffer, size, 0);
        }
        // What was there already need not be asked for.
        const int32_t known = received ? waiting - size : 0;
        const int32_t left = known > 0 ? known : ORVEX_SOCK_BufDataLen(from);
        if (!received && left == waiting) return false;
        waiting = left;
    }
    return waiting == 0;
}

void relay_what_is_ready(Sides* sides) {
    bool ended[2] = {};
    for (int32_t i = 0; i < sides->live; ++i) {
        ended[i] = sides->ready[i] != 0 && !move_from(*sides, i);
    }
    int32_t kept = 0;
    for (int32_t i = 0; i < sides->live; ++i) {
        if (!ended[i]) sides->sockets[kept++] = sides->sockets[i];
    }
    sides->live = kept;
}

}  // namespace

int32_t ORVEX_SOCK_Select(int32_t, OXSOCKSET* pRead, OXSOCKSET* pWrite, OXSOCKSET* pExcept,
                          int32_t nSec, int32_t nMicroSec) {
    const bool twice = (pRead != nullptr && (pRead == pWrite || pRead == pExcept)) ||
                       (pWrite != nullptr && pWrite == pExcept);
    if (twice) return molte::refuse_socket(here(), molte::kNotWaited, WSAEINVAL);
    const int ready = platform::select(platform_set(pRead), platform_set(pWrite),
                                       platform_set(pExcept), nSec, nMicroSec);
    return ready >= 0 ? ready : fail_socket(here(), molte::kNotWaited);
}

int32_t ORVEX_SOCK_WaitDataToRead(const OXSOCKET* phSocket, int32_t nCount, int32_t nSec,
                                  int32_t nMicroSec, int32_t* pnFlags) {
    if (pnFlags != nullptr && nCount > 0) std::fill_n(pnFlags, nCount, 0);
    if (phSocket == nullptr || nCount < 1) return kModule.fail(here(), molte::kNoSockets);
    SocketSet set = different_ones(phSocket, nCount);
    const int ready = platform::select(&set, nullptr, nullptr, nSec, nMicroSec);
    if (ready < 0) return fail_socket(here(), molte::kNotWaited);
    if (ready == 0 || pnFlags == nullptr) return ready;
    for (int32_t i = 0; i < nCount; ++i) pnFlags[i] = holds(set, phSocket[i]) ? 1 : 0;
    return ready;
}

// One second from the end of sending to the close, also against a peer that never ends.
int32_t ORVEX_SOCK_CloseEx(OXSOCKET hSocket, int32_t nFlags) {
    if (hSocket == OXSOCKET_INVALID) return 0;
    if ((nFlags & 1) != 0) {
        const int64_t end = MOLTE_HiResoTickCount() + MOLTE_HiResoTickPerSec();
        ORVEX_SOCK_Shutdown(hSocket, 1, 0);
        char dropped[1024];
        int32_t size = 1;
        bool goes_on = ORVEX_SOCK_SetRecvTimeOut(hSocket, 1) == 0;
        while (goes_on && MOLTE_HiResoTickCount() < end) {
            goes_on = ORVEX_SOCK_RecvWithOption(hSocket, dropped, size, 0) > 0;
            if (goes_on) size = std::min<int32_t>(ORVEX_SOCK_BufDataLen(hSocket), sizeof dropped);
            goes_on = goes_on && size > 0;
        }
    }
    return ORVEX_SOCK_Close(hSocket);
}

int32_t ORVEX_SOCK_Proxy(OXSOCKET hA, OXSOCKET hB) {
    constexpr int32_t failed_wait = 1256;
    Sides sides = {{hA, hB}, {}, 2};
    while (sides.live > 0) {
        if (ORVEX_SOCK_WaitDataToRead(sides.sockets, sides.live, -1, 0, sides.ready) < 0) {
            return kModule.trace(failed_wait);
        }
        relay_what_is_ready(&sides);
    }
    return 1;
}
