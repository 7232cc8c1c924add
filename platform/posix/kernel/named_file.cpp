#include "kernel/named_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <optional>
#include <utility>

#include "files/descriptor.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constexpr char kMagic[8] = {'K', 'O', 'B', 'J', 'E', 'C', 'T', '\n'};
constexpr std::uint32_t kVersion = 1;

// Never waits; false with errno.
bool lock_file(int fd, int operation) {
    return flock(fd, operation | LOCK_NB) == 0;
}

// Only who is about to remove the file can be in the way, for a moment; or for long, if it was
// stopped just then. False with errno.
bool share_file(int fd) {
    constexpr int kTries = 500;
    constexpr std::timespec kPause = {0, 2'000'000};
    for (int i = 0; i < kTries; ++i) {
        if (lock_file(fd, LOCK_SH)) return true;
        if (errno != EWOULDBLOCK) return false;
        nanosleep(&kPause, nullptr);
    }
    errno = EBUSY;
    return false;
}

// Whether the path still leads to the open file.
bool leads_to(int folder, const char* path, int fd) {
    struct stat named {};
    struct stat opened {};
    return fstatat(folder, path, &named, AT_SYMLINK_NOFOLLOW) == 0 && fstat(fd, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}
bool leads_to(const char* path, int fd) {
    return leads_to(AT_FDCWD, path, fd);
}

// What precedes the state.
struct Head {
    char magic[8];
    std::uint32_t version;
    ObjectType type;
    std::uint64_t size;
};
static_assert(sizeof(Head) == offsetof(ObjectFile, state));

// How much of a file is mapped here.
std::size_t mapped_size(ObjectType type) {
    return type == ObjectType::mapping ? sizeof(MappingFile) : sizeof(ObjectFile);
}

// Only a file of this user and layout is ever mapped, and only one of full length: to touch what
// lies behind the end of a mapped file ends a process.
DWORD why_refused(int fd, Head* head) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return error_number(errno);
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid()) return ERROR_ACCESS_DENIED;
    const bool known = pread(fd, head, sizeof *head, 0) == static_cast<ssize_t>(sizeof *head) &&
                       std::memcmp(head->magic, kMagic, sizeof kMagic) == 0 &&
                       head->version == kVersion;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const bool whole = known && size == head->size &&
                       (head->type == ObjectType::mapping ? size >= sizeof(MappingFile)
                                                          : size == sizeof(ObjectFile));
    return whole ? ERROR_SUCCESS : ERROR_INVALID_DATA;
}

std::unique_ptr<NamedFile> no_file(DWORD number) {
    SetLastError(number);
    return nullptr;
}

}  // namespace

// Without memory null with the last error.
std::unique_ptr<NamedFile> NamedFile::for_path(const PathText& path) {
    std::unique_ptr<NamedFile> file(new (std::nothrow) NamedFile);
    if (file != nullptr) file->path_ = strdup(path);
    if (file == nullptr || file->path_ == nullptr) return no_file(ERROR_NOT_ENOUGH_MEMORY);
    return file;
}

NamedFile::~NamedFile() {
    free(path_);
    if (fd_ >= 0) ::close(fd_);
    if (content_ != nullptr) munmap(content_, mapped_);
}

bool NamedFile::map(int fd, ObjectType type) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return false;
    const std::size_t size = mapped_size(type);
    void* place = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (place == MAP_FAILED) return false;
    content_ = static_cast<ObjectFile*>(place);
    mapped_ = size;
    device_ = status.st_dev;
    inode_ = status.st_ino;
    return true;
}

void NamedFile::keep(int fd) {
    fd_ = fd;
    process_ = getpid();
}

// After the shared lock is ours the file may have lost its name to one who found it unlocked, in
// which case the name is tried anew. As long as we hold the lock it then keeps its name.
NamedFile::Outcome NamedFile::open_used() {
    for (;;) {
        OpenFile file(::open(path_, O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
        if (!file.valid()) {
            if (errno == ENOENT) return Outcome::free;
            SetLastError(errno == ELOOP ? ERROR_ACCESS_DENIED : error_number(errno));
            return Outcome::failed;
        }
        Head head;
        if (const DWORD refusal = why_refused(file.get(), &head); refusal != ERROR_SUCCESS) {
            SetLastError(refusal);
            return Outcome::failed;
        }
        if (lock_file(file.get(), LOCK_EX)) {  // all who had it open have died
            if (leads_to(path_, file.get()) && unlink(path_) != 0) break;
            continue;
        }
        if (!share_file(file.get())) break;
        if (!leads_to(path_, file.get())) continue;
        if (!map(file.get(), head.type)) break;
        keep(file.release());
        return Outcome::done;
    }
    set_last_error_from_errno();
    return Outcome::failed;
}

// Memory that a killed process held would else stay taken until somebody comes by its name.
void NamedFile::remove_stale(const PathText& folder) {
    DIR* const list = opendir(folder);
    if (list == nullptr) return;
    while (const dirent* entry = readdir(list)) {
        if (entry->d_name[0] != kObjectMark) continue;
        const OpenFile file(
            ::openat(dirfd(list), entry->d_name, O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
        Head head;
        if (file.valid() && why_refused(file.get(), &head) == ERROR_SUCCESS &&
            lock_file(file.get(), LOCK_EX) && leads_to(dirfd(list), entry->d_name, file.get())) {
            unlinkat(dirfd(list), entry->d_name, 0);
        }
    }
    closedir(list);
}

// The file gets its name when it is complete and locked, so nobody ever sees half of one, and
// nothing is left of it if we die before.
NamedFile::Outcome NamedFile::make(const PathText& folder, const NewFile& begin) {
    const MappedRecord* const mapped = begin.mapped;
    const bool memory = mapped != nullptr && begin.file < 0;
    if (memory) remove_stale(folder);
    OpenFile file(::open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    const unsigned char room[sizeof(MappingFile)] = {};  // also takes the memory it will need
    std::uint64_t size = mapped_size(begin.type);
    if (!file.valid() || fchmod(file.get(), 0600) != 0 ||
        !write_all(file.get(), reinterpret_cast<const char*>(room), size) ||
        (memory && !take_room(file.get(), kMemoryBegin, kMemoryBegin + mapped->size)) ||
        (begin.file >= 0 && !lengthen(begin.file, mapped->size)) ||
        !lock_file(file.get(), LOCK_SH) || !map(file.get(), begin.type)) {
        set_last_error_from_errno();
        return Outcome::failed;
    }
    if (memory) size = kMemoryBegin + mapped->size;
    content_ = new (content_) ObjectFile{{}, kVersion, begin.type, size, {}};
    std::memcpy(content_->magic, kMagic, sizeof kMagic);
    const State& state = begin.state;
    content_->state.word.store(state.word.load());
    content_->state.depth = state.depth;
    content_->state.limit = state.limit;
    if (mapped != nullptr) reinterpret_cast<MappingFile*>(content_)->record = *mapped;
    // A mutex that is owned from the start is in the owner's list before anyone sees it.
    std::optional<RobustOperation> owning;
    if (state.depth > 0) owning.emplace(content_->state.links);
    const OpenPath opened(file.get());
    if (linkat(AT_FDCWD, opened.text, AT_FDCWD, path_, AT_SYMLINK_FOLLOW) == 0) {
        if (state.depth > 0) robust_list_add(content_->state.links);
        keep(file.release());
        return Outcome::done;
    }
    if (errno == EEXIST) return Outcome::taken;
    set_last_error_from_errno();
    return Outcome::failed;
}

std::unique_ptr<NamedFile> NamedFile::open(const char* name) {
    PathText folder;
    PathText path;
    if (!object_folder(folder) || !object_path(folder, name, path)) return nullptr;
    auto file = for_path(path);
    if (file == nullptr) return nullptr;
    const Outcome outcome = file->open_used();
    if (outcome == Outcome::done) return file;
    if (outcome == Outcome::free) SetLastError(ERROR_FILE_NOT_FOUND);
    return nullptr;
}

std::unique_ptr<NamedFile> NamedFile::open_or_make_file(const PathText& folder,
                                                        const PathText& path, const NewFile& begin,
                                                        bool* existed) {
    for (;;) {
        auto file = for_path(path);
        if (file == nullptr) return nullptr;
        Outcome outcome = file->open_used();
        *existed = outcome == Outcome::done;
        if (outcome == Outcome::free) outcome = file->make(folder, begin);
        if (outcome == Outcome::done) return file;
        if (outcome == Outcome::failed) return nullptr;
    }
}

std::unique_ptr<NamedFile> NamedFile::open_or_make(const char* name, const NewFile& begin,
                                                   bool* existed) {
    PathText folder;
    PathText path;
    if (!object_folder(folder) || !object_path(folder, name, path)) return nullptr;
    return open_or_make_file(folder, path, begin, existed);
}

std::unique_ptr<NamedFile> NamedFile::open_bell() {
    PathText folder;
    PathText path;
    if (!object_folder(folder) || !bell_path(folder, path)) return nullptr;
    bool existed = false;
    const State silent;
    auto file = open_or_make_file(folder, path, {ObjectType::bell, silent}, &existed);
    if (file == nullptr || file->content().type == ObjectType::bell) return file;
    return no_file(ERROR_INVALID_DATA);
}

const MappingFile& NamedFile::mapping() const {
    return *reinterpret_cast<const MappingFile*>(content_);
}

int NamedFile::open_again() const {
    return ::open(OpenPath(fd_).text, O_RDWR | O_CLOEXEC);
}

bool NamedFile::same_as(const NamedFile& other) const {
    return device_ == other.device_ && inode_ == other.inode_;
}

void NamedFile::leave() {
    if (fd_ < 0) return;
    if (process_ == getpid() && lock_file(fd_, LOCK_EX) && leads_to(path_, fd_)) unlink(path_);
    ::close(fd_);
    fd_ = -1;
}

void NamedFile::rejoin(NamedFile& other) {
    if (fd_ >= 0 && process_ == getpid()) return;
    std::swap(fd_, other.fd_);
    process_ = other.process_;
}

void NamedFile::open_for_child() {
    if (fd_ < 0 || process_ != getpid()) return;
    OpenFile file(open_again());
    if (file.valid() && lock_file(file.get(), LOCK_SH)) {
        child_fd_ = file.release();
    } else {
        process_ = 0;
    }
}

void NamedFile::keep_own(bool child) {
    const OpenFile spare(std::exchange(child_fd_, -1));
    if (!child || !spare.valid()) return;
    dup3(spare.get(), fd_, O_CLOEXEC);
    process_ = getpid();
}

}  // namespace platform
