#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "log_entry.h"

namespace tool {

namespace {

constexpr std::string_view kHead = "======>";
constexpr std::string_view kRecord = "-------------------START ERROR DESCRIPTION-";
constexpr std::string_view kRecordEnd = "-------------------END ERROR DESCRIPTION-";
constexpr size_t kMostOfLine = 65536;
constexpr size_t kMostOfEntry = 1 << 20;

bool begins(std::string_view line, std::string_view with) {
    return line.substr(0, with.size()) == with;
}

// The number behind a word, wherever blanks stand; 0 for none.
template <typename Number>
Number number_behind(std::string_view line, std::string_view word) {
    const size_t at = line.find(word);
    if (at == std::string_view::npos) return 0;
    line.remove_prefix(at + word.size());
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    Number number = 0;
    std::from_chars(line.data(), line.data() + line.size(), number);
    return number;
}

std::string trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos) return "";
    return std::string(text.substr(begin, text.find_last_not_of(' ') + 1 - begin));
}

std::string behind(std::string_view line, std::string_view word) {
    const size_t at = line.find(word);
    return at == std::string_view::npos ? "" : trimmed(line.substr(at + word.size()));
}

// "Mon Mar  1 09:30:05 2026" as "2026-03-01 09:30:05"; empty when it is no time.
std::string time_of(const std::string& text) {
    constexpr std::string_view months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    char day_name[4], month_name[4], line[40];
    int day = 0, hour = 0, minute = 0, second = 0, year = 0;
    if (std::sscanf(text.c_str(), "%3s %3s %2d %2d:%2d:%2d %4d", day_name, month_name, &day, &hour,
                    &minute, &second, &year) != 7) {
        return "";
    }
    const size_t month = months.find(month_name);
    if (month == std::string_view::npos || month % 3 != 0 || std::strlen(month_name) != 3)
        return "";
    std::snprintf(line, sizeof line, "%04d-%02d-%02d %02d:%02d:%02d", year,
                  static_cast<int>(month / 3) + 1, day, hour, minute, second);
    return line;
}

// "(0)L=  14 F=        main (1)L= ...": two on a line.
void add_callers(const std::string& line, LogError* error) {
    for (size_t at = line.find("L="); at != std::string::npos; at = line.find("L=", at + 2)) {
        const size_t name = line.find("F=", at);
        if (name == std::string::npos) return;
        const size_t end = std::min(line.find(" (", name + 2), line.size());
        const std::string module = trimmed(line.substr(name + 2, end - name - 2));
        const auto number = number_behind<uint32_t>(line.substr(at, name - at), "L=");
        error->callers.push_back(module + ":" + std::to_string(number));
        error->caller_modules.push_back(module);
    }
}

// A line of the dump, "010  6E 69 ...": up to 16 bytes in two groups.
void add_dump(const std::string& line, std::string* data) {
    for (size_t i = 0; i < 16; ++i) {
        const size_t at = 5 + 3 * i + (i >= 8 ? 1 : 0);
        unsigned byte = 0;
        if (at + 2 > line.size()) return;
        const auto end = std::from_chars(&line[at], &line[at] + 2, byte, 16);
        if (end.ptr != &line[at] + 2) return;
        *data += static_cast<char>(byte);
    }
}

bool is_dump(const std::string& line, size_t offset) {
    char begin[16];
    std::snprintf(begin, sizeof begin, "%03x  ", static_cast<unsigned>(offset));
    return begins(line, begin);
}

// The lines between start and end of a record.
LogError error_of(const std::vector<std::string>& lines) {
    LogError error;
    size_t wanted = 0;
    for (const std::string& line : lines) {
        if (begins(line, "RVEX errno=")) {
            error.number = static_cast<uint32_t>(number_behind<int32_t>(line, "errno="));
            error.text = behind(line, " : ");
        } else if (begins(line, "Sys  errno=")) {
            error.system = number_behind<int64_t>(line, "errno=");
            error.system_text = behind(line, " : ");
        } else if (begins(line, "File name is : ")) {
            error.module = trimmed(line.substr(15, line.find("  ", 15) - 15));
            error.place = error.module + ":" + behind(line, "Line Num  is : ");
        } else if (begins(line, "Error Data Len=")) {
            wanted = number_behind<uint32_t>(line, "Len=");
        } else if (error.data.size() < wanted && is_dump(line, error.data.size())) {
            add_dump(line, &error.data);
        } else if (begins(line, "(")) {
            add_callers(line, &error);
        }
    }
    return error;
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
        at = end + 1;
    }
    return lines;
}

}  // namespace

std::string local_time(std::optional<int64_t> seconds) {
    ORVEXDATETIME time{};
    FormatDateTime(seconds.value_or(ORVEX_Time()), &time);
    int32_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    ORVEX_GetDateTime(&time, &year, &month, &day, &hour, &minute, &second);
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", year, month, day, hour,
                  minute, second);
    return text;
}

std::string log_text(const Tool& tool, std::string_view bytes) {
    if (const auto text = utf8_from(bytes, Encoding::utf8)) return *text;
    if (const auto text = utf8_from(bytes, tool.settings.encoding)) return *text;
    const bool has_zero = bytes.find('\0') != std::string_view::npos;
    return has_zero ? shown(bytes) : from_library(bytes);
}

void take_errors(LogEntry* entry) {
    std::string text;
    std::vector<std::string> record;
    bool inside = false;
    const auto end_record = [&] {
        LogError error = error_of(record);
        if (error.number != 0) entry->errors.push_back(std::move(error));
        record.clear();
        inside = false;
    };
    for (std::string& line : lines_of(entry->text)) {
        if (begins(line, kRecord)) {
            if (inside) end_record();
            inside = true;
        } else if (inside && begins(line, kRecordEnd)) {
            end_record();
        } else if (inside) {
            record.push_back(std::move(line));
        } else {
            text += (text.empty() ? "" : "\n") + line;
        }
    }
    if (inside) end_record();  // it was cut
    while (!text.empty() && text.back() == '\n') text.pop_back();
    entry->text = text;
}

// ---- The text log ----

void TextLog::add(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        const size_t room = kMostOfLine - std::min(rest_.size(), kMostOfLine);
        rest_ += bytes.substr(0, std::min(end, room));
        if (end == bytes.size()) return;
        bytes.remove_prefix(end + 1);
        add_line(std::exchange(rest_, ""));
    }
}

// An entry has a head, "======>" and a time, and ends where the next begins.
void TextLog::add_line(std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const bool is_head = begins(line, kHead) && !time_of(line.substr(kHead.size())).empty();
    if (is_head) end();
    if (lines_.empty() && !is_head) return;  // in front of the first
    size_ += line.size() + 1;
    if (size_ <= kMostOfEntry)
        lines_.push_back(std::move(line));
    else
        cut_ = true;
}

void TextLog::end() {
    if (!rest_.empty()) {
        const std::string last = std::exchange(rest_, "");
        add_line(last);
    }
    if (lines_.empty()) return;
    const auto line = [this](size_t i) {
        return i < lines_.size() ? trimmed(log_text(tool_, lines_[i])) : "";
    };
    LogEntry entry;
    entry.time = time_of(lines_[0].substr(kHead.size()));
    entry.program = line(1);
    // " size=16328 cpu=2 24106MB win x64 64bit" ends the head. The time of the start has a line
    // end.
    size_t i = 2;
    for (; i < std::min<size_t>(lines_.size(), 6); ++i) {
        const size_t at = lines_[i].find(" size=");
        if (at == std::string::npos) continue;
        entry.machine = trimmed(log_text(tool_, lines_[i].substr(at)));
        break;
    }
    if (entry.machine.empty()) {
        i = 1;
    } else {
        const std::string start = line(2);
        const size_t blank = start.size() > 24 ? start.size() - 24 : 0;
        entry.started = time_of(start.substr(blank));
        entry.version = trimmed(start.substr(0, blank));
    }
    for (++i; i < lines_.size(); ++i) entry.text += log_text(tool_, lines_[i]) + "\n";
    if (cut_) entry.text += "\u2026\n";
    lines_.clear();
    size_ = 0;
    cut_ = false;
    ++entries_;
    take_errors(&entry);
    take_(std::move(entry));
}

}  // namespace tool
