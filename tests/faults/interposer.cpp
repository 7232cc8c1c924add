#include "interposer.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>

Watch* watch = nullptr;

namespace {

std::atomic<bool> armed{false};

// A stream that the C library keeps on behalf of the library makes its calls.
const char library_stream = 0;

bool of_library(const void* caller) {
    Dl_info found;
    return caller == &library_stream || (dladdr(caller, &found) != 0 &&
                                         std::strstr(found.dli_fname, "libmoltelib.so") != nullptr);
}

// Whether the call of this number is one that fails.
bool strikes(int number) {
    const Plan& plan = watch->plan;
    if (plan.onwards ? number < plan.at : number != plan.at) return false;
    if (watch->struck++ == 0) {
        armed = false;  // the first trace may allocate
        watch->depth = backtrace(watch->trace, sizeof watch->trace / sizeof *watch->trace);
        armed = true;
    }
    return true;
}

// Set while a thread makes calls of a sanitizer, which ends the process when they fail.
thread_local bool exempt = false;

bool allocation_fails() {
    if (!armed || exempt) return false;
    const int number = ++watch->allocations;
    if (watch->plan.fault != Fault::memory || !strikes(number)) return false;
    errno = ENOMEM;
    return true;
}

enum class Kind { read, write, other, futex, uncounted };

bool suits(Fault fault, Kind kind, size_t size) {
    const bool moves = (kind == Kind::read || kind == Kind::write) && size > 1;
    switch (fault) {
        case Fault::none:
        case Fault::memory:
            return false;
        case Fault::interrupted:
            return true;
        case Fault::half:
            return moves;
        case Fault::half_death:
            return moves && kind == Kind::write;
        default:
            return kind != Kind::futex;
    }
}

Fault fault_of_call(const void* caller, Kind kind, size_t size) {
    if (!armed || kind == Kind::uncounted || !of_library(caller)) return Fault::none;
    const int number = ++watch->system_calls;
    const Fault fault = watch->plan.fault;
    return suits(fault, kind, size) && strikes(number) ? fault : Fault::none;
}

// What a read can get: half of more than is there would be all of it.
size_t readable(int fd, size_t size, off_t at) {
    struct stat state;
    const bool told = fstat(fd, &state) == 0 && state.st_size > at;
    return told ? std::min(size, static_cast<size_t>(state.st_size - at)) : size;
}

// Makes a call of SIZE bytes (0: one that moves none), or what comes of it.
template <typename Result, typename Real>
Result make_call(const void* caller, Kind kind, size_t size, Result failure, Real real) {
    switch (fault_of_call(caller, kind, size)) {
        case Fault::io_error:
            errno = EIO;
            return failure;
        case Fault::disk_full:
            errno = ENOSPC;
            return failure;
        case Fault::interrupted:
            errno = EINTR;
            return failure;
        case Fault::half:
            return real(size / 2);
        case Fault::half_death:
            real(size / 2);
            [[fallthrough]];
        case Fault::death:
            kill(getpid(), SIGKILL);
            [[fallthrough]];  // never
        default:
            return real(size);
    }
}

// ---- Streams that the C library would feed by calls of its own ----

struct CountedStream {
    FILE* stream;
    int fd;
};
CountedStream streams[64];
std::mutex streams_lock;

CountedStream& of_cookie(void* cookie) {
    return *static_cast<CountedStream*>(cookie);
}

ssize_t write_stream(void* cookie, const char* from, size_t size);
ssize_t read_stream(void* cookie, char* to, size_t size);

int seek_stream(void* cookie, off64_t* position, int origin) {
    *position = lseek(of_cookie(cookie).fd, *position, origin);
    return *position < 0 ? -1 : 0;
}

int close_stream(void* cookie) {
    const std::lock_guard guard(streams_lock);
    const int result = close(of_cookie(cookie).fd);
    of_cookie(cookie) = {};
    return result;
}

FILE* counted_stream(int fd, const char* mode) {
    const std::lock_guard guard(streams_lock);
    for (CountedStream& place : streams) {
        if (place.stream != nullptr) continue;
        place.fd = fd;
        place.stream =
            fopencookie(&place, mode, {read_stream, write_stream, seek_stream, close_stream});
        return place.stream;
    }
    return nullptr;
}

}  // namespace

void arm() {
    armed = true;
}

void disarm() {
    armed = false;
}

// The body of each call: the C library's own, or what comes of it.
#define CALLER __builtin_return_address(0)
#define REAL(name) \
    static const auto real = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
#define ALLOCATION(name, call) \
    REAL(name);                \
    return allocation_fails() ? nullptr : call
#define SYSTEM_CALL(name, kind, size, failure, call)    \
    REAL(name);                                         \
    return make_call(CALLER, Kind::kind, size, failure, \
                     [=]([[maybe_unused]] size_t part) { return call; })

extern "C" {

void* malloc(size_t size) noexcept {
    ALLOCATION(malloc, real(size));
}
void* calloc(size_t count, size_t size) noexcept {
    ALLOCATION(calloc, real(count, size));
}
void* realloc(void* block, size_t size) noexcept {
    ALLOCATION(realloc, real(block, size));
}
void* aligned_alloc(size_t alignment, size_t size) noexcept {
    ALLOCATION(aligned_alloc, real(alignment, size));
}

// Made by a sanitizer, in each new thread.
int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) noexcept {
    REAL(pthread_getattr_np);
    exempt = true;
    const int result = real(thread, attributes);
    exempt = false;
    return result;
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    SYSTEM_CALL(open, other, 0, -1, real(path, flags, mode));
}
int openat(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = va_arg(rest, mode_t);
    va_end(rest);
    SYSTEM_CALL(openat, other, 0, -1, real(folder, path, flags, mode));
}
ssize_t read(int fd, void* to, size_t size) {
    const size_t there = armed ? readable(fd, size, lseek(fd, 0, SEEK_CUR)) : size;
    SYSTEM_CALL(read, read, there, ssize_t{-1}, real(fd, to, part));
}
ssize_t pread(int fd, void* to, size_t size, off_t at) {
    SYSTEM_CALL(pread, read, readable(fd, size, at), ssize_t{-1}, real(fd, to, part, at));
}
ssize_t write(int fd, const void* from, size_t size) {
    SYSTEM_CALL(write, write, size, ssize_t{-1}, real(fd, from, part));
}
int rename(const char* from, const char* to) noexcept {
    SYSTEM_CALL(rename, other, 0, -1, real(from, to));
}
int renameat(int folder, const char* from, int target, const char* to) noexcept {
    SYSTEM_CALL(renameat, other, 0, -1, real(folder, from, target, to));
}
int link(const char* from, const char* to) noexcept {
    SYSTEM_CALL(link, other, 0, -1, real(from, to));
}
int linkat(int folder, const char* from, int target, const char* to, int flags) noexcept {
    SYSTEM_CALL(linkat, other, 0, -1, real(folder, from, target, to, flags));
}
int unlink(const char* path) noexcept {
    SYSTEM_CALL(unlink, other, 0, -1, real(path));
}
int ftruncate(int fd, off_t size) noexcept {
    SYSTEM_CALL(ftruncate, other, 0, -1, real(fd, size));
}
void* mmap(void* at, size_t size, int protection, int flags, int fd, off_t offset) noexcept {
    SYSTEM_CALL(mmap, other, 0, MAP_FAILED, real(at, size, protection, flags, fd, offset));
}
int fsync(int fd) {
    SYSTEM_CALL(fsync, other, 0, -1, real(fd));
}
int flock(int fd, int operation) noexcept {
    SYSTEM_CALL(flock, other, 0, -1, real(fd, operation));
}
long syscall(long number, ...) noexcept {
    va_list rest;
    va_start(rest, number);
    long with[6];
    for (long& argument : with) argument = va_arg(rest, long);
    va_end(rest);
    const Kind kind = number == SYS_futex || number == SYS_futex_waitv ? Kind::futex
                      : number == SYS_renameat2                        ? Kind::other
                                                                       : Kind::uncounted;
    REAL(syscall);
    return make_call(CALLER, kind, 0, -1L, [=](size_t) {
        return real(number, with[0], with[1], with[2], with[3], with[4], with[5]);
    });
}

// ---- Streams ----

FILE* fdopen(int fd, const char* mode) noexcept {
    REAL(fdopen);
    const bool counted = of_library(CALLER) && watch->plan.fault != Fault::memory;
    return counted ? counted_stream(fd, mode) : real(fd, mode);
}
FILE* fopen(const char* path, const char* mode) {
    REAL(fopen);
    const bool counted = of_library(CALLER) && watch->plan.fault != Fault::memory;
    return make_call(CALLER, Kind::other, 0, static_cast<FILE*>(nullptr), [=](size_t) {
        FILE* const plain = real(path, mode);
        if (plain == nullptr || !counted) return plain;
        const int fd = dup(fileno(plain));
        fclose(plain);
        return counted_stream(fd, mode);
    });
}
int fileno(FILE* stream) noexcept {
    REAL(fileno);
    {
        const std::lock_guard guard(streams_lock);
        for (const CountedStream& known : streams) {
            if (known.stream == stream) return known.fd;
        }
    }
    return real(stream);
}

}  // extern "C"

namespace {

ssize_t read_stream(void* cookie, char* to, size_t size) {
    const int fd = of_cookie(cookie).fd;
    const size_t there = readable(fd, size, lseek(fd, 0, SEEK_CUR));
    return make_call(&library_stream, Kind::read, there, ssize_t{-1},
                     [=](size_t part) { return read(fd, to, part); });
}

// The C library takes what is less than SIZE for an error, and 0 for a whole one.
ssize_t write_stream(void* cookie, const char* from, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t count =
            make_call(&library_stream, Kind::write, size - done, ssize_t{-1},
                      [=](size_t part) { return write(of_cookie(cookie).fd, from + done, part); });
        if (count <= 0) break;
        done += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

}  // namespace

// Under a sanitizer these would be its own, past those above.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return malloc(size);
}
void* operator new(size_t size) {
    void* const block = malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept {
    free(block);
}
void operator delete(void* block, size_t) noexcept {
    free(block);
}
