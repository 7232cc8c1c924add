#include <cstring>

#include "excuses.h"

namespace {

constexpr char kLines[] = "zhang\xB0\xA1\nchang\xB0\xA1\nsan\xB0\xA2\n";
constexpr char kName[] = "\xB0\xA1 Ming";

void bring_up_in_chinese() {
    given("CONF/LANG/HZ/PINYIN.TXT", kLines);
    bring_up("DEF_LANG_ID = 2052\n");
}

void build_table() {
    bring_up_in_chinese();
    RIGHT(MOLTE_HZPY_Init(&g_stPinYin) == 1);
}

}  // namespace

FAMILY(pinyin) {
    bring_up_in_chinese();
    const std::string options = given("CONF/LANG/HZ/HZFUZZY.DAT", std::string(32, '\1'));
    if (DID(MOLTE_HZPY_Init(&g_stPinYin))) {
        MOLTE_HZPY_ONEHZ readings;
        RIGHT(MOLTE_HZPY_HzCode2Py(0xB0A1, &readings) == 1 && readings.nCount == 2);
        const uint8_t option = g_stPinYin.stPY.stOpt.bGK;
        RIGHT(option == g_stPinYin.stPY.stOpt.bUangUan);
        RIGHT_OR(kNoFuzzyOptions, option == 1);
        char out[64];
        MOLTE_HZPY_PYSEG* pieces = nullptr;
        MOLTE_HZPY_ONEHZSTR* several = nullptr;
        int32_t piece_count = 0;
        int32_t several_count = 0;
        GIVES(MOLTE_HZPY_Str2Py(kName, out, sizeof out, &pieces, &piece_count, &several,
                                &several_count),
              piece_count == 2 && several_count == 1 && several->nCount == 2);
        MOLTE_HZPY_PYSEG_Free(pieces, piece_count);
        ORVEX_free(pieces);
        ORVEX_free(several);
    } else {
        RIGHT(g_stPinYin.stHZ.pEntries == nullptr && g_stPinYin.stPY.stYunmu.pEntries == nullptr);
    }
    MOLTE_HZPY_FUZZYOPT option{};
    GIVES(MOLTE_HZPY_SaveOpt(&option),
          bytes_of("CONF/LANG/HZ/HZFUZZY.DAT") == std::string(32, '\0'));
    ORVEX_BASE_ReleaseVar();
}
AFTER(pinyin) {
    STORED_OR(kOptionsCut, "CONF/LANG/HZ/HZFUZZY.DAT", std::string(32, '\1'),
              std::string(32, '\0'));
}

FAMILY(name_pinyin) {
    build_table();
    MOLTE_NAMEPART* parts = nullptr;
    int32_t count = 0;
    GIVES(count = MOLTE_Name2Part(kName, &parts),
          count == 3 && std::strcmp(parts[2].pszText, "Ming") == 0);
    MOLTE_NAMEPART_MultiFree(parts, count < 0 ? 0 : count);
    ORVEX_free(parts);
    char text[64];
    GIVES(MOLTE_Name2Pinyin(kName, text, sizeof text),
          std::strcmp(text, " ZHANG CHANG  Ming ") == 0);
    GIVES(MOLTE_Name2Wild(kName, text, sizeof text), std::strcmp(text, "* MING *") == 0);
    ORVEX_BASE_ReleaseVar();
}

FAMILY(collation) {
    build_table();
    RIGHT(FAULTY(OCOLL_DB_CharPyCmp(0xB0A1, 0xB0A2)) > 0);
    RIGHT(FAULTY(OCOLL_SB_StrCiCmp("Text", "tEXT")) == 0);
    RIGHT(FAULTY(ORVEX_UTIL_GetWildMatchRoutine(2, 52)) == ORVEX_MB_Ci_WildPyMatch);
    ORVEX_BASE_ReleaseVar();
}

FAMILY(wild_match) {
    const std::string text(80, 'a');
    const std::string pattern(90, '.');
    RIGHT(FAULTY(ORVEX_WildMatch("some text", "*t?x[a-u]")) == 1);
    RIGHT_OR(kNoMatchWithoutMemory, FAULTY(ORVEX_WildMatch(text.c_str(), pattern.c_str())) == 1);
}

FAMILY(wild_template) {
    MOLTE_WMTEMPL compiled{};
    if (DID(MOLTE_CompileTempl("a*lit[c-e]?\\*", &compiled))) {
        RIGHT(FAULTY(MOLTE_CompiledWildMatch(&compiled, "aXXlitdX*")) == 1);
        RIGHT(FAULTY(MOLTE_CompiledWildMatch(&compiled, "aXXlitfX*")) == 0);
    } else {
        RIGHT(compiled.nSubStr == 0 && compiled.pSubStr == nullptr);
    }
    MOLTE_WMTEMPL_Free(&compiled);
}
