#include "named_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "descriptor.h"
#include "object_folder.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constexpr char kMagic[8] = {'K', 'O', 'B', 'J', 'E', 'C', 'T', '\n'};
constexpr std::uint32_t kVersion = 1;

// Waits, unless told not to: only behind someone who is about to remove the file.
bool lock_file(int fd, int operation) {
    int result = 0;
    do {
        result = flock(fd, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Whether the path still leads to the open file.
bool leads_to(const std::string& path, int fd) {
    struct stat named {};
    struct stat opened {};
    return lstat(path.c_str(), &named) == 0 && fstat(fd, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

// Only a file of this user and layout is ever mapped, and only one of full length: to touch what
// lies behind the end of a mapped file ends a process.
DWORD why_refused(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return error_number(errno);
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) return ERROR_ACCESS_DENIED;
    unsigned char bytes[offsetof(ObjectFile, state)];
    if (status.st_size != sizeof(ObjectFile) ||
        pread(fd, bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes) ||
        std::memcmp(bytes, kMagic, sizeof kMagic) != 0) {
        return ERROR_INVALID_DATA;
    }
    std::uint32_t version = 0;
    std::memcpy(&version, bytes + offsetof(ObjectFile, version), sizeof version);
    return version == kVersion ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

std::unique_ptr<NamedFile> no_file(DWORD number) {
    SetLastError(number);
    return nullptr;
}

}  // namespace

NamedFile::~NamedFile() {
    if (fd_ >= 0) ::close(fd_);
    if (content_ != nullptr) munmap(content_, sizeof *content_);
}

bool NamedFile::map(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return false;
    void* place = mmap(nullptr, sizeof(ObjectFile), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (place == MAP_FAILED) return false;
    content_ = static_cast<ObjectFile*>(place);
    device_ = status.st_dev;
    inode_ = status.st_ino;
    return true;
}

// After the shared lock is ours the file may have lost its name to one who found it unlocked, in
// which case the name is tried anew. As long as we hold the lock it then keeps its name.
NamedFile::Outcome NamedFile::open_used(const std::string& path) {
    for (;;) {
        OpenFile file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
        if (!file.valid()) {
            if (errno == ENOENT) return Outcome::free;
            SetLastError(errno == ELOOP ? ERROR_ACCESS_DENIED : error_number(errno));
            return Outcome::failed;
        }
        if (const DWORD refusal = why_refused(file.get()); refusal != ERROR_SUCCESS) {
            SetLastError(refusal);
            return Outcome::failed;
        }
        if (lock_file(file.get(), LOCK_EX | LOCK_NB)) {  // all who had it open have died
            if (leads_to(path, file.get())) unlink(path.c_str());
            continue;
        }
        if (!lock_file(file.get(), LOCK_SH)) break;
        if (!leads_to(path, file.get())) continue;
        if (!map(file.get())) break;
        path_ = path;
        fd_ = file.release();
        return Outcome::done;
    }
    set_last_error_from_errno();
    return Outcome::failed;
}

// The file gets its name when it is complete and locked, so nobody ever sees half of one, and
// nothing is left of it if we die before.
NamedFile::Outcome NamedFile::make(const std::string& folder, const std::string& path,
                                   ObjectType type, const State& state) {
    OpenFile file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    const unsigned char room[sizeof(ObjectFile)] = {};  // also takes the memory it will need
    const std::string own_path = "/proc/self/fd/" + std::to_string(file.get());
    if (!file.valid() || fchmod(file.get(), 0600) != 0 ||
        ::write(file.get(), room, sizeof room) != static_cast<ssize_t>(sizeof room) ||
        !lock_file(file.get(), LOCK_SH) || !map(file.get())) {
        set_last_error_from_errno();
        return Outcome::failed;
    }
    content_ = new (content_) ObjectFile{{}, kVersion, type, sizeof(ObjectFile), {}};
    std::memcpy(content_->magic, kMagic, sizeof kMagic);
    content_->state.word.store(state.word.load());
    content_->state.depth = state.depth;
    content_->state.limit = state.limit;
    // A mutex that is owned from the start is in the owner's list before anyone sees it.
    std::optional<RobustOperation> owning;
    if (state.depth > 0) owning.emplace(content_->state.links);
    if (linkat(AT_FDCWD, own_path.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        if (state.depth > 0) robust_list_add(content_->state.links);
        path_ = path;
        fd_ = file.release();
        return Outcome::done;
    }
    if (errno == EEXIST) return Outcome::taken;
    set_last_error_from_errno();
    return Outcome::failed;
}

std::unique_ptr<NamedFile> NamedFile::open(const char* name) {
    std::string folder;
    std::string file_name;
    if (!object_folder(&folder) || !object_file_name(name, &file_name)) return nullptr;
    auto file = std::make_unique<NamedFile>();
    switch (file->open_used(folder + "/" + file_name)) {
        case Outcome::done:
            return file;
        case Outcome::free:
            return no_file(ERROR_FILE_NOT_FOUND);
        default:
            return nullptr;
    }
}

std::unique_ptr<NamedFile> NamedFile::open_or_make_file(const std::string& file_name,
                                                        ObjectType type, const State& state,
                                                        bool* existed) {
    std::string folder;
    if (!object_folder(&folder)) return nullptr;
    const std::string path = folder + "/" + file_name;
    Outcome outcome = Outcome::taken;
    while (outcome == Outcome::taken) {
        auto file = std::make_unique<NamedFile>();
        outcome = file->open_used(path);
        *existed = outcome == Outcome::done;
        if (outcome == Outcome::free) outcome = file->make(folder, path, type, state);
        if (outcome == Outcome::done) return file;
    }
    return nullptr;
}

std::unique_ptr<NamedFile> NamedFile::open_or_make(const char* name, ObjectType type,
                                                   const State& state, bool* existed) {
    std::string file_name;
    if (!object_file_name(name, &file_name)) return nullptr;
    return open_or_make_file(file_name, type, state, existed);
}

std::unique_ptr<NamedFile> NamedFile::open_bell() {
    bool existed = false;
    auto file = open_or_make_file("bell", ObjectType::bell, {}, &existed);
    if (file == nullptr || file->content().type == ObjectType::bell) return file;
    return no_file(ERROR_INVALID_DATA);
}

bool NamedFile::same_as(const NamedFile& other) const {
    return device_ == other.device_ && inode_ == other.inode_;
}

void NamedFile::leave() {
    if (fd_ < 0) return;
    if (lock_file(fd_, LOCK_EX | LOCK_NB) && leads_to(path_, fd_)) unlink(path_.c_str());
    ::close(fd_);
    fd_ = -1;
}

void NamedFile::rejoin(NamedFile& other) {
    if (fd_ < 0) std::swap(fd_, other.fd_);
}

}  // namespace platform
