// Streams. Those that read text go through a cookie of the C library, which makes CR LF into LF;
// all others are the C library's own.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "files/descriptor.h"
#include "files/path.h"
#include "platform/critical_section.h"
#include "platform/files.h"
#include "system/failure.h"

using platform::fail;
using platform::KernelPath;
using platform::OpenFile;

namespace {

// How a stream is opened.
struct StreamMode {
    int flags = -1;      // the kernel's; -1 for a mode that isn't known
    char plain[3] = {};  // the mode without what the C library doesn't know
    bool text = true;
};

template <typename Char>
StreamMode parse_mode(const Char* mode) {
    StreamMode result;
    if (mode == nullptr) return result;
    const Char direction = mode[0];
    if (direction != 'r' && direction != 'w' && direction != 'a') return result;
    bool both = false;
    for (const Char* at = mode + 1; *at != 0; ++at) {
        if (*at != '+' && *at != 't' && *at != 'b') return result;
        if (*at == '+') both = true;
        if (*at == 'b') result.text = false;
    }
    const int access = both ? O_RDWR : direction == 'r' ? O_RDONLY : O_WRONLY;
    const int extra = direction == 'w'   ? O_CREAT | O_TRUNC
                      : direction == 'a' ? O_CREAT | O_APPEND
                                         : 0;
    result.flags = access | extra;
    result.plain[0] = static_cast<char>(direction);
    if (both) result.plain[1] = '+';
    return result;
}

// A stream that reads text.
struct TextStream {
    int fd;
    int held = -1;           // a byte that was read behind a CR and belongs to the next chunk
    bool shortened = false;  // a pair was read: positions are no longer those of the file
    FILE* stream = nullptr;
    TextStream* next = nullptr;
};

constinit platform::Lock text_streams_lock;
TextStream* text_streams = nullptr;

TextStream& text_stream(void* cookie) {
    return *static_cast<TextStream*>(cookie);
}

ssize_t read_bytes(int fd, char* buffer, size_t size) {
    ssize_t count = 0;
    do {
        count = ::read(fd, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

// A CR at the end of a chunk: what follows decides, so one byte more is read.
void settle_last_cr(TextStream& text, char* last) {
    char next = 0;
    if (*last != '\r' || read_bytes(text.fd, &next, 1) != 1) return;
    if (next == '\n') {
        *last = '\n';
        text.shortened = true;
    } else {
        text.held = static_cast<unsigned char>(next);
    }
}

// Makes each CR LF of a chunk into LF; the new size.
size_t join_pairs(TextStream& text, char* bytes, size_t size) {
    const char* from = bytes;
    const char* const end = bytes + size;
    char* to = bytes;
    while (from < end) {
        const auto* cr =
            static_cast<const char*>(memchr(from, '\r', static_cast<size_t>(end - from)));
        const char* stop = cr != nullptr ? cr : end;
        const bool pair = cr != nullptr && cr + 1 < end && cr[1] == '\n';
        if (cr != nullptr && !pair) ++stop;
        const auto run = static_cast<size_t>(stop - from);
        if (to != from) memmove(to, from, run);
        to += run;
        from = stop + (pair ? 1 : 0);
        if (pair) text.shortened = true;
    }
    return static_cast<size_t>(to - bytes);
}

ssize_t read_text(void* cookie, char* buffer, size_t size) {
    TextStream& text = text_stream(cookie);
    size_t count = 0;
    if (size > 0 && text.held >= 0) {
        buffer[count++] = static_cast<char>(text.held);
        text.held = -1;
    }
    if (count < size) {
        const ssize_t more = read_bytes(text.fd, buffer + count, size - count);
        if (more < 0 && count == 0) return -1;
        if (more > 0) count += static_cast<size_t>(more);
    }
    if (count == 0) return 0;
    settle_last_cr(text, buffer + count - 1);
    return static_cast<ssize_t>(join_pairs(text, buffer, count));
}

int seek_text(void* cookie, off64_t* position, int origin) {
    TextStream& text = text_stream(cookie);
    const bool known = origin == SEEK_END || (origin == SEEK_SET && *position == 0);
    if (text.shortened && !known) {
        errno = ESPIPE;
        return -1;
    }
    const off64_t back = origin == SEEK_CUR && text.held >= 0 ? 1 : 0;
    const off64_t reached = lseek(text.fd, *position - back, origin);
    if (reached < 0) return -1;
    text.held = -1;
    text.shortened = false;
    *position = reached;
    return 0;
}

// The C library takes less than size for an error, 0 for a full one.
ssize_t write_text(void* cookie, const char* data, size_t size) {
    TextStream& text = text_stream(cookie);
    if (text.held >= 0 && lseek(text.fd, -1, SEEK_CUR) < 0) return 0;
    text.held = -1;
    ssize_t count = 0;
    do {
        count = ::write(text.fd, data, size);
    } while (count < 0 && errno == EINTR);
    return count > 0 ? count : 0;
}

int close_text(void* cookie) {
    TextStream* text = &text_stream(cookie);
    {
        const std::lock_guard guard(text_streams_lock);
        TextStream** link = &text_streams;
        while (*link != text) link = &(*link)->next;
        *link = text->next;
    }
    const int result = ::close(text->fd);
    std::free(text);
    return result;
}

// The stream owns the descriptor; null leaves it to the caller.
FILE* open_text(int fd, const char* mode) {
    void* memory = std::malloc(sizeof(TextStream));
    if (memory == nullptr) return nullptr;
    auto* text = new (memory) TextStream{.fd = fd};
    const std::lock_guard guard(text_streams_lock);
    text->stream = fopencookie(text, mode, {read_text, write_text, seek_text, close_text});
    if (text->stream == nullptr) {
        std::free(text);
        return nullptr;
    }
    text->next = text_streams;
    text_streams = text;
    return text->stream;
}

FILE* open_path(const KernelPath& path, const StreamMode& mode) {
    if (!path.valid() || mode.flags < 0) {
        if (path.valid()) errno = EINVAL;
        fail();
        return nullptr;
    }
    // Emptied last: a stream that can't be made leaves a file as it was.
    OpenFile file(platform::open_file(path.get(), mode.flags & ~O_TRUNC, 0666));
    if (!file.valid()) return nullptr;
    const bool reads = (mode.flags & O_ACCMODE) != O_WRONLY;
    FILE* stream =
        reads && mode.text ? open_text(file.get(), mode.plain) : fdopen(file.get(), mode.plain);
    if (stream == nullptr) {
        fail();
        return nullptr;
    }
    const int fd = file.release();
    // EINVAL: what has no size, like a pipe.
    if ((mode.flags & O_TRUNC) != 0 && ftruncate(fd, 0) != 0 && errno != EINVAL) {
        fail();
        const int reason = errno;
        fclose(stream);
        errno = reason;
        return nullptr;
    }
    return stream;
}

}  // namespace

int _fileno(FILE* stream) {
    if (stream == nullptr) return fail(EINVAL);
    const int fd = fileno(stream);
    if (fd >= 0) return fd;
    const std::lock_guard guard(text_streams_lock);
    for (const TextStream* text = text_streams; text != nullptr; text = text->next) {
        if (text->stream == stream) return text->fd;
    }
    return fail(EBADF);
}

namespace platform {

FILE* open_stream(const char* name, const char* mode) {
    return open_path(KernelPath(name), parse_mode(mode));
}

FILE* open_stream_wide(const wchar_t* name, const wchar_t* mode) {
    return open_path(KernelPath(name), parse_mode(mode));
}

}  // namespace platform
