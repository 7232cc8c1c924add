// What handles stand for: objects of a few kinds, the table of handles, and the lock over both.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "named_file.h"
#include "object_state.h"
#include "platform/types.h"

namespace platform {

// While one lives, TerminateThread doesn't end the calling thread: it may hold what others need.
class Unbroken {
 public:
    Unbroken();
    ~Unbroken();
    Unbroken(const Unbroken&) = delete;
    Unbroken& operator=(const Unbroken&) = delete;
};

// Within an Unbroken: here it may.
class Breakable {
 public:
    Breakable();
    ~Breakable();
    Breakable(const Breakable&) = delete;
    Breakable& operator=(const Breakable&) = delete;

 private:
    int depth_;
};

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
    bool has_owner;                                     // a wait makes the thread its owner
    bool (*ready)(const Object& object, DWORD thread);  // whether a wait would get it; null: can't
    Taken (*take)(Object& object, DWORD thread);        // what a wait takes
    void (*give_back)(Object& object, Taken taken);     // as if the take hadn't been
    void (*signal)(Object& object);                     // what a signal does; null: takes none
    void (*abandon)(Object& object);                    // the owner ended; null without owners
};

struct Object : std::enable_shared_from_this<Object> {
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
    unsigned handles = 0;
    WaitBlock* first_waiter = nullptr;  // threads of this process, the longest waiting first
    WaitBlock* last_waiter = nullptr;
    // Of the owner, for its own use: the next object it owns; the object stays while it is owned.
    Object* next_owned = nullptr;
    std::shared_ptr<Object> owner_keeps;
};

using ObjectPointer = std::shared_ptr<Object>;

// A new handle of an object. Takes the ObjectLock.
HANDLE add_handle(const ObjectPointer& object);
// The object of a handle; null with ERROR_INVALID_HANDLE. Under the ObjectLock, and until its end.
Object* find_object(HANDLE handle);
Object* find_object(HANDLE handle, ObjectType type);

// Named objects. Null with the last error; the Create form also sets it on success, as a caller is
// told. These take locks of their own.
using KindOfState = const Kind& (*)(const State& state);
HANDLE create_object(ObjectType type, KindOfState kind, const char* name, const State& state);
HANDLE open_object(ObjectType type, KindOfState kind, BOOL inherit, const char* name);

}  // namespace platform
