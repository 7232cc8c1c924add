#include "platform/replacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "files/descriptor.h"
#include "files/path.h"
#include "system/failure.h"

namespace platform {

namespace {

constexpr int kMostLinks = 40;  // as the kernel
constexpr unsigned kPermission = 0777;

bool too_long() {
    errno = ENAMETOOLONG;
    return false;
}

// Where the last name of a path leads in the end, be it there or not; false with errno.
bool follow_links(const char* path, char (&target)[kLongestPath]) {
    size_t length = strlen(path);
    if (length >= sizeof target) return too_long();
    memcpy(target, path, length + 1);
    char link[kLongestPath];
    for (int links = 0; links < kMostLinks; ++links) {
        const ssize_t size = readlink(target, link, sizeof link - 1);
        if (size < 0) return errno == EINVAL || errno == ENOENT;
        link[size] = '\0';
        char* slash = strrchr(target, '/');
        char* place = link[0] == '/' || slash == nullptr ? target : slash + 1;
        length = static_cast<size_t>(size);
        if (length >= static_cast<size_t>(target + sizeof target - place)) return too_long();
        memcpy(place, link, length + 1);
    }
    errno = ELOOP;
    return false;
}

}  // namespace

int find_target(const char* name, char (&target)[kLongestPath]) {
    const KernelPath path(name);
    struct stat state;
    const bool there = path.valid() && stat(path.get(), &state) == 0;
    if (!path.valid() || (!there && errno != ENOENT)) return fail();
    if (there && !S_ISREG(state.st_mode)) return 0;
    if (there && faccessat(AT_FDCWD, path.get(), W_OK, AT_EACCESS) != 0) return fail();
    return follow_links(path.get(), target) ? 1 : fail();
}

int make_beside(const char* target, const char* beside) {
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL;
    struct stat old;
    if (stat(target, &old) != 0) return open_file(beside, flags, 0666);
    OpenFile file(open_file(beside, flags, S_IRUSR | S_IWUSR));
    if (!file.valid()) return -1;
    // Root can give a file away, others only to a group of theirs; a file system without owners and
    // permissions refuses both.
    if (fchown(file.get(), old.st_uid, old.st_gid) != 0) {
        (void)!fchown(file.get(), static_cast<uid_t>(-1), old.st_gid);
    }
    (void)!fchmod(file.get(), old.st_mode & kPermission);
    return file.release();
}

int replace_file(const char* from, const char* target) {
    return rename(from, target) == 0 ? 0 : fail();
}

}  // namespace platform
