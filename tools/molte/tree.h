// What stands below a folder and can go into a package or to another machine.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tool.h"

namespace tool {

struct Entry {
    std::string path;  // below the folder, for the library, with slashes
    OXFILESTAT state;  // without a name

    [[nodiscard]] bool is_folder() const { return ORVEX_FileIsDirByMode(&state) != 0; }
    [[nodiscard]] int64_t size() const;  // 0 of a folder
    [[nodiscard]] std::string folder() const;
    [[nodiscard]] std::string name() const;
};

// In the order of their names, each folder before what it holds. Links to files count as files.
// What can't be taken along is told with its reason: links to folders, what is neither file nor
// folder, what can't be read, and names that aren't the same on the other side.
using LeftBehind = std::function<void(const std::string& path, const std::string& reason)>;
std::vector<Entry> entries_of(const std::filesystem::path& folder, const LeftBehind& left_behind);

// Of a file or folder by its full name, for the library; none when it can't be had.
bool state_of(const std::string& name, OXFILESTAT* state);

// A name or a path of a package or of a peer, which may hold anything, as a person sees it.
std::string name_text(const Tool& tool, const std::string& bytes);

}  // namespace tool
