#include "support/test.h"

namespace {

int compare(const void* a, const void* b) {
    const int32_t x = *static_cast<const int32_t*>(a);
    const int32_t y = *static_cast<const int32_t*>(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

// Items of any number of words: the key, and where the item was, again and again.
struct Items {
    Items(int32_t item_count, int32_t size, int32_t keys)
        : count(item_count), words(static_cast<size_t>(size) / 4) {
        std::mt19937 random(1);
        for (int32_t i = 0; i < count; ++i) {
            const auto any = static_cast<int32_t>(random() % static_cast<uint32_t>(keys));
            data.push_back(i < keys ? keys - i : any + 1);  // each key occurs
            data.insert(data.end(), words - 1, i);
        }
    }
    [[nodiscard]] bool hold(const void* place) const {
        return place >= data.data() && place < data.data() + data.size();
    }
    // Sorted, nothing lost or torn; and, if it is asked for, equal ones in their order.
    void expect_sorted(bool stable) const {
        std::set<int32_t> seen;
        const int32_t* before = nullptr;
        for (const int32_t* item = data.data(); item != data.data() + data.size(); item += words) {
            ASSERT_TRUE(seen.insert(item[1]).second);
            ASSERT_TRUE(
                std::all_of(item + 1, item + words, [=](int32_t w) { return w == item[1]; }));
            ASSERT_TRUE(before == nullptr || *before < *item ||
                        (*before == *item && (!stable || before[1] < item[1])));
            before = item;
        }
    }

    int32_t count;
    size_t words;
    Ints data;
};

// Groups compare no items with one another, and qsort does.
TEST(GroupSort, TakesGroupsWhereThereAreFew) {
    struct Case {
        int32_t count, size, keys;
        bool grouped;
    };
    static const Items* sorted;
    static bool items_met;
    for (const auto& [count, size, keys, grouped] :
         std::vector<Case>{{999, 8, 3, false},
                           {1000, 8, 5, true},
                           {1000, 8, 6, false},
                           {60000, 8, 300, true},
                           {60000, 8, 301, false},
                           {1024, 20480, 5, true},
                           {1024, 20484, 5, true}}) {  // the block's size, and beyond
        for (const int32_t hint : {-1, 1, INT32_MAX}) {
            Items items(count, size, keys);
            sorted = &items;
            items_met = false;
            MOLTE_GroupSortEx(
                items.data.data(), count, size,
                [](const void* a, const void* b) {
                    items_met = items_met || (sorted->hold(a) && sorted->hold(b));
                    return compare(a, b);
                },
                hint);
            EXPECT_EQ(items_met, !grouped) << count << ' ' << keys;
            items.expect_sorted(grouped && int64_t{count} * size <= 0x1400000);
        }
    }
}

// Too many to remember the group of each: it is looked for again.
TEST(GroupSort, OfVeryMany) {
    std::string bytes;
    bytes.resize(20971521);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = "abc"[i * i % 7 % 3];
    std::string sorted;
    for (const char c : {'a', 'b', 'c'}) {
        sorted.append(static_cast<size_t>(std::count(bytes.begin(), bytes.end(), c)), c);
    }
    MOLTE_GroupSort(bytes.data(), 20971521, 1,
                    [](const void* a, const void* b) { return std::memcmp(a, b, 1); });
    EXPECT_TRUE(bytes == sorted);
}

// It gets anything for an answer, and does nothing wrong.
TEST(GroupSort, SurvivesAComparisonThatContradictsItself) {
    static std::mt19937 any(1);
    for (const int32_t size : {8, 32768}) {
        Items items(1000, size, 4);
        MOLTE_GroupSort(items.data.data(), 1000, size, [](const void* a, const void* b) {
            return any() % 1000 == 0 ? static_cast<int>(any() % 3) - 1 : compare(a, b);
        });
    }
    EXPECT_EQ(taken_error(), "");
}

TEST(BubbleSort, SelectsAndExchangesLargeItems) {
    for (const int32_t size : {8, 4096, 9000}) {
        Items items(40, size, 9);
        MOLTE_BubbleSort(items.data.data(), 40, size, compare);
        items.expect_sorted(false);
    }
    Items equal(2, 8, 1);
    MOLTE_BubbleSort(equal.data.data(), 2, 8, compare);
    equal.expect_sorted(true);
    int32_t one = 1;
    MOLTE_BubbleSort(nullptr, 1, 4, nullptr);
    MOLTE_ExchangeData(&one, nullptr, 0);
    EXPECT_EQ(taken_error(), "");
    MOLTE_BubbleSort(&one, 2, 4, nullptr);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
    MOLTE_GroupSort(nullptr, 1000, 4, compare);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
    MOLTE_ExchangeData(nullptr, nullptr, 4);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
}

}  // namespace
