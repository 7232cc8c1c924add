#include "support/scenes.h"

namespace {

struct Buffer : Pinned, OLINEBUF {
    Buffer() { EXPECT_EQ(OLINEBUF_Init(this, "test", 1), 1); }
    ~Buffer() { EXPECT_EQ(OLINEBUF_Release(this), 1); }

    int32_t add(const std::string& line) {
        return OLINEBUF_AddLine(this, line.data(), static_cast<int32_t>(line.size()));
    }
    // So many lines that have a block of their own.
    void fill_blocks(int32_t count) {
        for (int32_t i = 0; i < count; ++i) add(std::string(4000, static_cast<char>('a' + i % 26)));
    }
    std::string line(uint64_t id, int32_t size) {
        std::string out(8192, '#');
        int32_t length = -7;
        const int32_t result = OLINEBUF_GetLine(this, out.data(), size, &length, &id);
        if (result < 1) return "none";
        EXPECT_EQ(length, result);
        EXPECT_EQ(out[static_cast<size_t>(result)], '#');  // no terminator
        return out.substr(0, static_cast<size_t>(result));
    }
    std::string lines(uint64_t* id, int32_t size) {
        std::string out(static_cast<size_t>(size) + 1, '#');
        const int32_t length = OLINEBUF_GetMultiLine(this, out.data(), size, id);
        EXPECT_EQ(std::strlen(out.c_str()), static_cast<size_t>(length));
        EXPECT_EQ(out.back(), '#');
        return out.c_str();
    }
    std::string walk(int32_t (*step)(const OLINEBUF*, int32_t*)) {
        std::string blocks;
        int32_t at = -1;
        while (step(this, &at) == 1 && blocks.size() < 99) blocks += std::to_string(at) + " ";
        return blocks;
    }
};

using LineBuffer = InFolder;

[[maybe_unused]] const bool plays = play_scenes<LineBuffer>(
    "LineBuffer", TEST_ROWS,
    {{"add", step_of<[](Buffer* buffer, Text line) { return buffer->add(line); }>},
     {"add_lines",
      step_of<[](Buffer* buffer, Text lines) { return OLINEBUF_AddMultiLine(buffer, lines); }>},
     {"fill", step_of<[](Buffer* buffer, int32_t blocks) {
          buffer->fill_blocks(blocks);
          return buffer->nCurBlock;
      }>},
     {"line",
      step_of<[](Buffer* buffer, uint64_t id, int32_t size) { return buffer->line(id, size); }>},
     {"lines", step_of<[](Buffer* buffer, uint64_t* next, int32_t size) {
          return buffer->lines(next, size);
      }>},
     {"min", step_of<[](Buffer* buffer) { return OLINEBUF_GetMinLineID(buffer); }>},
     {"max", step_of<[](Buffer* buffer) { return OLINEBUF_GetMaxLineID(buffer); }>},
     {"current", step_of<[](Buffer* buffer) { return buffer->nCurBlock; }>},
     {"back", step_of<[](Buffer* buffer) { return buffer->walk(OLINEBUF_UTIL_BW_GetNextBKID); }>},
     {"on", step_of<[](Buffer* buffer) { return buffer->walk(OLINEBUF_UTIL_FW_GetNextBKID); }>},
     {"back_from", step_of<[](Buffer* buffer, int32_t* block) {
          return OLINEBUF_UTIL_BW_GetNextBKID(buffer, block);
      }>},
     {"find", step_of<[](Buffer* buffer, uint64_t id, int32_t* block, int32_t* index) {
          return OLINEBUF_UTIL_PosLineByID(buffer, id, block, index);
      }>}});

TEST(LineBufferSize, IsHeldWithinBoundsAndRoundedUp) {
    constexpr int32_t rows[][2] = {{INT32_MIN, 16}, {1, 16},          {65536, 16},      {65537, 17},
                                   {70000, 18},     {16777216, 4096}, {INT32_MAX, 4096}};
    for (const auto& [size, blocks] : rows) {
        OLINEBUF buf;
        ASSERT_EQ(OLINEBUF_Init(&buf, std::string(200, 'n').c_str(), size), 1);
        EXPECT_EQ(buf.nBlocks, blocks) << size;
        EXPECT_EQ(buf.nBufSize, blocks * 4096);
        EXPECT_EQ(std::string(buf.szName), std::string(119, 'n'));
        OLINEBUF_Release(&buf);
        EXPECT_EQ(buf.pBuf, nullptr);
        EXPECT_EQ(error_of(OLINEBUF_AddLine(&buf, "x", 1)), "50 olinebuf");
    }
}

TEST_F(LineBuffer, ABlockByteForByte) {
    Buffer buffer;
    buffer.add("abc");
    buffer.add("defgh");
    std::string bytes = "\2\0\0\0\10\0\0\0\3\0\0\0\375\17\0\0\5\0\0\0\370\17\0\0"s;
    bytes.append(4088 - bytes.size(), '\0').append("defghabc");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer.pBuf), 4096), bytes);
    const OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(&buffer, 0);
    EXPECT_EQ(OLINEBUF_UTIL_CanHoldLine(block, 508 * 8 - 8), 1);
    EXPECT_EQ(OLINEBUF_UTIL_CanHoldLine(block, 508 * 8 - 7), 0);
}

TEST_F(LineBuffer, PlacesThatAreNone) {
    Buffer buffer;
    char out[16];
    OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(&buffer, 0);
    for (const int32_t none : {16, -1}) EXPECT_EQ(OLINEBUF_UTIL_GetBlock(&buffer, none), nullptr);
    EXPECT_EQ(OLINEBUF_UTIL_GetLine(&buffer, 0, 0, out, 16, nullptr), 0);
    EXPECT_EQ(OLINEBUF_UTIL_CopyStr(block, 4090, "1234567", 7), -1);
    EXPECT_EQ(OLINEBUF_UTIL_GetStr(block, INT32_MAX, out, INT32_MAX), -1);
    EXPECT_EQ(OLINEBUF_UTIL_CopyStr(block, 4089, "1234567", 7), 1);
    EXPECT_EQ(OLINEBUF_UTIL_GetStr(block, 4090, out, 6), 1);
    EXPECT_EQ(std::string(out, 6), "234567");
}

TEST_F(LineBuffer, StatisticsByteForByte) {
    Buffer buffer;
    OLINEBUF_STAT stat;
    const std::string same = "\0\0\0\100\0\0\0\0\0\1\0\0\0\0\0\20"s;
    EXPECT_EQ(OLINEBUF_DoStatistics(&buffer, &stat), 1);
    EXPECT_EQ(bytes_of(stat), same + "\0\0\0\17\0\0\17\360"s + std::string(40, '\0'));
    buffer.fill_blocks(18);  // all blocks in use, of each 72 bytes are free
    EXPECT_EQ(OLINEBUF_DoStatistics(&buffer, &stat), 1);
    EXPECT_EQ(bytes_of(stat), same + "\0\0\0\0\0\0\4\200\0\0\0\20\0\0\0\0\0\0\0\0\0\0\0\22"s +
                                  std::string(24, '\0'));
}

// Each line tells who wrote it and its number there: no reader sees a part of one, or one late.
TEST_F(LineBuffer, ManyWriteWhileManyRead) {
    Buffer buffer;
    constexpr int kLines = 3000;
    const auto line_of = [](char who, int n) {
        return who + std::to_string(n) + " " + std::string(static_cast<size_t>(n % 300), who) + ".";
    };
    std::atomic<int> writing{8};
    std::atomic<int> bad{0};
    in_threads(12, [&](int thread) {
        for (int n = 1; thread < 8 && n <= kLines; ++n) {
            buffer.add(line_of("abcdefgh"[thread], n) + "\n");
        }
        if (thread < 8) --writing;
        uint64_t next = 0;
        std::map<char, int> before;
        for (bool more = thread >= 8; more;) {
            more = writing > 0;
            std::istringstream text(buffer.lines(&next, 20000));
            for (std::string line; std::getline(text, line); more = true) {
                const int n = std::atoi(line.c_str() + 1);
                if (n <= before[line[0]] || line != line_of(line[0], n)) ++bad;
                before[line[0]] = n;
            }
        }
    });
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(OLINEBUF_GetMaxLineID(&buffer), 8U * kLines);
}

TEST(LineBufferList, FindsByName) {
    const Installation installation;
    OLINEBUF a;
    OLINEBUF_Init(&a, "list one", 1);
    EXPECT_EQ(error_of(MOLTE_UTIL_GetLineBuf("list one")),
              "117 moltevar line buf with given name list one  does not exist\n");
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_UTIL_AddLineBuf(&a), 1);
    EXPECT_EQ(GetRvexErrNo(), 117U);  // of the search; it stays
    EXPECT_EQ(MOLTE_UTIL_AddLineBuf(&a), -1);
    EXPECT_EQ(MOLTE_UTIL_AddLineBuf(nullptr), -1);
    EXPECT_EQ(MOLTE_UTIL_AddMemTextHook("hooked", 1, OXMSG_TO_INNER, 5), 1);
    OLINEBUF_AddMultiLine(&a, "1\n2\n");
    MOLTE_OutMsg(OXMSG_TO_INNER | OXMSG_INNER | OXMSG_INFO, "text %d", 7);
    char text[16] = "";
    for (auto [name, next, result, found] :
         {tuple("list one", uint64_t{1}, 2, "2\n"), tuple("hooked", uint64_t{0}, 6, "text 7"),
          tuple("list two", uint64_t{0}, -1, "text 7")}) {
        EXPECT_EQ(MOLTE_UTIL_GetTxtInfo(name, text, sizeof text, &next), result);
        EXPECT_STREQ(text, found);
    }
    EXPECT_EQ(MOLTE_UTIL_AddMemTextHook("hooked too", 1, OXMSG_TO_INNER, 5), -1);  // same id
    OTXTHOOK_Release();  // the hook's buffer is gone, and its name with it
    EXPECT_EQ(MOLTE_UTIL_GetLineBuf("hooked"), nullptr);
    EXPECT_EQ(MOLTE_UTIL_GetLineBuf("list one"), &a);
    g_stBv.stLineBufList.nCount = 0;
    OLINEBUF_Release(&a);
}

}  // namespace
