// Opening a file after adding "the owner reads and writes" to its mode, for narrow and wide names.
#pragma once

#include <cstdint>

namespace molte::file {

// The descriptor, or a negative value with errno; see ORVEX_FileOpenByChmod.
template <typename Char>
int32_t open_by_chmod(const Char* name, int32_t flags);

}  // namespace molte::file
