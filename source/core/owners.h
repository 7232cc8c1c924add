// Owner types: whatever a function takes for its own run is given back when it leaves, on every
// path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "moltelib/base.h"
#include "moltelib/file_handle.h"
#include "moltelib/memory.h"
#include "moltelib/thread.h"
#include "platform/files.h"
#include "platform/memory.h"

namespace molte {

struct HeapFree {
    void operator()(void* block) const { ORVEX_free(block); }
};

// A block of ORVEX_release_malloc; release() hands it to the caller.
template <typename T>
using Heap = std::unique_ptr<T[], HeapFree>;

// Null on failure, which is then already reported. The block is not zeroed.
template <typename T>
[[nodiscard]] Heap<T> allocate(int64_t count) {
    return Heap<T>(static_cast<T*>(ORVEX_release_malloc(count * static_cast<int64_t>(sizeof(T)))));
}

// As allocate(), for a list that is filled at once.
template <typename T>
[[nodiscard]] Heap<T> allocate_list(size_t count) {
    auto block = allocate<T>(static_cast<int64_t>(count));
    if (block != nullptr) platform::expect_large_use(block.get(), count * sizeof(T));
    return block;
}

struct ScratchFree {
    void operator()(void* block) const { std::free(block); }
};

// A list for the run of a function that can do without it.
template <typename T>
using Scratch = std::unique_ptr<T[], ScratchFree>;

// Null when there is no memory, which is no error and isn't reported. It is expected to be filled.
template <typename T>
[[nodiscard]] Scratch<T> scratch(size_t count) {
    Scratch<T> block(static_cast<T*>(std::malloc(count * sizeof(T))));
    if (block != nullptr) platform::expect_large_use(block.get(), count * sizeof(T));
    return block;
}

struct StreamClose {
    void operator()(FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<FILE, StreamClose>;

// A critical section for a static in a function: made at its first use, and never deleted, for
// other threads may need it while the process ends.
struct LastingLock {
    OXCRITSECT section;
    LastingLock() { ORVEX_InitCritSect(&section); }
};

// Holds a critical section from here to the end of the block.
class CritGuard {
 public:
    explicit CritGuard(OXCRITSECT& section) : section_(&section) { MOLTE_EnterCrit(section_); }
    explicit CritGuard(MOLTE_CRIT& crit) : CritGuard(crit.stCrit) {}
    ~CritGuard() { MOLTE_LeaveCrit(section_); }
    CritGuard(const CritGuard&) = delete;
    CritGuard& operator=(const CritGuard&) = delete;

 private:
    OXCRITSECT* section_;
};

// A file handle; null is none.
class Handle {
 public:
    explicit Handle(ORVEX_HFILE* file) : file_(file) {}
    ~Handle() { ORVEX_HFILE_Close(&file_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    [[nodiscard]] ORVEX_HFILE* get() const { return file_; }
    explicit operator bool() const { return file_ != nullptr; }

 private:
    ORVEX_HFILE* file_;
};

// A file descriptor; -1 is none.
class Descriptor {
 public:
    explicit Descriptor(int32_t fd = -1) : fd_(fd) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int32_t get() const { return fd_; }
    [[nodiscard]] bool valid() const { return fd_ >= 0; }
    [[nodiscard]] int32_t release() {
        const int32_t fd = fd_;
        fd_ = -1;
        return fd;
    }
    void close() { reset(-1); }
    void reset(int32_t fd) {
        if (fd_ >= 0) _close(fd_);
        fd_ = fd;
    }

 private:
    int32_t fd_;
};

}  // namespace molte
