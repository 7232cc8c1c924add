#include "moltelib/error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "moltelib.h"
#include "support/error_of.h"

namespace {

void set_socket_error(int number) {
#if defined(_WIN32)
    SetLastError(static_cast<DWORD>(number));  // one number for both
#else
    errno = number;
#endif
}

const ORVEX_ERRDATA& current() {
    return *ORVEX_GetErrData();
}

std::string field(const char* text, size_t size) {
    return {text, strnlen(text, size)};
}

// A record with known time, host and program.
void fix_identity(ORVEX_ERRDATA* record) {
    static const uint8_t kTime[8] = {0x98, 0x3A, 34, 12, 9, 5, 0xE8, 0x07};  // 2024-06-09 12:34:15
    std::memcpy(&record->stTime, kTime, sizeof kTime);
    std::memcpy(record->szHostName, "HOST", 5);
    std::memcpy(record->szEnv, "prog 1.2 os 10 20 64", 21);
}

void expect_bytes(const void* data, size_t offset, const std::vector<uint8_t>& expected) {
    const auto* bytes = static_cast<const uint8_t*>(data) + offset;
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + expected.size()), expected) << offset;
}

TEST(Error, EveryByteOfARecordHasItsPlace) {
    uint8_t data[200];
    for (size_t i = 0; i < sizeof data; ++i) data[i] = static_cast<uint8_t>(i);
    EXPECT_EQ(ORVEX_Err_Set(0x01020304, 0, "C:\\src\\mod.cpp", 0x1ABCD, 200, data, 0), 0);
    ORVEX_Err_SetSubErrno(-2);
    ORVEX_Err_SetSysErrStr(0x0A0B0C0D, "text");
    ORVEX_Err_AddNL(0x20102, "d/caller.cpp");
    ORVEX_ERRDATA record;
    ASSERT_EQ(ORVEX_CopyErrData(&record), 1);
    fix_identity(&record);

    std::vector<uint8_t> expected(640, 0);
    const auto put = [&expected](size_t offset, const std::string& bytes) {
        std::memcpy(&expected[offset], bytes.data(), bytes.size());
    };
    const std::string all(reinterpret_cast<char*>(data), sizeof data);
    using std::string_literals::operator""s;
    put(0, "\0\0\x02\x80\x01\x02\x03\x04\x0A\x0B\x0C\x0D\xAB\xCD\x01\x90"s);
    put(16, "mod.cpp");
    put(50, "\xFF\xFE");
    put(56, all.substr(0, 96));
    put(152, "text");
    put(212,
        "\x01\x02"
        "caller.cpp");
    put(492, "\x98\x3A\x22\x0C\x09\x05\xE8\x07");
    put(512, "HOST");
    put(528, "prog 1.2 os 10 20 64");
    put(592, all.substr(96, 48));
    expect_bytes(&record, 0, expected);
    EXPECT_EQ(GetRvexErrNo(), 0x01020304U);
    EXPECT_EQ(GetRvexSubErrNo(), -2);
    ORVEX_Err_SetSubErrno(65535);
    EXPECT_EQ(GetRvexSubErrNo(), -1);
}

TEST(Error, TheOptionChoosesTheNumbersOfTheSystem) {
#if defined(_WIN32)
    constexpr bool kOneNumber = true;  // a socket's error is the last error
#else
    constexpr bool kOneNumber = false;
#endif
    const struct {
        uint32_t error;
        uint8_t option;
        bool from_socket;
    } cases[] = {{70, 4, kOneNumber}, {71, 4, true},       {74, 1, true},
                 {83, 3, true},       {84, 4, kOneNumber}, {74, 0, false}};
    for (const auto& c : cases) {
        set_socket_error(107);
        ORVEX_Err_Set(c.error, 5, "m", 1, 0, nullptr, c.option);
        EXPECT_EQ(current().bHasSysErr, c.option != 0 ? 1 : 0);
        EXPECT_EQ(current().nWinErrNo[3] == 107, c.from_socket) << c.error << '/' << int{c.option};
        EXPECT_EQ(current().szSysErr[0] != '\0', c.option != 0);
    }
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 1);
    EXPECT_STREQ(current().szSysErr, std::strerror(ENOENT));
    const std::string from_runtime = current().szSysErr;
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 3);  // 2 is no file in either numbering
    EXPECT_NE(current().szSysErr, from_runtime);
    EXPECT_NE(std::string(current().szSysErr).find("ile"), std::string::npos);
    ORVEX_Err_Set(1, 0x7FFFFFFF, "m", 1, 0, nullptr, 3);
    EXPECT_STREQ(current().szSysErr, "");
}

TEST(Error, TextsAreCutToTheirFields) {
    const std::string thirty(30, 's');
    const std::string forty(40, 's');
    const struct {
        const char* source;
        std::string kept;
        std::string kept_in_history;
    } cases[] = {{thirty.c_str(), thirty, thirty.substr(0, 17)},
                 {forty.c_str(), forty.substr(0, 32), forty.substr(0, 17)},
                 {"a\\b\\c", "c", "c"},
                 {"/usr/src/c.cpp", "c.cpp", "c.cpp"},
                 {"ends\\", "", ""},
                 {"", "", ""},
                 {nullptr, "", ""}};
    for (const auto& c : cases) {
        ORVEX_Err_Set(1, 0, c.source, 1, 0, nullptr, 0);
        ORVEX_Err_AddNL(2, c.source);
        EXPECT_EQ(field(current().szFile, sizeof current().szFile), c.kept);
        EXPECT_EQ(std::string(current().astHist[0].szFile), c.kept_in_history);
    }
    ORVEX_Err_SetSysErrStr(7, std::string(100, 'm').c_str());
    EXPECT_EQ(std::string(current().szSysErr), std::string(59, 'm'));
    ORVEX_Err_SetSysErrStr(8, nullptr);  // the message stays
    EXPECT_EQ(current().nSysErrNo[3], 8);
    EXPECT_EQ(current().szSysErr[0], 'm');
    ORVEX_Err_SetSysErrStr(8, "short");
    expect_bytes(&current(), 152, {'s', 'h', 'o', 'r', 't', 0, 0, 0});
}

TEST(Error, HistoryKeepsItsFirst14Entries) {
    ORVEX_Err_ClearError();
    ORVEX_Err_AddNL(1, "first");
    EXPECT_EQ(GetRvexErrNo(), 103U);
    expect_bytes(&current(), 0, {0, 0, 0, 0, 0, 0, 0, 103, 0, 0, 0, 0, 0, 142, 1, 0});
    for (int i = 2; i <= 14; ++i) ORVEX_Err_AddNL(i, "caller");
    const ORVEX_ERRDATA full = current();
    ORVEX_Err_AddNL(15, "late");
    EXPECT_EQ(std::memcmp(&full, &current(), sizeof full), 0);
    EXPECT_EQ(current().nHistCount, 14);
    EXPECT_EQ(current().astHist[13].nLine[1], 14);

    ORVEX_ERRDATA foreign = full;
    foreign.nHistCount = 255;
    ORVEX_SetErrData(&foreign);
    ORVEX_Err_AddNL(16, "late");
    EXPECT_EQ(std::memcmp(&foreign, &current(), sizeof foreign), 0);
}

TEST(Error, DataComesBackInOneRun) {
    uint8_t data[144];
    uint8_t back[145];
    for (size_t i = 0; i < sizeof data; ++i) data[i] = static_cast<uint8_t>(255 - i);
    EXPECT_EQ(ORVEX_Err_DataBufLen(), 144);
    for (const int size : {0, 1, 95, 96, 97, 143, 144}) {
        const auto length = static_cast<uint8_t>(size);
        // Bytes of exactly this length: nothing behind them may be read.
        const std::vector<uint8_t> exact(data, data + length);
        ORVEX_Err_Set(1, 0, "m", 1, length, exact.data(), 0);
        std::memset(back, 0xEE, sizeof back);
        EXPECT_EQ(ORVEX_Err_GetErrData(ORVEX_GetErrData(), back, 0), length);
        EXPECT_EQ(std::memcmp(back, data, length), 0);
        EXPECT_EQ(back[length], 0xEE);
    }
    ORVEX_GetErrData()->nDataLen = 255;
    EXPECT_EQ(ORVEX_Err_GetErrData(ORVEX_GetErrData(), back, 144), 144);
    EXPECT_EQ(current().nDataLen, 144);
    ORVEX_Err_Set(1, 0, "m", 1, 255, nullptr, 0);
    EXPECT_EQ(current().nDataLen, 144);
    expect_bytes(&current(), 56, std::vector<uint8_t>(96, 0));

    ORVEX_ERRDATA record{};
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data, 100), 1);
    expect_bytes(&record, 592, {data[96], data[97], data[98], data[99], 0});
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data, -1), -1);
    EXPECT_EQ(ORVEX_Err_SetErrData(nullptr, data, 1), -1);
    EXPECT_EQ(ORVEX_Err_GetErrData(nullptr, back, 144), -1);
    EXPECT_EQ(ORVEX_SetErrData(nullptr), -1);
    EXPECT_EQ(ORVEX_CopyErrData(nullptr), -1);
    EXPECT_EQ(error_of_this_thread(), "50 orvexerr");
}

TEST(Error, EachThreadHasItsOwnRecord) {
    ORVEX_Err_Set(5, 0, "mine", 1, 0, nullptr, 0);
    std::thread([] {
        EXPECT_EQ(GetRvexErrNo(), 0U);
        ORVEX_Err_Set(6, 0, "other", 1, 0, nullptr, 0);
        EXPECT_STRNE(current().szHostName, "");
        EXPECT_EQ(GetRvexErrNo(), 6U);
        MOLTE_THDATA_FreeData();
    }).join();
    EXPECT_EQ(GetRvexErrNo(), 5U);
}

TEST(Error, TheEnvironmentLineFollowsWhatItIsMadeOf) {
    const auto stamped = [] {
        ORVEX_Err_Set(1, 0, "m", 1, 0, nullptr, 0);
        return field(current().szEnv, sizeof current().szEnv);
    };
    const MOLTE_BASEVAR before = g_stBv;
    char line[300];
    std::memset(g_stBv.szOsPlatform, 0, sizeof g_stBv.szOsPlatform);
    g_stBv.nKernelBit = 0;
    std::strcpy(g_stBv.szAppShortName, "prog");
    std::strcpy(g_stBv.szAppVersion, "1.2.3.4");
    g_stBv.nAppFileSize = 1000;
    g_stBv.stSysInfo.nPhysicalMemInMB = 2048;
    const std::string os = MOLTE_UTIL_MacroOs();
    EXPECT_EQ(stamped(), "prog 1.2.3.4 " + os + " 1000 2048 64");
    EXPECT_EQ(g_stBv.nKernelBit, 64);
    EXPECT_EQ(g_stBv.szOsPlatform, os);
    EXPECT_EQ(ORVEX_GetEnvString(line, sizeof line), line);
    EXPECT_EQ(line, stamped());

    g_stBv.nAppFileSize = -1;
    std::strcpy(g_stBv.szOsPlatform, "os");
    EXPECT_EQ(stamped(), "prog 1.2.3.4 os -1 2048 64");
    for (size_t extra : {62, 63, 64, 90}) {  // around the size of the field
        const std::string tail = " 1.2.3.4 os -1 2048 64";
        std::memset(g_stBv.szAppShortName, 'p', sizeof g_stBv.szAppShortName);  // no terminator
        std::string platform = "os" + std::string(extra - 32 - tail.size(), 'x');
        std::strcpy(g_stBv.szOsPlatform, platform.c_str());
        const std::string whole = std::string(32, 'p') + " 1.2.3.4 " + platform + " -1 2048 64";
        ASSERT_EQ(whole.size(), extra);
        EXPECT_EQ(stamped(), whole.substr(0, 64));
        ORVEX_Err_ClearError();
        ORVEX_GetEnvString(line, static_cast<int32_t>(extra));  // fills it: no terminator
        EXPECT_EQ(std::string(line, extra), whole);
        EXPECT_EQ(GetRvexErrNo(), 501U);
    }
    EXPECT_EQ(ORVEX_GetEnvString(nullptr, 10), nullptr);
    EXPECT_EQ(ORVEX_GetEnvString(line, 0), line);
    g_stBv = before;
}

TEST(Error, FirstReportsOfSeveralThreadsFindTheSameIdentity) {
    std::memset(g_stBv.szHostName, 0, sizeof g_stBv.szHostName);
    std::memset(g_stBv.szOsPlatform, 0, sizeof g_stBv.szOsPlatform);
    g_stBv.nKernelBit = 0;
    std::string lines[4];
    std::vector<std::thread> threads;
    for (std::string& line : lines) {
        threads.emplace_back([&line] {
            for (int i = 0; i < 2; ++i) ORVEX_Err_Set(1, 0, "m", 1, 0, nullptr, 0);
            line = std::string(current().szHostName) + "/" + current().szEnv;
            MOLTE_THDATA_FreeData();
        });
    }
    for (std::thread& thread : threads) thread.join();
    char host[16];
    ORVEX_GetComputerName(host, sizeof host);
    for (const std::string& line : lines)
        EXPECT_EQ(line, std::string(host) + "/" + g_stBv.szAppShortName + "  " +
                            MOLTE_UTIL_MacroOs() + " 0 0 64");
}

TEST(Error, ReportsOfProgramsAndTheirMonitor) {
    static std::string shown;
    const auto watch = [](const char* text) -> int32_t {
        shown = text;
        return 0;
    };
    SetRvexMonitorStatus(1, 0, watch);
    RvexErrPrintf("%s %d", "kept", 5);
    EXPECT_EQ(shown, "PU-RVEX ERROR :> kept 5");
    shown.clear();
    errno = EACCES;
    SetRvexErr(77, "own text");
    EXPECT_EQ(shown, "PU-RVEX ERROR :> kept 5");  // not its own
    EXPECT_EQ(error_of_this_thread(), "77 orvexerr own text");
    EXPECT_EQ(error_line_of_this_thread(), 543);
    EXPECT_EQ(current().nSysErrNo[3], EACCES);
    errno = EACCES;
    SetRvexErrNo(78);
    EXPECT_EQ(error_of_this_thread(), "78 orvexerr");
    EXPECT_EQ(error_line_of_this_thread(), 502);
    EXPECT_STREQ(current().szSysErr, std::strerror(EACCES));
    SetRvexErr(1, std::string(300, 't').c_str());
    EXPECT_EQ(current().nDataLen, 144);
    SetRvexErr(1, nullptr);
    EXPECT_EQ(current().nDataLen, 0);

    shown.clear();
    RvexMessage("%s", "unwatched");
    EXPECT_EQ(shown, "");
    SetRvexMonitorStatus(0, 1, watch);
    RvexMessage("%s", "watched");
    EXPECT_EQ(shown, "watched");
    RvexErrPrintf("%s", std::string(300, 'x').c_str());
    EXPECT_EQ(shown, "watched");
    SetRvexMonitorStatus(1, 0, watch);
    SetRvexErrNo(1);
    EXPECT_EQ(shown, "PU-RVEX ERROR :> " + std::string(255, 'x'));
    SetRvexMonitorStatus(0, 0, watch);
    EXPECT_STREQ(GetRVEXErrStrByErrno(0xFFFFFFFF), "Unknown");
    EXPECT_STREQ(ORVEX_Err_GetErrString(0), "Unknown");
}

TEST(Error, StrCopyAppendsWhatFits) {
    char text[8];
    int32_t at = 0;
    EXPECT_EQ(ORVEX_StrCopy(text, "abc", &at, 8), 3);
    EXPECT_EQ(ORVEX_StrCopy(text, "", &at, 8), 3);
    EXPECT_EQ(ORVEX_StrCopy(text, "defgh", &at, 8), 7);
    EXPECT_STREQ(text, "abcdefg");
    EXPECT_EQ(ORVEX_StrCopy(text, "x", &at, 8), 7);
    EXPECT_STREQ(text, "abcdefg");
    at = 100;
    EXPECT_EQ(ORVEX_StrCopy(text, "x", &at, 8), 7);
    at = 0;
    EXPECT_EQ(ORVEX_StrCopy(text, "x", &at, 0), -1);
    at = -1;
    EXPECT_EQ(ORVEX_StrCopy(text, "x", &at, 8), -1);
    EXPECT_EQ(ORVEX_StrCopy(nullptr, "x", &at, 8), -1);
}

TEST(Error, TablesAreSortedAndChecked) {
    ErrStringStruct table[] = {{5, "e"}, {0xFFFFFFFF, "z"}, {1, "a"}, {5, "e2"}, {1, "a2"}};
    EXPECT_LT(ErrStringStruct_Cmp(&table[2], &table[0]), 0);
    EXPECT_EQ(ErrStringStruct_Cmp(&table[3], &table[0]), 0);
    EXPECT_GT(ErrStringStruct_Cmp(&table[0], &table[2]), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ORVEX_UTIL_CheckDupErrNo(table, 5), 1);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "duplicate error. 1\nduplicate error. 5\n");
    const uint32_t sorted[] = {1, 1, 5, 5, 0xFFFFFFFF};
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(table[i].nErrNo, sorted[i]);
    EXPECT_EQ(ORVEX_UTIL_CheckDupErrNo(table + 3, 2), 0);
    const ErrStringStruct wanted[] = {{5, ""}, {4, ""}, {0xFFFFFFFF, ""}, {9, ""}};
    testing::internal::CaptureStdout();
    EXPECT_EQ(ORVEX_UTIL_CheckExistErr(wanted, 4, table, 5, "mod"), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "mod error 4 not found\nmod error 9 not found\n");
    EXPECT_EQ(ErrStringStruct_Sort(nullptr, 1), -1);
    EXPECT_EQ(ORVEX_UTIL_CheckExistErr(nullptr, 1, table, 5, "mod"), -1);
    EXPECT_EQ(ORVEX_Err_CheckDupErrNo(), 0);
}

}  // namespace
