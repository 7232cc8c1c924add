#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "moltelib.h"
#include "support/error_of.h"
#include "support/temp_folder.h"

namespace {

namespace fs = std::filesystem;

struct Loaded {
    int32_t result;
    std::string bytes;
    bool touched;
};

Loaded load(const std::string& name) {
    uint8_t untouched = 0;
    uint8_t* buffer = &untouched;
    int32_t length = -7;
    const int32_t result = ORVEX_LoadBinDataFile(name.c_str(), &buffer, &length);
    if (buffer == &untouched) return {result, "", false};
    EXPECT_EQ(length, result);
    Loaded loaded{result, std::string(reinterpret_cast<char*>(buffer), static_cast<size_t>(length)),
                  true};
    ORVEX_free(buffer);
    return loaded;
}

TEST(Load, WholeFilesMissingOnesAndEmptyOnes) {
    const TempFolder folder;
    const std::string bytes = std::string("a\0\r\n\xFF", 5) + std::string(100000, 'z');
    EXPECT_EQ(load(folder.write("a", bytes)).bytes, bytes);
    ORVEX_Err_ClearError();
    const Loaded missing = load(folder / "none");
    EXPECT_EQ(missing.result, 0);
    EXPECT_FALSE(missing.touched);
    EXPECT_EQ(GetRvexErrNo(), 0U);
    const Loaded empty = load(folder.write("e", ""));
    EXPECT_EQ(empty.result, 0);
    EXPECT_FALSE(empty.touched);
    uint8_t* buffer = nullptr;
    int32_t length = 0;
    EXPECT_EQ(ORVEX_LoadBinDataFileW(fs::path(folder / "a").wstring().c_str(), &buffer, &length),
              static_cast<int32_t>(bytes.size()));
    ORVEX_free(buffer);
}

// Around the sizes from which on large pages, and then two threads, are used.
TEST(Load, EveryByteOfLargeFiles) {
    const TempFolder folder;
    for (const size_t size : {(size_t{4} << 20) + 13, (size_t{64} << 20) + 77}) {
        std::string bytes(size, '\x5A');
        uint64_t word = size;
        for (size_t at = 0; at + sizeof word <= size; at += sizeof word) {
            word = word * 6364136223846793005 + 1442695040888963407;
            memcpy(bytes.data() + at, &word, sizeof word);
        }
        const Loaded loaded = load(folder.write("large", bytes));
        EXPECT_EQ(loaded.result, static_cast<int32_t>(size));
        EXPECT_TRUE(loaded.bytes == bytes) << size;
    }
}

TEST(Load, AGigabyteIsTooLarge) {
    const TempFolder folder;
    const std::string file = folder.write("big", "");
    fs::resize_file(file, 0x40000000);
    EXPECT_EQ(load(file).result, -1);
    EXPECT_EQ(error_of_this_thread(), "303 oxfileop file size too big max 1GB");
    char* text = nullptr;
    int32_t length = 0;
    EXPECT_EQ(ORVEX_LoadTextDataFile(file.c_str(), &text, &length), -1);
    EXPECT_EQ(GetRvexErrNo(), 303U);
}

TEST(Text, LineEndsAreTranslated) {
    const TempFolder folder;
    const std::string file = folder.write("t", "one\r\ntwo\nthree\r\n");
    char* text = nullptr;
    int32_t length = 0;
    EXPECT_EQ(ORVEX_LoadTextDataFile(file.c_str(), &text, &length), 14);
    EXPECT_STREQ(text, "one\ntwo\nthree\n");
    EXPECT_EQ(length, 14);
    ORVEX_free(text);
    text = nullptr;
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file.c_str(), "x\ny\n", 4), 1);
    EXPECT_EQ(ORVEX_LoadTextDataFileW(fs::path(file).wstring().c_str(), &text, &length), 4);
    EXPECT_STREQ(text, "x\ny\n");
    ORVEX_free(text);
    EXPECT_EQ(ORVEX_SaveTextDataToFileW(fs::path(file).wstring().c_str(), "z", 1), 1);
    EXPECT_EQ(read_bytes(file), "z");
    const std::string nowhere = folder / "no/t";
    EXPECT_EQ(ORVEX_SaveTextDataToFile(nowhere.c_str(), "x", 1), -1);
    EXPECT_EQ(error_of_this_thread(), "1 oxfileop " + nowhere);
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file.c_str(), nullptr, 1), -1);
    EXPECT_EQ(ORVEX_SaveTextDataToFile(file.c_str(), "x", -1), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxfileop");
    EXPECT_EQ(read_bytes(file), "z");
}

TEST(Save, WritesAnewEvenReadOnlyFiles) {
    const TempFolder folder;
    const std::string file = folder.write("a", "longer than what comes");
    ORVEX_FileChangeMode(file.c_str(), 0, 0x80);
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file.c_str(), "new", 3), 1);
    EXPECT_EQ(read_bytes(file), "new");
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file.c_str(), nullptr, 3), 0);
    EXPECT_EQ(ORVEX_SaveBinDataToFile(file.c_str(), "x", 0), 0);
    EXPECT_EQ(read_bytes(file), "new");
    EXPECT_EQ(ORVEX_SaveBinDataToFileW(fs::path(file).wstring().c_str(), "w", 1), 1);
    EXPECT_EQ(read_bytes(file), "w");
    const std::string nowhere = folder / "no/a";
    EXPECT_EQ(ORVEX_SaveBinDataToFile(nowhere.c_str(), "x", 1), -1);
    EXPECT_EQ(error_of_this_thread(), "1 oxfileop " + nowhere);
}

TEST(Range, WritesWithoutHolesAndReadsWhole) {
    const TempFolder folder;
    const std::string file = folder.write("a", "0123456789");
    EXPECT_EQ(ORVEX_WriteBinDataToFile(file.c_str(), -5, "ab", 2), 2);
    EXPECT_EQ(ORVEX_WriteBinDataToFile(file.c_str(), 10, "XY", 2), 2);
    EXPECT_EQ(ORVEX_AppendBinDataToFile(file.c_str(), "!", 1), 1);
    EXPECT_EQ(read_bytes(file), "ab23456789XY!");
    EXPECT_EQ(ORVEX_WriteBinDataToFile(file.c_str(), 14, "x", 1), -1);
    EXPECT_EQ(error_of_this_thread(),
              "297 oxfileop offset=14 filelen=13. does not permit hole in file");
    EXPECT_EQ(ORVEX_WriteBinDataToFile((folder / "none").c_str(), 0, "x", 1), -1);
    EXPECT_EQ(GetRvexErrNo(), 1U);
    EXPECT_EQ(ORVEX_AppendBinDataToFile((folder / "none").c_str(), "x", 1), -1);
    EXPECT_EQ(ORVEX_WriteBinDataToFile(file.c_str(), 0, "x", 0), -1);
    EXPECT_EQ(GetRvexErrNo(), 405U);
    EXPECT_EQ(ORVEX_WriteBinDataToFile(nullptr, 0, "x", 1), -1);
    EXPECT_EQ(ORVEX_WriteBinDataToFile(file.c_str(), 0, nullptr, 1), -1);

    char buffer[16] = "untouched";
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), 10, buffer, 4), -1);
    EXPECT_EQ(error_of_this_thread(), "297 oxfileop exceed file size.");
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), INT64_MAX, buffer, 4), -1);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), 10, buffer, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), "XY!");
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), -9, buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 2), "ab");
    EXPECT_EQ(ORVEX_ReadBinDataFile((folder / "none").c_str(), 0, buffer, 1), 0);
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), 0, buffer, 0), -1);
    EXPECT_EQ(error_of_this_thread(), "406 oxfileop");
    EXPECT_EQ(ORVEX_ReadBinDataFile(file.c_str(), 0, nullptr, 1), -1);
    EXPECT_EQ(ORVEX_ReadBinDataFile(nullptr, 0, buffer, 1), -1);
}

TEST(FileCopy, BySystemAndByBuffer) {
    const TempFolder folder;
    std::string bytes(100001, 'c');
    bytes[70000] = 'd';
    const std::string source = folder.write("s", bytes);
    ORVEX_FileChangeModAccessTime(source.c_str(), 1000000000, 1200000000);
    const std::string target = folder / "t";
    EXPECT_EQ(ORVEX_FileCopy(source.c_str(), target.c_str(), 1), 1);
    EXPECT_EQ(read_bytes(target), bytes);
    EXPECT_EQ(ORVEX_FileCopy(source.c_str(), target.c_str(), 1), -1);
    EXPECT_EQ(error_of_this_thread(), "12 oxfileop " + source);
    EXPECT_EQ(ORVEX_FileCopy(source.c_str(), target.c_str(), 0), 1);

    char buffer[4096];
    const std::string other = folder.write("u", std::string(300000, 'x'));
    ORVEX_FileChangeMode(other.c_str(), 0, 0x80);
    EXPECT_EQ(ORVEX_FileCopyWithBuf(source.c_str(), other.c_str(), 0, buffer, sizeof buffer), 1);
    EXPECT_EQ(read_bytes(other), bytes);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(other.c_str(), &state);
    EXPECT_EQ(state.st_mtime, 1200000000);
    const std::string empty = folder.write("e", "");
    ORVEX_FileChangeModAccessTime(empty.c_str(), 1000000000, 1200000000);
    EXPECT_EQ(ORVEX_FileCopyWithBuf(empty.c_str(), other.c_str(), 0, buffer, 1), 1);
    ORVEX_FileStatByFileName(other.c_str(), &state);
    EXPECT_EQ(state.st_size, 0);
    EXPECT_GT(state.st_mtime, 1200000000);  // its own time, that of now
    EXPECT_EQ(ORVEX_FileCopyWithBuf((folder / "none").c_str(), other.c_str(), 0, buffer, 1), -1);
    EXPECT_EQ(GetRvexErrNo(), 1U);
    EXPECT_EQ(ORVEX_FileCopyWithBuf(source.c_str(), other.c_str(), 0, nullptr, 1), -1);
    EXPECT_EQ(ORVEX_FileCopyWithBuf(source.c_str(), other.c_str(), 0, buffer, 0), -1);
    EXPECT_EQ(error_of_this_thread(), "50 oxfileop");
#if !defined(_WIN32)
    EXPECT_EQ(ORVEX_FileCopyWithBuf(source.c_str(), source.c_str(), 0, buffer, 1), -1);
    EXPECT_EQ(read_bytes(source), bytes);  // not emptied
#endif
}

TEST(RemoteCopy, KeepsTheRemoteTime) {
    const TempFolder folder;
    const std::string file = folder / "c";
    int64_t time = -1;
    char buffer[32];
    EXPECT_EQ(ORVEX_CopyWrite(file.c_str(), "0123456789", 10, 1300000000), 0);
    EXPECT_EQ(ORVEX_CopyRead(file.c_str(), buffer, 4, &time), 4);
    EXPECT_EQ(std::string(buffer, 4), "0123");
    EXPECT_EQ(time, 1300000000);
    EXPECT_EQ(ORVEX_CopyUpdate(file.c_str(), "ABCD", 8, 4), 0);
    OXSTAT64 state;
    ORVEX_FileStatByFileName(file.c_str(), &state);
    EXPECT_EQ(state.st_mtime, 1300000000);
    EXPECT_EQ(state.st_atime, 1300000000);
    EXPECT_EQ(read_bytes(file), "01234567ABCD");
    for (const auto& [offset, length] :
         std::vector<std::pair<int64_t, int32_t>>{{-1, 1}, {13, 1}, {0, -1}}) {
        EXPECT_EQ(ORVEX_CopyUpdate(file.c_str(), "x", offset, length), -1);
        EXPECT_EQ(error_of_this_thread(),
                  "403 oxfileop filelen=12 start=" + std::to_string(offset) +
                      " len=" + std::to_string(length) + " " + file);
    }
    EXPECT_EQ(ORVEX_CopyRead(file.c_str(), buffer, 13, &time), -1);
    EXPECT_EQ(GetRvexErrNo(), 3U);
    EXPECT_EQ(time, 0);
    EXPECT_EQ(ORVEX_CopyRead((folder / "none").c_str(), buffer, 1, &time), -1);
    EXPECT_EQ(ORVEX_CopyReadPart(file.c_str(), buffer, -3, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), "012");
    EXPECT_EQ(ORVEX_CopyReadPart(file.c_str(), buffer, 9, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), "BCD");
    EXPECT_EQ(ORVEX_CopyReadPart(file.c_str(), buffer, 9, 0), 0);
    EXPECT_EQ(ORVEX_CopyReadPart(file.c_str(), buffer, 10, 3), -1);
    EXPECT_EQ(error_of_this_thread(), "404 oxfileop filelen=12 start=10 len=3 " + file);
    EXPECT_EQ(ORVEX_CopyWrite((folder / "no/c").c_str(), "x", 1, 0), -1);
    EXPECT_EQ(GetRvexErrNo(), 1U);
}

}  // namespace
