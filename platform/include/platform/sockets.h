// Sockets by IPv4, as Winsock 2 has them.
//
// A socket is 64 bits wide; all ones is none. Numbers of families, types, levels, options, commands
// and flags are those of Winsock on every platform, and so are the forms of their values (time
// limits in milliseconds, a linger record of two 16-bit numbers). An address is the 16 bytes of
// sockaddr_in: family 2, port and address in network order, the rest zero. Where one is given back,
// *length is the room before (less than 16 is WSAEFAULT) and the size after.
//
// A call that fails gives -1, or INVALID_SOCKET, and the thread's WSAGetLastError tells why: with
// Winsock's numbers on Windows and errno's on POSIX, where the names WSAE... stand for those; what
// errno has no number for keeps Winsock's. Success leaves it undefined. A number that is no open
// socket is WSAENOTSOCK, a time limit that passed WSAETIMEDOUT, a call that would have to wait on a
// socket that doesn't WSAEWOULDBLOCK.
//
// No call raises a signal, none is ended by one, and time spent before a signal counts. Sockets
// aren't inherited by programs that the process starts.
#pragma once

#include <cstdint>

#include "platform/last_error.h"
#include "platform/types.h"

#if defined(_WIN32)
#include <ws2tcpip.h>
#else

#include <cerrno>

using SOCKET = std::uint64_t;
constexpr SOCKET INVALID_SOCKET = ~SOCKET{0};
constexpr int SOCKET_ERROR = -1;

constexpr int WSAEINTR = EINTR;
constexpr int WSAEFAULT = EFAULT;
constexpr int WSAEINVAL = EINVAL;
constexpr int WSAEWOULDBLOCK = EWOULDBLOCK;
constexpr int WSAEINPROGRESS = EINPROGRESS;
constexpr int WSAENOTSOCK = ENOTSOCK;
constexpr int WSAEMSGSIZE = EMSGSIZE;
constexpr int WSAENOPROTOOPT = ENOPROTOOPT;
constexpr int WSAEOPNOTSUPP = EOPNOTSUPP;
constexpr int WSAEADDRINUSE = EADDRINUSE;
constexpr int WSAECONNRESET = ECONNRESET;
constexpr int WSAENOTCONN = ENOTCONN;
constexpr int WSAESHUTDOWN = ESHUTDOWN;
constexpr int WSAETIMEDOUT = ETIMEDOUT;
constexpr int WSAECONNREFUSED = ECONNREFUSED;
constexpr int WSAEPROCLIM = 10067;
constexpr int WSASYSNOTREADY = 10091;
constexpr int WSAVERNOTSUPPORTED = 10092;
constexpr int WSAHOST_NOT_FOUND = 11001;
constexpr int WSATRY_AGAIN = 11002;
constexpr int WSANO_RECOVERY = 11003;
constexpr int WSANO_DATA = 11004;

struct WSADATA {
    WORD wVersion;
    WORD wHighVersion;
};

// There is nothing to start: 0 with version 2.2, whatever version is asked for. Sockets outlive the
// clean-up.
int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();

int closesocket(SOCKET socket);

// Commands: 0x4004667F how many bytes can be read at once (of a datagram socket: of the first
// datagram), 0x8004667E whether calls wait (0) or not, 0x40047307 whether the next byte is behind
// all urgent data. Others are WSAEOPNOTSUPP.
int ioctlsocket(SOCKET socket, std::int32_t command, DWORD* argument);

#endif

namespace platform {

constexpr std::uint32_t kMostSockets = 64;

// Sockets to wait for; then those that are ready.
struct SocketSet {
    std::uint32_t count;
    SOCKET sockets[kMostSockets];
};

// ---- Open and connect ----

// Families 2 and 23 (IPv6), types 1 (stream), 2 (datagram) and 3 (raw, which takes rights).
SOCKET socket(int family, int type, int protocol);
int bind(SOCKET socket, const void* address, int length);
int listen(SOCKET socket, int backlog);

// Waits without a limit, whatever the listener's time limit, unless that doesn't wait at all; when
// it is closed meanwhile that is told, a second later at most, to all that wait. The new socket has
// its time limits. The address may be null.
SOCKET accept(SOCKET socket, void* address, int* length);

int connect(SOCKET socket, const void* address, int length);

// how: 0 receiving, 1 sending, 2 both; such calls then fail with WSAESHUTDOWN, those that receive
// perhaps after what has come by then. A datagram socket needs no peer for it.
int shutdown(SOCKET socket, int how);

// WSAEINVAL for a socket that has no address yet.
int getsockname(SOCKET socket, void* address, int* length);
int getpeername(SOCKET socket, void* address, int* length);

// ---- Transfer: the bytes moved, perhaps fewer than asked for; 0 at the end of a stream ----

// Flags: 1 urgent, 2 leaves what is read, 4 not routed, 8 all that is asked for. Others are
// WSAEOPNOTSUPP. A datagram that is longer than the buffer is cut and WSAEMSGSIZE.
int send(SOCKET socket, const void* data, int size, int flags);
int recv(SOCKET socket, void* data, int size, int flags);
int sendto(SOCKET socket, const void* data, int size, int flags, const void* address, int length);
// The address may be null.
int recvfrom(SOCKET socket, void* data, int size, int flags, void* address, int* length);

// ---- Wait ----

// Waits for a socket of one of the sets to be ready; a negative number of seconds is no limit. Sets
// may be null, but hold at least one socket in all (WSAEINVAL), each of them open; one that is
// closed during the wait is WSAENOTSOCK, a second later at most. How many are ready, 0 after the
// time; the sets keep those alone. On a failure they stay as they were.
//
// Ready is what wouldn't wait: to read, accept or meet the end; to write, or be connected; in the
// third set urgent data, or a connection that failed, which is ready for nothing else. A stream
// that was never connected is ready for nothing. No set may be passed twice.
int select(SocketSet* read, SocketSet* write, SocketSet* except, std::int32_t seconds,
           std::int32_t microseconds);

// ---- Options ----

// Of level 65535: 1 debug, 4 reuse of the address, 8 keep-alive, 16 not routed, 32 broadcast, 128
// linger, 256 urgent data inline, 4097 and 4098 the buffers of sending and receiving in bytes, 4099
// and 4100 their low-water marks, 4101 and 4102 their time limits in milliseconds (0 none); to be
// read only 2 listens, 4103 error, 4104 type, 8195 the most bytes of a datagram. Of level 0 (IP): 2
// header included, 3 service, 4 time to live, and of multicast 9 interface, 10 time to live, 11
// loopback, 12 and 13 join and leave. Of level 6 (TCP): 1 no delay. Others are WSAENOPROTOOPT.
int setsockopt(SOCKET socket, int level, int name, const void* value, int size);
int getsockopt(SOCKET socket, int level, int name, void* value, int* size);

// ---- Addresses and names, safe between threads; addresses are in network order ----

// Text of one to four numbers with dots between; all ones for any other.
std::uint32_t inet_addr(const char* text);

// Writes at most 16 bytes with the terminator. False when the system has no text.
bool inet_ntoa(std::uint32_t address, char* text);

// The addresses of a host, of this one for null: how many there are room for, or -1 with
// WSAHOST_NOT_FOUND and its like.
int gethostbyname(const char* name, std::uint32_t* addresses, int most);

// The name of a host, cut to size - 1 characters: 0, or -1.
int gethostbyaddr(std::uint32_t address, char* name, int size);

// The name of an error number ("WSAECONNREFUSED", on POSIX "ECONNREFUSED"), "No Error" for one that
// is not among the usual ones.
const char* socket_error_name(int number);

}  // namespace platform
