#include "support/rows.h"
#include "support/test.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

constexpr char kEnd[] = "-------------------END ERROR DESCRIPTION------------------\r\n";
constexpr char kTime[] = "\x98\x3A\x22\x0C\x09\x05\xE8\x07";  // 2024-06-09 12:34:15

const ORVEX_ERRDATA& current() {
    return *ORVEX_GetErrData();
}

void report(const char* source = "m") {
    ORVEX_Err_Set(1, 0, source, 1, 0, nullptr, 0);
}

std::string bytes_of(const void* data, size_t offset, size_t size) {
    return {static_cast<const char*>(data) + offset, size};
}

TEST(Error, EveryByteOfARecordHasItsPlace) {
    std::string data(200, '\0');
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i);
    EXPECT_EQ(ORVEX_Err_Set(0x01020304, 0, "C:\\src\\mod.cpp", 0x1ABCD, 200, data.data(), 0), 0);
    ORVEX_Err_SetSubErrno(-2);
    ORVEX_Err_SetSysErrStr(0x0A0B0C0D, "text");
    ORVEX_Err_AddNL(0x20102, "d\\caller.cpp");
    ORVEX_ERRDATA record;
    ASSERT_EQ(ORVEX_CopyErrData(&record), 1);
    EXPECT_NE(bytes_of(&record, 492, 8), std::string(8, '\0'));
    std::memcpy(&record.stTime, kTime, 8);
    std::memset(record.szHostName, 'h', sizeof record.szHostName);
    std::memset(record.szEnv, 'e', sizeof record.szEnv);

    std::string expected(640, '\0');
    const auto put = [&expected](size_t at, const std::string& bytes) {
        expected.replace(at, bytes.size(), bytes);
    };
    put(0, "\0\0\x02\x80\x01\x02\x03\x04\x0A\x0B\x0C\x0D\xAB\xCD\x01\x90mod.cpp"s);
    put(50, "\xFF\xFE");
    put(56, data.substr(0, 96));
    put(152, "text");
    put(212, "\1\2caller.cpp");
    put(492, kTime);
    put(512, std::string(16, 'h') + std::string(64, 'e') + data.substr(96, 48));
    EXPECT_EQ(bytes_of(&record, 0, 640), expected);
    ORVEX_Err_SetSubErrno(65535);
    EXPECT_EQ(GetRvexSubErrNo(), -1);
    EXPECT_EQ(error_of(ORVEX_SetErrData(nullptr)), "50 orvexerr");
}

TEST(Error, TheOptionChoosesTheNumbersAndTextOfTheSystem) {
    const uint32_t cases[][3] = {{71, 4, 107}, {74, 1, 107}, {83, 3, 107}, {74, 0, 0}};
    for (const auto& [error, option, number] : cases) {
#if defined(_WIN32)
        SetLastError(107);  // is the socket's error as well
#else
        errno = 107;
#endif
        ORVEX_Err_Set(error, 5, "m", 1, 0, nullptr, static_cast<uint8_t>(option));
        EXPECT_EQ(current().bHasSysErr, option != 0);
        EXPECT_EQ(current().nWinErrNo[3], number) << error << '/' << option;
        EXPECT_EQ(current().szSysErr[0] != '\0', option != 0);
    }
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 1);
    EXPECT_STREQ(current().szSysErr, std::strerror(ENOENT));
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 3);  // no file in either numbering
    EXPECT_STRNE(current().szSysErr, std::strerror(ENOENT));
    EXPECT_NE(std::string(current().szSysErr).find("ile"), std::string::npos);
    ORVEX_Err_SetSysErrStr(7, std::string(100, 'm').c_str());
    ORVEX_Err_SetSysErrStr(8, nullptr);  // the message stays
    EXPECT_EQ(std::string(current().szSysErr), std::string(59, 'm'));
}

TEST(Error, SourceNamesAreCutToTheirFields) {
    const std::string name = "0123456789012345678901234567890123456789";
    const std::string cases[][3] = {// source, what the record and what the history keep of it
                                    {name, name.substr(0, 32), name.substr(0, 17)},
                                    {"a\\b\\c", "c", "c"},
                                    {"src/a\\d/c.cpp", "d/c.cpp", "d/c.cpp"},
                                    {"ends\\", "", ""}};
    for (const auto& [source, kept, kept_in_history] : cases) {
        report(source.c_str());
        ORVEX_Err_AddNL(2, source.c_str());
        EXPECT_EQ(std::string(current().szFile, strnlen(current().szFile, 32)), kept);
        EXPECT_EQ(current().astHist[0].szFile, kept_in_history);
    }
}

TEST(Error, HistoryKeepsItsFirst14Entries) {
    ORVEX_Err_AddNL(1, nullptr);
    EXPECT_EQ(bytes_of(&current(), 0, 16), "\0\0\0\0\0\0\0\x67\0\0\0\0\0\x8E\1\0"s);  // 103, 142
    for (int i = 2; i <= 15; ++i) ORVEX_Err_AddNL(i, "caller");
    EXPECT_EQ(current().nHistCount, 14);
    EXPECT_EQ(current().astHist[13].nLine[1], 14);
    ORVEX_GetErrData()->nHistCount = 255;  // as a peer may send it
    const ORVEX_ERRDATA before = current();
    ORVEX_Err_AddNL(16, "late");
    EXPECT_EQ(std::memcmp(&before, &current(), sizeof before), 0);
}

TEST(Error, DataComesBackInOneRun) {
    const std::string data = std::string(96, 'a') + std::string(48, 'b');
    char back[145] = {};
    for (const size_t length : {0U, 1U, 96U, 97U, 144U}) {
        const auto exact = std::make_unique<char[]>(length);
        std::memcpy(exact.get(), data.data(), length);
        ORVEX_Err_Set(1, 0, "m", 1, static_cast<uint8_t>(length), exact.get(), 0);
        EXPECT_EQ(ORVEX_Err_GetErrData(ORVEX_GetErrData(), back, 0), static_cast<int>(length));
        EXPECT_EQ(back, data.substr(0, length));
    }
    ORVEX_ERRDATA record{};
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data.data(), 98), 1);
    EXPECT_EQ(bytes_of(&record, 592, 3), "bb\0"s);
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data.data(), -1), -1);
    record.nDataLen = 255;
    EXPECT_EQ(ORVEX_Err_GetErrData(&record, back, ORVEX_Err_DataBufLen()), 144);
    EXPECT_EQ(record.nDataLen, 144);
}

TEST(Error, TheEnvironmentLineFollowsWhatItIsMadeOf) {
    std::strcpy(g_stBv.szAppVersion, "1.2.3.4");
    std::memset(g_stBv.szAppShortName, 'p', sizeof g_stBv.szAppShortName);  // not terminated
    g_stBv.stSysInfo.nPhysicalMemInMB = 2048;
    for (const size_t length : {63U, 64U, 65U, 90U}) {  // the field has 64
        const std::string system = "os" + std::string(length - 53, 'x');
        std::strcpy(g_stBv.szOsPlatform, system.c_str());
        const std::string whole = std::string(32, 'p') + " 1.2.3.4 " + system + " 0 2048 64";
        report();
        EXPECT_EQ(std::string(current().szEnv, strnlen(current().szEnv, 64)), whole.substr(0, 64));
        char line[300];
        EXPECT_EQ(ORVEX_GetEnvString(line, sizeof line), line);
        EXPECT_EQ(line, whole);
        ORVEX_GetEnvString(line, static_cast<int32_t>(length));  // fills it: no terminator
        EXPECT_EQ(std::string(line, length), whole);
        EXPECT_EQ(GetRvexErrNo(), 501U);
    }
    g_stBv.szOsPlatform[0] = '\0';
    EXPECT_EQ(ORVEX_GetEnvString(nullptr, 10), nullptr);  // what it is made of is filled in still
    EXPECT_STREQ(g_stBv.szOsPlatform, MOLTE_UTIL_MacroOs());
}

TEST(Error, FirstReportsOfSeveralThreadsFindTheSameIdentity) {
    char host[16];
    ORVEX_GetComputerName(host, sizeof host);
    in_threads(4, [&host](int) {
        for (int k = 0; k < 2; ++k) report("other");
        EXPECT_STREQ(current().szHostName, host);
        EXPECT_EQ(current().szEnv, "  "s + MOLTE_UTIL_MacroOs() + " 0 0 64");
    });
}

TEST(Error, TheMonitorSeesTheKeptText) {
    static std::string shown;
    const auto watch = [](const char* text) -> int32_t {
        shown = text;
        return 0;
    };
    SetRvexMonitorStatus(0, 1, watch);
    RvexErrPrintf("%s", std::string(300, 'x').c_str());
    RvexMessage("%s", "watched");
    EXPECT_EQ(shown, "watched");
    SetRvexMonitorStatus(1, 0, watch);
    RvexMessage("%s", "unwatched");
    errno = EACCES;
    SetRvexErr(77, "own text");
    EXPECT_EQ(shown, "PU-RVEX ERROR :> " + std::string(255, 'x'));  // not its own
    EXPECT_EQ(error_of_this_thread(), "77 orvexerr own text");
    EXPECT_EQ(error_line_of_this_thread(), 543);
    EXPECT_STREQ(current().szSysErr, std::strerror(EACCES));
    SetRvexErrNo(78);
    EXPECT_EQ(error_line_of_this_thread(), 502);
    SetRvexMonitorStatus(0, 0, watch);
}

TEST(Error, StrCopyAppendsWhatFits) {
    char text[8];
    int32_t at = 0;
    EXPECT_EQ((Ints{ORVEX_StrCopy(text, "abc", &at, 8), ORVEX_StrCopy(text, "defgh", &at, 8),
                    ORVEX_StrCopy(text, "x", &at, 8)}),
              (Ints{3, 7, 7}));
    EXPECT_STREQ(text, "abcdefg");
    at = -1;
    EXPECT_EQ(error_of(ORVEX_StrCopy(text, "x", &at, 8)), "50 orvexerr");
}

TEST(Error, TablesAreSortedAndChecked) {
    ErrStringStruct table[] = {{5, ""}, {0xFFFFFFFF, ""}, {1, ""}, {5, ""}, {1, ""}};
    const ErrStringStruct wanted[] = {{5, ""}, {4, ""}, {0xFFFFFFFF, ""}, {9, ""}};
    EXPECT_LT(ErrStringStruct_Cmp(&table[2], &table[0]), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ((Ints{ORVEX_UTIL_CheckDupErrNo(table, 5), ORVEX_UTIL_CheckDupErrNo(table + 3, 2),
                    ErrStringStruct_Sort(nullptr, 0), ORVEX_UTIL_CheckDupErrNo(nullptr, 0),
                    ORVEX_UTIL_CheckDupErrNo(nullptr, 1),
                    ORVEX_UTIL_CheckExistErr(nullptr, 0, nullptr, 0, ""),
                    ORVEX_UTIL_CheckExistErr(wanted, 4, table, 5, "mod")}),
              (Ints{1, 0, 0, 0, -1, 0, 0}));
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "duplicate error. 1\nduplicate error. 5\n"
              "mod error 4 not found\nmod error 9 not found\n");
}

ORVEX_ERRDATA simple_record() {
    ORVEX_ERRDATA record{};
    record.nErrNo[3] = 3;
    record.nLine[1] = 7;
    std::strcpy(record.szFile, "mod");
    std::strcpy(record.szHostName, "HOST");
    std::strcpy(record.szEnv, "prog 1.2 os 10 20 64");
    return record;
}

// Those of a table, which are printed of a record.
std::string lines_of(const char* table) {
    std::string text = "\r\n";
    for (const Texts& row : rows_of(TEST_ROWS, table)) text += row[0] + "\r\n";
    return text;
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
    std::memcpy(&record.stTime, kTime, 8);
    record.nDataLen = 20;
    std::memcpy(record.abyData1, "data of a\tline\r\nmore", 20);
    record.nHistCount = 3;
    for (uint8_t i = 0; i < 3; ++i) record.astHist[i].nLine[1] = static_cast<uint8_t>(99 + i);
    std::strcpy(record.astHist[0].szFile, "caller");
    std::strcpy(record.astHist[2].szFile, "seventeen_letters");
    EXPECT_EQ(printed(record), lines_of("with all its lines"));
}

TEST(ErrorPrint, LinesThatDependOnWhatIsThere) {
    ORVEX_ERRDATA record = simple_record();
    const std::string head = lines_of("simple");
    EXPECT_EQ(printed(record), head + kEnd);
    record.nDataLen = 3;
    const std::string rows[][3] = {{"a\1b", "61 01 62", ""},         // no text: the dump alone
                                   {"a\0b"s, "61 00 62", "a\r\n"}};  // ends at its first zero
    for (const auto& [data, dump, text] : rows) {
        std::memcpy(record.abyData1, data.data(), 3);
        EXPECT_EQ(printed(record), head + "Error Data Len=3, Data is :\r\n000  " + dump +
                                       std::string(42, ' ') + "a.b\r\n" + text + kEnd);
    }
    char line[64];
    ORVEX_Err_sPrintSimpleWithOption(line, sizeof line, &record);
    EXPECT_STREQ(line, "RVEX errno=3 : Unknown\r\n");
    record.nErrNo[3] = 0;
    EXPECT_EQ(printed(record), "No error history recorded.\r\n");
}

// Each length of buffer holds the beginning of the text and a terminator; nothing is written
// behind.
TEST(ErrorPrint, OutputStopsAtTheEndOfTheBuffer) {
    ORVEX_ERRDATA record = simple_record();
    record.nDataLen = 144;
    record.nHistCount = 14;
    const std::string whole = printed(record);
    for (size_t size = 1; size <= whole.size() + 2; ++size) {
        const auto buffer = std::make_unique<char[]>(size);
        ORVEX_Err_sPrintParam(buffer.get(), static_cast<int32_t>(size), &record);
        ASSERT_EQ(buffer.get(), whole.substr(0, size - 1)) << size;
    }
    char untouched = 'u';
    EXPECT_EQ(ORVEX_Err_sPrintParam(&untouched, 0, &record), 0);
    EXPECT_EQ(untouched, 'u');
    EXPECT_EQ(ORVEX_Err_sPrintParam(nullptr, 10, &record), 0);
    EXPECT_EQ(ORVEX_Err_sPrintParam(&untouched, 1, nullptr), 0);
}

TEST(ErrorPrint, ToAStreamWithAnyOption) {
    const ORVEX_ERRDATA record = simple_record();
    ORVEX_SetErrData(&record);
    const TempFolder folder;
    FILE* stream = std::fopen((folder / "printed").c_str(), "wb");
    ORVEX_Err_fPrintWithOption(stream, 0xFFFFFFFF);
    std::fclose(stream);
    EXPECT_EQ(read_bytes(folder / "printed"), printed(record));
}

}  // namespace
