#include "support/test.h"

namespace {

struct Array {
    PA pa{};
    explicit Array(int32_t item_size, int32_t capacity = 0) { PA_Init(&pa, item_size, capacity); }
    ~Array() { PA_Release(&pa); }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
};

Ints values(const PA& pa) {
    const auto* first = static_cast<const int32_t*>(pa.pData);
    return {first, first + pa.nCount};
}

TEST(Array, InitChoosesTheQuantumByItemSize) {
    for (const auto& [size, grow] :
         {std::pair(1, 16), {15, 16}, {16, 8}, {511, 8}, {512, 2}, {4096, 2}}) {
        Array a(size);
        EXPECT_EQ(a.pa.nGrowBy, grow) << size;
        EXPECT_EQ(a.pa.pData, nullptr);
    }
    Array roomy(3, 5);
    EXPECT_EQ(roomy.pa.nCapacity, 5);
    EXPECT_EQ(std::memcmp(roomy.pa.pData, "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 15), 0);
    PA bad;
    EXPECT_EQ(error_number_of(PA_Init(&bad, -1, 4)), 50U);
}

TEST(Array, ItemsMayHaveNoBytes) {
    Array none(0, 2);
    EXPECT_EQ(PA_Append(&none.pa, "") + PA_Append(&none.pa, ""), 2);
    PA twin;
    ASSERT_EQ(PA_Duplicate(&none.pa, &twin), 1);
    EXPECT_EQ((Ints{twin.nCount, twin.nItemSize, twin.nCapacity, twin.nGrowBy}),
              (Ints{2, 0, 2, 16}));
    PA_Release(&twin);
    ASSERT_EQ(PA_Duplicate(&twin, &twin), 1);  // of an array that holds nothing at all
    EXPECT_EQ(twin.nCapacity, 0);
}

TEST(Array, GrowsByWholeQuantaAndZeroFills) {
    Array a(4);
    const int32_t seven = 7;
    // At last (16 - 64 + 100) / 16 * 16 = 48 more.
    for (const auto& [index, capacity] :
         {std::pair(15, 16), {15, 16}, {16, 32}, {48, 64}, {100, 112}}) {
        PA_SetAt(&a.pa, index, &seven);
        EXPECT_EQ(a.pa.nCapacity, capacity);
        EXPECT_EQ(a.pa.nCount, index + 1);
    }
    Ints expected(112);
    expected[15] = expected[16] = expected[48] = expected[100] = 7;
    a.pa.nCount = 112;  // the room behind is zero as well
    EXPECT_EQ(values(a.pa), expected);
}

TEST(Array, AllocMemAndSetBuf) {
    Array a(4);
    // -1 stands for the count of 0; a count within the capacity changes nothing.
    EXPECT_EQ(PA_AllocMem(&a.pa, -1) + PA_AllocMem(&a.pa, 15) + PA_SetBuf(&a.pa, 16), 2);
    EXPECT_EQ(a.pa.nCapacity, 16);
    EXPECT_EQ(PA_SetBuf(&a.pa, 17), 1);
    EXPECT_EQ(a.pa.nCapacity, 32);
}

TEST(Array, InsertLeavesZeroGapsEvenWhereItemsWere) {
    Array a(4);
    const int32_t nine = 9;
    PA_MultiAppend(&a.pa, Ints(15, 1).data(), 15);
    EXPECT_EQ(PA_InsertAt(&a.pa, 1, &nine), 1);
    EXPECT_EQ(a.pa.nCapacity, 32);  // one item early
    while (a.pa.nCount > 0) PA_DelAt(&a.pa, a.pa.nCount - 1);
    EXPECT_EQ(PA_InsertAt(&a.pa, 5, &nine), 1);
    EXPECT_EQ(values(a.pa), (Ints{0, 0, 0, 0, 0, 9}));
    EXPECT_EQ(error_of(PA_InsertAt(&a.pa, -1, &nine)), "414 oarray cur idx=-1");
    EXPECT_EQ(PA_SetAt(&a.pa, -1, &nine), 1);
    EXPECT_EQ(a.pa.nCount, 7);
}

TEST(Array, RefusesIndicesOutsideAndNamesThem) {
    Array a(4);
    int32_t v = 5;
    PA_Append(&a.pa, &v);
    for (int32_t index : {-1, 1, INT32_MAX}) {
        const std::string data = " oarray cur=" + std::to_string(index) + " max=1";
        EXPECT_EQ(error_of(PA_DelAt(&a.pa, index)), "415" + data);
        EXPECT_EQ(error_of(PA_GetAt(&a.pa, index, &v)), "417" + data);
    }
    v = 6;
    EXPECT_EQ(PA_Lookup(&a.pa, &v), -1);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(PA_DelItem(&a.pa, &v)), 103U);  // a history with no error before it
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
}

TEST(Array, OutOfMemoryKeepsTheArray) {
    Array a(1 << 20, 2);
    const std::string before = bytes_of(a.pa);
    EXPECT_EQ(error_number_of(PA_SetAt(&a.pa, INT32_MAX - 1, "x")), 20U);
    EXPECT_EQ(error_number_of(PA_SetBuf(&a.pa, INT32_MAX)), 20U);
    EXPECT_EQ(bytes_of(a.pa), before);
    uint8_t byte = 0;  // nothing overflows at the largest count
    PA full;
    PA_Build(&full, &byte, 1, INT32_MAX - 1, INT32_MAX - 1, 16);
    EXPECT_EQ(PA_MultiAppend(&full, &byte, 2), -1);
    EXPECT_EQ(PA_SetAt(&full, INT32_MAX, &byte), -1);
    full.nCount = INT32_MAX;
    EXPECT_EQ(PA_InsertAt(&full, 0, &byte), -1);
    EXPECT_EQ(error_number_of(PA_Append(&full, &byte)), 20U);
    EXPECT_EQ(full.nCount, INT32_MAX);
}

TEST(Array, MultiAppendDuplicateCopy) {
    Array a(4);
    const Ints twenty(20, 3);
    EXPECT_EQ(PA_MultiAppend(&a.pa, twenty.data(), 20), 20);
    EXPECT_EQ(a.pa.nCapacity, 32);
    EXPECT_EQ(PA_MultiAppend(&a.pa, nullptr, 0), 20);
    EXPECT_EQ(PA_MultiAppend(&a.pa, twenty.data(), -1), -1);
    PA twin;
    a.pa.nGrowBy = 5;
    ASSERT_EQ(PA_Duplicate(&a.pa, &twin), 1);
    EXPECT_EQ(values(twin), twenty);
    EXPECT_EQ((Ints{twin.nCapacity, twin.nGrowBy}), (Ints{32, 5}));
    twin.nCount = 4;
    EXPECT_EQ(PA_Copy(&a.pa, &twin), 1);
    EXPECT_EQ(twin.nCount, 4);  // the caller's to set
    PA_Release(&twin);
    EXPECT_EQ(error_of(PA_Copy(&a.pa, &twin)), "416 oarray");
}

TEST(Array, AgreesWithAVectorOverRandomEdits) {
    std::mt19937 random(11);
    Array a(4);
    Ints model;
    for (int step = 0; step < 20000; ++step) {
        const auto value = static_cast<int32_t>(random() % 50);
        const auto index = static_cast<int32_t>(random() % (model.size() + 1));
        if (random() % 2 == 0) {
            const auto insert = model.begin() + index;
            ASSERT_EQ(insert == model.end() ? PA_Append(&a.pa, &value)
                                            : PA_InsertAt(&a.pa, index, &value),
                      1);
            model.insert(insert, value);
        } else {
            const auto found = std::find(model.begin(), model.end(), value);
            const bool there = found != model.end();
            ASSERT_EQ(PA_Lookup(&a.pa, &value), there ? found - model.begin() : -1);
            ASSERT_EQ(PA_DelItem(&a.pa, &value), there ? 1 : -1);
            if (there) model.erase(found);
        }
        ASSERT_LE(a.pa.nCount, a.pa.nCapacity);
        ASSERT_EQ(a.pa.nCapacity % 16, 0);
    }
    EXPECT_EQ(values(a.pa), model);
}

}  // namespace
