// Named objects, most of it between processes.
#include "platform/threads.h"
#include "support/asleep.h"
#include "support/common.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/object_name.h"

namespace {

// An object with a name of its own.
class Named : public Handle {
 public:
    explicit Named(HANDLE (*make)(bool, const std::string&), bool state = false)
        : Named(make, state, new_name()) {}
    const std::string name;

 private:
    Named(HANDLE (*make)(bool, const std::string&), bool state, const std::string& its_name)
        : Handle(make(state, its_name)), name(its_name) {}
};

HANDLE open(const std::string& name) {
    return OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str());
}
HANDLE open_mutex(const std::string& name) {
    return OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name.c_str());
}

// For what else would only be noticed when the time limit of a wait is over.
class Prompt {
 public:
    ~Prompt() { EXPECT_LT(steady_clock::now() - begin_, milliseconds(kLimit - 1000)); }
    static constexpr DWORD kLimit = 6000;  // of the wait

 private:
    steady_clock::time_point begin_ = steady_clock::now();
};

// A child that opens objects by name, and does what it is told, line by line.
CHILD_ROLE(obey) {
    Handles objects;
    for (const std::string& name : args) {
        HANDLE object = open(name);
        if (object == nullptr) object = open_mutex(name);
        if (object == nullptr) object = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, name.c_str());
        objects.push_back(object);
    }
    tell_parent("ready");
    for (std::string line = hear_parent(); line != "end" && !line.empty(); line = hear_parent()) {
        DWORD result = 0;
        if (line.starts_with("announce")) tell_parent("waiting");
        if (line.ends_with("any")) result = objects.wait(false, Prompt::kLimit);
        if (line.ends_with("all")) result = objects.wait(true, Prompt::kLimit);
        if (line == "poll") result = objects.wait(false, 0);
        if (line == "set") result = error_if(SetEvent(objects[0]) == FALSE);
        if (line == "release") result = error_if(ReleaseMutex(objects[0]) == FALSE);
        if (line == "post") result = error_if(ReleaseSemaphore(objects[0], 1, nullptr) == FALSE);
        tell_parent(std::to_string(result));
    }
    return 0;
}

// Such a child, once it has them open.
struct Servant : ChildProcess {
    explicit Servant(const Texts& names) : ChildProcess("obey", names) {
        EXPECT_EQ(read_line(), "ready");
    }
    std::string ask(const std::string& order) {
        send_line(order);
        return read_line();
    }
    void start_waiting(const std::string& how) {
        EXPECT_EQ(ask("announce " + how), "waiting");
        until_asleep();
    }
};

const std::string kTimeOut = std::to_string(WAIT_TIMEOUT);
const std::string kAbandoned = std::to_string(WAIT_ABANDONED);
const std::string kNotOwner = std::to_string(ERROR_NOT_OWNER);

TEST(NamedObjects, TellWhatTheyFind) {
    const std::string name = new_name();
    const Handle first(manual(false, name));
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_NE(Handle(automatic(false, "Global\\" + name)), nullptr);
    const Handles others = {automatic(false, "Local\\" + name), open(name), automatic(false, name)};
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    SetEvent(others[0]);
    for (HANDLE same : others) {
        EXPECT_EQ(wait_for(same), DWORD{WAIT_OBJECT_0});  // manual, as it was made
    }
    EXPECT_NE(Handle(automatic(false, name + "/more")), nullptr);
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_NE(Handle(automatic(false, name + std::string(254 - name.size(), 'x'))), nullptr);
    std::string other_case = name;
    other_case[0] = 'M';
    const std::string longer(260, 'x');
    const std::pair<std::function<HANDLE()>, DWORD> rows[] = {
        {[&] { return mutex(false, name); }, ERROR_INVALID_HANDLE},
        {[&] { return semaphore(1, 1, name); }, ERROR_INVALID_HANDLE},
        {[&] { return open_mutex(name); }, ERROR_INVALID_HANDLE},
        {[&] { return OpenSemaphoreA(1, FALSE, name.c_str()); }, ERROR_INVALID_HANDLE},
        {[&] { return open(name + "no"); }, ERROR_FILE_NOT_FOUND},
        {[&] { return open(other_case); }, ERROR_FILE_NOT_FOUND},
        {[] { return OpenEventA(EVENT_ALL_ACCESS, FALSE, nullptr); }, ERROR_INVALID_PARAMETER},
        {[] { return open(""); }, ERROR_INVALID_HANDLE},
        {[&] { return automatic(false, "a\\" + name); }, ERROR_PATH_NOT_FOUND},
        {[&] { return automatic(false, longer); }, ERROR_FILENAME_EXCED_RANGE},
        {[&] { return open(longer + longer); }, ERROR_FILENAME_EXCED_RANGE},
    };
    for (const auto& [call, error] : rows) EXPECT_EQ(error_if(call() == nullptr), error);
}

TEST(NamedObjects, LiveAsLongAsAnyProcessHasThemOpen) {
    const std::string name = new_name();
    HANDLE mine = automatic(true, name);
    {
        Servant child({name});
        CloseHandle(mine);
        EXPECT_EQ(child.ask("poll"), "0");
        EXPECT_NE(Handle(open(name)), nullptr);
        EXPECT_EQ(child.ask("set"), "0");
        child.kill();
        child.wait();
    }
    EXPECT_EQ(error_if(open(name) == nullptr), DWORD{ERROR_FILE_NOT_FOUND});
    const Handle fresh(semaphore(1, 1, name));  // what the dead left is in nobody's way
    EXPECT_EQ(error_if(fresh == nullptr), 0U);
}

TEST(NamedObjects, EachSignalReleasesOneWaitingProcessOrAll) {
    for (auto kind : {automatic, manual}) {
        const Named event(kind);
        Servant children[] = {Servant({event.name}), Servant({event.name})};
        for (Servant& child : children) child.start_waiting("any");
        const Prompt prompt;
        for (int i = 0; i < 2; ++i) {
            SetEvent(event);
#if defined(_WIN32)  // where nobody knows who sleeps; a signal must be taken before the next
            while (kind == automatic && wait_for(event) == WAIT_OBJECT_0) SetEvent(event);
#endif
        }
        for (Servant& child : children) EXPECT_EQ(child.read_line(), "0");
        EXPECT_EQ(wait_for(event), kind == manual ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
        for (int i = 0; i < 3; ++i) SetEvent(event);  // which don't add up without a waiter
        EXPECT_EQ(wait_for(event), DWORD{WAIT_OBJECT_0});
        if (kind == manual) ResetEvent(event);
        EXPECT_EQ(children[0].ask("poll"), kTimeOut);
    }
}

TEST(NamedObjects, AMutexIsOneProcessesAtATime) {
    const Named mine(mutex, true);
    const Handle again(mutex(true, mine.name));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});  // and so not owned twice
    const auto release = [&] { return error_if(ReleaseMutex(mine) == FALSE); };
    Servant child({mine.name});
    EXPECT_EQ(child.ask("poll"), kTimeOut);
    EXPECT_EQ(child.ask("release"), kNotOwner);
    child.start_waiting("any");
    EXPECT_EQ(release(), 0U);
    EXPECT_EQ(child.read_line(), "0");
    EXPECT_EQ(child.ask("any"), "0");
    EXPECT_EQ(release(), DWORD{ERROR_NOT_OWNER});
    EXPECT_EQ(child.ask("release"), "0");
    EXPECT_EQ(wait_for(mine), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(child.ask("release"), "0");
    std::thread([&] {
        EXPECT_EQ(release(), DWORD{ERROR_NOT_OWNER});
        EXPECT_EQ(wait_for(mine), DWORD{WAIT_OBJECT_0});
    }).join();
    EXPECT_EQ(child.ask("poll"), kAbandoned);
}

TEST(NamedObjects, AMutexPassesByATerminatedWaiter) {
    const Named mine(mutex, true);
    const auto wait = [](void* wanted) -> DWORD { return wait_for(wanted, Prompt::kLimit); };
    Handles waiters;
    for (int i = 0; i < 2; ++i) {
        DWORD number = 0;
        waiters.push_back(CreateThread(nullptr, 0, wait, HANDLE{mine}, 0, &number));
        until_asleep("self/task/" + std::to_string(number));
    }
    const Prompt prompt;
    TerminateThread(waiters[0], 7);
    ReleaseMutex(mine);
    EXPECT_EQ(wait_for(waiters[1], Prompt::kLimit), DWORD{WAIT_OBJECT_0});
    DWORD exit_code = 0;
    GetExitCodeThread(waiters[1], &exit_code);
    EXPECT_TRUE(exit_code == WAIT_OBJECT_0 || exit_code == WAIT_ABANDONED) << exit_code;
}

TEST(NamedObjects, AMutexIsAbandonedByAProcessThatEndsOrIsKilled) {
    for (const auto& [killed, all] : {std::pair{false, false}, {true, false}, {true, true}}) {
        const Named mine(mutex);
        const Named signalled(manual, all);
        Servant heir({signalled.name, mine.name});  // waits already before
        Servant owner({mine.name});
        EXPECT_EQ(owner.ask("any"), "0");
        heir.start_waiting(all ? "all" : "any");
        const Prompt prompt;
        killed ? owner.kill() : owner.send_line("end");
        EXPECT_EQ(heir.read_line(), std::to_string(WAIT_ABANDONED + (all ? 0 : 1)));
        heir.kill();
        for (DWORD result : {DWORD{WAIT_ABANDONED}, DWORD{WAIT_OBJECT_0}}) {
            EXPECT_EQ(wait_for(mine, 5000), result);
            EXPECT_NE(ReleaseMutex(mine), FALSE);
        }
    }
}

TEST(NamedObjects, AMutexSurvivesOwnerAndNextWaiterKilledTogether) {
    for (int round = 0; round < 6; ++round) {
        const Named mine(mutex);
        const Named other(mutex, true);
        Servant owner({mine.name});
        EXPECT_EQ(owner.ask("any"), "0");
        const Texts wanted = round % 2 == 0 ? Texts{mine.name} : Texts{mine.name, other.name};
        Servant next(wanted);
        Servant last(wanted);
        next.start_waiting("any");
        last.start_waiting("any");
        const Prompt prompt;
        owner.kill();
        next.kill();
        EXPECT_EQ(last.read_line(), kAbandoned) << round;
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
    const Named named(automatic);
    const Named owned(mutex);
    const std::string counter = new_name();
    const Handle counted(semaphore(0, 5, counter));
    const Handle unnamed(automatic());
    Servant setter({named.name});
    Servant poster({counter});
    Servant owner({owned.name});
    const HANDLE handles[] = {named, counted, owned, unnamed};
    const tuple<DWORD, int, std::function<void()>> causes[] = {
        {WAIT_OBJECT_0, 10, [&] { setter.ask("set"); }},
        {WAIT_OBJECT_0 + 1, 10, [&] { poster.ask("post"); }},
        {WAIT_OBJECT_0 + 2, 10, [&] { owner.ask("release"); }},
        {WAIT_OBJECT_0 + 3, 10, [&] { SetEvent(unnamed); }},
        {WAIT_ABANDONED_0 + 2, 1, [&] { owner.kill(); }}};
    for (const auto& [expected, rounds, cause] : causes) {
        const Prompt prompt;  // for all rounds, of which each may look again after a second
        for (int round = 0; round < rounds; ++round) {
            owner.ask("release");
            owner.ask("poll");
            SleepingThread waiter([&, wanted = expected] {
                EXPECT_EQ(WaitForMultipleObjects(4, handles, FALSE, Prompt::kLimit), wanted);
                ReleaseMutex(owned);  // if that woke it
            });
            cause();
        }
    }
    for (const BOOL all : {FALSE, TRUE}) {
        const auto begin = steady_clock::now();
        EXPECT_EQ(WaitForMultipleObjects(2, handles, all, 20), DWORD{WAIT_TIMEOUT});
        EXPECT_GE(steady_clock::now() - begin, milliseconds(19));
    }
}

constexpr int kRounds = 60;

CHILD_ROLE(answer) {
    const Handle asked(open(args[0]));
    const Handle answered(open(args[1]));
    tell_parent("ready");
    for (int round = 0; round < kRounds; ++round) {
        if (wait_for(asked, 60'000) != WAIT_OBJECT_0) return 1;
        ResetEvent(asked);
        SetEvent(answered);
    }
    return 0;
}

// Who waits looks again each second, which hides a wake-up that is lost, but not so many.
TEST_P(MixedWaits, OfTwoProcessesWakeEachOtherEachTime) {
    for (auto kind : {automatic, manual}) {
        const Named asked(kind);
        const Named answered(kind);
        const Named never(kind);
        const HANDLE both[] = {never, answered};
        ChildProcess child("answer", {asked.name, answered.name});
        EXPECT_EQ(child.read_line(), "ready");
        const Prompt prompt;
        for (int round = 0; round < kRounds; ++round) {
            SetEvent(asked);
            ASSERT_EQ(WaitForMultipleObjects(2, both, FALSE, 60'000), WAIT_OBJECT_0 + 1U);
            ResetEvent(answered);
        }
        EXPECT_EQ(child.wait(), 0);
    }
}

TEST_P(MixedWaits, ForAllTakeNothingWhileOneIsMissing) {
    const Named named(automatic);
    const Named owned(mutex);
    const Handle unnamed(automatic());
    const HANDLE handles[] = {named, owned, unnamed};
    Servant child({named.name});
    std::atomic<DWORD> result{WAIT_FAILED};
    SleepingThread waiter([&] {
        result = WaitForMultipleObjects(3, handles, TRUE, Prompt::kLimit);
        ReleaseMutex(owned);
    });
    child.ask("set");
    EXPECT_EQ(wait_for(owned), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(child.ask("poll"), "0");  // takes the signal away
    SetEvent(unnamed);
    child.ask("set");
    waiter.until_asleep();
    EXPECT_EQ(result, DWORD{WAIT_FAILED});
    const Prompt prompt;
    ReleaseMutex(owned);
    waiter.join();
    EXPECT_EQ(result, DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(wait_for(unnamed), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(child.ask("poll"), kTimeOut);
}

// Who is woken for the second object and then takes the first leaves the second to others.
TEST_P(MixedWaits, PassOnASignalTheyWereWokenForButDidNotTake) {
    const Prompt prompt;
    for (int round = 0; round < 20; ++round) {
        const Named first(automatic);
        const Named second(automatic);
        const HANDLE both[] = {first, second};
        DWORD for_both = WAIT_FAILED;
        DWORD for_second = WAIT_FAILED;
        SleepingThread waits_for_both(
            [&] { for_both = WaitForMultipleObjects(2, both, FALSE, Prompt::kLimit); });
        SleepingThread waits_for_second([&] { for_second = wait_for(second, Prompt::kLimit); });
        SetEvent(second);
        SetEvent(first);
        waits_for_both.join();
        if (for_both == WAIT_OBJECT_0 + 1) SetEvent(second);  // the two had no race
        waits_for_second.join();
        EXPECT_LE(for_both, WAIT_OBJECT_0 + 1U);
        EXPECT_EQ(for_second, DWORD{WAIT_OBJECT_0});
    }
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
    if (wait_for(inside) != WAIT_TIMEOUT) return false;
    SetEvent(inside);
    std::this_thread::yield();
    const bool alone = wait_for(inside) == WAIT_OBJECT_0;
    ResetEvent(inside);
    return alone;
}

// Takes the mutex for ever, each time alone, or one that goes away and is made again all the time;
// 1 when not alone, 2 when it couldn't be had.
CHILD_ROLE(take_turns) {
    const bool anew = args[3] == "anew";
    const HANDLE inside = open(args[1]);
    HANDLE both[] = {open(args[2]), open_mutex(args[0])};
    HANDLE& turn = both[1];
    tell_parent("started");
    for (int round = 0;; ++round) {
        if (anew) turn = CreateMutexA(nullptr, TRUE, (args[0] + "x").c_str());
        const bool made = anew && GetLastError() != ERROR_ALREADY_EXISTS;
        DWORD result = WAIT_OBJECT_0;
        if (!made) {
            result = round % 2 == 0 ? wait_for(turn, 10000)
                                    : WaitForMultipleObjects(2, both, FALSE, 10000) - 1;
        }
        if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) return 2;
        if (!be_alone(inside, made || result == WAIT_ABANDONED)) return 1;
        ReleaseMutex(turn);
        if (anew) CloseHandle(turn);
    }
}

class Killing : public testing::TestWithParam<const char*> {};

TEST_P(Killing, AtAnyMomentLetsNobodyHang) {
    const Named turn(mutex);
    const Named inside(manual);
    const Named never(automatic);
    std::minstd_rand random(1);
    std::array<std::unique_ptr<ChildProcess>, 3> children;
    const auto limit = steady_clock::now() + milliseconds(1300);
    for (unsigned round = 0; steady_clock::now() < limit; ++round) {
        auto& child = children[round % children.size()];
        if (child != nullptr) {
            child->kill();
            ASSERT_EQ(child->wait(), -1) << "1: two had the mutex, 2: it was not to be had";
        }
        child = std::make_unique<ChildProcess>(
            "take_turns", Texts{turn.name, inside.name, never.name, GetParam()});
        ASSERT_EQ(child->read_line(), "started");
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        const DWORD result = wait_for(turn, 10000);
        ASSERT_TRUE(result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) << result;
        if (result == WAIT_ABANDONED) ResetEvent(inside);
        ReleaseMutex(turn);
    }
}

INSTANTIATE_TEST_SUITE_P(OfOne, Killing, testing::Values("lasting", "anew"));

}  // namespace
