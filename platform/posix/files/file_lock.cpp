// Record locks: open-file-description locks, which belong to a descriptor and not to the process.
#include <fcntl.h>

#include <ctime>

#include "platform/files.h"
#include "system/failure.h"

using platform::fail;

namespace {

constexpr int kTries = 10;

void wait_one_second() {
    timespec left = {.tv_sec = 1, .tv_nsec = 0};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

int fail_locked(int number) {
    errno = number;
    SetLastError(ERROR_LOCK_VIOLATION);
    return -1;
}

// An exclusive lock needs a descriptor that may write.
short lock_type(int open_flags) {
    return (open_flags & O_ACCMODE) == O_RDONLY ? F_RDLCK : F_WRLCK;
}

}  // namespace

int _locking(int fd, int mode, long size) {
    if (mode < _LK_UNLCK || mode > _LK_NBRLCK || size < 0) return fail(EINVAL);
    const bool waits = mode == _LK_LOCK || mode == _LK_RLCK;
    const int open_flags = fcntl(fd, F_GETFL);
    if (open_flags < 0) return fail();
    struct flock range = {};
    range.l_type = mode == _LK_UNLCK ? static_cast<short>(F_UNLCK) : lock_type(open_flags);
    range.l_whence = SEEK_CUR;
    range.l_len = size;
    // For the kernel a size of 0 would be all there is.
    if (size == 0) return 0;
    for (int tries = 1; fcntl(fd, F_OFD_SETLK, &range) != 0; ++tries) {
        if (errno != EAGAIN && errno != EACCES) return fail();
        if (!waits) return fail_locked(EACCES);
        if (tries == kTries) return fail_locked(EDEADLK);
        wait_one_second();
    }
    return 0;
}
