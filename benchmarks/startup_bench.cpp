// What bring-up and tear-down, with a parameter file and string resources, add to a process that
// does nothing else.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;

void run(std::string role, std::string installation) {
    std::string program = "startup_bench";
    char* const argv[] = {program.data(), role.data(), installation.data(), nullptr};
    pid_t pid = 0;
    int status = 0;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv, environ) != 0 ||
        waitpid(pid, &status, 0) != pid || status != 0) {
        std::abort();
    }
}

int up_and_down(const char* installation) {
    ORVEX_SetMainPath(installation);
    const bool up = ORVEX_BASE_InitVar() == 1;
    const bool speaks = std::string(GetRVEXErrStrByErrno(1)) != "Unknown";
    ORVEX_BASE_ReleaseVar();
    return up && speaks ? 0 : 1;
}

std::string make_installation() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    fs::copy(RESOURCE_FOLDER, root + "/resource", fs::copy_options::recursive);
    fs::create_directory(root + "/CONF");
    fs::copy_file(RESOURCE_FOLDER "/rvexinit.ini", root + "/CONF/rvexinit.ini");
    return root;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2) return std::string(argv[1]) == "library" ? up_and_down(argv[2]) : 0;
    const std::string root = make_installation();
    molte_bench::pair(
        "process that comes up", "process without", [&] { run("library", root); },
        [&] { run("nothing", root); }, 25);
    molte_bench::alone("bring-up and tear-down again",
                       [&] { molte_bench::keep(up_and_down(root.c_str())); });
    fs::remove_all(root);
}
