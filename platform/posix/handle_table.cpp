// A handle is the place of its object in a table, and how often the place was used before: so a
// handle that was closed is known as such when its place has another object. It is odd and its
// upper half isn't 0, as with no other handle of the platform.
#include <array>
#include <mutex>
#include <utility>
#include <vector>

#include "futex.h"
#include "immortal.h"
#include "kernel_object.h"
#include "named_objects.h"
#include "platform/kernel_objects.h"
#include "platform/last_error.h"

namespace platform {

namespace {

struct Place {
    ObjectPointer object;
    std::uint32_t use = 1;
};

constexpr std::uint32_t kLastUse = 0x7FFFFFFF;

constinit Immortal<std::mutex> object_lock;
constinit Immortal<std::vector<Place>> places;
constinit Immortal<std::vector<std::uint32_t>> free_places;

// Bells to ring when the lock is free again: a woken thread often wants it at once.
struct Bells {
    std::size_t count = 0;
    std::array<std::atomic<std::uint32_t>*, 16> bells{};
} bells;

HANDLE handle_of(std::uint32_t index) {
    const std::uint64_t use = places.value[index].use;
    return reinterpret_cast<HANDLE>(use << 32 | std::uint64_t{index} << 1 | 1);
}

Place* place_of(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t index = (value & 0xFFFFFFFF) >> 1;
    if ((value & 1) == 0 || index >= places.value.size()) return nullptr;
    Place& place = places.value[index];
    return place.object != nullptr && place.use == value >> 32 ? &place : nullptr;
}

ObjectPointer remove_handle(HANDLE handle) {
    const ObjectLock lock;
    Place* place = place_of(handle);
    if (place == nullptr) return nullptr;
    ObjectPointer object = std::move(place->object);
    place->object = nullptr;
    --object->handles;
    const auto index = static_cast<std::uint32_t>(place - places.value.data());
    if (place->use++ < kLastUse) free_places.value.push_back(index);
    return object;
}

}  // namespace

ObjectLock::ObjectLock() {
    object_lock.value.lock();
}

// A thread may have seen that it was served, and have ended, before its bell rings: then the kernel
// finds nobody at that address.
ObjectLock::~ObjectLock() {
    if (bells.count == 0) {
        object_lock.value.unlock();
        return;
    }
    const Bells to_ring = bells;
    bells.count = 0;
    object_lock.value.unlock();
    for (std::size_t i = 0; i < to_ring.count; ++i) futex_wake(*to_ring.bells[i], 1, false);
}

void ring_after_unlock(std::atomic<std::uint32_t>& bell) {
    if (bells.count < bells.bells.size()) {
        bells.bells[bells.count++] = &bell;
    } else {
        futex_wake(bell, 1, false);
    }
}

HANDLE add_handle(const ObjectPointer& object) {
    const ObjectLock lock;
    if (free_places.value.empty()) {
        free_places.value.push_back(static_cast<std::uint32_t>(places.value.size()));
        places.value.emplace_back();
    }
    const std::uint32_t index = free_places.value.back();
    free_places.value.pop_back();
    places.value[index].object = object;
    ++object->handles;
    return handle_of(index);
}

Object* find_object(HANDLE handle) {
    const Place* place = place_of(handle);
    if (place != nullptr) return place->object.get();
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

Object* find_object(HANDLE handle, ObjectType type) {
    Object* object = find_object(handle);
    if (object == nullptr || object->kind->type == type) return object;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

}  // namespace platform

BOOL CloseHandle(HANDLE handle) {
    if (handle == INVALID_HANDLE_VALUE) return TRUE;
    const platform::ObjectPointer object = platform::remove_handle(handle);
    if (object == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (object->shared()) platform::leave_if_unused(*object);
    return TRUE;
}
