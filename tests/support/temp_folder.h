// A folder of the test's own, removed with all it holds at the end, though not by a forked child.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "support/pinned.h"

class TempFolder : public Pinned {
 public:
    TempFolder();
    ~TempFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::string str() const { return path_.string(); }
    // The path of a name in the folder, delimited the way the platform's own tools do.
    [[nodiscard]] std::string operator/(std::string_view name) const;
    // Writes a file of the folder with exactly these bytes; gives its path.
    std::string write(std::string_view name, std::string_view bytes) const;

 private:
    int process_;
    std::filesystem::path path_;
};

// The bytes of a file as they stand; empty when it can't be read.
std::string read_bytes(const std::filesystem::path& file);
// The same of a text, with line ends as a C program sees them.
std::string read_text(const std::filesystem::path& file);
