// The calling thread: when it may be ended from outside, and what is done at its end.
#pragma once

namespace platform {

// While one lives, TerminateThread doesn't end the calling thread: it may hold what others need.
class Unbroken {
 public:
    Unbroken();
    ~Unbroken();
    Unbroken(const Unbroken&) = delete;
    Unbroken& operator=(const Unbroken&) = delete;
};

// The same where the two ends lie apart.
void enter_unbroken();
void leave_unbroken();

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
bool watch_end_of_thread();

// In a forked child the thread that forked has another number.
void forget_thread_number();

}  // namespace platform
