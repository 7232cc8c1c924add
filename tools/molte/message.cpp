// One file as a large message over UDP, of which nobody tells whether it arrives.
#include <chrono>
#include <cstdio>
#include <memory>

#include "commands.h"
#include "connection.h"
#include "files.h"
#include "interrupt.h"

namespace tool {

namespace {

constexpr size_t kMostMessage = 1'071'644'672;  // what receivers take
constexpr int32_t kLongestDelay = 1'000'000;
constexpr int32_t kRoom = 8 << 20;  // for datagrams that wait in the socket
constexpr int32_t kHook = 1;

struct Order {
    std::string address, file;
    std::vector<std::string> from = {"127.0.0.1"};
    int32_t delay = 0, wait = 0;
    bool replace = false;
};

// ---- send ----

int send(Tool& tool, const Order& order) {
    const Address to = address_of(order.address);
    tool.bring_up();
    const std::string data = read_whole(order.file);
    if (data.empty()) throw Failure("\"" + shown(order.file) + "\" is empty: no message is made");
    if (data.size() > kMostMessage) {
        throw Failure("\"" + shown(order.file) + "\" is too large: receivers take " +
                      std::to_string(kMostMessage) + " bytes");
    }
    if (tool.settings.dry_run) {
        tool.out.say(std::to_string(data.size()) + " bytes would be sent",
                     {{"would_send", data.size()}});
        return kDone;
    }
    uint32_t ip = 0;
    check(ORVEX_SOCK_NameToIP(to.host.c_str(), &ip), "There is no host \"" + shown(to.host) + "\"");
    OXSOCKADDR address;
    ORVEX_SOCK_SetAddrN(&address, ip, to.port);
    Socket socket(ORVEX_SOCKUDP_ClientOpen());
    if (!socket.valid()) throw Failure("There is no socket to send by");
    int32_t sent = 0;
    {
        const Watch watch([] {}, [&] { socket.close(); });
        sent =
            ORVEX_SOCKUDP_LargeSend(socket.number(), data.data(), static_cast<int32_t>(data.size()),
                                    &address, sizeof address, order.delay);
    }
    end_if_interrupted();
    check(sent, "The message can't be sent");
    tool.out.say(
        std::to_string(data.size()) + " bytes sent, not arrived: nothing acknowledges them",
        {{"sent", data.size()}, {"arrived", nullptr}});
    return kDone;
}

// ---- receive ----

// The library tells by text what became of a message that it dropped.
int32_t tell_loss(uint32_t /*mask*/, void* own, int32_t /*size*/, const char* text,
                  int32_t /*length*/) {
    int total = 0, received = 0;
    if (std::sscanf(text, "Total packet=%d received=%d\n", &total, &received) == 2) {
        static_cast<Tool*>(own)->warn("a message is lost: of " + std::to_string(total) +
                                      " datagrams came " + std::to_string(received));
    }
    return 1;
}

// Empty when none came in time.
std::string next_message(Socket* socket, std::chrono::steady_clock::time_point end,
                         OXSOCKADDR* sender) {
    bool late = false;
    uint8_t* data = nullptr;
    int32_t size = 0, result = 0;
    {
        const Watch watch(
            [&] {
                late = std::chrono::steady_clock::now() >= end;
                if (late) socket->close();
            },
            [&] { socket->close(); });
        result = ORVEX_SOCKUDP_LargeRecv(socket->number(), &data, &size, sender, nullptr);
    }
    const std::unique_ptr<uint8_t, void (*)(void*)> owner(data, ORVEX_free);
    if (result > 0) return {reinterpret_cast<const char*>(data), static_cast<size_t>(size)};
    end_if_interrupted();
    if (!late) throw Failure("Nothing more can be received");
    ORVEX_Err_ClearError();
    return "";
}

int receive(Tool& tool, const Order& order) {
    int32_t port = port_of(order.address);
    refuse_existing(order.file, order.replace);
    tool.bring_up();
    const Peers peers(order.from);
    if (tool.settings.dry_run) {
        tool.out.say("one message would be received", {{"port", port}});
        return kDone;
    }
    Socket socket(datagrams_at(&port));
    ORVEX_SOCK_SetIntOption(socket.number(), OXSOCK_SO_RCVBUF, kRoom);
    ORVEX_Err_ClearError();  // there is less room then
    check(OTXTHOOK_InstallHook(tell_loss, nullptr, &tool, 0,
                               OXMSG_TO_INNER | OXMSG_INNER | OXMSG_INFO, kHook),
          "What is lost can't be told");
    const std::string where = "waiting at port " + std::to_string(port);
    if (order.file == "-") {
        tool.warn(where);
    } else {
        tool.out.say(where, {{"port", port}});
        tool.out.flush();
    }
    const auto end = order.wait > 0
                         ? std::chrono::steady_clock::now() + std::chrono::seconds(order.wait)
                         : std::chrono::steady_clock::time_point::max();
    for (;;) {
        OXSOCKADDR sender{};
        const std::string data = next_message(&socket, end, &sender);
        if (data.empty()) {
            tool.warn("no message came");
            return kNothing;
        }
        if (!peers.allow(sender)) {
            tool.warn("a message from " + address_text(sender) + " is dropped: see --from");
            continue;
        }
        refuse_existing(order.file, order.replace);  // one that came meanwhile
        write_whole(tool.out, order.file, data);
        if (order.file == "-") return kDone;
        tool.out.say(std::to_string(data.size()) + " bytes from " + address_text(sender),
                     {{"bytes", data.size()}, {"from", address_text(sender)}});
        return kDone;
    }
}

}  // namespace

void add_message(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* group =
        commands.group("message", "One file as a large UDP message: sent, not arrived");
    CLI::App* send_one = commands.add(
        "send", "Sends a file as one message: sent, not arrived",
        {{"message send card.bin desk2:4711", "to the program that waits there"},
         {"message send --delay 5000 card.bin desk2:4711", "slowly, for a slow receiver"}},
        group);
    send_one->add_option("FILE", order->file, "What is sent; - is standard input")->required();
    send_one->add_option("HOST:PORT", order->address, "Where to")->required();
    send_one->add_option("--delay", order->delay, "Behind each datagram of 32 KiB; 1000 otherwise")
        ->type_name("MICROSECONDS")
        ->check(CLI::Range(1, kLongestDelay).description(""));
    commands.changes(send_one);
    commands.describe(send_one,
                      "Sent, not arrived: the message is cut into datagrams that nobody\n"
                      "acknowledges or sends again. One that is lost loses the message, and the\n"
                      "exit code is 0 all the same. \"molte send\" is sure.");
    commands.runs(send_one, [order](Tool& tool) { return send(tool, *order); });

    CLI::App* receive_one = commands.add(
        "receive", "Receives one message into a file",
        {{"message receive 4711 card.bin", "from this machine"},
         {"message receive --from 10.0.0.7 --wait 60 4711 -", "for a minute, to standard output"}},
        group);
    receive_one->add_option("PORT", order->address, "Where to wait; 0 is a free one, which is told")
        ->required();
    receive_one->add_option("FILE", order->file, "Where it goes; - is standard output")->required();
    receive_one
        ->add_option("--from", order->from, "Who may send; 127.0.0.1 otherwise. May be repeated")
        ->type_name("HOST")
        ->allow_extra_args(false);
    receive_one->add_option("--wait", order->wait, "How long at most; without an end otherwise")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 1'000'000).description(""));
    receive_one->add_flag("--replace", order->replace, "A file of that name is replaced");
    commands.changes(receive_one);
    commands.describe(receive_one,
                      "Messages of others are dropped, but addresses of datagrams can be forged.\n"
                      "A message with a hole is told and dropped.");
    commands.runs(receive_one, [order](Tool& tool) { return receive(tool, *order); });
}

}  // namespace tool
