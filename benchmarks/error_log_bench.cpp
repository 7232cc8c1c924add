// Entries of the text error log beside the bare system calls they can't avoid, and beside spdlog's
// file logger flushing each entry.
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;

// Empties the log before it would turn over: that is no entry's usual cost.
void keep_small(const std::string& file, int64_t* entries) {
    if (++*entries % 20000 == 0) fs::resize_file(file, 0);
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    ORVEX_SetMainPath(root.c_str());
    fs::create_directory(root + "/LOG");
    ORVEX_BASE_InitVar();
    const std::string log = root + "/LOG/errlog.txt";

    ORVEX_ERRLOG_LogEx(0, "entry %d of a program\n", 1);
    const auto size = static_cast<size_t>(fs::file_size(log));
    const std::string bytes(size, 'x');
    const std::string bare = root + "/LOG/bare.txt";
    const int fd = open(bare.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    int64_t ours = 0;
    int64_t theirs = 0;
    const auto entry = [&] {
        ORVEX_ERRLOG_LogEx(0, "entry %d of a program\n", 1);
        keep_small(log, &ours);
    };
    molte_bench::pair("log entry", "bare calls", entry, [&] {
        struct stat state {};
        molte_bench::keep(access(bare.c_str(), F_OK));
        molte_bench::keep(stat(bare.c_str(), &state));
        molte_bench::keep(write(fd, bytes.data(), bytes.size()));
        keep_small(bare, &theirs);
    });
    close(fd);

    const std::string peer_file = root + "/LOG/spdlog.txt";
    auto logger = spdlog::basic_logger_mt("peer", peer_file);
    logger->flush_on(spdlog::level::info);
    const std::string head(size - 30, 'h');
    int64_t peers = 0;
    molte_bench::pair("log entry", "spdlog", entry, [&] {
        logger->info("{} entry {} of a program", head, 1);
        keep_small(peer_file, &peers);
    });
    ORVEX_BASE_ReleaseVar();
    fs::remove_all(root);
}
