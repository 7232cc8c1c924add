// A find that closes itself, and a path that grows and shrinks with a walk.
#pragma once

#include <cstdint>
#include <cstring>

#include "moltelib/directory.h"
#include "moltelib/file.h"

namespace molte {

// As ORVEX_FileFindFirst; with names_only the entries tell their name and kind, which is faster.
int64_t find_first(const char* name, OXFINDDATA* data, bool names_only);

// One walk over the names in a folder.
class Find {
 public:
    explicit Find(const char* folder_or_pattern, bool names_only = true)
        : handle_(find_first(folder_or_pattern, &data_, names_only)), found_(handle_ != -1) {}
    ~Find() {
        if (handle_ != -1) ORVEX_FileFindClose(handle_);
    }
    Find(const Find&) = delete;
    Find& operator=(const Find&) = delete;

    [[nodiscard]] bool found() const { return found_; }
    void next() { found_ = ORVEX_FileFindNext(handle_, &data_) > 0; }

    [[nodiscard]] const char* name() const { return data_.cFileName; }
    [[nodiscard]] const OXFINDDATA& data() const { return data_; }
    [[nodiscard]] bool is_dots() const {
        return std::strcmp(name(), ".") == 0 || std::strcmp(name(), "..") == 0;
    }
    // A symbolic link, or what else stands for another place.
    [[nodiscard]] bool is_link() const;
    // The state of the entry in its folder; 0, or -1 with errno.
    int32_t state(const char* folder, OXSTAT64* out) const;

 private:
    OXFINDDATA data_{};
    int64_t handle_;
    bool found_;
};

// A path in a buffer of its own. What doesn't fit is refused, and the path stays as it was.
class WalkPath {
 public:
    [[nodiscard]] const char* text() const { return text_; }
    [[nodiscard]] size_t length() const { return length_; }
    [[nodiscard]] bool append(const char* part) {
        const size_t size = std::strlen(part);
        if (size >= sizeof text_ - length_) return false;
        std::memcpy(text_ + length_, part, size + 1);
        length_ += size;
        return true;
    }
    void cut(size_t length) {
        length_ = length;
        text_[length] = '\0';
    }

 private:
    char text_[4400] = "";
    size_t length_ = 0;
};

}  // namespace molte
