// Whole transfers through descriptors, where a short one is a failure, and the reports of those
// that fail.
#pragma once

#include <cerrno>
#include <cstdint>

#include "core/report.h"
#include "platform/files.h"

namespace molte {

// One that ends early for no error of the system, as at the end of a file, leaves errno 0, so that
// no earlier failure is reported with it.
inline bool read_whole(int32_t fd, void* buffer, int32_t size) {
    errno = 0;
    return _read(fd, buffer, static_cast<unsigned>(size)) == size;
}
inline bool write_whole(int32_t fd, const void* data, int32_t size) {
    errno = 0;
    return _write(fd, data, static_cast<unsigned>(size)) == size;
}

// Report that these failed; -1.
inline int32_t fail_read(const Module& module, int32_t line, int32_t fd, const void* buffer,
                         int32_t size) {
    return module.fail(line, kNotRead, SystemError::runtime, "fd=%d pbuf=%p nsize=%d", fd, buffer,
                       size);
}
inline int32_t fail_write(const Module& module, int32_t line, int32_t fd, const void* data,
                          int32_t size) {
    return module.fail(line, kNotWritten, SystemError::runtime, "fd=%d buf=%p size=%d", fd, data,
                       size);
}

}  // namespace molte
