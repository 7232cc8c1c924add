// Addresses, and names of hosts by the calls that threads may make at once.
#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "network/socket.h"

namespace {

struct Free {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

// -1 for a look-up that failed so.
int lookup_failure(int error) {
    switch (error) {
        case EAI_SYSTEM:
            break;
        case EAI_MEMORY:
            errno = ENOMEM;
            break;
        case EAI_AGAIN:
            errno = WSATRY_AGAIN;
            break;
        case EAI_FAIL:
            errno = WSANO_RECOVERY;
            break;
        case EAI_NODATA:
            errno = WSANO_DATA;
            break;
        default:
            errno = WSAHOST_NOT_FOUND;
    }
    return -1;
}

}  // namespace

namespace platform {

// The system's takes what comes after a blank for nothing.
std::uint32_t inet_addr(const char* text) {
    return strpbrk(text, " \t\n\v\f\r") == nullptr ? ::inet_addr(text) : INADDR_NONE;
}

bool inet_ntoa(std::uint32_t address, char* text) {
    return inet_ntop(AF_INET, &address, text, INET_ADDRSTRLEN) != nullptr;
}

int gethostbyname(const char* name, std::uint32_t* addresses, int most) {
    char own[256] = "";
    if (name == nullptr) {
        if (gethostname(own, sizeof own - 1) != 0) return socket_failure();
        name = own;
    }
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;  // each address once
    addrinfo* first = nullptr;
    int error = 0;
    do {
        error = getaddrinfo(name, nullptr, &wanted, &first);
    } while (error == EAI_SYSTEM && errno == EINTR);
    if (error != 0) return lookup_failure(error);
    const std::unique_ptr<addrinfo, Free> list(first);
    int count = 0;
    for (const addrinfo* entry = first; entry != nullptr && count < most; entry = entry->ai_next) {
        const auto* address = reinterpret_cast<const sockaddr_in*>(entry->ai_addr);
        addresses[count++] = address->sin_addr.s_addr;
    }
    return count;
}

int gethostbyaddr(std::uint32_t address, char* name, int size) {
    sockaddr_in of{};
    of.sin_family = AF_INET;
    of.sin_addr.s_addr = address;
    char found[NI_MAXHOST];
    int error = 0;
    do {
        error = getnameinfo(reinterpret_cast<const sockaddr*>(&of), sizeof of, found, sizeof found,
                            nullptr, 0, NI_NAMEREQD);
    } while (error == EAI_SYSTEM && errno == EINTR);
    if (error != 0) return lookup_failure(error);
    const size_t length = strnlen(found, static_cast<size_t>(size) - 1);
    memcpy(name, found, length);
    name[length] = '\0';
    return 0;
}

}  // namespace platform
