// Options of sockets.
#include "moltelib/socket_option.h"

#include <algorithm>
#include <cstring>

#include "network/oxsockop.h"

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::fail_socket_text;
using molte::here;

constexpr char kSetting[] = "set opt";
constexpr char kReading[] = "get opt";

int32_t set_limit(int32_t line, OXSOCKET socket, int32_t option, int32_t seconds) {
    constexpr int32_t milli = 1000;
    if (seconds < 0) return molte::refuse_socket(line, molte::kNoOption, WSAEINVAL, kSetting);
    const int32_t milliseconds = std::min(seconds, INT32_MAX / milli) * milli;
    if (ORVEX_SOCK_SetIntOption(socket, option, milliseconds) < 0) return kModule.trace(line);
    return 0;
}

// Group and interface, as the system takes them.
struct Membership {
    uint32_t group;
    uint32_t interface_address;
};

int32_t set_membership(int32_t line, OXSOCKET socket, int32_t option, const OXSOCKADDR* address) {
    if (address == nullptr)
        return molte::refuse_socket(line, molte::kNoOption, WSAEFAULT, kSetting);
    const Membership membership = {address->nNetIP, 0};
    return ORVEX_SOCK_SetOption(socket, OXSOCK_IPPROTO_IP, option, &membership, sizeof membership);
}

// A value of IP, -1 on failure.
int32_t get_of_ip(OXSOCKET socket, int32_t option) {
    int32_t value = 0;
    int32_t size = sizeof value;
    if (ORVEX_SOCK_GetOption(socket, OXSOCK_IPPROTO_IP, option, &value, &size) < 0) return -1;
    return value;
}

}  // namespace

int32_t ORVEX_SOCK_SetOption(OXSOCKET hSocket, int32_t nLevel, int32_t nName, const void* pValue,
                             int32_t nLen) {
    if (platform::setsockopt(hSocket, nLevel, nName, pValue, nLen) == 0) return 0;
    return fail_socket_text(here(), molte::kNoOption, kSetting);
}

int32_t ORVEX_SOCK_GetOption(OXSOCKET hSocket, int32_t nLevel, int32_t nName, void* pValue,
                             int32_t* pnLen) {
    if (platform::getsockopt(hSocket, nLevel, nName, pValue, pnLen) == 0) return 0;
    return fail_socket_text(here(), molte::kNoOption, kReading);
}

int32_t ORVEX_SOCK_SetIntOption(OXSOCKET hSocket, int32_t nName, int32_t nValue) {
    return ORVEX_SOCK_SetOption(hSocket, OXSOCK_SOL_SOCKET, nName, &nValue, sizeof nValue);
}

int32_t ORVEX_SOCK_GetIntOption(OXSOCKET hSocket, int32_t nName) {
    int32_t value = 0;
    int32_t size = sizeof value;
    if (ORVEX_SOCK_GetOption(hSocket, OXSOCK_SOL_SOCKET, nName, &value, &size) < 0) return -1;
    return value;
}

int32_t ORVEX_SOCK_Ioctl(OXSOCKET hSocket, uint32_t nCommand, uint32_t* pnArg) {
    auto* const argument = reinterpret_cast<DWORD*>(pnArg);
    if (ioctlsocket(hSocket, static_cast<int32_t>(nCommand), argument) == 0) return 0;
    return fail_socket_text(here(), molte::kNoOption, "ioctl");
}

int32_t ORVEX_SOCK_SetRecvTimeOut(OXSOCKET hSocket, int32_t nSeconds) {
    return set_limit(here(), hSocket, OXSOCK_SO_RCVTIMEO, nSeconds);
}

int32_t ORVEX_SOCK_SetSendTimeOut(OXSOCKET hSocket, int32_t nSeconds) {
    return set_limit(here(), hSocket, OXSOCK_SO_SNDTIMEO, nSeconds);
}

int32_t ORVEX_SOCK_ReuseSocket(OXSOCKET hSocket) {
    return ORVEX_SOCK_SetIntOption(hSocket, OXSOCK_SO_REUSEADDR, 1);
}

int32_t ORVEX_SOCK_SetCanBroadcast(OXSOCKET hSocket) {
    return ORVEX_SOCK_SetIntOption(hSocket, OXSOCK_SO_BROADCAST, 1);
}

int32_t ORVEX_SOCK_SetNoBroadcast(OXSOCKET hSocket) {
    return ORVEX_SOCK_SetIntOption(hSocket, OXSOCK_SO_BROADCAST, 0);
}

// ---- Multicast ----

int32_t ORVEX_SOCK_MultiCastJoin(OXSOCKET hSocket, const OXSOCKADDR* pAddr) {
    return set_membership(here(), hSocket, OXSOCK_IP_ADD_MEMBERSHIP, pAddr);
}

int32_t ORVEX_SOCK_MultiCastDrop(OXSOCKET hSocket, const OXSOCKADDR* pAddr) {
    return set_membership(here(), hSocket, OXSOCK_IP_DROP_MEMBERSHIP, pAddr);
}

int32_t ORVEX_SOCK_MultiCastSetTTL(OXSOCKET hSocket, uint8_t nTTL) {
    const int32_t value = nTTL;
    return ORVEX_SOCK_SetOption(hSocket, OXSOCK_IPPROTO_IP, OXSOCK_IP_MULTICAST_TTL, &value,
                                sizeof value);
}

int32_t ORVEX_SOCK_MultiCastGetTTL(OXSOCKET hSocket) {
    return get_of_ip(hSocket, OXSOCK_IP_MULTICAST_TTL);
}

int32_t ORVEX_SOCK_MultiCastSetIF(OXSOCKET hSocket, const char* pszName) {
    uint32_t ip = 0;
    if (ORVEX_SOCK_NameToIP(pszName, &ip) < 0) return kModule.trace(here());
    return ORVEX_SOCK_SetOption(hSocket, OXSOCK_IPPROTO_IP, OXSOCK_IP_MULTICAST_IF, &ip, sizeof ip);
}

int32_t ORVEX_SOCK_SetLoopbackFlag(OXSOCKET hSocket, uint8_t bLoopback) {
    return ORVEX_SOCK_SetOption(hSocket, OXSOCK_IPPROTO_IP, OXSOCK_IP_MULTICAST_LOOP, &bLoopback,
                                sizeof bLoopback);
}

int32_t ORVEX_SOCK_GetLoopbackFlag(OXSOCKET hSocket) {
    return get_of_ip(hSocket, OXSOCK_IP_MULTICAST_LOOP);
}
