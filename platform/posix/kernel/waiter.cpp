#include "kernel/waiter.h"

#include <algorithm>
#include <new>
#include <utility>

#include "kernel/common_bell.h"
#include "platform/threads.h"

namespace platform {

FAST_THREAD_LOCAL Waiter* Waiter::own_waiter = nullptr;

Waiter* Waiter::make() {
    const Unbroken unbroken;
    if (!watch_end_of_thread()) return nullptr;
    own_waiter = new (std::nothrow) Waiter;
    if (own_waiter == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return own_waiter;
}

void serve_waiters(Object& object) {
    for (WaitBlock* block = object.first_waiter; block != nullptr;) {
        if (!object.kind->ready(object, block->waiter->thread_)) return;
        block = block->waiter->serve() ? object.first_waiter : block->next;
    }
}

// A wait that has to do with other processes is only told to look itself.
bool Waiter::serve() {
    if (shared_ == 0) {
        const DWORD result = attempt();
        if (result == kNotYet) return false;
        dequeue();
        result_ = result;
        finish(result);
        served_.store(true, std::memory_order_release);
    }
    bell_.fetch_add(1, std::memory_order_release);
    ring_after_unlock(bell_);
    if (shared_ > 0) ring_common_bell();
    return shared_ == 0;
}

DWORD Waiter::attempt() {
    return all_ ? attempt_all() : attempt_any();
}

DWORD Waiter::attempt_any() {
    for (std::size_t i = 0; i < count_; ++i) {
        Object& object = *objects_[i];
        seen_[i] = object.state().word.load();
        missing_[i] = true;
        const Taken taken = object.kind->take(object, thread_);
        const auto place = static_cast<DWORD>(i);
        if (taken == Taken::signal) return WAIT_OBJECT_0 + place;
        if (taken == Taken::abandoned) return WAIT_ABANDONED_0 + place;
    }
    return kNotYet;
}

DWORD Waiter::attempt_all() {
    bool complete = true;
    for (std::size_t i = 0; i < count_; ++i) {
        seen_[i] = objects_[i]->state().word.load();
        missing_[i] = !objects_[i]->kind->ready(*objects_[i], thread_);
        complete = complete && !missing_[i];
    }
    DWORD result = kNotYet;
    return complete && take_all(&result) ? result : kNotYet;
}

// All were ready a moment ago, and those of this process, which only change under the lock, still
// are. If one of several processes is gone by now, the others are given back. No lock is needed for
// this to be sound: to everyone else each object behaves as if a thread had waited for it alone and
// then signalled it again, and whoever fell asleep meanwhile is woken by that. A process killed in
// between takes signals with it, as one that is killed right after its wait.
bool Waiter::take_all(DWORD* result) {
    Taken taken[MAXIMUM_WAIT_OBJECTS];
    *result = WAIT_OBJECT_0;
    for (std::size_t i = 0; i < count_; ++i) {
        taken[i] = objects_[i]->kind->take(*objects_[i], thread_);
        if (taken[i] == Taken::abandoned) *result = WAIT_ABANDONED_0;
        if (taken[i] != Taken::nothing) continue;
        missing_[i] = true;
        while (i-- > 0) objects_[i]->kind->give_back(*objects_[i], taken[i]);
        return false;
    }
    return true;
}

void Waiter::own(Object& object) {
    object.owned = true;
    object.next_owned = first_owned_;
    first_owned_ = object.shared() ? &object : ObjectPointer(&object).release();
}

bool Waiter::disown_here(Object& object) {
    return own_waiter != nullptr && own_waiter->disown(object);
}

bool Waiter::disown(Object& object) {
    Object** link = &first_owned_;
    while (*link != nullptr && *link != &object) link = &(*link)->next_owned;
    if (*link == nullptr) return false;
    *link = object.next_owned;
    forget_owner(object);
    return true;
}

void forget_owner(Object& object) {
    object.owned = false;
    object.next_owned = nullptr;
    if (!object.shared()) const ObjectPointer dropped = ObjectPointer::adopt(&object);
}

void Waiter::leave_broken_wait() {
    if (own_waiter == nullptr || !own_waiter->asleep_) return;
    Waiter& waiter = *own_waiter;
    waiter.asleep_ = false;
    waiter.dequeue();
    if (!waiter.served_) waiter.pass_on();
    robust_list_forget_operation();
    waiter.drop_kept();
}

void Waiter::end() {
    leave_broken_wait();
    while (first_owned_ != nullptr) {
        const ObjectPointer object(first_owned_);
        disown(*object);
        object->kind->abandon(*object);
    }
}

void Waiter::end_of_this_thread() {
    if (own_waiter == nullptr) return;
    own_waiter->end();
    delete std::exchange(own_waiter, nullptr);
}

DWORD Waiter::wait(const HANDLE* handles, DWORD count, bool all, DWORD milliseconds) {
    {
        const ObjectLock lock;
        if (!begin(handles, count, all)) return WAIT_FAILED;
        if (shared_ > 0) common_bell_seen_ = common_bell().load();
        const DWORD result = attempt();
        if (result != kNotYet) finish(result);
        if (result != kNotYet || milliseconds == 0) return result;
        enqueue();
    }
    return sleep_until_done(milliseconds);
}

bool Waiter::begin(const HANDLE* handles, DWORD count, bool all) {
    thread_ = number_of_this_thread();
    count_ = shared_ = shared_mutexes_ = 0;
    all_ = all;
    for (DWORD i = 0; i < count; ++i) {
        Object* object = find_object(handles[i]);
        if (object == nullptr) return false;
        if (object->kind->ready == nullptr) {
            SetLastError(ERROR_ACCESS_DENIED);
            return false;
        }
        if (all && std::find(objects_, objects_ + count_, object) != objects_ + count_) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return false;
        }
        add(*object);
    }
    return true;
}

void Waiter::add(Object& object) {
    objects_[count_++] = &object;
    if (!object.shared()) return;
    ++shared_;
    if (object.kind->type == ObjectType::mutex) ++shared_mutexes_;
}

// What the thread owns from now on.
void Waiter::finish(DWORD result) {
    const std::size_t place = result < WAIT_ABANDONED_0 ? result : result - WAIT_ABANDONED_0;
    for (std::size_t i = 0; i < count_; ++i) {
        Object& object = *objects_[i];
        const bool got = all_ || i == place;
        if (got && object.kind->has_owner && !object.owned) own(object);
    }
}

void Waiter::enqueue() {
    for (std::size_t i = 0; i < count_; ++i) {
        Object& object = *objects_[i];
        (void)ObjectPointer(&object).release();  // to drop_kept
        if (object.shared()) continue;
        WaitBlock& block = blocks_[i];
        block = {this, &object, object.last_waiter, nullptr};
        (object.last_waiter != nullptr ? object.last_waiter->next : object.first_waiter) = &block;
        object.last_waiter = &block;
    }
    bell_seen_ = bell_.load();
    served_ = false;
    asleep_ = true;
}

void Waiter::dequeue() {
    for (std::size_t i = 0; i < count_; ++i) {
        WaitBlock& block = blocks_[i];
        if (block.waiter == nullptr) continue;
        Object& object = *block.object;
        (block.previous != nullptr ? block.previous->next : object.first_waiter) = block.next;
        (block.next != nullptr ? block.next->previous : object.last_waiter) = block.previous;
        block = {};
    }
}

void Waiter::drop_kept() {
    for (std::size_t i = 0; i < count_; ++i) {
        const ObjectPointer dropped = ObjectPointer::adopt(objects_[i]);
    }
}

namespace {

DWORD wait_for_objects(const HANDLE* handles, DWORD count, bool all, DWORD milliseconds) {
    Waiter* waiter = Waiter::of_this_thread();
    return waiter != nullptr ? waiter->wait(handles, count, all, milliseconds) : WAIT_FAILED;
}

}  // namespace

}  // namespace platform

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    return platform::wait_for_objects(&handle, 1, false, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || handles == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    return platform::wait_for_objects(handles, count, all != FALSE, milliseconds);
}
