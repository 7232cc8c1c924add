#include "support/test.h"

namespace {

TEST(Utf8, Decodes) {
    const std::tuple<Text, int32_t, int32_t> rows[] = {
        {"A", 1, 0x41},
        {"", 1, 0},
        {"\xC3\xA9", 2, 0xE9},
        {"\xC0\x80", 2, 0},  // overlong
        {"\xE4\xB8\x80", 3, 0x4E00},
        {"\xEF\xBF\xBF", 3, 0xFFFF},
        // Marker bits stay in the value from here on.
        {"\xF0\x9F\x98\x80", 4, 0x400000 + 0x1F600},
        {"\xF8\x88\x80\x80\x80", 5, 0x18000000 + 0x200000},
        {"\xFC\x84\x80\x80\x80\x80", 6, 0x4000000},
        {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0x7FFFFFFF}};
    for (const auto& [bytes, expected_length, value] : rows) {
        int32_t length = 0;
        EXPECT_EQ(UTF8CharToInt(bytes, &length), value) << bytes;
        EXPECT_EQ(length, expected_length) << bytes;
        EXPECT_EQ(UTF8CharToInt(bytes, nullptr), value);
        EXPECT_EQ(UTF8CharByteLen(bytes), expected_length);
    }
    for (const Text bad : {"\x80", "\xBF", "\xFE\x80\x80\x80\x80\x80", "\xFF", "\xE4", "\xE4\xB8",
                           "\xC3\x41", "\xC3\xC3", "\xFC\x84\x80\x80\x80", Text{}}) {
        int32_t length = 77;
        EXPECT_EQ(UTF8CharToInt(bad, &length), -1);
        EXPECT_EQ(length, 77);
        EXPECT_EQ(UTF8CharByteLen(bad), -1);
    }
}

TEST(Utf8, Encodes) {
    const std::tuple<int32_t, std::string> rows[] = {{0, std::string(1, 0)},
                                                     {0x7F, "\x7F"},
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
    for (const auto& [code, bytes] : rows) {
        char out[9];
        memset(out, '#', sizeof out);
        EXPECT_EQ(IntToUTF8Char(code, out), static_cast<int32_t>(bytes.size()));
        EXPECT_EQ(std::string(out, 9), bytes + std::string(8 - bytes.size(), 0) + "#") << code;
    }
    char out[8] = "x";
    EXPECT_EQ(IntToUTF8Char(-1, out), -1);
    EXPECT_STREQ(out, "x");
}

}  // namespace
