// A server and its administrator. The server is a program like any other: it brings the library up
// and answers for its parameters. The administrator sees and changes them while it runs, by the
// 128-byte records of moltelib/format/parameter_record.h over a socket of this machine.
//
//     administer serve INSTALLATION [PORTFILE]   prints its port, or writes it to PORTFILE
//     administer list PORT
//     administer set PORT NAME VALUE             in the server's memory
//     administer write PORT NAME VALUE           to the server's INI file, for its next start
//     administer stop PORT
//
// Request and answer alike: a number of 4 bytes, a count of 4 bytes, both high byte first, and that
// many records.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "connection.h"
#include "installation.h"
#include "moltelib.h"
#include "parameter_text.h"

namespace {

using Record = MOLTE_PARAMNETITEM;
using Records = std::vector<Record>;

enum Request : uint32_t { kList = 1, kGet = 2, kSet = 3, kWrite = 4, kStop = 5 };
constexpr uint32_t kMostRecords = 512;

struct Message {
    uint32_t number = 0;
    Records records;
};

// An empty list is nothing to send or receive: 0, no failure.
int32_t size_of(const Records& records) {
    return static_cast<int32_t>(records.size() * sizeof(Record));
}

bool send(const Socket& socket, const Message& message) {
    uint8_t head[8];
    uint4ToChar4(message.number, head);
    uint4ToChar4(static_cast<uint32_t>(message.records.size()), head + 4);
    const Records& records = message.records;
    return ORVEX_SOCK_Send(socket.number, head, sizeof head) > 0 &&
           ORVEX_SOCK_Send(socket.number, records.data(), size_of(records)) >= 0;
}

// What comes from outside is bounded here, once: the count, and the end of each name.
bool receive(const Socket& socket, Message* message) {
    uint8_t head[8];
    if (ORVEX_SOCK_Recv(socket.number, head, sizeof head) < 0) return false;
    message->number = Char4To_uint4(head);
    const uint32_t count = Char4To_uint4(head + 4);
    if (count > kMostRecords) return false;
    Records& records = message->records;
    records.resize(count);
    if (ORVEX_SOCK_Recv(socket.number, records.data(), size_of(records)) < 0) return false;
    for (Record& record : records) record.szName[sizeof record.szName - 1] = '\0';
    return true;
}

// ---- The server ----

Records all_parameters() {
    Record* items = nullptr;
    const int32_t count = MOLTE_PARAMADM_GetAllNetVal(&items);
    Records records(items, items + (count > 0 ? count : 0));
    ORVEX_free(items);
    return records;
}

Message answer(Message request) {
    Records& records = request.records;
    const auto count = static_cast<int32_t>(records.size());
    int32_t result = 1;
    if (request.number == kList) records = all_parameters();
    if (request.number == kSet) {
        result = MOLTE_PARAMADM_SetNetVal(records.data(), count, MOLTE_PARAM_FROM_NET);
    }
    if (request.number == kWrite) {
        result = MOLTE_PARAMADM_SetIniFile(records.data(), count, MOLTE_PARAM_FROM_NET);
    }
    if (request.number == kGet || request.number == kSet) {
        MOLTE_PARAMADM_GetNetVal(records.data(), count);
    }
    return {static_cast<uint32_t>(result), std::move(records)};
}

// Until a client says stop. False when the socket fails.
bool serve_clients(const Socket& listener) {
    for (;;) {
        OXSOCKADDR peer{};
        const Socket client(ORVEX_SOCK_AcceptPeer(listener.number, &peer, nullptr));
        if (!client.valid()) return false;
        if (!is_of_this_machine(peer)) continue;
        Message request;
        while (receive(client, &request)) {
            const bool stop = request.number == kStop;
            if (!send(client, answer(std::move(request)))) break;
            if (stop) return true;
            request = {};
        }
    }
}

int serve(const char* installation, const char* port_file) {
    if (!make_installation(installation) || ORVEX_BASE_InitVar() < 0) {
        return fail("The library can't be brought up.");
    }
    int32_t port = 0;
    const Socket listener(listen_somewhere(&port));
    const bool served = listener.valid() && tell_port(port, port_file) && serve_clients(listener);
    ORVEX_BASE_ReleaseVar();
    return served ? 0 : fail("The server can't go on.");
}

// ---- The administrator ----

bool ask(const Socket& socket, Message* message) {
    return send(socket, *message) && receive(socket, message);
}

int show(const Message& message) {
    for (const Record& record : message.records) {
        if (record.bValid == 0) {
            std::printf("%s: no such parameter\n", record.szName);
        } else {
            std::printf("%-24s %s\n", record.szName, text_of(record).c_str());
        }
    }
    return 0;
}

// The record comes from the server first: it knows of what kind the value is.
int change(const Socket& socket, Request request, const char* name, const char* value) {
    Message message{kGet, Records(1)};
    ORVEX_strncpy(message.records[0].szName, name, sizeof message.records[0].szName);
    if (!ask(socket, &message) || message.records.size() != 1) return fail("No answer.");
    if (message.records[0].bValid == 0) return fail("No such parameter.");
    put_text(value, &message.records[0]);
    message.number = request;
    if (!ask(socket, &message)) return fail("No answer.");
    if (message.number != 1) return fail("The server refused.");
    return show(message);
}

int administer(const std::string& what, int argc, char** argv) {
    const auto port = static_cast<int32_t>(std::strtol(argv[2], nullptr, 10));
    const Socket socket(ORVEX_SOCK_ClientOpen("127.0.0.1", port));
    if (!socket.valid()) return fail("There is no server at that port.");
    if (what == "set" && argc == 5) return change(socket, kSet, argv[3], argv[4]);
    if (what == "write" && argc == 5) return change(socket, kWrite, argv[3], argv[4]);
    Message message{what == "stop" ? kStop : kList, {}};
    if (!ask(socket, &message)) return fail("No answer.");
    return show(message);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 2 ? argv[1] : "";
    if (what == "serve" && argc <= 4) return serve(argv[2], argc == 4 ? argv[3] : nullptr);
    const bool changes = what == "set" || what == "write";
    if ((changes && argc == 5) || ((what == "list" || what == "stop") && argc == 3)) {
        return administer(what, argc, argv);
    }
    std::fprintf(stderr,
                 "use: administer serve INSTALLATION [PORTFILE]\n"
                 "     administer list|stop PORT\n"
                 "     administer set|write PORT NAME VALUE\n");
    return 2;
}
