#include "support/test.h"

namespace {

class WholeFile : public testing::Test {
 protected:
    TempFolder folder_;
    const std::string file_ = folder_.write("a", "0123456789");
    const std::string none_ = folder_ / "none";
    const std::string nowhere_ = folder_ / "no/where";
    const std::wstring wide_ = fs::path(file_).wstring();
};

constexpr Text kUntouched = "(untouched)";

// What is loaded of a file, which has to be as long as the result; a failure is its error.
template <typename Byte, typename Name>
std::string loaded(int32_t (*load)(const Name*, Byte**, int32_t*), const Name* name) {
    Byte untouched = 0;
    Byte* buffer = &untouched;
    int32_t length = -7;
    const int32_t result = load(name, &buffer, &length);
    if (result < 0) return error_of_this_thread();
    if (buffer == &untouched) return result == 0 ? kUntouched : "a result without a buffer";
    EXPECT_EQ(length, result);
    std::string bytes(reinterpret_cast<char*>(buffer), static_cast<size_t>(length));
    ORVEX_free(buffer);
    return bytes;
}

TEST_F(WholeFile, IsLoadedAsItStands) {
    const std::string bytes = "a\0\r\n\xFF"s + std::string(100000, 'z');
    folder_.write("a", bytes);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, file_.c_str()), bytes);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFileW, wide_.c_str()), bytes);
    ORVEX_Err_ClearError();
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, none_.c_str()), kUntouched);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, folder_.write("e", "").c_str()), kUntouched);
}

// Around the size from which on large pages are used.
TEST_F(WholeFile, EveryByteOfALargeOneIsLoaded) {
    for (const size_t size : {(size_t{4} << 20) - 5, (size_t{4} << 20) + 13}) {
        std::string bytes(size, '\x5A');
        uint64_t word = size;
        for (size_t at = 0; at + sizeof word <= size; at += sizeof word) {
            word = word * 6364136223846793005 + 1442695040888963407;
            memcpy(bytes.data() + at, &word, sizeof word);
        }
        folder_.write("a", bytes);
        EXPECT_TRUE(loaded(ORVEX_LoadBinDataFile, file_.c_str()) == bytes) << size;
    }
    fs::resize_file(file_, 0x40000000);
    const std::string too_large = "303 oxfileop file size too big max 1GB";
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, file_.c_str()), too_large);
    EXPECT_EQ(loaded(ORVEX_LoadTextDataFile, file_.c_str()), too_large);
}

#if !defined(_WIN32)
int64_t time_on(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

TEST_F(WholeFile, ALargeOneIsLoadedWithNoThreadOfTheLibrarys) {
    fs::resize_file(file_, size_t{128} << 20);
    const int64_t process = time_on(CLOCK_PROCESS_CPUTIME_ID);
    const int64_t thread = time_on(CLOCK_THREAD_CPUTIME_ID);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, file_.c_str()).size(), size_t{128} << 20);
    const int64_t mine = time_on(CLOCK_THREAD_CPUTIME_ID) - thread;
    const int64_t others = time_on(CLOCK_PROCESS_CPUTIME_ID) - process - mine;
    EXPECT_LT(others, mine / 10);
}
#endif

TEST_F(WholeFile, AFolderIsEmpty) {
    const std::string folder = folder_.str();
    EXPECT_EQ(ORVEX_FileLenByFileName(folder.c_str()), 0);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, folder.c_str()), kUntouched);
    EXPECT_EQ(loaded(ORVEX_LoadTextDataFile, folder.c_str()), kUntouched);
}

TEST_F(WholeFile, LineEndsOfTextsAreTranslated) {
    folder_.write("a", "one\r\ntwo\nthree\r\n");
    EXPECT_EQ(loaded(ORVEX_LoadTextDataFile, file_.c_str()), "one\ntwo\nthree\n");
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file_.c_str(), "x\ny\n", 4), 1);
    EXPECT_EQ(loaded(ORVEX_LoadTextDataFileW, wide_.c_str()), "x\ny\n");
    EXPECT_EQ(ORVEX_SaveTextDataToFileW(wide_.c_str(), "z", 1), 1);
    EXPECT_EQ(error_of(ORVEX_SaveTextDataToFile(nowhere_.c_str(), "x", 1)),
              "1 oxfileop " + nowhere_);
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file_.c_str(), nullptr, 1), -1);
    EXPECT_EQ(error_of(ORVEX_SaveTextDataToFile(file_.c_str(), "x", -1)), "50 oxfileop");
    EXPECT_EQ(read_bytes(file_), "z");
}

TEST_F(WholeFile, IsSavedAnewEvenIfReadOnly) {
    ORVEX_FileChangeMode(file_.c_str(), 0, 0x80);
    ORVEX_Err_ClearError();
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file_.c_str(), "t", 1), 1);
    EXPECT_EQ(ORVEX_FileGetMode(file_.c_str(), nullptr) & 0x180, 0x180);
    EXPECT_EQ(ORVEX_SaveTextDataToFileW(fs::path(none_).wstring().c_str(), nullptr, 0), 1);
    EXPECT_EQ(taken_error(), "");
    ORVEX_FileChangeMode(file_.c_str(), 0, 0x80);
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file_.c_str(), "new", 3), 1);
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file_.c_str(), nullptr, 3), 0);
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file_.c_str(), "x", 0), 0);
    EXPECT_EQ(read_bytes(file_), "new");
    EXPECT_EQ(ORVEX_SaveBinDataToFileW(wide_.c_str(), "w", 1), 1);
    EXPECT_EQ(read_bytes(file_), "w");
    EXPECT_EQ(error_of(ORVEX_SaveBinDataToFile(nowhere_.c_str(), "x", 1)),
              "1 oxfileop " + nowhere_);
}

TEST_F(WholeFile, RangesAreWrittenWithoutHoles) {
    const auto write = [](const std::string& name, int64_t at, Text data, int32_t size) {
        return ORVEX_WriteBinDataToFile(name.c_str(), at, data, size);
    };
    EXPECT_EQ(write(file_, -5, "ab", 2), 2);
    EXPECT_EQ(write(file_, 10, "XY", 2), 2);
    EXPECT_EQ(ORVEX_AppendBinDataToFile(file_.c_str(), "!", 1), 1);
    EXPECT_EQ(error_of(write(file_, 14, "x", 1)),
              "297 oxfileop offset=14 filelen=13. does not permit hole in file");
    EXPECT_EQ(error_number_of(write(none_, 0, "x", 1)), 1U);
    EXPECT_EQ(ORVEX_AppendBinDataToFile(none_.c_str(), "x", 1), -1);
    ORVEX_Err_ClearError();
    EXPECT_EQ(error_number_of(ORVEX_AppendBinDataToFile(file_.c_str(), nullptr, 1)), 405U);
    EXPECT_EQ(ORVEX_GetErrData()->nHistCount, 1);
    EXPECT_EQ(error_number_of(write(file_, 0, "x", 0)), 405U);
    EXPECT_EQ(ORVEX_WriteBinDataToFile(nullptr, 0, "x", 1) + write(file_, 0, nullptr, 1), -2);
    EXPECT_EQ(read_bytes(file_), "ab23456789XY!");
}

TEST_F(WholeFile, RangesAreReadWhole) {
    char buffer[16];
    const auto read = [&](const std::string& name, int64_t at, int32_t size) {
        std::strcpy(buffer, "#######");
        return ORVEX_ReadBinDataFile(name.c_str(), at, buffer, size);
    };
    for (const int64_t behind : {INT64_C(7), INT64_MAX}) {
        EXPECT_EQ(error_of(read(file_, behind, 4)), "297 oxfileop exceed file size.");
        EXPECT_STREQ(buffer, "#######");
    }
    EXPECT_EQ(read(file_, 7, 3), 3);
    EXPECT_STREQ(buffer, "789####");
    EXPECT_EQ(read(file_, -9, 2), 2);
    EXPECT_STREQ(buffer, "01#####");
    EXPECT_EQ(read(none_, 0, 1), 0);
    EXPECT_EQ(error_of(read(file_, 0, 0)), "406 oxfileop");
    EXPECT_EQ(ORVEX_ReadBinDataFile(file_.c_str(), 0, nullptr, 1), -1);
    EXPECT_EQ(ORVEX_ReadBinDataFile(nullptr, 0, buffer, 1), -1);
}

OXSTAT64 state_of(const std::string& file) {
    OXSTAT64 state{};
    EXPECT_EQ(ORVEX_FileStatByFileName(file.c_str(), &state), 0);
    return state;
}

TEST_F(WholeFile, IsCopiedBySystemAndByBuffer) {
    std::string bytes(100001, 'c');
    bytes[70000] = 'd';
    const std::string source = folder_.write("s", bytes);
    const std::string target = folder_ / "t";
    EXPECT_EQ(ORVEX_FileCopy(source.c_str(), target.c_str(), 1), 1);
    EXPECT_EQ(read_bytes(target), bytes);
    EXPECT_EQ(error_of(ORVEX_FileCopy(source.c_str(), target.c_str(), 1)), "12 oxfileop " + source);
    EXPECT_EQ(ORVEX_FileCopy(source.c_str(), target.c_str(), 0), 1);

    char buffer[4096];
    const auto copy = [&](const std::string& from, const std::string& to, int32_t size) {
        return ORVEX_FileCopyWithBuf(from.c_str(), to.c_str(), 0, buffer, size);
    };
    folder_.write("a", std::string(300000, 'x'));
    ORVEX_FileChangeMode(file_.c_str(), 0, 0x80);
    const std::string empty = folder_.write("e", "");
    for (const std::string& from : {source, empty}) {
        ORVEX_FileChangeModAccessTime(from.c_str(), 1000000000, 1200000000);
        EXPECT_EQ(copy(from, file_, sizeof buffer), 1);
        EXPECT_EQ(read_bytes(file_), read_bytes(from));
        EXPECT_EQ(state_of(file_).st_mtime == 1200000000, from == source);  // an empty one: now
    }
    EXPECT_EQ(error_number_of(copy(none_, file_, 1)), 1U);
    EXPECT_EQ(ORVEX_FileCopyWithBuf(source.c_str(), file_.c_str(), 0, nullptr, 1), -1);
    EXPECT_EQ(error_of(copy(source, file_, 0)), "50 oxfileop");
    const std::string link = folder_ / "link";
    fs::create_hard_link(source, link);
    for (const std::string& same : {source, folder_ / "./s", link}) {
        EXPECT_EQ(error_of(copy(source, same, 1)), "12 oxfileop " + same);
        EXPECT_EQ(read_bytes(source), bytes);  // not emptied
    }
}

TEST_F(WholeFile, RemoteCopiesKeepTheRemoteTime) {
    const char* const file = file_.c_str();
    int64_t time = -1;
    char buffer[16] = "######";
    EXPECT_EQ(ORVEX_CopyWrite(file, "0123456789", 10, 1300000000), 0);
    EXPECT_EQ(ORVEX_CopyRead(file, buffer, 4, &time), 4);
    EXPECT_STREQ(buffer, "0123##");
    EXPECT_EQ(time, 1300000000);
    EXPECT_EQ(ORVEX_CopyUpdate(file, "ABCD", 8, 4), 0);
    EXPECT_EQ(state_of(file_).st_mtime, 1300000000);
    EXPECT_EQ(state_of(file_).st_atime, 1300000000);
    EXPECT_EQ(read_bytes(file_), "01234567ABCD");
    for (const auto& [offset, length] : {std::pair(-1, 1), {13, 1}, {0, -1}}) {
        EXPECT_EQ(error_of(ORVEX_CopyUpdate(file, "x", offset, length)),
                  "403 oxfileop filelen=12 start=" + std::to_string(offset) +
                      " len=" + std::to_string(length) + " " + file_);
    }
    EXPECT_EQ(error_number_of(ORVEX_CopyRead(file, buffer, 13, &time)), 3U);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(ORVEX_CopyRead(none_.c_str(), buffer, 1, &time), -1);
    const tuple<int64_t, int32_t, Text> parts[] = {
        {-3, 3, "012###"}, {9, 3, "BCD###"}, {9, 0, "######"}};
    for (const auto& [offset, length, bytes] : parts) {
        std::strcpy(buffer, "######");
        EXPECT_EQ(ORVEX_CopyReadPart(file, buffer, offset, length), length);
        EXPECT_STREQ(buffer, bytes);
    }
    EXPECT_EQ(error_of(ORVEX_CopyReadPart(file, buffer, 10, 3)),
              "404 oxfileop filelen=12 start=10 len=3 " + file_);
    EXPECT_EQ(ORVEX_CopyRead(file, nullptr, 0, &time), 0);
    EXPECT_EQ(ORVEX_CopyUpdate(file, nullptr, 0, 0), 0);
    EXPECT_EQ(ORVEX_CopyWrite(file, nullptr, 0, 1400000000), 0);
    EXPECT_EQ(state_of(file_).st_size + state_of(file_).st_mtime, 1400000000);
    EXPECT_EQ(error_of(ORVEX_CopyWrite(file, nullptr, 1, 0)), "50 oxfileop");
    EXPECT_EQ(error_number_of(ORVEX_CopyWrite(nowhere_.c_str(), "x", 1, 0)), 1U);
}

}  // namespace
