#include "support/scenes.h"

#if !defined(_WIN32)

// Stands before the C library's; can be made to fail once.
static bool looking_fails = false;
extern "C" [[gnu::visibility("default")]] int faccessat(int folder, const char* name, int mode,
                                                        int flags) noexcept {
    if (!std::exchange(looking_fails, false)) {
        auto* next = dlsym(RTLD_NEXT, "faccessat");
        return reinterpret_cast<decltype(&faccessat)>(next)(folder, name, mode, flags);
    }
    errno = ENOMEM;
    return -1;
}
#endif

namespace {

struct Handle : Pinned {
    ORVEX_HFILE* file;
    explicit Handle(const std::string& name, int32_t flags = 0)
        : file(ORVEX_HFILE_Open(name.c_str(), flags)) {}
    ~Handle() { ORVEX_HFILE_Close(&file); }
    operator ORVEX_HFILE*() const { return file; }  // NOLINT: for the calls under test
};

class FileHandle : public InFolder {
 protected:
    Installation installation_;
    const std::string file_ = folder_.write("a", "0123456789");
    const std::string none_ = folder_ / "none";
};

[[maybe_unused]] const bool plays = play_scenes<FileHandle>(
    "FileHandle", TEST_ROWS,
    {{"size", step_of<ORVEX_HFILE_Size>},
     {"resize", step_of<ORVEX_HFILE_ChangeSize>},
     {"set_size", step_of<ORVEX_HFILE_UTIL_ChangeSize>},
     {"quickly", step_of<[](int32_t flag) { return g_stBv.bFastExpandFile = flag; }>},
     {"load", step_of<[](Text name, int64_t offset, int64_t length) {
          uint8_t* buffer = nullptr;
          const int64_t count = ORVEX_HFILE_Load(name, &buffer, offset, length);
          if (buffer == nullptr) return outcome(count);
          const std::string bytes(reinterpret_cast<char*>(buffer), static_cast<size_t>(count));
          ORVEX_free(buffer);
          return outcome(count) + " " + bytes;
      }>},
     {"add", step_of<ORVEX_HFILE_AddUpdate>},
     {"copy", step_of<ORVEX_HFILE_Copy>},
     {"move", step_of<ORVEX_HFILE_Move>},
     {"duplicate", step_of<ORVEX_HFILE_Dup>},
     {"duplicate_file", step_of<ORVEX_HFILE_DupFile>},
     {"link", make_link}});

TEST_F(FileHandle, OpensByItsRules) {
    ORVEX_FileChangeMode(file_.c_str(), 0, 0x80);
    ORVEX_HFILE* handle = ORVEX_HFILE_Open(file_.c_str(), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->szFileName, file_);
    EXPECT_EQ(ORVEX_HFILE_Size(handle), 10);
    for (uint8_t byte : handle->abyReserved) ASSERT_EQ(byte, 0);
    EXPECT_EQ(ORVEX_HFILE_Close(&handle), 1);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ORVEX_HFILE_Close(&handle) + ORVEX_HFILE_Close(nullptr), 0);
    EXPECT_EQ(ORVEX_HFILE_ChangeMode(file_.c_str(), 256), 0);
    EXPECT_EQ(ORVEX_FileGetMode(file_.c_str(), nullptr) & 0x80, 0);

    EXPECT_EQ(error_of(ORVEX_HFILE_Open(none_.c_str(), 0)), "1 ofilehop " + none_);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_of(ORVEX_HFILE_OpenMode(none_.c_str(), 32770, 384)), "7 ofilehop " + none_);
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Open(std::string(256, 'n').c_str(), 0)), 124U);

    for (auto* made : {ORVEX_HFILE_CreateOpen((folder_ / "c").c_str(), 32770, 384),
                       ORVEX_HFILE_Create((folder_ / "d").c_str(), 0),
                       ORVEX_HFILE_NewBinaryFile((folder_ / "e").c_str())}) {
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(ORVEX_HFILE_Write(made, "x", 1), 1);
        ORVEX_HFILE_Close(&made);
    }
}

TEST_F(FileHandle, LongNamesOpenWithAMode) {
    // A path of over 255 characters, in components that file systems take.
    std::string deep = folder_.str() + "\\" + std::string(120, 'p');
    ASSERT_EQ(ORVEX_DirCreateRecur(deep.data(), 0), 1);
    std::string name = deep + "\\" + std::string(100, 'q');
    if (name.size() < 256) name += std::string(256 - name.size(), 'q');
    ORVEX_HFILE* handle = ORVEX_HFILE_OpenMode(name.c_str(), 33538, 384);
#if defined(_WIN32)
    if (handle == nullptr) GTEST_SKIP() << "names end at 259 characters here";
#endif
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(std::string(handle->szFileName), name.substr(0, 255));
    ORVEX_HFILE_Close(&handle);
}

TEST_F(FileHandle, PositionsAndLocks) {
    const Handle handle(file_);
    const tuple<int64_t, int32_t, int64_t> moves[] = {{4, 0, 4}, {2, 1, 6}, {0, 2, 10}};
    for (const auto& [offset, from, position] : moves) {
        EXPECT_EQ(ORVEX_HFILE_Seek(handle, offset, from), position);
        EXPECT_EQ(ORVEX_HFILE_CurrentPos(handle), position);
    }
    EXPECT_EQ(error_of(ORVEX_HFILE_Seek(handle, -1, 0)), "5 ofilehop N-1 R=-1 FN=" + file_ + "\n");
    EXPECT_EQ(ORVEX_HFILE_Seek(nullptr, 0, 0) + ORVEX_HFILE_CurrentPos(nullptr), -2);
    EXPECT_EQ(ORVEX_HFILE_Lock(nullptr, 0, 1) + ORVEX_HFILE_Unlock(nullptr, 0, 1), -2);
    const Handle other(file_);
    EXPECT_NE(ORVEX_HFILE_Lock(handle, 2, 3), -1);
    EXPECT_EQ(ORVEX_FileRecordLock(other.file->fd, 2, 4, 1), -1);
    EXPECT_NE(ORVEX_HFILE_Unlock(handle, 2, 3), -1);
    EXPECT_NE(ORVEX_FileRecordLock(other.file->fd, 2, 4, 1), -1);
    EXPECT_EQ(ORVEX_HFILE_Commit(handle), 1);
}

TEST_F(FileHandle, TransfersAreCountedFailuresLogged) {
    const Handle handle(file_);
    const MOLTE_BASEVAR before = g_stBv;
    char buffer[64];
    EXPECT_EQ(ORVEX_HFILE_ReadS(handle, buffer, 2, 8), 8);
    EXPECT_EQ(ORVEX_HFILE_WriteS(handle, "abc", 9, 3), 3);
    EXPECT_EQ(installation_.log(), "");
    EXPECT_EQ(ORVEX_HFILE_ReadS(handle, buffer, 10, 8), 2);  // short: its count
    EXPECT_EQ(error_of_this_thread(), "3 ofilehop " + file_);
    EXPECT_EQ(g_stBv.n64ReadCount - before.n64ReadCount, 1);
    EXPECT_EQ(g_stBv.n64ReadByteCount - before.n64ReadByteCount, 8);
    EXPECT_EQ(g_stBv.n64WriteCount - before.n64WriteCount, 1);
    EXPECT_EQ(g_stBv.n64WriteByteCount - before.n64WriteByteCount, 3);
    EXPECT_GE(g_stBv.n64ReadTimeUsed, before.n64ReadTimeUsed);
    const Handle read_only(file_, 32768);
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Write(read_only, "x", 1)), 4U);
    const std::string log = installation_.log();
    for (const std::string& logged :
         {"read data error. FileName=" + file_ + ". pdata=", " ret=2 Len=8 pos=12 filelen=12\n"s,
          "RVEX errno=3 : "s, " ret=-1 len=1 pos=0\n"s}) {
        EXPECT_NE(log.find(logged), std::string::npos) << logged << log;
    }
}

#if !defined(_WIN32)
TEST_F(FileHandle, AddUpdateEmptiesNoFileThatItCannotLookAt) {
    looking_fails = true;
    EXPECT_EQ(ORVEX_HFILE_AddUpdate(file_.c_str(), "Z", 0, 1), 1);
    EXPECT_EQ(read_bytes(file_), "Z123456789");
}
#endif

TEST_F(FileHandle, MovesAgreeWithMemmove) {
    std::string content(40, 'A');
    for (size_t i = 0; i < 40; ++i) content[i] = static_cast<char>('A' + i);
    for (const size_t target : {0U, 1U, 5U, 9U, 20U, 39U, 45U}) {
        for (const size_t source : {0U, 1U, 6U, 19U, 39U}) {
            for (const int length : {0, 1, 7, 25, 100}) {
                const Handle handle(folder_.write("m", content));
                char buffer[4];
                EXPECT_EQ(ORVEX_HFILE_Move(handle, int64_t(target), int64_t(source), length, 0,
                                           buffer, 4),
                          target == source ? 0 : 1);
                const size_t wanted = length == 0 ? 40 : static_cast<size_t>(length);
                const std::string part = content.substr(source, wanted);
                std::string model = content;
                model.resize(std::max(model.size(), target + part.size()));
                model.replace(target, part.size(), part);
                EXPECT_EQ(read_bytes(handle.file->szFileName), target == source ? content : model)
                    << target << ' ' << source << ' ' << length;
            }
        }
    }
}

TEST_F(FileHandle, AMoveThatFailsGivesTheLengthBack) {
    ORVEX_HFILE* write_only = ORVEX_HFILE_OpenMode(file_.c_str(), 32769, 384);
    EXPECT_EQ(ORVEX_HFILE_Move(write_only, 8, 0, 10, 0, nullptr, 0), -1);
    ORVEX_HFILE_Close(&write_only);
    EXPECT_EQ(read_bytes(file_), "0123456789");
}

}  // namespace
