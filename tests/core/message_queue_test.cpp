#include "support/test.h"

namespace {

class MessageQueue : public testing::Test {
 protected:
    MessageQueue() { EXPECT_EQ(OTXTHOOK_MSGQUELIST_Init(&queue_), 1); }
    ~MessageQueue() override {
        EXPECT_EQ(OTXTHOOK_MSGQUELIST_Release(&queue_), 1);
        EXPECT_EQ(queue_.hEvent, nullptr);
    }
    int32_t add(const std::string& text, uint32_t mask = 0, void* data = nullptr) {
        return OTXTHOOK_MSGQUELIST_AddMsg(&queue_, mask, data, 77, text.data(),
                                          static_cast<int32_t>(text.size()));
    }
    // Begins to read; joined when the readers got nothing any more.
    std::thread start_readers(int count) {
        return std::thread([this, count] {
            in_threads(count, [this](int) {
                while (OTXTHOOK_MSGQUENODE* node = OTXTHOOK_MSGQUELIST_GetMsg(&queue_)) {
                    sum_ += node->nLen;
                    OTXTHOOK_MSGQUENODE_Release(&node);
                    ++taken_;
                }
            });
        });
    }
    OTXTHOOK_MSGQUELIST queue_;
    std::atomic<int> taken_{0};
    std::atomic<int64_t> sum_{0};
};

TEST_F(MessageQueue, GivesInTheOrderOfTheCalls) {
    int data = 0;
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_GetNode(&queue_), nullptr);
    EXPECT_EQ(add("one", 5, &data), 1);
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_AddMsg(&queue_, 6, nullptr, 0, "two and more", 3), 1);
    OTXTHOOK_MSGQUENODE* node = OTXTHOOK_MSGQUELIST_GetNode(&queue_);
    ASSERT_NE(node, nullptr);
    EXPECT_STREQ(node->pText, "one");
    EXPECT_EQ(node->pUserData, &data);
    EXPECT_EQ((Ints{static_cast<int32_t>(node->nMask), node->nDataSize, node->nLen}),
              (Ints{5, 77, 3}));
    EXPECT_EQ(OTXTHOOK_MSGQUENODE_Release(&node), 0);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(OTXTHOOK_MSGQUENODE_Release(&node), 0);
    node = OTXTHOOK_MSGQUELIST_GetMsg(&queue_);
    EXPECT_STREQ(node->pText, "two");
    OTXTHOOK_MSGQUENODE_Release(&node);
    EXPECT_EQ(add("three"), 1);  // freed with the queue
}

TEST_F(MessageQueue, RefusesWhatIsNoTextOrNoQueue) {
    OTXTHOOK_MSGQUELIST none{};
    EXPECT_EQ(add("") + OTXTHOOK_MSGQUELIST_AddMsg(&queue_, 0, nullptr, 0, nullptr, 4), 0);
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_Release(nullptr) + OTXTHOOK_MSGQUELIST_StopShow(nullptr), 0);
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_GetMsg(&none), nullptr);
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_AddMsg(&none, 0, nullptr, 0, "x", 1), -1);
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_Release(&none), 1);
}

TEST_F(MessageQueue, WaitingReadersGetAllAndStopAtOnce) {
    constexpr int kMessages = 2000;
    std::thread readers = start_readers(4);
    in_threads(2, [this](int) {
        for (int n = 1; n <= kMessages; ++n) add(std::string(static_cast<size_t>(n % 50) + 1, 'x'));
    });
    while (taken_ < 2 * kMessages) std::this_thread::yield();
    EXPECT_EQ(sum_, 2 * (kMessages / 50) * (51 * 50 / 2));
    EXPECT_EQ(OTXTHOOK_MSGQUELIST_StopShow(&queue_), 1);
    readers.join();
    EXPECT_EQ(add("late"), 0);
}

TEST_F(MessageQueue, WhatIsThereIsGivenAfterAStop) {
    std::thread readers = start_readers(2);
    std::atomic_ref(g_stBv.bStopAll).store(1);  // the program's stop request
    readers.join();
    std::atomic_ref(g_stBv.bStopAll).store(0);
    EXPECT_EQ(add("one"), 1);
    OTXTHOOK_MSGQUELIST_StopShow(&queue_);
    start_readers(2).join();
    EXPECT_EQ(taken_, 1);
}

}  // namespace
