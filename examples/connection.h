// Both ends of a connection on this machine: sockets, and ports that are free.
#pragma once

#include <cstdio>
#include <string>

#include "moltelib.h"
#include "terminal.h"

// Closes it at the end.
struct Socket {
    OXSOCKET number;
    explicit Socket(OXSOCKET own) : number(own) {}
    ~Socket() { ORVEX_SOCK_Close(number); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    bool valid() const { return number != OXSOCKET_INVALID; }
};

// The first of the ports that are nobody's own at which open(port) gives a socket.
template <typename Open>
OXSOCKET open_at_free_port(int32_t* port, Open open) {
    for (*port = 49152; *port < 65536; ++*port) {
        const OXSOCKET socket = open(*port);
        if (socket != OXSOCKET_INVALID) return socket;
    }
    return OXSOCKET_INVALID;
}

inline OXSOCKET listen_somewhere(int32_t* port) {
    return open_at_free_port(port, [](int32_t at) { return ORVEX_SOCK_ServerOpenEx(at, 0); });
}

// Prints it, or writes it to a file.
inline bool tell_port(int32_t port, const char* file) {
    if (file == nullptr) {
        std::printf("%d\n", port);
        return std::fflush(stdout) == 0;
    }
    // Whoever waits for the file finds it whole.
    const std::string text = std::to_string(port) + "\n";
    const std::string part = std::string(file) + ".part";
    return ORVEX_SaveBinDataToFile(part.c_str(), text.data(), static_cast<int32_t>(text.size())) >
               0 &&
           std::rename(part.c_str(), file) == 0;
}

// Who may connect: a listener is open to all interfaces.
inline bool is_of_this_machine(const OXSOCKADDR& peer) {
    char ip[OXSOCK_IP_TEXT_SIZE];
    return ORVEX_SOCK_NetIP2Name(peer.nNetIP, ip) > 0 && std::string(ip) == "127.0.0.1";
}

// What a program says, and its result, when it can't go on.
inline int fail(const char* what) {
    std::printf("%s\n", what);
    if (GetRvexErrNo() != 0) terminal::show_error();
    return 1;
}
