#include "moltelib/utf8_text.h"

#include "support/rows.h"
#include "support/test.h"

namespace {

using Way = char* (*)(const char*, uint32_t);

// The result, or the error.
std::string converted(Way way, const std::string& text, const std::string& page) {
    char* const result = way(text.c_str(), static_cast<uint32_t>(std::stoul(page)));
    if (result == nullptr) return taken_error();
    std::string copy = result;
    ORVEX_free(result);
    return copy;
}

TEST(Utf8Text, Rows) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_ENGLISH), 1);
    for (const Texts& row : rows_of(TEST_ROWS, "there and back")) {
        EXPECT_EQ(converted(MOLTELIB_CodePageFromUtf8, row[1], row[0]), row[2]) << row[0];
        EXPECT_EQ(converted(MOLTELIB_Utf8FromCodePage, row[2], row[0]), row[1]) << row[0];
    }
    for (const Texts& row : rows_of(TEST_ROWS, "from UTF-8"))
        EXPECT_EQ(converted(MOLTELIB_CodePageFromUtf8, row[1], row[0]), row[2]);
    for (const Texts& row : rows_of(TEST_ROWS, "from the page"))
        EXPECT_EQ(converted(MOLTELIB_Utf8FromCodePage, row[1], row[0]), row[2]);
    EXPECT_EQ(MOLTELIB_CodePageFromUtf8(nullptr, 1), nullptr);
}

TEST(Utf8Text, GoesByThePageInUse) {
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_CHINESE), 1);
    EXPECT_EQ(converted(MOLTELIB_Utf8FromCodePage, "\xB0\xA1", "0"), "\xE5\x95\x8A");
    EXPECT_EQ(converted(MOLTELIB_Utf8FromCodePage, "\xB0\xA1", "1252"), "\xC2\xB0\xC2\xA1");
    ASSERT_EQ(OXLANG_SetLocale(OXLANG_SPANISH), 1);
    EXPECT_EQ(converted(MOLTELIB_CodePageFromUtf8, "\xE2\x82\xAC", "0"), "\x80");
}

}  // namespace
