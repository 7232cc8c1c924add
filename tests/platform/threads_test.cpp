#include "platform/threads.h"

#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"

namespace {

struct Shared {
    DWORD (*routine)(Shared&);
    const Handle never{automatic()};
    const Handle owned{mutex()};
    std::atomic<DWORD> number{0};
    std::atomic<bool> ready{false};
    std::atomic<HANDLE> self{nullptr};
};

DWORD run(void* context) {
    auto& shared = *static_cast<Shared*>(context);
    return shared.routine(shared);
}

// Starts the routine, and waits until it is ready, or gone.
HANDLE start(Shared& shared) {
    HANDLE thread = CreateThread(nullptr, 0, run, &shared, 0, nullptr);
    shared.self = thread;
    while (!shared.ready && wait_for(thread, 1) == WAIT_TIMEOUT) {
    }
    return thread;
}

DWORD tell_number(Shared& shared) {
    shared.number = GetCurrentThreadId();
    return 7;
}

DWORD sleep_owning_the_mutex(Shared& shared) {
    wait_for(shared.owned, INFINITE);
    shared.ready = true;
    return wait_for(shared.never, INFINITE);
}

DWORD work_without_end(Shared& shared) {
    for (;;) shared.ready = true;
}

DWORD use_objects_without_end(Shared& shared) {
    for (shared.ready = true;;) {
        SetEvent(shared.never);
        wait_for(shared.never);
    }
}

DWORD terminate_itself(Shared& shared) {
    while (shared.self == nullptr) Sleep(1);
    TerminateThread(shared.self, 9);
    shared.number = 1;  // survived
    return 4;
}

DWORD exit_code_of(HANDLE thread) {
    DWORD exit_code = 0;
    EXPECT_NE(GetExitCodeThread(thread, &exit_code), FALSE);
    return exit_code;
}

TEST(Threads, TellTheirNumberWithAnyStackThatThereCanBe) {
    for (std::size_t stack_size : {std::size_t{1}, std::size_t{70000}, std::size_t{3} << 20}) {
        Shared shared{tell_number};
        DWORD number = 0;
        const Handle thread(CreateThread(nullptr, stack_size, run, &shared,
                                         STACK_SIZE_PARAM_IS_A_RESERVATION, &number));
        for (int i = 0; i < 2; ++i) EXPECT_EQ(wait_for(thread, INFINITE), DWORD{WAIT_OBJECT_0});
        EXPECT_EQ(exit_code_of(thread), 7U);
        EXPECT_EQ(shared.number, number);
        EXPECT_TRUE(number != 0 && number != GetCurrentThreadId());
        while (platform::thread_lives(number)) Sleep(1);  // its end is signalled from within
    }
    EXPECT_TRUE(platform::thread_lives(GetCurrentThreadId()));
    EXPECT_EQ(error_if(!CreateThread(nullptr, std::size_t{1} << 50, run, nullptr, 0, nullptr)),
              DWORD{ERROR_NOT_ENOUGH_MEMORY});
}

std::atomic<bool> local_gone{false};
struct Local {
    ~Local() {
        Sleep(20);
        local_gone = true;
    }
};
DWORD have_a_local_object(void*) {
    static thread_local Local local;
    return reinterpret_cast<uintptr_t>(&local) % 2;
}

TEST(Threads, AreSignalledWhenTheirLastObjectIsGone) {
    const Handle thread(CreateThread(nullptr, 0, have_a_local_object, nullptr, 0, nullptr));
    EXPECT_EQ(wait_for(thread, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(local_gone);
}

TEST(Threads, TerminatedAnywhereLeaveTheirMutexesAbandoned) {
    for (auto routine :
         {sleep_owning_the_mutex, work_without_end, use_objects_without_end, terminate_itself}) {
        Shared shared{routine};
        const Handle thread(start(shared));
        EXPECT_EQ(exit_code_of(thread), shared.ready ? DWORD{STILL_ACTIVE} : 9);
        for (int i = 0; i < 2; ++i) {
            EXPECT_NE(TerminateThread(thread, 9), FALSE);
            EXPECT_EQ(wait_for(thread, 10000), DWORD{WAIT_OBJECT_0});
        }
        EXPECT_EQ(exit_code_of(thread), 9U);
        EXPECT_EQ(shared.number, 0U);
        const bool owned = routine == sleep_owning_the_mutex;
        EXPECT_EQ(wait_for(shared.owned, 1000), owned ? WAIT_ABANDONED : WAIT_OBJECT_0);
        ReleaseMutex(shared.owned);
        // The dead thread is in nobody's way: the signal is there for the living.
        SetEvent(shared.never);
        EXPECT_EQ(wait_for(shared.never), DWORD{WAIT_OBJECT_0});
    }
}

}  // namespace
