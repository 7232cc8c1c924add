#include <bitset>

#include "support/rows.h"
#include "support/test.h"

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

struct Array : OX_IDRANGEARRAY {
    Array(const Ranges& ranges = {}) {  // NOLINT: as an argument
        OX_IDRANGEARRAY_Init(this);
        OX_IDRANGEARRAY_AddRange(this, ranges.data(), static_cast<int32_t>(ranges.size()), 1);
    }
    ~Array() { OX_IDRANGEARRAY_Release(this); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
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

std::string of_two(const Texts& row) {
    const Ranges two = ranges_in(row[0]);
    const Range *a = &two[0], *b = &two[1];
    Range both = {9, 9};
    Range left = *a;
    Range right = *b;
    OX_IDRANGE_Intersect(a, b, &both);
    EXPECT_EQ(OX_IDRANGE_HasIntersection(a, b), both == Range{} ? 0 : 1) << row[0];
    EXPECT_EQ(OX_IDRANGE_CalcDistance(a, b), OX_IDRANGE_CalcDistance(b, a)) << row[0];
    EXPECT_EQ(OX_IDRANGE_IsSame(a, b), *a == *b ? 1 : 0) << row[0];
    OX_IDRANGE_Subtract(&left, &right, &left, &right);
    return std::to_string(OX_IDRANGE_IsLarger(a, b)) + " " +
           std::to_string(OX_IDRANGE_CalcDistance(a, b)) + " " + printed({both, left, right});
}

const Calls kCalls = {
    {"two", of_two},
    {"merge",
     [](const Texts& row) {
         Array array(ranges_in(row[0]));
         array.nCount = OX_IDRANGE_Merge(array.pRange, array.nCount);
         return printed(array.ranges());
     }},
    {"remove",
     [](const Texts& row) {
         Array array(ranges_in(row[0]));
         EXPECT_EQ(OX_IDRANGEARRAY_RemoveRange(&array, ranges_in(row[1]).data(), 1), 1);
         return printed(array.ranges());
     }},
    {"held",
     [](const Texts& row) {
         const Array array({{3, 3}, {5, 9}, {9, 12}});
         return std::to_string(OX_IDRANGEARRAY_IsHoldRange(&array, ranges_in(row[0]).data()));
     }},
    {"least", [](const Texts& row) {
         const Array array(ranges_in(row[0]));
         Range least = {7, 8};
         const int32_t result = OX_IDRANGEARRAY_GetMinSeg(&array, &least);
         return std::to_string(result) + " " + printed({least});
     }}};

TEST(IdRange, Rows) {
    check_rows(TEST_ROWS, kCalls);
}

TEST(IdRange, CountsAndTheNetworkForm) {
    for (const auto& [range, count, bytes] : std::vector<tuple<Range, uint32_t, std::string>>{
             {{5, 5}, 0, "\0\0\0\5\0\0\0\5"s},
             {{7, 5}, 0, "\0\0\0\7\0\0\0\5"s},
             {{0, kMost}, kMost, "\0\0\0\0\xFF\xFF\xFF\xFF"s},
             {{0x01020304, 0xA0B0C0D0}, 0x9FAEBDCC, "\1\2\3\4\xA0\xB0\xC0\xD0"s}}) {
        OX_NETIDRANGE net;
        Range back = {};
        OX_IDRANGE_ToNETIDRANGE(&range, &net);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&net), 8), bytes);
        OX_NETIDRANGE_ToIDRANGE(&net, &back);
        EXPECT_EQ(back, range);
        EXPECT_EQ(OX_IDRANGE_GetCount(&range), count);
        EXPECT_EQ(OX_NETIDRANGE_GetCount(&net), count);
        EXPECT_EQ(OX_IDRANGE_IsEmpty(&range), count == 0 ? 1 : 0);
    }
    const Ranges twice{{0, kMost}, {9, 4}, {0, kMost}};
    EXPECT_EQ(OX_IDRANGE_GetAllCount(twice.data(), 3), uint64_t{kMost} * 2);
}

TEST(IdRange, Sorts) {
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

TEST(IdRange, PrintsWhatFits) {
    const Ranges ranges{{1, 10}, {0, kMost}, {2, 3}};
    const auto print = [&](int32_t size) {
        std::string text(40, '#');
        const int32_t length = OX_IDRANGE_sPrint(text.data(), size, ranges.data(), 3);
        EXPECT_EQ(text.find_first_of('\0'), static_cast<size_t>(length));
        EXPECT_EQ(text[static_cast<size_t>(size)], '#');
        return std::string(text.c_str());
    };
    EXPECT_EQ(print(39), "[1 10][0 4294967295][2 3]");
    EXPECT_EQ(print(26), "[1 10][0 4294967295][2 3]");
    EXPECT_EQ(print(25), "[1 10][0 4294967295]");
    EXPECT_EQ(print(20), "[1 10]");
    EXPECT_EQ(print(6), "");
    EXPECT_EQ(OX_IDRANGE_sPrint(nullptr, 0, ranges.data(), 3), 0);
}

// A set of identifiers as bits: those from a first one on.
struct Bits {
    static constexpr uint32_t kCount = 256;
    uint32_t first;
    std::bitset<kCount> bits;

    void put(const Range& range, bool value) {
        for (uint32_t id = range.nStart; id < range.nEnd; ++id) bits[id - first] = value;
    }
    [[nodiscard]] Ranges ranges() const {
        Ranges result;
        for (uint32_t i = 0; i < kCount; ++i) {
            if (!bits[i]) continue;
            if (result.empty() || result.back().nEnd != first + i)
                result.push_back({first + i, first + i});
            ++result.back().nEnd;
        }
        return result;
    }
};

Ranges without_empty(const Array& array) {
    Ranges ranges = array.ranges();
    std::erase_if(ranges, [](const Range& range) { return range.nEnd <= range.nStart; });
    return ranges;
}

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
            for (const Range& range : some) model.put(range, add);
            ASSERT_EQ(without_empty(array), model.ranges());
            ASSERT_EQ(OX_IDRANGE_GetAllCount(array.pRange, array.nCount), model.bits.count());
            ASSERT_EQ(OX_IDRANGEARRAY_HasWork(&array), model.bits.any() ? 1 : 0);
        }
    }
}

TEST(IdRangeArray, HandsWorkOutLowestFirstAndTakesItBack) {
    std::mt19937 random(3);
    constexpr uint32_t kFirst = kMost - Bits::kCount;
    Array ready({{kFirst, kMost}});
    Array working;
    Bits model{kFirst, {}};
    model.bits.set();
    Ranges out;
    for (int step = 0; step < 20000; ++step) {
        const auto most = static_cast<uint32_t>(1 + random() % 20);
        if (random() % 3 != 0 || out.empty()) {
            const Ranges left = model.ranges();
            const Range next = left.empty() ? Range{} : left[0];
            const Range head = {next.nStart, next.nStart + std::min(most, next.nEnd - next.nStart)};
            const int64_t count = head.nEnd - head.nStart;
            Range got = {1, 1};
            ASSERT_EQ(OX_IDRANGEARRAY_GetReadySeg(&ready, nullptr, &got, most), count);
            ASSERT_EQ(got, head);
            ASSERT_EQ(OX_IDRANGEARRAY_GetReadySeg(&ready, &working, &got, most), count);
            ASSERT_EQ(got, head);
            if (count > 0) out.push_back(got);
            model.put(head, false);
        } else {
            const auto at = out.begin() + static_cast<int32_t>(random() % out.size());
            ASSERT_EQ(OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &*at), 1);
            model.put(*at, true);
            out.erase(at);
        }
        ASSERT_EQ(working.ranges(), out);
        ASSERT_EQ(without_empty(ready), model.ranges());
    }
}

TEST(IdRangeArray, GrowsBySixteensAndAddsAsItIs) {
    Array array;
    const Ranges ranges{{5, 6}, {1, 2}, {2, 3}};
    EXPECT_EQ(OX_IDRANGEARRAY_AddRange(&array, ranges.data(), 0, 0), 0);
    EXPECT_EQ(OX_IDRANGEARRAY_AddRange(&array, ranges.data(), 3, 1), 1);
    EXPECT_EQ(array.ranges(), ranges);
    EXPECT_EQ(array.nCapacity, 16);
    const Ranges many(30, Range{9, 9});
    OX_IDRANGEARRAY_AddRange(&array, many.data(), 30, 3);  // 17 are missing
    EXPECT_EQ(array.nCapacity, 48);
    OX_IDRANGEARRAY_AddRange(&array, ranges.data(), 1, 2);
    EXPECT_EQ(array.ranges(), (Ranges{{1, 3}, {5, 6}, {9, 9}}));
    OX_IDRANGEARRAY_Release(&array);
    EXPECT_EQ(OX_IDRANGEARRAY_InitByBuf(&array, 0), 1);
    EXPECT_EQ(array.pRange, nullptr);
    EXPECT_EQ(OX_IDRANGEARRAY_InitByBuf(&array, 5), 1);
    EXPECT_EQ(array.nCapacity, 5);
}

TEST(IdRangeArray, RemovesOneThatIsThere) {
    Array array({{4, 5}, {1, 2}, {4, 5}});
    const Range range = {4, 5};
    EXPECT_EQ(OX_IDRANGEARRAY_SimpRemove(&array, &range), 1);
    EXPECT_EQ(array.ranges(), (Ranges{{1, 2}, {4, 5}}));
    EXPECT_EQ(
        OX_IDRANGEARRAY_SimpRemove(&array, &range) + OX_IDRANGEARRAY_SimpRemove(&array, &range), 1);
    EXPECT_EQ(OX_IDRANGEARRAY_RemoveRange(&array, nullptr, 0), 1);
    Array own({{1, 3}, {5, 9}, {2, 25}});
    EXPECT_EQ(OX_IDRANGEARRAY_RemoveRange(&own, &own.pRange[1], 1), 1);
    EXPECT_EQ(own.ranges(), (Ranges{{1, 5}, {9, 25}}));
}

TEST(IdRangeArray, TakesFromTheFrontAndLeavesTheEmpty) {
    Array array({{7, 7}, {100, 105}, {1, 3}});
    Range out = {};
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(OX_IDRANGEARRAY_GetSegToWork(&array, &out, 4, 0), 1);
        EXPECT_EQ(out, (Range{100, 104}));
    }
    EXPECT_EQ(OX_IDRANGEARRAY_GetSegToWork(&array, &out, kMost, 1), 1);
    EXPECT_EQ(array.ranges(), (Ranges{{7, 7}, {105, 105}, {1, 3}}));
    EXPECT_EQ(OX_IDRANGEARRAY_GetSegToWork(&array, &out, 2, 1), 1);
    EXPECT_EQ(OX_IDRANGEARRAY_GetSegToWork(&array, &out, 2, 1), 0);

    Array ready({{100, 105}});
    Array working;
    EXPECT_EQ(OX_IDRANGEARRAY_GetReadySeg(&ready, &working, &out, 10), 5);
    EXPECT_EQ(ready.ranges(), (Ranges{{105, 105}}));
    const Range foreign = {1, 2};
    EXPECT_EQ(OX_IDRANGEARRAY_AbortWorkSeg(&ready, &working, &foreign), 1);
    EXPECT_EQ(ready.ranges(), (Ranges{{1, 2}, {105, 105}}));
    EXPECT_EQ(working.ranges(), (Ranges{{100, 105}}));
    Array all({{0, kMost}});
    EXPECT_EQ(OX_IDRANGEARRAY_GetReadySeg(&all, &working, &out, kMost), int64_t{kMost});
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

TEST(IdRangeArray, RefusesWhatIsNoArray) {
    const Range range = {1, 2};
    OX_IDRANGEARRAY broken = {3, 3, nullptr};
    OX_IDRANGEARRAY negative = {-1, 0, nullptr};
    for (OX_IDRANGEARRAY* array : {&broken, &negative, static_cast<OX_IDRANGEARRAY*>(nullptr)}) {
        EXPECT_EQ(error_of(OX_IDRANGEARRAY_AddRange(array, &range, 1, 0)), "50 oidrange");
        EXPECT_EQ(error_of(OX_IDRANGEARRAY_HasWork(array)), "50 oidrange");
    }
    Array array({range});
    EXPECT_EQ(error_of(OX_IDRANGEARRAY_AddRange(&array, nullptr, 1, 0)), "50 oidrange");
    // Out of memory: the array is as it was.
    OX_IDRANGEARRAY full = {INT32_MAX, INT32_MAX, array.pRange};
    EXPECT_EQ(error_number_of(OX_IDRANGEARRAY_AddRange(&full, &range, 1, 1)), 20U);
    EXPECT_NE(history_of_this_thread().find("oidrange"), std::string::npos);
    EXPECT_EQ(full.nCount, INT32_MAX);
}

}  // namespace
