#include <set>

#include "support/test.h"

namespace {

int compare(const void* a, const void* b) {
    EXPECT_EQ((reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b)) % 4, 0U);
    const int32_t x = *static_cast<const int32_t*>(a);
    const int32_t y = *static_cast<const int32_t*>(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

int32_t count_of(const Ints& items) {
    return static_cast<int32_t>(items.size());
}

TEST(SortedArray, SearchesAgreeWithTheStandardLibrary) {
    std::mt19937 random(1);
    for (int32_t length = 0; length < 70; ++length) {
        Ints items(static_cast<size_t>(length));
        for (int32_t& item : items) item = static_cast<int32_t>(random() % 20) * 2;
        MOLTE_qsort(items.data(), length, 4, compare);
        ASSERT_TRUE(std::is_sorted(items.begin(), items.end()));
        for (int32_t key = -1; key < 42; ++key) {
            const auto [low, high] = std::equal_range(items.begin(), items.end(), key);
            const bool there = low != high;
            const auto find = [&](auto search) {
                return search(&key, items.data(), length, 4, compare);
            };
            ASSERT_EQ(find(MOLTE_SearchLow), there ? low - items.begin() : -1) << length;
            ASSERT_EQ(find(MOLTE_SearchHigh), there ? high - items.begin() - 1 : -1) << length;
            ASSERT_EQ(find(MOLTE_FindInsPos), high - items.begin()) << length;
            const int32_t any = find(MOLTE_bsearch);
            ASSERT_EQ(any >= 0, there);
            if (there) {
                ASSERT_EQ(items[static_cast<size_t>(any)], key);
            }
        }
        const bool repeated = std::adjacent_find(items.begin(), items.end()) != items.end();
        EXPECT_EQ(MOLTE_HasDupItem(items.data(), 4, length, compare), repeated ? 1 : 0);
        Ints unique = items;
        unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
        const int32_t count = MOLTE_RemoveDupItem(items.data(), 4, length, compare);
        EXPECT_EQ(count, length < 2 ? 1 : count_of(unique));  // 1 for none: meant
        if (length > 0) {
            EXPECT_EQ(Ints(items.begin(), items.begin() + count), unique);
        }
    }
}

// The items that a search compared its key with.
Ints compared_by(int32_t (*search)(const void*, const void*, int32_t, int32_t, MOLTE_COMPARE),
                 const Ints& items, int32_t key) {
    static Ints seen;
    static const int32_t* the_key;
    seen.clear();
    the_key = &key;
    search(&key, items.data(), count_of(items), 4, [](const void* a, const void* b) {
        EXPECT_EQ(a, the_key);
        seen.push_back(*static_cast<const int32_t*>(b));
        return compare(a, b);
    });
    return seen;
}

TEST(SortedArray, SearchesCompareInAFixedOrder) {
    const Ints items{1, 2, 3, 3, 5, 6, 7};
    EXPECT_EQ(compared_by(MOLTE_SearchLow, items, 3), (Ints{3, 2, 3, 3}));
    EXPECT_EQ(compared_by(MOLTE_SearchLow, items, 6), (Ints{3, 6, 5, 6}));
    EXPECT_EQ(compared_by(MOLTE_SearchHigh, items, 3), (Ints{3, 5}));
    EXPECT_EQ(compared_by(MOLTE_SearchHigh, Ints{3, 3, 3, 3}, 3), (Ints{3, 3, 3, 3, 3}));
    EXPECT_EQ(compared_by(MOLTE_FindInsPos, items, 6), (Ints{3, 6, 7}));
}

TEST(SortedArray, RemovesAllButTheFirstOfEquals) {
    // Compared by the first byte alone.
    char items[] = "a1a2b1c1c2c3";
    const auto by_letter = [](const void* a, const void* b) {
        return *static_cast<const char*>(a) - *static_cast<const char*>(b);
    };
    EXPECT_EQ(MOLTE_RemoveDupItem(items, 2, 6, by_letter), 3);
    EXPECT_EQ(std::string(items, 6), "a1b1c1");
}

template <size_t kSize>
struct Record {
    int32_t value;
    uint8_t rest[kSize - 4];
};
template <>
struct Record<4> {
    int32_t value;
};

template <size_t kSize>
void check_diff(std::mt19937& random, uint32_t most_a, uint32_t most_b) {
    std::vector<Record<kSize>> lists[2];
    std::set<int32_t> models[2];
    for (int side = 0; side < 2; ++side) {
        lists[side].resize(random() % (side == 0 ? most_a : most_b));
        for (auto& item : lists[side]) {
            item = {};
            item.value = static_cast<int32_t>(random() % 300);
            models[side].insert(item.value);
        }
    }
    Ints expected[3];
    for (int32_t v : models[0]) expected[models[1].contains(v) ? 1 : 0].push_back(v);
    for (int32_t v : models[1]) {
        if (!models[0].contains(v)) expected[2].push_back(v);
    }
    void* out[3];
    int32_t counts[3];
    ASSERT_EQ(MOLTE_KeyDiff(lists[0].data(), static_cast<int32_t>(lists[0].size()), lists[1].data(),
                            static_cast<int32_t>(lists[1].size()), &out[0], &counts[0], &out[1],
                            &counts[1], &out[2], &counts[2], compare, kSize),
              lists[0].empty() && lists[1].empty() && lists[0].data() == nullptr &&
                      lists[1].data() == nullptr
                  ? 0
                  : 1);
    for (int i = 0; i < 3; ++i) {
        Ints values;
        for (int32_t k = 0; k < counts[i]; ++k)
            values.push_back(static_cast<Record<kSize>*>(out[i])[k].value);
        ASSERT_EQ(values, expected[i]) << i;
        ASSERT_EQ(out[i] != nullptr, counts[i] > 0);
        ORVEX_free(out[i]);
    }
}

TEST(SortedArray, SplitsSetsOfItemsOfAnySize) {
    std::mt19937 random(2);
    for (int round = 0; round < 60; ++round) {
        for (const auto& [most_a, most_b] : {std::pair{400U, 400U}, {5U, 600U}, {600U, 5U}}) {
            check_diff<4>(random, most_a, most_b);
            check_diff<8>(random, most_a, most_b);
            check_diff<16>(random, most_a, most_b);
            check_diff<20>(random, most_a, most_b);
            check_diff<32>(random, most_a, most_b);
        }
    }
}

// Nothing is lost, and nothing outside touched, when a comparison contradicts itself.
TEST(SortedArray, SplitSurvivesAComparisonThatLies) {
    std::mt19937 random(3);
    Ints items(1000);
    for (int32_t round = 0; round < 50; ++round) {
        for (int32_t i = 0; i < 1000; ++i) items[static_cast<size_t>(i)] = i;
        static std::mt19937* the_random;
        the_random = &random;
        ASSERT_EQ(
            MOLTE_KeyDiff(
                items.data(), 1000 - round, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                nullptr, [](const void*, const void*) { return (*the_random)() % 2 == 0 ? 1 : -1; },
                4),
            1);
        std::sort(items.begin(), items.end());
        for (int32_t i = 0; i < 1000; ++i) ASSERT_EQ(items[static_cast<size_t>(i)], i);
    }
}

TEST(SortedArray, SplitGivesWhatIsWantedOfWhatIsThere) {
    Ints b{3, 1, 3, 2};
    void* list = &b;
    void* none = &b;
    int32_t count = 9;
    ASSERT_EQ(MOLTE_KeyDiff(nullptr, 0, b.data(), 4, &none, nullptr, nullptr, nullptr, &list,
                            &count, compare, 4),
              1);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Ints(static_cast<int32_t*>(list), static_cast<int32_t*>(list) + count),
              (Ints{1, 2, 3}));
    EXPECT_EQ(Ints(b.begin(), b.begin() + 3), (Ints{1, 2, 3}));  // sorted in place
    ORVEX_free(list);
    Ints a{2};
    int32_t both = 9;
    EXPECT_EQ(MOLTE_KeyDiff(a.data(), 1, b.data(), 3, nullptr, nullptr, nullptr, &both, nullptr,
                            &count, compare, 4),
              1);
    EXPECT_EQ(Ints({both, count}), (Ints{1, 2}));
    EXPECT_EQ(MOLTE_KeyDiff(nullptr, 0, nullptr, 0, &list, &count, nullptr, nullptr, nullptr,
                            nullptr, compare, 4),
              0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(error_of(MOLTE_KeyDiff(a.data(), 1, nullptr, 0, &list, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, 4)),
              "50 oxsysutl");
    // What both have comes from the shorter list; from the first of two equally long.
    char x[] = "a1c1";
    char y[] = "a2";
    const auto by_letter = [](const void* p, const void* q) {
        return *static_cast<const char*>(p) - *static_cast<const char*>(q);
    };
    for (const auto& [n, taken] : {std::pair{2, "a2"}, {1, "a1"}}) {
        ASSERT_EQ(MOLTE_KeyDiff(x, n, y, 1, nullptr, nullptr, &list, nullptr, nullptr, nullptr,
                                by_letter, 2),
                  1);
        EXPECT_EQ(std::string(static_cast<char*>(list), 2), taken);
        ORVEX_free(list);
    }
}

TEST(SortedArray, RefusesWhatCannotBeSearched) {
    const int32_t item = 1;
    for (auto search : {MOLTE_bsearch, MOLTE_SearchLow, MOLTE_SearchHigh, MOLTE_FindInsPos}) {
        EXPECT_EQ(error_of(search(&item, nullptr, 1, 4, compare)), "50 oxsysutl");
        EXPECT_EQ(error_of(search(&item, &item, 1, 0, compare)), "50 oxsysutl");
        EXPECT_EQ(error_of(search(&item, &item, 1, 4, nullptr)), "50 oxsysutl");
    }
    EXPECT_EQ(MOLTE_UTIL_DupData(nullptr), nullptr);
}

TEST(SortedArray, DupDataShrinksTheArray) {
    PA array;
    PA_Init(&array, 4, 100);
    for (int32_t i = 0; i < 3; ++i) PA_Append(&array, &i);
    void* const data = MOLTE_UTIL_DupData(&array);
    EXPECT_EQ(data, array.pData);
    EXPECT_EQ(array.nCapacity, 3);
    EXPECT_EQ(static_cast<int32_t*>(data)[2], 2);
    EXPECT_EQ(MOLTE_UTIL_DupData(&array), data);
    array.nCount = 0;
    EXPECT_EQ(MOLTE_UTIL_DupData(&array), nullptr);
    EXPECT_EQ(array.pData, nullptr);
    EXPECT_EQ(array.nItemSize, 0);
}

}  // namespace
