// New content for a file, which takes the place of the old in one step.
#pragma once

#include <cstddef>

#include "platform/files.h"

namespace platform {

inline constexpr std::size_t kLongestPath = 4096;

// Written beside the file, under its name with a number and ".tmp", and renamed over it at the end:
// who opens the file finds the old content or the new one, whatever fails in between. A process
// that is ended leaves what it wrote beside, and no more.
//
// The new file gets permission and owner of the old one as far as the system lets this process
// give them; on Windows it gets what its folder gives. Another name of the old file (a hard link)
// keeps the old content. What is no plain file, a device or a pipe, is written where it is; on
// Windows so is what a symbolic link leads to, and a file that somebody else holds open, in a copy
// at the end.
class Replacement {
 public:
    Replacement() = default;
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Each is false with errno. A file that this process may not write is EACCES, though it could
    // be replaced. A symbolic link stays; what it leads to is replaced.
    bool open(const char* name);
    bool write(const void* bytes, unsigned size);
    // Waits until all is on the disk, then puts it in place.
    bool finish();

 private:
    bool open_beside();

    int fd_ = -1;
    char target_[kLongestPath];         // the plain file to replace
    char beside_[kLongestPath + 16]{};  // empty when there is nothing to put in place
};

// ---- What each platform supplies ----

// Writes the path of the plain file that is or would be replaced for a name, behind links. 1; 0 for
// what can't be replaced; -1 with errno for what may not be written.
int find_target(const char* name, char (&target)[kLongestPath]);

// Makes a file that must not exist yet, to be written, for what is to replace the target; as _open.
int make_beside(const char* target, const char* beside);

// Renames over what is there. 0, or -1 with errno.
int replace_file(const char* from, const char* target);

}  // namespace platform
