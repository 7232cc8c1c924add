// Reading into large fresh memory. Its pages cost more than the reading: large pages save most of
// that, and stores that go past the cache save fetching each line of a block that the cache can't
// hold anyway.
#include "platform/whole_read.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "files/descriptor.h"
#include "files/file_status.h"
#include "files/path.h"
#include "kernel/kernel_object.h"
#include "platform/memory.h"
#include "system/failure.h"

namespace {

constexpr size_t kLarge = size_t{4} << 20;
constexpr size_t kWorthTwo = size_t{64} << 20;  // threads
constexpr size_t kChunk = size_t{128} << 10;    // stays in the cache between kernel and store
constexpr size_t kLine = 64;

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};
using Chunk = std::unique_ptr<char, Free>;

// What of the file goes where in memory.
struct Stretch {
    int fd;
    char* block;
    off_t start;
    size_t size;
    bool whole;
};

#if defined(__SSE2__)
// Both on 16 bytes; size in whole lines of the cache.
void store_past_cache(char* to, const char* from, size_t size) {
    for (size_t at = 0; at < size; at += kLine) {
        const auto* source = reinterpret_cast<const __m128i*>(from + at);
        auto* target = reinterpret_cast<__m128i*>(to + at);
        const __m128i a = _mm_load_si128(source);
        const __m128i b = _mm_load_si128(source + 1);
        const __m128i c = _mm_load_si128(source + 2);
        const __m128i d = _mm_load_si128(source + 3);
        _mm_stream_si128(target, a);
        _mm_stream_si128(target + 1, b);
        _mm_stream_si128(target + 2, c);
        _mm_stream_si128(target + 3, d);
    }
}
void finish_stores() {
    _mm_sfence();
}
#else
void store_past_cache(char* to, const char* from, size_t size) {
    std::memcpy(to, from, size);
}
void finish_stores() {}
#endif

void store(char* to, const char* from, size_t size) {
    const size_t lines = size / kLine * kLine;
    store_past_cache(to, from, lines);
    std::memcpy(to + lines, from + lines, size - lines);
}

bool read_stretch(const Stretch& stretch) {
    const Chunk chunk(static_cast<char*>(std::aligned_alloc(kLine, kChunk)));
    if (chunk == nullptr) return false;
    for (size_t at = 0; at < stretch.size;) {
        const size_t wanted = std::min(kChunk, stretch.size - at);
        const off_t place = stretch.start + static_cast<off_t>(at);
        if (pread(stretch.fd, chunk.get(), wanted, place) != static_cast<ssize_t>(wanted)) {
            return false;
        }
        store(stretch.block + place, chunk.get(), wanted);
        at += wanted;
    }
    finish_stores();
    return true;
}

void* run(void* context) {
    auto* stretch = static_cast<Stretch*>(context);
    stretch->whole = read_stretch(*stretch);
    return nullptr;
}

// The second half is another thread's, where one can be had. It writes to what lies here, so this
// thread isn't ended before it.
bool read_by_two(int fd, char* block, size_t size) {
    const platform::Unbroken until_joined;
    const size_t half = size / 2 / kChunk * kChunk;
    Stretch first{fd, block, 0, half, false};
    Stretch second{fd, block, static_cast<off_t>(half), size - half, false};
    pthread_t thread;
    const bool helped = pthread_create(&thread, nullptr, run, &second) == 0;
    run(&first);
    if (helped) {
        pthread_join(thread, nullptr);
    } else {
        run(&second);
    }
    return first.whole && second.whole;
}

bool read_large(int fd, char* block, size_t size) {
    if (size >= kWorthTwo) return read_by_two(fd, block, size);
    return read_stretch({fd, block, 0, size, false});
}

int open_path(const platform::KernelPath& path, struct _stat64* status) {
    if (!path.valid()) return platform::fail();
    struct stat found;
    const int fd = platform::open_file(path.get(), O_RDONLY | O_NONBLOCK, 0, &found);
    if (fd >= 0) platform::fill_status(found, status);
    return fd;
}

}  // namespace

namespace platform {

int open_to_read(const char* name, struct _stat64* status) {
    return open_path(KernelPath(name), status);
}

int open_to_read(const wchar_t* name, struct _stat64* status) {
    return open_path(KernelPath(name), status);
}

int read_from_start(int fd, void* block, unsigned size) {
    if (size >= kLarge && reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t) == 0) {
        expect_large_use(block, size);
        const int before = errno;
        if (read_large(fd, static_cast<char*>(block), size)) return static_cast<int>(size);
        errno = before;
    }
    // Whatever went wrong is told as for any read.
    return _lseeki64(fd, 0, SEEK_SET) == 0 ? _read(fd, block, size) : -1;
}

}  // namespace platform
