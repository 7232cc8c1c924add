#include "moltelib/error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "moltelib.h"
#include "support/error_of.h"

namespace {

using std::string_literals::operator""s;

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
    ORVEX_Err_AddNL(0x20102, "d/caller.cpp");
    ORVEX_ERRDATA record;
    ASSERT_EQ(ORVEX_CopyErrData(&record), 1);
    const std::string time = "\x98\x3A\x22\x0C\x09\x05\xE8\x07";
    EXPECT_NE(bytes_of(&record, 492, 8), std::string(8, '\0'));
    std::memcpy(&record.stTime, time.data(), time.size());
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
    put(212,
        "\x01\x02"
        "caller.cpp");
    put(492, time);
    put(512, std::string(16, 'h') + std::string(64, 'e') + data.substr(96, 48));
    EXPECT_EQ(bytes_of(&record, 0, 640), expected);
    EXPECT_EQ(GetRvexErrNo(), 0x01020304U);
    EXPECT_EQ(GetRvexSubErrNo(), -2);
    ORVEX_Err_SetSubErrno(65535);
    EXPECT_EQ(GetRvexSubErrNo(), -1);
}

TEST(Error, TheOptionChoosesTheNumbersAndTextOfTheSystem) {
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
#if defined(_WIN32)
        SetLastError(107);
#else
        errno = 107;
#endif
        ORVEX_Err_Set(c.error, 5, "m", 1, 0, nullptr, c.option);
        EXPECT_EQ(current().bHasSysErr, c.option != 0 ? 1 : 0);
        EXPECT_EQ(current().nWinErrNo[3] == 107, c.from_socket) << c.error << '/' << int{c.option};
        EXPECT_EQ(current().szSysErr[0] != '\0', c.option != 0);
    }
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 1);
    EXPECT_STREQ(current().szSysErr, std::strerror(ENOENT));
    ORVEX_Err_Set(1, ENOENT, "m", 1, 0, nullptr, 3);  // no file in either numbering
    EXPECT_STRNE(current().szSysErr, std::strerror(ENOENT));
    EXPECT_NE(std::string(current().szSysErr).find("ile"), std::string::npos);
    ORVEX_Err_Set(1, 0x7FFFFFFF, "m", 1, 0, nullptr, 3);
    EXPECT_STREQ(current().szSysErr, "");
    ORVEX_Err_SetSysErrStr(7, std::string(100, 'm').c_str());
    EXPECT_EQ(std::string(current().szSysErr), std::string(59, 'm'));
    ORVEX_Err_SetSysErrStr(8, nullptr);  // the message stays
    EXPECT_EQ(current().nSysErrNo[3], 8);
    EXPECT_EQ(current().szSysErr[58], 'm');
}

TEST(Error, SourceNamesAreCutToTheirFields) {
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
                 {nullptr, "", ""}};
    for (const auto& c : cases) {
        report(c.source);
        ORVEX_Err_AddNL(2, c.source);
        EXPECT_EQ(std::string(current().szFile, strnlen(current().szFile, 32)), c.kept);
        EXPECT_EQ(std::string(current().astHist[0].szFile), c.kept_in_history);
    }
}

TEST(Error, HistoryKeepsItsFirst14Entries) {
    ORVEX_Err_ClearError();
    ORVEX_Err_AddNL(1, "first");
    EXPECT_EQ(bytes_of(&current(), 0, 16), "\0\0\0\0\0\0\0\x67\0\0\0\0\0\x8E\1\0"s);  // 103, 142
    for (int i = 2; i <= 15; ++i) ORVEX_Err_AddNL(i, "caller");
    EXPECT_EQ(current().nHistCount, 14);
    EXPECT_EQ(history_of_this_thread().substr(0, 17), "1 first, 2 caller");
    EXPECT_EQ(current().astHist[13].nLine[1], 14);
    ORVEX_GetErrData()->nHistCount = 255;  // as a peer may send it
    const ORVEX_ERRDATA before = current();
    ORVEX_Err_AddNL(16, "late");
    EXPECT_EQ(std::memcmp(&before, &current(), sizeof before), 0);
}

TEST(Error, DataComesBackInOneRun) {
    const std::string data = std::string(96, 'a') + std::string(48, 'b');
    EXPECT_EQ(ORVEX_Err_DataBufLen(), 144);
    for (const size_t length : {0, 1, 96, 97, 144}) {
        const std::vector<char> exact(data.begin(), data.begin() + static_cast<int>(length));
        ORVEX_Err_Set(1, 0, "m", 1, static_cast<uint8_t>(length), exact.data(), 0);
        char back[145] = {};
        EXPECT_EQ(ORVEX_Err_GetErrData(ORVEX_GetErrData(), back, 0), static_cast<int>(length));
        EXPECT_EQ(std::string(back), data.substr(0, length));
    }
    char back[144];
    ORVEX_GetErrData()->nDataLen = 255;
    EXPECT_EQ(ORVEX_Err_GetErrData(ORVEX_GetErrData(), back, 144), 144);
    EXPECT_EQ(current().nDataLen, 144);
    ORVEX_ERRDATA record{};
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data.data(), 98), 1);
    EXPECT_EQ(bytes_of(&record, 592, 3), "bb\0"s);
    EXPECT_EQ(ORVEX_Err_SetErrData(&record, data.data(), -1), -1);
    EXPECT_EQ(ORVEX_Err_GetErrData(nullptr, back, 144), -1);
    EXPECT_EQ(ORVEX_SetErrData(nullptr), -1);
    EXPECT_EQ(ORVEX_CopyErrData(nullptr), -1);
    EXPECT_EQ(error_of_this_thread(), "50 orvexerr");
}

TEST(Error, TheEnvironmentLineFollowsWhatItIsMadeOf) {
    const MOLTE_BASEVAR before = g_stBv;
    const std::string tail = " 1.2.3.4 os -1 2048 64";
    std::strcpy(g_stBv.szAppVersion, "1.2.3.4");
    g_stBv.nAppFileSize = -1;
    g_stBv.stSysInfo.nPhysicalMemInMB = 2048;
    char line[300];
    for (const size_t length : {26, 50, 63, 64, 65, 90}) {  // the field has 64
        const size_t name_length = std::min<size_t>(length - tail.size(), 32);
        std::memset(g_stBv.szAppShortName, 0, sizeof g_stBv.szAppShortName);
        std::memset(g_stBv.szAppShortName, 'p', name_length);  // 32: not terminated
        const std::string system = "os" + std::string(length - tail.size() - name_length, 'x');
        std::strcpy(g_stBv.szOsPlatform, system.c_str());
        const std::string whole =
            std::string(name_length, 'p') + " 1.2.3.4 " + system + " -1 2048 64";
        report();
        EXPECT_EQ(std::string(current().szEnv, strnlen(current().szEnv, 64)), whole.substr(0, 64));
        EXPECT_EQ(ORVEX_GetEnvString(line, sizeof line), line);
        EXPECT_EQ(line, whole);
        ORVEX_GetEnvString(line, static_cast<int32_t>(length));  // fills it: no terminator
        EXPECT_EQ(std::string(line, length), whole);
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
    report("mine");
    std::memset(g_stBv.szHostName, 0, sizeof g_stBv.szHostName);
    std::string lines[4];
    std::vector<std::thread> threads;
    for (std::string& line : lines) {
        threads.emplace_back([&line] {
            EXPECT_EQ(GetRvexErrNo(), 0U);
            for (int i = 0; i < 2; ++i) report();
            line = std::string(current().szHostName) + "/" + current().szEnv;
            MOLTE_THDATA_FreeData();
        });
    }
    for (std::thread& thread : threads) thread.join();
    char host[16];
    ORVEX_GetComputerName(host, sizeof host);
    for (const std::string& line : lines) {
        EXPECT_EQ(line, std::string(host) + "/  " + MOLTE_UTIL_MacroOs() + " 0 0 64");
    }
    EXPECT_STREQ(current().szFile, "mine");
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
    EXPECT_STREQ(current().szSysErr, std::strerror(EACCES));
    RvexMessage("%s", "unwatched");
    SetRvexErrNo(78);
    EXPECT_EQ(error_of_this_thread(), "78 orvexerr");
    EXPECT_EQ(error_line_of_this_thread(), 502);
    SetRvexMonitorStatus(0, 1, watch);
    RvexMessage("%s", "watched");
    RvexErrPrintf("%s", std::string(300, 'x').c_str());
    EXPECT_EQ(shown, "watched");
    SetRvexMonitorStatus(1, 0, watch);
    SetRvexErr(1, std::string(300, 't').c_str());
    EXPECT_EQ(shown, "PU-RVEX ERROR :> " + std::string(255, 'x'));
    EXPECT_EQ(current().nDataLen, 144);
    SetRvexMonitorStatus(0, 0, watch);
    EXPECT_STREQ(GetRVEXErrStrByErrno(0xFFFFFFFF), "Unknown");
}

TEST(Error, StrCopyAppendsWhatFits) {
    const struct {
        int32_t at;
        const char* source;
        int32_t size, result, at_after;
        const char* text;
    } cases[] = {{0, "ab", 8, 2, 2, "ab"},          {2, "", 8, 2, 2, "ab"},
                 {2, "cdefgh", 8, 7, 7, "abcdefg"}, {7, "x", 8, 7, 7, "abcdefg"},
                 {100, "x", 8, 7, 100, "abcdefg"},  {0, "x", 0, -1, 0, "abcdefg"},
                 {-1, "x", 8, -1, -1, "abcdefg"}};
    char text[8];
    for (const auto& c : cases) {
        int32_t at = c.at;
        EXPECT_EQ(ORVEX_StrCopy(text, c.source, &at, c.size), c.result);
        EXPECT_EQ(at, c.at_after);
        EXPECT_STREQ(text, c.text);
    }
}

TEST(Error, TablesAreSortedAndChecked) {
    ErrStringStruct table[] = {{5, ""}, {0xFFFFFFFF, ""}, {1, ""}, {5, ""}, {1, ""}};
    EXPECT_LT(ErrStringStruct_Cmp(&table[2], &table[0]), 0);
    EXPECT_EQ(ErrStringStruct_Cmp(&table[3], &table[0]), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(ORVEX_UTIL_CheckDupErrNo(table, 5), 1);
    EXPECT_EQ(ORVEX_UTIL_CheckDupErrNo(table + 3, 2), 0);
    const ErrStringStruct wanted[] = {{5, ""}, {4, ""}, {0xFFFFFFFF, ""}, {9, ""}};
    EXPECT_EQ(ORVEX_UTIL_CheckExistErr(wanted, 4, table, 5, "mod"), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "duplicate error. 1\nduplicate error. 5\n"
              "mod error 4 not found\nmod error 9 not found\n");
    EXPECT_EQ(table[4].nErrNo, 0xFFFFFFFF);
    EXPECT_EQ(ErrStringStruct_Sort(nullptr, 1), -1);
}

}  // namespace
