// Measures two ways of doing the same thing against each other.
//
//     molte_bench::pair("one error", [] { report(); }, [] { log(); });
//
// Both are warmed up, then run in turns (ours, peer, peer, ours, ...), so that whatever slows the
// machine slows both. A round runs each often enough to last some milliseconds. Printed are the
// medians of the rounds with their range, and the ratio of the medians: below 1 ours is faster.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace molte_bench {

constexpr int kRounds = 11;
constexpr int kLeastRounds = 7;

// Keeps the compiler from dropping a result that nothing else uses.
template <typename T>
void keep(const T& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

// The nanoseconds of one operation in each round.
class Samples {
 public:
    void add(double nanoseconds) {
        values_.insert(std::upper_bound(values_.begin(), values_.end(), nanoseconds), nanoseconds);
    }
    [[nodiscard]] double median() const {
        const size_t middle = values_.size() / 2;
        return values_.size() % 2 == 1 ? values_[middle]
                                       : (values_[middle - 1] + values_[middle]) / 2;
    }
    [[nodiscard]] double least() const { return values_.front(); }
    [[nodiscard]] double most() const { return values_.back(); }

 private:
    std::vector<double> values_;  // sorted
};

template <typename Operation>
double time_of(Operation& operation, int64_t times) {
    using std::chrono::steady_clock;
    const auto begin = steady_clock::now();
    for (int64_t i = 0; i < times; ++i) operation();
    const std::chrono::duration<double, std::nano> passed = steady_clock::now() - begin;
    return passed.count() / static_cast<double>(times);
}

// How often an operation runs in a round. Finding out is its warm-up.
template <typename Operation>
int64_t times_per_round(Operation& operation) {
    constexpr double kRoundNanoseconds = 20e6;
    int64_t times = 1;
    double each = time_of(operation, times);
    while (each * static_cast<double>(times) < kRoundNanoseconds) {
        times *= 2;
        each = time_of(operation, times);
    }
    return times;
}

inline void print_samples(const char* who, const Samples& samples) {
    std::printf("  %s %10.1f ns (%.1f to %.1f)", who, samples.median(), samples.least(),
                samples.most());
}

// One alone: prints and gives its median in nanoseconds.
template <typename Ours>
double alone(const char* name, Ours ours, int rounds = kRounds) {
    Samples samples;
    const int64_t times = times_per_round(ours);
    for (int round = 0; round < std::max(rounds, kLeastRounds); ++round) {
        samples.add(time_of(ours, times));
    }
    std::printf("%-32s", name);
    print_samples("ours", samples);
    std::printf("\n");
    return samples.median();
}

// Prints and gives the ratio of the medians, ours over peer.
template <typename Ours, typename Peer>
double pair(const char* name, Ours ours, Peer peer, int rounds = kRounds) {
    Samples our_samples;
    Samples peer_samples;
    const int64_t our_times = times_per_round(ours);
    const int64_t peer_times = times_per_round(peer);
    for (int round = 0; round < std::max(rounds, kLeastRounds); ++round) {
        if (round % 2 == 0) our_samples.add(time_of(ours, our_times));
        peer_samples.add(time_of(peer, peer_times));
        if (round % 2 == 1) our_samples.add(time_of(ours, our_times));
    }
    const double ratio = our_samples.median() / peer_samples.median();
    std::printf("%-32s", name);
    print_samples("ours", our_samples);
    print_samples("peer", peer_samples);
    std::printf("  ratio %.2f\n", ratio);
    return ratio;
}

}  // namespace molte_bench
