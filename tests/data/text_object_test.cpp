#include "support/test.h"

namespace {

class TextObject : public testing::Test {
 protected:
    void SetUp() override { reset(0); }
    void TearDown() override { OXSTR_STROBJ_Free(&object_); }

    // A fresh object that holds so many 'h'.
    void reset(int32_t length) {
        OXSTR_STROBJ_Free(&object_);
        ASSERT_EQ(OXSTR_STROBJ_Init(&object_, 7), 1);
        memset(object_.pBuf, 'h', static_cast<size_t>(length));
        object_.nLen = length;
    }
    [[nodiscard]] bool is_zero_behind() const {
        return std::all_of(object_.pBuf + object_.nLen, object_.pBuf + object_.nCapacity,
                           [](char c) { return c == 0; });
    }

    OXSTR_STROBJ object_{};
};

TEST_F(TextObject, InitAndFree) {
    EXPECT_EQ((Ints{object_.nLen, object_.nCapacity, object_.bCanGrow, object_.bOption}),
              (Ints{0, 4096, 1, 7}));
    EXPECT_TRUE(is_zero_behind());
    char buffer[4] = "abc";
    OXSTR_STROBJ fixed{buffer, 3, 4, 0, 0, {}};
    const OXSTR_STROBJ zero{};
    EXPECT_EQ(OXSTR_STROBJ_Free(&fixed), 0) << "a buffer of the caller's is left alone";
    EXPECT_EQ(memcmp(&fixed, &zero, sizeof zero), 0);
}

TEST_F(TextObject, EnsureGrowsInBlocks) {
    const tuple<int32_t, int32_t, int32_t> rows[] = {
        {0, 4095, 4096}, {0, 4096, 8192},     {0, 4097, 12288}, {1, 4094, 4096},
        {1, 4095, 8192}, {4096, 4096, 8192},  {4096, 1, 8192},  {0, 0, 8192},
        {0, -5, 8192},   {4000, 10000, 16384}};
    for (const auto& [length, n, capacity] : rows) {
        reset(length);
        EXPECT_EQ(OXSTR_STROBJ_EnsureFreeSizeIs(&object_, n), 1);
        EXPECT_EQ(object_.nCapacity, capacity) << length << "+" << n;
        EXPECT_EQ(object_.nLen, length);
        EXPECT_TRUE(is_zero_behind()) << length << "+" << n;
    }
}

TEST_F(TextObject, AppendKeepsAZeroBehind) {
    std::string expected;
    for (int32_t i = 0; i < 3000; ++i) {
        const std::string piece(static_cast<size_t>(i % 7), static_cast<char>('a' + i % 26));
        ASSERT_EQ(OXSTR_STROBJ_Append(&object_, piece.data(), i % 7), 1);
        expected += piece;
    }
    EXPECT_EQ(object_.nCapacity, 12288);
    EXPECT_EQ(std::string(object_.pBuf), expected);
    EXPECT_TRUE(is_zero_behind());
    reset(4094);
    EXPECT_EQ(OXSTR_STROBJ_Append(&object_, "y", 1), 1);
    EXPECT_EQ(object_.nCapacity, 8192) << "room for n + 1 must be strictly below the capacity";
}

TEST_F(TextObject, PrintfGrowsByTheMeasuredTextAndTen) {
    const tuple<int32_t, int32_t, int32_t> rows[] = {
        {0, 4095, 4096}, {0, 4096, 12288},   {0, 4087, 4096},    {4090, 5, 4096},
        {4090, 6, 8192}, {4095, 4086, 8192}, {4095, 4087, 12288}};
    for (const auto& [length, size, capacity] : rows) {
        reset(length);
        EXPECT_EQ(OXSTR_STROBJ_Printf(&object_, "%*d", size, 7), size);
        EXPECT_EQ(object_.nCapacity, capacity) << length << "+" << size;
        EXPECT_EQ(std::string(object_.pBuf), std::string(static_cast<size_t>(length), 'h') +
                                                 std::string(static_cast<size_t>(size) - 1, ' ') +
                                                 "7");
    }
    EXPECT_EQ(OXSTR_STROBJ_Empty(&object_), 1);
    EXPECT_EQ(OXSTR_STROBJ_Printf(&object_, "%s=%d", "a", 1), 3);
    EXPECT_EQ(OXSTR_STROBJ_Printf(&object_, ";%c%5.2f", 'x', 2.5), 7);
    EXPECT_EQ(OXSTR_STROBJ_Empty(&object_), 1);
    EXPECT_EQ(object_.nLen, 0);
    EXPECT_STREQ(object_.pBuf, "a=1;x 2.50") << "the bytes stay";
}

TEST_F(TextObject, FailuresChangeNothing) {
    char buffer[8] = "ab";
    OXSTR_STROBJ fixed{buffer, 2, 8, 0, 0, {}};
    EXPECT_EQ(OXSTR_STROBJ_Printf(&fixed, "%s", "12345"), 5);
    EXPECT_EQ(error_number_of(OXSTR_STROBJ_Printf(&fixed, "%s", "x")), 124U)
        << "a fixed buffer is never reallocated";
    EXPECT_EQ(OXSTR_STROBJ_Append(&fixed, "x", 1), -1);
    EXPECT_STREQ(buffer, "ab12345");
    EXPECT_EQ(fixed.nLen, 7);

    OXSTR_STROBJ huge{object_.pBuf, INT32_MAX - 4095, INT32_MAX - 4095, 1, 0, {}};
    EXPECT_EQ(error_of(OXSTR_STROBJ_EnsureFreeSizeIs(&huge, 1)),
              "20 oxsysutl Size O=2147479552 S=4096");
    EXPECT_EQ(OXSTR_STROBJ_Append(&huge, "abc", INT32_MAX), -1);
    EXPECT_EQ(huge.pBuf, object_.pBuf);
    EXPECT_EQ(huge.nCapacity, INT32_MAX - 4095);

    const wchar_t outside[] = {0x4E00, 0};  // no character of the "C" locale
    EXPECT_EQ(OXSTR_STROBJ_Printf(&object_, "ab%ls", outside), -1);
    EXPECT_EQ(object_.nLen, 0);
    EXPECT_STREQ(object_.pBuf, "");
    EXPECT_EQ(OXSTR_STROBJ_Append(&object_, "a", -1), -1);
    EXPECT_EQ(OXSTR_STROBJ_Append(&object_, nullptr, 1), -1);
    EXPECT_EQ(error_of(OXSTR_STROBJ_Printf(nullptr, "%d", 1)), "50 oxstring");
}

}  // namespace
