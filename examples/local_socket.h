// A stream between two programs of this machine, on POSIX and on Windows.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

class LocalSocket {
 public:
#if defined(_WIN32)
    using Number = SOCKET;
    static constexpr Number kNone = INVALID_SOCKET;
#else
    using Number = int;
    static constexpr Number kNone = -1;
#endif

    LocalSocket() = default;
    explicit LocalSocket(Number number) : number_(number) {}
    LocalSocket(LocalSocket&& other) noexcept : number_(other.number_) {
        other.number_ = kNone;
    }
    LocalSocket& operator=(LocalSocket&&) = delete;
    ~LocalSocket() {
        if (!valid()) return;
#if defined(_WIN32)
        closesocket(number_);
#else
        close(number_);
#endif
    }

    bool valid() const {
        return number_ != kNone;
    }

    // A listener at a port that the system chooses.
    static LocalSocket listen(uint16_t* port) {
        LocalSocket listener(open());
        sockaddr_in at = address(0);
        Length size = sizeof at;
        if (bind(listener.number_, generic(&at), size) != 0 || ::listen(listener.number_, 1) != 0 ||
            getsockname(listener.number_, generic(&at), &size) != 0) {
            return LocalSocket();
        }
        *port = ntohs(at.sin_port);
        return listener;
    }

    static LocalSocket connect(uint16_t port) {
        LocalSocket client(open());
        sockaddr_in to = address(port);
        if (::connect(client.number_, generic(&to), sizeof to) != 0) return LocalSocket();
        return client;
    }

    LocalSocket accept() const {
        return LocalSocket(::accept(number_, nullptr, nullptr));
    }

    // True when all went over.
    bool send(const void* data, size_t size) const {
        const auto* bytes = static_cast<const char*>(data);
        while (size > 0) {
#if defined(_WIN32)
            const int sent = ::send(number_, bytes, static_cast<int>(size), 0);
#else
            const ssize_t sent = ::send(number_, bytes, size, MSG_NOSIGNAL);
#endif
            if (sent <= 0) return false;
            bytes += sent;
            size -= static_cast<size_t>(sent);
        }
        return true;
    }

    bool receive(void* data, size_t size) const {
        auto* bytes = static_cast<char*>(data);
        while (size > 0) {
#if defined(_WIN32)
            const int received = recv(number_, bytes, static_cast<int>(size), 0);
#else
            const ssize_t received = recv(number_, bytes, size, 0);
#endif
            if (received <= 0) return false;
            bytes += received;
            size -= static_cast<size_t>(received);
        }
        return true;
    }

 private:
#if defined(_WIN32)
    using Length = int;
#else
    using Length = socklen_t;
#endif

    static Number open() {
#if defined(_WIN32)
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
#endif
        return socket(AF_INET, SOCK_STREAM, 0);
    }
    static sockaddr_in address(uint16_t port) {
        sockaddr_in result{};
        result.sin_family = AF_INET;
        result.sin_port = htons(port);
        result.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return result;
    }
    static sockaddr* generic(sockaddr_in* address) {
        return reinterpret_cast<sockaddr*>(address);
    }

    Number number_ = kNone;
};
