// File packages, item by item, whoever wrote them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "files.h"
#include "moltelib.h"

namespace tool {

struct Item {
    FILEPKG_ITEM head;
    std::string folder, name;  // bytes of the machine that packed it
    int64_t position;          // in the package
    int64_t content;           // where that begins
    [[nodiscard]] int64_t length() const;
    [[nodiscard]] bool is_folder() const { return head.bDirectory != 0; }
    [[nodiscard]] bool is_compressed() const { return head.bCompressed != 0 && !is_folder(); }
    [[nodiscard]] std::string path() const;  // with slashes
};

// A package to be read; "-" is standard input, which is kept in a file meanwhile.
class Package {
 public:
    explicit Package(const std::string& argument);

    // Ends the command where there should be an item and is none.
    bool next(Item* item);
    [[nodiscard]] const File& file() const { return *file_; }
    [[nodiscard]] int64_t size() const { return size_; }

 private:
    std::string shown_;
    std::optional<Passing> kept_;
    std::optional<File> file_;
    int64_t size_ = 0, at_ = 0;
};

// A path for a file or folder of this machine below another one, with slashes; none for one that
// leads out of it or names nothing here.
std::optional<std::string> path_below(const Item& item);

}  // namespace tool
