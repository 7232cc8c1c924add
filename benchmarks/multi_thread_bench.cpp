// A thread for each item beside threads of the standard library that are started and joined.
#include <cstdlib>
#include <thread>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr int32_t kItems = 64;

int32_t raise(void* item, ORVEX_ALLTHREAD_STATUS* /*status*/) {
    ++*static_cast<uint64_t*>(item);
    return 1;
}

}  // namespace

int main() {
    ORVEX_BASE_InitVar();
    std::vector<uint64_t> counts(kItems);
    std::vector<void*> items;
    items.reserve(kItems);
    for (uint64_t& count : counts) items.push_back(&count);
    molte_bench::pair(
        "64 items in 64 threads", "std::thread",
        [&] {
            ORVEX_ALLTHREAD_STATUS status;
            if (ORVEX_MultiThreadExec(raise, items.data(), kItems, &status, 0) != 1) std::abort();
        },
        [&] {
            std::vector<std::thread> threads;
            threads.reserve(kItems);
            for (void* item : items) threads.emplace_back([item] { raise(item, nullptr); });
            for (std::thread& thread : threads) thread.join();
        });
    ORVEX_BASE_ReleaseVar();
}
