#include "support/test.h"

namespace {

template <size_t size>
using Field = std::array<uint8_t, size>;

TEST(ByteField, ReadsAndWrites) {
    const Field<8> bytes = {0x81, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xF8};
    EXPECT_EQ(Char2To_uint2(bytes.data()), 0x8102);
    EXPECT_EQ(Char4To_uint4(bytes.data()), 0x81020304U);
    EXPECT_EQ(Char6To_uint8(bytes.data()), 0x810203040506U);
    EXPECT_EQ(Char8To_uint8(bytes.data()), 0x81020304050607F8U);
    Field<20> out;
    uint2ToChar2(0xA1A2, out.data());
    uint4ToChar4(0xB1B2B3B4, out.data() + 2);
    uint8ToChar6(0xFFFFC1C2C3C4C5C6, out.data() + 6);
    uint8ToChar8(0xD1D2D3D4D5D6D7D8, out.data() + 12);
    EXPECT_EQ(out, (Field<20>{0xA1, 0xA2, 0xB1, 0xB2, 0xB3, 0xB4, 0xC1, 0xC2, 0xC3, 0xC4,
                              0xC5, 0xC6, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8}));
}

TEST(ByteField, SixBytesHaveANull) {
    const std::pair<Field<6>, uint64_t> rows[] = {
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, UINT64_MAX},
        {{0xFF, 0, 0, 0, 0, 0}, 0xFF0000000000U},
        {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}, 0xFFFFFFFFFFFEU}};
    for (const auto& [field, value] : rows) {
        EXPECT_EQ(Char6To_uint8(field.data()), value);
        Field<6> back;
        uint8ToChar6(value, back.data());
        EXPECT_EQ(back, field);
    }
}

// Each row: a, b, a + b, a - b, modular.
template <size_t size, typename Operation>
void check(const std::vector<std::array<Field<size>, 4>>& rows, Operation add, Operation subtract) {
    for (const auto& [a, b, sum, difference] : rows) {
        Field<size> out = a;  // the output may be an input
        add(out.data(), b.data(), out.data());
        EXPECT_EQ(out, sum);
        out = b;
        subtract(a.data(), out.data(), out.data());
        EXPECT_EQ(out, difference);
    }
}

TEST(ByteField, AddsAndSubtracts) {
    check<2>({{{{0x00, 0xFF}, {0x00, 0x01}, {0x01, 0x00}, {0x00, 0xFE}}},
              {{{0xFF, 0xFF}, {0x00, 0x02}, {0x00, 0x01}, {0xFF, 0xFD}}},
              {{{0x00, 0x00}, {0x00, 0x01}, {0x00, 0x01}, {0xFF, 0xFF}}}},
             Char2Add, Char2Minus);
    check<4>({{{{0, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 1}, {1, 0, 0, 0}, {0, 0xFF, 0xFF, 0xFE}}},
              {{{0xFF, 0xFF, 0xFF, 0xFF}, {0, 0, 0, 1}, {0}, {0xFF, 0xFF, 0xFF, 0xFE}}},
              {{{0}, {1, 0, 0, 0}, {1, 0, 0, 0}, {0xFF, 0, 0, 0}}}},
             Char4Add, Char4Minus);
    check<8>({{{{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF},
                {0, 0, 0, 0, 0, 0, 0, 1},
                {0, 0, 0, 1},
                {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFE}}},
              {{{0}, {1}, {1}, {0xFF}}}},
             Char8Add, Char8Minus);
}

TEST(ByteField, StepsInPlace) {
    Field<2> two = {0xFF, 0xFF};
    IncrementChar2(two.data());
    EXPECT_EQ(two, (Field<2>{0, 0}));
    DecrementChar2(two.data());
    Adduint2ToChar2(two.data(), 0x0102);
    EXPECT_EQ(two, (Field<2>{0x01, 0x01}));
    Field<4> four = {0, 0, 0, 0};
    DecrementChar4(four.data());
    Adduint4ToChar4(four.data(), 0xFF020305);
    IncrementChar4(four.data());
    EXPECT_EQ(four, (Field<4>{0xFF, 2, 3, 5}));
    Field<8> eight = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    IncrementChar8(eight.data());
    EXPECT_EQ(eight, (Field<8>{0, 0, 0, 1}));
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
    MOLTE_Int4_lton(numbers.data(), 0);
    MOLTE_Int4_ntol(numbers.data(), -3);
    EXPECT_EQ(numbers, host);
}

}  // namespace
