// The kernel's part in a mutex between processes. Every thread has a list of the locks it holds,
// whose head the kernel knows. When the thread ends, in whatever way, the kernel walks the list,
// marks each lock whose word holds the thread's number with FUTEX_OWNER_DIED and wakes one sleeper.
// (Documentation/locking/robust-futex-ABI.rst of the kernel.)
//
// The list is that of the C library, which keeps its own robust mutexes in it; so the links here
// lie as they do in a pthread_mutex_t.
#pragma once

#include <cstdint>

namespace platform {

struct RobustLinks {
    std::uint64_t previous;
    std::uint64_t next;  // the list links these fields
};

// From a lock's word, at which the kernel expects FUTEX_WAITERS where it shall wake, to its links.
constexpr int kRobustLinksOffset = 24;

// Whether the list of this process's threads is laid out as said.
bool robust_list_available();

// Puts a lock into the calling thread's list, or takes it out. Only inside of a RobustOperation.
void robust_list_add(RobustLinks& links);
void robust_list_remove(RobustLinks& links);

// While it lives the kernel treats this lock, too, when the thread ends: if its word holds the
// thread's number as if it were in the list; if the word is free by waking one sleeper, since the
// thread may have ended after it was woken, or before it could wake.
class RobustOperation {
 public:
    explicit RobustOperation(RobustLinks& links);
    ~RobustOperation();
    RobustOperation(const RobustOperation&) = delete;
    RobustOperation& operator=(const RobustOperation&) = delete;

 private:
    void* outer_;
};

// Ends the operation of a thread that was ended within it.
void robust_list_forget_operation();

}  // namespace platform
