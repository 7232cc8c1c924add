// What processes share by names: events, mutexes, records in memory.
#pragma once

#include <string>

#include "moltelib.h"

constexpr int32_t kPatience = 10;  // seconds

class Event {
 public:
    Event() : handle_(ORVEX_EVENT_Create(nullptr)) {}  // the process's own
    explicit Event(const std::string& name) : handle_(ORVEX_EVENT_Create(name.c_str())) {}
    ~Event() { ORVEX_EVENT_Release(handle_); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool valid() const { return handle_ != nullptr; }
    OXHANDLE handle() const { return handle_; }
    void set() const { ORVEX_EVENT_Set(handle_); }
    void wait(int32_t seconds) const { ORVEX_EVENT_TimeWait(handle_, seconds); }

 private:
    OXHANDLE handle_;
};

// What it guards is whole at any moment, so the death of a holder is no reason to give up.
class Mutex {
 public:
    explicit Mutex(const std::string& name) { MOLTE_MUTEX_Create(&handle_, name.c_str()); }
    ~Mutex() {
        if (valid()) MOLTE_MUTEX_Release(&handle_);
    }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    bool valid() const { return handle_ != nullptr; }
    // What is done with the mutex held; false when it can't be had.
    template <class Work>
    bool hold(Work work) {
        int32_t got = MOLTE_MUTEX_Lock(&handle_, kPatience);
        while (got < 0 && MOLTE_MUTEX_Unlock(&handle_) > 0) {
            got = MOLTE_MUTEX_Lock(&handle_, kPatience);
        }
        if (got < 1) return false;
        work();
        MOLTE_MUTEX_Unlock(&handle_);
        return true;
    }

 private:
    OXHANDLE handle_ = nullptr;
};

// A record that is zeroed by the first process that has it.
template <class Record>
class Shared {
 public:
    explicit Shared(const std::string& name) {
        MOLTE_SHMEM_Create(&map_, sizeof(Record), name.c_str());
    }
    ~Shared() { MOLTE_SHMEM_Release(&map_); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    bool valid() const { return map_.pView != nullptr; }
    Record* operator->() const { return static_cast<Record*>(map_.pView); }

 private:
    MOLTE_FMAP map_{};
};
