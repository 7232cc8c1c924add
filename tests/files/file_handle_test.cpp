#include "support/test.h"

namespace {

struct Handle {
    ORVEX_HFILE* file;
    explicit Handle(const std::string& name) : file(ORVEX_HFILE_Open(name.c_str(), 0)) {}
    ~Handle() { ORVEX_HFILE_Close(&file); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
};

class FileHandle : public testing::Test {
 protected:
    Installation installation_;
    TempFolder folder_;
};

TEST_F(FileHandle, OpensByItsRules) {
    const std::string file = folder_.write("a", "abc");
    ORVEX_FileChangeMode(file.c_str(), 0, 0x80);
    ORVEX_HFILE* handle = ORVEX_HFILE_Open(file.c_str(), 0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->szFileName, file);
    EXPECT_EQ(ORVEX_HFILE_Size(handle), 3);
    for (uint8_t byte : handle->abyReserved) ASSERT_EQ(byte, 0);
    EXPECT_EQ(ORVEX_HFILE_Close(&handle), 1);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ORVEX_HFILE_Close(&handle), 0);
    EXPECT_EQ(ORVEX_HFILE_Close(nullptr), 0);

    EXPECT_EQ(error_of(ORVEX_HFILE_Open((folder_ / "none").c_str(), 0)),
              "1 ofilehop " + (folder_ / "none"));
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_of(ORVEX_HFILE_OpenMode((folder_ / "none").c_str(), 32770, 384)),
              "7 ofilehop " + (folder_ / "none"));
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Open(std::string(256, 'n').c_str(), 0)), 124U);

    for (auto* made : {ORVEX_HFILE_CreateOpen((folder_ / "c").c_str(), 32770, 384),
                       ORVEX_HFILE_Create((folder_ / "d").c_str(), 0),
                       ORVEX_HFILE_NewBinaryFile((folder_ / "e").c_str())}) {
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(ORVEX_HFILE_Write(made, "x", 1), 1);
        ORVEX_HFILE_Close(&made);
    }
    EXPECT_EQ(ORVEX_HFILE_ChangeMode(file.c_str(), 256), 0);
    EXPECT_EQ(ORVEX_FileGetMode(file.c_str(), nullptr) & 0x80, 0);
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
    const Handle handle(folder_.write("a", "0123456789"));
    EXPECT_EQ(ORVEX_HFILE_Seek(handle.file, 4, 0), 4);
    EXPECT_EQ(ORVEX_HFILE_Seek(handle.file, 2, 1), 6);
    EXPECT_EQ(ORVEX_HFILE_CurrentPos(handle.file), 6);
    EXPECT_EQ(ORVEX_HFILE_Seek(handle.file, 0, 2), 10);
    EXPECT_EQ(error_of(ORVEX_HFILE_Seek(handle.file, -1, 0)),
              "5 ofilehop N-1 R=-1 FN=" + std::string(handle.file->szFileName) + "\n");
    EXPECT_EQ(ORVEX_HFILE_Seek(nullptr, 0, 0), -1);
    EXPECT_EQ(ORVEX_HFILE_CurrentPos(nullptr), -1);
    EXPECT_EQ(ORVEX_HFILE_Lock(nullptr, 0, 1), -1);
    EXPECT_EQ(ORVEX_HFILE_Unlock(nullptr, 0, 1), -1);
    const Handle other(handle.file->szFileName);
    EXPECT_NE(ORVEX_HFILE_Lock(handle.file, 2, 3), -1);
    EXPECT_EQ(ORVEX_FileRecordLock(other.file->fd, 2, 4, 1), -1);
    EXPECT_NE(ORVEX_HFILE_Unlock(handle.file, 2, 3), -1);
    EXPECT_NE(ORVEX_FileRecordLock(other.file->fd, 2, 4, 1), -1);
    EXPECT_EQ(ORVEX_HFILE_Commit(handle.file), 1);
}

TEST_F(FileHandle, TransfersAreCountedFailuresLogged) {
    const Handle handle(folder_.write("a", "0123456789"));
    const MOLTE_BASEVAR before = g_stBv;
    char buffer[64];
    EXPECT_EQ(ORVEX_HFILE_ReadS(handle.file, buffer, 2, 8), 8);
    EXPECT_EQ(ORVEX_HFILE_WriteS(handle.file, "abc", 9, 3), 3);
    EXPECT_EQ(g_stBv.n64ReadCount - before.n64ReadCount, 1);
    EXPECT_EQ(g_stBv.n64ReadByteCount - before.n64ReadByteCount, 8);
    EXPECT_EQ(g_stBv.n64WriteCount - before.n64WriteCount, 1);
    EXPECT_EQ(g_stBv.n64WriteByteCount - before.n64WriteByteCount, 3);
    EXPECT_GE(g_stBv.n64ReadTimeUsed, before.n64ReadTimeUsed);
    EXPECT_EQ(installation_.log(), "");

    EXPECT_EQ(ORVEX_HFILE_ReadS(handle.file, buffer, 10, 8), 2);  // short: its count
    EXPECT_EQ(error_of_this_thread(), "3 ofilehop " + std::string(handle.file->szFileName));
    EXPECT_EQ(g_stBv.n64ReadCount - before.n64ReadCount, 1);
    const std::string log = installation_.log();
    EXPECT_NE(
        log.find("read data error. FileName=" + std::string(handle.file->szFileName) + ". pdata="),
        std::string::npos);
    EXPECT_NE(log.find(" ret=2 Len=8 pos=12 filelen=12\n"), std::string::npos) << log;
    EXPECT_NE(log.find("RVEX errno=3 : "), std::string::npos);

    ORVEX_HFILE* read_only = ORVEX_HFILE_Open(handle.file->szFileName, 32768);
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Write(read_only, "x", 1)), 4U);
    EXPECT_NE(installation_.log().find(" ret=-1 len=1 pos=0\n"), std::string::npos);
    ORVEX_HFILE_Close(&read_only);
}

TEST_F(FileHandle, SizeGrowsWithZerosAndShrinks) {
    const Handle handle(folder_.write("a", "abc"));
    EXPECT_EQ(ORVEX_HFILE_ChangeSize(handle.file, 20000), 20000);
    EXPECT_EQ(read_bytes(handle.file->szFileName), "abc" + std::string(19997, '\0'));
    EXPECT_EQ(ORVEX_HFILE_ChangeSize(handle.file, 20000), 20000);
    EXPECT_EQ(ORVEX_HFILE_UTIL_ChangeSize(handle.file, 1), 1);
    g_stBv.bFastExpandFile = 1;
    EXPECT_EQ(ORVEX_HFILE_UTIL_ChangeSize(handle.file, 4), 4);
    g_stBv.bFastExpandFile = 0;
    EXPECT_EQ(read_bytes(handle.file->szFileName), std::string("a\0\0\0", 4));
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_HFILE_ChangeSize(handle.file, INT64_C(1) << 60), -1);  // no disk has that
    EXPECT_EQ(GetRvexErrNo(), 202U);
    // A position of -1 is no position, though a failed seek gives the same number.
    EXPECT_EQ(error_number_of(ORVEX_HFILE_UTIL_ChangeSize(handle.file, -1)), 5U);
    EXPECT_EQ(ORVEX_HFILE_Size(handle.file), 4);
}

TEST_F(FileHandle, LoadsRanges) {
    const std::string file = folder_.write("a", "0123456789");
    const tuple<int64_t, int64_t, int64_t, Text> rows[] = {
        {0, -1, 10, "0123456789"}, {8, 100, 2, "89"}, {3, 2, 2, "34"}, {10, 1, 0, ""},
        {99, -1, 0, ""},           {-1, 1, -1, ""}};
    for (const auto& [offset, length, count, bytes] : rows) {
        uint8_t* buffer = nullptr;
        EXPECT_EQ(ORVEX_HFILE_Load(file.c_str(), &buffer, offset, length), count) << offset;
        EXPECT_EQ(buffer != nullptr, count > 0);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), count > 0 ? strlen(bytes) : 0),
                  bytes);
        ORVEX_free(buffer);
    }
    uint8_t* buffer = nullptr;
    EXPECT_EQ(ORVEX_HFILE_Load((folder_ / "none").c_str(), &buffer, 0, 1), -1);
}

TEST_F(FileHandle, AddUpdateMakesGrowsAndWrites) {
    const std::string file = folder_ / "a";
    EXPECT_EQ(ORVEX_HFILE_AddUpdate(file.c_str(), "xy", 3, 2), 2);
    EXPECT_EQ(read_bytes(file), std::string("\0\0\0xy", 5));
    EXPECT_EQ(ORVEX_HFILE_AddUpdate(file.c_str(), "z", 0, 1), 1);
    EXPECT_EQ(read_bytes(file), std::string("z\0\0xy", 5));
    EXPECT_EQ(ORVEX_HFILE_AddUpdate(file.c_str(), nullptr, 0, 1), -1);
    const std::string never = folder_ / "never";
    EXPECT_EQ(error_number_of(ORVEX_HFILE_AddUpdate(never.c_str(), "z", INT64_MAX, 1)), 50U);
    EXPECT_FALSE(fs::exists(never));
}

TEST_F(FileHandle, CopiesRangesInChunks) {
    const Handle source(folder_.write("s", "0123456789"));
    const Handle target(folder_.write("t", "tttttttttttttttt"));
    char small[3];
    EXPECT_EQ(ORVEX_HFILE_Copy(target.file, 2, source.file, 1, 7, 0, small, 3), 1);
    EXPECT_EQ(read_bytes(target.file->szFileName), "tt1234567ttttttt");
    EXPECT_EQ(ORVEX_HFILE_Copy(target.file, 0, source.file, 0, 0, 0, nullptr, 0), 1);
    EXPECT_EQ(read_bytes(target.file->szFileName), "0123456789tttttt");  // not cut
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Copy(target.file, 0, source.file, 1, 99, 0, nullptr, 0)),
              3U);  // the whole length from position 1: short at the end
    EXPECT_EQ(ORVEX_HFILE_Copy(target.file, -1, source.file, 0, 1, 0, nullptr, 0), -1);
    EXPECT_EQ(ORVEX_HFILE_Copy(target.file, 0, source.file, -1, 1, 0, nullptr, 0), -1);
    EXPECT_EQ(error_of(ORVEX_HFILE_Copy(target.file, 0, source.file, 0, 1, 0, small, 0)),
              "50 ofilehop");
    const Handle empty(folder_.write("e", ""));
    EXPECT_EQ(ORVEX_HFILE_Copy(target.file, 0, empty.file, 0, 5, 0, nullptr, 0), 0);
}

TEST_F(FileHandle, MovesAgreeWithMemmove) {
    std::string content;
    for (int i = 0; i < 40; ++i) content += static_cast<char>('A' + i);
    for (int target : {0, 1, 5, 9, 20, 39, 45}) {
        for (int source : {0, 1, 6, 19, 39}) {
            for (int length : {0, 1, 7, 25, 100}) {
                const Handle handle(folder_.write("m", content));
                char buffer[4];
                const int32_t result =
                    ORVEX_HFILE_Move(handle.file, target, source, length, 0, buffer, 4);
                std::string model = content;
                const size_t wanted = length == 0 ? 40 : static_cast<size_t>(length);
                const std::string part = content.substr(static_cast<size_t>(source), wanted);
                if (target != source) {
                    model.resize(std::max(model.size(), static_cast<size_t>(target) + part.size()));
                    model.replace(static_cast<size_t>(target), part.size(), part);
                }
                ASSERT_EQ(result, target == source ? 0 : 1);
                ASSERT_EQ(read_bytes(handle.file->szFileName), model)
                    << target << ' ' << source << ' ' << length;
            }
        }
    }
    const Handle empty(folder_.write("e", ""));
    EXPECT_EQ(ORVEX_HFILE_Move(empty.file, 1, 0, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(ORVEX_HFILE_Move(empty.file, 1, 7, 5, 0, nullptr, 0), 0);
    EXPECT_EQ(ORVEX_HFILE_Move(empty.file, -1, 7, 5, 0, nullptr, 0), -1);
}

TEST_F(FileHandle, AMoveThatFailsGivesTheLengthBack) {
    const std::string file = folder_.write("m", "0123456789");
    ORVEX_HFILE* write_only = ORVEX_HFILE_OpenMode(file.c_str(), 32769, 384);
    EXPECT_EQ(ORVEX_HFILE_Move(write_only, 8, 0, 10, 0, nullptr, 0), -1);
    ORVEX_HFILE_Close(&write_only);
    EXPECT_EQ(read_bytes(file), "0123456789");
    const Handle handle(file);
    EXPECT_EQ(error_number_of(ORVEX_HFILE_Move(handle.file, INT64_MAX - 2, 0, 5, 0, nullptr, 0)),
              50U);
}

TEST_F(FileHandle, DuplicatesBesideTheSource) {
    const std::string file = folder_.str() + "\\s";
    const std::string bytes("as\r\nit\x1A\0is\n", 12);
    folder_.write("s", bytes);
    char name[512] = "";
    EXPECT_EQ(ORVEX_HFILE_DupFile(file.c_str(), name), 0);
    EXPECT_EQ(std::string(name), folder_.str() + "\\otmp0.tmp");
    EXPECT_EQ(read_bytes(folder_.path() / "otmp0.tmp"), bytes);
    const std::string given = folder_ / "given";
    std::strcpy(name, given.c_str());
    EXPECT_EQ(ORVEX_HFILE_DupFile(file.c_str(), name), 0);
    EXPECT_EQ(read_bytes(given), bytes);
    std::strcpy(name, (folder_ / "no/where").c_str());
    ORVEX_Err_ClearError();
    const Handle source(file);
    EXPECT_EQ(ORVEX_HFILE_Dup(source.file, name), 0);  // even so
    EXPECT_EQ(GetRvexErrNo(), 7U);
    EXPECT_EQ(ORVEX_HFILE_DupFile((folder_ / "none").c_str(), name), -1);
}

}  // namespace
