#include "moltelib/error_line.h"

#include "support/test.h"

namespace {

// A buffer of just that size, so that a sanitizer sees what passes it.
std::string line_of(const ORVEX_ERRDATA& record, int32_t size = MOLTELIB_ERROR_LINE_SIZE) {
    std::vector<char> text(static_cast<size_t>(size), '#');
    EXPECT_EQ(MOLTELIB_ErrorLine(&record, text.data(), size), 1);
    return text.data();
}

ORVEX_ERRDATA record_of(const std::string& data, const char* file = "m") {
    ORVEX_Err_Set(3, 0, file, 7, static_cast<uint8_t>(data.size()), data.data(), 0);
    ORVEX_ERRDATA record = *ORVEX_GetErrData();
    record.stTime = {};
    std::memset(record.szHostName, 0, sizeof record.szHostName + sizeof record.szEnv);
    return record;
}

TEST(ErrorLine, TellsEverything) {
    ORVEX_ERRDATA record = record_of("/srv/a b");
    std::memcpy(&record.stTime, "\x98\x3A\x22\x0C\x09\x05\xE8\x07", 8);
    std::memcpy(record.nSysErrNo, "\0\0\0\5", 4);
    std::memcpy(record.szSysErr, "I/O", 4);
    std::memcpy(record.nSubErrNo, "\xFF\xFE", 2);
    std::memcpy(record.nWinErrNo, "\0\0\0\x6B", 4);
    record.bHasSysErr = 1;
    std::memcpy(record.szHostName, "desk-2", 7);
    std::memcpy(record.szEnv, "server 1.0", 11);
    record.nHistCount = 2;
    record.astHist[0] = {{1, 0}, "matcher.cpp"};
    record.astHist[1] = {{0, 9}, "main"};
    EXPECT_EQ(line_of(record),
              "2024-06-09 12:34:15.000 error 3 \"Unknown\", sub -2, system 5 \"I/O\", last 107, "
              "at m:7, by matcher.cpp:256 main:9, data \"/srv/a b\", on desk-2, in \"server 1.0\"");
    EXPECT_EQ(line_of({}), "No error history recorded.");
    char buffer[2] = "#";
    EXPECT_EQ(MOLTELIB_ErrorLine(nullptr, buffer, 2), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(MOLTELIB_ErrorLine(&record, buffer, 0), 0);
}

TEST(ErrorLine, ShowsData) {
    const Texts cases[] = {{"a\"b\\\t\r\n", R"("a\"b\\\t\r\n")"},
                           {"end\0"s, "\"end\""},
                           {"\0"s, "hex 00"},
                           {"a\0b"s, "hex 610062"},
                           {"a\x1B[31m", "hex 611B5B33316D"},
                           {"a\x9B z\xE9", "\"a\\x9B z\xE9\""}};
    for (const Texts& row : cases)
        EXPECT_EQ(line_of(record_of(row[0])), "error 3 \"Unknown\", at m:7, data " + row[1]);
    // In a code page of two bytes the second may be a backslash; a first alone is no character.
    OXLANG_SetLocale(OXLANG_CHINESE);
    EXPECT_EQ(line_of(record_of("\x81\x5C\x81")),
              "error 3 \"Unknown\", at m:7, data \"\x81\x5C\\x81\"");
    EXPECT_EQ(line_of(record_of("", "a b:1")), "error 3 \"Unknown\", at \"a b:1\":7");
}

// Every field full, with what grows most; whatever the room, the line is a part of the whole one.
TEST(ErrorLine, StaysInItsRoom) {
    for (const int byte : {0x01, 0x81, 0xFF}) {
        ORVEX_ERRDATA record;
        std::memset(&record, byte, sizeof record);
        OXLANG_SetLocale(OXLANG_CHINESE);
        const std::string whole = line_of(record);
        EXPECT_TRUE(whole.ends_with("\"")) << whole;
        EXPECT_EQ(whole.find_first_of("\x01\n\r"), std::string::npos);
        for (int32_t size = 1; size < static_cast<int32_t>(whole.size()) + 1; ++size) {
            const std::string part = line_of(record, size);
            ASSERT_LT(part.size(), static_cast<size_t>(size));
            ASSERT_EQ(part, whole.substr(0, part.size()));
        }
    }
}

}  // namespace
