#include <map>
#include <sstream>

#include "support/test.h"

namespace {

class LineBuffer : public testing::Test {
 protected:
    LineBuffer() { EXPECT_EQ(OLINEBUF_Init(&buf_, "test", 1), 1); }
    ~LineBuffer() override { EXPECT_EQ(OLINEBUF_Release(&buf_), 1); }

    int32_t add(const std::string& line) {
        return OLINEBUF_AddLine(&buf_, line.data(), static_cast<int32_t>(line.size()));
    }
    // So many lines that have a block of their own.
    void fill_blocks(int32_t count) {
        for (int32_t i = 0; i < count; ++i) add(std::string(4000, static_cast<char>('a' + i % 26)));
    }
    std::string line(uint64_t id, int32_t size = 8192) {
        std::string out(8192, '#');
        int32_t length = -7;
        const int32_t result = OLINEBUF_GetLine(&buf_, out.data(), size, &length, &id);
        if (result < 1) return "none";
        EXPECT_EQ(length, result);
        EXPECT_EQ(out[static_cast<size_t>(result)], '#');  // no terminator
        return out.substr(0, static_cast<size_t>(result));
    }
    std::string lines(uint64_t* id, int32_t size) {
        std::string out(static_cast<size_t>(size) + 1, '#');
        const int32_t length = OLINEBUF_GetMultiLine(&buf_, out.data(), size, id);
        EXPECT_EQ(std::strlen(out.c_str()), static_cast<size_t>(length));
        EXPECT_EQ(out.back(), '#');
        return out.c_str();
    }
    Ints walk(int32_t (*step)(const OLINEBUF*, int32_t*)) {
        Ints blocks;
        int32_t at = -1;
        while (step(&buf_, &at) == 1 && blocks.size() < 100) blocks.push_back(at);
        return blocks;
    }
    OLINEBUF buf_;
};

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

TEST_F(LineBuffer, IdentifiersCount) {
    EXPECT_EQ(OLINEBUF_GetMinLineID(&buf_) + OLINEBUF_GetMaxLineID(&buf_), 0U);
    EXPECT_EQ(line(0), "none");
    for (const char* text : {"one", "two", "three"}) add(text);
    EXPECT_EQ(line(0) + line(1) + line(2) + line(3), "onetwothreenone");
    EXPECT_EQ(line(2, 5) + line(2, 6) + line(2, 1) + line(2, INT32_MIN), "threthreenonenone");
    EXPECT_EQ(OLINEBUF_AddLine(&buf_, nullptr, 3) + OLINEBUF_AddLine(&buf_, "x", 0), 0);
    EXPECT_EQ(OLINEBUF_GetMinLineID(&buf_), 0U);
    EXPECT_EQ(OLINEBUF_GetMaxLineID(&buf_), 3U);
}

TEST_F(LineBuffer, ABlockByteForByte) {
    add("abc");
    add("defgh");
    std::string bytes = "\2\0\0\0\10\0\0\0\3\0\0\0\375\17\0\0\5\0\0\0\370\17\0\0"s;
    bytes.append(4088 - bytes.size(), '\0').append("defghabc");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buf_.pBuf), 4096), bytes);
    const OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(&buf_, 0);
    EXPECT_EQ(OLINEBUF_UTIL_CanHoldLine(block, 508 * 8 - 8), 1);
    EXPECT_EQ(OLINEBUF_UTIL_CanHoldLine(block, 508 * 8 - 7), 0);
}

TEST_F(LineBuffer, ABlockTakes4080BytesOfLinesAndTheirTable) {
    EXPECT_EQ(add(std::string(5000, 'x')), 4000);
    EXPECT_EQ(add(std::string(72, 'y')), 72);  // 509 * 8 - 4000
    EXPECT_EQ(buf_.nCurBlock, 0);
    add("z");
    EXPECT_EQ(line(0) + line(1) + line(2), std::string(4000, 'x') + std::string(72, 'y') + "z");
    for (int i = 0; i < 453; ++i) add("z");  // each costs 9 of 4080
    EXPECT_EQ(buf_.nCurBlock, 1);
    add("z");
    EXPECT_EQ(buf_.nCurBlock, 2);
}

TEST_F(LineBuffer, TheOldestBlockGoesWhole) {
    add(std::string(100, 'f'));  // no line of 4000 fits behind it
    fill_blocks(16);
    EXPECT_EQ(OLINEBUF_GetMinLineID(&buf_), 1U);
    EXPECT_EQ(OLINEBUF_GetMaxLineID(&buf_), 17U);
    EXPECT_EQ(line(0), "none");
    EXPECT_EQ(line(1) + line(16), std::string(4000, 'a') + std::string(4000, 'p'));
    uint64_t next = 0;
    EXPECT_EQ(lines(&next, 4000), "");
    EXPECT_EQ(next, 0U);
    EXPECT_EQ(lines(&next, 4001), std::string(4000, 'a'));  // from the oldest one held
    EXPECT_EQ(next, 2U);
    next = 0;
    EXPECT_EQ(lines(&next, 16 * 4000 + 1).size(), 64000U);  // round the end of the ring
    EXPECT_EQ(lines(&next, 100), "");
    EXPECT_EQ(next, 17U);
}

TEST_F(LineBuffer, LinesGoInWhole) {
    OLINEBUF_AddMultiLine(&buf_, "123456789\nab\n\nlast");
    uint64_t next = 0;
    for (const auto& [size, text] :
         {tuple{10, ""}, {11, "123456789\n"}, {5, "ab\n\n"}, {99, "last"}}) {
        EXPECT_EQ(lines(&next, size), text);
    }
    EXPECT_EQ(next, 4U);
    EXPECT_EQ(OLINEBUF_GetMultiLine(&buf_, nullptr, 1, &next), -1);
    OLINEBUF_AddMultiLine(&buf_, "a\n");
    OLINEBUF_AddMultiLine(&buf_, "");
    EXPECT_EQ(OLINEBUF_GetMaxLineID(&buf_), 5U);
}

TEST_F(LineBuffer, StepsThroughTheBlocksInUse) {
    fill_blocks(3);
    EXPECT_EQ(walk(OLINEBUF_UTIL_BW_GetNextBKID), (Ints{2, 1, 0}));
    EXPECT_EQ(walk(OLINEBUF_UTIL_FW_GetNextBKID), (Ints{0, 1, 2}));
    fill_blocks(15);  // block 1 is the current one again
    EXPECT_EQ(walk(OLINEBUF_UTIL_BW_GetNextBKID),
              (Ints{1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2}));
    EXPECT_EQ(walk(OLINEBUF_UTIL_FW_GetNextBKID),
              (Ints{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0, 1}));
    fill_blocks(14);  // the last one: the walk on sees it alone
    EXPECT_EQ(walk(OLINEBUF_UTIL_FW_GetNextBKID), Ints{15});
    EXPECT_EQ(walk(OLINEBUF_UTIL_BW_GetNextBKID).size(), 16U);
    int32_t at = INT32_MIN;  // no block: as below the first
    EXPECT_EQ(OLINEBUF_UTIL_BW_GetNextBKID(&buf_, &at), 0);
    for (const auto& [id, found] : {tuple{15U, Ints{0, -1, -1}},
                                    {16U, Ints{1, 0, 0}},
                                    {31U, Ints{1, 15, 0}},
                                    {32U, Ints{0, -1, -1}}}) {
        int32_t block = -1;
        int32_t index = -1;
        const int32_t result = OLINEBUF_UTIL_PosLineByID(&buf_, id, &block, &index);
        EXPECT_EQ((Ints{result, block, index}), found) << id;
    }
}

TEST_F(LineBuffer, PlacesThatAreNone) {
    char out[16];
    OLINEBUF_BLOCK* block = OLINEBUF_UTIL_GetBlock(&buf_, 0);
    for (const int32_t none : {16, -1}) EXPECT_EQ(OLINEBUF_UTIL_GetBlock(&buf_, none), nullptr);
    EXPECT_EQ(OLINEBUF_UTIL_GetLine(&buf_, 0, 0, out, 16, nullptr), 0);
    EXPECT_EQ(OLINEBUF_UTIL_CopyStr(block, 4090, "1234567", 7), -1);
    EXPECT_EQ(OLINEBUF_UTIL_GetStr(block, INT32_MAX, out, INT32_MAX), -1);
    EXPECT_EQ(OLINEBUF_UTIL_CopyStr(block, 4089, "1234567", 7), 1);
    EXPECT_EQ(OLINEBUF_UTIL_GetStr(block, 4090, out, 6), 1);
    EXPECT_EQ(std::string(out, 6), "234567");
}

TEST_F(LineBuffer, StatisticsByteForByte) {
    OLINEBUF_STAT stat;
    const std::string same = "\0\0\0\100\0\0\0\0\0\1\0\0\0\0\0\20"s;
    EXPECT_EQ(OLINEBUF_DoStatistics(&buf_, &stat), 1);
    EXPECT_EQ(bytes_of(stat), same + "\0\0\0\17\0\0\17\360"s + std::string(40, '\0'));
    fill_blocks(18);  // all blocks in use, of each 72 bytes are free
    EXPECT_EQ(OLINEBUF_DoStatistics(&buf_, &stat), 1);
    EXPECT_EQ(bytes_of(stat), same + "\0\0\0\0\0\0\4\200\0\0\0\20\0\0\0\0\0\0\0\0\0\0\0\22"s +
                                  std::string(24, '\0'));
}

// Each line tells who wrote it and its number there: no reader sees a part of one, or one late.
TEST_F(LineBuffer, ManyWriteWhileManyRead) {
    constexpr int kLines = 3000;
    const auto line_of = [](char who, int n) {
        return who + std::to_string(n) + " " + std::string(static_cast<size_t>(n % 300), who) + ".";
    };
    std::atomic<int> writing{8};
    std::atomic<int> bad{0};
    std::vector<std::thread> threads;
    for (char who = 'a'; who < 'a' + 8; ++who) {
        threads.emplace_back([&, who] {
            for (int n = 1; n <= kLines; ++n) add(line_of(who, n) + "\n");
            --writing;
            MOLTE_THDATA_FreeData();
        });
    }
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            uint64_t next = 0;
            std::map<char, int> before;
            for (bool more = true; more;) {
                more = writing > 0;
                std::istringstream text(lines(&next, 20000));
                for (std::string line; std::getline(text, line); more = true) {
                    const int n = std::atoi(line.c_str() + 1);
                    if (n <= before[line[0]] || line != line_of(line[0], n)) ++bad;
                    before[line[0]] = n;
                }
            }
            MOLTE_THDATA_FreeData();
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(OLINEBUF_GetMaxLineID(&buf_), 8U * kLines);
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
