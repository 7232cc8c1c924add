// Semaphores: the word is the count.
#include <algorithm>

#include "kernel/common_bell.h"
#include "kernel/futex.h"
#include "kernel/named_objects.h"
#include "kernel/waiter.h"
#include "platform/kernel_objects.h"

namespace platform {

namespace {

// False beyond the maximum.
bool add(Object& object, std::uint32_t count, std::uint32_t* before) {
    std::atomic<std::uint32_t>& word = object.state().word;
    *before = word;
    do {
        const std::uint32_t room = object.state().limit - std::min(*before, object.state().limit);
        if (count > room) return false;
    } while (!word.compare_exchange_weak(*before, *before + count));
    if (object.shared()) {
        futex_wake_counted(word, object.state().sleepers, static_cast<int>(count));
        ring_common_bell();
    } else {
        serve_waiters(object);
    }
    return true;
}

// Where others have filled it up meanwhile nothing is missing.
void give_back(Object& object, Taken) {
    std::uint32_t before = 0;
    add(object, 1, &before);
}

constexpr Kind kSemaphore = {
    .type = ObjectType::semaphore, .ready = word_is_set, .take = take_one, .give_back = give_back};

const Kind& kind_of(const State&) {
    return kSemaphore;
}

}  // namespace

}  // namespace platform

using platform::ObjectType;

HANDLE CreateSemaphoreA(SECURITY_ATTRIBUTES*, LONG initial, LONG maximum, const char* name) {
    if (maximum <= 0 || initial < 0 || initial > maximum) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    platform::State state;
    state.word = static_cast<std::uint32_t>(initial);
    state.limit = static_cast<std::uint32_t>(maximum);
    return create_object(ObjectType::semaphore, platform::kind_of, name, state);
}

HANDLE OpenSemaphoreA(DWORD, BOOL inherit, const char* name) {
    return open_object(ObjectType::semaphore, platform::kind_of, inherit, name);
}

BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous) {
    const platform::ObjectLock lock;
    platform::Object* object = platform::find_object(semaphore, ObjectType::semaphore);
    if (object == nullptr) return FALSE;
    std::uint32_t before = 0;
    if (count < 0 || !platform::add(*object, static_cast<std::uint32_t>(count), &before)) {
        SetLastError(ERROR_TOO_MANY_POSTS);
        return FALSE;
    }
    if (previous != nullptr) *previous = static_cast<LONG>(before);
    return TRUE;
}
