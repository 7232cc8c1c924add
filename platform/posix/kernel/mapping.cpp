// Mappings of files and of memory, and views of them.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/descriptor.h"
#include "kernel/named_objects.h"
#include "platform/file_mapping.h"
#include "platform/files.h"
#include "platform/last_error.h"

namespace platform {

namespace {

constexpr std::uint64_t kOffsetStep = 65536;
constexpr std::uint64_t kLargest = std::uint64_t{1} << 62;

bool failed(DWORD number) {
    SetLastError(number);
    return false;
}

bool failed_by_errno() {
    set_last_error_from_errno();
    return false;
}

std::uint64_t whole_pages(std::uint64_t size) {
    static const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return (size + page - 1) / page * page;
}

int open_flags(bool writable) {
    return (writable ? O_RDWR : O_RDONLY) | O_CLOEXEC;
}

bool is_that_file(const struct stat& status, const MappedRecord& record) {
    return status.st_dev == record.device && status.st_ino == record.inode;
}

bool attach(Object& object);
constexpr Kind kMapping = {.type = ObjectType::mapping, .attach = attach};

const Kind& kind_of(const State&) {
    return kMapping;
}

// Where the content lies: in a descriptor of the mapping's own.
struct Mapping : Object {
    Mapping() : Object(kMapping) {}
    ~Mapping() override { hold(-1); }

    void hold(int other) {
        if (fd >= 0) ::close(fd);
        fd = other;
    }

    bool take_file(int opened, bool wanted_writable, std::uint64_t wanted_size);
    bool take_new_memory();
    [[nodiscard]] bool describe(MappedRecord* record) const;
    bool take_named();
    void* view(DWORD access, std::uint64_t offset, std::uint64_t bytes) const;

    int fd = -1;
    std::uint64_t begin = 0;  // in the descriptor
    std::uint64_t size = 0;
    bool writable = true;

 private:
    bool find_file(const MappedRecord& record);
    [[nodiscard]] DWORD why_no_view(bool reading, bool writing, std::uint64_t offset,
                                    std::uint64_t bytes) const;
};

// A file that is opened once more has no part in the record locks of the caller's descriptor, which
// end when that is closed. Where it can't be (its mode has changed) the two are one.
int open_once_more(int opened, bool writable) {
    const int fd = ::open(OpenPath(opened).text, open_flags(writable));
    return fd >= 0 ? fd : fcntl(opened, F_DUPFD_CLOEXEC, 0);
}

// All below: false with the last error.
bool Mapping::take_file(int opened, bool wanted_writable, std::uint64_t wanted_size) {
    struct stat status {};
    const int flags = fcntl(opened, F_GETFL);
    if (flags < 0 || fstat(opened, &status) != 0) return failed(ERROR_INVALID_HANDLE);
    if (!S_ISREG(status.st_mode)) return failed(ERROR_INVALID_HANDLE);
    const int open_for = flags & O_ACCMODE;
    if (open_for == O_WRONLY || (wanted_writable && open_for != O_RDWR)) {
        return failed(ERROR_ACCESS_DENIED);
    }
    const auto length = static_cast<std::uint64_t>(status.st_size);
    size = wanted_size != 0 ? wanted_size : length;
    writable = wanted_writable;
    if (size == 0) return failed(ERROR_FILE_INVALID);
    if (size > length && !writable) return failed(ERROR_NOT_ENOUGH_MEMORY);
    hold(open_once_more(opened, writable));
    return fd >= 0 || failed_by_errno();
}

// Without a name it is memory like any other of the process: taken where it is used.
bool Mapping::take_new_memory() {
    hold(memfd_create("mapping", MFD_CLOEXEC));
    return (fd >= 0 && ftruncate(fd, static_cast<off_t>(size)) == 0) || failed_by_errno();
}

bool Mapping::describe(MappedRecord* record) const {
    record->size = size;
    record->writable = writable ? 1 : 0;
    if (fd < 0) return true;
    struct stat status {};
    if (fstat(fd, &status) != 0) return failed_by_errno();
    record->of_file = 1;
    record->device = status.st_dev;
    record->inode = status.st_ino;
    const ssize_t length = readlink(OpenPath(fd).text, record->path, sizeof record->path - 1);
    return length > 0 || failed_by_errno();
}

// The file that the mapping is of. The one at hand need not be it: the name may be another's.
bool Mapping::find_file(const MappedRecord& record) {
    struct stat status {};
    if (fd >= 0 && fstat(fd, &status) == 0 && is_that_file(status, record) &&
        (writable || record.writable == 0)) {
        return true;
    }
    hold(::open(record.path, open_flags(record.writable != 0) | O_NOFOLLOW | O_NONBLOCK));
    if (fd < 0 || fstat(fd, &status) != 0) return failed_by_errno();
    return is_that_file(status, record) || failed(ERROR_FILE_INVALID);
}

bool Mapping::take_named() {
    const MappingFile& content = file->mapping();
    const MappedRecord& record = content.record;
    if (record.path[sizeof record.path - 1] != '\0' || record.size == 0 || record.size > kLargest) {
        return failed(ERROR_INVALID_DATA);
    }
    if (record.of_file != 0) {
        if (!find_file(record)) return false;
    } else {
        if (content.head.size < kMemoryBegin + record.size) return failed(ERROR_INVALID_DATA);
        begin = kMemoryBegin;
        hold(file->open_again());
        if (fd < 0) return failed_by_errno();
    }
    size = record.size;
    writable = record.writable != 0;
    return true;
}

bool attach(Object& object) {
    return static_cast<Mapping&>(object).take_named();
}

DWORD Mapping::why_no_view(bool reading, bool writing, std::uint64_t offset,
                           std::uint64_t bytes) const {
    if (offset % kOffsetStep != 0) return ERROR_MAPPED_ALIGNMENT;
    if (offset >= size || (!reading && !writing)) return ERROR_INVALID_PARAMETER;
    if (bytes > size - offset || (writing && !writable)) return ERROR_ACCESS_DENIED;
    struct stat status {};
    const std::uint64_t end = begin + offset + (bytes != 0 ? bytes : size - offset);
    const bool there = fstat(fd, &status) == 0 && static_cast<std::uint64_t>(status.st_size) >= end;
    return there ? ERROR_SUCCESS : ERROR_FILE_INVALID;
}

// Null with the last error.
void* Mapping::view(DWORD access, std::uint64_t offset, std::uint64_t bytes) const {
    const bool writing = (access & FILE_MAP_WRITE) != 0;
    const bool reading = (access & FILE_MAP_READ) != 0;
    if (const DWORD refusal = why_no_view(reading, writing, offset, bytes);
        refusal != ERROR_SUCCESS) {
        SetLastError(refusal);
        return nullptr;
    }
    void* const place = mmap(nullptr, bytes != 0 ? bytes : size - offset,
                             writing ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd,
                             static_cast<off_t>(begin + offset));
    if (place != MAP_FAILED) return place;
    set_last_error_from_errno();
    return nullptr;
}

struct View {
    void* place;
    std::size_t size;
    View* next;
};

View* first_view = nullptr;  // under the ObjectLock

// The link to the view that begins there, or the last one.
View** link_to(const void* place) {
    View** link = &first_view;
    while (*link != nullptr && (*link)->place != place) link = &(*link)->next;
    return link;
}

std::uint64_t joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

}  // namespace

std::size_t view_size(const void* view) {
    const ObjectLock lock;
    const View* const found = *link_to(view);
    return found != nullptr ? found->size : 0;
}

}  // namespace platform

using platform::ObjectType;

HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES*, DWORD protection, DWORD size_high,
                          DWORD size_low, const char* name) {
    const bool memory = file == INVALID_HANDLE_VALUE;
    const std::uint64_t size = platform::joined(size_high, size_low);
    if ((protection != PAGE_READONLY && protection != PAGE_READWRITE) || (memory && size == 0) ||
        size > platform::kLargest) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const bool writable = protection == PAGE_READWRITE;
    const platform::Unbroken unbroken;
    platform::ObjectPointer object = platform::make_object<platform::Mapping>();
    if (!object) return nullptr;
    auto& mapping = static_cast<platform::Mapping&>(*object);
    if (memory) {
        mapping.size = platform::whole_pages(size);
        mapping.writable = writable;
    } else if (!mapping.take_file(platform::handle_descriptor(file), writable, size)) {
        return nullptr;
    }
    if (name == nullptr || *name == '\0') {
        if (memory && !mapping.take_new_memory()) return nullptr;
        if (!memory && !platform::lengthen(mapping.fd, mapping.size)) {
            platform::set_last_error_from_errno();
            return nullptr;
        }
        return platform::handle_of_new(object);
    }
    platform::MappedRecord record{};
    if (!mapping.describe(&record)) return nullptr;
    const platform::State state;
    return platform::create_named(std::move(object), platform::kind_of, name,
                                  {ObjectType::mapping, state, &record, mapping.fd});
}

HANDLE OpenFileMappingA(DWORD, BOOL inherit, const char* name) {
    const platform::Unbroken unbroken;
    return platform::open_named(platform::make_object<platform::Mapping>(), ObjectType::mapping,
                                platform::kind_of, inherit, name);
}

void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offset_high, DWORD offset_low,
                    std::size_t bytes) {
    const platform::Unbroken unbroken;
    platform::ObjectPointer object;
    {
        const platform::ObjectLock lock;
        object = platform::ObjectPointer(platform::find_object(mapping, ObjectType::mapping));
    }
    if (!object) return nullptr;
    const auto& found = static_cast<platform::Mapping&>(*object);
    const std::uint64_t offset = platform::joined(offset_high, offset_low);
    std::unique_ptr<platform::View> view(new (std::nothrow) platform::View);
    if (view == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    void* const place = found.view(access, offset, bytes);
    if (place == nullptr) return nullptr;
    const std::uint64_t size = bytes != 0 ? bytes : found.size - offset;
    *view = {place, platform::whole_pages(size), nullptr};
    const platform::ObjectLock lock;
    view->next = platform::first_view;
    platform::first_view = view.release();
    return place;
}

BOOL UnmapViewOfFile(const void* view) {
    const platform::Unbroken unbroken;
    std::unique_ptr<platform::View> found;
    {
        const platform::ObjectLock lock;
        platform::View** const link = platform::link_to(view);
        found.reset(*link);
        if (found != nullptr) *link = found->next;
    }
    if (found == nullptr) {
        SetLastError(ERROR_INVALID_ADDRESS);
        return FALSE;
    }
    munmap(found->place, found->size);
    return TRUE;
}
