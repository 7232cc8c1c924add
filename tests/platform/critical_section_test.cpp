#include "platform/critical_section.h"
#include "support/common.h"

TEST(CriticalSection, IsOneThreadsUntilItLeftAsOftenAsItEntered) {
    CRITICAL_SECTION section{};
    InitializeCriticalSection(&section);
    const auto another_gets_it = [&] {
        bool got = false;
        std::thread([&] {
            got = TryEnterCriticalSection(&section) != FALSE;
            if (got) LeaveCriticalSection(&section);
        }).join();
        return got;
    };
    std::atomic<int> entered{0};
    int rounds = 0;  // counted right only if threads are kept apart
    const auto enter_often = [&] {
        for (int round = 0; round < 2000; ++round) {
            EnterCriticalSection(&section);
            ++entered;
            ++rounds;
            LeaveCriticalSection(&section);
        }
    };
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_NE(TryEnterCriticalSection(&section), FALSE);
    std::thread one(enter_often);
    std::thread two(enter_often);
    for (int held = 3; held > 0; --held) {
        EXPECT_FALSE(another_gets_it()) << held;
        EXPECT_EQ(entered, 0);
        LeaveCriticalSection(&section);
    }
    one.join();
    two.join();
    EXPECT_EQ(rounds, 4000);
    EXPECT_TRUE(another_gets_it());
    DeleteCriticalSection(&section);
}
