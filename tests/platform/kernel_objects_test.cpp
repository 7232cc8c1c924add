// Objects without a name: handles, what each kind of object does, and waits.
#include "platform/kernel_objects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <initializer_list>
#include <thread>
#include <vector>

#include "platform/last_error.h"
#include "platform/threads.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

HANDLE automatic(bool signalled) {
    return CreateEventA(nullptr, FALSE, signalled, nullptr);
}
HANDLE manual(bool signalled) {
    return CreateEventA(nullptr, TRUE, signalled, nullptr);
}
HANDLE mutex(bool owned) {
    return CreateMutexA(nullptr, owned, nullptr);
}
HANDLE semaphore(LONG count, LONG most) {
    return CreateSemaphoreA(nullptr, count, most, nullptr);
}

// Closes its handles at the end.
struct Handles : std::vector<HANDLE> {
    using vector::vector;
    ~Handles() {
        for (HANDLE handle : *this) CloseHandle(handle);
    }
    DWORD wait(bool all, DWORD limit) const {
        return WaitForMultipleObjects(static_cast<DWORD>(size()), data(), all, limit);
    }
};

// Long enough for a thread to have gone to sleep; nothing fails when it wasn't.
void let_others_sleep() {
    std::this_thread::sleep_for(milliseconds(30));
}

TEST(Handles, WhatIsNoHandleIsRefusedByEveryCall) {
    const Handles good = {automatic(true)};
    const HANDLE closed = automatic(true);
    ASSERT_NE(CloseHandle(closed), FALSE);
    int local = 0;
    for (HANDLE handle : {HANDLE{nullptr}, closed, HANDLE{&local}, reinterpret_cast<HANDLE>(3),
                          reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFFFFFF12345678})}) {
        DWORD exit_code = 0;
        LONG previous = 0;
        const HANDLE pair[] = {good[0], handle};
        SetLastError(0);
        const auto refused = [](bool result) {
            const bool as_expected = !result && GetLastError() == ERROR_INVALID_HANDLE;
            SetLastError(0);
            return as_expected;
        };
        EXPECT_TRUE(refused(CloseHandle(handle) != FALSE)) << handle;
        EXPECT_TRUE(refused(SetEvent(handle) != FALSE)) << handle;
        EXPECT_TRUE(refused(ResetEvent(handle) != FALSE)) << handle;
        EXPECT_TRUE(refused(ReleaseMutex(handle) != FALSE)) << handle;
        EXPECT_TRUE(refused(ReleaseSemaphore(handle, 1, &previous) != FALSE)) << handle;
        EXPECT_TRUE(refused(TerminateThread(handle, 1) != FALSE)) << handle;
        EXPECT_TRUE(refused(GetExitCodeThread(handle, &exit_code) != FALSE)) << handle;
        EXPECT_TRUE(refused(WaitForSingleObject(handle, 0) != WAIT_FAILED)) << handle;
        EXPECT_TRUE(refused(WaitForMultipleObjects(2, pair, FALSE, 0) != WAIT_FAILED)) << handle;
    }
    EXPECT_EQ(WaitForSingleObject(good[0], 0), DWORD{WAIT_OBJECT_0});  // nobody took it
}

#if !defined(_WIN32)  // which gives the values of closed handles out again
TEST(Handles, OneThatWasClosedIsNotMistakenForWhatIsInItsPlace) {
    const HANDLE closed = automatic(false);
    CloseHandle(closed);
    const Handles in_its_place = {automatic(true)};
    EXPECT_EQ(WaitForSingleObject(closed, 0), DWORD{WAIT_FAILED});
    EXPECT_EQ(CloseHandle(closed), FALSE);
    EXPECT_EQ(WaitForSingleObject(in_its_place[0], 0), DWORD{WAIT_OBJECT_0});
}
#endif

TEST(Handles, OfAnotherKindAreRefused) {
    const Handles objects = {
        automatic(false), mutex(false), semaphore(0, 1),
        CreateThread(
            nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr)};
    for (size_t i = 0; i < objects.size(); ++i) {
        const auto expect_error = [&](bool right_kind, BOOL result) {
            if (right_kind) return;
            EXPECT_EQ(result, FALSE) << i;
            EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE}) << i;
            SetLastError(0);
        };
        DWORD exit_code = 0;
        expect_error(i == 0, SetEvent(objects[i]));
        expect_error(i == 0, ResetEvent(objects[i]));
        expect_error(i == 1, ReleaseMutex(objects[i]));
        expect_error(i == 2, ReleaseSemaphore(objects[i], 1, nullptr));
        expect_error(i == 3, TerminateThread(objects[i], 0));
        expect_error(i == 3, GetExitCodeThread(objects[i], &exit_code));
    }
}

TEST(Handles, AreGivenAndClosedByManyThreadsAtOnce) {
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 300; ++round) {
                const HANDLE mine = automatic(false);
                if (SetEvent(mine) == FALSE || WaitForSingleObject(mine, 0) != WAIT_OBJECT_0 ||
                    CloseHandle(mine) == FALSE) {
                    ++faults;
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
}

TEST(Handles, ClosingTheOwnProcessDoesNothing) {
    EXPECT_NE(CloseHandle(INVALID_HANDLE_VALUE), FALSE);
}

TEST(Events, CreatingOneSaysThatItIsNew) {
    SetLastError(5);
    const Handles event = {automatic(false)};
    EXPECT_EQ(GetLastError(), 0U);
    const Handles another = {CreateEventA(nullptr, FALSE, FALSE, "")};  // no name, either
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_NE(SetEvent(event[0]), FALSE);
    EXPECT_EQ(WaitForSingleObject(another[0], 0), DWORD{WAIT_TIMEOUT});
}

TEST(Events, AnAutomaticOneKeepsOneSignalAndAManualOneStays) {
    const Handles events = {automatic(false), manual(false)};
    for (HANDLE event : events) {
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
        SetEvent(event);
        SetEvent(event);
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    }
    EXPECT_EQ(WaitForSingleObject(events[0], 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(events[1], 0), DWORD{WAIT_OBJECT_0});
    for (HANDLE event : events) {
        SetEvent(event);
        ResetEvent(event);
        EXPECT_EQ(WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    }
}

// Some threads that each wait once for the same object.
class WaitingThreads {
 public:
    WaitingThreads(int count, HANDLE object, DWORD limit) {
        for (int i = 0; i < count; ++i) {
            threads_.emplace_back([this, object, limit] {
                ++started_;
                if (WaitForSingleObject(object, limit) == WAIT_OBJECT_0) ++released_;
            });
        }
        while (started_ < count) std::this_thread::yield();
        let_others_sleep();
    }
    int released_after_all_ended() {
        for (auto& thread : threads_) thread.join();
        threads_.clear();
        return released_;
    }

 private:
    std::atomic<int> started_{0};
    std::atomic<int> released_{0};
    std::vector<std::thread> threads_;
};

TEST(Events, EachSignalReleasesOneWaiterEvenAtOnce) {
    const Handles event = {automatic(false)};
    WaitingThreads threads(4, event[0], 400);
    for (int i = 0; i < 3; ++i) SetEvent(event[0]);
    EXPECT_EQ(threads.released_after_all_ended(), 3);
    EXPECT_EQ(WaitForSingleObject(event[0], 0), DWORD{WAIT_TIMEOUT});
}

TEST(Events, AManualSignalTakenBackAtOnceStillReleasesAllWhoWaited) {
    const Handles event = {manual(false)};
    WaitingThreads threads(4, event[0], 2000);
    SetEvent(event[0]);
    ResetEvent(event[0]);
    EXPECT_EQ(threads.released_after_all_ended(), 4);
}

TEST(Mutexes, TheOwnerTakesItAgainAndReleasesAsOften) {
    const Handles objects = {mutex(true)};
    const auto another_thread_releases = [&] {
        DWORD error = 0;
        std::thread([&] { error = ReleaseMutex(objects[0]) ? 0 : GetLastError(); }).join();
        return error;
    };
    EXPECT_EQ(WaitForSingleObject(objects[0], 0), DWORD{WAIT_OBJECT_0});
    for (int held = 2; held > 0; --held) {
        EXPECT_EQ(another_thread_releases(), DWORD{ERROR_NOT_OWNER});
        EXPECT_EQ(WaitingThreads(1, objects[0], 0).released_after_all_ended(), 0);
        EXPECT_NE(ReleaseMutex(objects[0]), FALSE);
    }
    EXPECT_EQ(ReleaseMutex(objects[0]), FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_OWNER});
}

TEST(Mutexes, OneWhoseOwnerEndedIsAbandonedOnce) {
    struct Case {
        bool waiting;  // for it already when the owner ends
        bool all;      // with an event that is signalled
    };
    for (const Case& a_case : {Case{false, false}, {true, false}, {false, true}, {true, true}}) {
        const Handles objects = {manual(true), mutex(false)};
        std::atomic<bool> owned{false};
        std::thread owner([&] {
            WaitForSingleObject(objects[1], INFINITE);
            WaitForSingleObject(objects[1], INFINITE);
            owned = true;
            if (a_case.waiting) let_others_sleep();
        });
        while (!owned) std::this_thread::yield();
        if (!a_case.waiting) owner.join();
        const DWORD result =
            a_case.all ? objects.wait(true, 5000) : WaitForSingleObject(objects[1], 5000);
        EXPECT_EQ(result, DWORD{WAIT_ABANDONED}) << a_case.waiting << a_case.all;
        if (a_case.waiting) owner.join();
        EXPECT_NE(ReleaseMutex(objects[1]), FALSE);
        EXPECT_EQ(WaitingThreads(1, objects[1], 0).released_after_all_ended(), 1);
    }
}

TEST(Mutexes, OneOwnedWithoutAHandleIsLeftByItsOwner) {
    std::thread([] { CloseHandle(mutex(true)); }).join();
}

TEST(Semaphores, CountToTheirMaximum) {
    const Handles objects = {semaphore(1, 3)};
    LONG previous = -1;
    const struct {
        LONG add;
        bool done;
        LONG before;
    } cases[] = {{0, true, 1}, {2, true, 1}, {1, false, 0}, {-1, false, 0}, {0, true, 3}};
    for (const auto& a_case : cases) {
        SetLastError(0);
        EXPECT_EQ(ReleaseSemaphore(objects[0], a_case.add, &previous) != FALSE, a_case.done);
        if (a_case.done) {
            EXPECT_EQ(previous, a_case.before) << a_case.add;
        } else {
            EXPECT_EQ(GetLastError(), DWORD{ERROR_TOO_MANY_POSTS}) << a_case.add;
        }
    }
    for (int i = 0; i < 3; ++i) EXPECT_EQ(WaitForSingleObject(objects[0], 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(objects[0], 0), DWORD{WAIT_TIMEOUT});
}

TEST(Semaphores, AreRefusedWithoutRoomForTheirCount) {
    const LONG cases[][2] = {{-1, 2}, {3, 2}, {0, 0}, {0, -1}};
    for (const auto& a_case : cases) {
        EXPECT_EQ(semaphore(a_case[0], a_case[1]), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST(Semaphores, AReleaseLetsAsManyPassEvenAtItsMaximum) {
    const Handles objects = {semaphore(0, 1)};
    WaitingThreads threads(4, objects[0], 400);
    for (int i = 0; i < 3; ++i) EXPECT_NE(ReleaseSemaphore(objects[0], 1, nullptr), FALSE);
    EXPECT_EQ(threads.released_after_all_ended(), 3);
}

TEST(Waits, ForOneAnyAndAllInATable) {
    struct Case {
        bool first, second, third;  // signalled
        bool all;
        DWORD result;
        bool left_first, left_second, left_third;
    };
    const Case cases[] = {
        {false, false, false, false, WAIT_TIMEOUT, false, false, false},
        {false, true, true, false, WAIT_OBJECT_0 + 1, false, false, true},
        {true, true, true, false, WAIT_OBJECT_0, false, true, true},
        {false, false, true, false, WAIT_OBJECT_0 + 2, false, false, false},
        {true, true, false, true, WAIT_TIMEOUT, true, true, false},
        {false, true, true, true, WAIT_TIMEOUT, false, true, true},
        {true, true, true, true, WAIT_OBJECT_0, false, false, false},
    };
    for (const Case& a_case : cases) {
        for (DWORD limit : {DWORD{0}, DWORD{5}}) {
            const Handles objects = {automatic(a_case.first), semaphore(a_case.second, 1),
                                     automatic(a_case.third)};
            SetLastError(77);
            EXPECT_EQ(objects.wait(a_case.all, limit), a_case.result);
            EXPECT_EQ(GetLastError(), 77U);
            const bool left[] = {a_case.left_first, a_case.left_second, a_case.left_third};
            for (size_t i = 0; i < 3; ++i) {
                const DWORD still = WaitForSingleObject(objects[i], 0);
                EXPECT_EQ(still == WAIT_OBJECT_0, left[i]) << &a_case - cases << " " << i;
            }
        }
    }
}

TEST(Waits, TakeAtMost64Objects) {
    Handles objects;
    for (DWORD i = 0; i < MAXIMUM_WAIT_OBJECTS + 1; ++i) objects.push_back(automatic(false));
    const auto wait = [&](DWORD count, bool all) {
        return WaitForMultipleObjects(count, objects.data(), all, 0);
    };
    for (DWORD count : {DWORD{0}, DWORD{MAXIMUM_WAIT_OBJECTS + 1}, ~DWORD{0}}) {
        EXPECT_EQ(wait(count, false), DWORD{WAIT_FAILED});
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    SetEvent(objects[63]);
    EXPECT_EQ(wait(64, false), WAIT_OBJECT_0 + 63U);
    for (DWORD i = 0; i < 64; ++i) {
        EXPECT_EQ(wait(64, true), DWORD{WAIT_TIMEOUT});
        SetEvent(objects[i]);
    }
    EXPECT_EQ(wait(64, true), DWORD{WAIT_OBJECT_0});
}

TEST(Waits, TimeLimitsAreKept) {
    const Handles objects = {automatic(false), mutex(false)};
    for (bool all : {false, true}) {
        const Handles pair = {automatic(false), automatic(false)};
        const auto begin = steady_clock::now();
        EXPECT_EQ(pair.wait(all, 40), DWORD{WAIT_TIMEOUT});
        const auto passed = steady_clock::now() - begin;
        EXPECT_GE(passed, milliseconds(39));
        EXPECT_LT(passed, milliseconds(5000));
    }
}

TEST(Waits, ForAllSleepUntilTheLastIsThere) {
    const Handles objects = {automatic(false), mutex(false), semaphore(0, 1), manual(false)};
    std::atomic<DWORD> result{WAIT_FAILED};
    std::thread waiter([&] {
        result = objects.wait(true, 5000);
        ReleaseMutex(objects[1]);
    });
    SetEvent(objects[0]);
    ReleaseSemaphore(objects[2], 1, nullptr);
    let_others_sleep();
    EXPECT_EQ(WaitForSingleObject(objects[1], 0), DWORD{WAIT_OBJECT_0});  // still free
    EXPECT_EQ(WaitForSingleObject(objects[0], 0), DWORD{WAIT_OBJECT_0});  // still signalled
    SetEvent(objects[3]);
    SetEvent(objects[0]);
    let_others_sleep();
    EXPECT_EQ(result, DWORD{WAIT_FAILED});
    ReleaseMutex(objects[1]);
    waiter.join();
    EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(objects[0], 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(objects[2], 0), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, NoSignalIsLostOrTakenTwice) {
    const Handles objects = {semaphore(0, 0x7FFFFFFF), semaphore(0, 0x7FFFFFFF)};
    std::atomic<int> taken{0};
    std::atomic<int> working{4};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, all = i < 2] {
            for (int round = 0; round < 250; ++round) {
                if (objects.wait(all, 10000) <= WAIT_OBJECT_0 + 1) taken += all ? 2 : 1;
            }
            --working;
        });
    }
    int given = 0;
    for (; working > 0; ++given) ReleaseSemaphore(objects[given % 2], 1, nullptr);
    for (auto& thread : threads) thread.join();
    LONG left[2] = {};
    for (size_t i = 0; i < 2; ++i) ReleaseSemaphore(objects[i], 0, &left[i]);
    EXPECT_EQ(taken, 2 * 250 * 2 + 2 * 250);
    EXPECT_EQ(given, taken + left[0] + left[1]);
}

}  // namespace
