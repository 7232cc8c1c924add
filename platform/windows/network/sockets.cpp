// Winsock's own calls, with what this layer promises besides.
#include "platform/sockets.h"

#include <algorithm>
#include <cstring>

namespace {

const sockaddr* generic(const void* address) {
    return static_cast<const sockaddr*>(address);
}
sockaddr* generic(void* address) {
    return static_cast<sockaddr*>(address);
}
char* bytes(void* data) {
    return static_cast<char*>(data);
}
const char* bytes(const void* data) {
    return static_cast<const char*>(data);
}

int failure(int number) {
    WSASetLastError(number);
    return -1;
}

bool flags_are_known(int flags) {
    constexpr int all = 8;
    return (flags & ~(MSG_OOB | MSG_PEEK | MSG_DONTROUTE | all)) == 0;
}

// Told before the call, which would lose the connection or the datagram.
bool has_room(const void* address, const int* length) {
    constexpr int least = 16;
    return address == nullptr || (length != nullptr && *length >= least);
}

SOCKET not_inherited(SOCKET socket) {
    if (socket != INVALID_SOCKET) {
        SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    }
    return socket;
}

// Else a datagram to a port where nobody listens makes the next call that receives fail.
void pass_over_unreachable_ports(SOCKET socket) {
    constexpr DWORD command = 0x9800000C;  // SIO_UDP_CONNRESET
    DWORD off = 0;
    DWORD size = 0;
    WSAIoctl(socket, command, &off, sizeof off, nullptr, 0, &size, nullptr, nullptr);
}

constexpr std::int64_t kSecond = 1'000'000;  // in microseconds

std::int64_t now() {
    LARGE_INTEGER ticks;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&frequency);
    const std::int64_t whole = ticks.QuadPart / frequency.QuadPart;
    return whole * kSecond + ticks.QuadPart % frequency.QuadPart * kSecond / frequency.QuadPart;
}

// 0 for a number that is no open socket.
int type_of(SOCKET socket) {
    int type = 0;
    int size = sizeof type;
    char* const value = reinterpret_cast<char*>(&type);
    return ::getsockopt(socket, SOL_SOCKET, SO_TYPE, value, &size) == 0 ? type : 0;
}

bool is_open(SOCKET socket) {
    return type_of(socket) != 0;
}

// Whether reading a socket of datagrams fails because it is shut. It peeks, and takes it back when
// that would have to wait.
bool is_shut(SOCKET socket) {
    const int type = type_of(socket);
    if (type == 0 || type == SOCK_STREAM) return false;
    WSAOVERLAPPED later{};
    later.hEvent = WSACreateEvent();
    if (later.hEvent == nullptr) return false;
    char byte = 0;
    WSABUF buffer = {1, &byte};
    DWORD flags = MSG_PEEK;
    DWORD size = 0;
    const bool failed = WSARecv(socket, &buffer, 1, nullptr, &flags, &later, nullptr) != 0;
    const int error = failed ? WSAGetLastError() : 0;
    if (error == WSA_IO_PENDING) {
        CancelIoEx(reinterpret_cast<HANDLE>(socket), &later);
        WSAGetOverlappedResult(socket, &later, &size, TRUE, &flags);
    }
    WSACloseEvent(later.hEvent);
    return error == WSAESHUTDOWN;
}

using platform::SocketSet;
static_assert(sizeof(SocketSet) == sizeof(fd_set) && FD_SETSIZE == platform::kMostSockets);

// One look at copies of the sets, which then hold what is ready.
struct Sets {
    fd_set of[3];
    bool there[3];

    int wait(std::int64_t microseconds) {
        timeval limit = {static_cast<long>(microseconds / kSecond),
                         static_cast<long>(microseconds % kSecond)};
        return ::select(0, there[0] ? &of[0] : nullptr, there[1] ? &of[1] : nullptr,
                        there[2] ? &of[2] : nullptr, &limit);
    }

    // Wine never tells a socket of datagrams that is shut as ready.
    int find_shut(const SocketSet* read) {
        for (std::uint32_t i = 0; read != nullptr && i < read->count; ++i) {
            if (is_shut(read->sockets[i])) of[0].fd_array[of[0].fd_count++] = read->sockets[i];
        }
        return static_cast<int>(of[0].fd_count);
    }

    // Wine tells a socket that was closed meanwhile as ready.
    [[nodiscard]] bool all_are_open() const {
        for (int i = 0; i < 3; ++i) {
            const SOCKET* const first = of[i].fd_array;
            if (there[i] && !std::all_of(first, first + of[i].fd_count, is_open)) return false;
        }
        return true;
    }
};

}  // namespace

namespace platform {

SOCKET socket(int family, int type, int protocol) {
    const SOCKET made = not_inherited(::socket(family, type, protocol));
    if (made != INVALID_SOCKET && type == SOCK_DGRAM) pass_over_unreachable_ports(made);
    return made;
}

int bind(SOCKET socket, const void* address, int length) {
    return ::bind(socket, generic(address), length);
}

int listen(SOCKET socket, int backlog) {
    return ::listen(socket, backlog);
}

SOCKET accept(SOCKET socket, void* address, int* length) {
    if (!has_room(address, length)) {
        WSASetLastError(WSAEFAULT);
        return INVALID_SOCKET;
    }
    return not_inherited(::accept(socket, generic(address), address != nullptr ? length : nullptr));
}

int connect(SOCKET socket, const void* address, int length) {
    return ::connect(socket, generic(address), length);
}

int shutdown(SOCKET socket, int how) {
    return ::shutdown(socket, how);
}

int getsockname(SOCKET socket, void* address, int* length) {
    return ::getsockname(socket, generic(address), length);
}

int getpeername(SOCKET socket, void* address, int* length) {
    return ::getpeername(socket, generic(address), length);
}

int send(SOCKET socket, const void* data, int size, int flags) {
    if (!flags_are_known(flags)) return failure(WSAEOPNOTSUPP);
    return ::send(socket, bytes(data), size, flags);
}

int recv(SOCKET socket, void* data, int size, int flags) {
    if (!flags_are_known(flags)) return failure(WSAEOPNOTSUPP);
    return ::recv(socket, bytes(data), size, flags);
}

int sendto(SOCKET socket, const void* data, int size, int flags, const void* address, int length) {
    if (!flags_are_known(flags)) return failure(WSAEOPNOTSUPP);
    if (size < 0) return failure(WSAEFAULT);
    return ::sendto(socket, bytes(data), size, flags, generic(address),
                    address != nullptr ? length : 0);
}

int recvfrom(SOCKET socket, void* data, int size, int flags, void* address, int* length) {
    if (!flags_are_known(flags)) return failure(WSAEOPNOTSUPP);
    if (size < 0 || !has_room(address, length)) return failure(WSAEFAULT);
    return ::recvfrom(socket, bytes(data), size, flags, generic(address),
                      address != nullptr ? length : nullptr);
}

// Looks again once a second, as promised.
int select(SocketSet* read, SocketSet* write, SocketSet* except, std::int32_t seconds,
           std::int32_t microseconds) {
    SocketSet* const sets[3] = {read, write, except};
    std::uint32_t count = 0;
    for (const SocketSet* set : sets) {
        if (set == nullptr) continue;
        if (set->count > kMostSockets) return failure(WSAEINVAL);
        count += set->count;
    }
    if (count == 0 || (seconds >= 0 && microseconds < 0)) return failure(WSAEINVAL);
    const bool limited = seconds >= 0;
    const std::int64_t end = limited ? now() + seconds * kSecond + microseconds : 0;
    Sets tried{};
    int ready = 0;
    for (bool over = false; ready == 0 && !over;) {
        for (int i = 0; i < 3; ++i) {
            tried.there[i] = sets[i] != nullptr;
            if (tried.there[i]) std::memcpy(&tried.of[i], sets[i], sizeof *sets[i]);
        }
        const std::int64_t left = limited ? std::max<std::int64_t>(end - now(), 0) : kSecond;
        ready = tried.wait(std::min(left, kSecond));
        if (ready == 0) ready = tried.find_shut(sets[0]);
        over = limited && left <= kSecond;
    }
    if (ready < 0 || !tried.all_are_open()) return -1;
    for (int i = 0; i < 3; ++i) {
        if (tried.there[i]) std::memcpy(sets[i], &tried.of[i], sizeof *sets[i]);
    }
    return ready;
}

int setsockopt(SOCKET socket, int level, int name, const void* value, int size) {
    return ::setsockopt(socket, level, name, bytes(value), size);
}

int getsockopt(SOCKET socket, int level, int name, void* value, int* size) {
    return ::getsockopt(socket, level, name, bytes(value), size);
}

// The system's takes what comes after a blank for nothing.
std::uint32_t inet_addr(const char* text) {
    return std::strpbrk(text, " \t\n\v\f\r") == nullptr ? ::inet_addr(text) : INADDR_NONE;
}

bool inet_ntoa(std::uint32_t address, char* text) {
    in_addr of{};
    of.s_addr = address;
    constexpr size_t room = 16;
    const char* const found = ::inet_ntoa(of);
    if (found == nullptr || std::strlen(found) >= room) return false;
    std::strcpy(text, found);
    return true;
}

// The results of these two belong to the thread.
int gethostbyname(const char* name, std::uint32_t* addresses, int most) {
    char own[256] = "";
    if (name == nullptr) {
        if (gethostname(own, sizeof own) != 0) return -1;
        name = own;
    }
    const hostent* found = ::gethostbyname(name);
    if (found == nullptr) return -1;
    if (found->h_length != sizeof *addresses) return failure(WSANO_DATA);
    int count = 0;
    for (char** entry = found->h_addr_list; *entry != nullptr && count < most; ++entry) {
        std::memcpy(&addresses[count++], *entry, sizeof *addresses);
    }
    return count;
}

int gethostbyaddr(std::uint32_t address, char* name, int size) {
    const hostent* found =
        ::gethostbyaddr(reinterpret_cast<const char*>(&address), sizeof address, AF_INET);
    if (found == nullptr) return -1;
    if (found->h_name == nullptr) return failure(WSANO_DATA);
    const size_t length = strnlen(found->h_name, static_cast<size_t>(size) - 1);
    std::memcpy(name, found->h_name, length);
    name[length] = '\0';
    return 0;
}

}  // namespace platform
