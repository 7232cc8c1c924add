// An entry of an error log, and the two files that hold such entries.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool.h"

namespace tool {

// The error record that a program printed into its entry; parts that it hasn't are empty.
struct LogError {
    uint32_t number = 0;
    std::string text, system_text, place, module, data;
    int64_t system = 0;
    std::vector<std::string> callers;         // place of each
    std::vector<std::string> caller_modules;  // the same without lines
};

struct LogEntry {
    std::string time;  // local, "2026-03-01 09:30:05", so that times compare as texts
    std::string program, version, started, machine;
    std::string text;  // its lines
    std::vector<LogError> errors;
    // In a binary log.
    uint64_t length = 0;       // of the text when it was written
    uint64_t overwritten = 0;  // bytes of it that others lie on
    uint64_t left_out = 0;     // bytes that had no room
};

// The local time of a time value; now without one.
std::string local_time(std::optional<int64_t> seconds = {});

// Text of a log, of whatever program: UTF-8 or the encoding of --encoding where it is that, else
// the library's code page.
std::string log_text(const Tool& tool, std::string_view bytes);

// Moves the error records that stand in the text to the errors.
void take_errors(LogEntry* entry);

// The text log, given piece by piece.
class TextLog {
 public:
    using Take = std::function<void(LogEntry)>;
    TextLog(const Tool& tool, Take take) : tool_(tool), take_(std::move(take)) {}
    void add(std::string_view bytes);
    void end();  // whatever follows is an entry of its own

    [[nodiscard]] bool has_entries() const { return entries_ > 0; }

 private:
    void add_line(std::string line);

    const Tool& tool_;
    Take take_;
    std::string rest_;  // of a line
    std::vector<std::string> lines_;
    size_t size_ = 0, entries_ = 0;
    bool cut_ = false;
};

// A block of the binary log. Each text lies where its length puts it, over whatever lies there: so
// a block tells what is left of its entries.
struct LogBlock {
    std::vector<LogEntry> entries;
    std::vector<uint32_t> numbers;   // of the entries in the block
    uint32_t count = 0;              // as the block tells it
    uint32_t overwritten = 0;        // entries that texts lie on
    bool count_overwritten = false;  // then nobody knows how many
};
LogBlock read_block(const Tool& tool, const BERRLOG_BLOCK& block);

// By its size, its head, and the number behind; a log that was written to has no other head.
bool is_binary_log(std::string_view map, int64_t size);

}  // namespace tool
