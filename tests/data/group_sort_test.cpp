#include "support/test.h"

namespace {

// Items of any size of at least 8 bytes: the key, and where the item was.
class Items {
 public:
    Items(int32_t count, int32_t size, int32_t keys) : count_(count), size_(size) {
        std::mt19937 random(1);
        bytes_.resize(static_cast<size_t>(count) * static_cast<size_t>(size));
        for (int32_t i = 0; i < count; ++i) {
            const auto key = static_cast<int32_t>(random() % static_cast<uint32_t>(keys)) - 1;
            // All keys occur.
            put(i, 0, i < keys ? i - 1 : key);
            put(i, 4, i);
            std::memset(at(i) + 8, i, static_cast<size_t>(size - 8));
        }
    }
    uint8_t* data() { return bytes_.data(); }
    [[nodiscard]] bool holds(const void* place) const {
        return place >= bytes_.data() && place < bytes_.data() + bytes_.size();
    }

    // Sorted, with nothing lost; and, if it is asked for, equal ones in their order.
    void expect_sorted(bool stable) {
        std::vector<bool> seen(static_cast<size_t>(count_));
        for (int32_t i = 0; i < count_; ++i) {
            const int32_t from = get(i, 4);
            ASSERT_FALSE(seen[static_cast<size_t>(from)]);
            seen[static_cast<size_t>(from)] = true;
            const auto fill = static_cast<uint8_t>(from);
            ASSERT_TRUE(
                std::all_of(at(i) + 8, at(i) + size_, [=](uint8_t b) { return b == fill; }));
            if (i == 0) continue;
            ASSERT_LE(get(i - 1, 0), get(i, 0)) << i;
            if (stable && get(i - 1, 0) == get(i, 0)) {
                ASSERT_LT(get(i - 1, 4), from);
            }
        }
    }

 private:
    uint8_t* at(int32_t i) {
        return bytes_.data() + static_cast<size_t>(i) * static_cast<size_t>(size_);
    }
    void put(int32_t i, int32_t offset, int32_t value) { std::memcpy(at(i) + offset, &value, 4); }
    int32_t get(int32_t i, int32_t offset) {
        int32_t value = 0;
        std::memcpy(&value, at(i) + offset, 4);
        return value;
    }

    int32_t count_;
    int32_t size_;
    std::vector<uint8_t> bytes_;
};

int compare(const void* a, const void* b) {
    int32_t x = 0;
    int32_t y = 0;
    std::memcpy(&x, a, 4);
    std::memcpy(&y, b, 4);
    return x < y ? -1 : x > y ? 1 : 0;
}

const Items* sorted_items;
bool items_met;

int compare_watched(const void* a, const void* b) {
    items_met = items_met || (sorted_items->holds(a) && sorted_items->holds(b));
    return compare(a, b);
}

struct Case {
    int32_t count, size, keys;
    bool grouped;
};

// Groups compare no items with one another, and qsort does.
TEST(GroupSort, TakesGroupsWhereThereAreFew) {
    constexpr Case cases[] = {
        {999, 8, 3, false},     {1000, 8, 5, true},     {1000, 8, 6, false},
        {2000, 13, 10, true},   {2000, 13, 11, false},  {60000, 8, 300, true},
        {60000, 8, 301, false}, {1000, 20972, 5, true},  // by a byte more than the block
        {5000, 4200, 7, true},  {1000, 20971, 5, true}};
    for (const auto& [count, size, keys, grouped] : cases) {
        for (const int32_t hint : {-1, 1, INT32_MAX}) {
            Items items(count, size, keys);
            sorted_items = &items;
            items_met = false;
            MOLTE_GroupSortEx(items.data(), count, size, compare_watched, hint);
            EXPECT_EQ(items_met, !grouped) << count << ' ' << keys;
            items.expect_sorted(grouped && int64_t{count} * size <= 0x1400000);
        }
    }
}

// More items than their groups are remembered for: each is looked for again.
TEST(GroupSort, OfVeryMany) {
    std::vector<uint8_t> bytes(10485761);
    std::mt19937 random(1);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() % 3 * 100);
    std::array<int64_t, 3> counts{};
    for (const uint8_t byte : bytes) ++counts[byte / 100];
    for (const bool in_place : {false, true}) {
        if (in_place) bytes.resize(20971521);  // the new ones are zero
        if (in_place) counts[0] += 20971521 - 10485761;
        std::shuffle(bytes.end() - 1000, bytes.end(), random);
        std::shuffle(bytes.begin(), bytes.begin() + 1000000, random);
        MOLTE_GroupSort(
            bytes.data(), static_cast<int32_t>(bytes.size()), 1, [](const void* a, const void* b) {
                return *static_cast<const uint8_t*>(a) - *static_cast<const uint8_t*>(b);
            });
        ASSERT_TRUE(std::is_sorted(bytes.begin(), bytes.end()));
        for (size_t i = 0; i < 3; ++i) {
            ASSERT_EQ(std::count(bytes.begin(), bytes.end(), i * 100), counts[i]);
        }
    }
}

std::mt19937 any(1);

// It gets anything for an answer, and does nothing wrong.
TEST(GroupSort, SurvivesAComparisonThatContradictsItself) {
    for (const int32_t size : {8, 32768}) {
        for (const int32_t odds : {3, 1000}) {
            static int32_t one_in;
            one_in = odds;
            Items items(1000, size, 4);
            MOLTE_GroupSort(items.data(), 1000, size, [](const void* a, const void* b) {
                const bool lies = any() % static_cast<uint32_t>(one_in) == 0;
                return lies ? static_cast<int>(any() % 3) - 1 : compare(a, b);
            });
        }
    }
    EXPECT_EQ(taken_error(), "");
}

TEST(BubbleSort, SelectsAndExchangesLargeItems) {
    for (const int32_t count : {0, 1, 2, 40}) {
        for (const int32_t size : {8, 4096, 9001}) {
            Items items(count, size, 9);
            MOLTE_BubbleSort(items.data(), count, size, compare);
            items.expect_sorted(false);
        }
    }
    int32_t one = 1;
    MOLTE_BubbleSort(&one, 2, 4, nullptr);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
    MOLTE_GroupSort(nullptr, 1000, 4, compare);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
    MOLTE_ExchangeData(&one, nullptr, 4);
    EXPECT_EQ(taken_error(), "50 oxsysutl");
    MOLTE_ExchangeData(&one, nullptr, 0);
    EXPECT_EQ(taken_error() + std::to_string(one), "1");
}

}  // namespace
