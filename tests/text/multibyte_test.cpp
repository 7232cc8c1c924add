#include "support/test.h"

namespace {

// "character/bytes by GetCharMB, bytes by mblen" of each character of a text.
std::string characters(const char* text) {
    std::string all;
    for (int32_t length = 0; *text != '\0'; text += length) {
        char one[32];
        const int32_t code = ORVEX_GetCharMB(text, &length);
        std::snprintf(one, sizeof one, "%X/%d,%d ", static_cast<unsigned>(code), length,
                      ORVEX_mblen(text));
        all += one;
        EXPECT_EQ(ORVEX_CharByte(text), ORVEX_mblen(text));
        EXPECT_EQ(ORVEX_isleadbyte(static_cast<signed char>(*text)) != 0, length == 2);
    }
    return all;
}

TEST(Multibyte, ByTheCodePage) {
    const Text text = "a\x80\xB0\xA1z";
    EXPECT_EQ(characters(text), "61/1,1 80/1,1 B0/1,1 A1/1,1 7A/1,1 ");
    OXLANG_SetLocale(OXLANG_CHINESE);
    EXPECT_EQ(characters(text), "61/1,1 80/1,1 B0A1/2,2 7A/1,1 ");
    int32_t length = 0;
    EXPECT_EQ(ORVEX_GetCharMB("\xB0", &length), 0xB000);  // cut
    EXPECT_EQ(length, 2);
    EXPECT_EQ(ORVEX_mblen("\xB0"), -1);
    EXPECT_EQ(ORVEX_mblen("") + ORVEX_mblen(nullptr), 0);
    EXPECT_EQ(error_of(ORVEX_GetCharMB(nullptr, &length)), "50 oxsysutl");
    EXPECT_EQ(error_of(ORVEX_GetCharMB("a", nullptr)), "50 oxsysutl");
    OXLANG_SetLocale(OXLANG_ENGLISH);
}

TEST(Multibyte, TwoBytesAsSignedNumbers) {
    EXPECT_EQ(ORVEX_MB2Code(0xB0, 0xA1), -80 * 256 - 95);
    EXPECT_EQ(ORVEX_MB2Code('a', 'b'), 'a' * 256 + 'b');
    EXPECT_EQ(ORVEX_MB2Code(0x7F, 0x80), 127 * 256 - 128);
}

}  // namespace
