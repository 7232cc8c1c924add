// What the files of module "ofilepkg" share: the lengths of items, and their full names.
#pragma once

#include <cstdint>

#include "core/modules.h"
#include "core/owners.h"
#include "files/oxdirop.h"
#include "moltelib/byte_field.h"
#include "moltelib/file_package.h"

namespace molte::package {

inline constexpr auto kModule = molte::kOfilepkg;
inline constexpr uint32_t kBadPackage = 128;
inline constexpr uint32_t kTooLarge = 292;
inline constexpr int64_t kHeadSize = sizeof(FILEPKG_HEAD);
inline constexpr int64_t kItemSize = sizeof(FILEPKG_ITEM);
inline constexpr int64_t kAlignment = 8;
inline constexpr int64_t kMostInMemory = 0x40000000;

using Path = molte::directory::WalkPath;

inline int32_t fail_item(int32_t line) {
    return kModule.fail(line, kBadPackage);
}
inline int32_t fail_path(int32_t line, const char* name) {
    return kModule.fail_text(line, kTooLong, SystemError::none, name);
}

// What the head of an item says of its parts.
struct Parts {
    int64_t directory;
    int64_t name;
    int64_t content;

    explicit Parts(const FILEPKG_ITEM& item)
        : directory(Char2To_uint2(item.nDirLen)),
          name(Char2To_uint2(item.nNameLen)),
          content(static_cast<int64_t>(Char8To_uint8(item.n64DataLen))) {}

    // Of both texts with their terminators.
    [[nodiscard]] int64_t texts() const { return directory + name + 2; }
    [[nodiscard]] int64_t whole() const {
        return (kItemSize + texts() + content + kAlignment - 1) / kAlignment * kAlignment;
    }
    // Whether the item lies in what is left of its package.
    [[nodiscard]] bool fit(int64_t left) const {
        return content >= 0 && content <= left - kItemSize - texts() && whole() <= left;
    }
};

// Adds a part behind a separator; false when it doesn't fit.
inline bool add_part(Path* path, const char* part) {
    return path->append("\\") && path->append(part);
}

// Root, folder, which may be null or empty, and name; false when they don't fit. Behind a root that
// doesn't end in ASCII stands a slash: no name behind it makes that a part of its last character.
inline bool build_path(Path* path, const char* root, const char* directory, const char* name) {
    if (!path->append(root)) return false;
    const bool is_ascii = path->length() == 0 || (path->text()[path->length() - 1] & 0x80) == 0;
    if (!path->append(is_ascii ? "\\" : "/")) return false;
    if (directory != nullptr && directory[0] != '\0') {
        return path->append(directory) && add_part(path, name);
    }
    return path->append(name);
}

// Reads and tests the head of the item at a position, and whether the item lies in the package,
// which is LENGTH bytes long. False when that is reported.
bool read_item(ORVEX_HFILE* package, int64_t position, int64_t length, FILEPKG_ITEM* item);

}  // namespace molte::package
