#include "platform/replacement.h"

#include <cerrno>
#include <cstdio>
#include <utility>

namespace platform {

namespace {

// Those that ended processes left, and those at work at the same time.
constexpr int kMostBeside = 1000;

}  // namespace

Replacement::~Replacement() {
    const int before = errno;
    if (fd_ >= 0) _close(fd_);
    if (beside_[0] != '\0') _unlink(beside_);
    errno = before;
}

bool Replacement::open(const char* name) {
    const int plain = find_target(name, target_);
    if (plain > 0) return open_beside();
    if (plain == 0) fd_ = _open(name, _O_WRONLY | _O_TRUNC | _O_BINARY);
    return fd_ >= 0;
}

bool Replacement::open_beside() {
    for (int number = 0; number < kMostBeside; ++number) {
        std::snprintf(beside_, sizeof beside_, "%s.%d.tmp", target_, number);
        fd_ = make_beside(target_, beside_);
        if (fd_ >= 0) return true;
        if (errno != EEXIST) break;
    }
    beside_[0] = '\0';
    return false;
}

bool Replacement::write(const void* bytes, unsigned size) {
    return _write(fd_, bytes, size) == static_cast<int>(size);
}

bool Replacement::finish() {
    const bool replaces = beside_[0] != '\0';
    const bool stored = !replaces || _commit(fd_) == 0;
    if (_close(std::exchange(fd_, -1)) != 0 || !stored) return false;
    if (!replaces) return true;
    if (replace_file(beside_, target_) != 0) return false;
    beside_[0] = '\0';
    return true;
}

}  // namespace platform
