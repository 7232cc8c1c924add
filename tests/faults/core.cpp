#include <cstring>

#include "faults.h"

namespace {

// How often the part stands in a text.
int32_t count_of(const std::string& text, std::string_view part) {
    int32_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
    return count;
}

const std::string kBigText(9000, 'x');
constexpr char kEntry[] = "an entry of the binary log";
constexpr int32_t kEntrySize = sizeof kEntry - 1;
constexpr char kTraceStaysShort[] = "pushes that found no memory stand in no entry";

// A binary log with an entry of the time 300, which has a text, and one of the time 100.
std::string log_of_two_entries() {
    BERRLOG_BLOCK block{};
    block.nEntryCount[3] = 2;
    uint4ToChar4(300, block.astEntry[0].tTime);
    uint4ToChar4(4096, block.astEntry[0].nOffset);
    uint4ToChar4(kEntrySize, block.astEntry[0].nLen);
    uint4ToChar4(100, block.astEntry[1].tTime);
    std::string bytes(reinterpret_cast<const char*>(&block), sizeof block);
    return std::string(sizeof(BERRLOG_FILEMAP), '\0') + bytes.replace(4096, kEntrySize, kEntry);
}

}  // namespace

FAMILY(memory) {
    Freed<void> block;
    if (DID(block.block = ORVEX_release_malloc(100))) std::memset(block.block, 1, 100);
    Freed<void> items;
    int32_t capacity = 0;
    for (int32_t i = 0; i < 3; ++i) {
        const int32_t before = capacity;
        const bool grown = DID(ORVEX_release_realloc(&items.block, 8, &capacity, 1000));
        RIGHT(capacity == before + (grown ? 1000 : 0));
    }
}

FAMILY(state) {
    install("ListenBacklogCnt = 64\nDEF_LANG_ID = 1033\n");
    const auto is_right = [] {
        return g_stBv.nListenBacklogCnt == 64 && g_stBv.szAppName[0] != '\0' &&
               g_stBv.stSysInfo.nCpuCount > 0 && MOLTE_PARAMADM_GetMemValPt("KernelBit") != nullptr;
    };
    if (DID(ORVEX_BASE_InitVar())) {
        RIGHT(g_stBv.nInitCount == 1);
        RIGHT_OR("what can't be read at bring-up costs that alone, and stays in the record",
                 is_right() && OXLANG_GetLID() == 1033);
    }
    FAULTY(ORVEX_BASE_ReleaseVar());
    RIGHT(g_stBv.nInitCount == 0 && ORVEX_BASE_InitVar() == 1 && is_right());
}

FAMILY(thread_data) {
    MOLTE_CALLTRACEHEAD trace{};
    uint32_t key = 0;
    arm();
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    disarm();
    RIGHT_OR("it is the error record that is missing", block != nullptr);
    for (int32_t i = 0; i < 20; ++i) FAULTY(MOLTE_CALLTRACEHEAD_PushEnt(&trace, "source.cpp", i));
    RIGHT_OR(kTraceStaysShort, trace.nCount == 20);
    ORVEX_free(trace.pEnt);
    if (!DID(ORVEX_InitThreadDataKey(&key))) return;
    const MOLTE_THDATAKEY record{1, 100, key};
    GIVES(ORVEX_GetThreadSpecData(&record), ORVEX_HasThreadSpecData(&key) == 1);
    ORVEX_FreeThreadSpecData(&key);
    ORVEX_ReleaseThreadDataKey(&key);
}

FAMILY(thread_list) {
    MOLTE_THREADLIST list;
    MOLTE_THREADLIST_Init(&list);
    MOLTE_THREADLISTNODE* node = nullptr;
    if (DID(node = MOLTE_THREADLIST_Add(&list, "source.cpp", 5))) {
        RIGHT_OR(kTraceStaysShort, node->stTrace.nCount == 1);
        RIGHT(MOLTE_THREADLIST_Remove(&list) == 1 && list.pHead == nullptr);
    }
    MOLTE_THREADLIST_Release(&list);
}

FAMILY(error) {
    bring_up();
    MOLTE_THDATA_FreeData();
    char text[2048];
    arm();
    ORVEX_Err_Set(3, 2, "source.cpp", 7, 4, "name", 1);
    ORVEX_Err_AddNL(8, "caller.cpp");
    const int32_t printed = ORVEX_Err_sPrint(text, sizeof text);
    disarm();
    RIGHT(printed == 1);
    RIGHT_OR("threads without a block share a record until they get one",
             GetRvexErrNo() == 3 && std::strstr(text, "name") != nullptr);
    RIGHT(!equal(FAULTY(GetRVEXErrStrByErrno(20)), ""));
}

FAMILY(error_line) {
    ORVEX_Err_Set(3, 2, "source.cpp", 7, 4, "name", 1);
    const ORVEX_ERRDATA record = *ORVEX_GetErrData();
    char line[MOLTELIB_ERROR_LINE_SIZE];
    RIGHT(FAULTY(MOLTELIB_ErrorLine(&record, line, sizeof line)) == 1);
    RIGHT(std::strstr(line, "at source.cpp:7, data \"name\"") != nullptr);
}

FAMILY(version) {
    RIGHT(FAULTY(MOLTELIB_VersionNumber()) == MOLTELIB_VERSION_NUMBER);
}

FAMILY(error_log) {
    bring_up();
    given("grown_0000.txt", "older");
    given("grown.txt", "content");
    FAULTY(ORVEX_ERRLOG_Log("first"));
    FAULTY(ORVEX_ERRLOG_LogEx(0, "%s\n", kBigText.c_str()));
    FAULTY(ORVEX_ERRLOG_Close());
    const std::string log = bytes_of("LOG/errlog.txt");
    const int32_t whole = count_of(log, "first\n") + count_of(log, kBigText);
    RIGHT_OR("a log that can't be written never makes its caller fail", whole == 2);
    RIGHT_OR("an entry with too little room, in memory or on the disk, is cut",
             whole == count_of(log, "======>"));
    FAULTY(MOLTE_BackupFile(in_folder(""), "grown", ".txt", 1000, 5));
    RIGHT_OR("turning over gives 1 always; the next entry tries again",
             bytes_of("grown_0001.txt") == "content");
}
AFTER(error_log) {
    RIGHT(bytes_of("grown_0000.txt") == "older");
    RIGHT(bytes_of("grown.txt") == "content" || bytes_of("grown_0001.txt") == "content");
    bring_up();
    RIGHT(ORVEX_ERRLOG_Log("next") == 1 && bytes_of("LOG/errlog.txt").ends_with("next\n"));
}

FAMILY(binary_error_log) {
    g_stBv.bFastExpandFile = 1;
    const char* const old_log = given("old.dat", log_of_two_entries());
    RIGHT(FAULTY(BERRLOG_AddLog(in_folder("b.dat"), kEntry, kEntrySize)) == 0);
    RIGHT_OR("BERRLOG_AddLog gives 0, also after a failure",
             count_of(bytes_of("b.dat"), kEntry) == 1);
    BERRLOG_ENTRY* entries = nullptr;
    Freed<char> text;
    BERRLOG_FILTER filter{};
    filter.tTime[3] = 200;
    GIVES(BERRLOG_RetrLog(old_log, &entries, &text.block, &filter),
          equal(text.block, kEntrySize, kEntry));
}
AFTER(binary_error_log) {
    RIGHT(bytes_of("b.dat") == "(none)" || bytes_of("b.dat").size() == 1049600);
    RIGHT(BERRLOG_AddLog(in_folder("b.dat"), kEntry, kEntrySize) == 0);
    RIGHT(count_of(bytes_of("b.dat"), kEntry) == 1);
}

FAMILY(text_hook) {
    bring_up();
    const bool has_file =
        DID(OTXTHOOK_TXTFILE_InstallHook(in_folder("out.txt"), OXMSG_TO_OUTER_FILE, 1));
    OLINEBUF* lines = nullptr;
    const bool has_lines = DID(lines = OTXTHOOK_MEMTXT_InstallHook("m", 65536, OXMSG_TO_OUTER, 2));
    RIGHT(FAULTY(MOLTE_OutMsg(OXMSG_TO_OUTER | OXMSG_TO_OUTER_FILE, "%s\n", "a text")) == 1);
    RIGHT(!has_lines || lines->nNextLineID == 1);
    FAULTY(OTXTHOOK_Release());
    RIGHT_OR("printing never fails: the results of hooks are ignored",
             !has_file || bytes_of("out.txt") == "a text\n");
}

FAMILY(message_queue) {
    OTXTHOOK_MSGQUELIST queue;
    OTXTHOOK_MSGQUENODE* node = nullptr;
    if (!DID(OTXTHOOK_MSGQUELIST_Init(&queue))) return;
    if (DID(OTXTHOOK_MSGQUELIST_AddMsg(&queue, 1, nullptr, 0, "text", 4))) {
        GIVES(node = OTXTHOOK_MSGQUELIST_GetMsg(&queue), equal(node->pText, "text"));
    }
    OTXTHOOK_MSGQUENODE_Release(&node);
    OTXTHOOK_MSGQUELIST_Release(&queue);
}
