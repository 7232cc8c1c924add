#include "support/rows.h"
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

uint8_t* in(std::string& field) {
    return reinterpret_cast<uint8_t*>(field.data());
}

// The sum and the difference of two fields, the first stepped up and stepped down.
template <auto add, auto subtract, auto increment, auto decrement>
std::string sums(const Texts& row) {
    std::string a = row[0];
    std::string b = row[1];
    std::string sum = a;  // the output may be an input
    std::string difference = b;
    std::string up = a;
    std::string down = a;
    add(in(sum), in(b), in(sum));
    subtract(in(a), in(difference), in(difference));
    increment(in(up));
    decrement(in(down));
    return sum + "|" + difference + "|" + up + "|" + down;
}

TEST(ByteField, AddsSubtractsAndSteps) {
    check_rows(TEST_ROWS, {{"two", sums<Char2Add, Char2Minus, IncrementChar2, DecrementChar2>},
                           {"four", sums<Char4Add, Char4Minus, IncrementChar4, DecrementChar4>},
                           {"eight", sums<Char8Add, Char8Minus, IncrementChar8, DecrementChar8>}});
    Field<2> two = {0xFF, 0xFF};
    Adduint2ToChar2(two.data(), 0x0103);
    EXPECT_EQ(two, (Field<2>{0x01, 0x02}));
    Field<4> four = {0xFF, 0xFF, 0xFF, 0xFF};
    Adduint4ToChar4(four.data(), 0xFF020305);
    EXPECT_EQ(four, (Field<4>{0xFF, 2, 3, 4}));
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
