// The server: a thread for each connection, a queue between them and those that keep a worker,
// cards that are locked by their key, large messages over UDP, parameters that clients change. And
// the worker, a process that does what is asked.
#include <malloc.h>

#include <array>
#include <atomic>
#include <cstring>

#include "soak.h"

extern "C" size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

constexpr int kSeats = 200, kStamps = 3, kQueueSize = 16, kMessagePorts = 2;

struct Pending {
    Frame frame{};
    Event answered{};
};

struct Server;
struct Seat {
    Server* server;
    OXSOCKET socket;
    OXHANDLE thread = nullptr;
    std::atomic<bool> ended{false};
};

struct Server {
    explicit Server(const std::string& name) : journal(name) { MOLTE_InitCrit(&parameters); }
    ~Server() { MOLTE_ReleaseCrit(&parameters); }

    int64_t password = 0;
    Journal journal;
    MOLTE_DATAQUE requests{};  // of Pending*
    MOLTE_RESLOCK* cards = MOLTE_RESLOCK_Init(nullptr, 64, 16);
    MOLTE_INTRESOURCE stamps{};
    MOLTE_CRIT parameters{};
    OXSOCKET listener = OXSOCKET_INVALID;
    std::array<Seat, kSeats> seats;
};

int64_t heap_in_use() {
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return static_cast<int64_t>(__sanitizer_get_current_allocated_bytes());
    }
    return static_cast<int64_t>(mallinfo2().uordblks);
}

// ---- Connections ----

// One request after the other goes to the worker at the other end, until either gives up.
void keep_worker(Server& server, OXSOCKET worker) {
    Pending* request;
    bool alive = true;
    while (alive && MOLTE_DATAQUE_GetClient(&server.requests, &request) > 0) {
        Frame& frame = request->frame;
        const char* key = std::strchr(frame.text, '/');
        MOLTE_RESLOCKID card;
        Frame answer{};
        if (key != nullptr &&
            MOLTE_RESLOCK_LockByKey(server.cards, &card, 1, 0, key, ox_strlen(key), 0) > 0) {
            if (injected("lost", 300)) {
                answer = frame_of(kCard, 1, frame.text);
            } else if (MOLTE_INTRESOURCE_Get(&server.stamps, -1) > 0) {
                alive = send(worker, frame) && receive(worker, &answer);
                if (!alive) answer = {};
                MOLTE_INTRESOURCE_Free(&server.stamps);
            }
            MOLTE_RESLOCK_Unlock(server.cards, &card);
        }
        frame = frame_of(kCard, answer.number, frame.text);
        if (!injected("hang", 500)) request->answered.set();
    }
    if (!alive) MOLTE_PrintError("a worker has gone\n");
}

// Sets it in memory, and in the file too where the number says so; then tells what it is.
int64_t set_parameter(Server& server, int64_t in_file, MOLTE_PARAMNETITEM* record) {
    record->szName[sizeof record->szName - 1] = '\0';
    MOLTE_EnterCrit(&server.parameters.stCrit);
    int64_t result = MOLTE_PARAMADM_SetNetVal(record, 1, MOLTE_PARAM_FROM_NET);
    if (in_file != 0) result = MOLTE_PARAMADM_SetIniFile(record, 1, MOLTE_PARAM_FROM_NET);
    MOLTE_PARAMADM_GetNetVal(record, 1);
    MOLTE_LeaveCrit(&server.parameters.stCrit);
    return result;
}

bool answer(Server& server, OXSOCKET client, Pending* request) {
    const Frame frame = request->frame;
    if (injected("leak", 4)) *static_cast<volatile char*>(std::malloc(1000)) = 0;
    if (frame.kind == kCard) {
        if (MOLTE_DATAQUE_AddClient(&server.requests, &request) < 0) return false;
        ORVEX_EVENT_Wait(request->answered.handle());
        return send(client, request->frame);
    }
    if (frame.kind == kParameter) {
        MOLTE_PARAMNETITEM record;
        if (ORVEX_SOCK_Recv(client, &record, sizeof record) < 0) return false;
        const int64_t result = set_parameter(server, frame.number, &record);
        return send(client, frame_of(kParameter, result, "")) &&
               ORVEX_SOCK_Send(client, &record, sizeof record) > 0;
    }
    if (frame.kind == kWorker && frame.number == server.password) keep_worker(server, client);
    return frame.kind == kState && send(client, frame_of(kState, heap_in_use(), ""));
}

uint32_t serve_connection(void* context) {
    Seat& seat = *static_cast<Seat*>(context);
    Pending request;
    while (g_stBv.bStopAll == 0) {
        const int32_t ready = ORVEX_SOCK_WaitDataToRead(&seat.socket, 1, 1, 0, nullptr);
        if (ready == 0) continue;
        if (ready < 0 || !receive(seat.socket, &request.frame) ||
            !answer(*seat.server, seat.socket, &request)) {
            break;
        }
    }
    if (!injected("descriptors", 4)) ORVEX_SOCK_Close(seat.socket);
    MOLTE_THDATA_FreeData();
    seat.ended = true;
    return 0;
}

// Takes one that is free, those of which the thread has ended among them; none for null.
Seat* free_seat(Server& server) {
    for (Seat& seat : server.seats) {
        if (seat.thread != nullptr && seat.ended) {
            ORVEX_EVENT_Wait(seat.thread);
            ORVEX_CloseThreadHandle(seat.thread);
            seat.thread = nullptr;
        }
        if (seat.thread == nullptr) return &seat;
    }
    return nullptr;
}

uint32_t accept_clients(void* context) {
    Server& server = *static_cast<Server*>(context);
    while (g_stBv.bStopAll == 0) {
        const OXSOCKET client = ORVEX_SOCK_Accept(server.listener);
        if (client == OXSOCKET_INVALID) break;
        Seat* seat = free_seat(server);
        if (seat != nullptr) {
            seat->server = &server;
            seat->socket = client;
            seat->ended = false;
            ORVEX_CreateThread(&seat->thread, 0, serve_connection, seat, 0, nullptr);
        }
        if (seat == nullptr || seat->thread == nullptr) ORVEX_SOCK_Close(client);
    }
    if (g_stBv.bStopAll == 0) std::fprintf(stderr, "FAILED: no more clients are accepted\n");
    MOLTE_THDATA_FreeData();
    return 0;
}

// ---- Large messages ----

struct Letterbox {
    Server* server;
    OXSOCKET socket;
    OXHANDLE thread = nullptr;
};

// A frame, whose text names the message and whose number is the sum of what follows.
void take_message(Letterbox& box, const uint8_t* data, int32_t size, const OXSOCKADDR& sender) {
    Frame head;
    if (size < static_cast<int32_t>(sizeof head)) return;
    std::memcpy(&head, data, sizeof head);
    if (!is_whole(head) || head.kind != kMessage) return;
    if (sum_of(data + sizeof head, static_cast<size_t>(size) - sizeof head) != head.number) {
        std::fprintf(stderr, "TORN: message %s\n", head.text);
        return;
    }
    if (box.server->journal.append(kMessage, head.text) == 0) return;
    UDPRequest record;
    InitUDPRequest(&record);
    SetUDPRequestValue(0, &record);
    ORVEX_SOCKUDP_Send(box.socket, &record, sizeof record, 0, &sender, sizeof sender);
}

uint32_t receive_messages(void* context) {
    Letterbox& box = *static_cast<Letterbox*>(context);
    while (g_stBv.bStopAll == 0) {
        uint8_t* data = nullptr;
        int32_t size = 0;
        OXSOCKADDR sender{};
        if (ORVEX_SOCKUDP_LargeRecv(box.socket, &data, &size, &sender, nullptr) > 0) {
            take_message(box, data, size, sender);
        }
        ORVEX_free(data);
    }
    MOLTE_THDATA_FreeData();
    return 0;
}

OXSOCKET bind_letterbox(int32_t port) {
    const OXSOCKET socket = ORVEX_SOCKUDP_ClientOpen();
    ORVEX_SOCK_SetIntOption(socket, OXSOCK_SO_RCVBUF, 1 << 20);
    if (ORVEX_SOCK_Bind(socket, 0x7F000001, port) > 0) return socket;
    ORVEX_SOCK_Close(socket);
    return OXSOCKET_INVALID;
}

void join(OXHANDLE thread) {
    ORVEX_EVENT_Wait(thread);
    ORVEX_CloseThreadHandle(thread);
}

// In order: nobody new comes, what is asked is refused, threads end.
void end(Server& server, OXHANDLE acceptor, std::array<Letterbox, kMessagePorts>& boxes) {
    server.requests.bClosing = 1;
    ORVEX_SOCK_Close(server.listener);
    for (Letterbox& box : boxes) ORVEX_SOCK_Close(box.socket);
    join(acceptor);
    for (Letterbox& box : boxes) join(box.thread);
    for (Seat& seat : server.seats) {
        Pending* request;
        while (seat.thread != nullptr && !seat.ended) {
            while (MOLTE_DATAQUE_GetClient(&server.requests, &request) > 0) request->answered.set();
            ORVEX_SleepMicro(10'000);
        }
        if (seat.thread != nullptr) join(seat.thread);
    }
}

}  // namespace

int serve(const std::string& name, const char* port_file, int64_t password) {
    Server server(name);
    server.password = password;
    if (!server.journal.valid() || server.cards == nullptr ||
        MOLTE_INTRESOURCE_Init(&server.stamps, kStamps) < 0 ||
        MOLTE_DATAQUE_Init(&server.requests, kQueueSize, sizeof(void*)) < 0) {
        return fail("The server can't be made.");
    }
    std::array<Letterbox, kMessagePorts> boxes;
    int32_t port = 0;
    for (size_t i = 0; i < boxes.size(); ++i) {
        boxes[i].server = &server;
        boxes[i].socket = open_at_free_port(&port, bind_letterbox);
        if (!tell_port(port, (port_file + std::to_string(i)).c_str())) return fail("No letterbox.");
        ORVEX_CreateThread(&boxes[i].thread, 0, receive_messages, &boxes[i], 0, nullptr);
    }
    server.listener = listen_somewhere(&port);
    OXHANDLE acceptor;
    ORVEX_CreateThread(&acceptor, 0, accept_clients, &server, 0, nullptr);
    if (!tell_port(port, port_file)) return fail("No port.");
    ORVEX_ERRLOG_Log("the server is up");
    wait_for_end();
    end(server, acceptor, boxes);
    MOLTE_DATAQUE_Release(&server.requests);
    MOLTE_INTRESOURCE_Release(&server.stamps);
    MOLTE_RESLOCK_Release(&server.cards);
    return 0;
}

int work(const std::string& name, int32_t port, int64_t password) {
    Journal journal(name);
    const Socket server(ORVEX_SOCK_ClientOpen("127.0.0.1", port));
    if (!journal.valid() || !server.valid() ||
        !send(server.number, frame_of(kWorker, password, ""))) {
        return fail("No work.");
    }
    for (;;) {
        Frame request;
        if (ORVEX_SOCK_WaitDataToRead(&server.number, 1, 1, 0, nullptr) == 0) continue;
        if (!receive(server.number, &request)) return 0;  // the server has gone
        if (injected("crash", 200)) std::abort();
        const int64_t number = journal.append(request.kind, request.text);
        if (!send(server.number, frame_of(request.kind, number, request.text))) return 0;
    }
}
