#include "system/systemctl.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "files/descriptor.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constexpr size_t kMostWords = 8;

const char* program() {
    const char* chosen = secure_getenv(PLATFORM_ENVIRONMENT_PREFIX "SYSTEMCTL");
    return chosen != nullptr && chosen[0] == '/' ? chosen : "/usr/bin/systemctl";
}

// How the child begins. What adds to it gives an error number, the first of which is kept.
class Start {
 public:
    Start() {
        note(posix_spawn_file_actions_init(&actions_));
        note(posix_spawnattr_init(&attributes_));
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        note(posix_spawnattr_setsigmask(&attributes_, &none));
        note(posix_spawnattr_setsigdefault(&attributes_, &all));
        note(
            posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    ~Start() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    void prints_to(int fd) { note(posix_spawn_file_actions_adddup2(&actions_, fd, 1)); }
    void gets_nothing_at(int fd, int flags) {
        note(posix_spawn_file_actions_addopen(&actions_, fd, "/dev/null", flags, 0));
    }

    // The child's number; -1 with errno.
    pid_t run(const char* path, char* const* words) {
        // Nothing of what the user set up for this program, such as another bus to talk to.
        const char* const environment[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C",
                                           nullptr};
        pid_t child = -1;
        if (error_ == 0) {
            note(posix_spawn(&child, path, &actions_, &attributes_, words,
                             const_cast<char* const*>(environment)));
        }
        errno = error_;
        return error_ == 0 ? child : -1;
    }

 private:
    void note(int error) {
        if (error_ == 0) error_ = error;
    }

    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
    int error_ = 0;
};

// To the end of what comes, also behind the room. False with errno.
bool read_text(int fd, char* text, size_t room) {
    for (size_t length = 0;;) {
        char rest[256];
        const bool fits = length + 1 < room;
        const ssize_t count =
            read(fd, fits ? text + length : rest, fits ? room - 1 - length : sizeof rest);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        if (fits) length += static_cast<size_t>(count);
        text[length] = '\0';
        if (count == 0) return true;
    }
}

// Its exit code; -1 with errno when that can't be had.
int wait_for_end(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    constexpr int kKilled = 128;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kKilled;
}

// The codes of a start script, which the program keeps to.
DWORD error_of_exit(int code) {
    if (code == 4) return ERROR_ACCESS_DENIED;
    if (code == 5) return ERROR_SERVICE_DOES_NOT_EXIST;
    return ERROR_GEN_FAILURE;
}

bool fail_from_errno() {
    set_last_error_from_errno();
    return false;
}

bool is_told_by(int code) {
    if (code < 0) return fail_from_errno();
    if (code != 0) SetLastError(error_of_exit(code));
    return code == 0;
}

}  // namespace

bool has_systemctl() {
    if (access(program(), X_OK) == 0) return true;
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
}

bool run_systemctl(std::initializer_list<const char*> words, char* output, size_t room) {
    if (!has_systemctl()) return false;
    const char* all[kMostWords + 2] = {program()};
    std::copy_n(words.begin(), std::min(words.size(), kMostWords), all + 1);
    Start start;
    int ends[2] = {-1, -1};
    if (output != nullptr && pipe2(ends, O_CLOEXEC) != 0) return fail_from_errno();
    OpenFile from_child(ends[0]);
    OpenFile to_here(ends[1]);
    // The pipe first: its end may have one of the other two numbers.
    if (output != nullptr) start.prints_to(to_here.get());
    if (output == nullptr) start.gets_nothing_at(1, O_WRONLY);
    start.gets_nothing_at(0, O_RDONLY);
    start.gets_nothing_at(2, O_WRONLY);
    const pid_t child = start.run(all[0], const_cast<char* const*>(all));
    if (child < 0) return fail_from_errno();
    close(to_here.release());
    const bool whole = output == nullptr || read_text(from_child.get(), output, room);
    if (!whole) fail_from_errno();
    close(from_child.release());  // so that a child which still prints ends, too
    const int code = wait_for_end(child);
    return whole && is_told_by(code);
}

}  // namespace platform
