#include <cstring>

#include "excuses.h"

namespace {

constexpr char kOldIni[] = "# settings\nA = 1\nB = 2   # two\n";
constexpr char kNewIni[] = "# settings\nA = 7\nB = 2   # two\nC = 3\n";
constexpr const char* kNames[] = {"A", "C"};
constexpr char kValues[2][MOLTE_PARAM_SLOT] = {"7", "3"};
constexpr char kIdentity[] = "0123456789abcdef";

int32_t number = 0;

int32_t set_number(MOLTE_PARAMITEM* item, const MOLTE_PARAMNETITEM* record, int32_t mode, int32_t) {
    return MOLTE_PARAMADM_IntAct(item, record, mode, 3, "Number", set_number, &number);
}

}  // namespace

FAMILY(main_path) {
    const std::string old_root = in_folder("old");
    const std::string new_root = in_folder("new");
    RIGHT(CreateMainPath(old_root.c_str()) == 1);
    const bool moved = DID(CreateMainPath(new_root.c_str()));
    if (!DID(InitMainPath())) return;
    RIGHT(GetMainPath() == new_root || (!moved && GetMainPath() == old_root));
    char conf[300];
    ORVEX_CONF_PathName(conf);
    GIVES(ORVEX_SYS_CreatePath(), ORVEX_NameIsPath(conf) == 1);
}
AFTER(main_path) {
    RIGHT(InitMainPath() == 1);
    const std::string root = GetMainPath();
    RIGHT(root == in_folder("new") || (root == in_folder("old") && (run_died() || run_told())));
    RIGHT(CreateMainPath(in_folder("new").c_str()) == 1);
}

FAMILY(parameter_file) {
    install();
    const std::string path = given("file.ini", kOldIni);
    given("CONF/exfsvr.cfg", "old server\n");
    given("CONF/serverid.dat", kIdentity);
    char value[MOLTE_PARAM_SLOT] = "";
    char* list = nullptr;
    int32_t count = 0;
    uint8_t identity[ORVEX_UUID_SIZE];
    int32_t result = 0;
    GIVES(PARAMETER_GetValue(path.c_str(), "B", value), std::strcmp(value, "2   ") == 0);
    GIVES(PARAMETER_SetValueArray(path.c_str(), kNames, kValues[0], 2),
          bytes_of("file.ini") == kNewIni);
    GIVES(ORVEX_PARAMETER_GetCFGEXFServer(&list, &count), std::strcmp(list, "old server") == 0);
    ORVEX_free(list);
    GIVES(ORVEX_PARAMETER_SetCFGEXFServer("one\0two", 2),
          bytes_of("CONF/exfsvr.cfg") == "one\ntwo\n");
    if (DID(result = ORVEX_PARAMETER_GetServerID(identity))) {
        RIGHT_OR(kNewIdentity, result == 1);
        RIGHT(std::memcmp(bytes_of("CONF/serverid.dat").data(), identity, sizeof identity) == 0);
    }
}
AFTER(parameter_file) {
    const Excuse* torn = run_died() || run_goes_on_failing() ? &kWrittenInPlace : nullptr;
    must_be_stored(torn, "file.ini", kOldIni, kNewIni, __FILE__, __LINE__);
    must_be_stored(torn, "CONF/exfsvr.cfg", "old server\n", "one\ntwo\n", __FILE__, __LINE__);
    STORED_OR(kNewIdentity, "CONF/serverid.dat", kIdentity, kIdentity);
    const std::string path = in_folder("file.ini");
    char value[MOLTE_PARAM_SLOT] = "";
    RIGHT(PARAMETER_SetValue(path.c_str(), "A", "9") == 1);
    RIGHT(PARAMETER_GetValue(path.c_str(), "A", value) == 1 && std::strcmp(value, "9") == 0);
}

FAMILY(parameter_registry) {
    bring_up("Number = 5\n");
    static MOLTE_PARAMITEM item;
    MOLTE_PARAMNETITEM* records = nullptr;
    MOLTE_PARAMNETITEM record{};
    std::strcpy(record.szName, "Number");
    uint4ToChar4(8, record.abyValue);
    int32_t count = 0;
    GIVES(set_number(&item, nullptr, MOLTE_PARAM_REGISTER, 0),
          number == 5 && MOLTE_PARAMADM_GetMemValPt("Number") == &item);
    GIVES(count = MOLTE_PARAMADM_GetAllNetVal(&records), count >= 37 && records != nullptr);
    ORVEX_free(records);
    GIVES(MOLTE_PARAMADM_SetIniFile(&record, 1, MOLTE_PARAM_FROM_NET),
          bytes_of("CONF/rvexinit.ini") == "Number = 8\n");
    ORVEX_BASE_ReleaseVar();
}
AFTER(parameter_registry) {
    STORED("CONF/rvexinit.ini", "Number = 5\n", "Number = 8\n");
}

FAMILY(language) {
    install("DEF_LANG_ID = 2052\n");
    wchar_t wide[4];
    GIVES(OXLANG_Init(), std::strcmp(OXLANG_LANGLID2Str(10), "Lang_Spanish") == 0);
    GIVES(OXLANG_SetLocale(OXLANG_CHINESE), MOLTE_STR_mbstowcs("\xB0\xA1", wide, 4) == 1);
    if (DID(OXLANG_LID_Init())) RIGHT_OR(kLanguageByDefault, OXLANG_GetLID() == OXLANG_CHINESE);
    RIGHT(OXLANG_SetLocale(OXLANG_CHINESE) == 1);
}
