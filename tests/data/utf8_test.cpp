#include "moltelib/utf8.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(Utf8, Decodes) {
    const struct {
        const char* bytes;
        int32_t length;  // -1: no character
        int32_t value;
    } rows[] = {
        {"A", 1, 0x41},
        {"", 1, 0},
        {"\xC3\xA9", 2, 0xE9},
        {"\xC0\x80", 2, 0},  // overlong
        {"\xE4\xB8\x80", 3, 0x4E00},
        {"\xEF\xBF\xBF", 3, 0xFFFF},
        // Marker bits stay in the value from here on.
        {"\xF0\x9F\x98\x80", 4, 0x400000 + 0x1F600},
        {"\xF7\xBF\xBF\xBF", 4, 0x400000 + 0x1FFFFF},
        {"\xF8\x88\x80\x80\x80", 5, 0x18000000 + 0x200000},
        {"\xFC\x84\x80\x80\x80\x80", 6, 0x4000000},
        {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF},
        {"\x80", -1, -1},
        {"\xBF", -1, -1},
        {"\xFE\x80\x80\x80\x80\x80", -1, -1},
        {"\xFF", -1, -1},
        {"\xE4", -1, -1},
        {"\xE4\xB8", -1, -1},
        {"\xC3\x41", -1, -1},
        {"\xC3\xC3", -1, -1},
        {"\xFC\x84\x80\x80\x80", -1, -1},
    };
    for (const auto& row : rows) {
        int32_t length = 77;
        EXPECT_EQ(UTF8CharToInt(row.bytes, &length), row.value) << row.bytes;
        EXPECT_EQ(length, row.length > 0 ? row.length : 77) << row.bytes;
        EXPECT_EQ(UTF8CharToInt(row.bytes, nullptr), row.value);
        EXPECT_EQ(UTF8CharByteLen(row.bytes), row.length);
    }
    EXPECT_EQ(UTF8CharToInt(nullptr, nullptr), -1);
}

TEST(Utf8, Encodes) {
    const struct {
        int32_t code;
        const char* bytes;
    } rows[] = {{0x7F, "\x7F"},
                {0x80, "\xC2\x80"},
                {0x7FF, "\xDF\xBF"},
                {0x800, "\xE0\xA0\x80"},
                {0xFFFF, "\xEF\xBF\xBF"},
                {0x10000, "\xF0\x90\x80\x80"},
                {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
                {0x200000, "\xF8\x88\x80\x80\x80"},
                {0x3FFFFFF, "\xFB\xBF\xBF\xBF\xBF"},
                {0x4000000, "\xFC\x84\x80\x80\x80\x80"},
                {0x7FFFFFFF, "\xFD\xBF\xBF\xBF\xBF\xBF"}};
    for (const auto& row : rows) {
        char expected[9] = "\0\0\0\0\0\0\0#";
        char out[9];
        memset(out, '#', sizeof out);
        memset(expected, 0, 8);
        memcpy(expected, row.bytes, strlen(row.bytes));
        expected[8] = '#';
        EXPECT_EQ(IntToUTF8Char(row.code, out), static_cast<int32_t>(strlen(row.bytes)));
        EXPECT_EQ(memcmp(out, expected, sizeof out), 0) << row.code;
    }
    char out[8] = "x";
    EXPECT_EQ(IntToUTF8Char(0, out), 1);
    EXPECT_EQ(out[0], 0);
    strcpy(out, "x");
    EXPECT_EQ(IntToUTF8Char(-1, out), -1);
    EXPECT_STREQ(out, "x");
}

TEST(Utf8, ShortFormsComeBack) {
    for (int32_t code = 0; code < 0x10000; ++code) {
        char bytes[8];
        int32_t length = 0;
        const int32_t written = IntToUTF8Char(code, bytes);
        ASSERT_EQ(UTF8CharToInt(bytes, &length), code);
        ASSERT_EQ(length, written);
    }
}

}  // namespace
