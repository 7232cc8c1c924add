#include "platform/code_page.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>

namespace {

// The code page of a test, and the "C" locale behind it. A C run-time may lack a locale.
class CodePage {
 public:
    explicit CodePage(const char* name) : set_(platform::set_locale(name) != nullptr) {}
    ~CodePage() { platform::set_locale("C"); }
    CodePage(const CodePage&) = delete;
    CodePage& operator=(const CodePage&) = delete;
    [[nodiscard]] bool missing() const { return !set_; }

 private:
    bool set_;
};

#define NEEDS(page) \
    if ((page).missing()) GTEST_SKIP() << "this C run-time has no such locale"

TEST(CodePage, StartsPlain) {
    EXPECT_STREQ(platform::set_locale(nullptr), "C");
    EXPECT_FALSE(platform::has_code_page());
    EXPECT_EQ(platform::longest_char(), 1);
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(isleadbyte(byte), 0) << byte;
        const char text[2] = {static_cast<char>(byte), 'x'};
        wchar_t wide = 77;
        EXPECT_EQ(platform::char_to_wide(&wide, text, 2), byte == 0 ? 0 : 1) << byte;
        EXPECT_EQ(wide, static_cast<wchar_t>(byte)) << byte;
        char back[2];
        EXPECT_EQ(platform::wide_to_char(back, wide), 1) << byte;
        EXPECT_EQ(back[0], text[0]) << byte;
    }
}

TEST(CodePage, KnowsLocales) {
    const CodePage page("chs");
    NEEDS(page);
    const std::string now = platform::set_locale(nullptr);
    EXPECT_EQ(platform::set_locale("no such place"), nullptr);
    EXPECT_EQ(platform::set_locale(nullptr), now);
    EXPECT_EQ(platform::longest_char(), 2);
    EXPECT_NE(platform::set_locale("esp"), nullptr);
    EXPECT_NE(platform::set_locale(nullptr), now);
    EXPECT_EQ(platform::longest_char(), 1);
}

TEST(CodePage, LeadBytes) {
    for (const char* name : {"chs", "us", "esp"}) {
        const CodePage page(name);
        NEEDS(page);
        for (int byte = 0; byte < 256; ++byte) {
            const bool lead = name[0] == 'c' && byte >= 0x81 && byte <= 0xFE;
            EXPECT_EQ(platform::is_lead_byte(static_cast<unsigned char>(byte)), lead) << byte;
            EXPECT_EQ(isleadbyte(byte) != 0, lead) << byte;
        }
    }
}

struct Character {
    const char* locale;
    const char* bytes;
    unsigned wide;
};

// Read off the published tables of the two code pages; the private characters are the first and
// last of each of their areas.
constexpr Character kCharacters[] = {
    {"chs", "A", 0x41},          {"chs", "\x7F", 0x7F},       {"chs", "\x80", 0x20AC},
    {"chs", "\x81\x40", 0x4E02}, {"chs", "\xB0\xA1", 0x554A}, {"chs", "\xD2\xBB", 0x4E00},
    {"chs", "\xA1\xA1", 0x3000}, {"chs", "\xA1\xA4", 0xB7},   {"chs", "\xA1\xAA", 0x2014},
    {"chs", "\xA8\x44", 0x2015}, {"chs", "\xA3\xC1", 0xFF21}, {"chs", "\x81\x5C", 0x4E57},
    {"chs", "\xAA\xA1", 0xE000}, {"chs", "\xAF\xFE", 0xE233}, {"chs", "\xF8\xA1", 0xE234},
    {"chs", "\xFE\xFE", 0xE4C5}, {"chs", "\xA1\x40", 0xE4C6}, {"chs", "\xA7\xA0", 0xE765},
    {"chs", "\xA2\xAB", 0xE766}, {"chs", "\xA8\xBC", 0xE7C7}, {"chs", "\xFE\xA0", 0xE864},
    {"us", "\x80", 0x20AC},      {"us", "\x8A", 0x160},       {"us", "\xE9", 0xE9},
    {"esp", "\x81", 0x81},       {"esp", "\x9F", 0x178},      {"esp", "\xF1", 0xF1},
};

TEST(CodePage, Characters) {
    for (const Character& row : kCharacters) {
        const CodePage page(row.locale);
        NEEDS(page);
        const int length = static_cast<int>(std::string(row.bytes).size());
        wchar_t wide = 0;
        EXPECT_EQ(platform::char_to_wide(&wide, row.bytes, 2), length) << row.wide;
        EXPECT_EQ(static_cast<unsigned>(wide), row.wide);
        char bytes[3] = {};
        EXPECT_EQ(platform::wide_to_char(bytes, static_cast<wchar_t>(row.wide)), length);
        EXPECT_STREQ(bytes, row.bytes) << row.wide;
    }
}

TEST(CodePage, EveryCharacterComesBackAndIsUnique) {
    const CodePage page("chs");
    NEEDS(page);
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

TEST(CodePage, RefusesWhatItLacks) {
    const struct {
        const char* locale;
        unsigned wide;
    } lacking[] = {{"C", 0x100},  {"C", 0x20AC},  {"us", 0x100},  {"us", 0x4E00}, {"us", 0xFF21},
                   {"chs", 0x81}, {"chs", 0xE0B}, {"us", 0xD800}, {"chs", 0xD800}};
    for (const auto& row : lacking) {
        const CodePage page(row.locale);
        NEEDS(page);
        char bytes[2];
        errno = 0;
        EXPECT_EQ(platform::wide_to_char(bytes, static_cast<wchar_t>(row.wide)), -1) << row.wide;
        EXPECT_EQ(errno, EILSEQ);
        const wchar_t text[] = {L'a', static_cast<wchar_t>(row.wide), 0};
        char out[8];
        EXPECT_EQ(platform::wide_to_multibyte(out, text, sizeof out), platform::kBadText);
        EXPECT_EQ(platform::wide_to_multibyte(nullptr, text, 0),
                  row.locale[0] == 'C' ? 2 : platform::kBadText);
    }
    const CodePage page("chs");
    NEEDS(page);
    for (const char* cut : {"\x81", "\xB0", "\xB0\x30", "\x81\x7F", "\xFE\xFF"}) {
        wchar_t out[8];
        errno = 0;
        EXPECT_EQ(platform::char_length(cut, 2), -1) << cut;
        EXPECT_EQ(errno, EILSEQ);
        EXPECT_EQ(platform::multibyte_to_wide(nullptr, cut, 0), platform::kBadText);
        EXPECT_EQ(platform::multibyte_to_wide(out, cut, 8), platform::kBadText);
    }
    EXPECT_EQ(platform::char_length("\xB0\xA1", 1), -1);
    EXPECT_EQ(platform::char_length("\xB0\xA1", 0), 0);
    EXPECT_EQ(platform::char_length(nullptr, 2), 0);
    EXPECT_EQ(platform::char_length("", 2), 0);
}

TEST(CodePage, WholeTexts) {
    const CodePage page("chs");
    NEEDS(page);
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

TEST(CodePage, FindsWholeCharacters) {
    const struct {
        const char* text;
        const char* part;
        int chinese;
        int plain;
    } rows[] = {
        {"abcabd", "abd", 3, 3},
        {"abc", "", 0, 0},
        {"", "a", -1, -1},
        {"\xB0\xA1\xA1\xB0", "\xA1\xA1", -1, 1},
        {"\xB0\xA1\xA1\xB0", "\xA1\xB0", 2, 2},
        {"\x81\x5Cx", "\\", -1, 1},
        {"ab\x81", "\x81", 2, 2},
        {"ab\x81", "c", -1, -1},
    };
    for (const char* locale : {"chs", "C"}) {
        const CodePage page(locale);
        NEEDS(page);
        for (const auto& row : rows) {
            const char* hit = platform::find_text(row.text, row.part);
            EXPECT_EQ(hit != nullptr ? static_cast<int>(hit - row.text) : -1,
                      locale[0] == 'C' ? row.plain : row.chinese)
                << row.text << " " << row.part;
        }
    }
}

}  // namespace
