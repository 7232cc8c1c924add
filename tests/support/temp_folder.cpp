#include "support/temp_folder.h"

#if defined(_WIN32)
#include <process.h>
#define getpid _getpid
#else
#include <unistd.h>
#endif

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

TempFolder::TempFolder() : process_(getpid()) {
    static std::atomic<unsigned> next{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    do {
        path_ = fs::temp_directory_path() /
                ("moltelib-" + std::to_string(now) + "-" + std::to_string(next++));
    } while (!fs::create_directory(path_));
}

TempFolder::~TempFolder() {
    if (process_ != getpid()) return;
    std::error_code ignored;
    // Tests take permissions away; without them nothing could be removed.
    for (fs::recursive_directory_iterator it(path_, ignored), end; it != end;
         it.increment(ignored)) {
        if (!it->is_symlink(ignored)) {
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(path_, ignored);
}

std::string TempFolder::operator/(std::string_view name) const {
    return (path_ / name).string();
}

std::string TempFolder::write(std::string_view name, std::string_view bytes) const {
    const std::string file = *this / name;
    std::ofstream(file, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file;
}

std::string read_bytes(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string read_text(const fs::path& file) {
    std::string text = read_bytes(file);
    std::erase(text, '\r');
    return text;
}
