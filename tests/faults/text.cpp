#include "faults.h"

namespace {

constexpr char kName[] = "\xB0\xA1 Ming";
constexpr char kOptions[] = "CONF/LANG/HZ/HZFUZZY.DAT";
const std::string kNoOptions(32, '\0');
const std::string kAllOptions(32, '\1');

void bring_up_in_chinese() {
    given("CONF/LANG/HZ/PINYIN.TXT", "zhang\xB0\xA1\nchang\xB0\xA1\nsan\xB0\xA2\n");
    bring_up("DEF_LANG_ID = 2052\n");
}

void build_table() {
    bring_up_in_chinese();
    RIGHT(MOLTE_HZPY_Init(&g_stPinYin) == 1);
}

}  // namespace

FAMILY(pinyin) {
    bring_up_in_chinese();
    given(kOptions, kAllOptions);
    if (DID(MOLTE_HZPY_Init(&g_stPinYin))) {
        MOLTE_HZPY_ONEHZ readings;
        RIGHT(MOLTE_HZPY_HzCode2Py(0xB0A1, &readings) == 1 && readings.nCount == 2);
        const uint8_t option = g_stPinYin.stPY.stOpt.bGK;
        RIGHT(option == g_stPinYin.stPY.stOpt.bUangUan);
        RIGHT_OR("options need not be there: what can't be read is zero", option == 1);
        char out[64];
        Freed<MOLTE_HZPY_PYSEG> pieces;
        Freed<MOLTE_HZPY_ONEHZSTR> several;
        int32_t counts[2] = {};
        GIVES(MOLTE_HZPY_Str2Py(kName, out, sizeof out, &pieces.block, &counts[0], &several.block,
                                &counts[1]),
              counts[0] == 2 && counts[1] == 1 && several.block->nCount == 2);
        MOLTE_HZPY_PYSEG_Free(pieces.block, counts[0]);
    } else {
        RIGHT(g_stPinYin.stHZ.pEntries == nullptr && g_stPinYin.stPY.stYunmu.pEntries == nullptr);
    }
    MOLTE_HZPY_FUZZYOPT option{};
    GIVES(MOLTE_HZPY_SaveOpt(&option), bytes_of(kOptions) == kNoOptions);
}
AFTER(pinyin) {
    STORED_OR("options are reset in place, and a short file is none", kOptions, kAllOptions,
              kNoOptions);
}

FAMILY(multibyte) {
    RIGHT(OXLANG_SetLocale(OXLANG_CHINESE) == 1);
    int32_t length = 0;
    RIGHT(FAULTY(ORVEX_GetCharMB("\xB0\xA1", &length)) == 0xB0A1 && length == 2);
    RIGHT(FAULTY(ORVEX_mblen("\xB0\xA1")) == 2);
}

FAMILY(name_pinyin) {
    build_table();
    Freed<MOLTE_NAMEPART> parts;
    char text[64];
    int32_t count = 0;
    GIVES(count = MOLTE_Name2Part(kName, &parts.block),
          count == 3 && equal(parts.block[2].pszText, "Ming"));
    MOLTE_NAMEPART_MultiFree(parts.block, count < 0 ? 0 : count);
    GIVES(MOLTE_Name2Pinyin(kName, text, sizeof text), equal(text, " ZHANG CHANG  Ming "));
    GIVES(MOLTE_Name2Wild(kName, text, sizeof text), equal(text, "* MING *"));
}

FAMILY(collation) {
    build_table();
    RIGHT(FAULTY(OCOLL_DB_CharPyCmp(0xB0A1, 0xB0A2)) > 0);
    RIGHT(FAULTY(OCOLL_SB_StrCiCmp("Text", "tEXT")) == 0);
    RIGHT(FAULTY(ORVEX_UTIL_GetWildMatchRoutine(2, 52)) == ORVEX_MB_Ci_WildPyMatch);
}

FAMILY(wild_match) {
    const std::string text(80, 'a');
    const std::string pattern(90, '.');
    RIGHT(FAULTY(ORVEX_WildMatch("some text", "*t?x[a-u]")) == 1);
    RIGHT_OR("a pattern of more than 63 \".\" takes some memory",
             FAULTY(ORVEX_WildMatch(text.c_str(), pattern.c_str())) == 1);
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
