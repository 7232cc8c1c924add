#include "support/test.h"

namespace {

int32_t keep(uint32_t mask, void* data, int32_t size, const char* text, int32_t length);

// What a hook got; the hook goes with it.
struct Kept {
    ~Kept() {
        for (int32_t id : ids) OTXTHOOK_RemoveHook(keep, id);
    }
    std::vector<int32_t> ids;
    Texts texts;
    uint32_t mask = 0;
    int32_t size = 0;
    int32_t closed = 0;
};

int32_t keep(uint32_t mask, void* data, int32_t size, const char* text, int32_t length) {
    auto* kept = static_cast<Kept*>(data);
    kept->texts.emplace_back(text, static_cast<size_t>(length));
    kept->mask = mask;
    kept->size = size;
    return -1;  // ignored
}

int32_t close_kept(void* data, int32_t size) {
    static_cast<Kept*>(data)->closed += size;
    return -1;
}

int32_t install(Kept* kept, uint32_t mask, int32_t id = 1) {
    kept->ids.push_back(id);
    return OTXTHOOK_InstallHook(keep, close_kept, kept, 7, mask, id);
}

int32_t out(uint32_t mask, const std::string& text, int32_t option = 0) {
    return OTXTHOOK_OutText(mask, text.c_str(), static_cast<int32_t>(text.size()), option);
}

class TextHook : public testing::Test {
 protected:
    Installation installation_;
};

// The text of a file, with line ends as a C program sees them.
std::string read_text(const fs::path& file) {
    std::string text = read_bytes(file);
    std::erase(text, '\r');
    return text;
}

TEST_F(TextHook, MasksGetTheirDefaults) {
    // The mask, and what it gets. Of several destinations the first in the order 8, 9, 15, 16, 14,
    // 10, 12, 13 counts.
    constexpr uint32_t both = 48;
    for (const auto& [mask, added] :
         std::vector<tuple<uint32_t, uint32_t>>{{256, 16 | 128},
                                                {512, 32 | 128},
                                                {768, 16 | 128},
                                                {1024, both | 64},
                                                {2048, 0},
                                                {4096, both | 64},
                                                {8192, both | 64},
                                                {16384, both | 128},
                                                {32768, 16 | 128},
                                                {65536, 32 | 128},
                                                {131072, 0},
                                                {0x40000, 0},
                                                {0x80000, 0},
                                                {512 | 16, 128},
                                                {512 | 64, 32},
                                                {0xfff00, 16 | 128},
                                                {8192 | 16384, both | 128},
                                                {1024 | 65536, 32 | 128},
                                                {512 | 32768, 32 | 128},
                                                {7, 0}}) {
        Kept kept;
        ASSERT_EQ(install(&kept, mask), 1);
        const OTXTHOOK_NODE* node = OTXTHOOK_UTIL_GetHook(keep, 1);
        EXPECT_EQ(node->nMask, mask | added);
        EXPECT_EQ(node->bLogger, mask == 131072 || mask == 0xfff00);
        OTXTHOOK_RemoveHook(keep, 1);
        EXPECT_EQ(kept.closed, 7);
    }
    EXPECT_EQ(OTXTHOOK_UTIL_GetDefPropMask(32 | 1, 16, 64), 32U | 64 | 1);
    EXPECT_EQ(OTXTHOOK_UTIL_GetDefPropMask(128, 48, 64), 128U | 48);
}

// Every destination bit, both directions, both classes: a hook takes what agrees in all three.
TEST_F(TextHook, TakesWhatAgreesInAllGroups) {
    for (uint32_t bit = 8; bit < 20; ++bit) {
        Kept kept;
        const uint32_t destination = 1U << bit;
        ASSERT_EQ(install(&kept, destination | 16 | 64), 1);
        for (uint32_t direction : {16U, 32U, 48U}) {
            for (uint32_t text_class : {64U, 128U, 192U}) {
                for (uint32_t other : {destination, 0xfff00U, 0xfff00U & ~destination}) {
                    kept.texts.clear();
                    EXPECT_EQ(out(direction | text_class | other, "x"), 1);
                    const bool takes = (direction & 16) != 0 && (text_class & 64) != 0 &&
                                       (other & destination) != 0;
                    EXPECT_EQ(kept.texts.size(), takes ? 1U : 0U)
                        << bit << " " << direction << " " << text_class;
                }
            }
        }
        OTXTHOOK_RemoveHook(keep, 1);
    }
}

TEST_F(TextHook, MasksOfMessagesAreCompleted) {
    for (const auto& [mask, option, added] :
         std::vector<tuple<uint32_t, int32_t, uint32_t>>{{0, 0, 0x102a0},
                                                         {8, 0, 0x122e0},
                                                         {8, 1, 0x122a0},
                                                         {8 | 256, 0, 0xe0},
                                                         {256, 0, 0xa0},
                                                         {16 | 128, 0, 0x10200},
                                                         {0x12300005, 0, 0x102a0},
                                                         {616, 3, 0}}) {
        Kept kept;
        install(&kept, 0xfffff);
        EXPECT_EQ(out(mask, "text", option), 1);
        EXPECT_EQ(kept.mask, mask | added);
        EXPECT_EQ(kept.size, 7);
        EXPECT_EQ(kept.texts, Texts{"text"});
        OTXTHOOK_RemoveHook(keep, 1);
    }
    // With a direction and no class, or the other way, no hook takes it.
    Kept kept;
    install(&kept, 0xfffff);
    EXPECT_EQ(out(32 | 512, "x"), 1);
    EXPECT_EQ(out(128 | 512, "x"), 1);
    EXPECT_EQ(out(32 | 8 | 512, "x", 1), 1);
    EXPECT_TRUE(kept.texts.empty());
    EXPECT_EQ(OTXTHOOK_OutText(0, nullptr, 1, 0), 0);
    EXPECT_EQ(OTXTHOOK_OutText(0, "x", 0, 0), 0);
}

TEST_F(TextHook, InstallationsAreChecked) {
    Kept kept;
    ORVEX_Err_ClearError();
    EXPECT_EQ(install(&kept, 512, 1), 1);
    EXPECT_EQ(error_of_this_thread(), "305 otxthook txt hook with given id 1 does not exist");
    EXPECT_EQ(error_line_of_this_thread(), 112);  // left behind by a success
    for (const auto& [hook, mask, id, error, line] :
         std::vector<tuple<OTXTHOOK_OUTTEXT, uint32_t, int32_t, std::string, int>>{
             {keep, 0, 2, "432 otxthook mask can not be zero", 144},
             {keep, 512, 100000, "433 otxthook text hook=", 159},
             {nullptr, 512, 2, "433 otxthook text hook=", 159},
             {keep, 512, 1, "132 otxthook txt hook with given id 1 exists", 170}}) {
        EXPECT_EQ(OTXTHOOK_InstallHook(hook, nullptr, nullptr, 0, mask, id), -1);
        EXPECT_EQ(error_of_this_thread().substr(0, error.size()), error);
        EXPECT_EQ(error_line_of_this_thread(), line);
    }
    EXPECT_EQ(install(&kept, 512, 99999), 1);
    EXPECT_EQ(OTXTHOOK_RemoveHook(keep, 3), -1);
    EXPECT_EQ(error_of_this_thread(), "305 otxthook Hook id=3");
    EXPECT_EQ(error_line_of_this_thread(), 209);
    EXPECT_EQ(OTXTHOOK_Init(), 0);
    EXPECT_EQ(OTXTHOOK_Release(), 1);
    EXPECT_EQ(kept.closed, 14);
    EXPECT_EQ(OTXTHOOK_Release(), 0);
    EXPECT_EQ(out(0, "x"), 0);
    EXPECT_EQ(MOLTE_OutMsg(0, "x"), 0);
    EXPECT_EQ(MOLTE_LOGGER_PrintInfo(1, 1, "x"), 0);
    EXPECT_EQ(OTXTHOOK_UTIL_GetHook(keep, 1), nullptr);
    EXPECT_EQ(install(&kept, 512, 1), 1);  // brings the hooks up again
    EXPECT_EQ(out(0, "x"), 1);
}

TEST_F(TextHook, PrintsBySwitchMaskAndThread) {
    Kept kept;
    install(&kept, 0xfffff & ~8U);
    EXPECT_EQ(MOLTE_PrintInfo("never %d", 1), 1);  // no class bit: nobody takes it
    EXPECT_TRUE(kept.texts.empty());
    g_stBv.nPrintInfoMask = OXMSG_INFO;
    EXPECT_EQ(MOLTE_PrintInfo("info %d", 1), 1);
    EXPECT_EQ(kept.mask, 0xfff20U | 128);
    EXPECT_EQ(MOLTE_UTIL_GetInOutMask(), 0xfff20U);
    MOLTE_THDATA_SetInnerThreadFlag(1);
    EXPECT_EQ(MOLTE_UTIL_GetInOutMask(), 0xfff10U);
    EXPECT_EQ(MOLTE_Print(64, "%s", "inner"), 1);
    EXPECT_EQ(kept.mask, 0xfff10U | 64);
    MOLTE_THDATA_SetInnerThreadFlag(0);
    EXPECT_EQ(MOLTE_OutMsgOldFmt("old %c", 'f'), 1);
    EXPECT_EQ(kept.mask, 33168U);
    EXPECT_EQ(kept.texts, (Texts{"info 1", "inner", "old f"}));
    EXPECT_EQ(MOLTE_UTIL_DisableOutputMsg(), 1);
    EXPECT_EQ(MOLTE_Print(64, "x") + MOLTE_PrintInfo("x") + MOLTE_PrintError("x"), 0);
    EXPECT_EQ(MOLTE_LOGGER_PrintInfo(1, 1, "x"), 0);
    EXPECT_EQ(MOLTE_UTIL_EnableOuputMsg(), 1);
    EXPECT_EQ(MOLTE_OutMsg(64 | 32, nullptr), 1);  // no text: nobody is bothered
    EXPECT_EQ(kept.texts.size(), 3U);
    EXPECT_EQ(MOLTE_NullInfoOut("x"), 0);
}

TEST_F(TextHook, ErrorsBringTheirRecord) {
    Kept kept;
    install(&kept, 8192);
    ORVEX_Err_ClearError();
    EXPECT_EQ(MOLTE_PrintError("x"), 1);
    ASSERT_EQ(kept.texts.size(), 1U);
    EXPECT_EQ(kept.texts[0], "xNo error history recorded.\r\n");
    ORVEX_Err_Set(77, 0, "module", 5, 0, nullptr, 0);
    MOLTE_PrintError("y");
    EXPECT_EQ(kept.texts[1].rfind("y\r\n-------------------START ERROR DESCRIPTION", 0), 0U);
    EXPECT_NE(kept.texts[1].find("RVEX errno=77 "), std::string::npos);
    MOLTE_PrintError("%s", std::string(5000, 'z').c_str());  // what doesn't fit is cut
    EXPECT_EQ(kept.texts[2], std::string(4095, 'z'));
    MOLTE_PrintError("%s", std::string(4090, 'z').c_str());
    EXPECT_EQ(kept.texts[3], std::string(4090, 'z') + "\r\n---");
}

TEST_F(TextHook, CallTracesAreErrors) {
    Kept kept;
    install(&kept, 8192);
    ORVEX_Err_ClearError();
    for (int i = 0; i < 100; ++i) MOLTE_STACKTRACE_AddEnt("a_longer_name", 100000 + i);
    EXPECT_EQ(ORVEX_ERRLOG_LogStackTrace(), 0);
    ASSERT_EQ(kept.texts.size(), 1U);
    const std::string frame = "longer_name100000\n";
    EXPECT_EQ(kept.texts[0].rfind("call stack is \n" + frame + frame + "longer_name100001\n", 0),
              0U);
    // Whole lines in 1023 bytes: 56 of 18.
    EXPECT_NE(kept.texts[0].find("longer_name100054\n\nNo error history"), std::string::npos);
    MOLTE_THDATA_FreeData();
}

TEST_F(TextHook, TheLoggerTakesEverything) {
    Kept logger;
    Kept other;
    install(&logger, 0x20000);
    install(&other, 0xfffff & ~0x20000U, 2);
    EXPECT_EQ(MOLTE_LOGGER_PrintInfo(13, 0xABC, "%s", std::string(9000, 'l').c_str()), 1);
    EXPECT_EQ(logger.mask, 0xABC00000U | 5 | 0x20000);
    EXPECT_EQ(logger.texts, Texts{std::string(8191, 'l')});
    EXPECT_EQ(MOLTE_LOGGER_PrintInfo(1, 1, "%s", ""), 0);
    EXPECT_TRUE(other.texts.empty());
}

TEST_F(TextHook, TimeIsCounted) {
    const auto slow = [](uint32_t, void*, int32_t, const char*, int32_t) {
        return ORVEX_SleepMilli(20);
    };
    Kept kept;
    install(&kept, 512);
    OTXTHOOK_InstallHook(slow, nullptr, nullptr, 0, 512, 1);
    out(0, "x");
    const int64_t least = MOLTE_HiResoTickPerSec() / 50;
    const int64_t ticks = OTXTHOOK_UTIL_GetHook(slow, 1)->n64TotalTicks;
    EXPECT_GE(ticks, least);
    EXPECT_LT(OTXTHOOK_UTIL_GetHook(keep, 1)->n64TotalTicks, least);
    EXPECT_GE(g_stBv.stTextHook.n64OutputTicks, ticks);
    // Seconds follow the sum.
    OTXTHOOK_UTIL_GetHook(slow, 1)->n64TotalTicks += 3 * MOLTE_HiResoTickPerSec();
    g_stBv.stTextHook.n64OutputTicks += 7 * MOLTE_HiResoTickPerSec();
    out(0, "x");
    EXPECT_EQ(OTXTHOOK_UTIL_GetHook(slow, 1)->nTotalSec, 3);
    EXPECT_EQ(g_stBv.stTextHook.nOutputSec, 7);
}

TEST_F(TextHook, TheParametersComeFirst) {
    MOLTE_PARAMNETITEM* items = nullptr;
    ASSERT_GE(MOLTE_PARAMADM_GetAllNetVal(&items), 2);
    EXPECT_STREQ(items[0].szName, "OutputTextTimeInHiReso");
    EXPECT_EQ(items[0].nType, MOLTE_PARAM_LONG);
    EXPECT_STREQ(items[1].szName, "OutputTextTimeInSec");
    EXPECT_EQ(items[1].nType, MOLTE_PARAM_INT);
    g_stBv.stTextHook.n64OutputTicks = 0x102030405060708;
    g_stBv.stTextHook.nOutputSec = 9;
    EXPECT_EQ(MOLTE_PARAMADM_GetNetVal(items, 2), 1);
    EXPECT_EQ(std::memcmp(items[0].abyValue, "\1\2\3\4\5\6\7\10", 8), 0);
    EXPECT_EQ(std::memcmp(items[1].abyValue, "\0\0\0\11", 4), 0);
    std::memcpy(items[0].abyValue, "\0\0\0\0\0\0\0\5", 8);
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(items, 1, MOLTE_PARAM_FROM_NET), 1);
    EXPECT_EQ(g_stBv.stTextHook.n64OutputTicks, 5);
    EXPECT_EQ(MOLTE_PARAMADM_SetNetVal(items, 2, MOLTE_PARAM_RESET), 1);
    EXPECT_EQ(g_stBv.stTextHook.nOutputSec, 0);
    // Without the hooks the registry has nothing of them.
    OTXTHOOK_Release();
    MOLTE_PARAMADM_GetNetVal(items, 2);
    EXPECT_EQ(items[0].bValid + items[1].bValid, 0);
    OTXTHOOK_Init();
    MOLTE_PARAMADM_GetNetVal(items, 2);
    EXPECT_EQ(items[0].bValid + items[1].bValid, 2);
    ORVEX_free(items);
}

// ---- Hooks that act on the list, threads ----

TEST_F(TextHook, AHookThatPrintsIsServed) {
    static Kept kept;
    const auto prints = [](uint32_t, void*, int32_t, const char* text, int32_t) {
        return MOLTE_OutMsg(OXMSG_TO_INNER | OXMSG_INNER | OXMSG_INFO, "seen %s", text);
    };
    install(&kept, 768 | 48);
    OTXTHOOK_InstallHook(prints, nullptr, nullptr, 0, 512, 1);
    out(0, "x");
    EXPECT_EQ(kept.texts, (Texts{"seen x", "x"}));
}

TEST_F(TextHook, AHookMayRemoveItselfAndOthers) {
    static Kept first;
    static Kept last;
    static OTXTHOOK_OUTTEXT self;
    install(&last, 512, 3);
    install(&first, 512, 2);
    self = [](uint32_t, void*, int32_t, const char*, int32_t) {
        OTXTHOOK_RemoveHook(self, 9);
        return OTXTHOOK_RemoveHook(keep, 2);
    };
    OTXTHOOK_InstallHook(self, nullptr, nullptr, 0, 512, 9);
    out(0, "x");
    out(0, "y");
    EXPECT_TRUE(first.texts.empty());
    EXPECT_EQ(first.closed, 7);
    EXPECT_EQ(last.texts, (Texts{"x", "y"}));
    const auto ends = [](uint32_t, void*, int32_t, const char*, int32_t) {
        return OTXTHOOK_Release();
    };
    OTXTHOOK_InstallHook(ends, nullptr, nullptr, 0, 512, 4);
    out(0, "z");
    EXPECT_EQ(last.texts.size(), 2U);
    EXPECT_EQ(last.closed, 7);
    EXPECT_EQ(out(0, "z"), 0);
}

// A hook is never removed while it runs, and never runs after its close.
TEST_F(TextHook, RemovalWhileOthersPrint) {
    struct Life {
        std::atomic<int> calls{0};
        std::atomic<bool> closed{false};
        std::atomic<int> bad{0};
    };
    const auto use = [](uint32_t, void* data, int32_t, const char*, int32_t) {
        auto* life = static_cast<Life*>(data);
        if (life->closed) ++life->bad;
        ++life->calls;
        return 0;
    };
    const auto close = [](void* data, int32_t) {
        static_cast<Life*>(data)->closed = true;
        return 0;
    };
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&done] {
            while (!done) MOLTE_OutMsg(0, "text %d", 1);
            MOLTE_THDATA_FreeData();
        });
    }
    std::vector<Life> lives(50);
    for (size_t i = 0; i < lives.size(); ++i) {
        OTXTHOOK_InstallHook(use, close, &lives[i], 0, 512, 1);
        while (lives[i].calls == 0) std::this_thread::yield();
        if (i % 10 == 9) {
            OTXTHOOK_Release();
        } else {
            OTXTHOOK_RemoveHook(use, 1);
        }
    }
    done = true;
    for (auto& thread : threads) thread.join();
    for (const Life& life : lives) {
        EXPECT_EQ(life.bad, 0);
        EXPECT_TRUE(life.closed);
    }
}

// ---- The built-in hooks ----

TEST_F(TextHook, WritesToATextFile) {
    const TempFolder folder;
    const std::string path = folder.write("out.txt", "before\n");
    EXPECT_NE(OTXTHOOK_TXTFILE_InstallHook(path.c_str(), OXMSG_TO_OUTER_FILE, 1), nullptr);
    out(0, "one");
    out(0, "two\n");
    EXPECT_EQ(OTXTHOOK_TXTFILE_InstallHook(path.c_str(), 192 | 48, 2), nullptr);
    EXPECT_EQ(error_of_this_thread(), "432 otxthook mask can not be 0, may be 2file");
    EXPECT_EQ(error_line_of_this_thread(), 359);
    const std::string none = folder / "none\\out.txt";
    EXPECT_EQ(OTXTHOOK_TXTFILE_InstallHook(none.c_str(), 512, 2), nullptr);
    EXPECT_EQ(error_of_this_thread(), "1 otxthook " + none.substr(0, 144));
    EXPECT_EQ(error_line_of_this_thread(), 364);
    EXPECT_EQ(OTXTHOOK_TXTFILE_InstallHook(nullptr, 512, 2), nullptr);
    EXPECT_EQ(OTXTHOOK_TXTFILE_InstallHook(path.c_str(), 512, 1), nullptr);  // the id is taken
    EXPECT_EQ(history_of_this_thread(), "368 otxthook");
    OTXTHOOK_Release();
    EXPECT_EQ(read_text(path), "before\nonetwo\n");
}

TEST_F(TextHook, TheOneTextLog) {
    const TempFolder folder;
    const std::string path = folder / "log.txt";
    EXPECT_EQ(MOLTE_TXTLOG_DisableLog(1), 0);
    EXPECT_EQ(MOLTE_TXTLOG_AddLog(path.c_str(), 0, 1), -1);
    EXPECT_EQ(history_of_this_thread(), "626 otxthook");
    EXPECT_EQ(MOLTE_TXTLOG_AddLog(path.c_str(), 512, 1), 1);
    EXPECT_EQ(MOLTE_TXTLOG_AddLog(path.c_str(), 512, 2), -1);
    EXPECT_EQ(error_of_this_thread(), "132 otxthook allready exists");
    EXPECT_EQ(error_line_of_this_thread(), 622);
    out(0, "1");
    EXPECT_EQ(MOLTE_TXTLOG_DisableLog(3), 3);
    out(0, "2");
    EXPECT_EQ(MOLTE_TXTLOG_DisableLog(0), 0);
    out(0, "3");
    OTXTHOOK_Release();
    EXPECT_EQ(read_text(path), "13");
    EXPECT_EQ(MOLTE_TXTLOG_DisableLog(1), 0);
    EXPECT_EQ(MOLTE_TXTLOG_AddLog(path.c_str(), 512, 1), 1);
}

TEST_F(TextHook, WritesToALineBuffer) {
    OLINEBUF* buf = OTXTHOOK_MEMTXT_InstallHook("mem", 1, 512, 1);
    ASSERT_NE(buf, nullptr);
    out(0, "one");
    out(256 | 16 | 128, "not this");
    uint64_t next = 0;
    char text[64];
    EXPECT_EQ(OLINEBUF_GetMultiLine(buf, text, sizeof text, &next), 3);
    EXPECT_STREQ(text, "one");
    EXPECT_STREQ(buf->szName, "mem");
    EXPECT_EQ(OTXTHOOK_MEMTXT_InstallHook("mem", 1, 32, 2), nullptr);
    EXPECT_EQ(error_of_this_thread(), "432 otxthook mask can not be 0, may be outmsg or innermsg");
    EXPECT_EQ(error_line_of_this_thread(), 438);
    EXPECT_EQ(OTXTHOOK_MEMTXT_InstallHook("mem", 1, 512, 1), nullptr);
    EXPECT_EQ(history_of_this_thread(), "446 otxthook");
}

TEST_F(TextHook, WritesToTheErrorLogs) {
    EXPECT_EQ(OTXTHOOK_BERRLOG_InstallHook(0, 1), 1);
    EXPECT_EQ(OTXTHOOK_TERRLOG_InstallHook(0, 1), 1);
    ORVEX_Err_ClearError();
    EXPECT_EQ(OTXTHOOK_TERRLOG_InstallHook(0, 100000), -1);
    EXPECT_EQ(history_of_this_thread(), "483 otxthook");
    EXPECT_EQ(OTXTHOOK_BERRLOG_InstallHook(0, 1), -1);
    EXPECT_EQ(history_of_this_thread(), "468 otxthook");
    EXPECT_EQ(OTXTHOOK_STDOUT_InstallHook(0, 100000), -1);
    EXPECT_EQ(history_of_this_thread(), "399 otxthook");
    const std::string text(100, 't');
    out(OXMSG_TO_TEXT_LOG | 32 | 64, "to the text log");
    out(OXMSG_TO_BINARY_LOG | 32 | 64, text);
    EXPECT_NE(installation_.log().find("\nto the text log\n"), std::string::npos);
    EXPECT_EQ(read_bytes(installation_.log_folder() / "berrlog.dat").substr(1124, 101),
              text + '\0');
    g_stBv.bErrLogEnabled = 0;
    out(OXMSG_TO_TEXT_LOG | 32 | 64, "not this one");
    g_stBv.bErrLogEnabled = 1;
    EXPECT_EQ(installation_.log().find("not this one"), std::string::npos);
}

CHILD_ROLE(prints_to_standard_output) {
    const Installation installation;
    OTXTHOOK_STDOUT_InstallHook(512, 1);
    out(16384 | 32 | 128, "one ");
    out(512 | 32 | 128, "two\n");
    hear_parent();  // it was flushed: the parent read it
    return OTXTHOOK_UTIL_GetHook(nullptr, 1) == nullptr ? 0 : 1;
}

TEST(TextHookProcess, WritesToStandardOutput) {
    ChildProcess child("prints_to_standard_output");
    EXPECT_EQ(child.read_line(), "one two");
    child.send_line("go");
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
    EXPECT_EQ(Install_Odcs_Hook(5), nullptr);
    const fs::path ini = fs::path(installation_.str()) / "CONF" / "rvexinit.ini";
    std::ofstream(ini) << "InstallOdcsLogger=0\n";
    EXPECT_EQ(Install_Odcs_Hook(5), nullptr);
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
