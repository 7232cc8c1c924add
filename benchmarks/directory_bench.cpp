// A list of 20,000 files with their states beside find, which prints the same fields, and beside
// std::filesystem.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 200;
constexpr int kFilesInEach = 100;

void list(const std::string& root) {
    OXFILESTAT* files = nullptr;
    const int32_t count = ORVEX_RecurGetFileListLong(root.c_str(), &files);
    if (count != kFolders * kFilesInEach) std::abort();
    ORVEX_free(files);
}

void find(const std::string& root) {
    std::string words[] = {"find", root,      "-type",
                           "f",    "-printf", "%s %m %T@ %C@ %A@ %G %U %D %n %P\\n"};
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    int status = 0;
    if (posix_spawnp(&pid, "find", &actions, nullptr, argv.data(), environ) != 0) std::abort();
    waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
}

struct Entry {
    std::string name;
    uintmax_t size;
    fs::file_time_type modified;
    fs::perms mode;
    uintmax_t links;
};

void filesystem(const std::string& root) {
    std::vector<Entry> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        entries.push_back({fs::path(entry.path()).lexically_relative(root).string(),
                           entry.file_size(), entry.last_write_time(), entry.status().permissions(),
                           entry.hard_link_count()});
    }
    molte_bench::keep(entries.data());
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    for (int folder = 0; folder < kFolders; ++folder) {
        const std::string path = root + "/folder" + std::to_string(folder);
        fs::create_directory(path);
        for (int file = 0; file < kFilesInEach; ++file) {
            std::ofstream(path + "/file" + std::to_string(file)) << file;
        }
    }
    molte_bench::pair(
        "list of 20,000 files", "find", [&] { list(root); }, [&] { find(root); });
    molte_bench::pair(
        "list of 20,000 files", "std::filesystem", [&] { list(root); }, [&] { filesystem(root); });
    fs::remove_all(root);
}
