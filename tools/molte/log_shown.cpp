#include "log_shown.h"

#include <algorithm>
#include <chrono>

namespace tool {

namespace {

// "2h" and its kin are that long ago; "09:30" is today; of a date the rest is filled in, so that
// --until takes the day or the minute whole.
std::string time_of(std::string text, const std::string& rest) {
    const std::string now = local_time();
    const Failure wrong("\"" + shown(text) +
                            "\" is no time: 2026-03-01, 2026-03-01 09:30:05, 09:30, "
                            "or 90s, 30m, 2h, 7d",
                        kUsage);
    if (text.ends_with(" ago")) text.resize(text.size() - 4);
    const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    if (digits > 0 && digits < 7 && digits + 1 == text.size()) {
        const size_t unit = std::string("smhd").find(text.back());
        if (unit == std::string::npos) throw wrong;
        constexpr int64_t seconds[] = {1, 60, 3600, 86400};
        return local_time(ORVEX_Time() - std::stoll(text) * seconds[unit]);
    }
    std::string full = text.find('-') == std::string::npos ? now.substr(0, 11) + text : text;
    if (full.size() > 10 && full[10] == 'T') full[10] = ' ';
    if (full.size() != 10 && full.size() != 16 && full.size() != 19) throw wrong;
    full += rest.substr(full.size());
    for (size_t i = 0; i < full.size(); ++i) {
        const char form = "dddd-dd-dd dd:dd:dd"[i];
        if (form == 'd' ? full[i] < '0' || full[i] > '9' : full[i] != form) throw wrong;
    }
    const auto number = [&](size_t at) {
        return static_cast<unsigned>(std::stoul(full.substr(at, 2)));
    };
    const std::chrono::year_month_day date{std::chrono::year(std::stoi(full)),
                                           std::chrono::month(number(5)),
                                           std::chrono::day(number(8))};
    if (!date.ok() || number(11) > 23 || number(14) > 59 || number(17) > 60) throw wrong;
    return full;
}

std::string indented(const std::string& text) {
    std::string lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        lines += "\n    " + shown(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

// Data is shown as the text that it is, or in hex.
std::string data_text(const Tool& tool, const std::string& data) {
    const std::string text = log_text(tool, data);
    if (shown(text) == text) return "\"" + text + "\"";
    std::string hex = "hex ";
    for (const char byte : data) {
        hex += "0123456789abcdef"[static_cast<unsigned char>(byte) >> 4];
        hex += "0123456789abcdef"[byte & 15];
    }
    return hex;
}

std::string error_lines(Tool& tool, const LogError& error) {
    std::string line = "error " + std::to_string(error.number) + ": " + shown(error.text);
    std::string lines =
        "\n    " + tool.out.coloured(Colour::red, line) + ", at " + shown(error.place);
    for (const std::string& caller : error.callers) lines += " < " + shown(caller);
    if (error.system != 0) {
        lines += "\n    system " + std::to_string(error.system) + ": " + shown(error.system_text);
    }
    if (!error.data.empty()) lines += "\n    data: " + data_text(tool, error.data);
    return lines;
}

Json object_of(const Tool& tool, const LogError& error) {
    Json object{{"error", error.number},
                {"text", error.text},
                {"place", error.place},
                {"callers", error.callers}};
    if (error.system != 0) {
        object["system"] = {{"number", error.system}, {"text", error.system_text}};
    }
    if (!error.data.empty()) object["data"] = log_text(tool, error.data);
    return object;
}

std::string lost_text(const LogEntry& entry) {
    const auto of = " of " + std::to_string(entry.length) + " bytes ";
    std::string text;
    if (entry.overwritten > 0) {
        text += "\n    [" + std::to_string(entry.overwritten) + of + "are overwritten]";
    }
    if (entry.left_out > 0) {
        text += "\n    [" + std::to_string(entry.left_out) + of + "had no room]";
    }
    return text;
}

}  // namespace

LogFilter::LogFilter(const LogOrder& order) : error_(order.error), module_(order.module) {
    if (!order.since.empty()) since_ = time_of(order.since, "0000-00-00 00:00:00");
    if (!order.until.empty()) until_ = time_of(order.until, "0000-00-00 23:59:59");
}

bool LogFilter::wants(const LogEntry& entry) const {
    if (!since_.empty() && entry.time < since_) return false;
    if (!until_.empty() && entry.time > until_) return false;
    if (!error_ && module_.empty()) return true;
    return std::any_of(entry.errors.begin(), entry.errors.end(),
                       [this](const LogError& error) { return wants(error); });
}

bool LogFilter::wants(const LogError& error) const {
    const auto& by = error.caller_modules;
    return (!error_ || error.number == *error_) &&
           (module_.empty() || error.module == module_ ||
            std::find(by.begin(), by.end(), module_) != by.end());
}

void LogShown::take(LogEntry entry) {
    if (complete() || !filter_.wants(entry)) return;
    if (!last_) return say(entry);
    waiting_.push_back(std::move(entry));
    if (waiting_.size() > *last_) waiting_.pop_front();
}

void LogShown::at_end() {
    last_.reset();
    for (const LogEntry& entry : std::exchange(waiting_, {})) {
        if (!complete()) say(entry);
    }
}

void LogShown::say(const LogEntry& entry) {
    ++said_;
    const std::string program = entry.program.substr(entry.program.find_last_of("/\\") + 1);
    std::string text = tool_.out.coloured(Colour::bold, entry.time);
    if (!program.empty()) text += "  " + shown(program);
    text += indented(entry.text);
    Json object{{"time", entry.time}};
    if (!entry.program.empty()) object["program"] = entry.program;
    if (!entry.machine.empty()) {
        object["version"] = entry.version;
        object["started"] = entry.started;
        object["machine"] = entry.machine;
    }
    object["text"] = entry.text;
    for (const LogError& error : entry.errors) {
        text += error_lines(tool_, error);
        object["errors"].push_back(object_of(tool_, error));
    }
    if (entry.length > 0) {
        object["length"] = entry.length;
        object["overwritten"] = entry.overwritten;
        object["left_out"] = entry.left_out;
    }
    tool_.out.say(text + lost_text(entry), object);
}

}  // namespace tool
