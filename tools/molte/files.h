// Files that a command reads and makes. What it makes appears whole or not at all: it is written
// beside its place and moved there at the end, and an interrupt leaves nothing behind.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "moltelib.h"
#include "output.h"
#include "text.h"

namespace tool {

// A handle of the library, closed at the end.
class File {
 public:
    File(const std::string& library_name, int32_t flags, int32_t permission, std::string failed);
    File(ORVEX_HFILE* own, std::string failed) : failed_(std::move(failed)), handle_(own) {}
    ~File() { ORVEX_HFILE_Close(&handle_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] ORVEX_HFILE* get() const { return handle_; }
    [[nodiscard]] int64_t size() const;
    void write(std::string_view bytes, int64_t position) const;
    void close();  // a failure ends the command

 private:
    std::string failed_;
    ORVEX_HFILE* handle_;
};

// Some functions of the library make a file writable that they open by its name: its permissions
// are put back at the end.
class PermissionsKept {
 public:
    explicit PermissionsKept(const std::string& argument);
    ~PermissionsKept();
    PermissionsKept(const PermissionsKept&) = delete;
    PermissionsKept& operator=(const PermissionsKept&) = delete;

 private:
    std::filesystem::path path_;
    std::filesystem::file_status before_;
};

// "-" is standard input. Ends the command when the file can't be read.
std::string read_whole(const std::string& argument);

// "out/" and "out" are one folder; its name and its parent are those of "out".
std::filesystem::path without_last_slash(const std::filesystem::path& place);

// A pipe or a device, which has no length and is read once.
bool is_stream(const std::string& argument);

// Ends the command when the file or folder exists, unless replacing was asked for, or when there is
// no folder for it.
void refuse_existing(const std::string& argument, bool replace);
// The same for a folder that is to be made; an empty one may be there.
void refuse_filled(const std::string& argument);

// A folder for files that pass by, among the temporary ones and nobody else's; gone at the end.
class Passing {
 public:
    Passing();
    ~Passing();
    Passing(const Passing&) = delete;
    Passing& operator=(const Passing&) = delete;

    [[nodiscard]] std::string file() const { return path_text(folder_ / "file"); }

 private:
    std::filesystem::path folder_;
};

// A file or folder beside its place; gone again unless it is kept. Its path is a full one. A link
// stays one: what it leads to is replaced.
class Beside {
 public:
    explicit Beside(const std::string& argument);
    ~Beside();
    Beside(const Beside&) = delete;
    Beside& operator=(const Beside&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return beside_; }
    [[nodiscard]] std::string for_library() const;
    // Moved to its place; replaces a file that is there, or an empty folder by a folder.
    void keep();
    // The same for a file, with the permissions of the one that it replaces or of any new one.
    void keep_file();

 private:
    std::filesystem::path place_, beside_;
    bool kept_ = false;
};

// Writes a whole file by way of Beside. A device or a pipe is written as it stands; "-" is
// standard output.
void write_whole(Output& out, const std::string& argument, std::string_view data);

}  // namespace tool
