#include "named_objects.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "common_bell.h"
#include "immortal.h"
#include "platform/last_error.h"

namespace platform {

namespace {

// A named object is one object in a process, however often it is opened: the kernel knows a mutex
// by its address. The lock is taken before the ObjectLock.
struct OpenObjects {
    std::mutex lock;
    std::vector<std::weak_ptr<Object>> objects;
};
constinit Immortal<OpenObjects> open_objects;

class NamesGuard {
 public:
    NamesGuard() { open_objects.value.lock.lock(); }
    ~NamesGuard() { open_objects.value.lock.unlock(); }

 private:
    Unbroken unbroken_;
};

// A process that ends without closing its handles leaves no file behind, unless it was killed.
struct LeaveAtExit {
    ~LeaveAtExit() {
        const NamesGuard guard;
        for (const auto& entry : open_objects.value.objects) {
            if (const ObjectPointer object = entry.lock()) object->file->leave();
        }
        leave_common_bell();
    }
} leave_at_exit;

// The object that has this file, which then is the file's second opening; or a new one.
ObjectPointer object_of(std::unique_ptr<NamedFile> file, KindOfState kind) {
    auto& objects = open_objects.value.objects;
    std::erase_if(objects, [](const auto& entry) { return entry.expired(); });
    for (const auto& entry : objects) {
        ObjectPointer object = entry.lock();
        if (object != nullptr && object->file->same_as(*file)) {
            object->file->rejoin(*file);
            return object;
        }
    }
    auto object = std::make_shared<Object>(kind(file->content().state));
    object->file = std::move(file);
    objects.push_back(object);
    return object;
}

HANDLE handle_of(std::unique_ptr<NamedFile> file, ObjectType type, KindOfState kind) {
    if (file == nullptr) return nullptr;
    if (file->content().type != type) {
        file->leave();
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return add_handle(object_of(std::move(file), kind));
}

HANDLE create_unnamed(KindOfState kind, const State& state) {
    auto object = std::make_shared<Object>(kind(state));
    object->own.word = state.word.load();
    object->own.depth = state.depth;
    object->own.limit = state.limit;
    SetLastError(ERROR_SUCCESS);
    return add_handle(object);
}

}  // namespace

HANDLE create_object(ObjectType type, KindOfState kind, const char* name, const State& state) {
    if (name == nullptr || *name == '\0') return create_unnamed(kind, state);
    const NamesGuard guard;
    if (!open_common_bell()) return nullptr;
    bool existed = false;
    HANDLE handle = handle_of(NamedFile::open_or_make(name, type, state, &existed), type, kind);
    if (handle != nullptr) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

HANDLE open_object(ObjectType type, KindOfState kind, BOOL inherit, const char* name) {
    if (name == nullptr || inherit != FALSE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (*name == '\0') {  // the folder of all names, as it were: no object of this kind
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const NamesGuard guard;
    if (!open_common_bell()) return nullptr;
    return handle_of(NamedFile::open(name), type, kind);
}

void leave_if_unused(Object& object) {
    const NamesGuard guard;
    const auto unused = [&] {
        const ObjectLock lock;
        return object.handles == 0;
    };
    if (unused()) object.file->leave();
}

}  // namespace platform
