// A handle is the place of its object in a table, and how often the place was used before: so a
// handle that was closed is known as such when its place has another object. It is odd and its
// upper half isn't 0, as with no other handle of the platform.
#include <array>
#include <cstdlib>
#include <mutex>

#include "kernel/fork.h"
#include "kernel/futex.h"
#include "kernel/kernel_object.h"
#include "kernel/named_objects.h"
#include "platform/kernel_objects.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constexpr std::uint32_t kNoPlace = 0xFFFFFFFF;
constexpr std::uint32_t kLastUse = 0x7FFFFFFF;

struct Place {
    Object* object;  // a reference; null when free
    std::uint32_t use;
    std::uint32_t next_free;
};

constinit std::mutex object_lock;
Place* places = nullptr;
std::uint32_t place_count = 0;
std::uint32_t first_free = kNoPlace;

// Bells to ring when the lock is free again: a woken thread often wants it at once.
struct Bells {
    std::size_t count = 0;
    std::array<std::atomic<std::uint32_t>*, 16> bells{};
} bells;

HANDLE handle_of(std::uint32_t index) {
    const std::uint64_t use = places[index].use;
    return reinterpret_cast<HANDLE>(use << 32 | std::uint64_t{index} << 1 | 1);
}

Place* place_of(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t index = (value & 0xFFFFFFFF) >> 1;
    if ((value & 1) == 0 || index >= place_count) return nullptr;
    Place& place = places[index];
    return place.object != nullptr && place.use == value >> 32 ? &place : nullptr;
}

void set_free(std::uint32_t index) {
    places[index].next_free = first_free;
    first_free = index;
}

// False without memory.
bool add_places() {
    const std::uint32_t count = place_count < 16 ? 16 : place_count * 2;
    void* block = std::realloc(places, count * sizeof(Place));
    if (block == nullptr) return false;
    places = static_cast<Place*>(block);
    while (place_count < count) {
        places[place_count] = {nullptr, 1, kNoPlace};
        set_free(place_count++);
    }
    return true;
}

ObjectPointer remove_handle(HANDLE handle) {
    const ObjectLock lock;
    Place* place = place_of(handle);
    if (place == nullptr) return {};
    ObjectPointer object = ObjectPointer::adopt(place->object);
    place->object = nullptr;
    --object->handles;
    if (place->use++ < kLastUse) set_free(static_cast<std::uint32_t>(place - places));
    return object;
}

}  // namespace

ObjectLock::ObjectLock() {
    object_lock.lock();
}

// A thread may have seen that it was served, and have ended, before its bell rings: then the kernel
// finds nobody at that address.
ObjectLock::~ObjectLock() {
    if (bells.count == 0) {
        object_lock.unlock();
        return;
    }
    const Bells to_ring = bells;
    bells.count = 0;
    object_lock.unlock();
    for (std::size_t i = 0; i < to_ring.count; ++i) futex_wake(*to_ring.bells[i], 1, false);
}

void ring_after_unlock(std::atomic<std::uint32_t>& bell) {
    if (bells.count < bells.bells.size()) {
        bells.bells[bells.count++] = &bell;
    } else {
        futex_wake(bell, 1, false);
    }
}

// Out of sight of the checks, which count no references.
ObjectPointer::~ObjectPointer() {
    if (object_ != nullptr && object_->references.fetch_sub(1) == 1) delete object_;
}

HANDLE add_handle(const ObjectPointer& object) {
    if (!object) return nullptr;
    const ObjectLock lock;
    if (first_free == kNoPlace && !add_places()) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const std::uint32_t index = first_free;
    first_free = places[index].next_free;
    places[index].object = ObjectPointer(object.get()).release();
    ++object->handles;
    return handle_of(index);
}

Object* find_object(HANDLE handle) {
    const Place* place = place_of(handle);
    if (place != nullptr) return place->object;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

Object* find_object(HANDLE handle, ObjectType type) {
    Object* object = find_object(handle);
    if (object == nullptr || object->kind->type == type) return object;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

void for_each_object(void (*call)(Object& object)) {
    for (std::uint32_t i = 0; i < place_count; ++i) {
        if (places[i].object != nullptr) call(*places[i].object);
    }
}

void lock_objects_for_fork() {
    object_lock.lock();
}

void unlock_objects_after_fork() {
    object_lock.unlock();
}

}  // namespace platform

BOOL CloseHandle(HANDLE handle) {
    if (handle == INVALID_HANDLE_VALUE) return TRUE;
    const platform::Unbroken unbroken;  // or the name would stay
    platform::ObjectPointer object = platform::remove_handle(handle);
    if (!object) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (object->shared()) platform::leave_if_unused(std::move(object));
    return TRUE;
}
