// What of a log is wanted, and how it is shown.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "log_entry.h"
#include "tool.h"

namespace tool {

struct LogOrder {
    std::string file, since, until, module;
    std::optional<uint32_t> error;
    std::optional<uint32_t> last, most;
    bool binary = false, follow = false;
};

class LogFilter {
 public:
    explicit LogFilter(const LogOrder& order);
    [[nodiscard]] bool wants(const LogEntry& entry) const;

 private:
    [[nodiscard]] bool wants(const LogError& error) const;

    std::string since_, until_;
    std::optional<uint32_t> error_;
    std::string module_;
};

// Says what the filter takes: at once, or the last of them when the log is read to its end.
class LogShown {
 public:
    LogShown(Tool& tool, const LogOrder& order)
        : tool_(tool), filter_(order), last_(order.last), most_(order.most) {}

    void take(LogEntry entry);
    void at_end();
    [[nodiscard]] bool complete() const { return most_ && said_ >= *most_; }
    [[nodiscard]] bool any() const { return said_ > 0; }

 private:
    void say(const LogEntry& entry);

    Tool& tool_;
    LogFilter filter_;
    std::optional<uint32_t> last_, most_;
    uint64_t said_ = 0;
    std::deque<LogEntry> waiting_;
};

}  // namespace tool
