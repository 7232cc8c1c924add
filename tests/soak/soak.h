// What the programs of a soak share: the record that they exchange and that the journal is made of,
// the journal itself, and the faults that are injected to see whether the soak finds them.
#pragma once

#include <string>

#include "connection.h"
#include "shared_objects.h"

enum Kind : uint32_t { kCard = 1, kMessage, kWorker, kParameter, kState };

struct Frame {
    uint32_t magic;
    uint32_t kind;
    int64_t number;  // 0 where something is refused
    char text[44];
    uint32_t sum;  // of all above
};
static_assert(sizeof(Frame) == 64);

uint32_t sum_of(const void* data, size_t size);
Frame frame_of(uint32_t kind, int64_t number, const char* text);
bool is_whole(const Frame& frame);

inline bool send(OXSOCKET socket, const Frame& frame) {
    return ORVEX_SOCK_Send(socket, &frame, sizeof frame) > 0;
}
bool receive(OXSOCKET socket, Frame* frame);  // the frame is whole

// Records one behind the other, numbered from 1, to which processes append. Whoever dies or has no
// room in the middle leaves a piece behind that the next one removes.
class Journal {
 public:
    explicit Journal(const std::string& name);
    ~Journal() { ORVEX_HFILE_Close(&file_); }
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    bool valid() const { return lock_.valid() && count_.valid() && file_ != nullptr; }
    int64_t append(uint32_t kind, const char* text);  // its number, or 0

 private:
    int64_t append_held(uint32_t kind, const char* text);
    Mutex lock_;
    Shared<int64_t> count_;
    ORVEX_HFILE* file_;
};

// Whether this is the time for the fault that the program is to have, which comes each so many.
bool injected(const char* fault, int every);

// Returns when the standard input ends: then all is to end.
void wait_for_end();

int serve(const std::string& name, const char* port_file, int64_t password);
int work(const std::string& name, int32_t port, int64_t password);
int ask(int32_t port, const std::string& name);
