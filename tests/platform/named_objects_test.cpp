// Named objects, most of it between processes, and waits for several.
#include "platform/threads.h"
#include "support/asleep.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/object_name.h"
#include "support/scenes.h"

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
HANDLE open_semaphore(const std::string& name) {
    return OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, name.c_str());
}

// For what else would only be noticed when the time limit of a wait is over.
class Prompt {
 public:
    ~Prompt() { EXPECT_LT(steady_clock::now() - begin_, milliseconds(kLimit - 1000)); }
    static constexpr DWORD kLimit = 6000;  // of the wait

 private:
    steady_clock::time_point begin_ = steady_clock::now();
};

// Does what an order says to objects, of which most take one: to wait for any or all, with a limit
// or the usual one, and so on. What came of it.
std::string obeyed(const std::vector<HANDLE>& objects, const std::string& order) {
    std::istringstream words(order);
    std::string verb;
    LONG number = Prompt::kLimit;
    words >> verb >> number;
    if (words.fail()) number = Prompt::kLimit;
    if (verb == "set") return std::to_string(error_if(SetEvent(objects[0]) == FALSE));
    if (verb == "reset") return std::to_string(error_if(ResetEvent(objects[0]) == FALSE));
    if (verb == "release") return std::to_string(error_if(ReleaseMutex(objects[0]) == FALSE));
    if (verb == "post") {
        LONG previous = -1;
        const DWORD error = error_if(ReleaseSemaphore(objects[0], number, &previous) == FALSE);
        return std::to_string(error) + " > " + std::to_string(previous);
    }
    const auto begin = steady_clock::now();
    SetLastError(77);
    const DWORD result = WaitForMultipleObjects(static_cast<DWORD>(objects.size()), objects.data(),
                                                verb == "all", static_cast<DWORD>(number));
    EXPECT_EQ(GetLastError(), 77U);
    const auto passed = steady_clock::now() - begin;
    EXPECT_TRUE(result != WAIT_TIMEOUT || passed >= milliseconds(number) * 39 / 40);
    return std::to_string(result);
}

// A child that opens objects by name, and does what it is told, line by line.
CHILD_ROLE(obey) {
    Handles objects;
    for (const std::string& name : args) {
        HANDLE object = open(name);
        if (object == nullptr) object = open_mutex(name);
        if (object == nullptr) object = open_semaphore(name);
        objects.push_back(object);
    }
    tell_parent("ready");
    for (std::string line = hear_parent(); line != "end" && !line.empty(); line = hear_parent()) {
        const bool announced = line.starts_with("announce ");
        if (announced) tell_parent("waiting");
        tell_parent(obeyed(objects, line.substr(announced ? 9 : 0)));
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

// ---- Scenes: what is named by a step is a handle, a child or a thread of this test ----

class Objects : public InFolder {
 protected:
    Objects() { prefix = new_name(); }
    ~Objects() override {
#if !defined(_WIN32)
        platform::force_wait_fallback(false);
#endif
        threads.clear();
        children.clear();
        for (const auto& [name, handle] : std::exchange(handles, {})) CloseHandle(handle);
    }

 public:
    struct Waiter {
        std::string told = "nothing";
        std::unique_ptr<SleepingThread> thread;
    };
    static inline std::string prefix;
    static inline std::map<std::string, HANDLE> handles;
    static inline std::map<std::string, std::unique_ptr<Servant>> children;
    static inline std::map<std::string, Waiter> threads;
};

// The handles that a step's further fields name.
std::vector<HANDLE> handles_of(const Texts& step) {
    std::vector<HANDLE> all;
    for (size_t i = 2; i + 1 < step.size(); ++i) all.push_back(Objects::handles.at(step[i]));
    return all;
}

// The name of an object: "%" is the scene's own, "%%" the longest of those.
std::string name_in(std::string field) {
    if (field == "%%") return Objects::prefix + std::string(254 - Objects::prefix.size(), 'x');
    const size_t at = field.find('%');
    return at == std::string::npos ? field : field.replace(at, 1, Objects::prefix);
}

std::string kept(const std::string& name, HANDLE handle) {
    const DWORD error = GetLastError();
    if (handle == nullptr) return "error " + std::to_string(error);
    Objects::handles[name] = handle;
    return error == ERROR_ALREADY_EXISTS ? "old" : error == 0 ? "new" : std::to_string(error);
}

// An object of a kind, its state and its name.
std::string make(const Texts& step) {
    const std::string& kind = step[2];
    const std::string& state = step[3];
    const std::string name = name_in(step[4]);
    int count = 0;
    int most = 0;
    if (std::sscanf(state.c_str(), "%d/%d", &count, &most) == 2) {
        return kept(step[1], semaphore(count, most, name));
    }
    const bool on = state == "1";
    return kept(step[1], kind == "manual"      ? manual(on, name)
                         : kind == "automatic" ? automatic(on, name)
                                               : mutex(on, name));
}

template <HANDLE (*open_it)(const std::string&)>
std::string open_by_name(const Texts& step) {
    const std::string told = kept(step[1], open_it(name_in(step[2])));
    return told.starts_with("error") ? told : "open";
}

template <auto act>
std::string by_child(const Texts& step) {
    const Prompt prompt;
    return act(*Objects::children.at(step[1]), step[2]);
}

[[maybe_unused]] const bool plays = play_scenes<Objects>(
    "Objects", TEST_ROWS,
    {{"make", make},
     {"open_event", open_by_name<open>},
     {"open_mutex", open_by_name<open_mutex>},
     {"open_semaphore", open_by_name<open_semaphore>},
     {"open_null", step_of<[] {
          const HANDLE none = OpenEventA(EVENT_ALL_ACCESS, FALSE, nullptr);
          return std::to_string(error_if(none == nullptr));
      }>},
     {"close",
      [](const Texts& step) {
          return std::to_string(CloseHandle(Objects::handles.extract(step[1]).mapped()));
      }},
     {"do",
      [](const Texts& step) {
          const Prompt prompt;
          return obeyed(handles_of(step), step[1]);
      }},
     {"fallback",
      [](const Texts& step) {
#if !defined(_WIN32)
          platform::force_wait_fallback(true);
#endif
          return step.back();
      }},
     {"child",
      [](const Texts& step) {
          Texts names;
          for (size_t i = 2; i + 1 < step.size(); ++i) names.push_back(name_in(step[i]));
          Objects::children[step[1]] = std::make_unique<Servant>(names);
          return step.back();
      }},
     {"ask", by_child<[](Servant& child, const std::string& order) { return child.ask(order); }>},
     {"waits", by_child<[](Servant& child, const std::string& how) {
          child.start_waiting(how);
          return how;
      }>},
     {"hear", by_child<[](Servant& child, const std::string&) { return child.read_line(); }>},
     {"kill", by_child<[](Servant& child, const std::string& told) {
          child.kill();
          return told;
      }>},
     {"end", by_child<[](Servant& child, const std::string& told) {
          child.send_line("end");
          return told;
      }>},
     {"gone",
      by_child<[](Servant& child, const std::string&) { return std::to_string(child.wait()); }>},
     // A thread that waits for all, and gives back what can be given back.
     {"thread",
      [](const Texts& step) {
          Objects::Waiter& waiter = Objects::threads[step[1]];
          waiter.thread =
              std::make_unique<SleepingThread>([&told = waiter.told, objects = handles_of(step)] {
                  told = obeyed(objects, "all");
                  for (HANDLE object : objects) ReleaseMutex(object);
              });
          return "asleep"s;
      }},
     {"sleeps_on",
      [](const Texts& step) {
          Objects::threads.at(step[1]).thread->until_asleep();
          return Objects::threads.at(step[1]).told;
      }},
     {"result", [](const Texts& step) {
          const Prompt prompt;
          Objects::threads.at(step[1]).thread->join();
          return Objects::threads.at(step[1]).told;
      }}});

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
        EXPECT_EQ(children[0].ask("any 0"), std::to_string(WAIT_TIMEOUT));
    }
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
        {WAIT_OBJECT_0 + 1, 10, [&] { poster.ask("post 1"); }},
        {WAIT_OBJECT_0 + 2, 10, [&] { owner.ask("release"); }},
        {WAIT_OBJECT_0 + 3, 10, [&] { SetEvent(unnamed); }},
        {WAIT_ABANDONED_0 + 2, 1, [&] { owner.kill(); }}};
    for (const auto& [expected, rounds, cause] : causes) {
        const Prompt prompt;  // for all rounds, of which each may look again after a second
        for (int round = 0; round < rounds; ++round) {
            owner.ask("release");
            owner.ask("any 0");
            SleepingThread waiter([&, wanted = expected] {
                EXPECT_EQ(WaitForMultipleObjects(4, handles, FALSE, Prompt::kLimit), wanted);
                ReleaseMutex(owned);  // if that woke it
            });
            cause();
        }
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

CHILD_ROLE(take_and_give_back) {
    const Handle object(OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, args[0].c_str()));
    const Handle over(open(args[1]));
    tell_parent("ready");
    while (wait_for(over) == WAIT_TIMEOUT) {
        if (wait_for(object) == WAIT_OBJECT_0) ReleaseSemaphore(object, 1, nullptr);
    }
    return 0;
}

// The last of many is taken by another process while the ones before it are: those are given back.
TEST(NamedObjects, AWaitForAllThatComesTooLateTakesNothing) {
    const std::string name = new_name();
    const std::string end = new_name();
    const Handle over(manual(false, end));
    Handles all = {mutex(false, new_name()), automatic(true, new_name()), manual(true, new_name())};
    while (all.size() < MAXIMUM_WAIT_OBJECTS - 1) all.push_back(semaphore(1, 1, new_name()));
    all.push_back(semaphore(1, 1, name));
    const auto give_back = [&] {
        EXPECT_TRUE(ReleaseMutex(all[0]));
        SetEvent(all[1]);
        for (size_t i = 3; i < all.size(); ++i) EXPECT_TRUE(ReleaseSemaphore(all[i], 1, nullptr));
    };
    ChildProcess other("take_and_give_back", {name, end});
    EXPECT_EQ(other.read_line(), "ready");
    for (int i = 0; i < 30000; ++i) {
        if (all.wait(true, 0) == WAIT_OBJECT_0) give_back();
    }
    SetEvent(over);
    EXPECT_EQ(other.wait(), 0);
    EXPECT_EQ(all.wait(true, 0), WAIT_OBJECT_0);
    give_back();
    // Held once, not twice.
    std::thread([&] { EXPECT_EQ(wait_for(all[0]), WAIT_OBJECT_0); }).join();
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
