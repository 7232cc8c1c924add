// Loading and copying whole files beside what a user would write or call instead. All from the page
// cache.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

void load(const std::string& file) {
    uint8_t* data = nullptr;
    int32_t length = 0;
    if (ORVEX_LoadBinDataFile(file.c_str(), &data, &length) < 1) std::abort();
    ORVEX_free(data);
}

void malloc_and_read(const std::string& file) {
    const auto size = static_cast<size_t>(fs::file_size(file));
    const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    void* data = std::malloc(size);
    if (read(fd, data, size) != static_cast<ssize_t>(size)) std::abort();
    molte_bench::keep(data);
    std::free(data);
    close(fd);
}

void ifstream_read(const std::string& file) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    std::vector<char> data(static_cast<size_t>(stream.tellg()));
    stream.seekg(0);
    stream.read(data.data(), static_cast<std::streamsize>(data.size()));
    molte_bench::keep(data.data());
}

void make(const std::string& file, size_t size) {
    std::string bytes(size, '\0');
    uint64_t value = 88172645463325252;
    for (char& byte : bytes) {
        value ^= value << 13;
        value ^= value >> 7;
        value ^= value << 17;
        byte = static_cast<char>(value);
    }
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(size));
}

void cp(const std::string& source, const std::string& target) {
    std::string words[] = {"cp", "--reflink=never", source, target};
    char* argv[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    pid_t pid = 0;
    int status = 0;
    if (posix_spawnp(&pid, "cp", nullptr, nullptr, argv, environ) != 0) std::abort();
    waitpid(pid, &status, 0);
}

void handle_copy(const std::string& source, const std::string& target) {
    ORVEX_HFILE* from = ORVEX_HFILE_OpenMode(source.c_str(), 32768, 384);
    ORVEX_HFILE* to = ORVEX_HFILE_NewBinaryFile(target.c_str());
    if (ORVEX_HFILE_Copy(to, 0, from, 0, 0, 0, nullptr, 0) != 1) std::abort();
    ORVEX_HFILE_Close(&from);
    ORVEX_HFILE_Close(&to);
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    ORVEX_SetMainPath(root.c_str());
    ORVEX_BASE_InitVar();
    const std::string large = root + "/large";
    const std::string small = root + "/small";
    make(large, size_t{256} << 20);
    make(small, 4096);
    molte_bench::pair(
        "load 256 MiB", "malloc and read", [&] { load(large); }, [&] { malloc_and_read(large); });
    molte_bench::pair(
        "load 256 MiB", "std::ifstream", [&] { load(large); }, [&] { ifstream_read(large); });
    molte_bench::pair(
        "load 4 KiB", "std::ifstream", [&] { load(small); }, [&] { ifstream_read(small); });

    const std::string source = root + "/source";
    make(source, size_t{1} << 30);
    const std::string a = root + "/a";
    const std::string b = root + "/b";
    const auto peer = [&] {
        fs::remove(b);
        cp(source, b);
    };
    molte_bench::pair(
        "copy 1 GiB by handles", "cp",
        [&] {
            fs::remove(a);
            handle_copy(source, a);
        },
        peer, 7);
    molte_bench::pair(
        "copy 1 GiB by name", "cp",
        [&] {
            fs::remove(a);
            if (ORVEX_FileCopy(source.c_str(), a.c_str(), 0) != 1) std::abort();
        },
        peer, 7);
    ORVEX_BASE_ReleaseVar();
    fs::remove_all(root);
}
