// Events: the word counts the signals that are there for the taking.
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

Taken take_none(Object& object, DWORD) {
    return object.state().word != 0 ? Taken::signal : Taken::nothing;
}

constexpr Kind kAutomatic = {.type = ObjectType::event,
                             .ready = word_is_set,
                             .take = take_one,
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
    return TRUE;
}

BOOL ResetEvent(HANDLE event) {
    const platform::ObjectLock lock;
    platform::Object* object = platform::find_object(event, ObjectType::event);
    if (object == nullptr) return FALSE;
    object->state().word = 0;
    return TRUE;
}
