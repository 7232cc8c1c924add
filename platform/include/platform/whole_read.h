// Reading whole files in few steps.
#pragma once

#include "platform/files.h"

namespace platform {

// Opens a file to be read from its start and tells its state. A pipe doesn't hold the caller up. As
// _open otherwise.
int open_to_read(const char* name, struct _stat64* status);
int open_to_read(const wchar_t* name, struct _stat64* status);

// Fills a fresh heap block with the first SIZE bytes of a file, whose position is then anywhere. As
// _read otherwise, in its result too; a large block is filled the fastest way, by two threads.
int read_from_start(int fd, void* block, unsigned size);

}  // namespace platform
