// What bring-up and tear-down add to a process that does nothing else.
#include <cstring>

#if defined(_WIN32)
#include <process.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "moltelib.h"
#include "pair.h"

namespace {

void run(const char* program, const char* role) {
#if defined(_WIN32)
    _spawnl(_P_WAIT, program, program, role, nullptr);
#else
    char* const argv[] = {const_cast<char*>(program), const_cast<char*>(role), nullptr};
    pid_t pid = 0;
    int status = 0;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, environ) == 0) {
        waitpid(pid, &status, 0);
    }
#endif
}

int up_and_down() {
    const bool up = ORVEX_BASE_InitVar() == 1;
    ORVEX_BASE_ReleaseVar();
    return up ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) return std::strcmp(argv[1], "library") == 0 ? up_and_down() : 0;
    molte_bench::pair(
        "process with and without", [argv] { run(argv[0], "library"); },
        [argv] { run(argv[0], "nothing"); }, 25);
    molte_bench::alone("bring-up and tear-down again", [] { molte_bench::keep(up_and_down()); });
}
