// Files that a command reads and makes. What it makes appears whole or not at all: it is written
// beside its place and moved there at the end, and an interrupt leaves nothing behind.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "output.h"

namespace tool {

// "-" is standard input. Ends the command when the file can't be read.
std::string read_whole(const std::string& argument);

// Ends the command when the file or folder exists, unless replacing was asked for.
void refuse_existing(const std::string& argument, bool replace);
// The same for a folder that is to be made; an empty one may be there.
void refuse_filled(const std::string& argument);

// A file or folder beside its place; gone again unless it is kept. Its path is a full one.
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

 private:
    std::filesystem::path place_, beside_;
    bool kept_ = false;
};

// Writes a whole file by way of Beside; it keeps the permissions of the one that it replaces. A
// device or a pipe is written as it stands; "-" is standard output.
void write_whole(Output& out, const std::string& argument, std::string_view data);

}  // namespace tool
