// Starting programs.
//
// This process makes a helper, the helper makes the process of the program, tells how its exec went
// and ends: so the program is nobody's child who doesn't know of it. The helper is made by the bare
// call of the kernel, as a process that raises no signal at its end and that a wait for any child
// doesn't see; handlers of a fork don't run. Until they exec or end, both make none but calls that
// are safe in a signal handler.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files/path.h"
#include "platform/last_error.h"
#include "platform/processes.h"
#include "system/command_words.h"
#include "system/process_object.h"

namespace {

using platform::CommandWords;
using platform::KernelPath;
using platform::ObjectPointer;
using platform::Process;

constexpr size_t kLongestLine = 32766;
constexpr int kFirstOther = 3;  // descriptor behind the standard ones

struct Program {
    const char* path;
    char* const* words;
    bool own_console;
};

// What the helper tells, and the process itself when it can't become the program.
struct Outcome {
    int error;
    pid_t process;
};

// It lies in memory that they share.
class SharedOutcome {
 public:
    SharedOutcome()
        : memory_(mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0)) {
        if (valid()) *get() = {EINTR, -1};  // unless one of them tells: they may be killed
    }
    ~SharedOutcome() {
        if (valid()) munmap(memory_, sizeof(Outcome));
    }
    SharedOutcome(const SharedOutcome&) = delete;
    SharedOutcome& operator=(const SharedOutcome&) = delete;

    [[nodiscard]] bool valid() const { return memory_ != MAP_FAILED; }
    [[nodiscard]] Outcome* get() const { return static_cast<Outcome*>(memory_); }

 private:
    void* memory_;
};

// No handler of the program's runs in the helper.
class SignalsBlocked {
 public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
    sigset_t before_{};
};

// fork(2) without what the run-time does around it.
pid_t bare_fork(int end_signal) {
    return static_cast<pid_t>(syscall(SYS_clone, end_signal, nullptr, nullptr, nullptr, nullptr));
}

// ---- In the process of the program ----

// One by one, those that there are: the limit may be a thousand million, or lie below some of them.
// They are read by the bare call, for opendir allocates.
void close_listed() {
    close(kFirstOther);  // the list itself needs one
    const int list = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    alignas(dirent64) char names[4096];
    for (long size = 0; (size = syscall(SYS_getdents64, list, names, sizeof names)) > 0;) {
        for (long at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(names + at);
            const int fd = atoi(entry->d_name);
            if (fd >= kFirstOther && fd != list) close(fd);
            at += entry->d_reclen;
        }
    }
    close(list);
}

void close_others() {
    if (close_range(kFirstOther, ~0U, 0) != 0) close_listed();  // an older kernel
}

void reset_signals() {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    for (int signal = 1; signal <= SIGRTMAX; ++signal) sigaction(signal, &standard, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool take_own_console() {
    setsid();
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0) return false;
    for (int fd = 0; fd < kFirstOther; ++fd) {
        // One that is there already would stay closed at exec.
        if (fd == null ? fcntl(fd, F_SETFD, 0) < 0 : dup2(null, fd) < 0) return false;
    }
    return true;
}

[[noreturn]] void become(const Program& program, Outcome* outcome) {
    if (!program.own_console || take_own_console()) {
        reset_signals();
        *outcome = {0, getpid()};
        execve(program.path, program.words, environ);
    }
    outcome->error = errno;
    _exit(127);
}

// ---- In the helper ----

// Returns when nobody has the other end of the pipe.
bool wait_for_end(int pipe) {
    char nothing = 0;
    ssize_t size = 0;
    do size = read(pipe, &nothing, 1);
    while (size < 0 && errno == EINTR);
    return size == 0;
}

// The end of a pipe is closed by exec, and at the end of the process when that fails.
void start(const Program& program, Outcome* outcome) {
    const auto fail = [outcome] { outcome->error = errno; };
    close_others();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return fail();
    // Where a standard descriptor was closed, the pipe may have its number.
    const int kept = fcntl(ends[1], F_DUPFD_CLOEXEC, kFirstOther);
    if (kept < 0) return fail();
    const pid_t process = bare_fork(SIGCHLD);
    if (process < 0) return fail();
    if (process == 0) become(program, outcome);
    close(ends[1]);
    close(kept);
    if (!wait_for_end(ends[0])) return fail();
    // Else it would be left to who inherits orphans, which may be the caller itself.
    if (outcome->error != 0) waitpid(process, nullptr, 0);
}

// ---- In this process ----

// Runs the helper to its end; false with errno when there was none.
bool run_helper(const Program& program, Outcome* outcome) {
    const SignalsBlocked blocked;
    const pid_t helper = bare_fork(0);
    if (helper < 0) return false;
    if (helper == 0) {
        start(program, outcome);
        _exit(0);
    }
    while (waitpid(helper, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) {
    }
    return true;
}

BOOL refuse(DWORD number) {
    SetLastError(number);
    return FALSE;
}

// Whether it isn't the last name of the path alone that is missing.
bool lacks_folder(const char* path) {
    const char* slash = strrchr(path, '/');
    if (slash == nullptr) return *path == '\0';
    char folder[PATH_MAX];
    snprintf(folder, sizeof folder, "%.*s/", static_cast<int>(slash - path), path);
    return access(folder, F_OK) != 0;
}

BOOL not_started(int error, const char* path) {
    switch (error) {
        case ENOEXEC:
            return refuse(ERROR_BAD_EXE_FORMAT);
        case EAGAIN:  // too many processes
            return refuse(ERROR_NOT_ENOUGH_MEMORY);
        case ENOENT:
            return refuse(lacks_folder(path) ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND);
        default:
            return refuse(platform::error_number(error));
    }
}

// Two handles of a process that is yet to be; they are closed unless they are handed over.
class Handles {
 public:
    Handles() : object_(platform::make_object<Process>(-1)) {
        process_ = add_handle(object_);
        if (process_ != nullptr) second_ = add_handle(object_);
    }
    ~Handles() {
        if (process_ != nullptr) CloseHandle(process_);
        if (second_ != nullptr) CloseHandle(second_);
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;

    [[nodiscard]] bool valid() const { return second_ != nullptr; }
    void hand_over(pid_t number, PROCESS_INFORMATION* process) {
        const auto id = static_cast<DWORD>(number);
        static_cast<Process&>(*object_).folder = platform::open_process_folder(id);
        *process = {process_, second_, id, id};
        process_ = second_ = nullptr;
    }

 private:
    ObjectPointer object_;
    HANDLE process_ = nullptr;
    HANDLE second_ = nullptr;
};

}  // namespace

BOOL CreateProcessA(const char* path, char* line, SECURITY_ATTRIBUTES* none,
                    SECURITY_ATTRIBUTES* none_either, BOOL inherit, DWORD flags,
                    void* no_environment, const char* no_folder, STARTUPINFOA* start_info,
                    PROCESS_INFORMATION* process) {
    if (path == nullptr || start_info == nullptr || start_info->cb < sizeof *start_info ||
        process == nullptr) {
        return refuse(ERROR_INVALID_PARAMETER);
    }
    if (none != nullptr || none_either != nullptr || inherit != FALSE ||
        (flags & ~(CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS)) != 0 || no_environment != nullptr ||
        no_folder != nullptr) {
        return refuse(ERROR_NOT_SUPPORTED);
    }
    if (line != nullptr && strnlen(line, kLongestLine + 1) > kLongestLine) {
        return refuse(ERROR_FILENAME_EXCED_RANGE);
    }
    const KernelPath kernel_path(path);
    if (!kernel_path.valid()) return refuse(platform::error_number(errno));
    const platform::Unbroken unbroken;
    const bool has_words = line != nullptr && *line != '\0';
    const CommandWords words =
        has_words ? platform::split_command_line(line) : platform::program_alone(path);
    const SharedOutcome outcome;
    if (words == nullptr || !outcome.valid()) return refuse(ERROR_NOT_ENOUGH_MEMORY);
    Handles handles;
    if (!handles.valid()) return FALSE;
    const bool own_console = (flags & CREATE_NEW_CONSOLE) != 0;
    if (!run_helper({kernel_path.get(), words.get(), own_console}, outcome.get())) {
        return not_started(errno, kernel_path.get());
    }
    if (outcome.get()->error != 0) return not_started(outcome.get()->error, kernel_path.get());
    handles.hand_over(outcome.get()->process, process);
    return TRUE;
}
