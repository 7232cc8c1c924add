// The folder of a file name as the names of this library are built: what stands before the last
// backslash, up to and with a last colon, else ".". A slash is no delimiter here.
#pragma once

#include <cstring>

#include "core/owners.h"

namespace molte {

// Position behind the last backslash or colon, 0 when there is none.
[[nodiscard]] inline size_t base_name_start(const char* name) {
    size_t at = std::strlen(name);
    while (at > 0 && name[at - 1] != '\\' && name[at - 1] != ':') --at;
    return at;
}

class DirectoryOf {
 public:
    explicit DirectoryOf(const char* file_name) {
        size_t length = base_name_start(file_name);
        if (length == 0) {
            file_name = ".";
            length = 1;
        } else if (file_name[length - 1] == '\\') {
            --length;
        }
        path_ = allocate<char>(static_cast<int64_t>(length) + 1);
        if (path_ == nullptr) return;
        std::memcpy(path_.get(), file_name, length);
        path_[length] = '\0';
    }
    // Null when there was no memory, which is then reported.
    [[nodiscard]] char* path() { return path_.get(); }
    [[nodiscard]] const char* path() const { return path_.get(); }

 private:
    Heap<char> path_;
};

}  // namespace molte
