// Mutexes. The word is the number of the owner with FUTEX_WAITERS: one of several processes is a
// robust futex, and the kernel wakes nobody without that mark when an owner dies.
#include <linux/futex.h>

#include "kernel/common_bell.h"
#include "kernel/futex.h"
#include "kernel/named_objects.h"
#include "kernel/waiter.h"
#include "platform/kernel_objects.h"
#include "platform/last_error.h"
#include "platform/threads.h"

namespace platform {

namespace {

bool is_free(std::uint32_t word) {
    return (word & FUTEX_TID_MASK) == 0;
}
bool owned_by(std::uint32_t word, DWORD thread) {
    return !is_free(word) && (word & FUTEX_TID_MASK) == thread;
}
bool is_abandoned(std::uint32_t word) {
    return (word & FUTEX_OWNER_DIED) != 0;
}

bool ready(const Object& object, DWORD thread) {
    const std::uint32_t word = object.state().word;
    return is_free(word) || owned_by(word, thread);
}

Taken take_free(State& state, DWORD thread) {
    std::uint32_t word = state.word;
    while (is_free(word)) {
        if (!state.word.compare_exchange_weak(word, thread | FUTEX_WAITERS)) continue;
        state.depth = 1;
        return is_abandoned(word) ? Taken::abandoned : Taken::signal;
    }
    return Taken::nothing;
}

Taken take(Object& object, DWORD thread) {
    State& state = object.state();
    if (owned_by(state.word, thread)) {
        ++state.depth;
        return Taken::signal;
    }
    if (!object.shared()) return take_free(state, thread);
    const RobustOperation operation(state.links);
    const Taken taken = take_free(state, thread);
    if (taken != Taken::nothing) robust_list_add(state.links);
    return taken;
}

// All sleepers are woken, so that one who dies before it takes the mutex holds nobody up.
void let_go(Object& object, std::uint32_t word) {
    State& state = object.state();
    state.depth = 0;
    if (!object.shared()) {
        state.word = word;
        serve_waiters(object);
        return;
    }
    const RobustOperation operation(state.links);
    robust_list_remove(state.links);
    state.word = word;
    futex_wake_counted(state.word, state.sleepers, kAllSleepers);
    ring_common_bell();
}

void give_back(Object& object, Taken taken) {
    if (object.state().depth > 1) {
        --object.state().depth;
    } else {
        let_go(object, taken == Taken::abandoned ? FUTEX_OWNER_DIED | FUTEX_WAITERS : 0);
    }
}

void abandon(Object& object) {
    if (owned_by(object.state().word, GetCurrentThreadId())) {
        let_go(object, FUTEX_OWNER_DIED | FUTEX_WAITERS);
    }
}

// A mutex of this process stays the forking thread's; those of the threads that are gone are
// abandoned. One of several processes is the parent's.
void forked(Object& object, DWORD before, DWORD now) {
    State& state = object.state();
    if (object.shared()) {  // the parent may have released it meanwhile: the word tells nothing
        if (object.owned && !Waiter::disown_here(object)) forget_owner(object);
        return;
    }
    if (is_free(state.word)) return;
    if (owned_by(state.word, before)) {
        state.word = now | FUTEX_WAITERS;
        return;
    }
    if (object.owned) forget_owner(object);
    state.word = FUTEX_OWNER_DIED | FUTEX_WAITERS;
    state.depth = 0;
}

constexpr Kind kMutex = {.type = ObjectType::mutex,
                         .has_owner = true,
                         .ready = ready,
                         .take = take,
                         .give_back = give_back,
                         .abandon = abandon,
                         .forked = forked};

const Kind& kind_of(const State&) {
    return kMutex;
}

bool release(Object& object) {
    State& state = object.state();
    if (!owned_by(state.word, number_of_this_thread())) return false;
    if (state.depth > 1) {
        --state.depth;
        return true;
    }
    Waiter::of_this_thread()->disown(object);
    let_go(object, 0);
    return true;
}

// Nobody would be told of the death of an owner.
bool refuse_name(const char* name) {
    if (name == nullptr || *name == '\0' || robust_list_available()) return false;
    SetLastError(ERROR_NOT_SUPPORTED);
    return true;
}

}  // namespace

}  // namespace platform

using platform::ObjectType;

HANDLE CreateMutexA(SECURITY_ATTRIBUTES*, BOOL owned, const char* name) {
    if (platform::refuse_name(name)) return nullptr;
    platform::Waiter* waiter = platform::Waiter::of_this_thread();
    if (waiter == nullptr) return nullptr;
    platform::State state;
    if (owned != FALSE) {
        state.word = GetCurrentThreadId() | FUTEX_WAITERS;
        state.depth = 1;
    }
    const HANDLE mutex = create_object(ObjectType::mutex, platform::kind_of, name, state);
    if (mutex != nullptr && owned != FALSE && GetLastError() == ERROR_SUCCESS) {
        const platform::ObjectLock lock;
        waiter->own(*platform::find_object(mutex));
    }
    return mutex;
}

HANDLE OpenMutexA(DWORD, BOOL inherit, const char* name) {
    if (platform::refuse_name(name)) return nullptr;
    return open_object(ObjectType::mutex, platform::kind_of, inherit, name);
}

BOOL ReleaseMutex(HANDLE mutex) {
    const platform::ObjectLock lock;
    platform::Object* object = platform::find_object(mutex, ObjectType::mutex);
    if (object == nullptr) return FALSE;
    if (platform::release(*object)) return TRUE;
    SetLastError(ERROR_NOT_OWNER);
    return FALSE;
}
