#include "registry/registry_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "files/descriptor.h"
#include "registry/registry_text.h"
#include "system/failure.h"

namespace platform {

namespace {

constexpr const char* kStore = "registry";
constexpr const char* kLock = "registry.lock";
constexpr const char* kNew = "registry.new";
// More than any machine keeps; a file beyond it isn't ours.
constexpr size_t kMaxStore = size_t{16} << 20;

DWORD error_of_errno() {
    return errno == EROFS ? ERROR_ACCESS_DENIED : error_number(errno);
}

const char* folder_name() {
    const char* chosen = secure_getenv(PLATFORM_ENVIRONMENT_PREFIX "REGISTRY_FOLDER");
    return chosen != nullptr && *chosen != '\0' ? chosen : "/etc/" PLATFORM_NAME;
}

int open_folder() {
    return open(folder_name(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

bool read_all(int fd, GrowingText& store) {
    constexpr size_t chunk = 4096;
    for (;;) {
        char* room = store.reserve(chunk);
        const ssize_t count = room != nullptr ? ::read(fd, room, chunk) : -1;
        if (count < 0 && room != nullptr && errno == EINTR) continue;
        if (count <= 0) return count == 0;
        store.grow(static_cast<size_t>(count));
    }
}

// A missing store is an empty one.
DWORD load(int folder, GrowingText& store) {
    const OpenFile file(openat(folder, kStore, O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!file.valid()) return errno == ENOENT ? ERROR_SUCCESS : error_of_errno();
    if (fstat(file.get(), &status) != 0) return error_of_errno();
    if (!S_ISREG(status.st_mode) || static_cast<size_t>(status.st_size) > kMaxStore) {
        return ERROR_INVALID_DATA;
    }
    if (read_all(file.get(), store)) return ERROR_SUCCESS;
    return store.good() ? error_of_errno() : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD load(GrowingText& store) {
    const OpenFile folder(open_folder());
    if (!folder.valid()) return errno == ENOENT ? ERROR_SUCCESS : error_of_errno();
    return load(folder.get(), store);
}

// The new content takes the place of the old in one step.
DWORD save(int folder, const GrowingText& store) {
    constexpr mode_t everyone_reads = 0644;
    if (!store.good()) return ERROR_NOT_ENOUGH_MEMORY;
    if (store.view().size() > kMaxStore) return ERROR_FILE_TOO_LARGE;
    const OpenFile file(openat(folder, kNew, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                               everyone_reads));
    const bool done = file.valid() && fchmod(file.get(), everyone_reads) == 0 &&
                      write_all(file.get(), store.view().data(), store.view().size()) &&
                      fsync(file.get()) == 0 && renameat(folder, kNew, folder, kStore) == 0 &&
                      fsync(folder) == 0;
    return done ? ERROR_SUCCESS : error_of_errno();
}

// The store, which nobody else changes while the object lives.
class LockedStore {
 public:
    LockedStore()
        : folder_(mkdir(folder_name(), 0755) == 0 || errno == EEXIST ? open_folder() : -1),
          lock_(folder_.valid()
                    ? openat(folder_.get(), kLock, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600)
                    : -1) {
        error = lock_.valid() && wait_for_lock() ? load(folder_.get(), content) : error_of_errno();
    }
    [[nodiscard]] DWORD replace(const GrowingText& store) { return save(folder_.get(), store); }

    DWORD error;
    GrowingText content;

 private:
    [[nodiscard]] bool wait_for_lock() const {
        int result = 0;
        do {
            result = flock(lock_.get(), LOCK_EX);
        } while (result != 0 && errno == EINTR);
        return result == 0;
    }

    OpenFile folder_;
    OpenFile lock_;
};

// A line of the key that replaces the one at a place, or is added there; empty for the key alone.
DWORD store_line(LockedStore& store, const Place& place, std::string_view path,
                 std::string_view line) {
    GrowingText changed;
    append_changed(store.content.view(), place, path, line, changed);
    return store.replace(changed);
}

}  // namespace

DWORD registry_find_key(std::string_view path) {
    GrowingText store;
    const DWORD error = load(store);
    if (error != ERROR_SUCCESS) return error;
    return look_up(store.view(), path, {}).has_key ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

DWORD registry_read(std::string_view path, std::string_view name, RegistryValue& value) {
    GrowingText store;
    const DWORD error = load(store);
    if (error != ERROR_SUCCESS) return error;
    if (!parse_value(look_up(store.view(), path, name).value, value)) return ERROR_FILE_NOT_FOUND;
    return value.text.good() ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD registry_write(std::string_view path, std::string_view name, const RegistryValue& value) {
    GrowingText line;
    append_value_line(name, value, line);
    if (!line.good()) return ERROR_NOT_ENOUGH_MEMORY;
    LockedStore store;
    if (store.error != ERROR_SUCCESS) return store.error;
    return store_line(store, look_up(store.content.view(), path, name), path, line.view());
}

DWORD registry_make_key(std::string_view path, bool* existed) {
    LockedStore store;
    if (store.error != ERROR_SUCCESS) return store.error;
    const Place place = look_up(store.content.view(), path, {});
    *existed = place.has_key;
    return *existed ? ERROR_SUCCESS : store_line(store, place, path, {});
}

DWORD registry_check_writable() {
    const OpenFile folder(open_folder());
    if (!folder.valid()) return errno == ENOENT ? ERROR_SUCCESS : error_of_errno();
    return faccessat(folder.get(), ".", W_OK, AT_EACCESS) == 0 ? ERROR_SUCCESS : error_of_errno();
}

}  // namespace platform
