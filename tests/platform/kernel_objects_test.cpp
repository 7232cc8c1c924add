// Objects without a name: handles, what each kind of object does, and waits.
#include "platform/kernel_objects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/threads.h"
#include "support/error_if.h"
#include "support/handles.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Long enough for a thread to have gone to sleep; nothing fails when it wasn't.
void let_others_sleep() {
    std::this_thread::sleep_for(milliseconds(30));
}

DWORD return_at_once(void*) {
    return 0;
}

// Each call that takes one kind of object only, with what isn't of that kind.
void expect_refused(HANDLE handle, int kind = -1) {
    DWORD exit_code = 0;
    LONG previous = 0;
    const auto refused = [&](int right_kind, auto call) {
        if (kind == right_kind) return;
        EXPECT_EQ(error_if(!call()), DWORD{ERROR_INVALID_HANDLE}) << kind << " " << right_kind;
    };
    refused(0, [&] { return SetEvent(handle); });
    refused(0, [&] { return ResetEvent(handle); });
    refused(1, [&] { return ReleaseMutex(handle); });
    refused(2, [&] { return ReleaseSemaphore(handle, 1, &previous); });
    refused(3, [&] { return TerminateThread(handle, 1); });
    refused(3, [&] { return GetExitCodeThread(handle, &exit_code); });
}

TEST(Handles, OfAnotherKindOrOfNothingAreRefused) {
    const Handles objects = {automatic(true), mutex(), semaphore(0, 1),
                             CreateThread(nullptr, 0, return_at_once, nullptr, 0, nullptr)};
    for (int kind = 0; kind < 4; ++kind) expect_refused(objects[static_cast<size_t>(kind)], kind);
    const HANDLE closed = automatic(true);
    ASSERT_NE(CloseHandle(closed), FALSE);
    int local = 0;
    for (HANDLE handle : {HANDLE{nullptr}, closed, HANDLE{&local}, reinterpret_cast<HANDLE>(3),
                          reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFFFFFF12345678})}) {
        const HANDLE pair[] = {objects[0], handle};
        const auto wait = [&] { return WaitForMultipleObjects(2, pair, FALSE, 0); };
        expect_refused(handle);
        EXPECT_EQ(error_if(CloseHandle(handle) == FALSE), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(error_if(wait_for(handle) == WAIT_FAILED), DWORD{ERROR_INVALID_HANDLE});
        EXPECT_EQ(error_if(wait() == WAIT_FAILED), DWORD{ERROR_INVALID_HANDLE});
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
    const auto use = [&] {
        for (int round = 0; round < 300; ++round) {
            const HANDLE mine = automatic();
            const bool used = SetEvent(mine) != FALSE && wait_for(mine) == WAIT_OBJECT_0;
            if (!used || CloseHandle(mine) == FALSE) ++faults;
        }
    };
    std::thread threads[] = {std::thread(use), std::thread(use), std::thread(use)};
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(faults, 0);
}

TEST(Events, AnAutomaticOneKeepsOneSignalAndAManualOneStays) {
    SetLastError(5);
    const Handles events = {automatic(), CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    EXPECT_EQ(GetLastError(), 0U);  // neither has a name
    for (HANDLE event : events) {
        EXPECT_EQ(wait_for(event), DWORD{WAIT_TIMEOUT});
        SetEvent(event);
        SetEvent(event);
        EXPECT_EQ(wait_for(event), DWORD{WAIT_OBJECT_0});
    }
    EXPECT_EQ(wait_for(events[0]), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(wait_for(events[1]), DWORD{WAIT_OBJECT_0});
    for (HANDLE event : events) {
        SetEvent(event);
        ResetEvent(event);
        EXPECT_EQ(wait_for(event), DWORD{WAIT_TIMEOUT});
    }
}

// Some threads that each wait once for the same object.
class WaitingThreads {
 public:
    WaitingThreads(int count, HANDLE object, DWORD limit) {
        for (int i = 0; i < count; ++i) {
            threads_.emplace_back([this, object, limit] {
                ++started_;
                if (wait_for(object, limit) == WAIT_OBJECT_0) ++released_;
            });
        }
        while (started_ < count) std::this_thread::yield();
        if (limit > 0) let_others_sleep();
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

TEST(Signals, ReleaseAsManyAsWereGivenEvenAtOnce) {
    const Handles objects = {automatic(), semaphore(0, 1), manual()};
    for (size_t i = 0; i < objects.size(); ++i) {
        WaitingThreads threads(4, objects[i], i == 2 ? 5000 : 250);
        for (int signal = 0; signal < 3; ++signal) {
            const BOOL given =
                i == 1 ? ReleaseSemaphore(objects[i], 1, nullptr) : SetEvent(objects[i]);
            EXPECT_NE(given, FALSE);
        }
        if (i == 2) ResetEvent(objects[i]);  // all who waited pass nevertheless
        EXPECT_EQ(threads.released_after_all_ended(), i == 2 ? 4 : 3);
        EXPECT_EQ(wait_for(objects[i]), DWORD{WAIT_TIMEOUT});
    }
}

TEST(Mutexes, TheOwnerTakesItAgainAndReleasesAsOften) {
    const Handle object(mutex(true));
    EXPECT_EQ(wait_for(object), DWORD{WAIT_OBJECT_0});
    for (int held = 2; held > 0; --held) {
        DWORD error = 0;
        std::thread([&] { error = error_if(ReleaseMutex(object) == FALSE); }).join();
        EXPECT_EQ(error, DWORD{ERROR_NOT_OWNER});
        EXPECT_EQ(WaitingThreads(1, object, 0).released_after_all_ended(), 0);
        EXPECT_NE(ReleaseMutex(object), FALSE);
    }
    EXPECT_EQ(error_if(ReleaseMutex(object) == FALSE), DWORD{ERROR_NOT_OWNER});
    std::thread([] { CloseHandle(mutex(true)); }).join();  // owned without a handle
}

TEST(Mutexes, OneWhoseOwnerEndedIsAbandonedOnce) {
    for (int i = 0; i < 4; ++i) {
        const bool waiting = i % 2 != 0;  // for it already when the owner ends
        const Handles objects = {manual(true), mutex()};
        std::atomic<bool> owned{false};
        std::thread owner([&] {
            wait_for(objects[1], INFINITE);
            wait_for(objects[1], INFINITE);
            owned = true;
            if (waiting) let_others_sleep();
        });
        while (!owned) std::this_thread::yield();
        if (!waiting) owner.join();
        EXPECT_EQ(i < 2 ? objects.wait(true, 5000) : wait_for(objects[1], 5000),
                  DWORD{WAIT_ABANDONED});
        if (waiting) owner.join();
        EXPECT_NE(ReleaseMutex(objects[1]), FALSE);
        EXPECT_EQ(WaitingThreads(1, objects[1], 0).released_after_all_ended(), 1);
    }
}

TEST(Semaphores, CountToTheirMaximum) {
    const Handle object(semaphore(1, 3));
    LONG previous = -1;
    const struct {
        LONG add;
        DWORD error;
        LONG before;
    } rows[] = {{0, 0, 1},
                {2, 0, 1},
                {1, ERROR_TOO_MANY_POSTS, 1},
                {-1, ERROR_TOO_MANY_POSTS, 1},
                {0, 0, 3}};
    for (const auto& row : rows) {
        EXPECT_EQ(error_if(!ReleaseSemaphore(object, row.add, &previous)), row.error) << row.add;
        EXPECT_EQ(previous, row.before) << row.add;
    }
    for (int i = 0; i < 4; ++i) EXPECT_EQ(wait_for(object), i < 3 ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
    const LONG refused[][2] = {{-1, 2}, {3, 2}, {0, 0}, {0, -1}};
    for (const auto& [count, most] : refused) {
        EXPECT_EQ(error_if(semaphore(count, most) == nullptr), DWORD{ERROR_INVALID_PARAMETER});
    }
}

TEST(Waits, ForAnyAndForAll) {
    const struct {
        const char* signalled;
        bool all;
        DWORD result;
        const char* left;
    } rows[] = {{"---", false, WAIT_TIMEOUT, "---"},  {"-xx", false, WAIT_OBJECT_0 + 1, "--x"},
                {"xxx", false, WAIT_OBJECT_0, "-xx"}, {"--x", false, WAIT_OBJECT_0 + 2, "---"},
                {"xx-", true, WAIT_TIMEOUT, "xx-"},   {"-xx", true, WAIT_TIMEOUT, "-xx"},
                {"xxx", true, WAIT_OBJECT_0, "---"}};
    for (const auto& row : rows) {
        for (DWORD limit : {DWORD{0}, DWORD{40}}) {
            const Handles objects = {automatic(row.signalled[0] == 'x'),
                                     semaphore(row.signalled[1] == 'x', 1),
                                     automatic(row.signalled[2] == 'x')};
            const auto begin = steady_clock::now();
            SetLastError(77);
            EXPECT_EQ(objects.wait(row.all, limit), row.result);
            EXPECT_EQ(GetLastError(), 77U);
            const auto passed = steady_clock::now() - begin;
            EXPECT_TRUE(row.result != WAIT_TIMEOUT || passed >= milliseconds(limit) * 39 / 40);
            EXPECT_LT(passed, milliseconds(5000));
            std::string left;
            for (HANDLE object : objects) left += wait_for(object) == WAIT_OBJECT_0 ? 'x' : '-';
            EXPECT_EQ(left, row.left) << row.signalled << row.all;
        }
    }
}

TEST(Waits, TakeAtMost64Objects) {
    Handles objects;
    for (DWORD i = 0; i < MAXIMUM_WAIT_OBJECTS + 1; ++i) objects.push_back(automatic());
    const auto wait = [&](DWORD count, bool all) {
        return WaitForMultipleObjects(count, objects.data(), all, 0);
    };
    for (DWORD count : {DWORD{0}, DWORD{MAXIMUM_WAIT_OBJECTS + 1}, ~DWORD{0}}) {
        EXPECT_EQ(error_if(wait(count, false) == WAIT_FAILED), DWORD{ERROR_INVALID_PARAMETER});
    }
    SetEvent(objects[63]);
    EXPECT_EQ(wait(64, false), WAIT_OBJECT_0 + 63U);
    for (DWORD i = 0; i < 64; ++i) {
        EXPECT_EQ(wait(64, true), DWORD{WAIT_TIMEOUT});
        SetEvent(objects[i]);
    }
    EXPECT_EQ(wait(64, true), DWORD{WAIT_OBJECT_0});
}

TEST(Waits, ForAllSleepUntilTheLastIsThere) {
    const Handles objects = {automatic(), mutex(), semaphore(0, 1), manual()};
    std::atomic<DWORD> result{WAIT_FAILED};
    std::thread waiter([&] {
        result = objects.wait(true, 5000);
        ReleaseMutex(objects[1]);
    });
    SetEvent(objects[0]);
    ReleaseSemaphore(objects[2], 1, nullptr);
    let_others_sleep();
    EXPECT_EQ(wait_for(objects[1]), DWORD{WAIT_OBJECT_0});  // still free
    EXPECT_EQ(wait_for(objects[0]), DWORD{WAIT_OBJECT_0});  // still signalled
    SetEvent(objects[3]);
    SetEvent(objects[0]);
    let_others_sleep();
    EXPECT_EQ(result, DWORD{WAIT_FAILED});
    ReleaseMutex(objects[1]);
    waiter.join();
    EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
    for (size_t i : {0U, 2U}) EXPECT_EQ(wait_for(objects[i]), DWORD{WAIT_TIMEOUT});
}

TEST(Waits, NoSignalIsLostOrTakenTwice) {
    const Handles objects = {semaphore(0, 0x7FFFFFFF), semaphore(0, 0x7FFFFFFF)};
    std::atomic<int> taken{0};
    std::atomic<int> working{4};
    std::vector<std::thread> threads;
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
