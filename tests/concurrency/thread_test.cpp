// Threads, mutexes, critical sections and local time.
#include "support/test.h"

namespace {

struct Job {
    std::atomic<int> runs{0};
    OXHANDLE done = ORVEX_EVENT_Create(nullptr);
    uint32_t thread_id = 0;
    ~Job() { ORVEX_EVENT_Release(done); }
};

uint32_t run_job(void* context) {
    auto* job = static_cast<Job*>(context);
    job->thread_id = ORVEX_THREAD_GetCurID();
    ++job->runs;
    ORVEX_EVENT_Set(job->done);
    return 7;
}

TEST(Thread, RunsWithAndWithoutHandle) {
    Job job;
    OXHANDLE thread = nullptr;
    uint32_t id = 0;
    EXPECT_EQ(ORVEX_CreateThread(&thread, 0, run_job, &job, 0, &id), 1);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(ORVEX_EVENT_Wait(job.done), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWait(thread, 10), 1);
    EXPECT_EQ(job.thread_id, id);
    EXPECT_NE(id, ORVEX_THREAD_GetCurID());
    EXPECT_EQ(ORVEX_CloseThreadHandle(thread), 1);

    EXPECT_EQ(ORVEX_CreateThread(nullptr, 256 * 1024, run_job, &job, 0, nullptr), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWait(job.done, 10), 1);
    EXPECT_EQ(ORVEX_StartThread(run_job, &job), 1);
    EXPECT_EQ(ORVEX_EVENT_TimeWait(job.done, 10), 1);
    EXPECT_EQ(job.runs, 3);
}

TEST(Thread, AFailedStartIsOnlyReported) {
    OXHANDLE thread = &thread;
    // No machine has a stack of 2^62 bytes.
    EXPECT_EQ(ORVEX_CreateThread(&thread, int64_t{1} << 62, run_job, nullptr, 0, nullptr), 1);
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(error_of_this_thread(), "277 oxthrdop createthread");
}

TEST(Mutex, FailedLockAndUnlockLeaveTheirLines) {
    EXPECT_EQ(ORVEX_THREAD_Lock(nullptr), -1);
    EXPECT_EQ(ORVEX_THREAD_UnLock(nullptr), -1);
    EXPECT_EQ(history_of_this_thread(), "24 oxthrdop, 35 oxthrdop");
}

TEST(CriticalSection, TryFailsOnlyForAnotherThread) {
    OXCRITSECT section;
    ORVEX_InitCritSect(&section);
    EXPECT_EQ(ORVEX_TryEnterCritSect(&section) + ORVEX_TryEnterCritSect(&section), 2);
    for (int held = 2; held > 0; --held) {
        in_thread([&section] {
            EXPECT_EQ(error_of(ORVEX_TryEnterCritSect(&section)), "283 oxthrdop dead lock");
        }).join();
        EXPECT_EQ(held == 2 ? ORVEX_LeaveCritSect(&section) : MOLTE_LeaveCrit(&section), 1);
    }
    std::thread([&section] {
        EXPECT_EQ(ORVEX_EnterCritSect(&section) + ORVEX_LeaveCritSect(&section), 2);
    }).join();
    EXPECT_EQ(ORVEX_DestroyCritSect(&section), 1);
}

TEST(LocalTime, FieldsAndTexts) {
    const int64_t moment = 1528110041;
    struct tm fields {};
    ASSERT_NE(ORVEX_LocalTime(&moment, &fields), nullptr);
    struct tm again = fields;
    EXPECT_EQ(static_cast<int64_t>(std::mktime(&again)), moment);
    char text[26] = "as it was";
    char same[26];
    ASSERT_NE(ORVEX_ctime(&moment, text), nullptr);
    ASSERT_NE(ORVEX_asctime(&fields, same), nullptr);
    EXPECT_EQ(std::strlen(text), 25U);  // 24 characters and the line feed
    EXPECT_STREQ(text, same);
    EXPECT_NE(ORVEX_ctime(nullptr, nullptr), nullptr);
    EXPECT_NE(ORVEX_asctime(nullptr, same), nullptr);
    const int64_t no_such_time = INT64_MAX;
    EXPECT_EQ(ORVEX_LocalTime(&no_such_time, &fields), nullptr);
    EXPECT_EQ(fields.tm_year, 0);
    std::strcpy(text, "as it was");
    EXPECT_EQ(ORVEX_ctime(&no_such_time, text), nullptr);
    EXPECT_STREQ(text, "as it was");
}

TEST(LocalTime, ThreadsDoNotMixTheirFields) {
    in_threads(4, [](int) {
        for (int64_t t = 0; t < 2000 * 86400 * 3; t += 86400 * 3) {
            struct tm f {};
            ORVEX_LocalTime(&t, &f);
            const int64_t again = ORVEX_MkTime(f.tm_year + 1900, f.tm_mon + 1, f.tm_mday, f.tm_hour,
                                               f.tm_min, f.tm_sec);
            // Half of the year may be off by the hour of daylight saving.
            EXPECT_LE(std::abs(again - t), 3600);
        }
    });
}

}  // namespace
