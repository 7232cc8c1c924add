#include "platform/threads.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <mutex>
#include <utility>

#include "kernel/kernel_object.h"
#include "kernel/thread.h"
#include "kernel/waiter.h"
#include "platform/last_error.h"

namespace platform {

namespace {

void forked(Object& object, DWORD before, DWORD now);

constexpr Kind kThread = {
    .type = ObjectType::thread,
    .ready = word_is_set,
    .take = [](Object& object,
               DWORD) { return object.state().word != 0 ? Taken::signal : Taken::nothing; },
    .give_back = [](Object&, Taken) {},
    .forked = forked};

struct Thread : Object {
    Thread() : Object(kThread) {}

    LPTHREAD_START_ROUTINE routine = nullptr;
    void* context = nullptr;
    ObjectPointer running;  // this object, until the thread has ended or wasn't started
    pthread_t system_thread{};
    std::atomic<DWORD> number{0};
    bool has_exit_code = false;
    DWORD exit_code = STILL_ACTIVE;
    std::atomic<bool> doomed{false};  // by TerminateThread
    DWORD doomed_exit_code = 0;
    sigjmp_buf end{};
};

// What the handler of the signal looks at; null for threads that CreateThread didn't make.
FAST_THREAD_LOCAL Thread* self_to_end = nullptr;

int end_signal() {
    return SIGRTMAX - 1;
}

void on_end_signal(int) {
    end_if_doomed();
}

// The program's own use of the signal comes first.
bool handle_end_signal() {
    static const bool handled = [] {
        struct sigaction action {};
        if (sigaction(end_signal(), nullptr, &action) != 0 || action.sa_handler != SIG_DFL) {
            return false;
        }
        action.sa_handler = on_end_signal;
        return sigaction(end_signal(), &action, nullptr) == 0;
    }();
    return handled;
}

// The thread of CreateThread that this is, to its end.
thread_local Thread* ending = nullptr;

// In the child only the thread that forked runs on. Nothing is known of how the others go on in the
// parent, but nobody shall wait here for their end.
void forked(Object& object, DWORD, DWORD) {
    auto& thread = static_cast<Thread&>(object);
    if (ending == &thread || thread.own.word != 0) return;
    thread.has_exit_code = true;
    thread.own.word = 1;
    const ObjectPointer gone = std::move(thread.running);
}

// What happens at the end of a thread that was watched, after the destructors of its C++ objects,
// so that who waited for the thread finds all that belonged to it gone. The last reference is
// dropped without the lock.
void settle_end_of_thread() {
    ObjectPointer running;
    const ObjectLock lock;
    end_is_watched = false;
    Waiter::end_of_this_thread();
    Thread* thread = std::exchange(ending, nullptr);
    if (thread == nullptr) return;
    running = std::move(thread->running);
    thread->own.word = 1;
    serve_waiters(*thread);
}

// The key whose destructor tells of the end. To set the value of one of the first keys of a process
// takes no memory.
bool end_of_thread_key(pthread_key_t* key) {
    static pthread_key_t only;
    static const bool made = pthread_key_create(&only, [](void*) { settle_end_of_thread(); }) == 0;
    *key = only;
    return made;
}

void set_exit_code(Thread& self, DWORD exit_code) {
    const ObjectLock lock;
    Waiter::leave_broken_wait();
    self.exit_code = self.doomed ? self.doomed_exit_code : exit_code;
    self.has_exit_code = true;
    self_to_end = nullptr;
}

void* run_thread(void* argument) {
    Thread& self = *static_cast<Thread*>(argument);
    ending = &self;
    const bool watched = watch_end_of_thread();
    self.number = GetCurrentThreadId();
    self.number.notify_all();
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, end_signal());
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    volatile DWORD exit_code = 0;
    if (sigsetjmp(self.end, 1) == 0) {
        {
            const Unbroken until_known;
            self_to_end = &self;
        }
        exit_code = self.routine(self.context);
    }
    unbroken_depth = 0;
    set_exit_code(self, exit_code);
    if (!watched) settle_end_of_thread();
    return nullptr;
}

bool start(Thread& thread, std::size_t stack_size) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    const bool fits = stack_size == 0 || pthread_attr_setstacksize(&attributes, stack_size) == 0;
    const bool started =
        fits && pthread_create(&thread.system_thread, &attributes, run_thread, &thread) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

// In the steps of Windows, where a size is that of the stack only by that flag, else of its first
// part.
std::size_t whole_stack(std::size_t size, bool reservation) {
    constexpr std::size_t kStep = 0x10000;
    if (size == 0 || size > SIZE_MAX - kStep) return size;
    const std::size_t least = reservation ? 4 * kStep : std::size_t{0x100000};
    return (std::max(size, least) + kStep - 1) / kStep * kStep;
}

HANDLE no_thread(DWORD number) {
    SetLastError(number);
    return nullptr;
}

}  // namespace

FAST_THREAD_LOCAL bool end_is_watched = false;

bool begin_to_watch_end() {
    pthread_key_t key = 0;
    end_is_watched = end_of_thread_key(&key) && pthread_setspecific(key, &end_is_watched) == 0;
    if (!end_is_watched) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return end_is_watched;
}

FAST_THREAD_LOCAL DWORD own_number = 0;

void forget_thread_number() {
    own_number = 0;
}

FAST_THREAD_LOCAL volatile int unbroken_depth = 0;

// Out of whatever the thread does, to the end of run_thread.
void end_if_doomed() {
    if (unbroken_depth == 0 && self_to_end != nullptr && self_to_end->doomed) {
        siglongjmp(self_to_end->end, 1);
    }
}

Breakable::Breakable() : depth_(unbroken_depth) {
    unbroken_depth = 0;
    end_if_doomed();
}
Breakable::~Breakable() {
    unbroken_depth = depth_;
}

bool thread_lives(DWORD number) {
    return syscall(SYS_tgkill, getpid(), static_cast<pid_t>(number), 0) == 0;
}

}  // namespace platform

using platform::ObjectType;
using platform::Thread;

HANDLE CreateThread(SECURITY_ATTRIBUTES*, std::size_t stack_size, LPTHREAD_START_ROUTINE routine,
                    void* context, DWORD flags, DWORD* number) {
    if (routine == nullptr || (flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION) != 0) {
        return platform::no_thread(ERROR_INVALID_PARAMETER);
    }
    using platform::ObjectPointer;
    const ObjectPointer object = platform::make_object<Thread>();
    const HANDLE handle = add_handle(object);
    if (handle == nullptr) return nullptr;
    auto& thread = static_cast<Thread&>(*object);
    thread.routine = routine;
    thread.context = context;
    thread.running = ObjectPointer(&thread);
    if (!platform::start(thread, platform::whole_stack(stack_size, flags != 0))) {
        thread.running = {};
        CloseHandle(handle);
        return platform::no_thread(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (number != nullptr) {
        thread.number.wait(0);
        *number = thread.number;
    }
    return handle;
}

BOOL TerminateThread(HANDLE thread, DWORD exit_code) {
    const platform::ObjectLock lock;
    auto* object = static_cast<Thread*>(platform::find_object(thread, ObjectType::thread));
    if (object == nullptr) return FALSE;
    if (object->has_exit_code || object->doomed) return TRUE;
    if (!platform::handle_end_signal()) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    }
    object->doomed_exit_code = exit_code;
    object->doomed = true;
    pthread_kill(object->system_thread, platform::end_signal());
    return TRUE;
}

BOOL GetExitCodeThread(HANDLE thread, DWORD* exit_code) {
    const platform::ObjectLock lock;
    auto* object = static_cast<Thread*>(platform::find_object(thread, ObjectType::thread));
    if (object == nullptr) return FALSE;
    *exit_code = object->state().word != 0 ? object->exit_code : STILL_ACTIVE;
    return TRUE;
}

DWORD GetCurrentThreadId() {
    if (platform::own_number == 0) {
        platform::own_number = static_cast<DWORD>(syscall(SYS_gettid));
    }
    return platform::own_number;
}
