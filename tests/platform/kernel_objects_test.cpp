// Objects without a name: handles, what each kind of object does, and waits.
#include "platform/kernel_objects.h"

#include "platform/threads.h"
#include "support/asleep.h"
#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"

namespace {

// Each call that takes one kind of object only, and the number of that kind.
const std::pair<int, BOOL (*)(HANDLE)> kCallsOfAKind[] = {
    {0, SetEvent},
    {0, ResetEvent},
    {1, ReleaseMutex},
    {2, [](HANDLE handle) { return ReleaseSemaphore(handle, 1, nullptr); }},
    {3, [](HANDLE handle) { return TerminateThread(handle, 1); }},
    {3, [](HANDLE handle) {
         DWORD exit_code = 0;
         return GetExitCodeThread(handle, &exit_code);
     }}};

TEST(Handles, OfAnotherKindOrOfNothingAreRefused) {
    const auto nothing = [](void*) -> DWORD { return 0; };
    const Handles objects = {automatic(true), mutex(), semaphore(0, 1),
                             CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr)};
    const HANDLE closed = automatic(true);
    ASSERT_NE(CloseHandle(closed), FALSE);
    int local = 0;
    std::vector<HANDLE> handles = objects;
    for (HANDLE handle : {HANDLE{nullptr}, closed, HANDLE{&local}, reinterpret_cast<HANDLE>(3),
                          reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFFFFFF12345678})}) {
        handles.push_back(handle);
        const HANDLE pair[] = {objects[0], handle};
        const auto wait = [&] { return WaitForMultipleObjects(2, pair, FALSE, 0); };
        EXPECT_EQ(error_if(CloseHandle(handle) == FALSE), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(error_if(wait_for(handle) == WAIT_FAILED), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(error_if(wait() == WAIT_FAILED), DWORD{ERROR_INVALID_HANDLE});
    }
    for (const auto& [kind, call] : kCallsOfAKind) {
        for (size_t i = 0; i < handles.size(); ++i) {
            if (i == static_cast<size_t>(kind)) continue;
            EXPECT_EQ(error_if(!call(handles[i])), DWORD{ERROR_INVALID_HANDLE}) << kind << i;
        }
    }
    EXPECT_EQ(wait_for(objects[0]), DWORD{WAIT_OBJECT_0});  // nobody took it
    EXPECT_NE(CloseHandle(INVALID_HANDLE_VALUE), FALSE);    // the own process
#if !defined(_WIN32)  // which gives the values of closed handles out again
    const Handle in_its_place(automatic(true));
    EXPECT_EQ(error_if(CloseHandle(closed) == FALSE), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(wait_for(in_its_place), DWORD{WAIT_OBJECT_0});
#endif
}

TEST(Handles, AreGivenAndClosedByManyThreadsAtOnce) {
    std::atomic<int> faults{0};
    in_threads(3, [&](int) {
        for (int round = 0; round < 300; ++round) {
            const HANDLE mine = automatic();
            const bool used = SetEvent(mine) != FALSE && wait_for(mine) == WAIT_OBJECT_0;
            if (!used || CloseHandle(mine) == FALSE) ++faults;
        }
    });
    EXPECT_EQ(faults, 0);
}

// So many threads that sleep in a wait for one object.
struct Sleepers {
    Sleepers(HANDLE object, int count) {
        for (int i = 0; i < count; ++i) {
            threads.push_back(std::make_unique<SleepingThread>([this, object] {
                EXPECT_EQ(wait_for(object, 60'000), DWORD{WAIT_OBJECT_0});
                ++released;
            }));
        }
    }
    void until_released(int count) const {
        while (released < count) std::this_thread::yield();
    }

    std::atomic<int> released{0};
    std::vector<std::unique_ptr<SleepingThread>> threads;  // joined at the end
};

TEST(Signals, ReleaseAsManyAsWereGivenEvenAtOnce) {
    for (const bool counted : {false, true}) {
        const Handle object(counted ? semaphore(0, 1) : automatic());
        const auto signal = [&] {
            EXPECT_TRUE(counted ? ReleaseSemaphore(object, 1, nullptr) : SetEvent(object));
        };
        const Sleepers sleepers(object, 4);
        for (int given = 1; given <= 3; ++given) {
            signal();
#if defined(_WIN32)  // where nobody knows who sleeps
            sleepers.until_released(given);
#endif
        }
        sleepers.until_released(3);
        EXPECT_EQ(wait_for(object), DWORD{WAIT_TIMEOUT});
        EXPECT_EQ(sleepers.released, 3);
        signal();
    }
    const Handle gate(manual());
    const Sleepers sleepers(gate, 4);
    SetEvent(gate);
#if defined(_WIN32)
    sleepers.until_released(4);
#endif
    ResetEvent(gate);  // all who waited pass nevertheless
}

TEST(Mutexes, OneWhoseOwnerEndedIsAbandonedOnce) {
    for (int i = 0; i < 4; ++i) {
        const bool waiting = i % 2 != 0;  // for it already when the owner ends
        const Handles objects = {manual(true), mutex(), manual()};
        std::atomic<bool> owned{false};
        std::thread owner([&] {
            for (int times = 0; times < 2; ++times) wait_for(objects[1], INFINITE);
            owned = true;
            if (waiting) wait_for(objects[2], INFINITE);
        });
        while (!owned) std::this_thread::yield();
        if (!waiting) owner.join();
        const auto take = [&] {
            const HANDLE both[] = {objects[0], objects[1]};
            EXPECT_EQ(i < 2 ? WaitForMultipleObjects(2, both, TRUE, 60'000)
                            : wait_for(objects[1], 60'000),
                      DWORD{WAIT_ABANDONED});
            EXPECT_NE(ReleaseMutex(objects[1]), FALSE);
        };
        if (waiting) {
            SleepingThread heir(take);
            SetEvent(objects[2]);
            owner.join();
        } else {
            take();
        }
        EXPECT_EQ(wait_for(objects[1]), DWORD{WAIT_OBJECT_0});
    }
    std::thread([] { CloseHandle(mutex(true)); }).join();  // owned without a handle
}

TEST(Waits, TakeAtMost64Objects) {
    Handles objects;
    for (DWORD i = 0; i < MAXIMUM_WAIT_OBJECTS + 1; ++i) objects.push_back(automatic(i < 63));
    const auto wait = [&](DWORD count) {
        return WaitForMultipleObjects(count, objects.data(), TRUE, 0);
    };
    for (DWORD count : {DWORD{0}, DWORD{MAXIMUM_WAIT_OBJECTS + 1}, ~DWORD{0}}) {
        EXPECT_EQ(error_if(wait(count) == WAIT_FAILED), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_EQ(wait(64), DWORD{WAIT_TIMEOUT});
    SetEvent(objects[63]);
    EXPECT_EQ(wait(64), DWORD{WAIT_OBJECT_0});
}

TEST(Waits, NoSignalIsLostOrTakenTwice) {
    const Handles objects = {semaphore(0, 0x7FFFFFFF), semaphore(0, 0x7FFFFFFF)};
    std::atomic<int> taken{0};
    std::atomic<int> given{0};
    std::atomic<int> working{4};
    in_threads(5, [&](int i) {
        if (i == 4) {
            for (; working > 0; ++given) {
                ReleaseSemaphore(objects[static_cast<size_t>(given) % 2], 1, nullptr);
            }
            return;
        }
        const bool all = i < 2;
        for (int round = 0; round < 250; ++round) {
            if (objects.wait(all, 10000) <= WAIT_OBJECT_0 + 1) taken += all ? 2 : 1;
        }
        --working;
    });
    EXPECT_EQ(taken, 2 * 250 * 2 + 2 * 250);
    for (HANDLE object : objects) {
        LONG left = 0;
        ReleaseSemaphore(object, 0, &left);
        given -= left;
    }
    EXPECT_EQ(given, taken);
}

}  // namespace
