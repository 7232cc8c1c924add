#include "support/object_name.h"
#include "support/test.h"

namespace {

struct Word {
    OXHANDLE handle = nullptr;
    ~Word() {
        if (handle != nullptr) MOLTE_IPC_Release(&handle);
    }
};

// Takes a mutex or a unit by name, tells the result, and gives it back when it is told to.
CHILD_ROLE(take) {
    Word word;
    const char* name = args[0].c_str();
    const bool mutex = MOLTE_MUTEX_Open(&word.handle, name) == 1;
    if (!mutex && MOLTE_SEMA_Open(&word.handle, name) != 1) return 1;
    tell_parent("waits");
    tell_parent(std::to_string(MOLTE_IPC_TimeWait(&word.handle, std::stoi(args[1]))));
    hear_parent();
    return mutex ? MOLTE_MUTEX_Unlock(&word.handle) : MOLTE_SEMA_FreeResource(&word.handle);
}

struct Taker : ChildProcess {
    Taker(const std::string& name, const char* seconds) : ChildProcess("take", {name, seconds}) {
        EXPECT_EQ(read_line(), "waits");
    }
    // What giving back gave.
    int give_back() {
        send_line("");
        return wait();
    }
};

TEST(ProcessLock, AMutexGoesFromProcessToProcessAndFromTheDeadWithAnError) {
    const std::string name = new_name();
    Word mutex;
    EXPECT_EQ(error_of(MOLTE_MUTEX_Open(&mutex.handle, name.c_str())), "1202 oxipc " + name);
    ASSERT_EQ(MOLTE_MUTEX_Create(&mutex.handle, name.c_str()), 1);
    EXPECT_EQ(error_of(MOLTE_MUTEX_Unlock(&mutex.handle)), "1203 oxipc release mutex error");
    EXPECT_EQ(MOLTE_MUTEX_Lock(&mutex.handle, 0), 1);
    EXPECT_EQ(Taker(name, "1").read_line(), "0");
    Taker next(name, "20");
    EXPECT_EQ(MOLTE_MUTEX_Unlock(&mutex.handle), 1);
    EXPECT_EQ(next.read_line(), "1");
    next.kill();
    EXPECT_EQ(error_of(MOLTE_MUTEX_Lock(&mutex.handle, 20)), "1200 oxipc wait failed");
    EXPECT_EQ(MOLTE_MUTEX_Unlock(&mutex.handle), 1);  // it was ours all the same
    EXPECT_EQ(MOLTE_MUTEX_Lock(&mutex.handle, 20), 1);
}

TEST(ProcessLock, ASemaphoreCountsForAllProcesses) {
    const std::string name = new_name();
    Word semaphore;
    Word again;
    EXPECT_EQ(error_of(MOLTE_SEMA_Open(&semaphore.handle, name.c_str())), "1205 oxipc " + name);
    ASSERT_EQ(MOLTE_SEMA_Create(&semaphore.handle, 2, 2, name.c_str()), 1);
    ASSERT_EQ(MOLTE_SEMA_Create(&again.handle, 1, 9, name.c_str()), 1);  // as it is
    EXPECT_EQ(error_of(MOLTE_SEMA_FreeResource(&again.handle)), "1207 oxipc release semaphore");
    Taker other(name, "20");
    EXPECT_EQ(other.read_line(), "1");
    EXPECT_EQ(MOLTE_SEMA_GetResource(&semaphore.handle, 0), 1);
    const auto begin = steady_clock::now();
    EXPECT_EQ(MOLTE_SEMA_GetResource(&semaphore.handle, 1), 0);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(990));
    EXPECT_EQ(other.give_back(), 1);
}

TEST(ProcessLock, BadCallsAreErrors) {
    const std::string name = new_name();
    Word event{ORVEX_EVENT_Create(name.c_str())};
    OXHANDLE none = nullptr;
    OXHANDLE foreign = reinterpret_cast<OXHANDLE>(uintptr_t{0x7654320});
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
    EXPECT_EQ(error_of(MOLTE_MUTEX_Create(&none, name.c_str())), "1201 oxipc " + name);
    EXPECT_EQ(error_of(MOLTE_SEMA_Create(&none, 1, 1, name.c_str())), "1204 oxipc " + name);
    EXPECT_EQ(error_of(MOLTE_SEMA_FreeResource(&event.handle)), "1207 oxipc release semaphore");
    EXPECT_EQ(error_of(MOLTE_IPC_TimeWait(&foreign, 1)), "1200 oxipc wait failed");
    EXPECT_EQ(MOLTE_IPC_Release(&foreign), 0);
}

}  // namespace
