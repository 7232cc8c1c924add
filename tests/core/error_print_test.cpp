#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "moltelib.h"
#include "support/temp_folder.h"

namespace {

constexpr char kStart[] = "\r\n-------------------START ERROR DESCRIPTION----------------\r\n";
constexpr char kEnd[] = "-------------------END ERROR DESCRIPTION------------------\r\n";

ORVEX_ERRDATA simple_record() {
    ORVEX_ERRDATA record{};
    record.nErrNo[3] = 3;
    record.nLine[1] = 7;
    std::strcpy(record.szFile, "mod");
    std::strcpy(record.szHostName, "HOST");
    std::strcpy(record.szEnv, "prog 1.2 os 10 20 64");
    return record;
}

std::string printed(const ORVEX_ERRDATA& record) {
    char text[8192];
    EXPECT_EQ(ORVEX_Err_sPrintParam(text, sizeof text, &record), 1);
    return text;
}

TEST(ErrorPrint, ARecordWithAllItsLines) {
    ORVEX_ERRDATA record = simple_record();
    record.nSysErrNo[3] = 2;
    record.nWinErrNo[2] = 0x27;
    record.bHasSysErr = 1;
    std::memset(record.nSubErrNo, 0xFF, 2);
    std::memset(record.nLine, 0xFF, 2);
    std::strcpy(record.szSysErr, "system text");
    std::memcpy(&record.stTime, "\x98\x3A\x22\x0C\x09\x05\xE8\x07", 8);
    record.nDataLen = 20;
    std::memcpy(record.abyData1, "data of a\tline\r\nmore", 20);
    record.nHistCount = 3;
    for (uint8_t i = 0; i < 3; ++i) record.astHist[i].nLine[1] = static_cast<uint8_t>(99 + i);
    std::strcpy(record.astHist[0].szFile, "caller");
    std::strcpy(record.astHist[2].szFile, "seventeen_letters");
    EXPECT_EQ(printed(record),
              std::string(kStart) +
                  "RVEX errno=3 : Unknown\r\n"
                  "Sys  errno=2 : system text\r\n"
                  "WinErrNo=9984\r\n"
                  "SubErrNo=-1 Time=2024/ 6/ 9 12:34:15 HostName=HOST\r\n"
                  "File name is : mod          Line Num  is : 65535\r\n"
                  "prog 1.2 os 10 20 64\r\n"
                  "Error Data Len=20, Data is :\r\n"
                  "000  64 61 74 61 20 6F 66 20  61 09 6C 69 6E 65 0D 0A  data of a.line..\r\n"
                  "010  6D 6F 72 65                                       more\r\n"
                  "data of a\tline\r\nmore\r\n"
                  "(0)L=  99 F=      caller (1)L= 100 F=            \r\n"
                  "(2)L= 101 F=seventeen_letters \r\n" +
                  kEnd);
}

TEST(ErrorPrint, LinesThatDependOnWhatIsThere) {
    ORVEX_ERRDATA record = simple_record();
    const std::string head = std::string(kStart) +
                             "RVEX errno=3 : Unknown\r\n"
                             "SubErrNo=0 Time=Not set HostName=HOST\r\n"
                             "File name is : mod          Line Num  is : 7\r\n"
                             "prog 1.2 os 10 20 64\r\n";
    EXPECT_EQ(printed(record), head + kEnd);
    record.nDataLen = 3;
    const std::string dump = "                                          a.b\r\n";
    std::memcpy(record.abyData1, "a\1b", 3);  // no text: the dump alone
    EXPECT_EQ(printed(record), head + "Error Data Len=3, Data is :\r\n000  61 01 62" + dump + kEnd);
    std::memcpy(record.abyData1, "a\0b", 3);  // text ends at its first zero byte
    EXPECT_EQ(printed(record),
              head + "Error Data Len=3, Data is :\r\n000  61 00 62" + dump + "a\r\n" + kEnd);
    char line[64];
    EXPECT_EQ(ORVEX_Err_sPrintSimpleWithOption(line, sizeof line, &record), 1);
    EXPECT_STREQ(line, "RVEX errno=3 : Unknown\r\n");
    record.nErrNo[3] = 0;
    EXPECT_EQ(printed(record), "No error history recorded.\r\n");
}

// Every length of buffer holds the beginning of the text and a terminator, and nothing behind.
TEST(ErrorPrint, OutputStopsAtTheEndOfTheBuffer) {
    ORVEX_ERRDATA record = simple_record();
    record.nDataLen = 144;
    record.nHistCount = 14;
    const std::string whole = printed(record);
    for (size_t size = 1; size <= whole.size() + 2; ++size) {
        const auto buffer = std::make_unique<char[]>(size);
        ORVEX_Err_sPrintParam(buffer.get(), static_cast<int32_t>(size), &record);
        ASSERT_EQ(std::string(buffer.get()), whole.substr(0, size - 1)) << size;
    }
    char untouched = 'u';
    EXPECT_EQ(ORVEX_Err_sPrintParam(&untouched, 0, &record), 0);
    EXPECT_EQ(ORVEX_Err_sPrintParam(&untouched, -5, &record), 0);
    EXPECT_EQ(untouched, 'u');
    EXPECT_EQ(ORVEX_Err_sPrintParam(nullptr, 10, &record), 0);
    EXPECT_EQ(ORVEX_Err_sPrintParam(&untouched, 1, nullptr), 0);
    EXPECT_EQ(untouched, '\0');
}

TEST(ErrorPrint, ARecordFromAPeerMayHoldAnything) {
    for (const int fill : {0xFF, 0x41, 0x80}) {
        const auto record = std::make_unique<ORVEX_ERRDATA>();  // so that reading past it is seen
        std::memset(record.get(), fill, sizeof *record);
        const std::string text = printed(*record);
        EXPECT_NE(text.find("Data Len=" + std::to_string(std::min(fill, 144))), std::string::npos);
        EXPECT_NE(text.find("(13)L="), std::string::npos);
        EXPECT_EQ(text.find("(14)L="), std::string::npos);
        EXPECT_TRUE(text.ends_with(kEnd));
    }
}

TEST(ErrorPrint, AllPrintersGiveTheSameText) {
    const ORVEX_ERRDATA record = simple_record();
    const std::string expected = printed(record);
    char text[2048];
    ORVEX_SetErrData(&record);
    for (const uint32_t option : {0U, 2U, 0xFFFFFFFFU}) {
        ORVEX_Err_sPrintParamWithOption(text, sizeof text, &record, option);
        EXPECT_EQ(text, expected);
        ORVEX_Err_sPrintWithOption(text, sizeof text, option);
        EXPECT_EQ(text, expected);
    }
    EXPECT_EQ(ORVEX_Err_sPrint(text, 10), 1);
    EXPECT_EQ(std::string(text), expected.substr(0, 9));

    const TempFolder folder;
    const std::string path = folder / "printed";
    FILE* stream = std::fopen(path.c_str(), "wb");
    EXPECT_EQ(ORVEX_Err_fPrint(stream), 1);
    std::fclose(stream);
    EXPECT_EQ(read_bytes(path), expected);
}

}  // namespace
