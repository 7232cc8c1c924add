// The files' names, and the options of parts that are mistaken for one another.
#include "core/owners.h"
#include "core/transfer.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "text/oxpinyin.h"

using namespace molte::pinyin;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr char kTableName[] = "PINYIN.TXT";
constexpr int32_t kOptionSize = sizeof(MOLTE_HZPY_FUZZYOPT);

int32_t file_in_folder(char* path, const char* name) {
    if (MOLTE_HZPY_MainPath(path) < 0) return kModule.trace(here());
    std::strcat(std::strcat(path, "\\"), name);
    return 1;
}

bool exists(const char* path) {
    return _access(path, 0) == 0;
}

int32_t fail_open(int32_t line, const char* path) {
    return kModule.fail_text(line, molte::kNotOpened, SystemError::runtime, path);
}

}  // namespace

int32_t MOLTE_HZPY_MainPath(char* pszBuf) {
    if (pszBuf == nullptr) return kModule.fail(here(), kBadArgument);
    const char* main_path = GetMainPath();
    if (main_path == nullptr) return kModule.trace(here());
    std::strcpy(pszBuf, main_path);
    std::strcat(pszBuf, "\\CONF\\LANG\\HZ");
    return 1;
}

const char* MOLTE_HZPY_HzTableFN(void) {
    return kTableName;
}

int32_t MOLTE_HZPY_HzTablePathFN(char* pszBuf) {
    return file_in_folder(pszBuf, kTableName);
}

int32_t MOLTE_HZPY_FuzzyTableFN(char* pszBuf) {
    return file_in_folder(pszBuf, "HZFUZZY.DAT");
}

int32_t MOLTE_HZPY_LoadOpt(MOLTE_HZPY_FUZZYOPT* pOpt) {
    if (pOpt == nullptr) return kModule.fail(here(), kBadArgument);
    *pOpt = {};
    char path[MOLTE_HZPY_PATH_SIZE];
    if (MOLTE_HZPY_FuzzyTableFN(path) < 0) return kModule.trace(here());
    if (!exists(path)) return 0;
    const molte::Descriptor file(_open(path, ORVEX_OPEN_READ));
    if (!file.valid()) return fail_open(here(), path);
    if (molte::read_whole(file.get(), pOpt, kOptionSize)) return 1;
    *pOpt = {};
    return molte::fail_read(kModule, here(), file.get(), pOpt, kOptionSize);
}

int32_t MOLTE_HZPY_SaveOpt(MOLTE_HZPY_FUZZYOPT* pOpt) {
    if (pOpt == nullptr) return kModule.fail(here(), kBadArgument);
    *pOpt = {};  // before it is written: the function resets, which is meant
    char path[MOLTE_HZPY_PATH_SIZE];
    if (MOLTE_HZPY_FuzzyTableFN(path) < 0) return kModule.trace(here());
    if (!exists(path)) return 0;
    ORVEX_FileChangeMode(path, ORVEX_MODE_OWNER, 0);
    const molte::Descriptor file(_open(path, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return fail_open(here(), path);
    if (molte::write_whole(file.get(), pOpt, kOptionSize)) return 1;
    return molte::fail_write(kModule, here(), file.get(), pOpt, kOptionSize);
}

int32_t MOLTE_HZPY_UTIL_SetFuzzy(MOLTE_HZPY_PHTABLE* pPH, int32_t bOn, const char* pszFrom,
                                 const char* pszTo) {
    if (bOn == 0) return 0;
    const int32_t from = MOLTE_HZPY_UTIL_GetPyIndex(pPH, pszFrom);
    if (from < 0) return kModule.trace(here());
    const int32_t to = MOLTE_HZPY_UTIL_GetPyIndex(pPH, pszTo);
    if (to < 0) return kModule.trace(here());
    pPH->pEntries[from].bFuzzy = 1;
    pPH->pEntries[from].nFuzzyIndex = static_cast<uint8_t>(to);
    return 1;
}

int32_t MOLTE_HZPY_UTIL_ClearFuzzy(MOLTE_HZPY_PHTABLE* pPH) {
    if (pPH == nullptr) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < pPH->nCount; ++i) pPH->pEntries[i].bFuzzy = 0;
    return 1;
}

int32_t MOLTE_HZPY_FuzzyChange(MOLTE_HZPY_PYTABLE* pPY) {
    if (pPY == nullptr) return kModule.fail(here(), kBadArgument);
    const MOLTE_HZPY_FUZZYOPT& opt = pPY->stOpt;
    struct Partner {
        MOLTE_HZPY_PHTABLE* list;
        uint8_t on;
        const char* from;
        const char* to;
    };
    MOLTE_HZPY_PHTABLE* const shengmu = &pPY->stShengmu;
    MOLTE_HZPY_PHTABLE* const yunmu = &pPY->stYunmu;
    const Partner partners[] = {
        {shengmu, opt.bChC, "CH", "C"},       {shengmu, opt.bShS, "SH", "S"},
        {shengmu, opt.bZhZ, "ZH", "Z"},       {shengmu, opt.bGK, "G", "K"},
        {shengmu, opt.bHF, "H", "F"},         {shengmu, opt.bNL, "N", "L"},
        {yunmu, opt.bAngAn, "ANG", "AN"},     {yunmu, opt.bEngEn, "ENG", "EN"},
        {yunmu, opt.bIangIan, "IANG", "IAN"}, {yunmu, opt.bIngIn, "ING", "IN"},
        {yunmu, opt.bUangUan, "UANG", "UAN"},
    };
    MOLTE_HZPY_UTIL_ClearFuzzy(shengmu);
    MOLTE_HZPY_UTIL_ClearFuzzy(yunmu);
    for (const auto& [list, on, from, to] : partners) {
        if (MOLTE_HZPY_UTIL_SetFuzzy(list, on, from, to) < 0) kModule.trace(here());
    }
    return 1;
}

int32_t MOLTE_HZPY_GetFuzzyTable(void) {
    return 0;
}

int32_t MOLTE_HZPY_SetFuzzyTable(void) {
    return 0;
}
