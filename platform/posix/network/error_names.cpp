#include <algorithm>
#include <iterator>

#include "platform/sockets.h"

namespace {

struct ErrorName {
    int number;
    const char* name;
};

#define NAMED(name) \
    { name, #name }
// Those of errno, then those of look-ups and of the library of sockets, which it lacks.
constexpr ErrorName kNames[] = {
    NAMED(EINTR),
    NAMED(EBADF),
    NAMED(ECANCELED),
    NAMED(ENOMEM),
    NAMED(EFAULT),
    NAMED(EINVAL),
    NAMED(EMFILE),
    NAMED(EWOULDBLOCK),
    NAMED(EINPROGRESS),
    NAMED(EALREADY),
    NAMED(ENOTSOCK),
    NAMED(EDESTADDRREQ),
    NAMED(EMSGSIZE),
    NAMED(EPROTOTYPE),
    NAMED(ENOPROTOOPT),
    NAMED(EPROTONOSUPPORT),
    NAMED(ESOCKTNOSUPPORT),
    NAMED(EOPNOTSUPP),
    NAMED(EPFNOSUPPORT),
    NAMED(EAFNOSUPPORT),
    NAMED(EADDRINUSE),
    NAMED(EADDRNOTAVAIL),
    NAMED(ENETDOWN),
    NAMED(ENETUNREACH),
    NAMED(ENETRESET),
    NAMED(ECONNABORTED),
    NAMED(ECONNRESET),
    NAMED(ENOBUFS),
    NAMED(EISCONN),
    NAMED(ENOTCONN),
    NAMED(ESHUTDOWN),
    NAMED(ETIMEDOUT),
    NAMED(ECONNREFUSED),
    NAMED(EHOSTDOWN),
    NAMED(EHOSTUNREACH),
    {WSAEPROCLIM, "EPROCLIM"},
    {WSASYSNOTREADY, "SYSNOTREADY"},
    {WSAVERNOTSUPPORTED, "VERNOTSUPPORTED"},
    {WSAHOST_NOT_FOUND, "HOST_NOT_FOUND"},
    {WSATRY_AGAIN, "TRY_AGAIN"},
    {WSANO_RECOVERY, "NO_RECOVERY"},
    {WSANO_DATA, "NO_DATA"},
};

}  // namespace

const char* platform::socket_error_name(int number) {
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [number](const ErrorName& entry) { return entry.number == number; });
    return found != std::end(kNames) ? found->name : "No Error";
}
