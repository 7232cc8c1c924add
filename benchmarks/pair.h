// Measures two ways of doing the same thing against each other.
//
//     molte_bench::pair("one error", "spdlog", [] { report(); }, [] { log(); });
//
// Both are warmed up, then run in turns (ours, peer, peer, ours, ...), so that whatever slows the
// machine slows both. A round runs each often enough to last some milliseconds. Printed are the
// medians of the rounds with their range, and the ratio of the medians: below 1 ours is faster.
//
// A row's name and its peer's are one pair in a program. Where MOLTELIB_BENCH_ROWS names a file,
// each row is added to it as a line of JSON with the rounds in their order: scripts/bench_report
// reads it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
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
    void add(double nanoseconds) { values_.push_back(nanoseconds); }
    [[nodiscard]] const std::vector<double>& values() const { return values_; }
    [[nodiscard]] double median() const {
        std::vector<double> sorted = values_;
        std::sort(sorted.begin(), sorted.end());
        const size_t middle = sorted.size() / 2;
        return sorted.size() % 2 == 1 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
    }
    [[nodiscard]] double least() const { return *std::min_element(values_.begin(), values_.end()); }
    [[nodiscard]] double most() const { return *std::max_element(values_.begin(), values_.end()); }

 private:
    std::vector<double> values_;
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

// ---- Rows ----

// Whether this program was compiled as what is measured should be.
constexpr bool kOptimised =
#if defined(__OPTIMIZE__) && defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)
    true;
#else
    false;
#endif

// A row as a line of JSON, its members added one by one.
class StoredRow {
 public:
    explicit StoredRow(const char* name) {
        line_ = kOptimised ? "{\"optimised\": true" : "{\"optimised\": false";
        add("name", name);
    }
    void add(const char* member, const char* text) {
        begin(member);
        line_ += '"';
        for (; *text != '\0'; ++text) {
            if (*text == '"' || *text == '\\') line_ += '\\';
            line_ += *text;
        }
        line_ += '"';
    }
    void add(const char* member, const Samples& samples) {
        begin(member);
        const char* separator = "[";
        for (const double value : samples.values()) {
            char number[32];
            std::snprintf(number, sizeof number, "%s%.1f", separator, value);
            line_ += number;
            separator = ", ";
        }
        line_ += ']';
    }
    ~StoredRow() {
        const char* const path = std::getenv("MOLTELIB_BENCH_ROWS");
        if (path == nullptr) return;
        std::FILE* const file = std::fopen(path, "a");
        if (file == nullptr || std::fprintf(file, "%s}\n", line_.c_str()) < 0 ||
            std::fclose(file) != 0) {
            std::fprintf(stderr, "no row can be added to %s\n", path);
            std::exit(1);
        }
    }
    StoredRow(const StoredRow&) = delete;
    StoredRow& operator=(const StoredRow&) = delete;

 private:
    void begin(const char* member) { line_ += std::string(", \"") + member + "\": "; }
    std::string line_;
};

inline void print_samples(const char* who, const Samples& samples) {
    std::printf("  %s %10.1f ns (%.1f to %.1f)", who, samples.median(), samples.least(),
                samples.most());
}

// Prints and gives the ratio of the medians, ours over peer.
inline double row(const char* name, const char* peer, const Samples& ours, const Samples& peers) {
    StoredRow stored(name);
    stored.add("peer", peer);
    stored.add("ours", ours);
    stored.add("peers", peers);
    const double ratio = ours.median() / peers.median();
    std::printf("%-46s", (std::string(name) + " | " + peer).c_str());
    print_samples("ours", ours);
    print_samples("peer", peers);
    std::printf("  ratio %.2f\n", ratio);
    return ratio;
}

// Rows that can't be had, and why.
inline void missing(const char* name, const char* reason) {
    StoredRow(name).add("missing", reason);
    std::printf("%-46s  no figure: %s\n", name, reason);
}

// ---- Measuring ----

template <typename Ours>
Samples samples_of(Ours ours, int rounds = kRounds) {
    Samples samples;
    const int64_t times = times_per_round(ours);
    for (int round = 0; round < std::max(rounds, kLeastRounds); ++round) {
        samples.add(time_of(ours, times));
    }
    return samples;
}

// One that has no peer.
template <typename Ours>
void alone(const char* name, Ours ours, int rounds = kRounds) {
    const Samples samples = samples_of(ours, rounds);
    StoredRow(name).add("ours", samples);
    std::printf("%-46s", name);
    print_samples("ours", samples);
    std::printf("\n");
}

// Prints and gives the ratio of the medians, ours over peer.
template <typename Ours, typename Peer>
double pair(const char* name, const char* peer_name, Ours ours, Peer peer, int rounds = kRounds) {
    Samples our_samples;
    Samples peer_samples;
    const int64_t our_times = times_per_round(ours);
    const int64_t peer_times = times_per_round(peer);
    for (int round = 0; round < std::max(rounds, kLeastRounds); ++round) {
        if (round % 2 == 0) our_samples.add(time_of(ours, our_times));
        peer_samples.add(time_of(peer, peer_times));
        if (round % 2 == 1) our_samples.add(time_of(ours, our_times));
    }
    return row(name, peer_name, our_samples, peer_samples);
}

}  // namespace molte_bench
