// A reported failure with its history, beside a line that a logger formats for nobody.
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "moltelib.h"
#include "pair.h"

namespace {

constexpr char kData[] = "D:\\molte\\data\\query\\00001234_package.dat";  // 40 bytes

void pass_on() {
    for (int line = 1; line <= 4; ++line) ORVEX_Err_AddNL(line, "ofilepkg");
}

void report(uint8_t option) {
    ORVEX_Err_Set(3, 2, "ofilehop", 210, sizeof kData - 1, kData, option);
    pass_on();
}

}  // namespace

int main() {
    static_assert(sizeof kData - 1 == 40);
    ORVEX_BASE_InitVar();
    const auto sink = std::make_shared<spdlog::sinks::null_sink_mt>();
    spdlog::logger logger("bench", sink);
    const auto log = [&logger] {
        logger.error("{} failed at {}:{} with {}: {}", "read", "ofilehop", 210, 2, kData);
    };
    molte_bench::pair(
        "error and 4 callers", "spdlog", [] { report(0); }, log);
    molte_bench::pair(
        "error with errno's text", "spdlog", [] { report(1); }, log);
    molte_bench::pair(
        "error with the system's text", "spdlog", [] { report(3); }, log);
    molte_bench::alone("4 callers", [] {
        ORVEX_Err_ClearError();
        pass_on();
    });
    ORVEX_BASE_ReleaseVar();
}
