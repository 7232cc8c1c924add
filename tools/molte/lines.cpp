#include "lines.h"

#include <algorithm>

#include "interrupt.h"

namespace tool {

void each_line(std::string_view bytes,
               const std::function<void(size_t number, std::string_view line)>& visit) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    constexpr size_t kBetweenLooks = 4096;
    if (bytes.substr(0, mark.size()) == mark) bytes.remove_prefix(mark.size());
    for (size_t number = 1; !bytes.empty(); ++number) {
        if (number % kBetweenLooks == 0) end_if_interrupted();
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        visit(number, line);
    }
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    const size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

LeftOut::LeftOut(const std::string& file)
    : file_(file == "-" ? "standard input" : "\"" + shown(file) + "\"") {}

void LeftOut::add(const std::string& reason, size_t line) {
    constexpr uint64_t kTold = 5;
    Lines& lines = by_reason_[reason];
    ++lines.count;
    if (lines.count <= kTold) {
        lines.numbers += (lines.count > 1 ? ", " : "") + std::to_string(line);
    } else if (lines.count == kTold + 1) {
        lines.numbers += ", ...";
    }
}

void LeftOut::tell(Tool& tool) const {
    for (const auto& [reason, lines] : by_reason_) {
        tool.warn(counted(lines.count, "line") + " of " + file_ + " left out, " + reason + ": " +
                  lines.numbers);
    }
}

uint64_t LeftOut::count() const {
    uint64_t count = 0;
    for (const auto& [reason, lines] : by_reason_) count += lines.count;
    return count;
}

}  // namespace tool
