// What named objects, handles and locks come to when processes die, stop or fork.
#if !defined(_WIN32)
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <sys/file.h>
#include <sys/prctl.h>

#include <cstdarg>

#include "platform/critical_section.h"
#include "platform/threads.h"
#include "support/asleep.h"
#include "support/error_if.h"
#include "support/handles.h"
#include "support/posix.h"
#include "support/unprivileged.h"

// What the threads of the parent were about to free is lost in a forked child: no leak to be told.
static bool forked = false;
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off() {  // NOLINT
    return forked ? 1 : 0;
}

// What a thread does when it is about to sleep on a word of several processes: once, and then only
// a wake ends the sleep soon.
static std::function<void()> before_sleep;
static std::atomic<bool> before_sleep_done{false};
extern "C" long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    long values[6];
    for (long& value : values) value = va_arg(list, long);
    va_end(list);
    std::timespec far{};
    if (number == SYS_futex && values[1] == FUTEX_WAIT_BITSET && before_sleep != nullptr) {
        std::exchange(before_sleep, nullptr)();
        before_sleep_done = true;
        clock_gettime(CLOCK_MONOTONIC, &far);
        far.tv_sec += 40;
        values[3] = reinterpret_cast<intptr_t>(&far);
    }
    static const auto real = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    return real(number, values[0], values[1], values[2], values[3], values[4], values[5]);
}

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

// One folder for all, since a process has one common bell.
class ObjectSurvival : public testing::Test {
 protected:
    ObjectSurvival() {
        setenv("MOLTELIB_OBJECT_FOLDER", folder().str().c_str(), 1);
        const Handle first(automatic(false, "first"));
    }

    static const TempFolder& folder() {
        static const TempFolder only;
        return only;
    }
    [[nodiscard]] bool exists() const { return fs::exists(path_); }

    const std::string path_ = folder() / "=thing";
};

HANDLE open_event(const std::string& name = "thing") {
    return OpenEventA(EVENT_ALL_ACCESS, FALSE, name.c_str());
}

// That of a forked child which ends as a program does.
int in_forked(const std::function<int()>& run) {
    return in_fork([&run]() -> int {
        forked = true;
        std::exit(run());
    });
}

// From now on the kernel kills this process when it would wake a sleeper of another one.
bool die_at_wake() {
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_futex, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, FUTEX_WAKE, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(steps), steps};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

CHILD_ROLE(signal_and_die) {
    HANDLE event = open_event(args[0]);
    HANDLE counter = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, args[0].c_str());
    if (!die_at_wake()) return 2;
    event != nullptr ? SetEvent(event) : ReleaseSemaphore(counter, 1, nullptr);
    return 1;
}

TEST_F(ObjectSurvival, ASignallerKilledBeforeItWakesHoldsNobodyUp) {
    const Handle objects[] = {Handle(automatic(false, "one")), Handle(manual(false, "all")),
                              Handle(semaphore(0, 2, "some"))};
    const auto begin = steady_clock::now();
    {
        std::vector<std::unique_ptr<SleepingThread>> waiters;  // joined at the end
        for (HANDLE object : objects) {
            waiters.push_back(std::make_unique<SleepingThread>(
                [object] { EXPECT_EQ(wait_for(object, 60'000), WAIT_OBJECT_0); }));
        }
        for (const char* name : {"one", "all", "some"}) {
            EXPECT_EQ(ChildProcess("signal_and_die", {name}).wait(), -1);
        }
    }
    EXPECT_LT(steady_clock::now() - begin, milliseconds(30'000));
}

TEST_F(ObjectSurvival, ASignallerKilledBeforeItWakesLeavesOneSignal) {
    const Handle event(automatic(true, "thing"));
    EXPECT_EQ(ChildProcess("signal_and_die", {"thing"}).wait(), -1);
    EXPECT_EQ(wait_for(event), WAIT_OBJECT_0);
    EXPECT_EQ(wait_for(event), WAIT_TIMEOUT);
}

// The signal finds nobody asleep, and another thread takes it: the word is as it was.
TEST_F(ObjectSurvival, OneAboutToSleepIsWokenByTheSignalAfterNext) {
    const Handle object(semaphore(0, 1, "word"));
    before_sleep_done = false;
    before_sleep = [&] {
        std::thread([&] {
            ReleaseSemaphore(object, 1, nullptr);
            EXPECT_EQ(wait_for(object), WAIT_OBJECT_0);
        }).join();
    };
    SleepingThread sleeper([&] { EXPECT_EQ(wait_for(object, INFINITE), WAIT_OBJECT_0); });
    while (!before_sleep_done) std::this_thread::yield();
    sleeper.until_asleep();
    const auto begin = steady_clock::now();
    ReleaseSemaphore(object, 1, nullptr);
    sleeper.join();
    EXPECT_LT(steady_clock::now() - begin, milliseconds(20'000));
}

TEST_F(ObjectSurvival, AFileThatCannotBeRemovedIsAFailure) {
    const TempFolder outer;
    fs::permissions(outer.path(), fs::perms{0777});
    const std::string mine = outer / "mine";
    const Unprivileged somebody;
    setenv("MOLTELIB_OBJECT_FOLDER", mine.c_str(), 1);
    EXPECT_EQ(in_forked([] { return automatic(false, "thing") != nullptr ? raise(SIGKILL) : 1; }),
              -1);
    ASSERT_TRUE(fs::exists(mine + "/=thing"));
    ASSERT_NE(Handle(automatic(false, "other")), nullptr);
    fs::permissions(mine, fs::perms{0500});
    EXPECT_EQ(error_if(automatic(false, "thing") == nullptr), ERROR_ACCESS_DENIED);
    EXPECT_EQ(error_if(open_event() == nullptr), ERROR_ACCESS_DENIED);
    fs::permissions(mine, fs::perms{0700});
    EXPECT_NE(Handle(automatic(false, "thing")), nullptr);
}

TEST_F(ObjectSurvival, OneWhoStoppedWhileRemovingIsInTheWayForAMomentOnly) {
    const Handle other(automatic(false, "other"));
    fs::copy_file(folder() / "=other", path_);
    const int fd = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    EXPECT_EQ(error_if(automatic(false, "thing") == nullptr), ERROR_SHARING_VIOLATION);
    close(fd);
    EXPECT_NE(Handle(automatic(false, "thing")), nullptr);
}

CHILD_ROLE(set_event) {
    const Handle event(open_event());
    return event != nullptr && SetEvent(event) != FALSE ? 0 : 1;
}

TEST_F(ObjectSurvival, AForkedChildTakesNothingFromItsParent) {
    const Handle event(automatic(false, "thing"));
    for (const bool closes : {false, true}) {
        EXPECT_EQ(in_forked([&] { return closes && CloseHandle(event) == FALSE ? 1 : 0; }), 0);
        EXPECT_TRUE(exists());
        EXPECT_TRUE(fs::exists(folder() / "bell"));
        EXPECT_EQ(ChildProcess("set_event").wait(), 0);
        EXPECT_EQ(wait_for(event), WAIT_OBJECT_0);
    }
}

// Makes an object, goes on in a child, as a service does, and leaves it open.
CHILD_ROLE(become_daemon) {
    HANDLE event = automatic(false, "thing");
    if (fork() != 0) return 0;  // to the caller's exit
    tell_parent("started");
    tell_parent(std::to_string(wait_for(event, 5000)));
    hear_parent();
    return 0;
}

TEST_F(ObjectSurvival, AParentTakesNothingFromItsForkedChild) {
    ChildProcess service("become_daemon");
    EXPECT_EQ(service.read_line(), "started");
    EXPECT_EQ(service.wait(), 0);
    EXPECT_EQ(ChildProcess("set_event").wait(), 0);
    EXPECT_EQ(service.read_line(), "0");
    EXPECT_TRUE(exists());
    service.send_line("end");
    EXPECT_EQ(service.read_line(), "");  // at its end
    EXPECT_FALSE(exists());
}

TEST_F(ObjectSurvival, AForkBesideABusyThreadLeavesNoLockHeld) {
    if (kThreadSanitizer) GTEST_SKIP() << "its own locks stay held in such a child";
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop) {
            const Handle named(automatic(false, "busy"));
            const Handle unnamed(automatic(true));
            wait_for(unnamed);
        }
    });
    int clean = 0;
    for (int i = 0; i < 100; ++i) {
        clean +=
            in_forked([] { return Handle(automatic(false, "thing")) != nullptr ? 0 : 1; }) == 0;
    }
    stop = true;
    busy.join();
    EXPECT_EQ(clean, 100);
}

TEST_F(ObjectSurvival, AForkedChildOwnsNoNamedMutexThoughItsParentReleasesItAtOnce) {
    const Handle first(mutex(false, "thing"));
    const Handle second(mutex(false, "more"));
    const auto take_both = [&] {
        return wait_for(first, 10'000) == WAIT_OBJECT_0 &&
               wait_for(second, 10'000) == WAIT_OBJECT_0;
    };
    const auto release_both = [&] {
        return ReleaseMutex(first) != FALSE && ReleaseMutex(second) != FALSE;
    };
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(take_both());
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            _exit(take_both() && release_both() && take_both() && release_both() ? 0 : 1);
        }
        EXPECT_TRUE(release_both());
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

// The thread that forks keeps what it has; what the parent's other threads have is free.
TEST_F(ObjectSurvival, AForkedChildHasTheLocksOfItsThreadAlone) {
    if (kThreadSanitizer) GTEST_SKIP() << "it ends a child of threads that starts another";
    const Handle mine(mutex(true));
    const Handle others(mutex());
    const Handle shared(mutex(true, "thing"));
    const Handle never(automatic());
    CRITICAL_SECTION my_section;
    CRITICAL_SECTION others_section;
    for (auto* section : {&my_section, &others_section}) InitializeCriticalSection(section);
    EnterCriticalSection(&my_section);
    std::function<DWORD()> hold = [&] {
        for (int i = 0; i < 2; ++i) EnterCriticalSection(&others_section);
        wait_for(others, 10'000);
        return wait_for(never, 60'000);
    };
    const auto run = [](void* what) { return (*static_cast<std::function<DWORD()>*>(what))(); };
    const Handle thread(CreateThread(nullptr, 0, run, &hold, 0, nullptr));
    while (wait_for(others) == WAIT_OBJECT_0) {
        ReleaseMutex(others);
        std::this_thread::yield();
    }
    EXPECT_EQ(in_forked([&] {
                  int wrong = 0;
                  auto expect = [&wrong, bit = 1](bool right) mutable {
                      if (!right) wrong |= bit;
                      bit *= 2;
                  };
                  expect(wait_for(thread, 10'000) == WAIT_OBJECT_0);
                  expect(SetEvent(never) != FALSE && wait_for(never) == WAIT_OBJECT_0);
                  expect(wait_for(others) == WAIT_ABANDONED && ReleaseMutex(others) != FALSE);
                  expect(ReleaseMutex(mine) != FALSE && ReleaseMutex(mine) == FALSE);
                  expect(wait_for(shared) == WAIT_TIMEOUT && ReleaseMutex(shared) == FALSE);
                  EnterCriticalSection(&others_section);
                  LeaveCriticalSection(&others_section);
                  std::thread([&] {
                      expect(TryEnterCriticalSection(&others_section) != FALSE);
                      LeaveCriticalSection(&others_section);
                      expect(TryEnterCriticalSection(&my_section) == FALSE);
                  }).join();
                  return wrong;
              }),
              0);
    EXPECT_EQ(wait_for(thread), WAIT_TIMEOUT);  // here it runs on
    EXPECT_EQ(TryEnterCriticalSection(&my_section), TRUE);
    EXPECT_NE(ReleaseMutex(shared), FALSE);
    SetEvent(never);
    EXPECT_EQ(wait_for(thread, 10'000), WAIT_OBJECT_0);
}

}  // namespace
#endif
