#include "support/scenes.h"

namespace {

using WholeFile = InFolder;

// What is loaded of a file, which has to be as long as the result; a failure is its error.
template <typename Byte, typename Name>
std::string loaded(int32_t (*load)(const Name*, Byte**, int32_t*), const fs::path& name) {
    Byte untouched = 0;
    Byte* buffer = &untouched;
    int32_t length = -7;
    const int32_t result = load(name.string<Name>().c_str(), &buffer, &length);
    if (buffer == &untouched) return outcome(result) + " untouched";
    EXPECT_EQ(length, result);
    std::string bytes(reinterpret_cast<char*>(buffer), static_cast<size_t>(length));
    ORVEX_free(buffer);
    return bytes;
}

std::string time_text(int64_t time) {
    return std::time(nullptr) - time < 3600 ? "now" : std::to_string(time);
}

[[maybe_unused]] const bool plays = play_scenes<WholeFile>(
    "WholeFile", TEST_ROWS,
    {{"load", step_of<[](Text name) { return loaded(ORVEX_LoadBinDataFile, name); }>},
     {"load_wide", step_of<[](Text name) { return loaded(ORVEX_LoadBinDataFileW, name); }>},
     {"load_text", step_of<[](Text name) { return loaded(ORVEX_LoadTextDataFile, name); }>},
     {"load_text_wide", step_of<[](Text name) { return loaded(ORVEX_LoadTextDataFileW, name); }>},
     {"save", step_of<ORVEX_SaveBinDataToFile>},
     {"save_wide", step_of<ORVEX_SaveBinDataToFileW>},
     {"save_text", step_of<ORVEX_SaveTextDataToFile>},
     {"save_text_wide", step_of<ORVEX_SaveTextDataToFileW>},
     {"write", step_of<ORVEX_WriteBinDataToFile>},
     {"append", step_of<ORVEX_AppendBinDataToFile>},
     {"read", step_of<ORVEX_ReadBinDataFile>},
     {"copy", step_of<ORVEX_FileCopy>},
     {"copy_by_buffer", step_of<[](Text from, Text to, int32_t size) {
          char buffer[4096];
          char* const given = size < 0 ? nullptr : buffer;
          return ORVEX_FileCopyWithBuf(from, to, 0, given, std::abs(size));
      }>},
     {"remote_write", step_of<ORVEX_CopyWrite>},
     {"remote_update", step_of<ORVEX_CopyUpdate>},
     {"remote_read", step_of<ORVEX_CopyRead>},
     {"remote_read_part", step_of<ORVEX_CopyReadPart>},
     {"change_mode", step_of<ORVEX_FileChangeMode>},
     {"owner_mode",
      step_of<[](Text name) { return ORVEX_FileGetMode(name, nullptr) & ORVEX_MODE_OWNER; }>},
     {"set_times", step_of<ORVEX_FileChangeModAccessTime>},
     {"length", step_of<ORVEX_FileLenByFileName>},
     {"times", step_of<[](Text name) {
          OXSTAT64 state{};
          EXPECT_EQ(ORVEX_FileStatByFileName(name, &state), 0);
          return time_text(state.st_atime) + " " + time_text(state.st_mtime);
      }>},
     {"resize",
      [](const Texts& step) {
          fs::resize_file(step[1], std::stoul(step[2]));
          return step[2];
      }},
     {"link", make_link}});

// Around the size from which on large pages are used.
TEST_F(WholeFile, EveryByteOfALargeOneIsLoaded) {
    for (const size_t size : {(size_t{4} << 20) - 5, (size_t{4} << 20) + 13}) {
        std::string bytes(size, '\x5A');
        uint64_t word = size;
        for (size_t at = 0; at + sizeof word <= size; at += sizeof word) {
            word = word * 6364136223846793005 + 1442695040888963407;
            memcpy(bytes.data() + at, &word, sizeof word);
        }
        EXPECT_TRUE(loaded(ORVEX_LoadBinDataFile, folder_.write("a", bytes)) == bytes) << size;
    }
}

#if !defined(_WIN32)
int64_t time_on(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

TEST_F(WholeFile, ALargeOneIsLoadedWithNoThreadOfTheLibrarys) {
    const std::string file = folder_.write("a", "");
    fs::resize_file(file, size_t{128} << 20);
    const int64_t process = time_on(CLOCK_PROCESS_CPUTIME_ID);
    const int64_t thread = time_on(CLOCK_THREAD_CPUTIME_ID);
    EXPECT_EQ(loaded(ORVEX_LoadBinDataFile, file).size(), size_t{128} << 20);
    const int64_t mine = time_on(CLOCK_THREAD_CPUTIME_ID) - thread;
    const int64_t others = time_on(CLOCK_PROCESS_CPUTIME_ID) - process - mine;
    EXPECT_LT(others, mine / 10);
}
#endif

}  // namespace
