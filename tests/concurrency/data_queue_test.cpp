#include "support/asleep.h"
#include "support/test.h"

namespace {

struct Queue : Pinned, MOLTE_DATAQUE {
    explicit Queue(int32_t capacity) { MOLTE_DATAQUE_Init(this, capacity, sizeof(int32_t)); }
    ~Queue() { MOLTE_DATAQUE_Release(this); }
    int32_t add(int32_t item) { return MOLTE_DATAQUE_AddClient(this, &item); }
    // The item, or below 0.
    int32_t take() {
        int32_t item = 0;
        const int32_t result = MOLTE_DATAQUE_GetClient(this, &item);
        return result == 1 ? item : result;
    }
};

TEST(DataQueue, GivesInOrderAndSignalsEachTime) {
    Queue queue(3);
    const auto signals = [](OXHANDLE event) {
        return ORVEX_EVENT_TimeWaitInMilliSecond(event, 1) +
               ORVEX_EVENT_TimeWaitInMilliSecond(event, 1);
    };
    for (int32_t n = 0; n < 7; ++n) {
        EXPECT_EQ(queue.add(n) + queue.add(n + 100), 2);
        EXPECT_EQ(signals(queue.hDataEvent), 1);
        EXPECT_EQ((Ints{queue.take(), queue.take()}), (Ints{n, n + 100}));
        EXPECT_EQ(signals(queue.hRoomEvent), 1);
        EXPECT_EQ((Ints{queue.nReadPos, queue.nWritePos}), (Ints(2, (2 * n + 2) % 3)));
    }
}

TEST(DataQueue, AFullOneMakesItsWriterWait) {
    Queue queue(1);
    queue.add(1);
    queue.bClosing = 1;  // which is nothing to a writer
    SleepingThread writer([&] { EXPECT_EQ(queue.add(2), 1); });
    EXPECT_EQ(queue.take(), 1);
    writer.join();
    EXPECT_EQ((Ints{queue.take(), queue.take()}), (Ints{2, -1}));
    EXPECT_EQ(GetRvexErrNo(), 0U);
}

TEST(DataQueue, EveryItemArrivesOnceAndInTheOrderOfItsWriter) {
    constexpr int32_t kItems = 5000;
    Queue queue(4);
    std::atomic<int64_t> sum{0};
    std::atomic<int32_t> taken{0};
    std::thread readers([&] {
        in_threads(3, [&](int) {
            int32_t last[3] = {-1, -1, -1};
            for (int32_t item = queue.take(); item >= 0; item = queue.take()) {
                EXPECT_LT(std::exchange(last[item / kItems], item), item);
                sum += item;
                ++taken;
            }
        });
    });
    in_threads(3, [&](int writer) {
        for (int32_t n = 0; n < kItems; ++n) queue.add(writer * kItems + n);
    });
    while (taken < 3 * kItems) std::this_thread::yield();
    std::atomic_ref(queue.bClosing).store(1);
    ORVEX_EVENT_Set(queue.hDataEvent);  // the first passes it on
    readers.join();
    EXPECT_EQ(sum, int64_t{3 * kItems} * (3 * kItems - 1) / 2);
}

TEST(DataQueue, AStopEndsReadersAndWriters) {
    Queue full(1);
    Queue empty(1);
    full.add(1);
    SleepingThread writer([&] { EXPECT_EQ(full.add(2), -1); });
    SleepingThread reader([&] { EXPECT_EQ(empty.take(), -1); });
    std::atomic_ref(g_stBv.bStopAll).store(1);
}

TEST(DataQueue, AnEventThatFailsIsOnlyReported) {
    Queue queue(2);
    const OXHANDLE none = std::bit_cast<OXHANDLE>(uint64_t{0x7FFFFFF0});
    const OXHANDLE event = std::exchange(queue.hDataEvent, none);
    for (const int32_t item : {1, 2}) {
        EXPECT_EQ(queue.add(item), 1);
        EXPECT_EQ(taken_error(), "288 oxthrdop");
    }
    queue.bClosing = 1;
    EXPECT_EQ((Ints{queue.take(), queue.take(), queue.take()}), (Ints{1, 2, -1}));
    EXPECT_EQ(taken_error(), "");  // nobody waited for it
    queue.hDataEvent = event;
}

TEST(DataQueue, RefusesWhatCannotBe) {
    for (const auto& [capacity, size] : {std::pair{0, 4}, std::pair{1, -1}}) {
        MOLTE_DATAQUE queue;
        EXPECT_EQ(error_of(MOLTE_DATAQUE_Init(&queue, capacity, size)), "50 oxthrdop");
        EXPECT_EQ(error_of(MOLTE_DATAQUE_GetClient(&queue, &queue)), "50 oxthrdop");
    }
}

}  // namespace
