// Handles of one kind that a program has open. A handle is never given out again, so one that was
// closed, or is another kind's, is found to be so.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>

#include "platform/critical_section.h"
#include "platform/types.h"

namespace platform {

// T has the members uint64_t id and T* next, for this table alone.
template <typename T>
class OpenTable {
 public:
    // The kind is a small number that no other table has.
    explicit constexpr OpenTable(uint64_t kind) : last_(kind << 48) {}

    // Null without memory; a new object that is not in the table yet.
    static std::unique_ptr<T> make() { return std::unique_ptr<T>(new (std::nothrow) T); }

    // The handle is an even number.
    HANDLE add(std::unique_ptr<T> object) {
        const std::lock_guard guard(lock_);
        object->id = last_ += 2;
        T*& bucket = bucket_of(object->id);
        object->next = bucket;
        bucket = object.release();
        return reinterpret_cast<HANDLE>(bucket->id);
    }

    // The object of a handle, still the table's; null when the handle isn't open.
    T* find(HANDLE handle) {
        const std::lock_guard guard(lock_);
        return *link_to(handle);
    }

    // The same, no longer the table's.
    std::unique_ptr<T> take(HANDLE handle) {
        const std::lock_guard guard(lock_);
        T** link = link_to(handle);
        std::unique_ptr<T> object(*link);
        if (object != nullptr) *link = object->next;
        return object;
    }

 private:
    static constexpr size_t kBuckets = 64;

    T*& bucket_of(uint64_t id) { return buckets_[id / 2 % kBuckets]; }

    T** link_to(HANDLE handle) {
        const auto id = reinterpret_cast<uintptr_t>(handle);
        T** link = &bucket_of(id);
        while (*link != nullptr && (*link)->id != id) link = &(*link)->next;
        return link;
    }

    Lock lock_;
    uint64_t last_;
    T* buckets_[kBuckets] = {};
};

}  // namespace platform
