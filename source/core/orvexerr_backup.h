// Turning a growing file over into numbered backups.
#pragma once

#include <cstdint>

namespace molte {

struct GrowingFile {
    const char* folder;
    const char* name;
    const char* extension;
    int64_t total_limit;  // bytes of the backups and the file
    int64_t min_size;     // bytes from which it turns over
};

// What an entry must know of the file before it is written; two calls, no report.
struct FileNow {
    bool exists;
    int64_t size;
    uint64_t device;
    uint64_t number;  // 0 where files have none
};
[[nodiscard]] FileNow look_at(const char* path);

// Renames the file to the next number after making room. Reports nothing and changes no error
// record: the log prints the record behind it.
void turn_over(const GrowingFile& file);

}  // namespace molte
