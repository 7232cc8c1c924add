// The calling thread: when it may be ended from outside, and what is done at its end.
#pragma once

#include "platform/threads.h"

// A few bytes of each thread that are reached without a call. Since there are such, all that is
// thread-local in the library must find the little room that the C library keeps for what is loaded
// later.
#define FAST_THREAD_LOCAL __thread __attribute__((tls_model("initial-exec")))

namespace platform {

// How many Unbroken the calling thread is within, and what is done behind the last.
extern FAST_THREAD_LOCAL volatile int unbroken_depth;
void end_if_doomed();

// The same as an Unbroken where its two ends lie apart.
inline void enter_unbroken() {
    unbroken_depth = unbroken_depth + 1;
}
inline void leave_unbroken() {
    unbroken_depth = unbroken_depth - 1;
    if (unbroken_depth == 0) end_if_doomed();
}

// While one lives, TerminateThread doesn't end the calling thread: it may hold what others need.
class Unbroken {
 public:
    Unbroken() { enter_unbroken(); }
    ~Unbroken() { leave_unbroken(); }
    Unbroken(const Unbroken&) = delete;
    Unbroken& operator=(const Unbroken&) = delete;
};

// Within an Unbroken: here it may.
class Breakable {
 public:
    Breakable();
    ~Breakable();
    Breakable(const Breakable&) = delete;
    Breakable& operator=(const Breakable&) = delete;

 private:
    int depth_;
};

// Sees to it that what the calling thread owns and waits for is settled when it ends. False with
// the last error when it can't be.
extern FAST_THREAD_LOCAL bool end_is_watched;
bool begin_to_watch_end();
inline bool watch_end_of_thread() {
    return end_is_watched || begin_to_watch_end();
}

// The number of the calling thread, as GetCurrentThreadId; 0 until it is asked for, and in a forked
// child.
extern FAST_THREAD_LOCAL DWORD own_number;
inline DWORD number_of_this_thread() {
    return own_number != 0 ? own_number : GetCurrentThreadId();
}

// In a forked child the thread that forked has another number.
void forget_thread_number();

}  // namespace platform
