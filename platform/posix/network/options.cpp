// Options and commands of sockets, by Winsock's numbers.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "network/socket.h"

namespace {

using platform::descriptor_of;
using platform::result_of;
using platform::socket_failure;

enum class Form : std::uint8_t {
    plain,         // as the system has it
    buffer,        // bytes; the system tells what it keeps for itself as well
    milliseconds,  // a timeval of the system
    linger,        // two 16-bit numbers for two of int
    message,       // asked of no system
};

struct Option {
    int level;
    int name;
    int system_level;
    int system_name;
    Form form;
};

constexpr int kSocket = 65535;
constexpr Option kOptions[] = {
    {kSocket, 1, SOL_SOCKET, SO_DEBUG, Form::plain},
    {kSocket, 2, SOL_SOCKET, SO_ACCEPTCONN, Form::plain},
    {kSocket, 4, SOL_SOCKET, SO_REUSEADDR, Form::plain},
    {kSocket, 8, SOL_SOCKET, SO_KEEPALIVE, Form::plain},
    {kSocket, 16, SOL_SOCKET, SO_DONTROUTE, Form::plain},
    {kSocket, 32, SOL_SOCKET, SO_BROADCAST, Form::plain},
    {kSocket, 128, SOL_SOCKET, SO_LINGER, Form::linger},
    {kSocket, 256, SOL_SOCKET, SO_OOBINLINE, Form::plain},
    {kSocket, 4097, SOL_SOCKET, SO_SNDBUF, Form::buffer},
    {kSocket, 4098, SOL_SOCKET, SO_RCVBUF, Form::buffer},
    {kSocket, 4099, SOL_SOCKET, SO_SNDLOWAT, Form::plain},
    {kSocket, 4100, SOL_SOCKET, SO_RCVLOWAT, Form::plain},
    {kSocket, 4101, SOL_SOCKET, SO_SNDTIMEO, Form::milliseconds},
    {kSocket, 4102, SOL_SOCKET, SO_RCVTIMEO, Form::milliseconds},
    {kSocket, 4103, SOL_SOCKET, SO_ERROR, Form::plain},
    {kSocket, 4104, SOL_SOCKET, SO_TYPE, Form::plain},
    {kSocket, 8195, SOL_SOCKET, SO_TYPE, Form::message},
    {0, 2, IPPROTO_IP, IP_HDRINCL, Form::plain},
    {0, 3, IPPROTO_IP, IP_TOS, Form::plain},
    {0, 4, IPPROTO_IP, IP_TTL, Form::plain},
    {0, 9, IPPROTO_IP, IP_MULTICAST_IF, Form::plain},
    {0, 10, IPPROTO_IP, IP_MULTICAST_TTL, Form::plain},
    {0, 11, IPPROTO_IP, IP_MULTICAST_LOOP, Form::plain},
    {0, 12, IPPROTO_IP, IP_ADD_MEMBERSHIP, Form::plain},
    {0, 13, IPPROTO_IP, IP_DROP_MEMBERSHIP, Form::plain},
    {IPPROTO_TCP, 1, IPPROTO_TCP, TCP_NODELAY, Form::plain},
};

// The most bytes of data in a datagram of IPv4: 65535 less the headers.
constexpr int kMostBytes = 65507;

const Option* option_of(int level, int name) {
    const auto* found = std::find_if(
        std::begin(kOptions), std::end(kOptions),
        [=](const Option& option) { return option.level == level && option.name == name; });
    return found != std::end(kOptions) ? found : nullptr;
}

struct Linger {
    std::uint16_t on;
    std::uint16_t seconds;
};

// What the system is asked for in a form of its own.
template <typename Value>
int set_as(int fd, const Option& option, const Value& value) {
    return result_of(setsockopt(fd, option.system_level, option.system_name, &value, sizeof value));
}
template <typename Value>
int get_as(int fd, const Option& option, Value* value) {
    socklen_t size = sizeof *value;
    return result_of(getsockopt(fd, option.system_level, option.system_name, value, &size));
}

template <typename Value>
int give(const Value& from, void* value, int* size) {
    memcpy(value, &from, sizeof from);
    *size = sizeof from;
    return 0;
}

int get_milliseconds(int fd, const Option& option, void* value, int* size) {
    timeval limit{};
    if (get_as(fd, option, &limit) != 0) return -1;
    return give(static_cast<std::uint32_t>(limit.tv_sec * 1000 + limit.tv_usec / 1000), value,
                size);
}

int get_linger(int fd, const Option& option, void* value, int* size) {
    linger system{};
    if (get_as(fd, option, &system) != 0) return -1;
    return give(Linger{static_cast<std::uint16_t>(system.l_onoff),
                       static_cast<std::uint16_t>(system.l_linger)},
                value, size);
}

int get_buffer(int fd, const Option& option, void* value, int* size) {
    int bytes = 0;
    if (get_as(fd, option, &bytes) != 0) return -1;
    return give(bytes / 2, value, size);
}

int get_message(int fd, const Option& option, void* value, int* size) {
    int type = 0;
    if (get_as(fd, option, &type) != 0) return -1;
    if (type != SOCK_DGRAM) return socket_failure(ENOPROTOOPT);
    return give(kMostBytes, value, size);
}

int get_plain(int fd, const Option& option, void* value, int* size) {
    auto length = static_cast<socklen_t>(*size);
    if (getsockopt(fd, option.system_level, option.system_name, value, &length) != 0) {
        return socket_failure();
    }
    *size = static_cast<int>(length);
    return 0;
}

}  // namespace

int ioctlsocket(SOCKET socket, std::int32_t command, DWORD* argument) {
    struct Command {
        std::uint32_t number;
        unsigned long system;
    };
    constexpr Command commands[] = {
        {0x4004667F, FIONREAD}, {0x8004667E, FIONBIO}, {0x40047307, SIOCATMARK}};
    for (const auto& [number, system] : commands) {
        if (number != static_cast<std::uint32_t>(command)) continue;
        if (argument == nullptr) return socket_failure(EFAULT);
        const int fd = descriptor_of(socket);
        if (platform::is_no_socket(fd)) return socket_failure(ENOTSOCK);
        if (system == FIONBIO) return platform::set_waiting(fd, *argument == 0);
        return result_of(ioctl(fd, system, argument));
    }
    return socket_failure(EOPNOTSUPP);
}

namespace platform {

int setsockopt(SOCKET socket, int level, int name, const void* value, int size) {
    const int fd = descriptor_of(socket);
    const Option* option = option_of(level, name);
    if (option == nullptr) return socket_failure(ENOPROTOOPT);
    const int least = option->form == Form::plain ? 1 : static_cast<int>(sizeof(std::uint32_t));
    if (value == nullptr || size < least) return socket_failure(EFAULT);
    switch (option->form) {
        case Form::milliseconds: {
            std::uint32_t limit = 0;
            memcpy(&limit, value, sizeof limit);
            return set_as(fd, *option, timeval{limit / 1000, limit % 1000 * 1000});
        }
        case Form::linger: {
            Linger wanted{};
            memcpy(&wanted, value, sizeof wanted);
            return set_as(fd, *option, linger{wanted.on, wanted.seconds});
        }
        case Form::message:
            return socket_failure(ENOPROTOOPT);
        default:
            return result_of(::setsockopt(fd, option->system_level, option->system_name, value,
                                          static_cast<socklen_t>(size)));
    }
}

int getsockopt(SOCKET socket, int level, int name, void* value, int* size) {
    const int fd = descriptor_of(socket);
    const Option* option = option_of(level, name);
    if (option == nullptr) return socket_failure(ENOPROTOOPT);
    const int least = option->form == Form::plain ? 1 : static_cast<int>(sizeof(std::uint32_t));
    if (value == nullptr || size == nullptr || *size < least) return socket_failure(EFAULT);
    switch (option->form) {
        case Form::milliseconds:
            return get_milliseconds(fd, *option, value, size);
        case Form::linger:
            return get_linger(fd, *option, value, size);
        case Form::buffer:
            return get_buffer(fd, *option, value, size);
        case Form::message:
            return get_message(fd, *option, value, size);
        default:
            return get_plain(fd, *option, value, size);
    }
}

}  // namespace platform
