#include "platform/code_page.h"
#include "support/rows.h"

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

wchar_t character_of(const std::string& hexadecimal) {
    return static_cast<wchar_t>(std::stoul(hexadecimal, nullptr, 16));
}

TEST_F(CodePage, Characters) {
    for (const Texts& row : rows_of(TEST_ROWS, "characters")) {
        ASSERT_TRUE(use(row[0].c_str()));
        const int length = static_cast<int>(row[1].size());
        const auto first = static_cast<unsigned char>(row[1][0]);
        EXPECT_EQ(platform::is_lead_byte(first), length == 2) << row[2];
        EXPECT_EQ(isleadbyte(first) != 0, length == 2) << row[2];
        wchar_t wide = 0;
        EXPECT_EQ(platform::char_to_wide(&wide, row[1].c_str(), 2), length) << row[2];
        EXPECT_EQ(wide, character_of(row[2]));
        char bytes[3] = {};
        EXPECT_EQ(platform::wide_to_char(bytes, wide), length);
        EXPECT_EQ(bytes, row[1]);
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
    for (const Texts& row : rows_of(TEST_ROWS, "characters that it lacks")) {
        ASSERT_TRUE(use(row[0].c_str()));
        const wchar_t text[] = {L'a', character_of(row[1]), 0};
        char out[8];
        errno = 0;
        EXPECT_EQ(platform::wide_to_char(out, text[1]), -1) << row[1];
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(platform::wide_to_multibyte(out, text, sizeof out), platform::kBadText);
        EXPECT_EQ(platform::wide_to_multibyte(nullptr, text, 0),
                  row[0] == "C" ? 2 : platform::kBadText);
    }
    use("chs");
    for (const Texts& row : rows_of(TEST_ROWS, "length within a limit")) {
        const size_t limit = std::stoul(row[1]);
        EXPECT_EQ(platform::char_length(text_or_null(row[0]), limit), std::stoi(row[2])) << row[0];
        if (row[2] != "-1" || limit < 2) continue;
        wchar_t out[8];
        EXPECT_EQ(platform::multibyte_to_wide(nullptr, row[0].c_str(), 0), platform::kBadText);
        EXPECT_EQ(platform::multibyte_to_wide(out, row[0].c_str(), 8), platform::kBadText);
    }
}

// Into less room than is needed; the text family measures first.
TEST_F(CodePage, WholeTexts) {
    const char* text = "a\xB0\xA1z\x80";
    const wchar_t wide[] = {L'a', 0x554A, L'z', 0x20AC, 0};
    const std::size_t whole[] = {0, 1, 1, 3, 4, 5, 5};  // a character is never cut in two
    for (std::size_t room = 0; room <= 6; ++room) {
        char bytes[8] = {9, 9, 9, 9, 9, 9, 9, 9};
        EXPECT_EQ(platform::wide_to_multibyte(bytes, wide, room), whole[room]) << room;
        EXPECT_EQ(std::string(bytes, whole[room]), std::string(text, whole[room]));
        EXPECT_EQ(bytes[whole[room]], room > 5 ? 0 : 9) << room;
    }
}

}  // namespace
