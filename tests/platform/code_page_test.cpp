#include "platform/code_page.h"
#include "support/common.h"

namespace {

// Runs in code page 936, which a C run-time may lack, and goes back to the "C" locale.
class CodePage : public testing::Test {
 protected:
    void SetUp() override {
        if (!use("chs")) GTEST_SKIP() << "this C run-time has no such locale";
    }
    void TearDown() override { use("C"); }
    static bool use(const char* locale) { return platform::set_locale(locale) != nullptr; }
};

TEST_F(CodePage, KnowsLocales) {
    const std::string now = platform::set_locale(nullptr);
    EXPECT_FALSE(use("no such place"));
    EXPECT_EQ(platform::set_locale(nullptr), now);
    EXPECT_EQ(platform::longest_char(), 2);
    EXPECT_TRUE(use("esp"));
    EXPECT_NE(platform::set_locale(nullptr), now);
    EXPECT_EQ(platform::longest_char(), 1);
}

// Read off the published tables of the two code pages; the private characters are the first and
// last of each of their areas.
constexpr tuple<const char*, const char*, unsigned> kCharacters[] = {
    {"chs", "A", 0x41},          {"chs", "\x80", 0x20AC},     {"chs", "\x81\x40", 0x4E02},
    {"chs", "\xD2\xBB", 0x4E00}, {"chs", "\xA1\xA4", 0xB7},   {"chs", "\xA8\x44", 0x2015},
    {"chs", "\xAA\xA1", 0xE000}, {"chs", "\xAF\xFE", 0xE233}, {"chs", "\xF8\xA1", 0xE234},
    {"chs", "\xFE\xFE", 0xE4C5}, {"chs", "\xA1\x40", 0xE4C6}, {"chs", "\xA7\xA0", 0xE765},
    {"chs", "\xA2\xAB", 0xE766}, {"chs", "\xA8\xBC", 0xE7C7}, {"chs", "\xFE\xA0", 0xE864},
    {"us", "\x80", 0x20AC},      {"us", "\xE9", 0xE9},        {"esp", "\x81", 0x81},
    {"esp", "\x9F", 0x178}};

TEST_F(CodePage, Characters) {
    for (const auto& [locale, text, character] : kCharacters) {
        ASSERT_TRUE(use(locale));
        const int length = static_cast<int>(std::string(text).size());
        const auto first = static_cast<unsigned char>(text[0]);
        EXPECT_EQ(platform::is_lead_byte(first), length == 2) << character;
        EXPECT_EQ(isleadbyte(first) != 0, length == 2) << character;
        wchar_t wide = 0;
        EXPECT_EQ(platform::char_to_wide(&wide, text, 2), length) << character;
        EXPECT_EQ(static_cast<unsigned>(wide), character);
        char bytes[3] = {};
        EXPECT_EQ(platform::wide_to_char(bytes, static_cast<wchar_t>(character)), length);
        EXPECT_STREQ(bytes, text) << character;
    }
}

TEST_F(CodePage, EveryCharacterComesBackAndIsUnique) {
    std::set<wchar_t> seen;
    for (unsigned code = 1; code <= 0xFEFE; ++code) {
        if (code > 0x80 && code < 0x8140) continue;
        const bool two = code > 0xFF;
        const char text[3] = {static_cast<char>(two ? code >> 8 : code),
                              static_cast<char>(two ? code : 0), 0};
        wchar_t wide = 0;
        const int length = platform::char_to_wide(&wide, text, 2);
        const unsigned trail = code & 0xFF;
        const bool valid = !two || (trail >= 0x40 && trail != 0x7F && trail != 0xFF);
        ASSERT_EQ(length, valid ? (two ? 2 : 1) : -1) << std::hex << code;
        if (!valid) continue;
        EXPECT_TRUE(seen.insert(wide).second) << std::hex << code;
        char back[3] = {};
        ASSERT_EQ(platform::wide_to_char(back, wide), length) << std::hex << code;
        EXPECT_STREQ(back, text) << std::hex << code;
    }
    EXPECT_EQ(seen.size(), 0x80U + 126U * 190U);
}

// Each byte from 128 up as a letter: white, printed, capital, small or another letter.
TEST_F(CodePage, WhatBytesAre) {
    for (const char* locale : {"us", "esp", "chs", "C"}) {
        ASSERT_TRUE(use(locale));
        std::string kinds;
        for (int byte = 0x80; byte < 0x100; ++byte) {
            const auto b = static_cast<unsigned char>(byte);
            kinds += platform::small_of(b) != b     ? 'C'
                     : platform::capital_of(b) != b ? 's'
                     : platform::is_letter(b)       ? 'l'
                     : platform::is_white(b)        ? '_'
                     : platform::is_printed(b)      ? '.'
                                                    : ' ';
            EXPECT_EQ(platform::is_printed(b), kinds.back() != ' ');
            EXPECT_TRUE(platform::small_of(b) == b ||
                        platform::capital_of(platform::small_of(b)) == b);
        }
        const bool latin = *locale == 'u' || *locale == 'e';
        EXPECT_EQ(kinds, !latin ? std::string(128, ' ')
                                : "  .l....l.C.C C  .......  s.s sC"
                                  "_.........l..........l....l....."
                                  "CCCCCCCCCCCCCCCCCCCCCCC.CCCCCCCl"
                                  "sssssssssssssssssssssss.ssssssss")
            << locale;
    }
}

TEST_F(CodePage, RefusesWhatItLacks) {
    const std::pair<const char*, unsigned> lacking[] = {{"C", 0x100},   {"us", 0x100},
                                                        {"us", 0xD800}, {"chs", 0x81},
                                                        {"chs", 0xE0B}, {"chs", 0xD800}};
    for (const auto& [locale, character] : lacking) {
        ASSERT_TRUE(use(locale));
        const wchar_t text[] = {L'a', static_cast<wchar_t>(character), 0};
        char out[8];
        errno = 0;
        EXPECT_EQ(platform::wide_to_char(out, text[1]), -1) << character;
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(platform::wide_to_multibyte(out, text, sizeof out), platform::kBadText);
        EXPECT_EQ(platform::wide_to_multibyte(nullptr, text, 0),
                  locale[0] == 'C' ? 2 : platform::kBadText);
    }
    use("chs");
    for (const char* cut : {"\x81", "\xB0\x30", "\x81\x7F", "\xFE\xFF"}) {
        wchar_t out[8];
        errno = 0;
        EXPECT_EQ(platform::char_length(cut, 2), -1) << cut;
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(platform::multibyte_to_wide(nullptr, cut, 0), platform::kBadText);
        EXPECT_EQ(platform::multibyte_to_wide(out, cut, 8), platform::kBadText);
    }
    const tuple<const char*, size_t, int> lengths[] = {{"\xB0\xA1", 2, 2}, {"\xB0\xA1", 1, -1},
                                                       {"\xB0\xA1", 0, 0}, {"a", 2, 1},
                                                       {"", 2, 0},         {nullptr, 2, 0}};
    for (const auto& [text, limit, length] : lengths) {
        EXPECT_EQ(platform::char_length(text, limit), length) << limit;
    }
}

TEST_F(CodePage, WholeTexts) {
    const char* text = "a\xB0\xA1z\x80";
    const wchar_t expected[] = {L'a', 0x554A, L'z', 0x20AC, 0};
    ASSERT_EQ(platform::multibyte_to_wide(nullptr, text, 0), 4U);
    for (std::size_t room = 0; room <= 6; ++room) {
        wchar_t wide[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        const std::size_t count = room < 4 ? room : 4;
        EXPECT_EQ(platform::multibyte_to_wide(wide, text, room), count);
        EXPECT_EQ(std::wstring(wide, count), std::wstring(expected, count));
        EXPECT_EQ(wide[count], room > 4 ? 0 : 9) << room;
    }
    ASSERT_EQ(platform::wide_to_multibyte(nullptr, expected, 0), 5U);
    const std::size_t whole[] = {0, 1, 1, 3, 4, 5, 5};  // a character is never cut in two
    for (std::size_t room = 0; room <= 6; ++room) {
        char bytes[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(platform::wide_to_multibyte(bytes, expected, room), whole[room]) << room;
        EXPECT_EQ(std::string(bytes, whole[room]), std::string(text, whole[room]));
        EXPECT_EQ(bytes[whole[room]], room > 5 ? 0 : 9) << room;
    }
}

}  // namespace
