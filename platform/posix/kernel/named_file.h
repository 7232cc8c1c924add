// The file that stands for a named object.
//
// It lies in the object folder under the object's name. Who has it open holds a shared lock
// (flock) on it, and who finds nobody else holding one may remove it: as the last to leave, or
// since all who had it open have died. So a name is never in the way after a crash.
//
// Such a lock belongs to an opening of the file, which a forked child would have in common with its
// parent. So another opening is made before each fork and goes to the child: neither is ever
// without a lock, whoever runs first.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "kernel/mapped_record.h"
#include "kernel/object_folder.h"
#include "kernel/object_state.h"

namespace platform {

// What a file begins with.
struct NewFile {
    ObjectType type;
    const State& state;
    const MappedRecord* mapped = nullptr;  // of a mapping
    int file = -1;                         // that it is of; -1: of memory
};

class NamedFile {
 public:
    // The file of a name that is in use; null with the last error.
    static std::unique_ptr<NamedFile> open(const char* name);
    // That, or if it isn't in use, a new file; existed tells which.
    static std::unique_ptr<NamedFile> open_or_make(const char* name, const NewFile& begin,
                                                   bool* existed);
    // The file of the common bell.
    static std::unique_ptr<NamedFile> open_bell();

    ~NamedFile();
    NamedFile(const NamedFile&) = delete;
    NamedFile& operator=(const NamedFile&) = delete;

    // Mapped as long as this object lives.
    [[nodiscard]] ObjectFile& content() const { return *content_; }
    // The same of a mapping.
    [[nodiscard]] const MappingFile& mapping() const;
    // Another descriptor of the file, without a lock; -1 with errno.
    [[nodiscard]] int open_again() const;
    [[nodiscard]] bool same_as(const NamedFile& other) const;
    // Gives the lock up, and removes the file if no other holds one. The content stays mapped.
    void leave();
    // Takes the lock of another opening of the same file, if it has none.
    void rejoin(NamedFile& other);
    // Before a fork makes the opening for the child; after it lets each process keep its own. Where
    // the file can't be opened again both have the parent's, and neither removes it: who opens the
    // name when both are gone does.
    void open_for_child();
    void keep_own(bool child);

 private:
    // What an attempt at a name came to.
    enum class Outcome { done, free, taken, failed };

    NamedFile() = default;
    static std::unique_ptr<NamedFile> for_path(const PathText& path);
    static std::unique_ptr<NamedFile> open_or_make_file(const PathText& folder,
                                                        const PathText& path, const NewFile& begin,
                                                        bool* existed);
    static void remove_stale(const PathText& folder);
    Outcome open_used();
    Outcome make(const PathText& folder, const NewFile& begin);
    bool map(int fd, ObjectType type);
    void keep(int fd);

    char* path_ = nullptr;
    int fd_ = -1;        // holds the lock
    pid_t process_ = 0;  // whose lock it is
    int child_fd_ = -1;  // while the process forks
    std::uint64_t device_ = 0;
    std::uint64_t inode_ = 0;
    ObjectFile* content_ = nullptr;
    std::size_t mapped_ = 0;
};

}  // namespace platform
