#include "pinyin_table.h"
#include "support/called.h"

namespace {

// a1 ZHANG, a2 ZHANG and CHANG, a3 SAN, a4 nine readings, a5 ER, a6 A; codes from B0A1 on.
constexpr char kLines[] =
    "zhang\xB0\xA1 x\xB0\xA2\r\n"
    "chang\xB0\xA2\xB0\xA2\n"
    "San:\xB0\xA3\xB0\nsan\xB0\r\n"
    "-ba\xB0\xA7\nabcdefghijklmnop\xB0\xA7\n"
    "abcdefghijklmno\xB0\xA8\n"
    "er\xB0\xA5\na\xB0\xA6\nghost\xB0\xA9\n"
    "ba\xB0\xA4\nbe\xB0\xA4\nbi\xB0\xA4\nbo\xB0\xA4\nbu\xB0\xA4\nca\xB0\xA4\nce\xB0\xA4\n"
    "ci\xB0\xA4\nce\xB0\xA4\nlv\xFE\xFE";

int32_t compare(uint16_t a, uint16_t b, uint8_t mode = 0, uint8_t by_pinyin = 1) {
    const MOLTE_HZPY_CMPOPT opt{mode, by_pinyin, {}};
    return MOLTE_HZPY_Cmp(&g_stPinYin, a, b, &opt);
}

// What a conversion tells: "result:text", or "0:piece|piece|" and " readings@piece" for a choice.
std::string converted(Text text, int32_t room) {
    std::string out(static_cast<size_t>(std::max(room, 1)), '?');
    MOLTE_HZPY_PYSEG* pieces = nullptr;
    MOLTE_HZPY_ONEHZSTR* choices = nullptr;
    int32_t piece_count = -1;
    int32_t choice_count = -1;
    const int32_t result =
        MOLTE_HZPY_Str2Py(text, out.data(), room, &pieces, &piece_count, &choices, &choice_count);
    if (result < 0) return outcome(result);
    std::string told = std::to_string(result) + ":";
    if (result == 1) told += out.c_str();
    for (int i = 0; i < piece_count; ++i) {
        EXPECT_EQ(static_cast<size_t>(pieces[i].nSize), std::strlen(pieces[i].pszText) + 1);
        told += pieces[i].pszText + "|"s;
    }
    for (int i = 0; i < choice_count; ++i) {
        told += " "s + choices[i].aszPY[0] + "," + choices[i].aszPY[1] + "@" +
                std::to_string(choices[i].nSegIndex);
    }
    MOLTE_HZPY_PYSEG_Free(pieces, piece_count);
    ORVEX_free(pieces);
    ORVEX_free(choices);
    return told;
}

TEST(Pinyin, table_is_built_once_from_its_file) {
    const PinyinTable table(kLines);
    EXPECT_EQ(table.built(), 1);
    EXPECT_EQ(MOLTE_HZPY_Init(&g_stPinYin), 0);
    EXPECT_EQ(g_stPinYin.stHZ.nFirstCode, 0xB0A1);
    EXPECT_EQ(g_stPinYin.stHZ.nCount, 65536 - 0xB0A1);
    const auto& shengmu = g_stPinYin.stPY.stShengmu;
    EXPECT_EQ(shengmu.nCapacity % 16, 0);
    EXPECT_GE(MOLTE_HZPY_UTIL_GetPyIndex(&shengmu, "GH"), 0);
    EXPECT_EQ(error_of(MOLTE_HZPY_UTIL_GetPyIndex(&shengmu, "G")), "930 oxpinyin py=G max=8");
    MOLTE_HZPY_ONEHZ character;
    EXPECT_EQ(MOLTE_HZPY_HzChar2Py("\xB0\xA1", &character), 1);
    EXPECT_EQ(error_of(MOLTE_HZPY_HzChar2Py("x", &character)), "934 oxpinyin str=x. 120 byte=1");
    EXPECT_EQ(MOLTE_HZPY_HzChar2Py("\xB0", &character), 0);
    char text[3] = "??";
    MOLTE_HZ_Code2Str(0xB0A1, text);
    EXPECT_EQ(text, "\xB0\xA1"s);
}

TEST(Pinyin, other_languages_and_other_tables) {
    MOLTE_HZPY_TABLE other{};
    EXPECT_EQ(error_of(MOLTE_HZPY_Init(&other)), "931 oxpinyin");
    {
        const PinyinTable table(kLines, OXLANG_ENGLISH);
        EXPECT_EQ(table.built(), 1);
        EXPECT_EQ(readings_of(0xB0A1), "");
        ORVEX_BASE_ReleaseVar();
        EXPECT_EQ(g_stPinYin.stHZ.pEntries, nullptr);
        EXPECT_EQ(g_stPinYin.bInited, 1);  // stays
        EXPECT_EQ(readings_of(0xB0A1), "");
        EXPECT_EQ(compare(0xB0A1, 0xB0A2), -1);
    }
    EXPECT_EQ(readings_of(0xB0A1), "933 oxpinyin");
    EXPECT_EQ(converted("x\xB0\xA1", 64), "933 oxpinyin < oxpinyin");
    const PinyinTable table(kLines);
    fs::resize_file(table.folder() / "PINYIN.TXT", 0x40000000);
    g_stPinYin.bInited = 0;
    EXPECT_EQ(error_of(MOLTE_HZPY_Init(&g_stPinYin)), "303 oxpinyin file size too big max 1GB");
    fs::remove(table.folder() / "PINYIN.TXT");
    EXPECT_EQ(error_number_of(MOLTE_HZPY_Init(&g_stPinYin)), 1U);
    EXPECT_EQ(g_stPinYin.stHZ.nCount, 0);
    EXPECT_EQ(g_stPinYin.bInited, 0);
}

TEST(Pinyin, lists_hold_256_parts) {
    MOLTE_HZPY_PHTABLE list{};
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(MOLTE_HZPY_UTIL_AddPy(&list, std::to_string(i).c_str()), i);
    }
    EXPECT_EQ(taken_error(), "930 oxpinyin py=255 max=255");  // left behind by a success
    EXPECT_EQ(MOLTE_HZPY_UTIL_AddPy(&list, "256"), -1);
    EXPECT_EQ(MOLTE_HZPY_UTIL_AddPy(&list, "255"), 255);
    MOLTE_HZPY_FreePHTable(&list);
    EXPECT_EQ(list.nCount, 0);

    MOLTE_HZPY_HZTABLE characters;
    ASSERT_EQ(MOLTE_HZPY_InitHZTable(&characters), 1);
    for (uint8_t i = 0; i < 9; ++i) {
        const uint8_t pair[2] = {1, i};
        EXPECT_EQ(MOLTE_HZPY_AddHz(&characters, pair, 65535), 1);
        EXPECT_EQ(MOLTE_HZPY_AddHz(&characters, pair, 65535), i < 7 ? 0 : 1);
        EXPECT_EQ(MOLTE_HZPY_AddHz(&characters, pair, i % 2 == 0 ? 65536 : -1), -1);
    }
    EXPECT_EQ(std::string(reinterpret_cast<char*>(&characters.pEntries[65535]), 16),
              "\1\0\1\1\1\2\1\3\1\4\1\5\1\6\7\0"s);
    MOLTE_HZPY_FreeHZTable(&characters);
}

TEST(Pinyin, partners_are_kept_and_change_no_comparison) {
    const PinyinTable table("zhang\xB0\xA1\nzang\xB0\xA2\nzhan\xB0\xA3\n");
    auto& py = g_stPinYin.stPY;
    py.stOpt.bZhZ = py.stOpt.bAngAn = 1;
    py.stOpt.bNL = 1;  // no such shengmu: an error stays, the pass goes on
    EXPECT_EQ(MOLTE_HZPY_FuzzyChange(&py), 1);
    EXPECT_EQ(taken_error(), "930 oxpinyin py=N max=2");
    const auto bytes = [](const MOLTE_HZPY_PHTABLE& list) {
        const auto count = static_cast<size_t>(list.nCount);
        return std::string(reinterpret_cast<const char*>(list.pEntries), 8 * count);
    };
    EXPECT_EQ(bytes(py.stShengmu), "ZH\0\0\0\0\1\1Z\0\0\0\0\0\0\0"s);
    EXPECT_EQ(bytes(py.stYunmu), "ANG\0\0\0\1\1AN\0\0\0\0\0\0"s);
    EXPECT_EQ(compare(0xB0A1, 0xB0A2, 97), 1);
    EXPECT_EQ(compare(0xB0A1, 0xB0A3, 98), 1);
    EXPECT_EQ(MOLTE_HZPY_UTIL_SetFuzzy(&py.stShengmu, 0, "?", "?"), 0);
    py.stOpt = {};
    MOLTE_HZPY_FuzzyChange(&py);
    EXPECT_EQ(py.stShengmu.pEntries[0].bFuzzy + py.stYunmu.pEntries[0].bFuzzy, 0);
    EXPECT_EQ(MOLTE_HZPY_GetFuzzyTable() + MOLTE_HZPY_SetFuzzyTable(), 0);
}

TEST(Pinyin, options_are_read_and_reset) {
    const PinyinTable table(kLines);
    const fs::path file = table.folder() / "HZFUZZY.DAT";
    const auto write = [&](const std::string& bytes) {
        std::ofstream(file, std::ios::binary) << bytes;
    };
    MOLTE_HZPY_FUZZYOPT opt;
    std::memset(&opt, 1, sizeof opt);
    EXPECT_EQ(MOLTE_HZPY_LoadOpt(&opt), 0);
    EXPECT_EQ(opt.bZhZ, 0);
    opt.bZhZ = 1;
    EXPECT_EQ(MOLTE_HZPY_SaveOpt(&opt), 0);
    EXPECT_EQ(opt.bZhZ, 0);
    EXPECT_FALSE(fs::exists(file));
    write("\0\0\0\0\1\0\1"s + std::string(7, '\0') + "\2" + std::string(17, '\3') + "behind");
    EXPECT_EQ(MOLTE_HZPY_LoadOpt(&opt), 1);
    EXPECT_EQ(opt.bZhZ + opt.bShS * 10 + opt.bChC * 100 + opt.bUangUan * 1000, 2101);
    fs::permissions(file, fs::perms::owner_read);
    EXPECT_EQ(MOLTE_HZPY_SaveOpt(&opt), 1);
    EXPECT_EQ(read_bytes(file), std::string(32, '\0'));
    write(std::string(31, '\1'));
    EXPECT_EQ(error_of(MOLTE_HZPY_LoadOpt(&opt)).substr(0, 14), "3 oxpinyin fd=");
    char path[MOLTE_HZPY_PATH_SIZE];
    EXPECT_EQ(MOLTE_HZPY_HzTablePathFN(path), 1);
    EXPECT_TRUE(std::string(path).ends_with("\\CONF\\LANG\\HZ\\PINYIN.TXT"));
}

TEST(Pinyin, rows) {
    const PinyinTable table(kLines);
    check_rows(TEST_ROWS, {{"readings", called<readings_of>},
                           {"comparison", called<compare>},
                           {"text", called<converted>}});
}

TEST(Pinyin, dumps) {
    const PinyinTable table("zhang\xB0\xA1\na\xB0\xA1\n");
    testing::internal::CaptureStdout();
    MOLTE_HZPY_PrintPYTable(&g_stPinYin.stPY);
    MOLTE_HZPY_PrintHz(&g_stPinYin);
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    EXPECT_EQ(text,
              "Shengmu\ni=00  ZH\ni=01  \n\nYunmu\ni=00  ANG\ni=01  A\n\xB0\xA1 ZH-ANG  -A  \n");
}

}  // namespace
