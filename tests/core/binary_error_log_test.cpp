#include "support/scenes.h"
#include "support/unprivileged.h"

namespace {

constexpr size_t kMap = 1024;

std::string number(uint32_t value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
    return text;
}

uint32_t number_of(const std::string& field) {
    return static_cast<uint32_t>(std::stoul(field, nullptr, 0));
}

// A block of a hand-made log with this data position and number of entries, these bytes behind them
// and a text laid over it; each entry is kind, time, offset, length, zeros.
std::string block(const Texts& step) {
    std::string bytes = "\0\0\0\0\0\0\0\0"s + number(number_of(step[2])) +
                        number(number_of(step[3])) + std::string(16, '\0');
    for (size_t at = 6; at + 2 < step.size(); at += 3) {
        bytes += "\1\0\0\0"s;
        for (size_t field = at; field < at + 3; ++field) bytes += number(number_of(step[field]));
        bytes += std::string(16, '\0');
    }
    bytes.resize(8192);
    return bytes.replace(std::stoul(step[4]), step[5].size(), step[5]);
}

// A log of no blocks: a map of zeros.
std::string empty_log(const Texts& step) {
    std::ofstream(step[1], std::ios::binary) << std::string(kMap, '\0');
    return step.back();
}

std::string add_block(const Texts& step) {
    Texts fields(step.begin(), step.end() - 1);
    std::ofstream(step[1], std::ios::binary | std::ios::app) << block(fields);
    return step.back();
}

// The number of entries from a time on, and their texts.
std::string retrieve(const Texts& step) {
    BERRLOG_FILTER filter{};
    std::memcpy(filter.tTime, number(number_of(step[2])).data(), 4);
    auto* entries = reinterpret_cast<BERRLOG_ENTRY*>(&filter);
    char* found = reinterpret_cast<char*>(&filter);
    std::string text = outcome(BERRLOG_RetrLog(step[1].c_str(), &entries, &found, &filter));
    EXPECT_EQ(entries, nullptr);
    if (found != nullptr) text += " " + std::string(found, std::stoul(step[3]));
    ORVEX_free(found);
    return text;
}

std::string room(const Texts& step) {
    BERRLOG_BLOCK bytes;
    std::memcpy(&bytes, block({"", "", step[1], step[2], "0", ""}).data(), sizeof bytes);
    int32_t length = std::stoi(step[3]);
    const int32_t result = BERRLOG_UTIL_CanHoldLog(&bytes, &length);
    return outcome(result) + " > " + std::to_string(length);
}

class BinaryLog : public InFolder {
 protected:
    [[nodiscard]] std::string path() const { return folder_ / "b.dat"; }
    [[nodiscard]] std::string file() const { return read_bytes(path()); }
    int32_t add(const std::string& text) const {
        return BERRLOG_AddLog(path().c_str(), text.data(), static_cast<int32_t>(text.size()));
    }
};

[[maybe_unused]] const bool plays = play_scenes<BinaryLog>(
    "BinaryLog", TEST_ROWS,
    {{"empty_log", empty_log},
     {"block", add_block},
     {"create", step_of<BERRLOG_CreateFile>},
     {"add", step_of<BERRLOG_AddLog>},
     {"retrieve", retrieve},
     {"room", room},
     {"size", step_of<ORVEX_FileLenByFileName>},
     {"part",
      [](const Texts& step) {
          return read_bytes(step[1]).substr(std::stoul(step[2]), std::stoul(step[3]));
      }},
     {"first_byte_from",
      [](const Texts& step) {
          return std::to_string(static_cast<int64_t>(
              read_bytes(step[1]).find_first_not_of('\0', std::stoul(step[2]))));
      }}},
    true);

TEST_F(BinaryLog, ANewFileByteForByte) {
    EXPECT_EQ(BERRLOG_CreateFile(path().c_str(), 0), 1);
    const std::string head = std::string("\0\0\0\40\0\0\0\0erlogfileobject", 23);
    EXPECT_EQ(file(), head + std::string(1049600 - head.size(), '\0'));
    BERRLOG_FILEMAP map;
    std::memcpy(&map, file().data(), sizeof map);
    EXPECT_EQ(BERRLOG_IsValidFileMap(&map), 1);
    map.stHead.szMagic[15] = 'x';
    EXPECT_EQ(BERRLOG_IsValidFileHead(&map.stHead), 0);
    EXPECT_EQ(told(-1), "298 oxerrlog @28");
    EXPECT_EQ(BERRLOG_CalcBlockOffset(nullptr, 300000), 2457601024);
}

// What can't be made is told of the file itself, also by an entry, which makes it under another
// name first.
TEST_F(BinaryLog, FailuresOfMakingAreTold) {
    const std::string none = folder_ / "none\\b.dat";
    ORVEX_Err_ClearError();
    const std::string created = told(BERRLOG_CreateFile(none.c_str(), 0));
    EXPECT_NE(created.find(none), std::string::npos);
    EXPECT_TRUE(created.ends_with(", 71 oxerrlog")) << created;
    EXPECT_EQ(BERRLOG_AddLog(none.c_str(), "x", 1), 0);
    EXPECT_EQ(told(-1), created + ", 208 oxerrlog");
}

TEST_F(BinaryLog, EntriesLieOneOverTheOther) {
    const std::string texts[] = {std::string(100, 'a'), std::string(100, 'b')};
    EXPECT_EQ(add(texts[0]) + add(texts[1]), 0);
    const std::string bytes = file();
    ASSERT_EQ(bytes.size(), 1049600U);
    // The head went under the zeroed map; 1 is the next sequence number.
    EXPECT_EQ(bytes.substr(0, kMap), std::string(55, '\0') + '\1' + std::string(968, '\0'));
    const auto entry_at = [&](size_t at) {
        return "\1\0\0\0"s + bytes.substr(kMap + at + 4, 4) + number(100) + number(100);
    };
    std::string expected = block({"", "", "0", "2", "100", texts[1]});
    expected.replace(32, 48, entry_at(32) + std::string(16, '\0') + entry_at(64));
    EXPECT_EQ(bytes.substr(kMap, 8192), expected);
}

#if !defined(_WIN32)
TEST_F(BinaryLog, AFileThatMayNotBeOpenedIsTold) {
    folder_.write("b.dat", "");
    fs::permissions(folder_.path(), fs::perms{0755});
    fs::permissions(path(), fs::perms::none);
    const Unprivileged somebody;
    EXPECT_EQ(add("text"), 0);
    EXPECT_TRUE(history_of_this_thread().ends_with(", 210 oxerrlog")) << history_of_this_thread();
}
#endif

TEST_F(BinaryLog, ParametersThatAreNone) {
    const std::string name = path();
    EXPECT_EQ(BERRLOG_AddLog(nullptr, "x", 1) + BERRLOG_AddLog(name.c_str(), nullptr, 1) +
                  BERRLOG_AddLog(name.c_str(), "x", -1),
              0);
    EXPECT_FALSE(fs::exists(name));
    EXPECT_EQ(BERRLOG_RetrLog(name.c_str(), nullptr, nullptr, nullptr), -1);
    ORVEX_Err_ClearError();
    BERRLOG_FILE file;
    EXPECT_TRUE(told(BERRLOG_OpenFile(name.c_str(), &file)).ends_with(" < 99 oxerrlog"));
    EXPECT_EQ(BERRLOG_ReadRawData(&file, 0, nullptr, 1), -1);
    EXPECT_EQ(BERRLOG_CloseFile(&file), 1);
    // A transfer of -1 bytes or at -1 fails, as its results do.
    folder_.write("b.dat", std::string(kMap, '\0') + "text");
    ASSERT_EQ(BERRLOG_OpenFile(name.c_str(), &file), 1);
    EXPECT_EQ(BERRLOG_SaveRawData(&file, 0, "x", -1), -1);
    EXPECT_EQ(BERRLOG_SaveRawData(&file, -1, "x", 1), -1);
    EXPECT_EQ(BERRLOG_CloseFile(&file), 1);
}

// Entry count 40 means that nobody took the file of another away.
CHILD_ROLE(adds_entries) {
    hear_parent();
    in_threads(2, [&](int) {
        for (int i = 0; i < 10; ++i)
            BERRLOG_AddLog(args[0].c_str(), std::string(200, 'a').data(), 200);
    });
    return 0;
}

TEST_F(BinaryLog, ThreadsOfTwoProcessesAdd) {
    ChildProcess one("adds_entries", {path()});
    ChildProcess two("adds_entries", {path()});
    one.send_line("go");
    two.send_line("go");
    EXPECT_EQ(one.wait() + two.wait(), 0);
    EXPECT_EQ(file().substr(kMap + 12, 4), number(40));
    EXPECT_EQ(file().size(), 1049600U);
    EXPECT_EQ(names_in(folder_.path()), Texts{"b.dat"});
}

TEST(BinaryLogOfTheInstallation, LivesInTheLogFolder) {
    const Installation installation;
    char path[256];
    EXPECT_EQ(MOLTE_BERRLOG_PathFileName(path), 1);
    EXPECT_EQ(std::string(path), installation.str() + "\\LOG\\berrlog.dat");
    EXPECT_EQ(MOLTE_BERRLOG_AddLog(nullptr, 5) + MOLTE_BERRLOG_AddLog("x", 0), 0);
    EXPECT_FALSE(fs::exists(installation.log_folder() / "berrlog.dat"));
    EXPECT_EQ(MOLTE_BERRLOG_AddLog("some text", 9), 0);
    EXPECT_EQ(fs::file_size(installation.log_folder() / "berrlog.dat"), 1049600U);
    BERRLOG_ENTRY* entries = nullptr;
    char* text = nullptr;
    BERRLOG_FILTER filter{};
    std::memset(filter.tTime, 0xFF, 4);
    EXPECT_EQ(MOLTE_BERRLOG_Retr(&entries, &text, &filter), 0);
    EXPECT_EQ(MOLTE_ERRLOG_UnLock(), 1);  // not held: nothing happens
    EXPECT_EQ(MOLTE_ERRLOG_Lock(), 1);
    std::thread([] { EXPECT_EQ(MOLTE_ERRLOG_Lock(), 1); }).join();  // doesn't exclude
}

}  // namespace
