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

int32_t LockedFile::open(const char* path, const char* mode, const char* second_mode,
                         int32_t line) {
    stream_.reset(platform::open_stream(path, mode));
    if (stream_ == nullptr) stream_.reset(platform::open_stream(path, second_mode));
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

int32_t FileText::load(int32_t fd) {
    const int count = _read(fd, near_, sizeof near_);
    if (count < 0) return fail_read(here(), fd, near_, sizeof near_);
    text_ = {near_, static_cast<size_t>(count)};
    return text_.size() < sizeof near_ ? 1 : load_rest(fd);
}

int32_t FileText::load_rest(int32_t fd) {
    const int64_t size = ORVEX_FileLen(fd);
    if (size < 0) return kModule.trace(here());
    if (size >= kSizeLimit) return kModule.fail(here(), kTooLarge);
    const auto known = static_cast<int64_t>(text_.size());
    if (size <= known) return 1;
    far_ = allocate<char>(size);
    if (far_ == nullptr) return kModule.trace(here());
    std::memcpy(far_.get(), near_, sizeof near_);
    const int more = _read(fd, far_.get() + known, static_cast<unsigned>(size - known));
    if (more < 0) return fail_read(here(), fd, far_.get(), size);
    text_ = {far_.get(), static_cast<size_t>(known + more)};
    return 1;
}

}  // namespace molte::ini
