#include "interposer.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <netdb.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
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

bool suits(const Plan& plan, Kind kind, size_t size) {
    const bool moves = (kind == Kind::read || kind == Kind::write) && size > 1;
    if (plan.fault == Fault::half) return moves;
    if (plan.fault == Fault::half_death) return moves && kind == Kind::write;
    return plan.fault > Fault::memory && (kind != Kind::futex || plan.error == EINTR);
}

bool call_fails(const void* caller, Kind kind, size_t size) {
    if (!armed || kind == Kind::uncounted || !of_library(caller)) return false;
    const int number = ++watch->system_calls;
    return suits(watch->plan, kind, size) && strikes(number);
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
    if (!call_fails(caller, kind, size)) return real(size);
    const Plan& plan = watch->plan;
    if (plan.fault != Fault::error && plan.fault != Fault::death) failure = real(size / 2);
    if (plan.fault >= Fault::death) kill(getpid(), SIGKILL);
    if (plan.fault == Fault::error) errno = plan.error;
    return failure;
}

}  // namespace

bool arm(bool from_now_on) {
    return armed.exchange(from_now_on);
}

// Each is a function under its own name that is known as the C library's to who links it, whatever
// the headers say of that.
#define CALLER __builtin_return_address(0)
#define REAL(name)           \
    static const auto real = \
        reinterpret_cast<decltype(&in_front_of_##name)>(dlsym(RTLD_NEXT, #name))
#define IN_FRONT_OF(name, result, ...)                                         \
    extern "C" result in_front_of_##name(__VA_ARGS__) noexcept __asm__(#name); \
    result in_front_of_##name(__VA_ARGS__) noexcept
// A call whose arguments all fit registers, and which gives -1 when it fails.
#define SYSTEM_CALL(name)                                                     \
    IN_FRONT_OF(name, long, long a, long b, long c, long d, long e, long f) { \
        REAL(name);                                                           \
        return make_call(CALLER, Kind::other, 0, -1L,                         \
                         [=](size_t) { return real(a, b, c, d, e, f); });     \
    }

IN_FRONT_OF(malloc, void*, size_t size) {
    REAL(malloc);
    return allocation_fails() ? nullptr : real(size);
}
IN_FRONT_OF(calloc, void*, size_t count, size_t size) {
    REAL(calloc);
    return allocation_fails() ? nullptr : real(count, size);
}
IN_FRONT_OF(realloc, void*, void* block, size_t size) {
    REAL(realloc);
    return allocation_fails() ? nullptr : real(block, size);
}
IN_FRONT_OF(aligned_alloc, void*, size_t alignment, size_t size) {
    REAL(aligned_alloc);
    return allocation_fails() ? nullptr : real(alignment, size);
}

// Made by a sanitizer, in each new thread.
IN_FRONT_OF(pthread_getattr_np, int, pthread_t thread, pthread_attr_t* attributes) {
    REAL(pthread_getattr_np);
    exempt = true;
    const int result = real(thread, attributes);
    exempt = false;
    return result;
}

SYSTEM_CALL(open)
SYSTEM_CALL(openat)
SYSTEM_CALL(rename)
SYSTEM_CALL(renameat)
SYSTEM_CALL(link)
SYSTEM_CALL(linkat)
SYSTEM_CALL(mkdir)
SYSTEM_CALL(chdir)
SYSTEM_CALL(fchdir)
SYSTEM_CALL(unlink)
SYSTEM_CALL(ftruncate)
SYSTEM_CALL(fallocate)
SYSTEM_CALL(mmap)
SYSTEM_CALL(fsync)
SYSTEM_CALL(flock)

IN_FRONT_OF(read, ssize_t, int fd, void* to, size_t size) {
    REAL(read);
    const size_t there = armed ? readable(fd, size, lseek(fd, 0, SEEK_CUR)) : size;
    return make_call(CALLER, Kind::read, there, ssize_t{-1},
                     [=](size_t part) { return real(fd, to, part); });
}
IN_FRONT_OF(pread, ssize_t, int fd, void* to, size_t size, off_t at) {
    REAL(pread);
    return make_call(CALLER, Kind::read, readable(fd, size, at), ssize_t{-1},
                     [=](size_t part) { return real(fd, to, part, at); });
}
IN_FRONT_OF(write, ssize_t, int fd, const void* from, size_t size) {
    REAL(write);
    return make_call(CALLER, Kind::write, size, ssize_t{-1},
                     [=](size_t part) { return real(fd, from, part); });
}
IN_FRONT_OF(syscall, long, long number, long a, long b, long c, long d, long e, long f) {
    REAL(syscall);
    // A call that wakes is interrupted by nothing.
    const bool wakes = number == SYS_futex && (b & FUTEX_CMD_MASK) == FUTEX_WAKE;
    const Kind kind = wakes                                              ? Kind::uncounted
                      : number == SYS_futex || number == SYS_futex_waitv ? Kind::futex
                      : number == SYS_renameat2                          ? Kind::other
                                                                         : Kind::uncounted;
    return make_call(CALLER, kind, 0, -1L, [=](size_t) { return real(number, a, b, c, d, e, f); });
}

// ---- Sockets ----

SYSTEM_CALL(socket)
SYSTEM_CALL(bind)
SYSTEM_CALL(listen)
SYSTEM_CALL(accept4)
SYSTEM_CALL(connect)
SYSTEM_CALL(shutdown)
SYSTEM_CALL(getsockname)
SYSTEM_CALL(getpeername)
SYSTEM_CALL(setsockopt)
SYSTEM_CALL(getsockopt)
SYSTEM_CALL(ioctl)
SYSTEM_CALL(ppoll)
// By this name checked builds call it.
SYSTEM_CALL(__ppoll_chk)

// Half of a datagram would be lost: streams alone move less.
IN_FRONT_OF(sendto, ssize_t, int fd, const void* from, size_t size, int flags, const sockaddr* to,
            socklen_t room) {
    REAL(sendto);
    return make_call(CALLER, Kind::write, to == nullptr ? size : 0, ssize_t{-1}, [=](size_t part) {
        return real(fd, from, to == nullptr ? part : size, flags, to, room);
    });
}
// Messages of one part.
IN_FRONT_OF(recvmsg, ssize_t, int fd, msghdr* message, int flags) {
    REAL(recvmsg);
    iovec* const buffer = message->msg_iov;
    const size_t whole = buffer->iov_len;
    const bool stream = message->msg_name == nullptr;
    return make_call(CALLER, Kind::read, stream ? whole : 0, ssize_t{-1}, [=](size_t part) {
        buffer->iov_len = stream ? part : whole;
        const ssize_t result = real(fd, message, flags);
        buffer->iov_len = whole;
        return result;
    });
}

namespace {

// The C library's look-ups crash or hang when memory fails inside them, so they fail as a whole.
template <typename Call>
int look_up(const void* caller, const Call& call) {
    if (allocation_fails()) return EAI_MEMORY;
    return make_call(caller, Kind::other, 0, EAI_SYSTEM, [&](size_t) {
        exempt = true;
        const int result = call();
        exempt = false;
        return result;
    });
}

}  // namespace

IN_FRONT_OF(getaddrinfo, int, const char* name, const char* service, const addrinfo* wanted,
            addrinfo** found) {
    REAL(getaddrinfo);
    return look_up(CALLER, [&] { return real(name, service, wanted, found); });
}
IN_FRONT_OF(getnameinfo, int, const sockaddr* address, socklen_t size, char* host,
            socklen_t host_room, char* service, socklen_t service_room, int flags) {
    REAL(getnameinfo);
    return look_up(
        CALLER, [&] { return real(address, size, host, host_room, service, service_room, flags); });
}

// ---- Streams, which the C library would feed by calls of its own ----

namespace {

std::atomic<FILE*> stream_of[256];  // by the descriptor, which is its cookie

int descriptor(void* cookie) {
    return static_cast<int>(reinterpret_cast<intptr_t>(cookie));
}

ssize_t read_stream(void* cookie, char* to, size_t size) {
    const int fd = descriptor(cookie);
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
                      [=](size_t part) { return write(descriptor(cookie), from + done, part); });
        if (count <= 0) break;
        done += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

int seek_stream(void* cookie, off64_t* position, int origin) {
    *position = lseek(descriptor(cookie), *position, origin);
    return *position < 0 ? -1 : 0;
}

int close_stream(void* cookie) {
    stream_of[descriptor(cookie)] = nullptr;
    return close(descriptor(cookie));
}

bool is_counted(const void* caller) {
    return of_library(caller) && watch->plan.fault != Fault::memory;
}

FILE* counted_stream(int fd, const char* mode) {
    if (static_cast<size_t>(fd) >= std::size(stream_of)) return nullptr;
    return stream_of[fd] = fopencookie(reinterpret_cast<void*>(static_cast<intptr_t>(fd)), mode,
                                       {read_stream, write_stream, seek_stream, close_stream});
}

}  // namespace

IN_FRONT_OF(fdopen, FILE*, int fd, const char* mode) {
    REAL(fdopen);
    return is_counted(CALLER) ? counted_stream(fd, mode) : real(fd, mode);
}
IN_FRONT_OF(fopen, FILE*, const char* path, const char* mode) {
    REAL(fopen);
    const bool counted = is_counted(CALLER);
    return make_call(CALLER, Kind::other, 0, static_cast<FILE*>(nullptr), [=](size_t) {
        FILE* const plain = real(path, mode);
        if (plain == nullptr || !counted) return plain;
        const int fd = dup(fileno(plain));
        fclose(plain);
        return counted_stream(fd, mode);
    });
}
IN_FRONT_OF(fileno, int, FILE* stream) {
    REAL(fileno);
    const auto* const own = std::find(std::begin(stream_of), std::end(stream_of), stream);
    return own != std::end(stream_of) ? static_cast<int>(own - stream_of) : real(stream);
}

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
