// The port that the system chose for a socket.
#pragma once

#include "moltelib.h"

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#endif

inline int32_t port_of(OXSOCKET socket) {
    sockaddr_in address{};
#if defined(_WIN32)
    int size = sizeof address;
    const int result = getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
#else
    socklen_t size = sizeof address;
    const int result =
        getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&address), &size);
#endif
    return result == 0 ? ntohs(address.sin_port) : -1;
}
