#include "support/test.h"

namespace {

class Files : public testing::Test {
 protected:
    TempFolder folder_;
    const std::string file_ = folder_.write("a.dat", "0123456789");
    const std::string none_ = folder_ / "none";
    const std::string nowhere_ = folder_ / "no/where";
};

struct Descriptor {
    int32_t fd;
    explicit Descriptor(const std::string& name, int32_t flags = 32770)
        : fd(ORVEX_FileOpenByChmod(name.c_str(), flags)) {}
    ~Descriptor() { EXPECT_EQ(ORVEX_FileCloseByChmod(fd), 1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] std::string str() const { return "fd=" + std::to_string(fd); }
};

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
    OXFILESTAT record{};
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
    EXPECT_EQ(bytes_of(record), expected);
    EXPECT_EQ(ORVEX_FileGetModeFromFS(&record), 384);
    EXPECT_EQ(ORVEX_FileIsDirByMode(&record), 0);
    record.nAttr = 0x40 | 0x80;  // bits already there stay
    state.st_mode = 0x4000 | 0x100;
    ORVEX_FileSetModeToFS(&state, &record);
    EXPECT_EQ(record.nAttr, 0xC1);
    EXPECT_EQ(ORVEX_FileGetModeFromFS(&record), 0x4000 | 256);
    EXPECT_EQ(ORVEX_FileIsDirByMode(&record), 1);
}

TEST_F(Files, StateByNameAndDescriptor) {
    OXSTAT64 state;
    ASSERT_EQ(ORVEX_FileStatByFileName(file_.c_str(), &state), 0);
    EXPECT_EQ(state.st_size, 10);
    EXPECT_EQ(ORVEX_FileLenByFileName(file_.c_str()), 10);
    EXPECT_EQ(ORVEX_FileLenByFileNameW(fs::path(file_).wstring().c_str()), 10);
    OXFILESTAT record;
    ASSERT_EQ(ORVEX_GetFileStat(file_.c_str(), &record), 1);
    EXPECT_EQ(record.nSize[7], 10);
    EXPECT_EQ(record.szName, file_);
    const Descriptor open(file_);
    int32_t mode = 0;
    EXPECT_EQ(ORVEX_FileLen(open.fd), 10);
    EXPECT_EQ(ORVEX_FileStatByFileDes(open.fd, &state), 0);
    EXPECT_EQ(ORVEX_FileGetModeByFD(open.fd, &mode) & 384, 384);

    EXPECT_EQ(error_of(ORVEX_FileLen(9999)), "10 oxfileop fd=9999");
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_of(ORVEX_GetFileStat(none_.c_str(), &record)), "23 oxfileop " + none_);
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    EXPECT_EQ(ORVEX_FileGetMode(none_.c_str(), &mode), -1);
    EXPECT_EQ(mode, -1);
    EXPECT_EQ(ORVEX_FileCloseByChmod(-1), 1);
}

TEST_F(Files, AReadOnlyFileIsOpenedAndLeftWritable) {
    const auto mode = [&] { return ORVEX_FileGetMode(file_.c_str(), nullptr); };
    EXPECT_EQ(ORVEX_FileChangeMode(file_.c_str(), 0, 0x80), 0);
    EXPECT_EQ(mode() & 0x80, 0);
    EXPECT_GE(Descriptor(file_).fd, 0);
    EXPECT_EQ(mode() & 384, 384);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(file_.c_str(), &state);
    state.st_mode = static_cast<uint16_t>(state.st_mode & ~0x80);
    EXPECT_EQ(ORVEX_FileChangeModeByStat(file_.c_str(), &state), 1);
    EXPECT_EQ(mode() & 0x80, 0);
    EXPECT_EQ(error_of(ORVEX_FileChangeModeByStat(none_.c_str(), &state)), "13 oxfileop " + none_);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_FileChangeMode(none_.c_str(), 384, 0)), 23U);
    EXPECT_EQ(ORVEX_FileChmodByFD(1, 2) - ORVEX_FileChangeModeByFD(1, 2, 3), 1);
    EXPECT_EQ(ORVEX_FileChangeModAccessTime(file_.c_str(), 1000000000, 1500000000), 0);
    ORVEX_FileStatByFileName(file_.c_str(), &state);
    EXPECT_EQ(state.st_mtime, 1500000000);
    EXPECT_EQ(state.st_atime, 1000000000);
}

TEST_F(Files, ALockExcludesAnotherDescriptorAndKeepsThePosition) {
    const Descriptor a(file_);
    const Descriptor b(file_);
    EXPECT_EQ(ORVEX_FileRecordLock(a.fd, 2, 4, 2), 0);  // the position it keeps
    EXPECT_EQ(ORVEX_FileRecordLock(b.fd, 2, 6, 2), 0);
    EXPECT_EQ(error_of(ORVEX_FileRecordLock(b.fd, 2, 5, 1)),
              "2 oxfileop " + b.str() + " mode=2 size=1");
    EXPECT_EQ(ORVEX_FileRecordLock(a.fd, 0, 4, 2), 0);
    EXPECT_EQ(ORVEX_FileRecordLock(b.fd, 2, 5, 1), 0);
    errno = ENOENT;  // of something else
    EXPECT_EQ(error_of(ORVEX_FileRecordLock(b.fd, 2, -1, 1)),
              "5 oxfileop " + b.str() + " offset=-1 op=0");
    EXPECT_EQ(ORVEX_GetErrData()->nSysErrNo[3], EINVAL);
    EXPECT_EQ(error_number_of(ORVEX_FileRecordLock(9999, 2, 0, 1)), 5U);
    EXPECT_EQ(ORVEX_GetErrData()->nDataLen, 4);  // the descriptor's bytes
    EXPECT_EQ(error_of(ORVEX_FP_FileLock(nullptr, 2, 1)), "50 oxfileop");
    FILE* stream = std::fopen(file_.c_str(), "r+b");
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

TEST_F(Files, ALockFileIsOneProcesssAndGoesWithIt) {
    const std::string lock = folder_ / "lock";
    ChildProcess first("takes_lock_file", {lock});
    EXPECT_EQ(first.read_line(), "got");
    ChildProcess second("takes_lock_file", {lock});
    EXPECT_EQ(second.read_line(), "2 oxfileop " + lock);
    first.kill();
    first.wait();
    const int32_t fd = ORVEX_LockFile(lock.c_str());
    EXPECT_GE(fd, 0);
    ORVEX_FileCloseByChmod(fd);
    EXPECT_EQ(error_of(ORVEX_LockFile(nowhere_.c_str())), "7 oxfileop " + nowhere_);
}

TEST_F(Files, TheFirstFreeTemporaryNameIsReserved) {
    folder_.write("otmp0.tmp", "");
    fs::create_directory(folder_.path() / "otmp1.tmp");
    const std::string folder = folder_.str();
    const std::string beside = folder + "\\any";
    const fs::path before = fs::current_path();
    fs::current_path(folder_.path());
    char name[512];
    const tuple<decltype(ORVEX_UTIL_GetTempFileName)*, std::string, Text, std::string> rows[] = {
        {ORVEX_UTIL_GetTempFileName, folder, nullptr, folder + "\\otmp2.tmp"},
        {ORVEX_UTIL_GetTempFileName, folder, "x", folder + "\\x0.tmp"},
        {ORVEX_UTIL_TempFNFromFN, beside, "", folder + "\\otmp3.tmp"},
        {ORVEX_UTIL_TempFNFromFN, "plain", "y", ".\\y0.tmp"}};
    for (const auto& [reserve, given, prefix, expected] : rows) {
        ASSERT_EQ(reserve(given.c_str(), name, prefix), 1);
        EXPECT_EQ(name, expected);
    }
    fs::current_path(before);
    EXPECT_EQ(names_in(folder), (Texts{"a.dat", "otmp0.tmp", "otmp1.tmp", "otmp2.tmp", "otmp3.tmp",
                                       "x0.tmp", "y0.tmp"}));
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_UTIL_GetTempFileName(none_.c_str(), name, ""), -1);
    EXPECT_EQ(GetRvexErrNo(), 0U);  // reports nothing
    ASSERT_EQ(ORVEX_TempFileName(folder.c_str(), name, "pre"), 1);
    EXPECT_FALSE(fs::exists(name));
    EXPECT_NE(std::string(name).find("pre"), std::string::npos);
}

TEST_F(Files, FoldersThatAreMissingAreMade) {
    const std::string given = folder_.str() + "\\a/b\\c\\";
    std::string path = given;
    for (const int32_t unused : {0, 384}) EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), unused), 1);
    EXPECT_EQ(path, given);
    EXPECT_TRUE(fs::is_directory(folder_.path() / "a" / "b" / "c"));
    path = file_ + "\\x\\y";
    EXPECT_EQ(error_of(ORVEX_DirCreateRecur(path.data(), 0)), "1 oxfileop " + file_ + "\\x");
    EXPECT_EQ(path, file_ + "\\x\\y");
    char empty[] = "";
    EXPECT_EQ(error_of(ORVEX_DirCreateRecur(empty, 0)), "50 oxfileop path name is empty");
    EXPECT_EQ(ORVEX_DirCreateRecur(nullptr, 0), -1);
    EXPECT_EQ(ORVEX_CreatePathByFileName((folder_.str() + "\\d\\e\\f.txt").c_str()), 1);
    EXPECT_TRUE(fs::is_directory(folder_.path() / "d" / "e"));
    EXPECT_EQ(ORVEX_CreatePathByFileName("plain"), 1);
}

TEST_F(Files, ManyMakeTheSameFoldersAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this] {
            for (int k = 0; k < 30; ++k) {
                std::string path = folder_.str() + "\\t" + std::to_string(k) + "\\u\\v\\w";
                EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), 0), 1);
            }
            MOLTE_THDATA_FreeData();
        });
    }
    for (auto& thread : threads) thread.join();
}

TEST_F(Files, NamesAreExchangedOrBothStay) {
    const std::string a = folder_.write("a", "was a");
    const std::string b = folder_.write("b", "was b");
    EXPECT_EQ(ORVEX_FileExchangeName(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(read_bytes(a) + read_bytes(b), "was bwas a");
    EXPECT_EQ(error_of(ORVEX_FileExchangeName(a.c_str(), none_.c_str())), "14 oxfileop " + a);
    EXPECT_EQ(ORVEX_FileExchangeName(none_.c_str(), a.c_str()), -1);
    const std::string between = folder_.write("a.dhX", "in the way");
    EXPECT_EQ(ORVEX_FileExchangeName(a.c_str(), b.c_str()), -1);
    EXPECT_EQ(read_bytes(a) + read_bytes(b) + read_bytes(between), "was bwas ain the way");
}

TEST_F(Files, AreMadeOnceThenOpened) {
    const int32_t fd = ORVEX_FileOpenCreate(none_.c_str(), "head", 4, 32770);
    EXPECT_EQ(ORVEX_FileLen(fd), 4);
    ORVEX_FileCloseByChmod(fd);
    EXPECT_EQ(error_of(ORVEX_FileExclCreate(none_.c_str(), "other", 5, 384)),
              "1 oxfileop " + none_);
    EXPECT_EQ(read_bytes(none_), "head");
    const std::wstring wide = fs::path(folder_ / "wide").wstring();
    EXPECT_EQ(ORVEX_FileExclCreateW(wide.c_str(), nullptr, 9, 384), 1);
    EXPECT_EQ(fs::file_size(folder_.path() / "wide"), 0U);
    EXPECT_EQ(ORVEX_FileExclCreateW(wide.c_str(), nullptr, 0, 384), -1);
    EXPECT_EQ(ORVEX_GetErrData()->nDataLen, std::min<size_t>(144, wide.size() * sizeof(wchar_t)));
    EXPECT_EQ(ORVEX_NewEmptyFile(none_.c_str()), 1);
    EXPECT_EQ(fs::file_size(none_), 0U);
    EXPECT_EQ(error_number_of(ORVEX_NewEmptyFile(nowhere_.c_str())), 1U);
    EXPECT_EQ(error_of(ORVEX_FileOpenCreate(nowhere_.c_str(), "x", 1, 32770)),
              "1 oxfileop " + nowhere_);
    ORVEX_Err_ClearError();
    EXPECT_LT(ORVEX_FileOpenByChmod(nowhere_.c_str(), 32770), 0);
    EXPECT_EQ(GetRvexErrNo(), 23U);  // of the change of mode
}

TEST_F(Files, ADeniedFileIsTriedTwice) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LT(ORVEX_FileOpenByChmod(folder_.str().c_str(), 32770), 0);  // a folder denies access
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, std::chrono::milliseconds(1900));
    EXPECT_LT(passed, std::chrono::seconds(6));
    EXPECT_EQ(errno, EACCES);
}

TEST_F(Files, SizeGrowsWithZerosAndIsCut) {
    for (const auto& [fast, size] : {tuple(0, 20000U), {0, 2U}, {1, 5U}}) {
        std::string expected = read_bytes(file_);
        expected.resize(size);
        g_stBv.bFastExpandFile = fast;
        EXPECT_EQ(ORVEX_FileChangeSizeByFN(file_.c_str(), size), 1);
        EXPECT_EQ(read_bytes(file_), expected);
    }
    g_stBv.bFastExpandFile = 0;
    EXPECT_EQ(error_number_of(ORVEX_FileChangeSizeByFN(none_.c_str(), 5)), 1U);
    const Descriptor reading(file_, 32768);
    EXPECT_EQ(ORVEX_UTIL_FileExpand(reading.fd, 5), 1);  // as it is: nothing to do
    EXPECT_EQ(error_number_of(ORVEX_UTIL_FileExpand(reading.fd, 9)), 4U);
    EXPECT_EQ(error_of(ORVEX_UTIL_FileExpand(reading.fd, 1)),
              "15 oxfileop " + reading.str() + " newsize=1");
    EXPECT_EQ(error_of(ORVEX_UTIL_ChSizeByFD(reading.fd, -1)),
              "5 oxfileop " + reading.str() + " offset=-1 op=0");
}

}  // namespace
