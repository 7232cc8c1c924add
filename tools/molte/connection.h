// Sockets of the commands that talk to other machines.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "moltelib.h"

namespace tool {

// Closed at the end, or before by any thread.
class Socket {
 public:
    explicit Socket(OXSOCKET own) : socket_(own) {}
    ~Socket() { close(); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] bool valid() const { return number() != OXSOCKET_INVALID; }
    [[nodiscard]] OXSOCKET number() const { return socket_; }
    void close() { ORVEX_SOCK_Close(socket_.exchange(OXSOCKET_INVALID)); }

 private:
    std::atomic<OXSOCKET> socket_;
};

// "HOST:PORT" and "PORT"; what is none is wrong use.
struct Address {
    std::string host;
    int32_t port;
};
Address address_of(const std::string& argument);
int32_t port_of(const std::string& argument);  // 0 for a free one

// A socket at a port, which becomes the first free one if it is 0: listening, or for datagrams.
// Ends the command when there is none.
OXSOCKET listen_at(int32_t* port);
OXSOCKET datagrams_at(int32_t* port);

// Who may talk to a server, by address or name.
class Peers {
 public:
    explicit Peers(const std::vector<std::string>& names);
    [[nodiscard]] bool allow(const OXSOCKADDR& peer) const;

 private:
    std::vector<uint32_t> addresses_;
};
std::string address_text(const OXSOCKADDR& peer);

// Whether a socket can be read, waiting for a tenth of a second at most.
bool can_read(const Socket& socket);

// A thread beside a call that waits: ten times a second it does something, and once, when the
// command is interrupted, that which ends the call.
class Watch {
 public:
    Watch(std::function<void()> each, std::function<void()> interrupt);
    ~Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

 private:
    void run();

    std::function<void()> each_, interrupt_;
    std::mutex lock_;
    std::condition_variable ends_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace tool
