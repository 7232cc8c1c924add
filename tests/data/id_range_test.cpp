#include <bitset>

#include "support/scenes.h"

bool operator==(const OX_IDRANGE& a, const OX_IDRANGE& b) {
    return a.nStart == b.nStart && a.nEnd == b.nEnd;
}
std::ostream& operator<<(std::ostream& out, const OX_IDRANGE& range) {
    return out << '[' << range.nStart << ' ' << range.nEnd << ']';
}

namespace {

using Range = OX_IDRANGE;
using Ranges = std::vector<Range>;
constexpr uint32_t kMost = 0xFFFFFFFF;

struct Array : Pinned, OX_IDRANGEARRAY {
    Array(const Ranges& ranges = {}) {  // NOLINT: as an argument
        OX_IDRANGEARRAY_Init(this);
        OX_IDRANGEARRAY_AddRange(this, ranges.data(), static_cast<int32_t>(ranges.size()), 1);
    }
    ~Array() { OX_IDRANGEARRAY_Release(this); }
    [[nodiscard]] Ranges ranges() const { return {pRange, pRange + nCount}; }
};

// Ranges as they are printed, "[1 3][3 5]".
Ranges ranges_in(const std::string& text) {
    Ranges ranges;
    Range range;
    int length = 0;
    const char* at = text.c_str();
    for (; std::sscanf(at, "[%u %u]%n", &range.nStart, &range.nEnd, &length) == 2; at += length) {
        ranges.push_back(range);
    }
    return ranges;
}
std::string printed(const Ranges& ranges) {
    char text[256];
    OX_IDRANGE_sPrint(text, sizeof text, ranges.data(), static_cast<int32_t>(ranges.size()));
    return text;
}

// Those of a field.
struct RangesIn : Ranges {
    explicit RangesIn(const std::string& field) : Ranges(ranges_in(field)) {}
    [[nodiscard]] int32_t count() const { return static_cast<int32_t>(size()); }
};
struct ArrayIn : Array {
    explicit ArrayIn(const std::string& field) : Array(ranges_in(field)) {}
    [[nodiscard]] std::string text() const { return " " + printed(ranges()); }
};

std::string of_two(RangesIn* two) {
    const Range *a = &two->at(0), *b = &two->at(1);
    Range both = {9, 9};
    Range left = *a;
    Range right = *b;
    OX_IDRANGE_Intersect(a, b, &both);
    EXPECT_EQ(OX_IDRANGE_HasIntersection(a, b), both == Range{} ? 0 : 1);
    EXPECT_EQ(OX_IDRANGE_CalcDistance(a, b), OX_IDRANGE_CalcDistance(b, a));
    EXPECT_EQ(OX_IDRANGE_IsSame(a, b), *a == *b ? 1 : 0);
    OX_IDRANGE_Subtract(&left, &right, &left, &right);
    return outcome(OX_IDRANGE_IsLarger(a, b)) + " " + outcome(OX_IDRANGE_CalcDistance(a, b)) + " " +
           printed({both, left, right});
}

std::string network_form(RangesIn* range) {
    OX_NETIDRANGE net;
    Range back = {};
    OX_IDRANGE_ToNETIDRANGE(range->data(), &net);
    OX_NETIDRANGE_ToIDRANGE(&net, &back);
    EXPECT_EQ(back, range->front());
    const uint32_t count = OX_IDRANGE_GetCount(&back);
    EXPECT_EQ(OX_NETIDRANGE_GetCount(&net), count);
    EXPECT_EQ(OX_IDRANGE_IsEmpty(&back), count == 0 ? 1 : 0);
    return outcome(count) + " " + bytes_of(net);
}

// Text that ends before its room does.
std::string what_fits(int32_t size, RangesIn* ranges) {
    std::string text(40, '#');
    const int32_t length = OX_IDRANGE_sPrint(text.data(), size, ranges->data(), ranges->count());
    EXPECT_EQ(text.find('\0'), static_cast<size_t>(length));
    EXPECT_EQ(text[static_cast<size_t>(size)], '#');
    return text.c_str();
}

std::string ready(ArrayIn* array, uint32_t most) {
    Ranges worked{{9, 9}, {1, 1}};
    Array working(worked);
    Range seen = {1, 1};
    Range out = {1, 1};
    const int64_t count = OX_IDRANGEARRAY_GetReadySeg(array, nullptr, &seen, most);
    EXPECT_EQ(OX_IDRANGEARRAY_GetReadySeg(array, &working, &out, most), count);
    EXPECT_EQ(seen, out);
    if (count > 0) worked.push_back(out);
    EXPECT_EQ(working.ranges(), worked);
    return outcome(count) + " " + printed({out}) + array->text();
}

using IdRange = InFolder;

[[maybe_unused]] const bool plays = play_scenes<IdRange>(
    "IdRange", TEST_ROWS,
    {{"two", step_of<of_two>},
     {"network", step_of<network_form>},
     {"print", step_of<what_fits>},
     {"print_none", step_of<[] { return OX_IDRANGE_sPrint(nullptr, 0, nullptr, 3); }>},
     {"count", step_of<[](RangesIn* ranges) {
          return OX_IDRANGE_GetAllCount(ranges->data(), ranges->count());
      }>},
     {"ready", step_of<ready>},
     {"work", step_of<[](ArrayIn* array, uint32_t most, int32_t take) {
          Range out = {};
          const int32_t result = OX_IDRANGEARRAY_GetSegToWork(array, &out, most, take);
          return outcome(result) + " " + printed({out}) + array->text();
      }>},
     {"abort", step_of<[](ArrayIn* array, ArrayIn* working, RangesIn* segment) {
          const int32_t result = OX_IDRANGEARRAY_AbortWorkSeg(array, working, segment->data());
          return outcome(result) + array->text() + working->text();
      }>},
     {"remove_same", step_of<[](ArrayIn* array, RangesIn* range) {
          const int32_t result = OX_IDRANGEARRAY_SimpRemove(array, range->data());
          return outcome(result) + array->text();
      }>},
     {"merge", step_of<[](ArrayIn* array) {
          array->nCount = OX_IDRANGE_Merge(array->pRange, array->nCount);
          return printed(array->ranges());
      }>},
     {"remove", step_of<[](ArrayIn* array, RangesIn* ranges) {
          const int32_t result =
              OX_IDRANGEARRAY_RemoveRange(array, ranges->data(), ranges->count());
          return outcome(result) + array->text();
      }>},
     {"held", step_of<[](ArrayIn* array, RangesIn* range) {
          return OX_IDRANGEARRAY_IsHoldRange(array, range->data());
      }>},
     {"least", step_of<[](ArrayIn* array) {
          Range least = {7, 8};
          const int32_t result = OX_IDRANGEARRAY_GetMinSeg(array, &least);
          return outcome(result) + " " + printed({least});
      }>},
     {"add", step_of<[](Array* array, RangesIn* ranges, uint32_t flags) {
          return OX_IDRANGEARRAY_AddRange(array, ranges->data(), ranges->count(), flags);
      }>},
     {"add_null",
      step_of<[](Array* array) { return OX_IDRANGEARRAY_AddRange(array, nullptr, 1, 0); }>},
     {"has_work", step_of<[](Array* array) { return OX_IDRANGEARRAY_HasWork(array); }>},
     {"release", step_of<[](Array* array) { return OX_IDRANGEARRAY_Release(array); }>},
     {"make",
      step_of<[](Array* array, int32_t room) { return OX_IDRANGEARRAY_InitByBuf(array, room); }>},
     {"ranges", step_of<[](Array* array) { return printed(array->ranges()); }>},
     {"sizes", step_of<[](Array* array) {
          return outcome(array->nCount) + " of " + outcome(array->nCapacity) +
                 (array->pRange == nullptr ? " none" : "");
      }>},
     {"set_sizes", step_of<[](Array* array, int32_t count, int32_t room) {
          array->nCount = count;
          return array->nCapacity = room;
      }>}});

TEST_F(IdRange, Sorts) {
    std::mt19937 random(1);
    for (const size_t count : {511U, 512U, 20000U}) {
        Ranges ranges(count);
        for (Range& range : ranges) range = {static_cast<uint32_t>(random()), 0};
        Ranges expected = ranges;
        std::sort(expected.begin(), expected.end(),
                  [](auto a, auto b) { return a.nStart < b.nStart; });
        OX_IDRANGE_Sort(ranges.data(), static_cast<int32_t>(count));
        EXPECT_EQ(ranges, expected);
    }
}

// A set of identifiers as bits: those from a first one on.
struct Bits {
    static constexpr uint32_t kCount = 256;
    uint32_t first;
    std::bitset<kCount> bits;

    [[nodiscard]] Ranges ranges() const {
        Ranges result;
        for (uint32_t i = 0; i < kCount; ++i) {
            if (!bits[i]) continue;
            const uint32_t id = first + i;
            if (result.empty() || result.back().nEnd != id) result.push_back({id, id});
            ++result.back().nEnd;
        }
        return result;
    }
};

TEST(IdRangeArray, AgreesWithABitmapOver100000Operations) {
    std::mt19937 random(2);
    for (const uint32_t first : {0U, 0x7FFFFF80U, kMost - Bits::kCount}) {
        Array array;
        Bits model{first, {}};
        for (int step = 0; step < 34000; ++step) {
            Ranges some(1 + random() % 3);
            for (Range& range : some) {
                range.nStart = first + static_cast<uint32_t>(random() % (Bits::kCount + 1));
                const auto length = static_cast<uint32_t>(random() % 24);
                range.nEnd = range.nStart + std::min(length, first + Bits::kCount - range.nStart);
            }
            const bool add = random() % 2 == 0;
            const auto count = static_cast<int32_t>(some.size());
            ASSERT_EQ(add ? OX_IDRANGEARRAY_AddRange(&array, some.data(), count, 0)
                          : OX_IDRANGEARRAY_RemoveRange(&array, some.data(), count),
                      1);
            for (const auto& [start, end] : some) {
                for (uint32_t id = start; id < end; ++id) model.bits[id - first] = add;
            }
            Ranges left = array.ranges();
            std::erase_if(left, [](Range range) { return range.nEnd <= range.nStart; });
            ASSERT_EQ(left, model.ranges());
            ASSERT_EQ(OX_IDRANGE_GetAllCount(array.pRange, array.nCount), model.bits.count());
            ASSERT_EQ(OX_IDRANGEARRAY_HasWork(&array), model.bits.any() ? 1 : 0);
        }
    }
}

TEST(IdRangeArray, RemovesAnElementOfItsOwn) {
    EXPECT_EQ(OX_IDRANGEARRAY_RemoveRange(std::make_unique<Array>().get(), nullptr, 0), 1);
    Array own({{1, 3}, {5, 9}, {2, 25}});
    EXPECT_EQ(OX_IDRANGEARRAY_RemoveRange(&own, &own.pRange[1], 1), 1);
    EXPECT_EQ(own.ranges(), (Ranges{{1, 5}, {9, 25}}));
}

TEST(IdRangeArray, CopiesUnderstateTheirRoom) {
    const Ranges ranges{{1, 2}, {5, 6}, {8, 9}};
    const Array array(ranges);
    Array copy;
    ASSERT_EQ(OX_IDRANGEARRAY_Dup(&array, &copy), 1);
    EXPECT_EQ(copy.ranges(), ranges);
    EXPECT_EQ(copy.nCapacity, 0);
    OX_NETIDRANGEARRAY net;
    EXPECT_EQ(OX_IDRANGEARRAY_ToNET(&copy, &net), 0);
    OX_IDRANGEARRAY_AddRange(&copy, ranges.data(), 1, 1);  // nothing is lost when it grows
    EXPECT_EQ(copy.ranges(), (Ranges{{1, 2}, {5, 6}, {8, 9}, {1, 2}}));
    EXPECT_EQ(copy.nCapacity, 16);
    const Range* const buffer = copy.pRange;
    EXPECT_EQ(OX_IDRANGEARRAY_Dup(&array, &copy) +
                  OX_IDRANGEARRAY_Dup(std::make_unique<Array>().get(), &copy),
              2);
    EXPECT_EQ(copy.nCount, 0);
    EXPECT_EQ(copy.pRange, buffer);

    ASSERT_EQ(OX_IDRANGEARRAY_ToNET(&array, &net), 1);
    EXPECT_EQ(net.nCount * 100 + net.nCapacity, 303);
    EXPECT_EQ(std::memcmp(net.pRange, "\0\0\0\1\0\0\0\2\0\0\0\5\0\0\0\6\0\0\0\10\0\0\0\11", 24), 0);
    OX_IDRANGEARRAY back;
    ASSERT_EQ(OX_IDRANGEARRAY_FromNET(&net, &back), 1);
    EXPECT_EQ(Ranges(back.pRange, back.pRange + back.nCount), ranges);
    EXPECT_EQ(OX_NETIDRANGEARRAY_Release(&net), 0);
    EXPECT_EQ(OX_IDRANGEARRAY_Release(&back), 1);
    EXPECT_EQ(OX_NETIDRANGEARRAY_InitByBuf(&net, 4), 1);
    EXPECT_EQ(net.nCapacity, 4);
    OX_NETIDRANGEARRAY_Release(&net);
}

}  // namespace
