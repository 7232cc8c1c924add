// What processes of this platform alone can do to themselves.
#pragma once

#if !defined(_WIN32)

#include "support/common.h"

// The exit code of a forked child that does this; -1 when it was killed, as it is when it hangs.
inline int in_fork(const std::function<int()>& run) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        _exit(run());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// No file of this process may grow beyond so many bytes meanwhile: as on a disk that fills up.
class FileSizeLimit : public Pinned {
 public:
    explicit FileSizeLimit(rlim_t most) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{most, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

 private:
    void (*handler_)(int);
    rlimit before_{};
};

#endif
