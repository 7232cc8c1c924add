// Sockets of this machine, at ports that the system chooses.
#pragma once

#include "support/loopback_port.h"
#include "support/test.h"

constexpr uint32_t kLoopback = 0x7F000001;

struct OwnedSocket {
    OXSOCKET number;
    explicit OwnedSocket(OXSOCKET own = OXSOCKET_INVALID) : number(own) {}
    OwnedSocket(OwnedSocket&& other) noexcept : number(other.release()) {}
    OwnedSocket& operator=(OwnedSocket&&) = delete;
    ~OwnedSocket() { ORVEX_SOCK_Close(number); }
    operator OXSOCKET() const { return number; }
    OXSOCKET release() { return std::exchange(number, OXSOCKET_INVALID); }
    int32_t close() { return ORVEX_SOCK_Close(release()); }
};

inline OXSOCKADDR loopback_address(OXSOCKET socket) {
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddr(&address, kLoopback, port_of(socket));
    return address;
}

// Both ends of a connection.
struct Connection {
    OwnedSocket listener{ORVEX_SOCK_ServerOpen(0)};
    OwnedSocket client{ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener))};
    OwnedSocket server{ORVEX_SOCK_Accept(listener)};
};

// The name of the system's error in the thread's record, alike on all systems.
inline std::string system_error_name() {
    const std::string name = ORVEX_GetErrData()->szSysErr;
    return name.starts_with("WSA") ? name.substr(3) : name;
}
