// The text file behind the registry.
#pragma once

#include <string_view>

#include "platform/registry.h"
#include "registry/registry_text.h"

namespace platform {

// All give 0 or a number of the last error. A path is that of a key below HKEY_LOCAL_MACHINE.

// ERROR_FILE_NOT_FOUND when there is no such key.
DWORD registry_find_key(std::string_view path);

// ERROR_FILE_NOT_FOUND when the key has no such value, or it isn't one that can be read.
DWORD registry_read(std::string_view path, std::string_view name, RegistryValue& value);

DWORD registry_write(std::string_view path, std::string_view name, const RegistryValue& value);

// Makes the key unless it is there, which existed then tells.
DWORD registry_make_key(std::string_view path, bool* existed);

// Whether this process may change anything.
DWORD registry_check_writable();

}  // namespace platform
