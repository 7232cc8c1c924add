#include "support/test.h"

namespace {

// The state's fields, each a different value, as bytes written out by hand.
TEST(FileState, RecordByteForByte) {
    OXSTAT64 state{};
    state.st_dev = 0x01020304;
    state.st_mode = 0x8000 | 0x100 | 0x80;
    state.st_nlink = 0x0506;
    state.st_uid = 0x0708;
    state.st_gid = 0x090A;
    state.st_size = 0x1122334455667788;
    state.st_atime = 0x21222324A1A2A3A4;
    state.st_mtime = 0x31323334B1B2B3B4;
    state.st_ctime = 0x41424344C1C2C3C4;
    OXFILESTAT record;
    std::memset(&record, 0, sizeof record);
    EXPECT_EQ(ORVEX_FileSetModeToFS(&state, &record), 0);
    std::string expected(384, '\0');
    const auto put = [&](size_t at, std::string_view bytes) {
        expected.replace(at, bytes.size(), bytes);
    };
    put(0, "\x11\x22\x33\x44\x55\x66\x77\x88");
    put(8, "\x03");
    put(12, "\xB1\xB2\xB3\xB4\xC1\xC2\xC3\xC4\xA1\xA2\xA3\xA4");
    put(24, "\x09\x0A");
    put(28, "\x07\x08");
    put(316, "\x01\x02\x03\x04");
    put(332, "\x05\x06");
    put(336, "\x31\x32\x33\x34\xB1\xB2\xB3\xB4\x41\x42\x43\x44\xC1\xC2\xC3\xC4");
    put(352, "\x21\x22\x23\x24\xA1\xA2\xA3\xA4");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(&record), sizeof record), expected);
    EXPECT_EQ(ORVEX_FileGetModeFromFS(&record), 384);
    EXPECT_EQ(ORVEX_FileIsDirByMode(&record), 0);
    record.nAttr = 0x40 | 0x80;  // bits already there stay
    state.st_mode = 0x4000 | 0x100;
    ORVEX_FileSetModeToFS(&state, &record);
    EXPECT_EQ(record.nAttr, 0xC1);
    EXPECT_EQ(ORVEX_FileGetModeFromFS(&record), 0x4000 | 256);
    EXPECT_EQ(ORVEX_FileIsDirByMode(&record), 1);
}

TEST(FileState, ByNameAndDescriptor) {
    const TempFolder folder;
    const std::string file = folder.write("a.dat", "12345");
    OXSTAT64 state;
    ASSERT_EQ(ORVEX_FileStatByFileName(file.c_str(), &state), 0);
    EXPECT_EQ(state.st_size, 5);
    EXPECT_EQ(ORVEX_FileLenByFileName(file.c_str()), 5);
    EXPECT_EQ(ORVEX_FileLenByFileNameW(fs::path(file).wstring().c_str()), 5);
    OXFILESTAT record;
    ASSERT_EQ(ORVEX_GetFileStat(file.c_str(), &record), 1);
    EXPECT_EQ(record.nSize[7], 5);
    EXPECT_EQ(record.szName, file);

    const std::string missing = folder / "none";
    EXPECT_EQ(error_of(ORVEX_FileStatByFileName(missing.c_str(), &state)),
              "23 oxfileop " + missing);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_GetFileStat(missing.c_str(), &record), -1);
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    int32_t mode = 0;
    EXPECT_EQ(ORVEX_FileGetMode(missing.c_str(), &mode), -1);
    EXPECT_EQ(mode, -1);

    const int32_t fd = ORVEX_FileOpenByChmod(file.c_str(), 32770);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ORVEX_FileLen(fd), 5);
    EXPECT_EQ(ORVEX_FileStatByFileDes(fd, &state), 0);
    EXPECT_EQ(ORVEX_FileGetModeByFD(fd, &mode) & 384, 384);
    EXPECT_EQ(ORVEX_FileCloseByChmod(fd), 1);
    EXPECT_EQ(ORVEX_FileCloseByChmod(-1), 1);
    EXPECT_EQ(error_of(ORVEX_FileLen(9999)), "10 oxfileop fd=9999");
}

TEST(FileMode, AReadOnlyFileIsOpenedAndLeftWritable) {
    const TempFolder folder;
    const std::string file = folder.write("a.dat", "x");
    EXPECT_EQ(ORVEX_FileChangeMode(file.c_str(), 0, 0x80), 0);
    EXPECT_EQ(ORVEX_FileGetMode(file.c_str(), nullptr) & 0x80, 0);
    const int32_t fd = ORVEX_FileOpenByChmod(file.c_str(), 32770);
    EXPECT_GE(fd, 0);
    ORVEX_FileCloseByChmod(fd);
    EXPECT_EQ(ORVEX_FileGetMode(file.c_str(), nullptr) & 384, 384);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(file.c_str(), &state);
    state.st_mode = static_cast<uint16_t>(state.st_mode & ~0x80);
    EXPECT_EQ(ORVEX_FileChangeModeByStat(file.c_str(), &state), 1);
    EXPECT_EQ(ORVEX_FileGetMode(file.c_str(), nullptr) & 0x80, 0);
    const std::string missing = folder / "none";
    EXPECT_EQ(error_of(ORVEX_FileChangeModeByStat(missing.c_str(), &state)),
              "13 oxfileop " + missing);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_FileChangeMode(missing.c_str(), 384, 0)), 23U);
    EXPECT_EQ(ORVEX_FileChmodByFD(1, 2), 1);
    EXPECT_EQ(ORVEX_FileChangeModeByFD(1, 2, 3), 0);
    EXPECT_EQ(ORVEX_FileChangeModAccessTime(file.c_str(), 1000000000, 1500000000), 0);
    ORVEX_FileStatByFileName(file.c_str(), &state);
    EXPECT_EQ(state.st_mtime, 1500000000);
    EXPECT_EQ(state.st_atime, 1000000000);
}

TEST(FileLock, ExcludesAnotherDescriptorAndKeepsThePosition) {
    const TempFolder folder;
    const std::string file = folder.write("a.dat", "0123456789");
    const int32_t a = ORVEX_FileOpenByChmod(file.c_str(), 32770);
    const int32_t b = ORVEX_FileOpenByChmod(file.c_str(), 32770);
    EXPECT_EQ(ORVEX_FileRecordLock(a, 2, 4, 2), 0);  // the position it keeps
    EXPECT_EQ(ORVEX_FileRecordLock(b, 2, 6, 2), 0);
    EXPECT_EQ(error_of(ORVEX_FileRecordLock(b, 2, 5, 1)),
              "2 oxfileop fd=" + std::to_string(b) + " mode=2 size=1");
    EXPECT_EQ(ORVEX_FileRecordLock(a, 0, 4, 2), 0);
    EXPECT_EQ(ORVEX_FileRecordLock(b, 2, 5, 1), 0);
    EXPECT_EQ(error_of(ORVEX_FileRecordLock(b, 2, -1, 1)),
              "5 oxfileop fd=" + std::to_string(b) + " offset=-1 op=0");
    EXPECT_EQ(error_number_of(ORVEX_FileRecordLock(9999, 2, 0, 1)), 5U);
    EXPECT_EQ(ORVEX_GetErrData()->nDataLen, 4);  // the descriptor's bytes
    ORVEX_FileCloseByChmod(a);
    ORVEX_FileCloseByChmod(b);
    EXPECT_EQ(error_of(ORVEX_FP_FileLock(nullptr, 2, 1)), "50 oxfileop");
    FILE* stream = std::fopen(file.c_str(), "r+b");
    EXPECT_EQ(ORVEX_FP_FileLock(stream, 2, 1), 1);
    EXPECT_EQ(error_of(ORVEX_FP_FileLock(stream, 77, 1)), "2 oxfileop");
    std::fclose(stream);
}

CHILD_ROLE(takes_lock_file) {
    const int32_t fd = ORVEX_LockFile(args.at(0).c_str());
    tell_parent(fd >= 0 ? "got" : error_of_this_thread());
    hear_parent();
    return 0;
}

TEST(FileLock, ALockFileIsOneProcesssAndGoesWithIt) {
    const TempFolder folder;
    const std::string file = folder / "lock";
    ChildProcess first("takes_lock_file", {file});
    EXPECT_EQ(first.read_line(), "got");
    ChildProcess second("takes_lock_file", {file});
    EXPECT_EQ(second.read_line(), "2 oxfileop " + file);
    first.kill();
    first.wait();
    const int32_t fd = ORVEX_LockFile(file.c_str());
    EXPECT_GE(fd, 0);
    ORVEX_FileCloseByChmod(fd);
    const std::string nowhere = folder / "no/lock";
    EXPECT_EQ(error_of(ORVEX_LockFile(nowhere.c_str())), "7 oxfileop " + nowhere);
}

TEST(TempName, TheFirstFreeNumberIsReserved) {
    const TempFolder folder;
    folder.write("otmp0.tmp", "");
    fs::create_directory(folder.path() / "otmp1.tmp");
    char name[512];
    ASSERT_EQ(ORVEX_UTIL_GetTempFileName(folder.str().c_str(), name, nullptr), 1);
    EXPECT_EQ(std::string(name), folder.str() + "\\otmp2.tmp");
    EXPECT_TRUE(fs::exists(folder.path() / "otmp2.tmp"));
    ASSERT_EQ(ORVEX_UTIL_GetTempFileName(folder.str().c_str(), name, "x"), 1);
    EXPECT_EQ(std::string(name), folder.str() + "\\x0.tmp");
    ASSERT_EQ(ORVEX_UTIL_TempFNFromFN((folder.str() + "\\any").c_str(), name, ""), 1);
    EXPECT_EQ(std::string(name), folder.str() + "\\otmp3.tmp");
    ORVEX_Err_ClearError();
    const std::string missing = folder / "none";
    EXPECT_EQ(ORVEX_UTIL_GetTempFileName(missing.c_str(), name, ""), -1);
    EXPECT_EQ(GetRvexErrNo(), 0U);  // reports nothing
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    ASSERT_EQ(ORVEX_UTIL_TempFNFromFN("plain", name, "y"), 1);
    EXPECT_STREQ(name, ".\\y0.tmp");
    fs::current_path(before);
    ASSERT_EQ(ORVEX_TempFileName(folder.str().c_str(), name, "pre"), 1);
    EXPECT_FALSE(fs::exists(name));
    EXPECT_NE(std::string(name).find("pre"), std::string::npos);
}

TEST(DirCreate, MakesWhatIsMissingAndNamesWhatCantBe) {
    const TempFolder folder;
    std::string path = folder.str() + "\\a/b\\c\\";
    const std::string given = path;
    EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), 0), 1);
    EXPECT_EQ(path, given);
    EXPECT_TRUE(fs::is_directory(folder.path() / "a" / "b" / "c"));
    EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), 384), 1);
    const std::string file = folder.write("file", "");
    std::string blocked = file + "\\x\\y";
    EXPECT_EQ(ORVEX_DirCreateRecur(blocked.data(), 0), -1);
    EXPECT_EQ(blocked, file + "\\x\\y");
    EXPECT_EQ(error_of_this_thread(), "1 oxfileop " + file + "\\x");
    char empty[] = "";
    EXPECT_EQ(error_of(ORVEX_DirCreateRecur(empty, 0)), "50 oxfileop path name is empty");
    EXPECT_EQ(ORVEX_DirCreateRecur(nullptr, 0), -1);
    EXPECT_EQ(ORVEX_CreatePathByFileName((folder.str() + "\\d\\e\\f.txt").c_str()), 1);
    EXPECT_TRUE(fs::is_directory(folder.path() / "d" / "e"));
    EXPECT_EQ(ORVEX_CreatePathByFileName("plain"), 1);
}

TEST(DirCreate, ManyAtOnceAllSucceed) {
    const TempFolder folder;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&folder] {
            for (int k = 0; k < 30; ++k) {
                std::string path = folder.str() + "\\t" + std::to_string(k) + "\\u\\v\\w";
                EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), 0), 1);
            }
            MOLTE_THDATA_FreeData();
        });
    }
    for (auto& thread : threads) thread.join();
}

TEST(ExchangeName, SwapsOrLeavesBoth) {
    const TempFolder folder;
    const std::string a = folder.write("a", "was a");
    const std::string b = folder.write("b", "was b");
    EXPECT_EQ(ORVEX_FileExchangeName(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(read_bytes(a), "was b");
    EXPECT_EQ(read_bytes(b), "was a");
    const std::string missing = folder / "c";
    EXPECT_EQ(error_of(ORVEX_FileExchangeName(a.c_str(), missing.c_str())), "14 oxfileop " + a);
    EXPECT_EQ(read_bytes(a), "was b");
    EXPECT_EQ(ORVEX_FileExchangeName(missing.c_str(), a.c_str()), -1);
    EXPECT_EQ(read_bytes(a), "was b");
    folder.write("a.dhX", "in the way");
    EXPECT_EQ(ORVEX_FileExchangeName(a.c_str(), b.c_str()), -1);
    EXPECT_EQ(read_bytes(a), "was b");
    EXPECT_EQ(read_bytes(folder.path() / "a.dhX"), "in the way");
}

TEST(OpenCreate, MakesOnceThenOpens) {
    const TempFolder folder;
    const std::string file = folder / "new";
    const int32_t fd = ORVEX_FileOpenCreate(file.c_str(), "head", 4, 32770);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(ORVEX_FileLen(fd), 4);
    ORVEX_FileCloseByChmod(fd);
    EXPECT_EQ(error_of(ORVEX_FileExclCreate(file.c_str(), "other", 5, 384)), "1 oxfileop " + file);
    EXPECT_EQ(read_bytes(file), "head");
    const std::wstring wide = fs::path(folder / "wide").wstring();
    EXPECT_EQ(ORVEX_FileExclCreateW(wide.c_str(), nullptr, 9, 384), 1);
    EXPECT_EQ(fs::file_size(folder.path() / "wide"), 0U);
    EXPECT_EQ(ORVEX_FileExclCreateW(wide.c_str(), nullptr, 0, 384), -1);
    EXPECT_EQ(ORVEX_GetErrData()->nDataLen, std::min<size_t>(144, wide.size() * sizeof(wchar_t)));
    EXPECT_EQ(ORVEX_NewEmptyFile(file.c_str()), 1);
    EXPECT_EQ(fs::file_size(file), 0U);
    EXPECT_EQ(error_number_of(ORVEX_NewEmptyFile((folder / "no/file").c_str())), 1U);
    const std::string nowhere = folder / "no/where";
    EXPECT_EQ(error_of(ORVEX_FileOpenCreate(nowhere.c_str(), "x", 1, 32770)),
              "1 oxfileop " + nowhere);
    ORVEX_Err_ClearError();
    EXPECT_LT(ORVEX_FileOpenByChmod(nowhere.c_str(), 32770), 0);
    EXPECT_EQ(GetRvexErrNo(), 23U);  // of the change of mode
}

TEST(OpenCreate, ADeniedFileIsTriedTwice) {
    const TempFolder folder;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LT(ORVEX_FileOpenByChmod(folder.str().c_str(), 32770), 0);  // a folder denies access
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, std::chrono::milliseconds(1900));
    EXPECT_LT(passed, std::chrono::seconds(6));
    EXPECT_EQ(errno, EACCES);
}

TEST(ChangeSize, GrowsWithZerosCutsAndFails) {
    const TempFolder folder;
    const std::string file = folder.write("a", "abc");
    EXPECT_EQ(ORVEX_FileChangeSizeByFN(file.c_str(), 20000), 1);
    EXPECT_EQ(read_bytes(file), "abc" + std::string(19997, '\0'));
    EXPECT_EQ(ORVEX_FileChangeSizeByFN(file.c_str(), 2), 1);
    EXPECT_EQ(read_bytes(file), "ab");
    g_stBv.bFastExpandFile = 1;
    EXPECT_EQ(ORVEX_FileChangeSizeByFN(file.c_str(), 5), 1);
    EXPECT_EQ(read_bytes(file), std::string("ab\0\0\0", 5));
    g_stBv.bFastExpandFile = 0;
    EXPECT_EQ(error_number_of(ORVEX_FileChangeSizeByFN((folder / "none").c_str(), 5)), 1U);
    const int32_t fd = ORVEX_FileOpenByChmod(file.c_str(), 32768);
    EXPECT_EQ(ORVEX_UTIL_FileExpand(fd, 5), 1);  // as it is: nothing to do
    EXPECT_EQ(error_number_of(ORVEX_UTIL_FileExpand(fd, 9)), 4U);
    EXPECT_EQ(error_of(ORVEX_UTIL_FileExpand(fd, 1)),
              "15 oxfileop fd=" + std::to_string(fd) + " newsize=1");
    EXPECT_EQ(error_of(ORVEX_UTIL_ChSizeByFD(fd, -1)),
              "5 oxfileop fd=" + std::to_string(fd) + " offset=-1 op=0");
    ORVEX_FileCloseByChmod(fd);
}

}  // namespace
