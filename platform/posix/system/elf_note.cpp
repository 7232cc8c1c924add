#include "system/elf_note.h"

#include <elf.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace platform {

namespace {

constexpr size_t kNotesRead = 8192;  // of one segment at most

// A file, with numbers of its own byte order.
struct ElfFile {
    int fd;
    bool swapped;

    // False when the file ends before.
    [[nodiscard]] bool read(uint64_t offset, void* bytes, size_t size) const {
        return offset <= INT64_MAX &&
               pread(fd, bytes, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
    }

    template <typename T>
    [[nodiscard]] T number(T stored) const {
        uint8_t bytes[sizeof(T)];
        memcpy(bytes, &stored, sizeof bytes);
        if (swapped) std::reverse(bytes, bytes + sizeof bytes);
        return std::bit_cast<T>(bytes);
    }
};

struct Wanted {
    const char* owner;
    uint32_t type;
    uint8_t* content;
    size_t size;
};

size_t padded(uint32_t size) {
    return (size_t{size} + 3) / 4 * 4;
}

// Searches notes: each a head, an owner and a content, both filled up to four bytes.
bool take(const ElfFile& file, const uint8_t* notes, size_t room, const Wanted& wanted) {
    const size_t owner_size = strlen(wanted.owner) + 1;
    Elf32_Nhdr head;  // that of both classes
    while (room >= sizeof head) {
        memcpy(&head, notes, sizeof head);
        notes += sizeof head;
        room -= sizeof head;
        const size_t owner_room = padded(file.number(head.n_namesz));
        const uint32_t size = file.number(head.n_descsz);
        if (owner_room > room || size > room - owner_room) return false;
        const uint8_t* content = notes + owner_room;
        if (file.number(head.n_type) == wanted.type && size == wanted.size &&
            file.number(head.n_namesz) == owner_size &&
            memcmp(notes, wanted.owner, owner_size) == 0) {
            memcpy(wanted.content, content, size);
            return true;
        }
        const size_t whole = std::min(owner_room + padded(size), room);
        notes += whole;
        room -= whole;
    }
    return false;
}

template <typename Header, typename Segment>
NoteResult search(const ElfFile& file, const Wanted& wanted) {
    Header header;
    if (!file.read(0, &header, sizeof header)) return NoteResult::no_elf_file;
    uint64_t place = file.number(header.e_phoff);
    const uint64_t step = file.number(header.e_phentsize);
    if (step < sizeof(Segment)) return NoteResult::none;
    for (unsigned left = file.number(header.e_phnum); left > 0; --left, place += step) {
        Segment segment;
        if (!file.read(place, &segment, sizeof segment)) break;
        if (file.number(segment.p_type) != PT_NOTE) continue;
        uint8_t notes[kNotesRead];
        const size_t size = std::min<uint64_t>(file.number(segment.p_filesz), sizeof notes);
        if (file.read(file.number(segment.p_offset), notes, size) &&
            take(file, notes, size, wanted)) {
            return NoteResult::found;
        }
    }
    return NoteResult::none;
}

}  // namespace

NoteResult read_elf_note(int fd, const char* owner, uint32_t type, uint8_t* content, size_t size) {
    uint8_t ident[EI_NIDENT] = {};
    if (pread(fd, ident, sizeof ident, 0) < 0) return NoteResult::unreadable;
    if (memcmp(ident, ELFMAG, SELFMAG) != 0) return NoteResult::no_elf_file;
    const unsigned char native =
        std::endian::native == std::endian::big ? ELFDATA2MSB : ELFDATA2LSB;
    const ElfFile file{fd, ident[EI_DATA] != native};
    const Wanted wanted{owner, type, content, size};
    return ident[EI_CLASS] == ELFCLASS64 ? search<Elf64_Ehdr, Elf64_Phdr>(file, wanted)
                                         : search<Elf32_Ehdr, Elf32_Phdr>(file, wanted);
}

}  // namespace platform
