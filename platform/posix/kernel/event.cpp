// Events: the word counts the signals that are there for the taking.
#include <array>
#include <utility>

#include "kernel/common_bell.h"
#include "kernel/futex.h"
#include "kernel/named_objects.h"
#include "kernel/waiter.h"
#include "platform/kernel_objects.h"

namespace platform {

namespace {

// Without a waiter signals don't add up. That several processes wait is known to the kernel alone:
// a further signal counts only if it wakes one more of them. It is counted after that, so that who
// is killed in between leaves one signal and not two; whoever then sleeps beside it looks again.
void signal_one(Object& object) {
    std::atomic<std::uint32_t>& word = object.state().word;
    if (!object.shared()) {
        word = 1;
        serve_waiters(object);
        return;
    }
    std::uint32_t none = 0;
    const bool first = word.compare_exchange_strong(none, 1);
    const int woken = futex_wake(word, 1, true);
    if (!first && woken > 0) {
        word.fetch_add(1);
        futex_wake(word, 1, true);  // who was woken may have looked already, and sleep again
    }
    ring_common_bell();
}

void signal_all(Object& object) {
    object.state().word = 1;
    if (!object.shared()) {
        serve_waiters(object);
        return;
    }
    futex_wake(object.state().word, kAllSleepers, true);
    ring_common_bell();
}

// The handles of events of this process that are signalled: who is about to signal one again sees
// so without the lock, under which they are noted. Two that share a place put each other out of it.
constinit std::array<std::atomic<std::uintptr_t>, 256> noted_signals{};

std::atomic<std::uintptr_t>& note_of(HANDLE event) {
    return noted_signals[(reinterpret_cast<std::uintptr_t>(event) >> 1) % noted_signals.size()];
}

void note_signal(HANDLE event, Object& object) {
    if (object.shared() || object.state().word == 0) return;
    object.noted_signal = event;
    note_of(event).store(reinterpret_cast<std::uintptr_t>(event), std::memory_order_relaxed);
}

Taken take_signal(Object& object, DWORD thread) {
    forget_signal(object);
    return take_one(object, thread);
}

Taken take_none(Object& object, DWORD) {
    return object.state().word != 0 ? Taken::signal : Taken::nothing;
}

constexpr Kind kAutomatic = {.type = ObjectType::event,
                             .ready = word_is_set,
                             .take = take_signal,
                             .give_back = [](Object& object, Taken) { signal_one(object); },
                             .signal = signal_one};
constexpr Kind kManual = {.type = ObjectType::event,
                          .ready = word_is_set,
                          .take = take_none,
                          .give_back = [](Object&, Taken) {},
                          .signal = signal_all};

const Kind& kind_of(const State& state) {
    return state.limit != 0 ? kAutomatic : kManual;
}

}  // namespace

void forget_signal(Object& object) {
    if (object.noted_signal == nullptr) return;
    const HANDLE event = std::exchange(object.noted_signal, nullptr);
    auto noted = reinterpret_cast<std::uintptr_t>(event);
    note_of(event).compare_exchange_strong(noted, 0);
}

bool is_signalled_already(HANDLE event) {
    return event != nullptr && note_of(event).load(std::memory_order_relaxed) ==
                                   reinterpret_cast<std::uintptr_t>(event);
}

}  // namespace platform

using platform::ObjectType;

HANDLE CreateEventA(SECURITY_ATTRIBUTES*, BOOL manual_reset, BOOL signalled, const char* name) {
    platform::State state;
    state.word = signalled != FALSE ? 1 : 0;
    state.limit = manual_reset != FALSE ? 0 : 1;
    return create_object(ObjectType::event, platform::kind_of, name, state);
}

HANDLE OpenEventA(DWORD, BOOL inherit, const char* name) {
    return open_object(ObjectType::event, platform::kind_of, inherit, name);
}

BOOL SetEvent(HANDLE event) {
    const platform::ObjectLock lock;
    platform::Object* object = platform::find_object(event, ObjectType::event);
    if (object == nullptr) return FALSE;
    object->kind->signal(*object);
    platform::note_signal(event, *object);
    return TRUE;
}

BOOL ResetEvent(HANDLE event) {
    const platform::ObjectLock lock;
    platform::Object* object = platform::find_object(event, ObjectType::event);
    if (object == nullptr) return FALSE;
    platform::forget_signal(*object);
    object->state().word = 0;
    return TRUE;
}
