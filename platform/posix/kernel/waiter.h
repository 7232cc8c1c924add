// A thread that waits, and what it owns.
//
// Objects of this process give themselves away under the ObjectLock: whoever signals one serves
// those who wait for it, in the order they came, so that a signal is never lost or seen by two, and
// a wait for all is all or nothing. Then only the bell of the served thread rings.
//
// An object of several processes can't know who waits: its waiters sleep on its own word, and each
// looks again when woken, and once a second besides, for who signalled may have been killed before
// it could wake anybody. All that is noted in it is how many sleep, so that who signals calls the
// system only then. A thread that is killed or terminated in its sleep stays counted as long as the
// object lives: each signal then makes that call.
#pragma once

#include <atomic>
#include <cstddef>
#include <ctime>

#include "kernel/futex.h"
#include "kernel/kernel_object.h"
#include "platform/kernel_objects.h"

namespace platform {

class Waiter;

// A place in the queue of an object.
struct WaitBlock {
    Waiter* waiter = nullptr;
    Object* object = nullptr;
    WaitBlock* previous = nullptr;
    WaitBlock* next = nullptr;
};

// Nobody in this process owns the object any more. Under the ObjectLock.
void forget_owner(Object& object);

// After an object of this process became ready: gives it to those who wait. Under the ObjectLock.
void serve_waiters(Object& object);

class Waiter {
 public:
    // Null with the last error without memory for it, or where the end of the thread couldn't be
    // watched.
    static Waiter* of_this_thread() { return own_waiter != nullptr ? own_waiter : make(); }

    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    // The calls below are for the thread itself.
    DWORD wait(const HANDLE* handles, DWORD count, bool all, DWORD milliseconds);

    // An object became the thread's, or is no more. Under the ObjectLock.
    void own(Object& object);
    bool disown(Object& object);  // false when it wasn't
    // The same where the thread's end needn't be watched.
    static bool disown_here(Object& object);

    // At the end of the thread: leaves the wait it was ended in; what it owned is abandoned. Under
    // the ObjectLock.
    static void end_of_this_thread();
    // After the thread was ended in a wait, before anything else waits. Under the ObjectLock.
    static void leave_broken_wait();

 private:
    // Made by a thread's first wait. A library that is loaded later finds little room for what each
    // thread has from its start.
    static FAST_THREAD_LOCAL Waiter* own_waiter;
    static Waiter* make();
    Waiter() = default;
    void end();
    friend void serve_waiters(Object& object);

    static constexpr DWORD kNotYet = WAIT_TIMEOUT;

    bool begin(const HANDLE* handles, DWORD count, bool all);
    void add(Object& object);
    Object* first_shared_mutex();
    DWORD attempt();
    DWORD attempt_any();
    DWORD attempt_all();
    bool take_all(DWORD* result);
    bool serve();
    void enqueue();
    void dequeue();
    void drop_kept();
    DWORD sleep_until_done(DWORD milliseconds);
    DWORD look_again(bool late);
    void sleep(const std::timespec* deadline);
    void count_sleeper(bool begins);
    void sleep_for_several(const FutexWord* words, std::size_t count,
                           const std::timespec* deadline);
    void pass_on();
    void finish(DWORD result);

    DWORD thread_ = 0;
    std::size_t count_ = 0;
    bool all_ = false;
    std::size_t shared_ = 0;  // how many of the objects are of several processes
    std::size_t shared_mutexes_ = 0;
    Object* objects_[MAXIMUM_WAIT_OBJECTS] = {};
    std::uint32_t seen_[MAXIMUM_WAIT_OBJECTS] = {};  // the words at the last attempt
    bool missing_[MAXIMUM_WAIT_OBJECTS] = {};        // what that attempt couldn't get

    // While it sleeps, with a reference of each object.
    bool asleep_ = false;
    WaitBlock blocks_[MAXIMUM_WAIT_OBJECTS];
    std::atomic<std::uint32_t> bell_{0};
    std::uint32_t bell_seen_ = 0;
    std::uint32_t common_bell_seen_ = 0;
    std::atomic<bool> served_{false};
    DWORD result_ = 0;

    Object* first_owned_ = nullptr;
};

}  // namespace platform
