// Streams over loopback beside the bare calls in pieces of the same size, large messages beside a
// bare loop of datagrams, a wait for one of many beside poll, and the relay beside socat.
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kPiece = 4096;
constexpr int32_t kMega = 1 << 20;
constexpr uint32_t kLoopback = 0x7F000001;

void check(bool right, const char* what) {
    if (right) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::exit(1);
}

int32_t port_of(OXSOCKET socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    check(getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&address), &size) == 0,
          "getsockname");
    return ntohs(address.sin_port);
}

struct Connection {
    OXSOCKET client;
    OXSOCKET server;
    Connection() {
        const OXSOCKET listener = ORVEX_SOCK_ServerOpen(0);
        client = ORVEX_SOCK_ClientOpen("127.0.0.1", port_of(listener));
        server = ORVEX_SOCK_Accept(listener);
        check(server != OXSOCKET_INVALID, "connection");
        const int32_t on = 1;
        for (const OXSOCKET end : {client, server}) {
            ORVEX_SOCK_SetOption(end, OXSOCK_IPPROTO_TCP, OXSOCK_TCP_NODELAY, &on, sizeof on);
        }
        ORVEX_SOCK_Close(listener);
    }
};

// The library's calls, and the loops that a user would write instead.
struct Ours {
    static bool send(OXSOCKET socket, const char* data, int32_t size) {
        return ORVEX_SOCK_Send(socket, data, size) == size;
    }
    static bool receive(OXSOCKET socket, char* data, int32_t size) {
        return ORVEX_SOCK_Recv(socket, data, size) == size;
    }
};

struct Bare {
    template <typename Call>
    static bool all(int32_t size, Call call) {
        for (int32_t done = 0; done < size;) {
            const ssize_t moved = call(done, static_cast<size_t>(std::min(kPiece, size - done)));
            if (moved <= 0) return false;
            done += static_cast<int32_t>(moved);
        }
        return true;
    }
    static bool send(OXSOCKET socket, const char* data, int32_t size) {
        return all(size, [=](int32_t done, size_t part) {
            return ::send(static_cast<int>(socket), data + done, part, MSG_NOSIGNAL);
        });
    }
    static bool receive(OXSOCKET socket, char* data, int32_t size) {
        return all(size, [=](int32_t done, size_t part) {
            return ::recv(static_cast<int>(socket), data + done, part, 0);
        });
    }
};

// Answers each request of so many bytes by so many, until the client ends.
template <typename Calls>
class Peer {
 public:
    Peer(int32_t request, int32_t answer)
        : request_(static_cast<size_t>(request)),
          answer_(static_cast<size_t>(answer)),
          thread_([this] {
              while (Calls::receive(ends_.server, request_.data(), size(request_)) &&
                     Calls::send(ends_.server, answer_.data(), size(answer_))) {
              }
          }),
          sent_(request_),
          got_(answer_) {}
    ~Peer() {
        ORVEX_SOCK_Shutdown(ends_.client, 1, 1);
        thread_.join();
    }
    void ask() {
        check(Calls::send(ends_.client, sent_.data(), size(sent_)) &&
                  Calls::receive(ends_.client, got_.data(), size(got_)),
              "transfer");
    }

 private:
    static int32_t size(const std::vector<char>& bytes) {
        return static_cast<int32_t>(bytes.size());
    }
    Connection ends_;
    std::vector<char> request_;
    std::vector<char> answer_;
    std::thread thread_;
    std::vector<char> sent_;
    std::vector<char> got_;
};

void compare_streams() {
    Peer<Ours> our_bulk(64 * kMega, 1);
    Peer<Bare> bare_bulk(64 * kMega, 1);
    molte_bench::pair(
        "64 MiB sent and received", "bare calls", [&] { our_bulk.ask(); },
        [&] { bare_bulk.ask(); });
    // On one processor, else a trip takes 15 or 70 us as the scheduler places the two ends.
    cpu_set_t all;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    check(
        sched_getaffinity(0, sizeof all, &all) == 0 && sched_setaffinity(0, sizeof one, &one) == 0,
        "affinity");
    Peer<Ours> our_trip(64, 64);
    Peer<Bare> bare_trip(64, 64);
    molte_bench::pair(
        "round trip of 64 bytes", "bare calls", [&] { our_trip.ask(); }, [&] { bare_trip.ask(); },
        61);
    sched_setaffinity(0, sizeof all, &all);
}

void compare_waits() {
    OXSOCKADDR address;
    std::vector<OXSOCKET> sockets;
    std::vector<pollfd> watched;
    for (int i = 0; i < 64; ++i) {
        sockets.push_back(ORVEX_SOCKUDP_ServerOpen(0));
        watched.push_back({static_cast<int>(sockets.back()), POLLIN, 0});
    }
    ORVEX_SOCK_SetAddr(&address, kLoopback, port_of(sockets[40]));
    ORVEX_SOCKUDP_Send(sockets[0], "x", 1, 0, &address, sizeof address);
    int32_t flags[64];
    molte_bench::pair(
        "wait for one of 64", "poll",
        [&] { check(ORVEX_SOCK_WaitDataToRead(sockets.data(), 64, 1, 0, flags) == 1, "wait"); },
        [&] { check(poll(watched.data(), watched.size(), 1000) == 1, "poll"); });
}

// ---- Messages over UDP ----

constexpr int32_t kMessage = 96 << 10;

struct OurMessages {
    static bool send(OXSOCKET socket, const OXSOCKADDR& to, const char* data) {
        return ORVEX_SOCKUDP_LargeSend(socket, data, kMessage, &to, sizeof to, 1) == 1;
    }
    static bool receive(OXSOCKET socket) {
        uint8_t* data = nullptr;
        int32_t size = 0;
        const bool received = ORVEX_SOCKUDP_LargeRecv(socket, &data, &size, nullptr, nullptr) == 1;
        ORVEX_free(data);
        return received && size == kMessage;
    }
};

struct BareMessages {
    struct Datagram {
        int32_t total;
        int32_t index;
        int32_t offset;
        int32_t size;
        char reserved[48];
        char data[32768 - 64];
    };
    static bool send(OXSOCKET socket, const OXSOCKADDR& to, const char* data) {
        Datagram datagram;
        const auto* const address = reinterpret_cast<const sockaddr*>(&to);
        datagram.total = kMessage;
        datagram.index = 0;
        for (int32_t offset = 0; offset < kMessage; offset += datagram.size, ++datagram.index) {
            datagram.offset = offset;
            datagram.size = std::min<int32_t>(sizeof datagram.data, kMessage - offset);
            std::memcpy(datagram.data, data + offset, static_cast<size_t>(datagram.size));
            const auto whole = static_cast<ssize_t>(64 + datagram.size);
            if (sendto(static_cast<int>(socket), &datagram, static_cast<size_t>(whole), 0, address,
                       sizeof to) != whole) {
                return false;
            }
        }
        return true;
    }
    static bool receive(OXSOCKET socket) {
        static char message[kMessage];
        Datagram datagram;
        for (int32_t done = 0; done < kMessage; done += datagram.size) {
            pollfd watched = {static_cast<int>(socket), POLLIN, 0};
            if (poll(&watched, 1, -1) != 1) return false;
            const ssize_t size = recv(watched.fd, &datagram, sizeof datagram, 0);
            if (size < 64 || datagram.total != kMessage || size != 64 + datagram.size ||
                datagram.offset < 0 || datagram.offset + datagram.size > kMessage) {
                return false;
            }
            std::memcpy(message + datagram.offset, datagram.data,
                        static_cast<size_t>(datagram.size));
        }
        return true;
    }
};

// Answers each message by one byte.
template <typename Calls>
class Reader {
 public:
    Reader()
        : sent_(kMessage, 'x'), thread_([this] {
              while (Calls::receive(in_)) {
                  ORVEX_SOCKUDP_Send(in_, "x", 1, 0, &out_address_, sizeof out_address_);
              }
          }) {}
    ~Reader() {
        ORVEX_SOCK_Shutdown(in_, 0, 1);
        thread_.join();
    }
    void ask() {
        char answer;
        check(Calls::send(out_, in_address_, sent_.data()) &&
                  recv(static_cast<int>(out_), &answer, 1, 0) == 1,
              "message");
    }

 private:
    static OXSOCKET open(OXSOCKADDR* address) {
        const OXSOCKET socket = ORVEX_SOCKUDP_ServerOpen(0);
        ORVEX_SOCK_SetAddr(address, kLoopback, port_of(socket));
        return socket;
    }
    OXSOCKADDR in_address_;
    OXSOCKADDR out_address_;
    OXSOCKET in_ = open(&in_address_);
    OXSOCKET out_ = open(&out_address_);
    std::vector<char> sent_;
    std::thread thread_;
};

void compare_messages() {
    Reader<OurMessages> ours;
    Reader<BareMessages> bare;
    molte_bench::pair(
        "message of 96 KiB over UDP", "bare calls", [&] { ours.ask(); }, [&] { bare.ask(); }, 21);
}

// ---- The relay ----

// A process that relays between the two ends.
struct Relay {
    pid_t process = 0;
    OXSOCKET in = OXSOCKET_INVALID;
    OXSOCKET out = OXSOCKET_INVALID;
    ~Relay() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    void move_all() const {
        constexpr int32_t pieces = 4096;
        constexpr size_t piece = 65536;
        std::thread reader([this] {
            std::vector<char> bytes(piece);
            for (int32_t i = 0; i < pieces; ++i) {
                const auto fd = static_cast<int>(out);
                check(recv(fd, bytes.data(), piece, MSG_WAITALL) == piece, "relay");
            }
        });
        const std::vector<char> bytes(piece, 'x');
        for (int32_t i = 0; i < pieces; ++i) {
            check(::send(static_cast<int>(in), bytes.data(), piece, 0) == piece, "relay");
        }
        reader.join();
    }
};

void run_ours(int32_t port, int32_t target) {
    const OXSOCKET from = ORVEX_SOCK_Accept(ORVEX_SOCK_ServerOpen(port));
    ORVEX_SOCK_Proxy(from, ORVEX_SOCK_ClientOpen("127.0.0.1", target));
    _exit(0);
}

void run_socat(int32_t port, int32_t target) {
    const std::string from = "TCP-LISTEN:" + std::to_string(port) + ",bind=127.0.0.1,reuseaddr";
    const std::string to = "TCP:127.0.0.1:" + std::to_string(target);
    execlp("socat", "socat", "-b", "4096", from.c_str(), to.c_str(), nullptr);
    std::puts("(no socat)");
    std::fflush(stdout);
    _exit(1);
}

void open_relay(Relay* relay, void (*run)(int32_t port, int32_t target)) {
    const OXSOCKET target = ORVEX_SOCK_ServerOpen(0);
    const OXSOCKET free_one = ORVEX_SOCK_ServerOpen(0);
    const int32_t port = port_of(free_one);
    ORVEX_SOCK_Close(free_one);
    std::fflush(stdout);
    relay->process = fork();
    if (relay->process == 0) run(port, port_of(target));
    while (relay->in == OXSOCKET_INVALID && waitpid(relay->process, nullptr, WNOHANG) == 0) {
        relay->in = ORVEX_SOCK_ClientOpen("127.0.0.1", port);
    }
    check(relay->in != OXSOCKET_INVALID, "relay");
    relay->out = ORVEX_SOCK_Accept(target);
    ORVEX_SOCK_Close(target);
}

void compare_relays() {
    Relay ours;
    Relay socat;
    open_relay(&ours, run_ours);
    open_relay(&socat, run_socat);
    molte_bench::pair(
        "256 MiB relayed", "socat", [&] { ours.move_all(); }, [&] { socat.move_all(); }, 7);
}

}  // namespace

int main() {
    compare_waits();
    compare_messages();
    compare_streams();
    compare_relays();
}
