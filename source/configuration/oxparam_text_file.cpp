#include <cerrno>
#include <cstring>

#include "configuration/parameter_file.h"
#include "moltelib/file.h"
#include "platform/files.h"

namespace molte::ini {

namespace {

constexpr int32_t kLockWaiting = 1;

int32_t fail_read(int32_t line, int32_t fd, const void* buffer, int64_t size) {
    return kModule.fail(line, kNotRead, SystemError::runtime, "fd=%d pbuf=%p nsize=%d", fd, buffer,
                        static_cast<int32_t>(size));
}

}  // namespace

int32_t LockedFile::open(const char* path, int32_t line) {
    return take(platform::open_stream(path, "rb"), path, line);
}

int32_t LockedFile::open_or_make(const char* path, int32_t line) {
    FILE* stream = platform::open_stream(path, "a+b");
    return take(stream != nullptr ? stream : platform::open_stream(path, "rb"), path, line);
}

// Only a file that is missing is made, and not by "w": another process may make it meanwhile.
int32_t LockedFile::open_to_change(const char* path, int32_t line) {
    FILE* stream = platform::open_stream(path, "r+b");
    if (stream == nullptr && errno == ENOENT) {
        const Stream made(platform::open_stream(path, "a+b"));
        if (made != nullptr) stream = platform::open_stream(path, "r+b");
    }
    return take(stream, path, line);
}

int32_t LockedFile::take(FILE* stream, const char* path, int32_t line) {
    stream_.reset(stream);
    if (stream_ == nullptr) return kModule.fail_text(line, kNotOpened, SystemError::runtime, path);
    fd_ = _fileno(stream_.get());
    if (ORVEX_FP_FileLock(stream_.get(), kLockWaiting, 1) < 0) {
        stream_.reset();
        return -1;
    }
    return 1;
}

int32_t LockedFile::replace(std::string_view text) const {
    const auto size = static_cast<unsigned>(text.size());
    errno = 0;
    if (_lseeki64(fd_, 0, SEEK_SET) != 0 ||
        _write(fd_, text.data(), size) != static_cast<int>(size)) {
        return kModule.fail(here(), kNotWritten, SystemError::runtime, "fd=%d buf=%p size=%d", fd_,
                            text.data(), static_cast<int32_t>(size));
    }
    if (ORVEX_UTIL_ChSizeByFD(fd_, size) < 0) return kModule.trace(here());
    return 1;
}

int32_t LockedFile::change(std::string_view from, std::string_view to) const {
    if (replace(to) > 0) return 1;
    // What was there has its room even on a full disk.
    static_cast<void>(replace(from));
    return -1;
}

int32_t FileText::load(int32_t fd) {
    const int count = _read(fd, near_, sizeof near_);
    if (count < 0) return fail_read(here(), fd, near_, sizeof near_);
    text_ = {near_, static_cast<size_t>(count)};
    const int64_t size = ORVEX_FileLen(fd);
    if (size < 0) return kModule.trace(here());
    if (size <= count) return 1;
    return load_rest(fd, size);
}

int32_t FileText::load_rest(int32_t fd, int64_t size) {
    if (size >= kSizeLimit) return kModule.fail(here(), kTooLarge);
    const auto known = static_cast<int64_t>(text_.size());
    far_ = allocate<char>(size);
    if (far_ == nullptr) return kModule.trace(here());
    std::memcpy(far_.get(), near_, text_.size());
    errno = 0;
    if (_read(fd, far_.get() + known, static_cast<unsigned>(size - known)) != size - known) {
        return fail_read(here(), fd, far_.get(), size);
    }
    text_ = {far_.get(), static_cast<size_t>(size)};
    return 1;
}

}  // namespace molte::ini
