#include "platform/append.h"

#include <cerrno>
#include <cstdlib>

#include "platform/files.h"

namespace {

// A byte far behind any text: holding it keeps other writers of this kind out, readers not.
constexpr DWORD kGateLow = 0xFFFFFFFE;
constexpr DWORD kGateHigh = 0x7FFFFFFF;

class Gate {
 public:
    explicit Gate(HANDLE file) : file_(file) {
        OVERLAPPED place = at();
        held_ = LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place) != 0;
    }
    ~Gate() {
        OVERLAPPED place = at();
        if (held_) UnlockFileEx(file_, 0, 1, 0, &place);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

 private:
    static OVERLAPPED at() {
        OVERLAPPED place{};
        place.Offset = kGateLow;
        place.OffsetHigh = kGateHigh;
        return place;
    }
    HANDLE file_;
    bool held_;
};

size_t with_line_ends(const char* text, size_t size, char* out) {
    size_t length = 0;
    for (size_t i = 0; i < size; ++i) {
        if (text[i] == '\n') out[length++] = '\r';
        out[length++] = text[i];
    }
    return length;
}

}  // namespace

namespace platform {

// The run-time's own appending is a seek and then a write, or several: others get in between.
bool append_text(FILE* stream, const char* text, size_t size) {
    if (std::fflush(stream) != 0) return false;
    auto* bytes = static_cast<char*>(std::malloc(2 * size + 1));
    if (bytes == nullptr) return false;
    const size_t length = with_line_ends(text, size, bytes);
    auto* file = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD written = 0;
    {
        const Gate gate(file);
        OVERLAPPED end{};
        end.Offset = 0xFFFFFFFF;
        end.OffsetHigh = 0xFFFFFFFF;
        WriteFile(file, bytes, static_cast<DWORD>(length), &written, &end);
    }
    std::free(bytes);
    if (written == length) return true;
    errno = ENOSPC;
    return false;
}

}  // namespace platform
