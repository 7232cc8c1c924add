#include "support/rows.h"
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

// The three parts of two lists.
struct Split {
    void* lists[3];
    int32_t counts[3] = {9, 9, 9};
    int32_t result;
    Split(void* a, int32_t a_count, void* b, int32_t b_count, MOLTE_COMPARE cmp, int32_t size)
        : result(MOLTE_KeyDiff(a, a_count, b, b_count, &lists[0], &counts[0], &lists[1], &counts[1],
                               &lists[2], &counts[2], cmp, size)) {}
    ~Split() {
        for (void* list : lists) ORVEX_free(list);
    }
    // The numbers that items of this many numbers begin with.
    [[nodiscard]] Ints numbers(int part, size_t item) const {
        Ints result_numbers;
        const auto* at = static_cast<const int32_t*>(lists[part]);
        for (int32_t i = 0; i < counts[part]; ++i, at += item) result_numbers.push_back(*at);
        EXPECT_EQ(lists[part] != nullptr, counts[part] > 0);
        return result_numbers;
    }
};

TEST(SortedArray, SplitsSetsOfItemsOfAnySize) {
    std::mt19937 random(2);
    for (int round = 0; round < 900; ++round) {
        const size_t item = std::array{1U, 2U, 4U, 5U, 8U}[static_cast<size_t>(round % 5)];
        const uint32_t most[] = {round % 3 == 1 ? 5U : 400U, round % 3 == 2 ? 5U : 400U};
        Ints lists[2];
        std::set<int32_t> models[2];
        for (int side = 0; side < 2; ++side) {
            lists[side].resize((1 + random() % most[side]) * item);
            for (size_t i = 0; i < lists[side].size(); i += item) {
                models[side].insert(lists[side][i] = static_cast<int32_t>(random() % 300));
            }
        }
        Ints expected[3];
        for (int32_t v : models[0]) expected[models[1].contains(v) ? 1 : 0].push_back(v);
        for (int32_t v : models[1]) {
            if (!models[0].contains(v)) expected[2].push_back(v);
        }
        const auto length = static_cast<int32_t>(item);
        const Split split(lists[0].data(), count_of(lists[0]) / length, lists[1].data(),
                          count_of(lists[1]) / length, compare, length * 4);
        for (int part = 0; part < 3; ++part) ASSERT_EQ(split.numbers(part, item), expected[part]);
    }
}

// Nothing is lost, and nothing outside touched, when a comparison contradicts itself.
TEST(SortedArray, SplitSurvivesAComparisonThatLies) {
    static std::mt19937 random(3);
    Ints items(1000);
    for (int32_t round = 0; round < 50; ++round) {
        for (int32_t i = 0; i < 1000; ++i) items[static_cast<size_t>(i)] = i;
        const auto lie = [](const void*, const void*) { return random() % 2 == 0 ? 1 : -1; };
        EXPECT_EQ(Split(items.data(), 1000 - round, nullptr, 0, lie, 4).result, 1);
        std::sort(items.begin(), items.end());
        for (int32_t i = 0; i < 1000; ++i) ASSERT_EQ(items[static_cast<size_t>(i)], i);
    }
}

int by_letter(const void* a, const void* b) {
    return *static_cast<const char*>(a) - *static_cast<const char*>(b);
}

// The three parts of two lists of two bytes an item.
std::string split_rows(const Texts& row) {
    std::string lists[] = {row[0], row[1]};
    void* a = lists[0] == "(null)" ? nullptr : lists[0].data();
    void* b = lists[1] == "(null)" ? nullptr : lists[1].data();
    const auto count = [](void* list, const std::string& items) {
        return list == nullptr ? 0 : static_cast<int32_t>(items.size() / 2);
    };
    const Split split(a, count(a, lists[0]), b, count(b, lists[1]), by_letter, 2);
    std::string told = std::to_string(split.result);
    for (int part = 0; part < 3; ++part) {
        const auto size = static_cast<size_t>(split.counts[part]) * 2;
        told += " " + std::string(static_cast<const char*>(split.lists[part]), size);
    }
    return told;
}

TEST(SortedArray, SplitTakesWhatIsThere) {
    check_rows(TEST_ROWS, {{"split", split_rows}});
    char items[] = "a1a2b1c1c2c3";  // the first of equals stays
    EXPECT_EQ(MOLTE_RemoveDupItem(items, 2, 6, by_letter), 3);
    EXPECT_EQ(std::string(items, 6), "a1b1c1");
    Ints b{3, 1, 3, 2};
    int32_t both = 9;
    EXPECT_EQ(MOLTE_KeyDiff(b.data(), 1, b.data(), 4, nullptr, nullptr, nullptr, &both, nullptr,
                            nullptr, compare, 4),
              1);
    EXPECT_EQ(both, 1);
    EXPECT_EQ(Ints(b.begin(), b.begin() + 3), (Ints{1, 2, 3}));  // sorted in place
    EXPECT_EQ(error_of(Split(b.data(), 1, nullptr, 0, nullptr, 4).result), "50 oxsysutl");
}

TEST(SortedArray, RefusesWhatCannotBeSearched) {
    const int32_t item = 1;
    for (auto search : {MOLTE_bsearch, MOLTE_SearchLow, MOLTE_SearchHigh, MOLTE_FindInsPos}) {
        EXPECT_EQ(error_of(search(&item, nullptr, 1, 4, compare)), "50 oxsysutl");
        EXPECT_EQ(error_of(search(&item, &item, 1, 0, compare)), "50 oxsysutl");
        EXPECT_EQ(error_of(search(&item, &item, 1, 4, nullptr)), "50 oxsysutl");
    }
    EXPECT_EQ(MOLTE_UTIL_DupData(nullptr), nullptr);
    EXPECT_EQ(MOLTE_FindInsPos(nullptr, nullptr, 0, 0, nullptr), 0);
    EXPECT_EQ(MOLTE_RemoveDupItem(nullptr, 0, 1, nullptr), 1);
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
