// What the chapters of module oxsockop share: the numbers of its errors, the one way in which it
// reports, and a socket that closes itself.
#pragma once

#include <cstdint>

#include "core/modules.h"
#include "moltelib/socket.h"
#include "platform/sockets.h"

namespace molte {

inline constexpr uint32_t kNotClosed = 72;
inline constexpr uint32_t kNotSent = 73;
inline constexpr uint32_t kNotReceived = 74;
inline constexpr uint32_t kNotWaited = 75;
inline constexpr uint32_t kNotBound = 76;
inline constexpr uint32_t kNotAccepted = 78;
inline constexpr uint32_t kNotStarted = 79;
inline constexpr uint32_t kNoSocket = 80;
inline constexpr uint32_t kNoHost = 81;
inline constexpr uint32_t kNotConnected = 82;
inline constexpr uint32_t kNoOption = 83;
inline constexpr uint32_t kNoHostName = 84;
inline constexpr uint32_t kNothingToSend = 85;
inline constexpr uint32_t kNowhereToReceive = 86;
inline constexpr uint32_t kNoSockets = 87;
inline constexpr uint32_t kNoAddressText = 262;
inline constexpr uint32_t kBadHead = 300;

// Report the failure of the last socket call, with the name of its error; -1. Of bytes at most 255
// are passed, and null is none. That error stays what WSAGetLastError gives.
int32_t fail_socket(int32_t line, uint32_t error, const void* data = nullptr, int64_t size = 0);
int32_t fail_socket_text(int32_t line, uint32_t error, const char* text);

// The same for one that the library found itself, by a number of the platform.
int32_t refuse_socket(int32_t line, uint32_t error, int number, const char* text = "");

// The same for bytes to send that have no buffer.
int32_t refuse_null(int32_t line, int32_t size);

// How many bytes of an address there are to report.
int64_t address_size(const OXSOCKADDR* address, const int32_t* length);

// Closes it at the end, without a report; OXSOCKET_INVALID is none.
class Socket {
 public:
    explicit Socket(OXSOCKET number) : number_(number) {}
    ~Socket() {
        if (valid()) closesocket(number_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] OXSOCKET get() const { return number_; }
    [[nodiscard]] bool valid() const { return number_ != OXSOCKET_INVALID; }
    [[nodiscard]] OXSOCKET release() {
        const OXSOCKET number = number_;
        number_ = OXSOCKET_INVALID;
        return number;
    }

 private:
    OXSOCKET number_;
};

}  // namespace molte
