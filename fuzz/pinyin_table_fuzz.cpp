// A table of pinyin as somebody may have written it: built, then used with its own bytes as text.
#include <stdlib.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "moltelib.h"

namespace {

const std::string& installation() {
    static char folder[] = "/tmp/moltelib-fuzz-XXXXXX";
    static const std::string name = mkdtemp(folder);
    return name;
}

void write_table(const uint8_t* data, size_t size) {
    const std::filesystem::path folder = installation() + "/CONF/LANG/HZ";
    std::filesystem::create_directories(folder);
    FILE* file = std::fopen((folder / "PINYIN.TXT").c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size) abort();
    std::fclose(file);
}

void check_readings() {
    const auto& table = g_stPinYin;
    for (int32_t i = 0; i < table.stHZ.nCount; ++i) {
        const MOLTE_HZPY_ONEHZ& entry = table.stHZ.pEntries[i];
        if (entry.nCount > MOLTE_HZPY_MAX_READINGS) __builtin_trap();
        for (int k = 0; k < entry.nCount; ++k) {
            if (entry.abyPair[k][0] >= table.stPY.stShengmu.nCount) __builtin_trap();
            if (entry.abyPair[k][1] >= table.stPY.stYunmu.nCount) __builtin_trap();
        }
    }
}

// The table built into entries for all codes is the same, its front cut off.
void check_against_all_codes() {
    MOLTE_HZPY_TABLE table{};
    MOLTE_HZPY_InitHZTable(&table.stHZ);
    if (MOLTE_HZPY_BuildPY(&table) != 1) __builtin_trap();
    const MOLTE_HZPY_HZTABLE& all = table.stHZ;
    const MOLTE_HZPY_HZTABLE& built = g_stPinYin.stHZ;
    if (all.nFirstCode != built.nFirstCode || all.nCount != built.nCount) __builtin_trap();
    const size_t size = static_cast<size_t>(all.nCount) * sizeof *all.pEntries;
    if (std::memcmp(all.pEntries, built.pEntries, size) != 0) __builtin_trap();
    MOLTE_HZPY_Release(&table);
}

// Each output is exactly as large as it is said to be.
void convert(const std::string& text) {
    const std::string exact(text.c_str());
    char* out = static_cast<char*>(malloc(64));
    MOLTE_HZPY_PYSEG* pieces = nullptr;
    MOLTE_HZPY_ONEHZSTR* choices = nullptr;
    int32_t piece_count = 0;
    int32_t choice_count = 0;
    MOLTE_HZPY_Str2Py(exact.c_str(), out, 64, &pieces, &piece_count, &choices, &choice_count);
    MOLTE_HZPY_PYSEG_Free(pieces, piece_count);
    ORVEX_free(pieces);
    ORVEX_free(choices);
    MOLTE_Name2Pinyin(exact.c_str(), out, 64);
    MOLTE_Name2Wild(exact.c_str(), out, 64);
    free(out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    write_table(data, size);
    ORVEX_SetMainPath(installation().c_str());
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE);
    g_stPinYin.bInited = 0;
    if (MOLTE_HZPY_Init(&g_stPinYin) > 0) {
        check_readings();
        check_against_all_codes();
        convert(std::string(reinterpret_cast<const char*>(data), size).substr(0, 1100));
    }
    MOLTE_HZPY_Release(&g_stPinYin);
    return 0;
}
