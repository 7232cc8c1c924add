// A table of pinyin as somebody may have written it: built, then used with its own bytes as text.
#include <filesystem>
#include <memory>

#include "frame.h"

namespace {

void check_readings() {
    const auto& table = g_stPinYin;
    for (int32_t i = 0; i < table.stHZ.nCount; ++i) {
        const MOLTE_HZPY_ONEHZ& entry = table.stHZ.pEntries[i];
        must(entry.nCount <= MOLTE_HZPY_MAX_READINGS);
        for (int k = 0; k < entry.nCount; ++k) {
            must(entry.abyPair[k][0] < table.stPY.stShengmu.nCount);
            must(entry.abyPair[k][1] < table.stPY.stYunmu.nCount);
        }
    }
}

// The table built into entries for all codes is the same, its front cut off.
void check_against_all_codes() {
    MOLTE_HZPY_TABLE table{};
    MOLTE_HZPY_InitHZTable(&table.stHZ);
    must(MOLTE_HZPY_BuildPY(&table) == 1);
    const MOLTE_HZPY_HZTABLE& all = table.stHZ;
    const MOLTE_HZPY_HZTABLE& built = g_stPinYin.stHZ;
    must(all.nFirstCode == built.nFirstCode && all.nCount == built.nCount);
    const size_t size = static_cast<size_t>(all.nCount) * sizeof *all.pEntries;
    must(std::memcmp(all.pEntries, built.pEntries, size) == 0);
    MOLTE_HZPY_Release(&table);
}

// Each output is exactly as large as it is said to be.
void convert(const std::string& text) {
    const std::string exact(text.c_str());
    const auto out = std::make_unique<char[]>(64);
    MOLTE_HZPY_PYSEG* pieces = nullptr;
    MOLTE_HZPY_ONEHZSTR* choices = nullptr;
    int32_t piece_count = 0;
    int32_t choice_count = 0;
    MOLTE_HZPY_Str2Py(exact.c_str(), out.get(), 64, &pieces, &piece_count, &choices, &choice_count);
    MOLTE_HZPY_PYSEG_Free(pieces, piece_count);
    ORVEX_free(pieces);
    ORVEX_free(choices);
    MOLTE_Name2Pinyin(exact.c_str(), out.get(), 64);
    MOLTE_Name2Wild(exact.c_str(), out.get(), 64);
}

}  // namespace

void try_input(std::string_view input) {
    static const TempFolder root;
    std::filesystem::create_directories(root / "CONF/LANG/HZ");
    root.write("CONF/LANG/HZ/PINYIN.TXT", input);
    ORVEX_SetMainPath(root.str().c_str());
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE);
    g_stPinYin.bInited = 0;
    if (MOLTE_HZPY_Init(&g_stPinYin) > 0) {
        check_readings();
        check_against_all_codes();
        convert(std::string(input.substr(0, 1100)));
    }
    MOLTE_HZPY_Release(&g_stPinYin);
}
