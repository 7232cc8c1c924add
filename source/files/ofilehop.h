// What the sources of module "ofilehop" share.
#pragma once

#include <cstdint>

#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/file_handle.h"

namespace molte::handle {

inline constexpr auto kModule = molte::kOfilehop;

using molte::kBadArgument;

// Closes a handle at the end of the block.
class Handle {
 public:
    explicit Handle(ORVEX_HFILE* file) : file_(file) {}
    ~Handle() { ORVEX_HFILE_Close(&file_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    [[nodiscard]] ORVEX_HFILE* get() const { return file_; }
    explicit operator bool() const { return file_ != nullptr; }

 private:
    ORVEX_HFILE* file_;
};

// False is a failure that is reported. A negative position is one, though it is also what a failed
// seek gives.
inline bool seek_to(ORVEX_HFILE* file, int64_t position) {
    return ORVEX_HFILE_Seek(file, position, 0) == position && position >= 0;
}

// Whole transfers at a position; false is a failure that is reported.
inline bool read_at(ORVEX_HFILE* file, void* buffer, int64_t position, int64_t size) {
    return ORVEX_HFILE_ReadS(file, buffer, position, size) == size;
}
inline bool write_at(ORVEX_HFILE* file, const void* data, int64_t position, int64_t size) {
    return ORVEX_HFILE_WriteS(file, data, position, size) == size;
}

// The buffer of a copy: the caller's, or one of at most 4 MB.
class CopyBuffer {
 public:
    CopyBuffer(void* given, int32_t given_size, int64_t length);
    [[nodiscard]] bool valid() const { return data_ != nullptr && size_ > 0; }
    [[nodiscard]] void* data() const { return data_; }
    [[nodiscard]] int32_t size() const { return size_; }

 private:
    Heap<uint8_t> own_;
    void* data_;
    int32_t size_;
};

}  // namespace molte::handle
