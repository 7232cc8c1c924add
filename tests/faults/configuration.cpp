#include <cstring>

#include "faults.h"

namespace {

constexpr char kOldIni[] = "# settings\nA = 1\nB = 2   # two\n";
constexpr char kNewIni[] = "# settings\nA = 7\nB = 2   # two\nC = 3\n";
constexpr const char* kNames[] = {"A", "C"};
constexpr char kValues[2][MOLTE_PARAM_SLOT] = {"7", "3"};
constexpr char kIdentity[] = "0123456789abcdef";
constexpr char kNewIdentity[] = "one that can't be read is made anew, which 2 tells";

int32_t number = 0;

int32_t set_number(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_IntAct(item, record, mode, 3, "Number", set_number, &number);
}

}  // namespace

FAMILY(main_path) {
    const std::string old_root = in_folder("old");
    const std::string new_root = in_folder("new");
    char conf[300];
    RIGHT(CreateMainPath(old_root.c_str()) == 1);
    const bool moved = DID(CreateMainPath(new_root.c_str()));
    if (!DID(InitMainPath())) return;
    RIGHT(GetMainPath() == new_root || (!moved && GetMainPath() == old_root));
    ORVEX_CONF_PathName(conf);
    GIVES(ORVEX_SYS_CreatePath(), ORVEX_NameIsPath(conf) == 1);
}
AFTER(main_path) {
    RIGHT(InitMainPath() == 1);
    const std::string root = GetMainPath();
    RIGHT(root == in_folder("new") ||
          (root == in_folder("old") && (this_run->died || this_run->told)));
    RIGHT(CreateMainPath(in_folder("new")) == 1);
}

FAMILY(parameter_file) {
    install();
    const char* const path = given("file.ini", kOldIni);
    given("CONF/exfsvr.cfg", "old server\n");
    given("CONF/serverid.dat", kIdentity);
    char value[MOLTE_PARAM_SLOT] = "";
    Freed<char> list;
    int32_t result = 0;
    uint8_t identity[ORVEX_UUID_SIZE];
    GIVES(PARAMETER_GetValue(path, "B", value), equal(value, "2   "));
    GIVES(PARAMETER_SetValueArray(path, kNames, kValues[0], 2), bytes_of("file.ini") == kNewIni);
    GIVES(ORVEX_PARAMETER_GetCFGEXFServer(&list.block, &result), equal(list.block, "old server"));
    GIVES(ORVEX_PARAMETER_SetCFGEXFServer("one\0two", 2),
          bytes_of("CONF/exfsvr.cfg") == "one\ntwo\n");
    if (DID(result = ORVEX_PARAMETER_GetServerID(identity))) {
        RIGHT_OR(kNewIdentity, result == 1);
        RIGHT(equal(identity, sizeof identity, bytes_of("CONF/serverid.dat")));
    }
}
AFTER(parameter_file) {
    const char* const torn = this_run->died || this_run->watch.plan.onwards
                                 ? "files are written in place: death, or a disk that refuses the "
                                   "old content as well, tears them"
                                 : nullptr;
    STORED_OR(torn, "file.ini", kOldIni, kNewIni);
    STORED_OR(torn, "CONF/exfsvr.cfg", "old server\n", "one\ntwo\n");
    STORED_OR(kNewIdentity, "CONF/serverid.dat", kIdentity, kIdentity);
    char value[MOLTE_PARAM_SLOT] = "";
    RIGHT(PARAMETER_SetValue(in_folder("file.ini"), "A", "9") == 1);
    RIGHT(PARAMETER_GetValue(in_folder("file.ini"), "A", value) == 1 && equal(value, "9"));
}

FAMILY(parameter_registry) {
    bring_up("Number = 5\n");
    static MOLTE_PARAMITEM item;
    Freed<MOLTE_PARAMNETITEM> records;
    MOLTE_PARAMNETITEM record{};
    std::strcpy(record.szName, "Number");
    uint4ToChar4(8, record.abyValue);
    int32_t count = 0;
    GIVES(set_number(&item, nullptr, MOLTE_PARAM_REGISTER, 0),
          number == 5 && MOLTE_PARAMADM_GetMemValPt("Number") == &item);
    GIVES(count = MOLTE_PARAMADM_GetAllNetVal(&records.block),
          count >= 37 && records.block != nullptr);
    GIVES(MOLTE_PARAMADM_SetIniFile(&record, 1, MOLTE_PARAM_FROM_NET),
          bytes_of("CONF/rvexinit.ini") == "Number = 8\n");
}
AFTER(parameter_registry) {
    STORED("CONF/rvexinit.ini", "Number = 5\n", "Number = 8\n");
}

FAMILY(language) {
    install("DEF_LANG_ID = 2052\n");
    wchar_t wide[4];
    GIVES(OXLANG_Init(), equal(OXLANG_LANGLID2Str(10), "Lang_Spanish"));
    GIVES(OXLANG_SetLocale(OXLANG_CHINESE), MOLTE_STR_mbstowcs("\xB0\xA1", wide, 4) == 1);
    if (DID(OXLANG_LID_Init())) {
        RIGHT_OR("DEF_LANG_ID counts as absent where it can't be read",
                 OXLANG_GetLID() == OXLANG_CHINESE);
    }
    RIGHT(OXLANG_SetLocale(OXLANG_CHINESE) == 1);
}
