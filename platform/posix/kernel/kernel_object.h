// What handles stand for: objects of a few kinds, the table of handles, and the lock over both.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "kernel/named_file.h"
#include "kernel/object_state.h"
#include "kernel/thread.h"
#include "platform/last_error.h"
#include "platform/types.h"

namespace platform {

// The lock over the table of handles, the objects of this process and who waits for them. Held for
// moments, never while sleeping nor in a call on a file.
class ObjectLock {
 public:
    ObjectLock();
    ~ObjectLock();

 private:
    Unbroken unbroken_;
};

// Wakes who sleeps on a word of this process, at the end of the ObjectLock that is held.
void ring_after_unlock(std::atomic<std::uint32_t>& bell);

struct Object;
struct WaitBlock;

// What a wait got of an object.
enum class Taken { nothing, signal, abandoned };

// What sets one kind of object apart; all is called under the ObjectLock. thread is the number of
// the thread that waits; for an object of several processes it is the calling one.
struct Kind {
    ObjectType type;
    bool has_owner = false;  // a wait makes the thread its owner
    // Whether a wait would get it; null: it can't be waited for.
    bool (*ready)(const Object& object, DWORD thread) = nullptr;
    // What a wait takes.
    Taken (*take)(Object& object, DWORD thread) = nullptr;
    // As if the take hadn't been.
    void (*give_back)(Object& object, Taken taken) = nullptr;
    // What a signal does; null: it takes none.
    void (*signal)(Object& object) = nullptr;
    // The owner ended; null without owners.
    void (*abandon)(Object& object) = nullptr;
    // Of a named object, when this process comes to it: makes usable what its file tells. False
    // with the last error; null for nothing to do. Under the lock of names instead.
    bool (*attach)(Object& object) = nullptr;
    // In a forked child: what is different there; null for nothing. The thread that forked had the
    // first of the numbers and now has the second; all others are gone.
    void (*forked)(Object& object, DWORD before, DWORD now) = nullptr;
};

struct Object {
    explicit Object(const Kind& its_kind) : kind(&its_kind) {}
    virtual ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    [[nodiscard]] bool shared() const { return file != nullptr; }
    [[nodiscard]] State& state() { return shared() ? file->content().state : own; }
    [[nodiscard]] const State& state() const { return shared() ? file->content().state : own; }

    const Kind* kind;
    State own;                        // the state, unless it is in a file
    std::unique_ptr<NamedFile> file;  // of a named one
    std::atomic<unsigned> references{0};
    unsigned handles = 0;
    WaitBlock* first_waiter = nullptr;  // threads of this process, the longest waiting first
    WaitBlock* last_waiter = nullptr;
    // Of the owner, for its own use: the next object it owns. Who owns an object without a name
    // holds a reference; one with a name is the list's, which keeps it until nobody does.
    Object* next_owned = nullptr;
    bool owned = false;
    Object* next_named = nullptr;  // of the list of the named objects that are open
};

// A counted reference to an object, which goes with its last one.
class ObjectPointer {
 public:
    ObjectPointer() = default;
    explicit ObjectPointer(Object* object) : object_(object) {
        if (object_ != nullptr) object_->references.fetch_add(1, std::memory_order_relaxed);
    }
    ObjectPointer(ObjectPointer&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)) {}
    ObjectPointer& operator=(ObjectPointer&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ObjectPointer();

    [[nodiscard]] Object* get() const { return object_; }
    Object* operator->() const { return object_; }
    Object& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

    // The reference as a plain pointer, and back, for places that are only ever copied as memory.
    [[nodiscard]] Object* release() { return std::exchange(object_, nullptr); }
    [[nodiscard]] static ObjectPointer adopt(Object* object) {
        ObjectPointer pointer;
        pointer.object_ = object;
        return pointer;
    }

 private:
    Object* object_ = nullptr;
};

// Null with the last error without memory.
template <typename T, typename... Arguments>
ObjectPointer make_object(Arguments&&... arguments) {
    ObjectPointer object(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
    if (!object) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return object;
}

// A new handle of an object; null with the last error without memory, and for no object. Takes the
// ObjectLock.
HANDLE add_handle(const ObjectPointer& object);
// The object of a handle; null with ERROR_INVALID_HANDLE. Under the ObjectLock, and until its end.
Object* find_object(HANDLE handle);
Object* find_object(HANDLE handle, ObjectType type);

// What events and semaphores have in common: a word above 0 is a signal.
inline bool word_is_set(const Object& object, DWORD) {
    return object.state().word != 0;
}

inline Taken take_one(Object& object, DWORD) {
    std::atomic<std::uint32_t>& word = object.state().word;
    std::uint32_t signals = word;
    while (signals > 0) {
        if (word.compare_exchange_weak(signals, signals - 1)) return Taken::signal;
    }
    return Taken::nothing;
}

// Calls something for each object that has a handle. Under the ObjectLock.
void for_each_object(void (*call)(Object& object));

}  // namespace platform
