// One side of an exchange over a socket of this machine, to be played by a program of either
// platform: exchange_test lets them meet each other, and some meet programs that aren't ours. What
// is sent is a file or a folder, and a way is how:
//
//     static const AddWay stream("stream", "file", send_stream, receive_stream);
//
// in any exchange_*.cpp. The receiver tells its port as soon as it can be reached, and writes what
// comes to PATH, which doesn't exist before. False is a failure, and the error record is printed.
#pragma once

#include "moltelib.h"
#include "support/pinned.h"

using Send = bool (*)(int32_t port, const char* path);
using Receive = bool (*)(const char* path);

struct AddWay {
    AddWay(const char* name, const char* what, Send send, Receive receive);
};

constexpr int32_t kLimit = 60;  // seconds to wait for anything

// Closes it at the end.
struct Socket : Pinned {
    OXSOCKET number;
    explicit Socket(OXSOCKET own) : number(own) {}
    ~Socket() { ORVEX_SOCK_Close(number); }
};

bool tell_port(const Socket& socket);
