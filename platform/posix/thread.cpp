#include "platform/threads.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <csignal>
#include <mutex>
#include <utility>

#include "kernel_object.h"
#include "platform/last_error.h"
#include "take_one.h"
#include "waiter.h"

namespace platform {

namespace {

constexpr Kind kThread = {
    ObjectType::thread,
    false,
    word_is_set,
    [](Object& object, DWORD) { return object.state().word != 0 ? Taken::signal : Taken::nothing; },
    [](Object&, Taken) {},
    nullptr,
    nullptr};

struct Thread : Object {
    Thread() : Object(kThread) {}

    LPTHREAD_START_ROUTINE routine = nullptr;
    void* context = nullptr;
    ObjectPointer running;  // this object, until the thread has ended
    pthread_t system_thread{};
    std::atomic<DWORD> number{0};
    bool has_exit_code = false;
    DWORD exit_code = STILL_ACTIVE;
    std::atomic<bool> doomed{false};  // by TerminateThread
    DWORD doomed_exit_code = 0;
    sigjmp_buf end{};
};

// What the handler of the signal looks at.
struct Control {
    Thread* self;  // null for threads that CreateThread didn't make
    volatile int unbroken;
};
thread_local Control control = {nullptr, 0};

// 0 until it is asked for, and in a forked child.
thread_local DWORD own_number = 0;
const int fork_watched = pthread_atfork(nullptr, nullptr, [] { own_number = 0; });

int end_signal() {
    return SIGRTMAX - 1;
}

// Out of whatever the thread does, to the end of run_thread.
void end_if_doomed() {
    if (control.unbroken == 0 && control.self != nullptr && control.self->doomed) {
        siglongjmp(control.self->end, 1);
    }
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

// Made first and so destroyed last of the thread's own objects: who waited for the thread finds all
// that belonged to it gone.
struct EndOfThread {
    ObjectPointer thread;

    ~EndOfThread() {
        if (thread == nullptr) return;
        const ObjectLock lock;
        auto& self = static_cast<Thread&>(*thread);
        self.running = nullptr;
        self.own.word = 1;
        serve_waiters(self);
    }
};
thread_local EndOfThread end_of_thread;

void set_exit_code(Thread& self, DWORD exit_code) {
    const ObjectLock lock;
    self.exit_code = self.doomed ? self.doomed_exit_code : exit_code;
    self.has_exit_code = true;
    control.self = nullptr;
}

void* run_thread(void* argument) {
    Thread& self = *static_cast<Thread*>(argument);
    end_of_thread.thread = self.running;
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
            control.self = &self;
        }
        exit_code = self.routine(self.context);
    }
    control.unbroken = 0;
    set_exit_code(self, exit_code);
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

Unbroken::Unbroken() {
    control.unbroken = control.unbroken + 1;
}
Unbroken::~Unbroken() {
    control.unbroken = control.unbroken - 1;
    end_if_doomed();
}

Breakable::Breakable() : depth_(control.unbroken) {
    control.unbroken = 0;
    end_if_doomed();
}
Breakable::~Breakable() {
    control.unbroken = depth_;
}

}  // namespace platform

using platform::ObjectType;
using platform::Thread;

HANDLE CreateThread(SECURITY_ATTRIBUTES*, std::size_t stack_size, LPTHREAD_START_ROUTINE routine,
                    void* context, DWORD flags, DWORD* number) {
    if (routine == nullptr || (flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION) != 0) {
        return platform::no_thread(ERROR_INVALID_PARAMETER);
    }
    const auto thread = std::make_shared<Thread>();
    thread->routine = routine;
    thread->context = context;
    thread->running = thread;
    const HANDLE handle = add_handle(thread);
    if (!platform::start(*thread, platform::whole_stack(stack_size, flags != 0))) {
        thread->running = nullptr;
        CloseHandle(handle);
        return platform::no_thread(ERROR_NOT_ENOUGH_MEMORY);
    }
    if (number != nullptr) {
        thread->number.wait(0);
        *number = thread->number;
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
