// The state of an event, mutex or semaphore: one word that says all and is waited on. In memory of
// the process, or in the file of a named object, where several processes have it mapped. There is
// no lock in it, so no process can die with one.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "kernel/robust_list.h"

namespace platform {

enum class ObjectType : std::uint32_t {
    event = 1,
    mutex = 2,
    semaphore = 3,
    thread = 4,
    bell = 5,
    process = 6,
    mapping = 7
};

struct State {
    // Event: signals there are for the taking. Semaphore: its count. Thread: 1 when it ended.
    // Mutex: the number of the owning thread with FUTEX_WAITERS, 0, or FUTEX_OWNER_DIED with
    // FUTEX_WAITERS: as the kernel's robust list has it.
    std::atomic<std::uint32_t> word{0};
    std::uint32_t depth = 0;  // mutex: how many times the owner took it; only the owner looks
    std::uint32_t limit = 0;  // semaphore: its maximum; event: 1, or 0 for one with manual reset
    // Of several processes: how many threads sleep on the word or are about to. One that is killed
    // or terminated meanwhile stays counted, which costs one call per signal from then on and
    // nothing else. It is never reset: that could forget one who counted but doesn't sleep yet.
    std::atomic<std::uint32_t> sleepers{0};
    std::uint32_t reserved[2] = {};
    RobustLinks links{};  // mutex of several processes: of the owner's list
};
static_assert(sizeof(State) == 40 && offsetof(State, links) == kRobustLinksOffset);
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

// The file of a named object, wholly written before it has its name. That of a mapping goes on:
// kernel/mapped_record.h.
struct ObjectFile {
    char magic[8];
    std::uint32_t version;
    ObjectType type;
    std::uint64_t size;  // of the file in bytes
    State state;
};
static_assert(sizeof(ObjectFile) == 64);

}  // namespace platform
