#include "kernel/fork.h"

#include <pthread.h>

#include "kernel/common_bell.h"
#include "kernel/kernel_object.h"
#include "kernel/named_objects.h"
#include "platform/critical_section.h"
#include "platform/threads.h"

namespace platform {

namespace {

DWORD number_before = 0;  // of the forking thread

void before_fork() {
    enter_unbroken();
    lock_names_for_fork();
    for_each_named_object([](Object& object) { object.file->open_for_child(); });
    if (common_bell_file() != nullptr) common_bell_file()->open_for_child();
    lock_objects_for_fork();
    number_before = GetCurrentThreadId();
}

template <bool child>
void after_fork() {
    for_each_named_object([](Object& object) { object.file->keep_own(child); });
    if (common_bell_file() != nullptr) common_bell_file()->keep_own(child);
    unlock_objects_after_fork();
    unlock_names_after_fork();
    leave_unbroken();
}

// Those who wait are threads that are gone.
void fit_into_child(Object& object) {
    object.first_waiter = object.last_waiter = nullptr;
    if (object.kind->forked != nullptr) {
        object.kind->forked(object, number_before, GetCurrentThreadId());
    }
}

void begin_child() {
    forget_thread_number();
    forget_other_holders();
    for_each_object(fit_into_child);
    for_each_named_object(fit_into_child);
    after_fork<true>();
}

}  // namespace

bool fork_is_watched() {
    static const bool watched = pthread_atfork(before_fork, after_fork<false>, begin_child) == 0;
    return watched;
}

}  // namespace platform
