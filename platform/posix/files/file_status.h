// From the kernel's state of a file to the library's.
#pragma once

#include "platform/files.h"

namespace platform {

void fill_status(const struct stat& from, struct _stat64* to);

}  // namespace platform
