#include "support/test.h"
#include "support/unprivileged.h"

namespace {

constexpr size_t kMap = 1024;

std::string number(uint32_t value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(value >> shift);
    return text;
}

// An entry of a hand-made block: kind, time, offset, length, zeros.
std::string entry(uint32_t time, uint32_t offset, uint32_t length) {
    return std::string("\1\0\0\0", 4) + number(time) + number(offset) + number(length) +
           std::string(16, '\0');
}

// A block of entries with texts laid over it.
std::string block(uint32_t data_pos, uint32_t count, const std::string& entries, size_t text_at = 0,
                  const std::string& text = "") {
    std::string bytes =
        std::string(8, '\0') + number(data_pos) + number(count) + std::string(16, '\0') + entries;
    bytes.resize(8192);
    return bytes.replace(text_at, text.size(), text);
}

class BinaryLog : public testing::Test {
 protected:
    [[nodiscard]] std::string path() const { return folder_ / "b.dat"; }
    [[nodiscard]] std::string file() const { return read_bytes(path()); }
    // A file of these blocks under a map of zeros.
    void make(const std::string& blocks) const {
        static_cast<void>(folder_.write("b.dat", std::string(kMap, '\0') + blocks));
    }
    int32_t add(const std::string& text) const {
        return BERRLOG_AddLog(path().c_str(), text.data(), static_cast<int32_t>(text.size()));
    }
    // The number of entries from a time on, and their texts.
    [[nodiscard]] int32_t retrieve(uint32_t time, std::string* text = nullptr,
                                   size_t size = 0) const {
        BERRLOG_FILTER filter{};
        std::memcpy(filter.tTime, number(time).data(), 4);
        auto* entries = reinterpret_cast<BERRLOG_ENTRY*>(&filter);
        char* found = reinterpret_cast<char*>(&filter);
        const int32_t count = BERRLOG_RetrLog(path().c_str(), &entries, &found, &filter);
        EXPECT_EQ(entries, nullptr);
        EXPECT_EQ(found != nullptr, count > 0);
        if (text != nullptr && found != nullptr) text->assign(found, size);
        ORVEX_free(found);
        return count;
    }
    TempFolder folder_;
};

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
    constexpr int64_t sizes[][2] = {{-1, 1049600},    {1024, 1049600},  {1025, 263168},
                                    {100000, 263168}, {263168, 263168}, {263169, 271360}};
    for (const auto& [size, bytes] : sizes) {
        EXPECT_EQ(BERRLOG_CreateFile(path().c_str(), size), 1);
        EXPECT_EQ(fs::file_size(path()), static_cast<uintmax_t>(bytes));
    }
    EXPECT_EQ(BERRLOG_CreateFile(path().c_str(), INT64_MAX), -1);
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
    std::string expected =
        block(0, 2, entry_at(32) + std::string(16, '\0') + entry_at(64), 100, texts[1]);
    EXPECT_EQ(bytes.substr(kMap, 8192), expected);
}

TEST_F(BinaryLog, AFullBlockBeginsAgain) {
    // 8160 - 250 * 32 is no more than 96 + 64.
    for (const auto& [length, entries, behind] : {tuple{96U, 1U, '\0'}, {95U, 251U, 'e'}}) {
        make(block(0, 250, std::string(8000, 'e')) + block(0, 0, ""));
        add(std::string(length, 'x'));
        const std::string bytes = file();
        EXPECT_EQ(bytes[44], entries == 1 ? 1 : 0);
        EXPECT_EQ(bytes.substr(kMap + 12, 4), number(entries));
        EXPECT_EQ(bytes.substr(kMap + length, length + 1), std::string(length, 'x') + behind);
        EXPECT_EQ(bytes.find_first_not_of('\0', kMap + 8192), std::string::npos);
    }
}

TEST_F(BinaryLog, RoomForAnEntry) {
    constexpr uint32_t rows[][5] = {{0, 254, 10, 0, 10},      {0, 0, 9000, 1, 8128},
                                    {0, 1, 8063, 1, 8063},    {0, 1, 8064, 0, 8064},
                                    {100, 1, 7963, 1, 7963},  {100, 1, 7964, 0, 7964},
                                    {0, UINT32_MAX, 1, 0, 1}, {UINT32_MAX, 0, 9000, 1, 8128}};
    for (const auto& [data_pos, count, given, result, cut] : rows) {
        BERRLOG_BLOCK bytes;
        std::memcpy(&bytes, block(data_pos, count, "").data(), sizeof bytes);
        auto length = static_cast<int32_t>(given);
        EXPECT_EQ(BERRLOG_UTIL_CanHoldLog(&bytes, &length), static_cast<int32_t>(result)) << given;
        EXPECT_EQ(length, static_cast<int32_t>(cut));
    }
}

TEST_F(BinaryLog, TextsStayInTheBlock) {
    const std::string neighbour = block(0, 0, std::string(8160, 'n'));
    // Only an empty block cuts a length: the full one that begins again doesn't.
    constexpr uint32_t rows[][4] = {{0, 4096, 4096, 4096},
                                    {0, 4097, 4097, 4095},
                                    {0, 100000, 8128, 64},
                                    {200, 8128, 8128, 64},
                                    {200, 100000, 100000, 0}};
    for (const auto& [entries, length, offset, kept] : rows) {
        make(block(0, entries, "") + neighbour);
        add(std::string(length, 'x'));
        const std::string bytes = file();
        EXPECT_EQ(bytes.substr(kMap + 8192), neighbour) << length;
        EXPECT_EQ(bytes.substr(kMap + 40, 8), number(offset) + number(offset));
        EXPECT_EQ(bytes.substr(kMap + 8192 - kept, kept), std::string(kept, 'x'));
    }
}

TEST_F(BinaryLog, RetrievesUpToTheFirstThatIsTooOld) {
    make(block(0, 3, entry(500, 200, 5) + entry(400, 205, 4) + entry(300, 0, 8192), 200,
               "newesnext"));
    std::string text;
    EXPECT_EQ(retrieve(400, &text, 9), 2);
    EXPECT_EQ(text, "newesnext");
    EXPECT_EQ(retrieve(501), 0);
    ORVEX_Err_ClearError();
    EXPECT_EQ(retrieve(0), -1);  // on to the end of the file
    EXPECT_EQ(GetRvexErrNo(), 3U);
    EXPECT_EQ(history_of_this_thread(), "145 oxerrlog, 287 oxerrlog");
    // On through blocks whose entries are all new, to one that has an older.
    make(block(0, 2, entry(500, 200, 5) + entry(500, 8190, 100), 200, "01234") + block(0, 0, "") +
         block(0, 2, entry(600, 300, 2) + entry(100, 0, 9), 300, "56"));
    EXPECT_EQ(retrieve(400, &text, 9), 3);
    EXPECT_EQ(text, std::string("01234\0\00056", 9));
}

// What the fuzz target's seeds hold besides is only read without harm.
TEST_F(BinaryLog, HostileBlocksAreRefusedOrCut) {
    make(block(0, 256, std::string(8160, '\1')));
    EXPECT_EQ(retrieve(0x01010102), 0);  // the first entry is too old
    ORVEX_Err_ClearError();
    EXPECT_EQ(retrieve(0), -1);
    EXPECT_EQ(error_of_this_thread(), "298 oxerrlog");
    make(block(0, 4,
               entry(5, 0xFFFFFFFF, 0xFFFFFFFF) + entry(5, 8192, 1) + entry(5, 8000, 0x80000000) +
                   entry(1, 0, 0),
               8000, std::string(192, 't')));
    std::string text;
    EXPECT_EQ(retrieve(2, &text, 192), 3);
    EXPECT_EQ(text, std::string(192, 't'));
    make("short");
    EXPECT_EQ(retrieve(0), -1);
    EXPECT_EQ(add("text"), 0);
    EXPECT_NE(history_of_this_thread().find("145 oxerrlog, 213 oxerrlog"), std::string::npos);
    EXPECT_EQ(fs::file_size(path()), kMap + 5);
#if !defined(_WIN32)
    fs::permissions(folder_.path(), fs::perms{0755});
    fs::permissions(path(), fs::perms::none);
    const Unprivileged somebody;  // may not open what is there
    ORVEX_Err_ClearError();
    EXPECT_EQ(add("text"), 0);
    EXPECT_TRUE(history_of_this_thread().ends_with(", 210 oxerrlog")) << history_of_this_thread();
#endif
}

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
    make("text");
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
        MOLTE_THDATA_FreeData();
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
