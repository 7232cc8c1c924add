#include "connection.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "interrupt.h"
#include "tool.h"

namespace tool {

namespace {

constexpr int32_t kFirstFree = 49152;  // of the ports that are nobody's own
constexpr int32_t kMostPort = 65535;
constexpr std::chrono::milliseconds kBeat(100);

int32_t number_of(const std::string& text, int32_t least) {
    int32_t port = -1;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, port);
    if (read.ec != std::errc() || read.ptr != end || port < least || port > kMostPort) {
        throw Failure("\"" + shown(text) + "\" is no port", kUsage);
    }
    return port;
}

template <typename Open>
OXSOCKET open_at(int32_t* port, Open open) {
    const bool any = *port == 0;
    if (any) *port = kFirstFree;
    for (;; ++*port) {
        const OXSOCKET socket = open(*port);
        if (socket != OXSOCKET_INVALID) {
            ORVEX_Err_ClearError();  // of those that weren't free
            return socket;
        }
        if (!any || *port == kMostPort) {
            throw Failure("Port " + std::to_string(*port) + " can't be had");
        }
    }
}

}  // namespace

Address address_of(const std::string& argument) {
    const size_t colon = argument.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        throw Failure("\"" + shown(argument) + "\" is no HOST:PORT", kUsage);
    }
    return {argument.substr(0, colon), number_of(argument.substr(colon + 1), 1)};
}

int32_t port_of(const std::string& argument) {
    return number_of(argument, 0);
}

OXSOCKET listen_at(int32_t* port) {
#if defined(_WIN32)
    constexpr int32_t reuse = 0;  // there it would share the port with whoever has it
#else
    const int32_t reuse = *port == 0 ? 0 : 1;
#endif
    return open_at(port, [reuse](int32_t at) { return ORVEX_SOCK_ServerOpenEx(at, reuse); });
}

OXSOCKET datagrams_at(int32_t* port) {
    return open_at(port, [](int32_t at) {
        const OXSOCKET socket = ORVEX_SOCKUDP_ClientOpen();
        if (ORVEX_SOCK_Bind(socket, 0, at) > 0) return socket;
        ORVEX_SOCK_Close(socket);
        return OXSOCKET_INVALID;
    });
}

Peers::Peers(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        uint32_t address = 0;
        check(ORVEX_SOCK_NameToIP(name.c_str(), &address),
              "There is no host \"" + shown(name) + "\"");
        addresses_.push_back(address);
    }
}

bool Peers::allow(const OXSOCKADDR& peer) const {
    return std::find(addresses_.begin(), addresses_.end(), peer.nNetIP) != addresses_.end();
}

std::string address_text(const OXSOCKADDR& peer) {
    char text[OXSOCK_IP_TEXT_SIZE] = "";
    ORVEX_SOCK_NetIP2Name(peer.nNetIP, text);
    return text;
}

bool can_read(const Socket& socket) {
    constexpr int32_t tenth = 100'000;
    const OXSOCKET number = socket.number();
    end_if_interrupted();
    return check(ORVEX_SOCK_WaitDataToRead(&number, 1, 0, tenth, nullptr),
                 "The connection can't be waited for") > 0;
}

Watch::Watch(std::function<void()> each, std::function<void()> interrupt)
    : each_(std::move(each)), interrupt_(std::move(interrupt)), thread_([this] { run(); }) {}

Watch::~Watch() {
    {
        const std::lock_guard<std::mutex> guard(lock_);
        ending_ = true;
    }
    ends_.notify_one();
    thread_.join();
}

void Watch::run() {
    std::unique_lock<std::mutex> guard(lock_);
    while (!ends_.wait_for(guard, kBeat, [this] { return ending_; })) {
        if (interrupted()) {
            interrupt_();
            break;
        }
        try {
            each_();
        } catch (const std::exception&) {  // an interrupt, which the next beat sees
        }
    }
    MOLTE_THDATA_FreeData();
}

}  // namespace tool
