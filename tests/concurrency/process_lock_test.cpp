#include <sstream>

#include "support/object_name.h"
#include "support/test.h"

namespace {

struct Word {
    OXHANDLE handle = nullptr;
    ~Word() {
        if (handle != nullptr) MOLTE_IPC_Release(&handle);
    }
};

// Opens a mutex or a semaphore by name, and answers each call that it is told with its result.
CHILD_ROLE(call_for_parent) {
    Word word;
    if (MOLTE_MUTEX_Open(&word.handle, args[0].c_str()) != 1 &&
        MOLTE_SEMA_Open(&word.handle, args[0].c_str()) != 1) {
        return 1;
    }
    tell_parent("ready");
    for (std::string line = hear_parent(); !line.empty(); line = hear_parent()) {
        int32_t result = 0;
        if (line == "lock") result = MOLTE_MUTEX_Lock(&word.handle, 20);
        if (line == "try") result = MOLTE_IPC_TimeWait(&word.handle, 1);
        if (line == "unlock") result = MOLTE_MUTEX_Unlock(&word.handle);
        if (line == "get") result = MOLTE_SEMA_GetResource(&word.handle, 20);
        if (line == "free") result = MOLTE_SEMA_FreeResource(&word.handle);
        tell_parent(std::to_string(result));
    }
    return 0;
}

struct Other : ChildProcess {
    explicit Other(const std::string& name) : ChildProcess("call_for_parent", {name}) {
        EXPECT_EQ(read_line(), "ready");
    }
    // Some calls one after the other; their results.
    std::string operator()(const std::string& calls) {
        std::istringstream words(calls);
        std::string results;
        for (std::string word; words >> word;) {
            send_line(word);
            results += read_line() + " ";
        }
        return results;
    }
};

TEST(ProcessLock, AMutexGoesFromProcessToProcessAndFromTheDeadWithAnError) {
    const std::string name = new_name();
    Word word;
    Word again;
    OXHANDLE* const mutex = &word.handle;
    EXPECT_EQ(error_of(MOLTE_MUTEX_Open(mutex, name.c_str())), "1202 oxipc " + name);
    ASSERT_EQ(MOLTE_MUTEX_Create(mutex, name.c_str()), 1);
    EXPECT_EQ(MOLTE_MUTEX_Create(&again.handle, name.c_str()), 1);
    EXPECT_EQ(error_of(MOLTE_MUTEX_Unlock(mutex)), "1203 oxipc release mutex error");
    Other other(name);
    EXPECT_EQ(MOLTE_MUTEX_Lock(&again.handle, 0), 1);
    EXPECT_EQ(other("try unlock"), "0 -1 ");
    other.send_line("lock");
    EXPECT_EQ(MOLTE_MUTEX_Unlock(mutex), 1);
    EXPECT_EQ(other.read_line(), "1");
    Other heir(name);
    other.kill();
    EXPECT_EQ(error_of(MOLTE_MUTEX_Lock(mutex, 20)), "1200 oxipc wait failed");
    EXPECT_EQ(heir("try"), "0 ");  // it is ours all the same
    EXPECT_EQ(MOLTE_MUTEX_Unlock(mutex), 1);
    EXPECT_EQ(heir("lock unlock"), "1 1 ");
}

TEST(ProcessLock, ASemaphoreCountsForAllProcesses) {
    const std::string name = new_name();
    Word word;
    Word again;
    OXHANDLE* const semaphore = &word.handle;
    EXPECT_EQ(error_of(MOLTE_SEMA_Open(semaphore, name.c_str())), "1205 oxipc " + name);
    ASSERT_EQ(MOLTE_SEMA_Create(semaphore, 2, 3, name.c_str()), 1);
    EXPECT_EQ(MOLTE_SEMA_Create(&again.handle, 1, 9, name.c_str()), 1);  // as it is
    Other other(name);
    EXPECT_EQ(other("get free free free"), "1 1 1 -1 ");
    EXPECT_EQ(error_of(MOLTE_SEMA_FreeResource(semaphore)), "1207 oxipc release semaphore");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(MOLTE_SEMA_GetResource(semaphore, 0), 1);
    const auto begin = steady_clock::now();
    EXPECT_EQ(MOLTE_SEMA_GetResource(semaphore, 1), 0);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(990));
    other.send_line("get");
    EXPECT_EQ(MOLTE_SEMA_FreeResource(semaphore), 1);
    EXPECT_EQ(other.read_line(), "1");
}

TEST(ProcessLock, BadCallsAreErrors) {
    const std::string name = new_name();
    Word event{ORVEX_EVENT_Create(name.c_str())};
    OXHANDLE none = nullptr;
    OXHANDLE foreign = reinterpret_cast<OXHANDLE>(uintptr_t{0x7654320});
    const char* taken = name.c_str();
    for (const int32_t result :
         {MOLTE_SEMA_Create(nullptr, 1, 1, "a"), MOLTE_SEMA_Create(&none, 1, 1, nullptr),
          MOLTE_SEMA_Create(&none, 0, 1, "a"), MOLTE_SEMA_Create(&none, 3, 2, "a")}) {
        EXPECT_EQ(error_of(result), "410 oxipc");
    }
    EXPECT_EQ(error_of(MOLTE_SEMA_Open(nullptr, "a")), "1206 oxipc");
    EXPECT_EQ(error_of(MOLTE_SEMA_Open(&none, nullptr)), "1206 oxipc");
    EXPECT_EQ(error_of(MOLTE_SEMA_FreeResource(nullptr)), "1208 oxipc");
    EXPECT_EQ(error_of(MOLTE_IPC_TimeWait(nullptr, 1)), "409 oxipc");
    EXPECT_EQ(error_of(MOLTE_MUTEX_Lock(&none, 1)), "409 oxipc");
    EXPECT_EQ(error_of(MOLTE_MUTEX_Create(nullptr, "a")), "50 oxipc");
    EXPECT_EQ(error_of(MOLTE_MUTEX_Create(&none, taken)), "1201 oxipc " + name);
    EXPECT_EQ(error_of(MOLTE_SEMA_Create(&none, 1, 1, taken)), "1204 oxipc " + name);
    EXPECT_EQ(error_of(MOLTE_SEMA_FreeResource(&event.handle)), "1207 oxipc release semaphore");
    EXPECT_EQ(error_of(MOLTE_IPC_TimeWait(&foreign, 1)), "1200 oxipc wait failed");
    EXPECT_EQ(MOLTE_IPC_Release(&foreign), 0);
}

}  // namespace
