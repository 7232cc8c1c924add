#include <algorithm>
#include <iterator>

#include "platform/sockets.h"

namespace {

struct ErrorName {
    int number;
    const char* name;
};

#define NAMED(name) \
    { static_cast<int>(name), #name }
constexpr ErrorName kNames[] = {
    NAMED(WSAEINTR),
    NAMED(WSA_IO_INCOMPLETE),
    NAMED(WSA_IO_PENDING),
    NAMED(WSA_OPERATION_ABORTED),
    NAMED(WSA_INVALID_HANDLE),
    NAMED(WSA_NOT_ENOUGH_MEMORY),
    NAMED(WSA_INVALID_PARAMETER),
    NAMED(WSATRY_AGAIN),
    NAMED(WSANO_RECOVERY),
    NAMED(WSANO_DATA),
    NAMED(WSAHOST_NOT_FOUND),
    NAMED(WSAEFAULT),
    NAMED(WSAEINVAL),
    NAMED(WSAEMFILE),
    NAMED(WSAEWOULDBLOCK),
    NAMED(WSAEINPROGRESS),
    NAMED(WSAEALREADY),
    NAMED(WSAENOTSOCK),
    NAMED(WSAEDESTADDRREQ),
    NAMED(WSAEMSGSIZE),
    NAMED(WSAEPROTOTYPE),
    NAMED(WSAENOPROTOOPT),
    NAMED(WSAEPROTONOSUPPORT),
    NAMED(WSAESOCKTNOSUPPORT),
    NAMED(WSAEOPNOTSUPP),
    NAMED(WSAEPFNOSUPPORT),
    NAMED(WSAEAFNOSUPPORT),
    NAMED(WSAEADDRINUSE),
    NAMED(WSAEADDRNOTAVAIL),
    NAMED(WSAENETDOWN),
    NAMED(WSAENETUNREACH),
    NAMED(WSAENETRESET),
    NAMED(WSAECONNABORTED),
    NAMED(WSAECONNRESET),
    NAMED(WSAENOBUFS),
    NAMED(WSAEISCONN),
    NAMED(WSAENOTCONN),
    NAMED(WSAESHUTDOWN),
    NAMED(WSAETIMEDOUT),
    NAMED(WSAECONNREFUSED),
    NAMED(WSAEHOSTDOWN),
    NAMED(WSAEHOSTUNREACH),
    NAMED(WSAEPROCLIM),
    NAMED(WSASYSNOTREADY),
    NAMED(WSAVERNOTSUPPORTED),
    NAMED(WSANOTINITIALISED),
    NAMED(WSAEDISCON),
    NAMED(WSASYSCALLFAILURE),
    NAMED(WSATYPE_NOT_FOUND),
};

}  // namespace

const char* platform::socket_error_name(int number) {
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [number](const ErrorName& entry) { return entry.number == number; });
    return found != std::end(kNames) ? found->name : "No Error";
}
