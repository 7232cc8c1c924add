// The queue between threads beside one of a mutex and two condition variables.
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kCapacity = 1024;
constexpr int32_t kItems = 200000;
constexpr int kManyRounds = 61;  // one takes 8 to 40 ms, as the scheduler has it

struct Item {
    uint64_t words[2];
};

class OurQueue {
 public:
    OurQueue() {
        if (MOLTE_DATAQUE_Init(&queue_, kCapacity, sizeof(Item)) < 0) std::abort();
    }
    ~OurQueue() { MOLTE_DATAQUE_Release(&queue_); }
    OurQueue(const OurQueue&) = delete;
    OurQueue& operator=(const OurQueue&) = delete;
    void add(const Item& item) { MOLTE_DATAQUE_AddClient(&queue_, &item); }
    Item take() {
        Item item;
        MOLTE_DATAQUE_GetClient(&queue_, &item);
        return item;
    }

 private:
    MOLTE_DATAQUE queue_;
};

class PeerQueue {
 public:
    void add(const Item& item) {
        std::unique_lock lock(mutex_);
        has_room_.wait(lock, [this] { return count_ < kCapacity; });
        items_[write_] = item;
        write_ = (write_ + 1) % kCapacity;
        ++count_;
        lock.unlock();
        has_data_.notify_one();
    }
    Item take() {
        std::unique_lock lock(mutex_);
        has_data_.wait(lock, [this] { return count_ > 0; });
        const Item item = items_[read_];
        read_ = (read_ + 1) % kCapacity;
        --count_;
        lock.unlock();
        has_room_.notify_one();
        return item;
    }

 private:
    std::mutex mutex_;
    std::condition_variable has_data_;
    std::condition_variable has_room_;
    std::vector<Item> items_ = std::vector<Item>(kCapacity);
    size_t read_ = 0;
    size_t write_ = 0;
    int32_t count_ = 0;
};

template <typename Queue>
void carry(int32_t threads) {
    Queue queue;
    const int32_t each = kItems / threads;
    std::vector<std::thread> all;
    for (int32_t i = 0; i < threads; ++i) {
        all.emplace_back([&queue, each] {
            for (uint64_t n = 0; n < static_cast<uint64_t>(each); ++n) queue.add({{n, n}});
        });
        all.emplace_back([&queue, each] {
            uint64_t sum = 0;
            for (int32_t n = 0; n < each; ++n) sum += queue.take().words[0];
            molte_bench::keep(sum);
        });
    }
    for (std::thread& thread : all) thread.join();
}

}  // namespace

int main() {
    ORVEX_BASE_InitVar();
    std::printf("%d items of 16 bytes through a queue of %d\n", kItems, kCapacity);
    for (const int32_t threads : {2, 1}) {
        const std::string count = std::to_string(threads);
        molte_bench::pair((count + " writers, " + count + " readers").c_str(),
                          "mutex and conditions", [threads] { carry<OurQueue>(threads); },
                          [threads] { carry<PeerQueue>(threads); }, kManyRounds);
    }
    ORVEX_BASE_ReleaseVar();
}
