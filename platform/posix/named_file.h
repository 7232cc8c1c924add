// The file that stands for a named object.
//
// It lies in the object folder under the object's name. Who has it open holds a shared lock
// (flock) on it, and who finds nobody else holding one may remove it: as the last to leave, or
// since all who had it open have died. So a name is never in the way after a crash.
#pragma once

#include <memory>
#include <string>

#include "object_state.h"

namespace platform {

class NamedFile {
 public:
    // The file of a name that is in use; null with the last error.
    static std::unique_ptr<NamedFile> open(const char* name);
    // That, or if it isn't in use, a new file of that type and state; existed tells which.
    static std::unique_ptr<NamedFile> open_or_make(const char* name, ObjectType type,
                                                   const State& state, bool* existed);
    // The file of the common bell, which has a name no object can have.
    static std::unique_ptr<NamedFile> open_bell();

    NamedFile() = default;
    ~NamedFile();
    NamedFile(const NamedFile&) = delete;
    NamedFile& operator=(const NamedFile&) = delete;

    // Mapped as long as this object lives.
    [[nodiscard]] ObjectFile& content() const { return *content_; }
    [[nodiscard]] bool same_as(const NamedFile& other) const;
    // Gives the lock up, and removes the file if no other holds one. The content stays mapped.
    void leave();
    // Takes the lock of another opening of the same file, if it has none.
    void rejoin(NamedFile& other);

 private:
    // What an attempt at a name came to.
    enum class Outcome { done, free, taken, failed };
    Outcome open_used(const std::string& path);
    Outcome make(const std::string& folder, const std::string& path, ObjectType type,
                 const State& state);
    bool map(int fd);
    static std::unique_ptr<NamedFile> open_or_make_file(const std::string& file_name,
                                                        ObjectType type, const State& state,
                                                        bool* existed);

    std::string path_;
    int fd_ = -1;  // holds the lock
    std::uint64_t device_ = 0;
    std::uint64_t inode_ = 0;
    ObjectFile* content_ = nullptr;
};

}  // namespace platform
