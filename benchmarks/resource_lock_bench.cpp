// Locks on values beside a hash table of mutexes with counts, under a mutex of its own.
#include <cstdlib>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

class OurLocks {
 public:
    OurLocks() : table_(MOLTE_RESLOCK_Init(nullptr, 128, 128)) {
        if (table_ == nullptr) std::abort();
    }
    ~OurLocks() { MOLTE_RESLOCK_Release(&table_); }
    OurLocks(const OurLocks&) = delete;
    OurLocks& operator=(const OurLocks&) = delete;

    template <typename Work>
    void with(uint64_t sid, Work work) {
        MOLTE_RESLOCKID id;
        if (MOLTE_RESLOCK_LockBySID(table_, &id, 7, 0, sid, 0) != 1) std::abort();
        work();
        if (MOLTE_RESLOCK_Unlock(table_, &id) != 1) std::abort();
    }

 private:
    MOLTE_RESLOCK* table_;
};

class PeerLocks {
 public:
    template <typename Work>
    void with(uint64_t sid, Work work) {
        Entry* entry = nullptr;
        {
            const std::lock_guard guard(mutex_);
            entry = &entries_[sid];
            ++entry->count;
        }
        entry->mutex.lock();
        work();
        const std::lock_guard guard(mutex_);
        entry->mutex.unlock();
        if (--entry->count == 0) entries_.erase(sid);
    }

 private:
    struct Entry {
        std::mutex mutex;
        int count = 0;
    };
    std::mutex mutex_;
    std::unordered_map<uint64_t, Entry> entries_;
};

constexpr int kLoops = 20000;
constexpr uint64_t kHeld = 100;

// Holds so many others around the work.
template <typename Locks, typename Work>
void holding(Locks& locks, uint64_t count, const Work& work) {
    if (count == 0) return work();
    locks.with(count * 7919, [&] { holding(locks, count - 1, work); });
}

template <typename Locks>
void one_thread(Locks& locks) {
    uint64_t sum = 0;
    for (uint64_t n = 0; n < kLoops; ++n) locks.with(n * 613, [&sum, n] { sum += n; });
    molte_bench::keep(sum);
}

template <typename Locks>
void four_threads(Locks& locks) {
    std::vector<std::thread> threads;
    for (uint64_t number = 1; number <= 4; ++number) {
        threads.emplace_back([&locks, number] {
            uint64_t sid = number;
            uint64_t sum = 0;
            for (int n = 0; n < kLoops; ++n) {
                sid = sid * 6364136223846793005U + 1442695040888963407U;
                locks.with((sid >> 33) % 1000, [&sum, n] { sum += static_cast<uint64_t>(n); });
            }
            molte_bench::keep(sum);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace

int main() {
    ORVEX_BASE_InitVar();
    OurLocks ours;
    PeerLocks peers;
    std::printf("each is %d locks and unlocks in a thread\n", kLoops);
    // If no thread was ever started, the peer's mutexes are no locks at all.
    std::thread([] {}).join();
    holding(ours, kHeld, [&] {
        holding(peers, kHeld, [&] {
            molte_bench::pair(
                "1 thread, 100 others held", "table of mutexes", [&] { one_thread(ours); },
                [&] { one_thread(peers); });
        });
    });
    molte_bench::pair(
        "4 threads, 1,000 ids", "table of mutexes", [&] { four_threads(ours); },
        [&] { four_threads(peers); }, 61);
    ORVEX_BASE_ReleaseVar();
}
