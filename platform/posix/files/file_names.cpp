// What is done to a file or a folder by its name alone.
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "files/path.h"
#include "platform/files.h"
#include "system/failure.h"

using platform::fail;
using platform::KernelPath;

namespace {

template <typename Call>
int named(const char* name, Call call) {
    const KernelPath path(name);
    return path.valid() && call(path.get()) == 0 ? 0 : fail();
}

bool is_folder(const char* name) {
    struct _stat64 status;
    return name != nullptr && _stat64(name, &status) == 0 && (status.st_mode & _S_IFDIR) != 0;
}

// The folder of temporary names, in the order of _tempnam.
const char* temporary_folder(const char* given) {
    const char* chosen = secure_getenv("TMP");
    if (is_folder(chosen)) return chosen;
    return is_folder(given) ? given : P_tmpdir;
}

// Differs from call to call and, mostly, from process to process.
unsigned long next_number() {
    static std::atomic<unsigned long> calls{0};
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const auto time =
        static_cast<unsigned long>(now.tv_sec) * 1000003 + static_cast<unsigned long>(now.tv_nsec);
    return (time << 20 | static_cast<unsigned long>(getpid())) + (++calls << 40);
}

// On a file system without the one step: a hard link refuses a taken name as well, but neither for
// a folder nor where there are no links; then only looking first is left.
int rename_in_steps(const char* from, const char* to) {
    if (link(from, to) == 0) {
        if (unlink(from) == 0 || errno == ENOENT) return 0;
        const int reason = errno;
        unlink(to);  // a file that stays keeps its one name
        errno = reason;
        return -1;
    }
    if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK) return -1;
    struct stat found;
    if (lstat(from, &found) != 0) return -1;
    if (lstat(to, &found) == 0) {
        errno = EEXIST;
        return -1;
    }
    return rename(from, to);
}

}  // namespace

int _utime64(const char* name, const struct __utimbuf64* times) {
    return named(name, [times](const char* path) {
        if (times == nullptr) return utimensat(AT_FDCWD, path, nullptr, 0);
        const timespec both[2] = {{.tv_sec = times->actime, .tv_nsec = 0},
                                  {.tv_sec = times->modtime, .tv_nsec = 0}};
        return utimensat(AT_FDCWD, path, both, 0);
    });
}

int _mkdir(const char* name) {
    return named(name, [](const char* path) { return mkdir(path, 0777); });
}

int _rmdir(const char* name) {
    return named(name, ::rmdir);
}

int _chdir(const char* name) {
    return named(name, ::chdir);
}

int _unlink(const char* name) {
    return named(name, ::unlink);
}

char* _getcwd(char* buffer, int size) {
    const bool bad = buffer != nullptr && size <= 0;
    if (bad) errno = EINVAL;
    // Of a null buffer the C library takes the size that it needs.
    char* result =
        bad ? nullptr : getcwd(buffer, buffer != nullptr ? static_cast<size_t>(size) : 0);
    if (result == nullptr) fail();
    return result;
}

char* _tempnam(const char* folder, const char* prefix) {
    const char* place = temporary_folder(folder);
    const size_t size = strlen(place) + (prefix != nullptr ? strlen(prefix) : 0) + 32;
    char* name = static_cast<char*>(malloc(size));
    const char* delimiter = platform::last_separator(place);
    const bool delimited = delimiter != nullptr && delimiter[1] == '\0';
    for (int tries = 0; name != nullptr && tries < 1000; ++tries) {
        snprintf(name, size, "%s%s%s%lx", place, delimited ? "" : "\\",
                 prefix != nullptr ? prefix : "", next_number());
        if (_access(name, 0) != 0) return name;
    }
    free(name);
    fail(name == nullptr ? ENOMEM : EEXIST);
    return nullptr;
}

namespace platform {

bool is_link(const char* name) {
    const KernelPath path(name);
    struct stat found;
    return path.valid() && lstat(path.get(), &found) == 0 && S_ISLNK(found.st_mode);
}

int rename_file(const char* from, const char* to) {
    const KernelPath source(from);
    const KernelPath target(to);
    if (!source.valid() || !target.valid()) return fail();
    constexpr unsigned never_replace = 1;  // RENAME_NOREPLACE
    const long result =
        syscall(SYS_renameat2, AT_FDCWD, source.get(), AT_FDCWD, target.get(), never_replace);
    if (result == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return fail();
    return rename_in_steps(source.get(), target.get()) == 0 ? 0 : fail();
}

}  // namespace platform
