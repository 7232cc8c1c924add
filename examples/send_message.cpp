// One file as one large message over UDP, with a meter of what is lost on the way.
//
//     send_message receive FILE [PORTFILE]        prints its port, or writes it to PORTFILE
//     send_message send HOST PORT FILE [DELAY]    DELAY behind each datagram, in microseconds
//
// Nothing acknowledges a large message, so this receiver answers each by a request record: how many
// datagrams were lost, 0 when the file has come. The sender begins with a delay of 1, which is none
// at all, and sends more slowly until the receiver can take what it gets.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "connection.h"
#include "moltelib.h"

namespace {

constexpr int32_t kLongestDelay = 100'000;
constexpr int32_t kAnswerSeconds = 3;  // the receiver waits for one before it gives a message up
constexpr int32_t kHookId = 1;

// Frees it at the end.
struct Bytes {
    uint8_t* data = nullptr;
    int32_t size = 0;
    Bytes() = default;
    ~Bytes() { ORVEX_free(data); }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
};

// ---- The receiver ----

struct Receiver {
    const Socket& socket;
    OXSOCKADDR sender{};  // of the last datagram
};

bool answer(const Receiver& receiver, int32_t lost) {
    UDPRequest record;
    InitUDPRequest(&record);
    SetUDPRequestValue(lost, &record);
    const int32_t size = sizeof record;
    return ORVEX_SOCKUDP_Send(receiver.socket.number, &record, size, 0, &receiver.sender,
                              sizeof receiver.sender) == size;
}

// The library tells by text what became of a message that it dropped. Hooks run in the thread that
// receives, while it does.
int32_t measure_loss(uint32_t, void* own, int32_t, const char* text, int32_t) {
    int total = 0;
    int received = 0;
    if (std::sscanf(text, "Total packet=%d received=%d\n", &total, &received) != 2) return 1;
    const int lost = total - received;
    std::printf("%d of %d datagrams lost, %.1f %%\n", lost, total, 100.0 * lost / total);
    std::fflush(stdout);
    answer(*static_cast<const Receiver*>(own), lost);
    return 1;
}

OXSOCKET bind_at(int32_t port) {
    const OXSOCKET socket = ORVEX_SOCKUDP_ClientOpen();
    if (ORVEX_SOCK_Bind(socket, 0, port) > 0) return socket;
    ORVEX_SOCK_Close(socket);
    return OXSOCKET_INVALID;
}

int receive(const char* path, const char* port_file) {
    int32_t port = 0;
    const Socket socket(open_at_free_port(&port, bind_at));
    Receiver receiver = {socket};
    const uint32_t mask = OXMSG_TO_INNER | OXMSG_INNER | OXMSG_INFO;
    if (!socket.valid() || !tell_port(port, port_file) ||
        OTXTHOOK_InstallHook(measure_loss, nullptr, &receiver, 0, mask, kHookId) < 0) {
        return fail("Nothing can be received.");
    }
    Bytes file;
    if (ORVEX_SOCKUDP_LargeRecv(socket.number, &file.data, &file.size, &receiver.sender, nullptr) <=
        0) {
        return fail("No message came.");
    }
    if (ORVEX_SaveBinDataToFile(path, file.data, file.size) < 0) return fail("It isn't saved.");
    char from[64];
    ORVEX_SOCK_AddrN2Str(&receiver.sender, from, sizeof from);
    std::printf("%d bytes came whole from %s\n", file.size, from);
    return answer(receiver, 0) ? 0 : fail("The sender isn't told.");
}

// ---- The sender ----

// How many datagrams were lost, -1 when that isn't told.
int32_t lost_datagrams(const Socket& socket) {
    UDPRequest record;
    const int32_t size = sizeof record;
    while (ORVEX_SOCK_WaitDataToRead(&socket.number, 1, kAnswerSeconds, 0, nullptr) > 0) {
        const int32_t got = ORVEX_SOCKUDP_Recv(socket.number, &record, size, 0, nullptr, nullptr);
        if (got == size && IsValidUDPRequest(&record) > 0) return GetUDPRequestValue(&record);
    }
    return -1;
}

// Whether the file has come.
bool send_once(const Socket& socket, const Bytes& file, const OXSOCKADDR& to, int32_t delay) {
    if (ORVEX_SOCKUDP_LargeSend(socket.number, file.data, file.size, &to, sizeof to, delay) < 0) {
        fail("It can't be sent.");
        return false;
    }
    const int32_t lost = lost_datagrams(socket);
    std::printf("delay of %d microseconds: ", delay);
    if (lost < 0) std::printf("no answer\n");
    if (lost == 0) std::printf("whole\n");
    if (lost > 0) std::printf("%d datagrams lost\n", lost);
    std::fflush(stdout);
    return lost == 0;
}

int send(const char* host, int32_t port, const char* path, int32_t delay) {
    uint32_t ip = 0;
    const Socket socket(ORVEX_SOCKUDP_ClientOpen());
    Bytes file;
    if (!socket.valid() || ORVEX_SOCK_NameToIP(host, &ip) < 0 ||
        ORVEX_LoadBinDataFile(path, &file.data, &file.size) <= 0) {
        return fail("There is nothing to send, or nowhere.");
    }
    OXSOCKADDR to;
    ORVEX_SOCK_SetAddrN(&to, ip, port);
    while (delay <= kLongestDelay) {
        if (send_once(socket, file, to, delay)) return 0;
        delay = delay < 1000 ? 1000 : delay * 2;  // below 1000 there is no wait
    }
    return fail("It doesn't come whole.");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "receive" && (argc == 3 || argc == 4)) {
        return receive(argv[2], argc == 4 ? argv[3] : nullptr);
    }
    if (what == "send" && (argc == 5 || argc == 6)) {
        const auto port = static_cast<int32_t>(std::strtol(argv[3], nullptr, 10));
        const long delay = argc == 6 ? std::strtol(argv[5], nullptr, 10) : 1;
        if (port > 0 && port < 65536 && delay > 0 && delay <= kLongestDelay) {
            return send(argv[2], port, argv[4], static_cast<int32_t>(delay));
        }
    }
    std::fprintf(stderr,
                 "use: send_message receive FILE [PORTFILE]\n"
                 "     send_message send HOST PORT FILE [DELAY]\n");
    return 2;
}
