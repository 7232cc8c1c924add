// What the file of a named mapping holds: where its content lies. Memory lies in the same file.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>

#include "kernel/object_state.h"

namespace platform {

struct MappedRecord {
    std::uint64_t size;      // in bytes
    std::uint32_t writable;  // 0 or 1
    std::uint32_t of_file;   // 0: memory
    // Of a file: which one it is, and the path it had.
    std::uint64_t device;
    std::uint64_t inode;
    char path[PATH_MAX];
};

struct MappingFile {
    ObjectFile head;
    MappedRecord record;
};
static_assert(sizeof(MappingFile) == 64 + 32 + 4096);

// Where memory begins in the file: a multiple of every size of pages.
constexpr std::uint64_t kMemoryBegin = 65536;
static_assert(sizeof(MappingFile) <= kMemoryBegin);

}  // namespace platform
