// What the files of module "oxdirop" share: a find that closes itself, and a path that grows and
// shrinks with a walk; and the folder of a file name.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/directory.h"
#include "moltelib/file.h"
#include "platform/files.h"

namespace molte::directory {

inline constexpr auto kModule = molte::kOxdirop;
inline constexpr uint32_t kEmptyName = 27;
inline constexpr uint32_t kNameTooLong = 1001;

inline bool is_folder(const OXSTAT64& state) {
    return (state.st_mode & _S_IFDIR) != 0;
}

inline int32_t too_long(int32_t line, const char* name) {
    return kModule.fail_text(line, kNameTooLong, SystemError::none, name);
}

inline bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// Position behind the last backslash or colon, 0 when there is none.
[[nodiscard]] inline size_t base_name_start(const char* name) {
    size_t at = std::strlen(name);
    while (at > 0 && name[at - 1] != '\\' && name[at - 1] != ':') --at;
    return at;
}

// The folder of a file name as the names of this library are built: what stands before the last
// backslash, up to and with a last colon, else ".". A slash is no delimiter here.
class DirectoryOf {
 public:
    explicit DirectoryOf(const char* file_name);
    // Null when there was no memory, which is then reported.
    [[nodiscard]] char* path() { return path_.get(); }
    [[nodiscard]] const char* path() const { return path_.get(); }

 private:
    Heap<char> path_;
};

// What makes a folder's name, in which * and ? are letters, the pattern of all its entries. An
// empty name stays one, and so doesn't stand for the root.
const char* all_entries(const char* folder);

// One walk over the entries that match a pattern, which is given in two parts. With names_only the
// entries tell their name and kind, which is faster.
class Find {
 public:
    Find(const char* start, const char* rest, bool names_only = true);
    ~Find() {
        if (handle_ != -1) ORVEX_FileFindClose(handle_);
    }
    Find(const Find&) = delete;
    Find& operator=(const Find&) = delete;

    [[nodiscard]] bool found() const { return found_; }
    // The handle, which is then to be closed by its new owner.
    [[nodiscard]] int64_t release() {
        const int64_t handle = handle_;
        handle_ = -1;
        return handle;
    }
    void next() { found_ = ORVEX_FileFindNext(handle_, &data_) > 0; }

    [[nodiscard]] const char* name() const { return data_.cFileName; }
    [[nodiscard]] const OXFINDDATA& data() const { return data_; }
    [[nodiscard]] bool is_dots() const {
        return std::strcmp(name(), ".") == 0 || std::strcmp(name(), "..") == 0;
    }
    // A symbolic link, or what else stands for another place.
    [[nodiscard]] bool is_link() const;
    // A folder, or a link to one.
    [[nodiscard]] bool leads_to_folder() const;
    // The state of the entry in its folder; 0, or -1 with errno.
    int32_t state(const char* folder, OXSTAT64* out) const;

 private:
    OXFINDDATA data_{};
    int64_t handle_ = -1;
    bool found_ = false;
};

// A path in a buffer of its own. What doesn't fit is refused, and the path stays as it was.
class WalkPath {
 public:
    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] size_t length() const { return length_; }
    // For calls that change the text while they run.
    [[nodiscard]] char* buffer() { return text_; }
    [[nodiscard]] bool append(const char* part) {
        const size_t size = std::strlen(part);
        if (size >= sizeof text_ - length_) return false;
        std::memcpy(text_ + length_, part, size + 1);
        length_ += size;
        return true;
    }
    // To begin with: -1, reported, for null and what doesn't fit.
    int32_t start_at(const char* folder) {
        if (folder == nullptr) return kModule.fail(here(), kEmptyName);
        return append(folder) ? 1 : too_long(here(), folder);
    }
    void cut(size_t length) {
        length_ = length;
        text_[length] = '\0';
    }

 private:
    char text_[4400] = "";
    size_t length_ = 0;
};

}  // namespace molte::directory
