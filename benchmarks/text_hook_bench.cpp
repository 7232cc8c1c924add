// Printing beside spdlog: a line into memory, and a message that nobody takes.
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

// A peer with a pattern that adds nothing, and its level on.
std::unique_ptr<spdlog::logger> peer(spdlog::sink_ptr sink) {
    auto logger = std::make_unique<spdlog::logger>("peer", std::move(sink));
    logger->set_pattern("%v");
    logger->set_level(spdlog::level::info);
    return logger;
}

}  // namespace

int main() {
    ORVEX_BASE_InitVar();
    // Both keep about as many lines: 64 KiB of them.
    const std::string line = "matcher 12: 4711 candidates of query Q-2018-000173 in 27 ms";
    OTXTHOOK_MEMTXT_InstallHook("bench", 65536, OXMSG_TO_OUTER, 1);
    const auto ring = peer(std::make_shared<spdlog::sinks::ringbuffer_sink_mt>(960));
    molte_bench::pair(
        "line to memory", "spdlog",
        [&] { OTXTHOOK_OutText(0, line.c_str(), static_cast<int32_t>(line.size()), 0); },
        [&] { ring->info(spdlog::string_view_t(line)); });

    const auto nobody = peer(std::make_shared<spdlog::sinks::null_sink_mt>());
    const auto print = [] { MOLTE_PrintInfo("query %d took %d ms in %s", 4711, 27, "matcher"); };
    const auto log = [&] { nobody->info("query {} took {} ms in {}", 4711, 27, "matcher"); };
    molte_bench::pair("line of no class", "spdlog", print, log);
    g_stBv.nPrintInfoMask = OXMSG_INFO;
    OTXTHOOK_Release();
    OTXTHOOK_STDOUT_InstallHook(OXMSG_INNER | OXMSG_TO_INNER, 1);
    molte_bench::pair("line without a hook", "spdlog", print, log);
    OTXTHOOK_Release();
    OTXTHOOK_MEMTXT_InstallHook("bench", 65536, OXMSG_TO_OUTER, 1);
    molte_bench::pair("formatted line to memory", "spdlog", print,
                      [&] { ring->info("query {} took {} ms in {}", 4711, 27, "matcher"); });
    ORVEX_BASE_ReleaseVar();
}
