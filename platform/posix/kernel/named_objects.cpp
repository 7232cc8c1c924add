#include "kernel/named_objects.h"

#include <mutex>
#include <utility>

#include "kernel/common_bell.h"
#include "kernel/fork.h"
#include "platform/last_error.h"

namespace platform {

namespace {

// A named object is one object in a process, however often it is opened: the kernel knows a mutex
// by its address. So the list keeps each as long as anybody uses it. The lock is taken before the
// ObjectLock.
constinit std::mutex names_lock;
Object* first_named = nullptr;  // a reference, as each next one

class NamesGuard {
 public:
    NamesGuard() { names_lock.lock(); }
    ~NamesGuard() { names_lock.unlock(); }

 private:
    Unbroken unbroken_;
};

// A process that ends without closing its handles leaves no file behind, unless it was killed.
struct LeaveAtExit {
    ~LeaveAtExit() {
        const NamesGuard guard;
        for (Object* object = first_named; object != nullptr; object = object->next_named) {
            object->file->leave();
        }
        leave_common_bell();
    }
} leave_at_exit;

// Whether the list alone has it: handles and threads that wait for it have references.
bool is_unused(const Object& object) {
    const ObjectLock lock;
    return object.handles == 0 && !object.owned && object.references == 1;
}

void forget_unused_objects() {
    for (Object** link = &first_named; *link != nullptr;) {
        if (!is_unused(**link)) {
            link = &(*link)->next_named;
            continue;
        }
        const ObjectPointer object = ObjectPointer::adopt(*link);
        *link = object->next_named;
    }
}

// The object of this process that has the same file, which becomes its second opening. Null if
// there is none.
ObjectPointer known_object(NamedFile& file) {
    for (Object* object = first_named; object != nullptr; object = object->next_named) {
        if (!object->file->same_as(file)) continue;
        object->file->rejoin(file);
        return ObjectPointer(object);
    }
    return {};
}

void leave_without_handles(Object& object) {
    const auto unused = [&] {
        const ObjectLock lock;
        return object.handles == 0;
    };
    if (unused()) object.file->leave();
}

// A new handle; without memory for it an object that was just made is as if its owner had died.
HANDLE handle_or_leave(Object& object) {
    const HANDLE handle = add_handle(ObjectPointer(&object));
    if (handle != nullptr) return handle;
    {
        const ObjectLock lock;
        if (!object.owned && object.kind->abandon != nullptr) object.kind->abandon(object);
    }
    leave_without_handles(object);
    return nullptr;
}

// A handle of the object of a file, which is the given one if this process has none of it yet.
HANDLE handle_of(ObjectPointer object, std::unique_ptr<NamedFile> file, ObjectType type,
                 KindOfState kind) {
    if (file == nullptr) return nullptr;
    if (file->content().type != type) {
        file->leave();
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (const ObjectPointer known = known_object(*file)) return handle_or_leave(*known);
    object->kind = &kind(file->content().state);
    object->file = std::move(file);
    if (object->kind->attach != nullptr && !object->kind->attach(*object)) {
        object->file->leave();
        return nullptr;
    }
    object->next_named = std::exchange(first_named, ObjectPointer(object.get()).release());
    return handle_or_leave(*object);
}

HANDLE create_unnamed(KindOfState kind, const State& state) {
    const ObjectPointer object = make_object<Object>(kind(state));
    if (!object) return nullptr;
    object->own.word = state.word.load();
    object->own.depth = state.depth;
    object->own.limit = state.limit;
    return handle_of_new(object);
}

// Before the first named object.
bool names_can_be_used() {
    if (!fork_is_watched()) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    return open_common_bell();
}

}  // namespace

HANDLE handle_of_new(const ObjectPointer& object) {
    const HANDLE handle = add_handle(object);
    if (handle != nullptr) SetLastError(ERROR_SUCCESS);
    return handle;
}

HANDLE create_object(ObjectType type, KindOfState kind, const char* name, const State& state) {
    if (name == nullptr || *name == '\0') return create_unnamed(kind, state);
    return create_named(make_object<Object>(kind(state)), kind, name, {type, state});
}

HANDLE create_named(ObjectPointer object, KindOfState kind, const char* name,
                    const NewFile& begin) {
    const NamesGuard guard;
    if (!object || !names_can_be_used()) return nullptr;
    bool existed = false;
    auto file = NamedFile::open_or_make(name, begin, &existed);
    const HANDLE handle = handle_of(std::move(object), std::move(file), begin.type, kind);
    forget_unused_objects();
    if (handle != nullptr) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

HANDLE open_object(ObjectType type, KindOfState kind, BOOL inherit, const char* name) {
    return open_named(make_object<Object>(kind({})), type, kind, inherit, name);
}

HANDLE open_named(ObjectPointer object, ObjectType type, KindOfState kind, BOOL inherit,
                  const char* name) {
    if (name == nullptr || inherit != FALSE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (*name == '\0') {  // the folder of all names, as it were: no object of this kind
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const NamesGuard guard;
    if (!object || !names_can_be_used()) return nullptr;
    const HANDLE handle = handle_of(std::move(object), NamedFile::open(name), type, kind);
    forget_unused_objects();
    return handle;
}

void leave_if_unused(ObjectPointer object) {
    const NamesGuard guard;
    leave_without_handles(*object);
    object = {};
    forget_unused_objects();
}

void lock_names_for_fork() {
    names_lock.lock();
}

void unlock_names_after_fork() {
    names_lock.unlock();
}

void for_each_named_object(void (*call)(Object& object)) {
    for (Object* object = first_named; object != nullptr; object = object->next_named) {
        call(*object);
    }
}

}  // namespace platform
