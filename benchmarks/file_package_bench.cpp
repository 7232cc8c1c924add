// Packing 20,000 files of 2 KiB, and listing them, beside GNU tar. All from the page cache.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

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
constexpr size_t kFileSize = 2048;

void tar(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    int status = 0;
    if (posix_spawnp(&pid, "tar", &actions, nullptr, argv.data(), environ) != 0) std::abort();
    waitpid(pid, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    if (status != 0) std::abort();
}

void pack(const std::string& package, const std::string& root) {
    if (FILEPKG_NewPkgFile(package.c_str(), root.c_str(), nullptr, "tree", nullptr, 0) != 1) {
        std::abort();
    }
}

void list(const std::string& package) {
    OXFILESTAT* items = nullptr;
    if (FILEPKG_GetItemList(package.c_str(), &items) != kFolders * (kFilesInEach + 1) + 1) {
        std::abort();
    }
    ORVEX_free(items);
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    ORVEX_SetMainPath(root.c_str());
    ORVEX_BASE_InitVar();
    for (int folder = 0; folder < kFolders; ++folder) {
        const std::string path = root + "/tree/folder" + std::to_string(folder);
        fs::create_directories(path);
        for (int file = 0; file < kFilesInEach; ++file) {
            std::ofstream(path + "/file" + std::to_string(file))
                << std::string(kFileSize, static_cast<char>('a' + file % 26));
        }
    }
    const std::string ours = root + "/ours.pkg";
    const std::string theirs = root + "/theirs.tar";
    molte_bench::pair(
        "pack 20,000 files of 2 KiB", "tar",
        [&] {
            fs::remove(ours);
            pack(ours, root);
        },
        [&] {
            fs::remove(theirs);
            tar({"tar", "cf", theirs, "-C", root, "tree"});
        });
    molte_bench::pair(
        "list a package of them", "tar", [&] { list(ours); },
        [&] {
            tar({"tar", "tf", theirs});
        });
    ORVEX_BASE_ReleaseVar();
    fs::remove_all(root);
}
