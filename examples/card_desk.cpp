// A desk that gives numbers to cards, and those who come to it. Requests go through a box in shared
// memory to a queue, which four clerks, threads, share; a card is with one clerk at a time, and two
// stamps are all that they have. Any number of desks give numbers of one series.
//
//     card_desk serve INSTALLATION DESK
//     card_desk ask DESK CARD ...         prints the number that each card got
//     card_desk stop DESK
#include <cstdio>
#include <cstring>
#include <string>

#include "installation.h"
#include "moltelib.h"
#include "shared_objects.h"
#include "terminal.h"

namespace {

constexpr int kClerks = 4, kStamps = 2, kQueueSize = 16, kHookId = 1;
constexpr int32_t kCard = 1;  // the type of what is locked by its key

// What goes to the text log: errors, and here information too.
constexpr uint32_t kLogMask = OXMSG_TO_TEXT_LOG | OXMSG_OUTER | OXMSG_INFO | OXMSG_ERROR_TEXT;

int fail(const char* what) {
    std::printf("%s\n", what);
    if (GetRvexErrNo() != 0) terminal::show_error();
    return 1;
}

// ---- The box of a desk ----

struct Request {
    char client[40];  // the name of the client's Answers
    char card[MOLTE_RESLOCK_KEY_SIZE + 1];
    int32_t place;  // in its Answers
};

struct Box {
    int32_t open;  // a desk takes what is put in
    int32_t full;
    int32_t stop;
    Request request;
};

constexpr int kMostCards = 64;
struct Answers {
    int64_t numbers[kMostCards];  // 0 for none yet, below 0 for a card that was refused
};

// How a box is reached. Names are the same wherever the library runs.
struct Door {
    explicit Door(const std::string& desk)
        : lock("card_desk lock " + desk),
          request("card_desk request " + desk),
          room("card_desk room " + desk),
          box("card_desk box " + desk) {}

    bool valid() const { return lock.valid() && request.valid() && room.valid() && box.valid(); }

    Mutex lock;
    Event request;  // something is in the box
    Event room;     // nothing is
    Shared<Box> box;
};

// ---- The desk ----

struct Series {
    int64_t last;
};

struct Desk {
    explicit Desk(const char* desk_name)
        : name(desk_name),
          door(name),
          series_lock("card_desk series lock"),
          series("card_desk series") {}

    std::string name;
    Door door;
    Mutex series_lock;
    Shared<Series> series;
    MOLTE_DATAQUE requests{};
    MOLTE_RESLOCK* cards = nullptr;
    MOLTE_INTRESOURCE stamps{};
};

// 0 when there is none, because the program stops.
int64_t number_card(Desk& desk) {
    if (MOLTE_INTRESOURCE_Get(&desk.stamps, -1) < 1) return 0;
    int64_t number = 0;
    desk.series_lock.hold([&] { number = ++desk.series->last; });
    MOLTE_INTRESOURCE_Free(&desk.stamps);
    return number;
}

void answer(const Request& request, int64_t number) {
    const Shared<Answers> answers(request.client);
    const Event answered(std::string(request.client) + " answered");
    if (!answers.valid() || !answered.valid()) return;  // the client has gone
    answers->numbers[request.place] = number > 0 ? number : -1;
    answered.set();
}

void serve_request(Desk& desk, const Request& request) {
    MOLTE_RESLOCKID card;
    if (MOLTE_RESLOCK_LockByKey(desk.cards, &card, kCard, 0, request.card, ox_strlen(request.card),
                                0) < 0) {
        MOLTE_PrintError("card %s can't be locked\n", request.card);
        return answer(request, -1);
    }
    const int64_t number = number_card(desk);
    MOLTE_OutMsg(kLogMask, "desk %s: card %s has number %lld", desk.name.c_str(), request.card,
                 static_cast<long long>(number));
    MOLTE_RESLOCK_Unlock(desk.cards, &card);
    answer(request, number);
}

// Until it gives up: there is nothing left, and the desk closes.
void serve_requests(Desk& desk) {
    Request request;
    while (MOLTE_DATAQUE_GetClient(&desk.requests, &request) > 0) serve_request(desk, request);
}

uint32_t clerk(void* context) {
    serve_requests(*static_cast<Desk*>(context));
    MOLTE_THDATA_FreeData();
    return 0;
}

// What another process has written, bounded.
Request taken_from(Box* box) {
    Request request = box->request;
    request.client[sizeof request.client - 1] = '\0';
    request.card[sizeof request.card - 1] = '\0';
    request.place = MOLTE_LimitData(0, kMostCards - 1, request.place);
    box->full = 0;
    return request;
}

// From the box to the queue, until someone asks to stop.
void keep_door(Desk& desk) {
    Door& door = desk.door;
    for (bool stop = false; !stop;) {
        Request request{};
        const bool held = door.lock.hold([&] {
            if (door.box->full != 0) request = taken_from(door.box.operator->());
            stop = door.box->stop != 0 && request.card[0] == '\0';
            if (stop) door.box->open = 0;
        });
        if (!held) return;
        if (request.card[0] != '\0') {
            door.room.set();
            MOLTE_DATAQUE_AddClient(&desk.requests, &request);
        } else if (!stop) {
            door.request.wait(1);
        }
    }
}

// In order: the door is shut, the clerks finish what they have and leave, the rest is done here.
int run(Desk& desk) {
    OXHANDLE clerks[kClerks];
    int started = 0;
    for (; started < kClerks; ++started) {
        ORVEX_CreateThread(&clerks[started], 0, clerk, &desk, 0, nullptr);
        if (clerks[started] == nullptr) break;
    }
    if (started == 0) return fail("No clerk has come.");
    desk.door.lock.hold([&] {
        std::memset(desk.door.box.operator->(), 0, sizeof(Box));
        desk.door.box->open = 1;
    });
    desk.door.room.set();
    keep_door(desk);
    g_stBv.bStopAll = 1;
    desk.requests.bClosing = 1;
    for (int i = 0; i < started; ++i) {
        ORVEX_EVENT_Wait(clerks[i]);
        ORVEX_CloseThreadHandle(clerks[i]);
    }
    serve_requests(desk);
    std::printf("desk %s has closed\n", desk.name.c_str());
    return 0;
}

int serve(const char* installation, const char* name) {
    if (!make_installation(installation) || ORVEX_BASE_InitVar() < 0) {
        return fail("The library can't be brought up.");
    }
    if (OTXTHOOK_TERRLOG_InstallHook(kLogMask, kHookId) < 0) {
        return fail("The log's hook can't be installed.");
    }
    Desk desk(name);
    if (!desk.door.valid() || !desk.series_lock.valid() || !desk.series.valid()) {
        return fail("What the desks share can't be had.");
    }
    int result = 1;
    desk.cards = MOLTE_RESLOCK_Init(nullptr, kQueueSize, kClerks);
    if (desk.cards != nullptr && MOLTE_INTRESOURCE_Init(&desk.stamps, kStamps) > 0 &&
        MOLTE_DATAQUE_Init(&desk.requests, kQueueSize, sizeof(Request)) > 0) {
        result = run(desk);
    } else {
        fail("The desk can't be opened.");
    }
    MOLTE_DATAQUE_Release(&desk.requests);
    MOLTE_INTRESOURCE_Release(&desk.stamps);
    MOLTE_RESLOCK_Release(&desk.cards);
    return result;
}

// ---- Those who come ----

// Puts it in the box when that is empty; false when the desk doesn't take it in time.
template <class Fill>
bool put(Door& door, Fill fill) {
    for (int32_t i = 0; i < kPatience; ++i) {
        bool done = false;
        door.lock.hold([&] {
            done = door.box->open != 0 && door.box->full == 0;
            if (done) fill(door.box.operator->());
        });
        if (done) {
            door.request.set();
            return true;
        }
        door.room.wait(1);
    }
    return false;
}

bool all_answered(const Shared<Answers>& answers, int cards) {
    for (int i = 0; i < cards; ++i) {
        if (answers->numbers[i] == 0) return false;
    }
    return true;
}

int ask(const char* desk, char** cards, int count) {
    if (count > kMostCards) count = kMostCards;
    Door door(desk);
    char client[40];
    ox_snprintf(client, sizeof client, "card_desk client %d",
                static_cast<int>(MOLTE_GetProcessID()));
    const Shared<Answers> answers(client);
    const Event answered(std::string(client) + " answered");
    if (!door.valid() || !answers.valid() || !answered.valid()) return fail("No box of this desk.");
    for (int i = 0; i < count; ++i) {
        const bool sent = put(door, [&](Box* box) {
            ORVEX_strncpy(box->request.client, client, sizeof box->request.client);
            ORVEX_strncpy(box->request.card, cards[i], sizeof box->request.card);
            box->request.place = i;
            box->full = 1;
        });
        if (!sent) return fail("The desk doesn't take a card.");
    }
    for (int32_t i = 0; i < kPatience && !all_answered(answers, count); ++i) answered.wait(1);
    for (int i = 0; i < count; ++i) {
        std::printf("desk %s, card %s: number %lld\n", desk, cards[i],
                    static_cast<long long>(answers->numbers[i]));
    }
    return all_answered(answers, count) ? 0 : 1;
}

int stop(const char* desk) {
    Door door(desk);
    return door.valid() && put(door, [](Box* box) { box->stop = 1; }) ? 0 : fail("No such desk.");
}

int use() {
    std::fprintf(stderr,
                 "use: card_desk serve INSTALLATION DESK | ask DESK CARD ... | stop DESK\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string verb = argc > 1 ? argv[1] : "";
    int result = 2;
    if (verb == "serve" && argc == 4) {
        result = serve(argv[2], argv[3]);
    } else if (verb == "ask" && argc > 3) {
        result = ask(argv[2], argv + 3, argc - 3);
    } else if (verb == "stop" && argc == 3) {
        result = stop(argv[2]);
    } else {
        return use();
    }
    ORVEX_BASE_ReleaseVar();
    return result;
}
