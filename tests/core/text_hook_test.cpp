#include "support/scenes.h"

namespace {

int32_t keep(uint32_t mask, void* data, int32_t size, const char* text, int32_t length);

// What a hook got; the hook goes with it.
struct Kept {
    ~Kept() {
        for (int32_t id : ids) OTXTHOOK_RemoveHook(keep, id);
    }
    Ints ids;
    Texts texts;
    uint32_t mask = 0;
    int32_t closed = 0;
};

// The size of the data that it was installed with.
constexpr int32_t kSize = 7;

int32_t keep(uint32_t mask, void* data, int32_t size, const char* text, int32_t length) {
    auto* kept = static_cast<Kept*>(data);
    kept->texts.emplace_back(size == kSize ? text : "?", static_cast<size_t>(length));
    kept->mask = mask;
    return -1;  // ignored
}

int32_t close_kept(void* data, int32_t size) {
    static_cast<Kept*>(data)->closed += size;
    return -1;
}

int32_t install(Kept* kept, uint32_t mask, int32_t id = 1) {
    kept->ids.push_back(id);
    return OTXTHOOK_InstallHook(keep, close_kept, kept, kSize, mask, id);
}

int32_t out(uint32_t mask, const std::string& text, int32_t option = 0) {
    return OTXTHOOK_OutText(mask, text.c_str(), static_cast<int32_t>(text.size()), option);
}

class TextHook : public InFolder {
 protected:
    Installation installation_;
    Kept kept_;
    static inline TextHook* running = nullptr;

 public:
    TextHook() { running = this; }
    // What the steps of a scene install, and what it got.
    static Kept& kept() { return running->kept_; }
    static fs::path log_folder() { return running->installation_.log_folder(); }
};

std::string mask_text(uint32_t mask) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%X", mask);
    return text;
}

// The outcome, and what the hooks got since it was asked last.
std::string heard(int32_t result) {
    std::string text = outcome(result);
    for (const std::string& got : std::exchange(TextHook::kept().texts, {})) {
        text += " > " + mask_text(TextHook::kept().mask) + " " + got;
    }
    return text;
}

// The mask and kind that a hook gets which is installed with this mask.
std::string defaults(uint32_t mask) {
    EXPECT_EQ(install(&TextHook::kept(), mask), 1);
    const OTXTHOOK_NODE* node = OTXTHOOK_UTIL_GetHook(keep, 1);
    const std::string text = mask_text(node->nMask) + (node->bLogger != 0 ? " logger" : "");
    OTXTHOOK_RemoveHook(keep, 1);
    EXPECT_EQ(std::exchange(TextHook::kept().closed, 0), kSize);
    return text;
}

OLINEBUF* memory_lines = nullptr;

[[maybe_unused]] const bool plays = play_scenes<TextHook>(
    "TextHook", TEST_ROWS,
    {{"defaults", step_of<defaults>},
     {"install",
      step_of<[](uint32_t mask, int32_t id) { return install(&TextHook::kept(), mask, id); }>},
     {"install_none", step_of<[](uint32_t mask, int32_t id) {
          return OTXTHOOK_InstallHook(nullptr, nullptr, nullptr, 0, mask, id);
      }>},
     {"remove", step_of<[](int32_t id) { return OTXTHOOK_RemoveHook(keep, id); }>},
     {"has", step_of<[](int32_t id) { return OTXTHOOK_UTIL_GetHook(keep, id); }>},
     {"closed", step_of<[] { return TextHook::kept().closed / kSize; }>},
     {"begin", step_of<OTXTHOOK_Init>},
     {"end", step_of<OTXTHOOK_Release>},
     {"out", step_of<[](uint32_t mask, Text text, int32_t option) {
          return heard(out(mask, text, option));
      }>},
     {"out_null", step_of<[] { return OTXTHOOK_OutText(0, nullptr, 1, 0); }>},
     {"print",
      step_of<[](uint32_t mask, Text text) { return heard(MOLTE_Print(mask, "%s", text)); }>},
     {"print_info", step_of<[](Text text) { return heard(MOLTE_PrintInfo("%s", text)); }>},
     {"print_error", step_of<[](uint32_t error, Text text) {
          if (error != 0) ORVEX_Err_Set(error, 0, "module", 5, 0, nullptr, 0);
          const int32_t result = MOLTE_PrintError("%s", text);
          ORVEX_Err_ClearError();
          return heard(result);
      }>},
     {"message", step_of<[](uint32_t mask, Text text) {
          return heard(text != nullptr ? MOLTE_OutMsg(mask, "%s", text)
                                       : MOLTE_OutMsg(mask, nullptr));
      }>},
     {"old_message", step_of<[](Text text) { return heard(MOLTE_OutMsgOldFmt("old %s", text)); }>},
     {"null_info", step_of<[] { return MOLTE_NullInfoOut("x"); }>},
     {"log", step_of<[](uint32_t level, uint32_t module, Text text) {
          return heard(MOLTE_LOGGER_PrintInfo(level, module, "%s", text));
      }>},
     {"info_mask", step_of<[](uint32_t mask) { return int64_t{g_stBv.nPrintInfoMask = mask}; }>},
     {"inner", step_of<MOLTE_THDATA_SetInnerThreadFlag>},
     {"disable", step_of<MOLTE_UTIL_DisableOutputMsg>},
     {"enable", step_of<MOLTE_UTIL_EnableOuputMsg>},
     {"to_file", step_of<OTXTHOOK_TXTFILE_InstallHook>},
     {"to_memory", step_of<[](Text name, int32_t size, uint32_t mask, int32_t id) {
          OLINEBUF* const lines = OTXTHOOK_MEMTXT_InstallHook(name, size, mask, id);
          if (lines != nullptr) memory_lines = lines;
          return lines;
      }>},
     {"memory", step_of<[] {
          char text[64] = "";
          uint64_t next = 0;
          const int32_t size = OLINEBUF_GetMultiLine(memory_lines, text, sizeof text, &next);
          return std::string(text, static_cast<size_t>(size));
      }>},
     {"to_text_log", step_of<OTXTHOOK_TERRLOG_InstallHook>},
     {"to_binary_log", step_of<OTXTHOOK_BERRLOG_InstallHook>},
     {"to_standard_output", step_of<OTXTHOOK_STDOUT_InstallHook>},
     {"add_log", step_of<MOLTE_TXTLOG_AddLog>},
     {"disable_log", step_of<MOLTE_TXTLOG_DisableLog>},
     {"error_log_enabled", step_of<[](int32_t flag) { return g_stBv.bErrLogEnabled = flag; }>},
     {"has_logged", step_of<[](Text name, Text text) {
          const std::string log = read_bytes(TextHook::log_folder() / name);
          return int64_t{log.find(text) != std::string::npos};
      }>}},
    true);

TEST_F(TextHook, CallTracesAreErrors) {
    Kept kept;
    install(&kept, 8192);
    ORVEX_Err_ClearError();
    for (int i = 0; i < 100; ++i) MOLTE_STACKTRACE_AddEnt("a_longer_name", 100000 + i);
    EXPECT_EQ(ORVEX_ERRLOG_LogStackTrace(), 0);
    const std::string frame = "longer_name100000\n";  // the first stands twice
    EXPECT_EQ(kept.texts.at(0).find("call stack is \n" + frame + frame + "longer_name100001\n"),
              0U);
    // Whole lines in 1023 bytes: 56 of 18.
    EXPECT_NE(kept.texts[0].find("longer_name100054\n\nNo error history"), std::string::npos);
    MOLTE_THDATA_FreeData();
}

TEST_F(TextHook, TimeIsCounted) {
    const auto slow = [](uint32_t, void*, int32_t, const char*, int32_t) {
        return ORVEX_SleepMilli(20);
    };
    OTXTHOOK_InstallHook(slow, nullptr, nullptr, 0, 512, 1);
    OTXTHOOK_NODE* node = OTXTHOOK_UTIL_GetHook(slow, 1);
    out(0, "x");
    EXPECT_GE(node->n64TotalTicks, MOLTE_HiResoTickPerSec() / 50);
    EXPECT_GE(g_stBv.stTextHook.n64OutputTicks, node->n64TotalTicks);
    // Seconds follow the sum.
    node->n64TotalTicks += 3 * MOLTE_HiResoTickPerSec();
    g_stBv.stTextHook.n64OutputTicks += 7 * MOLTE_HiResoTickPerSec();
    out(0, "x");
    EXPECT_EQ((Ints{node->nTotalSec, g_stBv.stTextHook.nOutputSec}), (Ints{3, 7}));
    // An administrator may set the sum to anything.
    MOLTE_PARAMNETITEM record{};
    std::strcpy(record.szName, "OutputTextTimeInHiReso");
    for (const auto& [sum, seconds] : {std::pair{INT64_MAX, INT32_MAX}, {INT64_MIN, INT32_MIN}}) {
        uint8ToChar8(static_cast<uint64_t>(sum), record.abyValue);
        EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(&record, 1, MOLTE_PARAM_FROM_NET), 1);
        out(0, "x");
        EXPECT_EQ(g_stBv.stTextHook.n64OutputTicks < 0, sum < 0);
        EXPECT_EQ(g_stBv.stTextHook.nOutputSec, seconds);
    }
}

TEST_F(TextHook, TheParametersComeFirst) {
    MOLTE_PARAMNETITEM* items = nullptr;
    ASSERT_GE(MOLTE_PARAMADM_GetAllNetVal(&items), 2);
    EXPECT_EQ(items[0].szName + " "s + items[1].szName,
              "OutputTextTimeInHiReso OutputTextTimeInSec");
    EXPECT_EQ((Ints{items[0].nType, items[1].nType}), (Ints{MOLTE_PARAM_LONG, MOLTE_PARAM_INT}));
    std::memcpy(items[0].abyValue, "\0\0\0\0\0\0\0\5", 8);
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(items, 1, MOLTE_PARAM_FROM_NET), 1);
    EXPECT_EQ(g_stBv.stTextHook.n64OutputTicks, 5);
    g_stBv.stTextHook.nOutputSec = 9;
    EXPECT_EQ(MOLTE_PARAMADM_GetNetVal(items, 2), 1);
    EXPECT_EQ(std::memcmp(items[1].abyValue, "\0\0\0\11", 4), 0);
    OTXTHOOK_Release();  // takes them away
    MOLTE_PARAMADM_GetNetVal(items, 2);
    EXPECT_EQ(items[0].bValid + items[1].bValid, 0);
    ORVEX_free(items);
}

// ---- Hooks that act on the list, threads ----

TEST_F(TextHook, AHookMayPrintAndRemoveHooks) {
    static Kept first;
    static Kept last;
    first = Kept{};
    last = Kept{};
    install(&last, 768 | 48, 3);
    install(&first, 512, 2);
    static const OTXTHOOK_OUTTEXT acts = [](uint32_t, void*, int32_t, const char* text, int32_t) {
        MOLTE_OutMsg(OXMSG_TO_INNER | OXMSG_INNER | OXMSG_INFO, "seen %s", text);
        OTXTHOOK_RemoveHook(acts, 9);
        return OTXTHOOK_RemoveHook(keep, 2);
    };
    OTXTHOOK_InstallHook(acts, nullptr, nullptr, 0, 512, 9);
    out(0, "x");
    out(0, "y");
    EXPECT_TRUE(first.texts.empty());
    EXPECT_EQ(first.closed, kSize);
    const auto ends = [](uint32_t, void*, int32_t, const char*, int32_t) {
        return OTXTHOOK_Release();
    };
    OTXTHOOK_InstallHook(ends, nullptr, nullptr, 0, 512, 4);
    EXPECT_EQ(out(0, "z") + out(0, "z"), 1);
    EXPECT_EQ(last.texts, (Texts{"seen x", "x", "y"}));
    EXPECT_EQ(last.closed, kSize);
}

// A hook is never removed while it runs, and never runs after its close.
TEST_F(TextHook, RemovalWhileOthersPrint) {
    struct Life {
        std::atomic<int> calls{0};
        std::atomic<bool> closed{false};
    };
    static std::atomic<int> bad{0};
    const auto use = [](uint32_t, void* data, int32_t, const char*, int32_t) {
        if (static_cast<Life*>(data)->closed) ++bad;
        return ++static_cast<Life*>(data)->calls;
    };
    const auto close = [](void* data, int32_t) {
        static_cast<Life*>(data)->closed = true;
        return 0;
    };
    std::atomic<bool> done{false};
    std::thread printers([&done] {
        in_threads(3, [&done](int) {
            while (!done) MOLTE_OutMsg(0, "text %d", 1);
        });
    });
    std::vector<Life> lives(50);
    for (size_t i = 0; i < lives.size(); ++i) {
        OTXTHOOK_InstallHook(use, close, &lives[i], 0, 512, 1);
        while (lives[i].calls == 0) std::this_thread::yield();
        i % 10 == 9 ? OTXTHOOK_Release() : OTXTHOOK_RemoveHook(use, 1);
        bad += lives[i].closed ? 0 : 1;
    }
    done = true;
    printers.join();
    EXPECT_EQ(bad, 0);
}

// ---- The built-in hooks ----

CHILD_ROLE(prints_to_standard_output) {
    const Installation installation;
    OTXTHOOK_STDOUT_InstallHook(512, 1);
    out(16384 | 32 | 128, "one ");
    out(512 | 32 | 128, "two\n");
    return hear_parent() == "read" ? 0 : 1;  // it was flushed
}

TEST(TextHookProcess, WritesToStandardOutput) {
    ChildProcess child("prints_to_standard_output");
    EXPECT_EQ(child.read_line(), "one two");
    child.send_line("read");
    EXPECT_EQ(child.wait(), 0);
}

// Threads that still print, and a file that is only flushed at its close.
CHILD_ROLE(exits_while_threads_print) {
    static const Installation* installation = new Installation;
    OTXTHOOK_TXTFILE_InstallHook(args[0].c_str(), 512, 1);
    for (int i = 0; i < 3; ++i) {
        std::thread([] {
            for (;;) out(0, "y");
        }).detach();
    }
    out(0, "x");
    fs::remove_all(installation->str());
    std::exit(7);
}

TEST(TextHookProcess, HooksAreClosedAtExit) {
    const TempFolder folder;
    ChildProcess child("exits_while_threads_print", {folder / "f"});
    EXPECT_EQ(child.wait(), 7);
    EXPECT_NE(read_bytes(folder / "f").find('x'), std::string::npos);
}

TEST_F(TextHook, TheLoggerLibraryIsLoadedOnDemand) {
    const fs::path ini = fs::path(installation_.str()) / "CONF" / "rvexinit.ini";
    for (const char* line : {"", "InstallOdcsLogger=0\n"}) {
        std::ofstream(ini) << line;
        EXPECT_EQ(Install_Odcs_Hook(5), nullptr);
    }
    std::ofstream(ini) << "InstallOdcsLogger=1\n";
    OXHANDLE module = Install_Odcs_Hook(5);
    ASSERT_NE(module, nullptr);
    MOLTE_LOGGER_PrintInfo(2, 3, "text");
    auto* seen = static_cast<char*>(OX_DLL_GetProc(module, "Logger_Seen"));
    ASSERT_NE(seen, nullptr);
    EXPECT_STREQ(seen, "320002 4 text");
    OX_DLL_Open("odlogger64.dll", 0);  // keeps it
    EXPECT_EQ(Remove_Odcs_Hook(&module, 5), 1);
    EXPECT_STREQ(seen, "removed");
    EXPECT_EQ(module, nullptr);
    EXPECT_EQ(MOLTE_LOGGER_PrintInfo(2, 3, "more"), 1);
    EXPECT_STREQ(seen, "removed");
    EXPECT_EQ(Remove_Odcs_Hook(&module, 5), 0);
    EXPECT_EQ(Remove_Odcs_Hook(nullptr, 5), 0);
}

}  // namespace
