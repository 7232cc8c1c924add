// A program that may serve at any port takes a free one, and tells which.
#pragma once

#include <cstdio>
#include <string>

#include "moltelib.h"

// The first of the ports that are nobody's own at which open(port) gives a socket.
template <typename Open>
OXSOCKET open_at_free_port(int32_t* port, Open open) {
    for (*port = 49152; *port < 65536; ++*port) {
        const OXSOCKET socket = open(*port);
        if (socket != OXSOCKET_INVALID) return socket;
    }
    return OXSOCKET_INVALID;
}

// To a file, or where that is null to standard output.
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
