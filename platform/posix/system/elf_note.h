// A note of an ELF file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

enum class NoteResult { found, none, no_elf_file, unreadable };

// The content, of exactly size bytes, of the first note of that owner and type in a file that is
// open for reading. Nothing in the file is trusted. unreadable goes with errno.
NoteResult read_elf_note(int fd, const char* owner, uint32_t type, uint8_t* content, size_t size);

}  // namespace platform
