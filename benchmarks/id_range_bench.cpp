// Sets of identifier ranges beside Boost.ICL's interval_set.
#include <algorithm>
#include <boost/icl/interval_set.hpp>
#include <boost/icl/separate_interval_set.hpp>
#include <cstdlib>
#include <random>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace icl = boost::icl;
using Interval = icl::right_open_interval<uint32_t>;
using Set = icl::interval_set<uint32_t, std::less, Interval>;
using Pieces = icl::separate_interval_set<uint32_t, std::less, Interval>;

constexpr uint32_t kSegments = 100000;
constexpr uint32_t kSegment = 10;

std::vector<OX_IDRANGE> shuffled_ranges(uint32_t count) {
    std::vector<OX_IDRANGE> ranges(count);
    for (uint32_t i = 0; i < count; ++i) ranges[i] = {i * 20, i * 20 + 5 + i % 16};
    std::shuffle(ranges.begin(), ranges.end(), std::mt19937(1));
    return ranges;
}

void add(const std::vector<OX_IDRANGE>& ranges) {
    OX_IDRANGEARRAY array;
    OX_IDRANGEARRAY_Init(&array);
    OX_IDRANGEARRAY_AddRange(&array, ranges.data(), static_cast<int32_t>(ranges.size()), 0);
    molte_bench::keep(array.pRange);
    OX_IDRANGEARRAY_Release(&array);
}

void add_to_set(const std::vector<OX_IDRANGE>& ranges) {
    Set set;
    for (const OX_IDRANGE& range : ranges) set += Interval(range.nStart, range.nEnd);
    molte_bench::keep(set.begin());
}

// All segments are handed out, with IN_WORK of them at work at a time: the oldest is then given
// back on every other turn, and finished else.
void hand_out(uint32_t in_work) {
    OX_IDRANGEARRAY ready;
    OX_IDRANGEARRAY working;
    OX_IDRANGEARRAY_Init(&ready);
    OX_IDRANGEARRAY_Init(&working);
    const OX_IDRANGE all = {0, kSegments * kSegment};
    OX_IDRANGEARRAY_AddRange(&ready, &all, 1, 0);
    for (uint32_t i = 0; i < kSegments; ++i) {
        OX_IDRANGE segment;
        if (OX_IDRANGEARRAY_GetReadySeg(&ready, &working, &segment, kSegment) < 1) std::abort();
        if (working.nCount < static_cast<int32_t>(in_work)) continue;
        const OX_IDRANGE oldest = working.pRange[0];
        if (i % 2 == 0) {
            OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &oldest);
        } else {
            OX_IDRANGEARRAY_SimpRemove(&working, &oldest);
        }
    }
    while (working.nCount > 0) {
        const OX_IDRANGE oldest = working.pRange[0];
        OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &oldest);
    }
    OX_IDRANGEARRAY_Release(&ready);
    OX_IDRANGEARRAY_Release(&working);
}

void hand_out_of_set(uint32_t in_work) {
    Set ready;
    Pieces working;
    std::vector<Interval> order;  // a set doesn't know which is the oldest
    size_t oldest = 0;
    ready += Interval(0, kSegments * kSegment);
    for (uint32_t i = 0; i < kSegments; ++i) {
        const Interval first = *ready.begin();
        const Interval segment(first.lower(), std::min(first.upper(), first.lower() + kSegment));
        ready -= segment;
        working += segment;
        order.push_back(segment);
        if (order.size() - oldest < in_work) continue;
        working -= order[oldest];
        if (i % 2 == 0) ready += order[oldest];
        ++oldest;
    }
    for (; oldest < order.size(); ++oldest) {
        working -= order[oldest];
        ready += order[oldest];
    }
    molte_bench::keep(ready.begin());
}

}  // namespace

int main() {
    const auto ranges = shuffled_ranges(166000);
    molte_bench::pair(
        "add 166,000 at once", "Boost.ICL", [&] { add(ranges); }, [&] { add_to_set(ranges); });
    for (const uint32_t in_work : {1U, 16U, 256U, kSegments}) {
        char name[64];
        std::snprintf(name, sizeof name, "100,000 segments, %u at work", in_work);
        molte_bench::pair(
            name, "Boost.ICL", [=] { hand_out(in_work); }, [=] { hand_out_of_set(in_work); }, 7);
    }
}
