// Sockets are opened and closed.
#include <atomic>
#include <cstring>

#include "moltelib/socket_option.h"
#include "moltelib/state.h"
#include "moltelib/text.h"
#include "network/oxsockop.h"

ORVEX_GLBSOCKOPT g_glbsockopt;

namespace {

constexpr auto kModule = molte::kOxsockop;
using molte::fail_socket;
using molte::fail_socket_text;
using molte::here;
using molte::Socket;

constexpr WORD kVersion = 0x0202;
constexpr int32_t kUsualBacklog = 100;
constexpr int32_t kMostPort = 65535;

constinit std::atomic<bool> started{false};

// Why the system's library didn't start; 0: it is of another version. The spelling is meant.
const char* start_fault(int number) {
    switch (number) {
        case 0:
            return "Version is not what we want";
        case WSAEINPROGRESS:
            return "A blocking socket is in progress";
        case WSAEPROCLIM:
            return "System has reached task limit";
        case WSASYSNOTREADY:
            return "Network subsystem is not ready for network commnuication";
        case WSAVERNOTSUPPORTED:
            return "Sock version requested has not been implemnted";
        default:
            return "Parameter is invalid";
    }
}

bool set_limits(OXSOCKET socket, int32_t receiving, int32_t sending) {
    return (receiving <= 0 || ORVEX_SOCK_SetRecvTimeOut(socket, receiving) == 0) &&
           (sending <= 0 || ORVEX_SOCK_SetSendTimeOut(socket, sending) == 0);
}

// Binds to an address in network order; what is reported for a port that is none is what was asked
// for.
int32_t bind_to(OXSOCKET socket, uint32_t ip, int32_t port) {
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddrN(&address, ip, port > 0 ? port : 0);
    if (port > kMostPort) {
        WSASetLastError(WSAEINVAL);
    } else if (platform::bind(socket, &address, sizeof address) == 0) {
        return 1;
    }
    return fail_socket(here(), molte::kNotBound, &address, sizeof address);
}

int32_t listen_at(OXSOCKET socket, int32_t port) {
    if (bind_to(socket, 0, port) < 0) return kModule.trace(here());
    const int32_t wanted = g_stBv.nListenBacklogCnt;
    if (platform::listen(socket, wanted > 0 ? wanted : kUsualBacklog) == 0) return 1;
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddrN(&address, 0, port > 0 ? port : 0);
    return fail_socket(here(), molte::kNotBound, &address, sizeof address);
}

int32_t connect_to(OXSOCKET socket, uint32_t ip, int32_t port) {
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddrN(&address, ip, port);
    if (port < 0 || port > kMostPort) {
        WSASetLastError(WSAEINVAL);
    } else if (platform::connect(socket, &address, sizeof address) == 0) {
        return 1;
    }
    const int number = WSAGetLastError();
    char name[OXSOCK_IP_TEXT_SIZE] = "";
    ORVEX_SOCK_NetIP2Name(ip, name);
    char text[128] = "";
    ox_snprintf(text, sizeof text, "IP=%s Port=%d", name, port);
    WSASetLastError(number);
    return fail_socket_text(here(), molte::kNotConnected, text);
}

// A client by the address, or where that is null by the name.
OXSOCKET open_client(const char* name, const uint32_t* ip, int32_t port) {
    Socket socket(ORVEX_SOCK_OpenSocket());
    uint32_t found = ip != nullptr ? *ip : 0;
    const bool done =
        socket.valid() && (ip != nullptr || ORVEX_SOCK_NameToIP(name, &found) > 0) &&
        connect_to(socket.get(), found, port) > 0 &&
        set_limits(socket.get(), g_glbsockopt.nClientRecvTimeOut, g_glbsockopt.nClientSendTimeOut);
    if (done) return socket.release();
    kModule.trace(here());
    return OXSOCKET_INVALID;
}

}  // namespace

// ---- Start and end ----

int32_t ORVEX_SOCK_Init(void) {
    if (started.load(std::memory_order_relaxed)) return 1;
    WSADATA data{};
    const int number = WSAStartup(kVersion, &data);
    if (number == 0 && data.wVersion == kVersion) {
        started.store(true, std::memory_order_relaxed);
        return 1;
    }
    if (number == 0) WSACleanup();
    return molte::refuse_socket(here(), molte::kNotStarted, number, start_fault(number));
}

int32_t ORVEX_SOCK_EnsureInited(void) {
    return ORVEX_SOCK_Init();
}

int32_t ORVEX_SOCK_End(void) {
    WSACleanup();
    started.store(false, std::memory_order_relaxed);
    return 1;
}

// ---- Open ----

OXSOCKET ORVEX_SOCK_OpenSocket(void) {
    return ORVEX_SOCK_Socket(OXSOCK_AF_INET, OXSOCK_STREAM, 0);
}

OXSOCKET ORVEX_SOCK_Socket(int32_t nFamily, int32_t nType, int32_t nProtocol) {
    if (ORVEX_SOCK_EnsureInited() < 0) {
        kModule.trace(here());
        return OXSOCKET_INVALID;
    }
    const OXSOCKET socket = platform::socket(nFamily, nType, nProtocol);
    if (socket == OXSOCKET_INVALID) fail_socket(here(), molte::kNoSocket);
    return socket;
}

OXSOCKET ORVEX_SOCK_ClientOpen(const char* pszName, int32_t nPort) {
    return open_client(pszName, nullptr, nPort);
}

OXSOCKET ORVEX_SOCK_ClientOpenByIP(const uint32_t* pnNetIP, int32_t nPort) {
    return open_client(nullptr, pnNetIP, nPort);
}

OXSOCKET ORVEX_SOCK_ServerOpenEx(int32_t nPort, int32_t nFlags) {
    Socket socket(ORVEX_SOCK_OpenSocket());
    const bool done =
        socket.valid() && ((nFlags & 1) == 0 || ORVEX_SOCK_ReuseSocket(socket.get()) == 0) &&
        listen_at(socket.get(), nPort) > 0 &&
        set_limits(socket.get(), g_glbsockopt.nServerRecvTimeOut, g_glbsockopt.nServerSendTimeOut);
    if (done) return socket.release();
    kModule.trace(here());
    return OXSOCKET_INVALID;
}

OXSOCKET ORVEX_SOCK_ServerOpen(int32_t nPort) {
    return ORVEX_SOCK_ServerOpenEx(nPort, 1);
}

OXSOCKET ORVEX_SOCK_Accept(OXSOCKET hSocket) {
    const OXSOCKET accepted = platform::accept(hSocket, nullptr, nullptr);
    if (accepted == OXSOCKET_INVALID) fail_socket(here(), molte::kNotAccepted);
    return accepted;
}

OXSOCKET ORVEX_SOCK_AcceptPeer(OXSOCKET hSocket, OXSOCKADDR* pAddr, int32_t* pnAddrLen) {
    int length = pnAddrLen != nullptr ? *pnAddrLen : static_cast<int>(sizeof *pAddr);
    const OXSOCKET accepted = platform::accept(hSocket, pAddr, &length);
    if (accepted == OXSOCKET_INVALID) {
        const int64_t size = pnAddrLen != nullptr ? molte::address_size(pAddr, pnAddrLen) : 0;
        fail_socket(here(), molte::kNotAccepted, pAddr, size);
    } else if (pnAddrLen != nullptr) {
        *pnAddrLen = length;
    }
    return accepted;
}

int32_t ORVEX_SOCK_Bind(OXSOCKET hSocket, uint32_t nHostIP, int32_t nPort) {
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddr(&address, nHostIP, 0);
    return bind_to(hSocket, address.nNetIP, nPort);
}

OXSOCKET ORVEX_SOCKUDP_ClientOpen(void) {
    return ORVEX_SOCK_Socket(OXSOCK_AF_INET, OXSOCK_DGRAM, 0);
}

OXSOCKET ORVEX_SOCKUDP_ServerOpenEx(int32_t nPort, uint32_t nNetIP) {
    Socket socket(ORVEX_SOCKUDP_ClientOpen());
    const bool done = socket.valid() && ORVEX_SOCK_ReuseSocket(socket.get()) == 0 &&
                      bind_to(socket.get(), nNetIP, nPort) > 0;
    if (done) return socket.release();
    kModule.trace(here());
    return OXSOCKET_INVALID;
}

OXSOCKET ORVEX_SOCKUDP_ServerOpen(int32_t nPort) {
    return ORVEX_SOCKUDP_ServerOpenEx(nPort, 0);
}

// ---- Close ----

int32_t ORVEX_SOCK_Close(OXSOCKET hSocket) {
    if (hSocket == OXSOCKET_INVALID) return 0;
    return closesocket(hSocket) == 0 ? 1 : fail_socket(here(), molte::kNotClosed);
}

int32_t ORVEX_SOCK_Shutdown(OXSOCKET hSocket, int32_t bSend, int32_t bRecv) {
    constexpr int receiving = 0;
    constexpr int sending = 1;
    constexpr int both = 2;
    if (bSend == 0 && bRecv == 0) return 0;
    const int how = bSend != 0 && bRecv != 0 ? both : bSend != 0 ? sending : receiving;
    return platform::shutdown(hSocket, how) == 0 ? 1 : fail_socket(here(), molte::kNoOption);
}
