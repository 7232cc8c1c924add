// A program in a full installation: its parameters, its languages, and where its texts go.
//
//     configured_program INSTALLATION      as scripts/moltelib-installation makes it
#include <cstdio>

#include "installation.h"
#include "moltelib.h"
#include "parameter_text.h"
#include "terminal.h"

namespace {

constexpr const char* kModule = "configured_program";

constexpr int32_t kHookId = 1;

int fail(const char* what) {
    std::printf("%s\n", what);
    terminal::show_error();
    return 1;
}

// The failure that is shown in every language: a file that isn't there.
void read_missing_file() {
    uint8_t byte = 0;
    if (ORVEX_CopyReadPart("no such folder\\data", &byte, 0, 1) < 0) {
        ORVEX_Err_AddNL(__LINE__, kModule);
    }
}

bool show_failure_in(const char* language, int32_t id) {
    if (ORVEX_PARAMETER_SetValueInt("DEF_LANG_ID", id) < 0 || ORVEX_BASE_InitVar() < 0) {
        return false;
    }
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, id);
    std::printf("\n---- a failed read, in %s\n", language);
    read_missing_file();
    terminal::show_error();
    ORVEX_BASE_ReleaseVar();
    return true;
}

void show_parameters() {
    std::printf("\n---- parameters\n");
    MOLTE_PARAMNETITEM* items = nullptr;
    const int32_t count = MOLTE_PARAMADM_GetAllNetVal(&items);
    for (int32_t i = 0; i < count; ++i) {
        std::printf("%-24s %s\n", items[i].szName, text_of(items[i]).c_str());
    }
    ORVEX_free(items);
}

MOLTE_PARAMNETITEM record_of(const char* name) {
    MOLTE_PARAMNETITEM record{};
    ORVEX_strncpy(record.szName, name, sizeof record.szName);
    MOLTE_PARAMADM_GetNetVal(&record, 1);
    return record;
}

void change_parameters() {
    std::printf("\n---- one changed by its record, one written to the INI file\n");
    MOLTE_PARAMNETITEM backlog = record_of("ListenBacklogCnt");
    std::printf("%s was %s", backlog.szName, text_of(backlog).c_str());
    put_text("1000", &backlog);
    MOLTE_PARAMADM_SetNetVal(&backlog, 1, MOLTE_PARAM_FROM_NET);
    std::printf(", was sent 1000, and is %s\n", text_of(record_of("ListenBacklogCnt")).c_str());

    MOLTE_PARAMNETITEM user = record_of("DefaultUserName");
    put_text("operator", &user);
    MOLTE_PARAMADM_SetIniFile(&user, 1, MOLTE_PARAM_FROM_NET);
    char written[128];
    if (ORVEX_PARAMETER_GetValue("DefaultUserName", written) > 0) {
        std::printf("DefaultUserName is %s here and %s in the INI file\n", g_stBv.szDefaultUserName,
                    written);
    }
}

bool install_hooks() {
    return OTXTHOOK_TERRLOG_InstallHook(OXMSG_TO_TEXT_LOG, kHookId) > 0 &&
           MOLTE_UTIL_AddMemTextHook("watcher", 65536, OXMSG_TO_OUTER, kHookId) > 0;
}

void print_through_hooks() {
    MOLTE_OutMsg(OXMSG_TO_OUTER, "%d templates loaded\n", 1200);
    MOLTE_OutMsg(OXMSG_TO_OUTER, "%d of them without minutiae\n", 3);
    read_missing_file();
    MOLTE_PrintError("The templates are incomplete.\n");
}

void show_line_buffer() {
    std::printf("\n---- the line buffer \"watcher\"\n");
    char lines[4096];
    uint64_t next = 0;
    MOLTE_UTIL_GetTxtInfo("watcher", lines, sizeof lines, &next);
    terminal::show(lines);
}

void show_error_log() {
    char name[512];
    char* text = nullptr;
    int32_t length = 0;
    ORVEX_ERRLOG_Close();
    if (ORVEX_ERRLOG_GetFileName(name) < 0 || ORVEX_LoadTextDataFile(name, &text, &length) < 1) {
        std::printf("The log can't be read.\n");
        return;
    }
    std::printf("\n---- %s\n", name);
    terminal::show(text);
    ORVEX_free(text);
}

int run(const char* installation) {
    if (!make_installation(installation)) return fail("The installation can't be made.");
    if (!show_failure_in("Chinese", OXLANG_CHINESE) ||
        !show_failure_in("English", OXLANG_ENGLISH) ||
        !show_failure_in("Spanish", OXLANG_SPANISH)) {
        return fail("The library can't be brought up.");
    }
    if (ORVEX_BASE_InitVar() < 0) return fail("The library can't be brought up.");
    show_parameters();
    change_parameters();
    if (!install_hooks()) return fail("The hooks can't be installed.");
    print_through_hooks();
    show_line_buffer();
    show_error_log();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "use: configured_program INSTALLATION\n");
        return 2;
    }
    const int result = run(argv[1]);
    ORVEX_BASE_ReleaseVar();
    return result;
}
