// Named objects, most of it between processes.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/kernel_objects.h"
#include "platform/last_error.h"
#include "platform/threads.h"
#include "support/child_process.h"
#include "support/temp_folder.h"

namespace {

using std::chrono::steady_clock;
using Children = std::vector<std::unique_ptr<ChildProcess>>;

// A name nobody else uses. On POSIX the files go to a folder of this program, and its children's.
std::string new_name() {
    static const TempFolder folder;
    static int count = 0;
#if !defined(_WIN32)
    setenv("MOLTELIB_OBJECT_FOLDER", folder.str().c_str(), 1);
#endif
    return folder.path().filename().string() + "." + std::to_string(++count);
}

// An open handle.
class Handle {
 public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle() {
        if (handle_ != nullptr) CloseHandle(handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator HANDLE() const { return handle_; }  // NOLINT: for the calls under test

 private:
    HANDLE handle_;
};

HANDLE event(const std::string& name, bool manual = false) {
    return CreateEventA(nullptr, manual, FALSE, name.c_str());
}
HANDLE mutex(const std::string& name) {
    return CreateMutexA(nullptr, FALSE, name.c_str());
}
HANDLE semaphore(const std::string& name, LONG count, LONG most) {
    return CreateSemaphoreA(nullptr, count, most, name.c_str());
}

// For what else would only be noticed when the time limit of a wait is over.
class Prompt {
 public:
    ~Prompt() { EXPECT_LT(steady_clock::now() - begin_, std::chrono::milliseconds(kLimit - 1000)); }
    static constexpr DWORD kLimit = 6000;  // of the wait

 private:
    steady_clock::time_point begin_ = steady_clock::now();
};

// A child that opens mutexes or events by name, and does what it is told, line by line.
CHILD_ROLE(obey) {
    std::vector<HANDLE> objects;
    for (const std::string& name : args) {
        HANDLE object = OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str());
        if (object == nullptr) object = OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name.c_str());
        if (object == nullptr) object = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, name.c_str());
        objects.push_back(object);
    }
    tell_parent("ready");
    const auto count = static_cast<DWORD>(objects.size());
    for (std::string line = hear_parent(); line != "end" && !line.empty(); line = hear_parent()) {
        DWORD result = 0;
        if (line == "announce any" || line == "announce all") tell_parent("waiting");
        if (line == "any" || line == "announce any") {
            result = WaitForMultipleObjects(count, objects.data(), FALSE, Prompt::kLimit);
        }
        if (line == "all" || line == "announce all") {
            result = WaitForMultipleObjects(count, objects.data(), TRUE, Prompt::kLimit);
        }
        if (line == "poll") result = WaitForMultipleObjects(count, objects.data(), FALSE, 0);
        if (line == "set") result = SetEvent(objects[0]) != FALSE ? 0 : GetLastError();
        if (line == "release") result = ReleaseMutex(objects[0]) != FALSE ? 0 : GetLastError();
        if (line == "post") {
            result = ReleaseSemaphore(objects[0], 1, nullptr) != FALSE ? 0 : GetLastError();
        }
        tell_parent(std::to_string(result));
    }
    return 0;
}

// Such a child, once it has them open.
struct Servant : ChildProcess {
    explicit Servant(const std::vector<std::string>& names) : ChildProcess("obey", names) {
        EXPECT_EQ(read_line(), "ready");
    }
};

std::string ask(ChildProcess& child, const std::string& order) {
    child.send_line(order);
    return child.read_line();
}

// Has the child in its wait; a moment more and it sleeps.
void start_waiting(ChildProcess& child, const std::string& how) {
    EXPECT_EQ(ask(child, "announce " + how), "waiting");
    Sleep(20);
}

TEST(NamedObjects, TellWhatTheyFind) {
    const std::string name = new_name();
    const Handle first(event(name, true));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(GetLastError(), 0U);
    const Handle second(event(name, false));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    const Handle local(event("Local\\" + name));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_NE(Handle(event("Global\\" + name)), nullptr);
    const Handle opened(OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str()));
    SetEvent(second);
    for (HANDLE same : {HANDLE{first}, HANDLE{local}, HANDLE{opened}}) {
        EXPECT_EQ(WaitForSingleObject(same, 0), DWORD{WAIT_OBJECT_0});  // manual, as it was made
    }

    const Handle with_slash(event(name + "/more"));
    EXPECT_NE(with_slash, nullptr);
    EXPECT_EQ(GetLastError(), 0U);
    const std::string longest = name + std::string(254 - name.size(), 'x');
    EXPECT_NE(Handle(event(longest)), nullptr);
}

TEST(NamedObjects, TellWhyTheyCanNotBeOpened) {
    const std::string name = new_name();
    const Handle one(event(name));
    std::string other_case = name;
    other_case[0] = 'M';
    const auto expect = [](HANDLE handle, DWORD error, int line) {
        EXPECT_EQ(handle, nullptr) << line;
        EXPECT_EQ(GetLastError(), error) << line;
        SetLastError(0);
    };
    const auto open = [](const char* text) { return OpenEventA(EVENT_ALL_ACCESS, FALSE, text); };
    expect(mutex(name), ERROR_INVALID_HANDLE, __LINE__);
    expect(semaphore(name, 1, 1), ERROR_INVALID_HANDLE, __LINE__);
    expect(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name.c_str()), ERROR_INVALID_HANDLE, __LINE__);
    expect(OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, name.c_str()), ERROR_INVALID_HANDLE,
           __LINE__);
    expect(open((name + "no").c_str()), ERROR_FILE_NOT_FOUND, __LINE__);
    expect(open(other_case.c_str()), ERROR_FILE_NOT_FOUND, __LINE__);
    expect(open(nullptr), ERROR_INVALID_PARAMETER, __LINE__);
    expect(open(""), ERROR_INVALID_HANDLE, __LINE__);
    expect(event("a\\" + name), ERROR_PATH_NOT_FOUND, __LINE__);
    for (size_t length : {size_t{260}, size_t{300}, size_t{5000}}) {
        expect(event(std::string(length, 'x')), ERROR_FILENAME_EXCED_RANGE, __LINE__);
        expect(open(std::string(length, 'x').c_str()), ERROR_FILENAME_EXCED_RANGE, __LINE__);
    }
}

TEST(NamedObjects, AnEventKeepsOneSignalWithoutAWaiter) {
    const Handle signal(event(new_name()));
    for (int i = 0; i < 3; ++i) SetEvent(signal);
    EXPECT_EQ(WaitForSingleObject(signal, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(signal, 0), DWORD{WAIT_TIMEOUT});
}

TEST(NamedObjects, LiveAsLongAsAnyProcessHasThemOpen) {
    const std::string name = new_name();
    HANDLE mine = event(name);
    SetEvent(mine);
    {
        Servant child({name});
        CloseHandle(mine);
        EXPECT_EQ(ask(child, "poll"), "0");
        mine = OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str());
        EXPECT_NE(mine, nullptr);
        CloseHandle(mine);
        EXPECT_EQ(ask(child, "set"), "0");
        child.kill();
        child.wait();
    }
    EXPECT_EQ(OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    const Handle fresh(semaphore(name, 1, 1));  // what the dead left is in nobody's way
    EXPECT_NE(fresh, nullptr);
    EXPECT_EQ(GetLastError(), 0U);
}

TEST(NamedObjects, EachSignalReleasesOneWaitingProcessEvenAtOnce) {
    const std::string name = new_name();
    const Handle signal(event(name));
    Children children;
    for (int i = 0; i < 3; ++i) {
        children.push_back(std::make_unique<Servant>(std::vector{name}));
        start_waiting(*children.back(), "any");
    }
    const Prompt prompt;
    SetEvent(signal);
    SetEvent(signal);
    Sleep(50);
    EXPECT_EQ(WaitForSingleObject(signal, 0), DWORD{WAIT_TIMEOUT});  // two children have them
    SetEvent(signal);
    for (auto& child : children) EXPECT_EQ(child->read_line(), "0");
    EXPECT_EQ(WaitForSingleObject(signal, 0), DWORD{WAIT_TIMEOUT});
}

TEST(NamedObjects, AManualEventReleasesAllProcesses) {
    const std::string name = new_name();
    const Handle signal(event(name, true));
    Children children;
    for (int i = 0; i < 3; ++i) {
        children.push_back(std::make_unique<Servant>(std::vector{name}));
        start_waiting(*children.back(), "any");
    }
    Servant setter({name});
    EXPECT_EQ(ask(setter, "set"), "0");
    for (auto& child : children) EXPECT_EQ(child->read_line(), "0");
    EXPECT_NE(ResetEvent(signal), FALSE);
    EXPECT_EQ(ask(*children[0], "poll"), std::to_string(WAIT_TIMEOUT));
}

TEST(NamedObjects, AMutexIsOneProcessesAtATime) {
    const std::string name = new_name();
    const Handle mine(mutex(name));
    Servant child({name});
    EXPECT_EQ(ask(child, "any"), "0");
    EXPECT_EQ(ask(child, "any"), "0");
    EXPECT_EQ(WaitForSingleObject(mine, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(ReleaseMutex(mine), FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_OWNER});
    EXPECT_EQ(ask(child, "release"), "0");
    EXPECT_EQ(WaitForSingleObject(mine, 20), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(ask(child, "release"), "0");
    EXPECT_EQ(WaitForSingleObject(mine, 5000), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(ask(child, "poll"), std::to_string(WAIT_TIMEOUT));
    EXPECT_EQ(ask(child, "release"), std::to_string(ERROR_NOT_OWNER));
    start_waiting(child, "any");
    EXPECT_NE(ReleaseMutex(mine), FALSE);
    EXPECT_EQ(child.read_line(), "0");
}

TEST(NamedObjects, AMutexOwnedFromTheStartIsOwnedByWhoMadeIt) {
    const std::string name = new_name();
    const Handle mine(CreateMutexA(nullptr, TRUE, name.c_str()));
    EXPECT_EQ(GetLastError(), 0U);
    const Handle again(CreateMutexA(nullptr, TRUE, name.c_str()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    Servant child({name});
    EXPECT_EQ(ask(child, "poll"), std::to_string(WAIT_TIMEOUT));
    EXPECT_NE(ReleaseMutex(again), FALSE);
    EXPECT_EQ(ask(child, "poll"), "0");
    EXPECT_EQ(ReleaseMutex(mine), FALSE);
}

TEST(NamedObjects, ASemaphoreIsCountedByAllProcesses) {
    const std::string name = new_name();
    const Handle mine(semaphore(name, 1, 2));
    Servant child({name});
    EXPECT_EQ(ask(child, "any"), "0");
    EXPECT_EQ(WaitForSingleObject(mine, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(ask(child, "post"), "0");
    EXPECT_EQ(ask(child, "post"), "0");
    EXPECT_EQ(ask(child, "post"), std::to_string(ERROR_TOO_MANY_POSTS));
    LONG previous = 0;
    EXPECT_NE(ReleaseSemaphore(mine, 0, &previous), FALSE);
    EXPECT_EQ(previous, 2);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(WaitForSingleObject(mine, 0), DWORD{WAIT_OBJECT_0});
    start_waiting(child, "any");
    EXPECT_NE(ReleaseSemaphore(mine, 1, nullptr), FALSE);
    EXPECT_EQ(child.read_line(), "0");
}

TEST(NamedObjects, AMutexIsAbandonedByAThreadThatEnds) {
    const std::string name = new_name();
    const Handle mine(mutex(name));
    Servant child({name});
    std::thread([&] {
        const Handle its_own(mutex(name));
        EXPECT_EQ(WaitForSingleObject(its_own, 0), DWORD{WAIT_OBJECT_0});
    }).join();
    EXPECT_EQ(ask(child, "poll"), std::to_string(WAIT_ABANDONED));
    EXPECT_EQ(ask(child, "release"), "0");
    EXPECT_EQ(WaitForSingleObject(mine, 5000), DWORD{WAIT_OBJECT_0});
}

TEST(NamedObjects, AMutexPassesByATerminatedWaiter) {
    static HANDLE wanted = nullptr;
    const Handle mine(mutex(new_name()));
    wanted = mine;
    WaitForSingleObject(mine, 0);
    const auto wait = [](void*) -> DWORD { return WaitForSingleObject(wanted, Prompt::kLimit); };
    const Handle first(CreateThread(nullptr, 0, wait, nullptr, 0, nullptr));
    Sleep(20);
    const Handle second(CreateThread(nullptr, 0, wait, nullptr, 0, nullptr));
    Sleep(20);
    const Prompt prompt;
    TerminateThread(first, 7);
    ReleaseMutex(mine);
    EXPECT_EQ(WaitForSingleObject(second, Prompt::kLimit), DWORD{WAIT_OBJECT_0});
    DWORD exit_code = 0;
    GetExitCodeThread(second, &exit_code);
    EXPECT_TRUE(exit_code == WAIT_OBJECT_0 || exit_code == WAIT_ABANDONED) << exit_code;
}

TEST(NamedObjects, AMutexIsAbandonedByAProcessThatEndsOrIsKilled) {
    struct Case {
        bool killed;
        const char* how;  // the heir waits, already before
    };
    for (const Case& a_case : {Case{false, "any"}, {true, "any"}, {true, "all"}}) {
        const std::string name = new_name();
        const std::string other = new_name();
        const Handle mine(mutex(name));
        const Handle signalled(
            CreateEventA(nullptr, TRUE, std::string(a_case.how) == "all", other.c_str()));
        Servant heir({other, name});
        Servant owner({name});
        EXPECT_EQ(ask(owner, "any"), "0");
        start_waiting(heir, a_case.how);
        const Prompt prompt;
        a_case.killed ? owner.kill() : owner.send_line("end");
        const bool all = std::string(a_case.how) == "all";
        EXPECT_EQ(heir.read_line(), std::to_string(WAIT_ABANDONED + (all ? 0 : 1)));
        heir.kill();
        EXPECT_EQ(WaitForSingleObject(mine, 5000), DWORD{WAIT_ABANDONED});
        EXPECT_NE(ReleaseMutex(mine), FALSE);
        EXPECT_EQ(WaitForSingleObject(mine, 0), DWORD{WAIT_OBJECT_0});
        EXPECT_NE(ReleaseMutex(mine), FALSE);
    }
}

TEST(NamedObjects, AMutexSurvivesOwnerAndNextWaiterKilledTogether) {
    for (int round = 0; round < 6; ++round) {
        const std::string name = new_name();
        const std::string other = new_name();
        const Handle mine(mutex(name));
        const Handle also(mutex(other));
        Servant owner({name});
        Servant busy({other});
        EXPECT_EQ(ask(owner, "any"), "0");
        EXPECT_EQ(ask(busy, "any"), "0");
        const std::vector<std::string> wanted =
            round % 2 == 0 ? std::vector{name} : std::vector{name, other};
        Servant next(wanted);
        Servant last(wanted);
        start_waiting(next, "any");
        start_waiting(last, "any");
        const Prompt prompt;
        owner.kill();
        next.kill();
        EXPECT_EQ(last.read_line(), std::to_string(WAIT_ABANDONED)) << round;
    }
}

// Both ways of a wait for several: what the kernel offers, and what there is without.
class MixedWaits : public testing::TestWithParam<bool> {
 protected:
#if !defined(_WIN32)
    MixedWaits() {
        platform::force_wait_fallback(GetParam());
    }
    ~MixedWaits() override {
        platform::force_wait_fallback(false);
    }
#endif
};

TEST_P(MixedWaits, AreWokenByAnyOfTheirObjects) {
    const std::string names[] = {new_name(), new_name(), new_name()};
    const Handle named(event(names[0]));
    const Handle counted(semaphore(names[1], 0, 5));
    const Handle owned(mutex(names[2]));
    const Handle unnamed(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    Servant setter({names[0]});
    Servant poster({names[1]});
    Servant owner({names[2]});
    EXPECT_EQ(ask(owner, "any"), "0");
    const HANDLE handles[] = {named, counted, owned, unnamed};
    const std::function<void()> causes[] = {
        [&] { ask(setter, "set"); }, [&] { ask(poster, "post"); }, [&] { ask(owner, "release"); },
        [&] { SetEvent(unnamed); }};
    for (DWORD i = 0; i < 4; ++i) {
        const Prompt prompt;
        std::thread later([&] {
            Sleep(30);
            causes[i]();
        });
        EXPECT_EQ(WaitForMultipleObjects(4, handles, FALSE, Prompt::kLimit), WAIT_OBJECT_0 + i);
        later.join();
        if (i == 2) {
            ReleaseMutex(owned);
            EXPECT_EQ(ask(owner, "any"), "0");
        }
        EXPECT_EQ(WaitForMultipleObjects(4, handles, FALSE, 0), DWORD{WAIT_TIMEOUT}) << i;
    }
    const Prompt prompt;
    owner.kill();
    EXPECT_EQ(WaitForMultipleObjects(4, handles, FALSE, Prompt::kLimit), WAIT_ABANDONED_0 + 2U);
    ReleaseMutex(owned);
}

TEST_P(MixedWaits, ForAllTakeNothingWhileOneIsMissing) {
    const std::string names[] = {new_name(), new_name()};
    const Handle named(event(names[0]));
    const Handle owned(mutex(names[1]));
    const Handle unnamed(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    const HANDLE handles[] = {named, owned, unnamed};
    Servant child({names[0]});
    std::atomic<DWORD> result{WAIT_FAILED};
    std::thread waiter([&] {
        result = WaitForMultipleObjects(3, handles, TRUE, Prompt::kLimit);
        ReleaseMutex(owned);
    });
    ask(child, "set");
    Sleep(30);
    EXPECT_EQ(WaitForSingleObject(owned, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(ask(child, "poll"), "0");  // takes the signal away
    SetEvent(unnamed);
    Sleep(30);
    EXPECT_EQ(result, DWORD{WAIT_FAILED});
    ask(child, "set");
    Sleep(30);
    EXPECT_EQ(result, DWORD{WAIT_FAILED});
    const Prompt prompt;
    ReleaseMutex(owned);
    waiter.join();
    EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForSingleObject(unnamed, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(ask(child, "poll"), std::to_string(WAIT_TIMEOUT));
}

// Who is woken for the second object and then takes the first leaves the second to others.
TEST_P(MixedWaits, PassOnASignalTheyWereWokenForButDidNotTake) {
    for (int round = 0; round < 3; ++round) {
        const Handle first(event(new_name()));
        const Handle second(event(new_name()));
        const HANDLE both[] = {first, second};
        DWORD result_for_both = WAIT_FAILED;
        DWORD result_for_second = WAIT_FAILED;
        std::thread waits_for_both(
            [&] { result_for_both = WaitForMultipleObjects(2, both, FALSE, Prompt::kLimit); });
        Sleep(20);
        std::thread waits_for_second(
            [&] { result_for_second = WaitForSingleObject(second, Prompt::kLimit); });
        Sleep(20);
        const Prompt prompt;
        SetEvent(second);
        SetEvent(first);
        waits_for_both.join();
        if (result_for_both == WAIT_OBJECT_0 + 1) SetEvent(second);  // the two had no race
        waits_for_second.join();
        EXPECT_LE(result_for_both, WAIT_OBJECT_0 + 1U);
        EXPECT_EQ(result_for_second, DWORD{WAIT_OBJECT_0});
    }
}

TEST_P(MixedWaits, KeepTheirTimeLimit) {
    const Handle first(event(new_name()));
    const Handle second(mutex(new_name()));
    const Handle third(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    const HANDLE handles[] = {first, third, second};
    const auto begin = steady_clock::now();
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 40), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForMultipleObjects(3, handles, TRUE, 40), DWORD{WAIT_TIMEOUT});
    EXPECT_GE(steady_clock::now() - begin, std::chrono::milliseconds(78));
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
}

#if defined(_WIN32)
INSTANTIATE_TEST_SUITE_P(Windows, MixedWaits, testing::Values(false));
#else
INSTANTIATE_TEST_SUITE_P(Ways, MixedWaits, testing::Bool());
#endif

// What the owner of the mutex does; the event tells that somebody owns it. False if another does,
// too. Who got the mutex new or from a dead owner can't tell by the event.
bool be_alone(HANDLE inside, bool first) {
    if (first) ResetEvent(inside);
    if (WaitForSingleObject(inside, 0) != WAIT_TIMEOUT) return false;
    SetEvent(inside);
    std::this_thread::yield();
    const bool alone = WaitForSingleObject(inside, 0) == WAIT_OBJECT_0;
    ResetEvent(inside);
    return alone;
}

// Take the mutex for ever, each time alone; 1 when not alone, 2 when it couldn't be had.
CHILD_ROLE(take_turns) {
    const HANDLE turn = OpenMutexA(MUTEX_ALL_ACCESS, FALSE, args[0].c_str());
    const HANDLE inside = OpenEventA(EVENT_ALL_ACCESS, FALSE, args[1].c_str());
    const HANDLE both[] = {OpenEventA(EVENT_ALL_ACCESS, FALSE, args[2].c_str()), turn};
    tell_parent("started");
    for (int round = 0;; ++round) {
        const DWORD result = round % 2 == 0 ? WaitForSingleObject(turn, INFINITE)
                                            : WaitForMultipleObjects(2, both, FALSE, INFINITE) - 1;
        if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return 2;
        if (!be_alone(inside, result == WAIT_ABANDONED)) return 1;
        ReleaseMutex(turn);
    }
}

// The same with a mutex that goes away and is made again all the time.
CHILD_ROLE(make_anew) {
    const HANDLE inside = OpenEventA(EVENT_ALL_ACCESS, FALSE, args[1].c_str());
    tell_parent("started");
    for (;;) {
        const HANDLE turn = CreateMutexA(nullptr, TRUE, (args[0] + "x").c_str());
        const bool made = GetLastError() != ERROR_ALREADY_EXISTS;
        const DWORD result = made ? WAIT_OBJECT_0 : WaitForSingleObject(turn, 10000);
        if (turn == nullptr || (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)) return 2;
        if (!be_alone(inside, made || result == WAIT_ABANDONED)) return 1;
        ReleaseMutex(turn);
        CloseHandle(turn);
    }
}

class Killing : public testing::TestWithParam<const char*> {};

TEST_P(Killing, AtAnyMomentLetsNobodyHang) {
    const std::vector<std::string> names = {new_name(), new_name(), new_name()};
    const Handle turn(mutex(names[0]));
    const Handle inside(event(names[1], true));
    const Handle never(event(names[2]));
    std::minstd_rand random(1);
    std::array<std::unique_ptr<ChildProcess>, 3> children;
    const auto limit = steady_clock::now() + std::chrono::milliseconds(1300);
    for (unsigned round = 0; steady_clock::now() < limit; ++round) {
        auto& child = children[round % children.size()];
        if (child != nullptr) {
            child->kill();
            ASSERT_EQ(child->wait(), -1) << "1: two had the mutex, 2: it was not to be had";
        }
        child = std::make_unique<ChildProcess>(GetParam(), names);
        ASSERT_EQ(child->read_line(), "started");
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        const DWORD result = WaitForSingleObject(turn, 10000);
        ASSERT_TRUE(result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) << result;
        if (result == WAIT_ABANDONED) ResetEvent(inside);
        ReleaseMutex(turn);
    }
}

INSTANTIATE_TEST_SUITE_P(Roles, Killing, testing::Values("take_turns", "make_anew"));

}  // namespace
