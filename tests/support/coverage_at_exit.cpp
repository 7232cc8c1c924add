// Part of each test program where coverage is counted: a process that leaves by _exit, or becomes
// another program, writes its counts down as well.
#include <sys/syscall.h>
#include <unistd.h>

// Of the program with failing calls alone, whose turn these are not.
[[gnu::weak]] bool arm(bool from_now_on);

extern "C" {
void __gcov_dump(void);
void __gcov_reset(void);
[[gnu::visibility("default")]] void add_coverage(void (*dump)(void), void (*reset)(void));
}

namespace {

void (*dump_library)() = __gcov_dump;
void (*reset_library)() = __gcov_reset;

void write_down() {
    const bool was_armed = arm != nullptr && arm(false);
    dump_library();
    reset_library();
    __gcov_dump();
    __gcov_reset();
    if (was_armed) arm(true);
}

}  // namespace

void add_coverage(void (*dump)(), void (*reset)()) {
    dump_library = dump;
    reset_library = reset;
}

extern "C" [[gnu::visibility("default")]] void _exit(int status) {
    write_down();
    for (;;) syscall(SYS_exit_group, status);
}
extern "C" [[gnu::visibility("default"), gnu::alias("_exit")]] void _Exit(int status);

extern "C" [[gnu::visibility("default")]] int execve(const char* path, char* const* words,
                                                     char* const* environment) noexcept {
    write_down();
    return static_cast<int>(syscall(SYS_execve, path, words, environment));
}
