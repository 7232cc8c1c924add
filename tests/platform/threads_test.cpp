#include "platform/threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/last_error.h"

namespace {

struct Shared {
    HANDLE never = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
    std::atomic<DWORD> number{0};
    std::atomic<bool> ready{false};
    ~Shared() {
        CloseHandle(never);
        CloseHandle(mutex);
    }
    void wait_until_ready() const {
        while (!ready) Sleep(1);
    }
};

DWORD tell_number(void* context) {
    static_cast<Shared*>(context)->number = GetCurrentThreadId();
    return 7;
}

DWORD sleep_owning_the_mutex(void* context) {
    auto* shared = static_cast<Shared*>(context);
    WaitForSingleObject(shared->mutex, INFINITE);
    shared->ready = true;
    WaitForSingleObject(shared->never, INFINITE);
    return 1;
}

DWORD work_without_end(void* context) {
    auto* shared = static_cast<Shared*>(context);
    for (;;) shared->ready = true;
}

DWORD use_objects_without_end(void* context) {
    auto* shared = static_cast<Shared*>(context);
    shared->ready = true;
    for (;;) {
        SetEvent(shared->never);
        WaitForSingleObject(shared->never, 0);
    }
}

DWORD exit_code_of(HANDLE thread) {
    DWORD exit_code = 0;
    EXPECT_NE(GetExitCodeThread(thread, &exit_code), FALSE);
    return exit_code;
}

TEST(Threads, RunAndTellTheirNumberAndExitCode) {
    Shared shared;
    DWORD number = 0;
    HANDLE thread = CreateThread(nullptr, 0, tell_number, &shared, 0, &number);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(thread, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(exit_code_of(thread), 7U);
    EXPECT_EQ(shared.number, number);
    EXPECT_NE(number, GetCurrentThreadId());
    EXPECT_NE(number, 0U);
    EXPECT_NE(CloseHandle(thread), FALSE);
}

TEST(Threads, RunWithoutAHandleAndWithAnyStack) {
    for (std::size_t stack_size : {std::size_t{1}, std::size_t{70000}, std::size_t{3} << 20}) {
        for (DWORD flags : {DWORD{0}, DWORD{STACK_SIZE_PARAM_IS_A_RESERVATION}}) {
            Shared shared;
            CloseHandle(CreateThread(nullptr, stack_size, tell_number, &shared, flags, nullptr));
            for (int i = 0; i < 5000 && shared.number == 0; ++i) Sleep(1);
            EXPECT_NE(shared.number, 0U) << stack_size;
        }
    }
}

TEST(Threads, AStackBeyondAllMemoryIsRefused) {
    Shared shared;
    EXPECT_EQ(CreateThread(nullptr, std::size_t{1} << 50, tell_number, &shared, 0, nullptr),
              nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

struct Local {
    explicit Local(std::atomic<bool>& flag) : gone(flag) {}
    ~Local() {
        Sleep(20);
        gone = true;
    }
    std::atomic<bool>& gone;
};

TEST(Threads, AreSignalledWhenTheirLastObjectIsGone) {
    static std::atomic<bool> gone{false};
    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            thread_local Local local(gone);
            return local.gone ? 1 : 0;
        },
        nullptr, 0, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(gone);
    CloseHandle(thread);
}

TEST(Threads, TerminatedAnywhereLeaveTheirMutexesAbandoned) {
    for (auto routine : {sleep_owning_the_mutex, work_without_end, use_objects_without_end}) {
        Shared shared;
        HANDLE thread = CreateThread(nullptr, 0, routine, &shared, 0, nullptr);
        EXPECT_EQ(exit_code_of(thread), DWORD{STILL_ACTIVE});
        shared.wait_until_ready();
        Sleep(5);
        EXPECT_NE(TerminateThread(thread, 9), FALSE);
        EXPECT_EQ(WaitForSingleObject(thread, 10000), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(exit_code_of(thread), 9U);
        EXPECT_NE(TerminateThread(thread, 9), FALSE);
        const bool owned = routine == sleep_owning_the_mutex;
        EXPECT_EQ(WaitForSingleObject(shared.mutex, 1000), owned ? WAIT_ABANDONED : WAIT_OBJECT_0);
        ReleaseMutex(shared.mutex);
        CloseHandle(thread);

        // The dead thread is in nobody's way: the signal is there for the living.
        ResetEvent(shared.never);
        SetEvent(shared.never);
        EXPECT_EQ(WaitForSingleObject(shared.never, 0), DWORD{WAIT_OBJECT_0});
    }
}

TEST(Threads, OneThatTerminatesItselfEndsThere) {
    static std::atomic<HANDLE> self{nullptr};
    static std::atomic<bool> survived{false};
    HANDLE thread = CreateThread(
        nullptr, 0,
        [](void*) -> DWORD {
            while (self == nullptr) Sleep(1);
            TerminateThread(self, 3);
            survived = true;
            return 4;
        },
        nullptr, 0, nullptr);
    self = thread;
    EXPECT_EQ(WaitForSingleObject(thread, 10000), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(exit_code_of(thread), 3U);
    EXPECT_FALSE(survived);
    CloseHandle(thread);
}

TEST(Threads, AreWaitedForTogetherWithOtherObjects) {
    Shared shared;
    HANDLE sleeper = CreateThread(nullptr, 0, sleep_owning_the_mutex, &shared, 0, nullptr);
    HANDLE quick = CreateThread(nullptr, 0, tell_number, &shared, 0, nullptr);
    const HANDLE handles[] = {sleeper, quick, shared.mutex};
    shared.wait_until_ready();
    EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 10000), WAIT_OBJECT_0 + 1U);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, TRUE, 0), DWORD{WAIT_TIMEOUT});
    SetEvent(shared.never);
    EXPECT_EQ(WaitForMultipleObjects(3, handles, TRUE, 10000), DWORD{WAIT_ABANDONED});
    ReleaseMutex(shared.mutex);
    CloseHandle(sleeper);
    CloseHandle(quick);
}

}  // namespace
