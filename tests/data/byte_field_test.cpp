#include "moltelib/byte_field.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace {

template <size_t size>
using Field = std::array<uint8_t, size>;

constexpr Field<2> kField2 = {0x81, 0x02};
constexpr Field<4> kField4 = {0x81, 0x02, 0x03, 0xF4};
constexpr Field<6> kField6 = {0x81, 0x02, 0x03, 0x04, 0x05, 0xF6};
constexpr Field<8> kField8 = {0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8};

TEST(ByteField, ReadsAndWrites) {
    EXPECT_EQ(Char2To_uint2(kField2.data()), 0x8102);
    EXPECT_EQ(Char4To_uint4(kField4.data()), 0x810203F4U);
    EXPECT_EQ(Char6To_uint8(kField6.data()), 0x8102030405F6U);
    EXPECT_EQ(Char8To_uint8(kField8.data()), 0x81020304050607F8U);
    Field<2> field2;
    Field<4> field4;
    Field<6> field6;
    Field<8> field8;
    uint2ToChar2(0x8102, field2.data());
    uint4ToChar4(0x810203F4, field4.data());
    uint8ToChar6(0xABCD8102030405F6, field6.data());
    uint8ToChar8(0x81020304050607F8, field8.data());
    EXPECT_EQ(field2, kField2);
    EXPECT_EQ(field4, kField4);
    EXPECT_EQ(field6, kField6);
    EXPECT_EQ(field8, kField8);
}

TEST(ByteField, SixBytesHaveANull) {
    Field<6> field = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(Char6To_uint8(field.data()), UINT64_MAX);
    field = {0xFF, 0, 0, 0, 0, 0};
    EXPECT_EQ(Char6To_uint8(field.data()), 0xFF0000000000U);
    field = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE};
    EXPECT_EQ(Char6To_uint8(field.data()), 0xFFFFFFFFFFFEU);
    uint8ToChar6(UINT64_MAX, field.data());
    EXPECT_EQ(Char6To_uint8(field.data()), UINT64_MAX);
}

// Each row: a, b, a + b, a - b, modular.
template <size_t size>
struct Sum {
    Field<size> a, b, sum, difference;
};

template <size_t size, typename Operation>
void check(const std::vector<Sum<size>>& rows, Operation add, Operation subtract) {
    for (const auto& row : rows) {
        Field<size> out;
        add(row.a.data(), row.b.data(), out.data());
        EXPECT_EQ(out, row.sum);
        subtract(row.a.data(), row.b.data(), out.data());
        EXPECT_EQ(out, row.difference);
        out = row.a;  // the output may be an input
        add(out.data(), row.b.data(), out.data());
        EXPECT_EQ(out, row.sum);
        out = row.b;
        subtract(row.a.data(), out.data(), out.data());
        EXPECT_EQ(out, row.difference);
    }
}

TEST(ByteField, AddsAndSubtracts) {
    check<2>({{{0x00, 0xFF}, {0x00, 0x01}, {0x01, 0x00}, {0x00, 0xFE}},
              {{0xFF, 0xFF}, {0x00, 0x02}, {0x00, 0x01}, {0xFF, 0xFD}},
              {{0x00, 0x00}, {0x00, 0x01}, {0x00, 0x01}, {0xFF, 0xFF}}},
             Char2Add, Char2Minus);
    check<4>({{{0, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 1}, {1, 0, 0, 0}, {0, 0xFF, 0xFF, 0xFE}},
              {{0xFF, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 1}, {0, 0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFE}},
              {{0, 0, 0, 0}, {1, 0, 0, 0}, {1, 0, 0, 0}, {0xFF, 0, 0, 0}}},
             Char4Add, Char4Minus);
    check<8>({{{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF},
               {0, 0, 0, 0, 0, 0, 0, 1},
               {0, 0, 0, 1, 0, 0, 0, 0},
               {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFE}},
              {{0, 0, 0, 0, 0, 0, 0, 0},
               {0, 0, 0, 0, 0, 0, 0, 1},
               {0, 0, 0, 0, 0, 0, 0, 1},
               {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}},
             Char8Add, Char8Minus);
}

TEST(ByteField, StepsInPlace) {
    Field<2> two = {0xFF, 0xFF};
    IncrementChar2(two.data());
    EXPECT_EQ(two, (Field<2>{0, 0}));
    DecrementChar2(two.data());
    EXPECT_EQ(two, (Field<2>{0xFF, 0xFF}));
    Adduint2ToChar2(two.data(), 0x0102);
    EXPECT_EQ(two, (Field<2>{0x01, 0x01}));

    Field<4> four = {0, 0, 0, 0};
    DecrementChar4(four.data());
    EXPECT_EQ(four, (Field<4>{0xFF, 0xFF, 0xFF, 0xFF}));
    IncrementChar4(four.data());
    EXPECT_EQ(four, (Field<4>{0, 0, 0, 0}));
    Adduint4ToChar4(four.data(), 0x01020304);
    EXPECT_EQ(four, (Field<4>{1, 2, 3, 4}));
    Adduint4ToChar4(four.data(), 0xFF000000);
    EXPECT_EQ(four, (Field<4>{0, 2, 3, 4}));

    Field<8> eight = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    IncrementChar8(eight.data());
    EXPECT_EQ(eight, (Field<8>{0, 0, 0, 1, 0, 0, 0, 0}));
    DecrementChar8(eight.data());
    EXPECT_EQ(eight, (Field<8>{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(ByteField, Arrays) {
    std::vector<uint32_t> numbers(19);
    std::vector<uint8_t> bytes;
    for (uint32_t i = 0; i < numbers.size(); ++i) {
        numbers[i] = 0xA1B2C300 + i;
        bytes.insert(bytes.end(), {0xA1, 0xB2, 0xC3, static_cast<uint8_t>(i)});
    }
    const std::vector<uint32_t> host = numbers;
    MOLTE_Int4_lton(numbers.data(), 19);
    EXPECT_EQ(memcmp(numbers.data(), bytes.data(), bytes.size()), 0);
    MOLTE_Int4_ntol(numbers.data(), 19);
    EXPECT_EQ(numbers, host);
    MOLTE_Int4_lton(numbers.data(), 0);
    MOLTE_Int4_lton(numbers.data(), -3);
    MOLTE_Int4_ntol(nullptr, 0);
    EXPECT_EQ(numbers, host);
}

}  // namespace
