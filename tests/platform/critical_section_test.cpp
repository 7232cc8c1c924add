#include "platform/critical_section.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

class CriticalSection : public testing::Test {
 protected:
    CriticalSection() { InitializeCriticalSection(&section_); }
    ~CriticalSection() override { DeleteCriticalSection(&section_); }

    bool another_thread_gets_it() {
        bool got = false;
        std::thread([&] {
            got = TryEnterCriticalSection(&section_) != FALSE;
            if (got) LeaveCriticalSection(&section_);
        }).join();
        return got;
    }

    CRITICAL_SECTION section_{};
};

TEST_F(CriticalSection, IsFreeOnlyAfterAsManyLeavesAsEnters) {
    EnterCriticalSection(&section_);
    EnterCriticalSection(&section_);
    EXPECT_NE(TryEnterCriticalSection(&section_), FALSE);
    for (int held = 3; held > 0; --held) {
        EXPECT_FALSE(another_thread_gets_it()) << held;
        LeaveCriticalSection(&section_);
    }
    EXPECT_TRUE(another_thread_gets_it());
}

TEST_F(CriticalSection, KeepsThreadsApart) {
    int inside = 0;
    int entered = 0;
    bool met = false;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                EnterCriticalSection(&section_);
                met = met || ++inside != 1;
                ++entered;
                if (round % 64 == 0) std::this_thread::yield();
                --inside;
                LeaveCriticalSection(&section_);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_FALSE(met);
    EXPECT_EQ(entered, 8000);
}

TEST_F(CriticalSection, AWaiterGetsItWhenTheHolderLeaves) {
    EnterCriticalSection(&section_);
    std::atomic<bool> entered{false};
    std::thread waiter([&] {
        EnterCriticalSection(&section_);
        entered = true;
        LeaveCriticalSection(&section_);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);
    LeaveCriticalSection(&section_);
    waiter.join();
    EXPECT_TRUE(entered);
}

}  // namespace
