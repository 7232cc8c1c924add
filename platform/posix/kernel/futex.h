// Sleeping until a word in memory changes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace platform {

// A word and the value it had when the sleeper decided to sleep.
struct FutexWord {
    std::atomic<std::uint32_t>* word;
    std::uint32_t seen;
    bool shared;  // with other processes
};

// The present of the clock that deadlines are of.
std::timespec monotonic_now();
// That many milliseconds from now.
std::timespec monotonic_after(std::uint32_t milliseconds);
bool has_passed(const std::timespec& deadline);

// Sleeps until somebody wakes the word, at the latest to the deadline (null: no limit). Returns at
// once when the word isn't what was seen. May return for no reason; the caller looks again.
void futex_sleep(const FutexWord& word, const std::timespec* deadline);

// The same for several words, at most 65. False where the kernel can't do it.
bool futex_sleep(const FutexWord* words, std::size_t count, const std::timespec* deadline);

// Wakes up to count sleepers of a word: how many there were.
int futex_wake(std::atomic<std::uint32_t>& word, int count, bool shared);
constexpr int kAllSleepers = 0x7FFFFFFF;

// The same for a shared word whose sleepers count up before they sleep and down after: where the
// count is 0, the system isn't called. After the word was changed.
void futex_wake_counted(std::atomic<std::uint32_t>& word,
                        const std::atomic<std::uint32_t>& sleepers, int count);

}  // namespace platform
