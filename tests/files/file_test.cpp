#include "support/scenes.h"

namespace {

class Files : public InFolder {
 protected:
    const std::string file_ = folder_.write("a.dat", "0123456789");
    const std::string none_ = folder_ / "none";
    const std::string nowhere_ = folder_ / "no/where";
};

struct Descriptor : Pinned {
    int32_t fd;
    explicit Descriptor(const std::string& name, int32_t flags = 32770)
        : fd(ORVEX_FileOpenByChmod(name.c_str(), flags)) {}
    ~Descriptor() { EXPECT_EQ(ORVEX_FileCloseByChmod(fd), 1); }
    [[nodiscard]] std::string str() const { return "fd=" + std::to_string(fd); }
};

[[maybe_unused]] const bool plays = play_scenes<Files>(
    "Files", TEST_ROWS,
    {{"length", step_of<ORVEX_FileLenByFileName>},
     {"length_wide", step_of<ORVEX_FileLenByFileNameW>},
     {"length_by_descriptor",
      step_of<[](Text name) { return ORVEX_FileLen(Descriptor(name).fd); }>},
     {"open", step_of<[](Text name) { return Descriptor(name).fd < 0 ? -1 : 1; }>},
     {"open_or_make", step_of<[](Text name, Text data, int32_t size) {
          const int32_t fd = ORVEX_FileOpenCreate(name, data, size, ORVEX_OPEN_UPDATE);
          const int64_t length = fd < 0 ? fd : ORVEX_FileLen(fd);
          ORVEX_FileCloseByChmod(fd);
          return length;
      }>},
     {"make", step_of<ORVEX_FileExclCreate>},
     {"make_wide", step_of<ORVEX_FileExclCreateW>},
     {"make_empty", step_of<ORVEX_NewEmptyFile>},
     {"mode", step_of<ORVEX_FileGetMode>},
     {"owner_mode",
      step_of<[](Text name) { return ORVEX_FileGetMode(name, nullptr) & ORVEX_MODE_OWNER; }>},
     {"owner_mode_by_descriptor", step_of<[](Text name) {
          return ORVEX_FileGetModeByFD(Descriptor(name, ORVEX_OPEN_READ).fd, nullptr) &
                 ORVEX_MODE_OWNER;
      }>},
     {"change_mode", step_of<ORVEX_FileChangeMode>},
     {"set_mode", step_of<[](Text name, uint16_t mode) {
          OXSTAT64 state{};
          state.st_mode = mode;
          return ORVEX_FileChangeModeByStat(name, &state);
      }>},
     {"exchange", step_of<ORVEX_FileExchangeName>},
     {"make_folders", step_of<ORVEX_DirCreateRecur>},
     {"make_folders_of", step_of<ORVEX_CreatePathByFileName>},
     {"enter", step_of<ORVEX_ChDir>},
     {"reserve_in", step_of<ORVEX_UTIL_GetTempFileName>},
     {"reserve_beside", step_of<ORVEX_UTIL_TempFNFromFN>},
     {"quickly", step_of<[](int32_t flag) { return g_stBv.bFastExpandFile = flag; }>},
     {"resize", step_of<ORVEX_FileChangeSizeByFN>},
     {"zeros", step_of<[](Text name, int32_t from) {
          const std::string bytes = read_bytes(name);
          return std::count(bytes.begin() + from, bytes.end(), '\0');
      }>},
     {"resize_read_only", step_of<[](Text name, int64_t size) {
          return ORVEX_UTIL_FileExpand(Descriptor(name, ORVEX_OPEN_READ).fd, size);
      }>},
     {"cut_read_only", step_of<[](Text name, int64_t size) {
          return ORVEX_UTIL_ChSizeByFD(Descriptor(name, ORVEX_OPEN_READ).fd, size);
      }>}});

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

TEST_F(Files, TellWhatNoTextCan) {
    OXFILESTAT record;
    ASSERT_EQ(ORVEX_GetFileStat(file_.c_str(), &record), 1);
    EXPECT_EQ(record.nSize[7], 10);
    EXPECT_EQ(record.szName, file_);
    EXPECT_EQ(error_of(ORVEX_GetFileStat(none_.c_str(), &record)), "23 oxfileop " + none_);
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    EXPECT_EQ(ORVEX_FileChangeModAccessTime(file_.c_str(), 1000000000, 1500000000), 0);
    OXSTAT64 state;
    ASSERT_EQ(ORVEX_FileStatByFileName(file_.c_str(), &state), 0);
    EXPECT_EQ(state.st_mtime, 1500000000);
    EXPECT_EQ(state.st_atime, 1000000000);
    const Descriptor open(file_);
    ASSERT_EQ(ORVEX_FileStatByFileDes(open.fd, &state), 0);
    EXPECT_EQ(state.st_size, 10);
    EXPECT_EQ(ORVEX_FileChmodByFD(1, 2) - ORVEX_FileChangeModeByFD(1, 2, 3), 1);
    EXPECT_EQ(error_of(ORVEX_FileLen(9999)), "10 oxfileop fd=9999");

    char name[512];
    ASSERT_EQ(ORVEX_TempFileName(folder_.str().c_str(), name, "pre"), 1);
    EXPECT_FALSE(fs::exists(name));
    EXPECT_NE(std::string(name).find("pre"), std::string::npos);

    const std::wstring wide = fs::path(file_).wstring();
    EXPECT_EQ(ORVEX_FileExclCreateW(wide.c_str(), nullptr, 0, 384), -1);
    EXPECT_EQ(ORVEX_GetErrData()->nDataLen, std::min<size_t>(144, wide.size() * sizeof(wchar_t)));
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

TEST_F(Files, ManyMakeTheSameFoldersAtOnce) {
    in_threads(8, [this](int) {
        for (int k = 0; k < 30; ++k) {
            std::string path = folder_.str() + "\\t" + std::to_string(k) + "\\u\\v\\w";
            EXPECT_EQ(ORVEX_DirCreateRecur(path.data(), 0), 1);
        }
    });
}

TEST_F(Files, ADeniedFileIsTriedTwice) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LT(ORVEX_FileOpenByChmod(folder_.str().c_str(), 32770), 0);  // a folder denies access
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed, std::chrono::milliseconds(1900));
    EXPECT_LT(passed, std::chrono::seconds(6));
    EXPECT_EQ(errno, EACCES);
}

}  // namespace
