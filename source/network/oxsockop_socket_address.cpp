// Addresses of sockets, and names of hosts.
#include "moltelib/socket_address.h"

#include <bit>
#include <cstring>

#include "moltelib/text.h"
#include "network/oxsockop.h"

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::fail_socket;
using molte::here;

constexpr uint16_t kFamily = 2;
constexpr uint32_t kNoAddress = UINT32_MAX;

uint32_t swapped(uint32_t number) {
    return std::endian::native == std::endian::little ? __builtin_bswap32(number) : number;
}
uint16_t swapped(uint16_t number) {
    return std::endian::native == std::endian::little ? __builtin_bswap16(number) : number;
}

using NameCall = int (*)(SOCKET socket, void* address, int* length);

int32_t ip_by(int32_t line, NameCall call, OXSOCKET socket, uint32_t* ip) {
    if (ip == nullptr) return molte::refuse_socket(line, molte::kNoOption, WSAEFAULT);
    OXSOCKADDR address{};
    int length = sizeof address;
    if (call(socket, &address, &length) != 0) return fail_socket(line, molte::kNoOption);
    *ip = address.nNetIP;
    return 1;
}

}  // namespace

int32_t ORVEX_SOCK_SetAddr(OXSOCKADDR* pAddr, uint32_t nHostIP, int32_t nPort) {
    return ORVEX_SOCK_SetAddrN(pAddr, swapped(nHostIP), nPort);
}

int32_t ORVEX_SOCK_SetAddrN(OXSOCKADDR* pAddr, uint32_t nNetIP, int32_t nPort) {
    if (pAddr == nullptr) return molte::refuse_socket(here(), molte::kNoOption, WSAEFAULT);
    *pAddr = {kFamily, swapped(static_cast<uint16_t>(nPort)), nNetIP, {}};
    return 1;
}

char* ORVEX_SOCK_AddrN2Str(const OXSOCKADDR* pAddr, char* pszDst, int32_t nDstLen) {
    if (pszDst == nullptr || nDstLen < 1) return pszDst;
    *pszDst = '\0';
    char name[OXSOCK_IP_TEXT_SIZE] = "";
    if (pAddr == nullptr || ORVEX_SOCK_NetIP2Name(pAddr->nNetIP, name) < 0) return pszDst;
    ox_snprintf(pszDst, nDstLen, "IP=%s Port=%d", name, swapped(pAddr->nNetPort));
    pszDst[nDstLen - 1] = '\0';  // where it didn't fit
    return pszDst;
}

int32_t ORVEX_SOCK_NameToIP(const char* pszName, uint32_t* pnNetIP) {
    if (pszName == nullptr || pnNetIP == nullptr || *pszName == '\0') {
        return kModule.fail(here(), molte::kNoHostName);
    }
    if (ORVEX_SOCK_EnsureInited() < 0) return kModule.trace(here());
    uint32_t ip = platform::inet_addr(pszName);
    if (ip == kNoAddress) {
        const int found = platform::gethostbyname(pszName, &ip, 1);
        if (found == 0) WSASetLastError(WSANO_DATA);
        if (found < 1) return molte::fail_socket_text(here(), molte::kNoHost, pszName);
    }
    *pnNetIP = ip;
    return 1;
}

int32_t ORVEX_SOCK_ntoa(uint32_t nHostIP, char* pszDst) {
    return ORVEX_SOCK_NetIP2Name(swapped(nHostIP), pszDst);
}

int32_t ORVEX_SOCK_NetIP2Name(uint32_t nNetIP, char* pszDst) {
    if (pszDst == nullptr) WSASetLastError(WSAEFAULT);
    if (pszDst != nullptr && platform::inet_ntoa(nNetIP, pszDst)) return 1;
    char text[32] = "";
    const int number = WSAGetLastError();
    ox_snprintf(text, sizeof text, "ip=%d", static_cast<int32_t>(swapped(nNetIP)));
    return molte::refuse_socket(here(), molte::kNoAddressText, number, text);
}

int32_t ORVEX_SOCK_GetHostIP(OXSOCKET hSocket, uint32_t* pnNetIP) {
    if (pnNetIP != nullptr) *pnNetIP = 0;
    return ip_by(here(), platform::getsockname, hSocket, pnNetIP);
}

int32_t ORVEX_SOCK_GetPeerIP(OXSOCKET hSocket, uint32_t* pnNetIP) {
    return ip_by(here(), platform::getpeername, hSocket, pnNetIP);
}

int32_t ORVEX_SOCK_GetHostIPName(OXSOCKET hSocket, char* pszDst) {
    uint32_t ip = 0;
    if (ORVEX_SOCK_GetHostIP(hSocket, &ip) < 0) return kModule.trace(here());
    return ORVEX_SOCK_NetIP2Name(ip, pszDst);
}

int32_t ORVEX_SOCK_GetPeerIPName(OXSOCKET hSocket, char* pszDst) {
    uint32_t ip = 0;
    if (ORVEX_SOCK_GetPeerIP(hSocket, &ip) < 0) return kModule.trace(here());
    return ORVEX_SOCK_NetIP2Name(ip, pszDst);
}

int32_t ORVEX_SOCK_GetHostNameByAddr(uint32_t nNetIP, char* pszDst, int32_t nDstLen) {
    if (pszDst == nullptr || nDstLen < 1) {
        return molte::refuse_socket(here(), molte::kNoHost, WSAEFAULT);
    }
    if (ORVEX_SOCK_EnsureInited() < 0) return kModule.trace(here());
    if (platform::gethostbyaddr(nNetIP, pszDst, nDstLen) == 0) return 1;
    return fail_socket(here(), molte::kNoHost);
}

int32_t ORVEX_SOCK_GetAllHostIP(uint32_t* pnNetIP, int32_t nMax) {
    if (pnNetIP == nullptr && nMax > 0) {
        return molte::refuse_socket(here(), molte::kNoHost, WSAEFAULT);
    }
    if (ORVEX_SOCK_EnsureInited() < 0) return kModule.trace(here());
    const int count = platform::gethostbyname(nullptr, pnNetIP, nMax);
    return count >= 0 ? count : fail_socket(here(), molte::kNoHost);
}
