// The error logs of programs, read as one looks for a fault: by time, error and module, and while
// they grow.
#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <thread>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "log_entry.h"
#include "progress.h"

namespace tool {

namespace {

constexpr size_t kPiece = 65536;
constexpr std::chrono::milliseconds kPause{200};

struct Order {
    std::string file, since, until, module;
    std::optional<uint32_t> error;
    std::optional<uint32_t> last, most;
    bool binary = false, follow = false;
};

// ---- What is wanted ----

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

class Filter {
 public:
    explicit Filter(const Order& order) : error_(order.error), module_(order.module) {
        if (!order.since.empty()) since_ = time_of(order.since, "0000-00-00 00:00:00");
        if (!order.until.empty()) until_ = time_of(order.until, "0000-00-00 23:59:59");
    }
    [[nodiscard]] bool wants(const LogEntry& entry) const {
        if (!since_.empty() && entry.time < since_) return false;
        if (!until_.empty() && entry.time > until_) return false;
        if (!error_ && module_.empty()) return true;
        return std::any_of(entry.errors.begin(), entry.errors.end(),
                           [this](const LogError& error) { return wants(error); });
    }

 private:
    [[nodiscard]] bool wants(const LogError& error) const {
        const auto& by = error.caller_modules;
        return (!error_ || error.number == *error_) &&
               (module_.empty() || error.module == module_ ||
                std::find(by.begin(), by.end(), module_) != by.end());
    }

    std::string since_, until_;
    std::optional<uint32_t> error_;
    std::string module_;
};

// ---- What is shown ----

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

// Says what the filter takes: at once, or the last of them when the log is read to its end.
class Shown {
 public:
    Shown(Tool& tool, const Order& order)
        : tool_(tool), filter_(order), last_(order.last), most_(order.most) {}

    void take(LogEntry entry) {
        if (complete() || !filter_.wants(entry)) return;
        if (!last_) return say(entry);
        waiting_.push_back(std::move(entry));
        if (waiting_.size() > *last_) waiting_.pop_front();
    }
    void at_end() {
        last_.reset();
        for (const LogEntry& entry : std::exchange(waiting_, {})) {
            if (!complete()) say(entry);
        }
    }
    [[nodiscard]] bool complete() const { return most_ && said_ >= *most_; }
    [[nodiscard]] bool any() const { return said_ > 0; }

 private:
    void say(const LogEntry& entry) {
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

    Tool& tool_;
    Filter filter_;
    std::optional<uint32_t> last_, most_;
    uint64_t said_ = 0;
    std::deque<LogEntry> waiting_;
};

// ---- The files ----

// Opened for each look, so that whoever turns the log over finds it free.
class LogFile {
 public:
    LogFile(const std::string& path, std::string name)
        : failed_("\"" + std::move(name) + "\" can't be read"),
          file_(ORVEX_HFILE_OpenMode(path.c_str(), ORVEX_OPEN_READ, 0)) {
        if (file_ == nullptr) throw Failure(failed_);
        size_ = check(ORVEX_HFILE_Size(file_.get()), failed_);
    }

    [[nodiscard]] int64_t size() const { return size_; }
    [[nodiscard]] std::string read(int64_t at, size_t most) const {
        const auto length = std::clamp<int64_t>(size_ - at, 0, static_cast<int64_t>(most));
        std::string bytes(static_cast<size_t>(length), '\0');
        if (length > 0 && ORVEX_HFILE_ReadS(file_.get(), bytes.data(), at, length) != length) {
            throw Failure(failed_);
        }
        return bytes;
    }

 private:
    struct Close {
        void operator()(ORVEX_HFILE* file) const { ORVEX_HFILE_Close(&file); }
    };
    std::string failed_;
    std::unique_ptr<ORVEX_HFILE, Close> file_;
    int64_t size_ = 0;
};

bool pause(Tool& tool, const Shown& shown) {
    tool.out.flush();
    if (interrupted() || shown.complete()) return false;
    std::this_thread::sleep_for(kPause);
    return !interrupted();
}

class Reader {
 public:
    Reader(Tool& tool, const Order& order, std::string path, std::string name)
        : tool_(tool),
          order_(order),
          path_(std::move(path)),
          name_(std::move(name)),
          shown_(tool, order) {}

    int run() {
        if (is_binary()) {
            read_binary();
        } else {
            read_text();
        }
        if (shown_.any() || order_.follow) return kDone;
        tool_.warn("\"" + name_ + "\" has no such entries");
        return kNothing;
    }

 private:
    bool is_binary() {
        const LogFile file(path_, name_);
        return is_binary_log(file.read(0, sizeof(BERRLOG_FILEMAP)), file.size());
    }

    void read_text() {
        TextLog log(tool_, [this](LogEntry entry) { shown_.take(std::move(entry)); });
        add_text(&log);
        log.end();
        if (position_ > 0 && !log.has_entries()) {
            throw Failure("\"" + name_ + "\" is no error log");
        }
        shown_.at_end();
        while (order_.follow && pause(tool_, shown_)) {
            // An entry is written in one piece; what came no further since the last look is whole.
            if (!add_text(&log)) log.end();
        }
    }

    // From where it was read to, or from its beginning when it has begun again; whether there was
    // more.
    bool add_text(TextLog* log) {
        if (position_ > 0 && ORVEX_FileLenByFileName(path_.c_str()) < 0) {
            ORVEX_Err_ClearError();  // it is being turned over
            return false;
        }
        const LogFile file(path_, name_);
        const std::string begin = file.read(0, 256);
        if (position_ > 0 &&
            (file.size() < position_ || begin.compare(0, begin_.size(), begin_) != 0)) {
            log->end();
            position_ = 0;
            tool_.warn("the log begins again; what came before is in its newest backup");
        }
        begin_ = begin;
        if (position_ == file.size()) return false;
        Progress progress("reading", static_cast<uint64_t>(file.size()));
        while (position_ < file.size() && !shown_.complete()) {
            const std::string piece = file.read(position_, kPiece);
            position_ += static_cast<int64_t>(piece.size());
            log->add(piece);
            progress.reach(static_cast<uint64_t>(position_));
        }
        return true;
    }

    // Each look reads all blocks; an entry that was there at the last one isn't said again.
    void read_binary() {
        look();
        shown_.at_end();
        say_losses();
        while (order_.follow && pause(tool_, shown_)) {
            look();
            say_losses();
        }
    }

    void say_losses() {
        for (const auto& [text, object] : std::exchange(losses_, {})) tool_.out.say(text, object);
    }

    void look() {
        BERRLOG_FILE file;
        check(BERRLOG_OpenFile(path_.c_str(), &file), "\"" + name_ + "\" can't be read");
        const std::unique_ptr<BERRLOG_FILE, decltype(&BERRLOG_CloseFile)> closed(&file,
                                                                                 BERRLOG_CloseFile);
        const int64_t blocks = std::min<int64_t>(
            (file.n64FileLen - int64_t{sizeof(BERRLOG_FILEMAP)}) / BERRLOG_BLOCK_SIZE, INT32_MAX);
        Progress progress("reading", static_cast<uint64_t>(std::max<int64_t>(blocks, 0)), "blocks");
        BERRLOG_BLOCK block;
        for (int32_t i = 0; i < blocks && !shown_.complete(); ++i) {
            check(BERRLOG_ReadBlock(&file, i, &block), "\"" + name_ + "\" can't be read");
            take(i, read_block(tool_, block));
            progress.advance(1);
        }
    }

    void take(int32_t number, LogBlock block) {
        const auto before = seen_.find(number);
        if (block.count == 0 && before == seen_.end()) return;
        const uint32_t count = before == seen_.end() ? 0 : before->second.count;
        const bool again = block.count < count;
        for (size_t i = 0; i < block.entries.size(); ++i) {
            const auto& old = before != seen_.end() ? before->second.numbers : block.numbers;
            const bool known = before != seen_.end() && !again &&
                               std::find(old.begin(), old.end(), block.numbers[i]) != old.end();
            if (!known) shown_.take(std::move(block.entries[i]));
        }
        if (before == seen_.end() || block.count != count) tell_losses(number, block);
        block.entries.clear();
        seen_[number] = std::move(block);
    }

    void tell_losses(int32_t number, const LogBlock& block) {
        if (block.overwritten == 0 && !block.count_overwritten) return;
        std::string text = "[block " + std::to_string(number) + ": ";
        Json object{{"block", number}};
        if (block.count_overwritten) {
            text += "a text lies on the number of entries; there may have been more]";
            object["count_overwritten"] = true;
        } else {
            text += std::to_string(block.overwritten) + " of " + std::to_string(block.count) +
                    " entries are overwritten]";
            object["entries"] = block.count;
            object["overwritten_entries"] = block.overwritten;
        }
        losses_.emplace_back(text, object);
    }

    Tool& tool_;
    const Order& order_;
    std::string path_, name_;
    Shown shown_;
    int64_t position_ = 0;
    std::string begin_;
    std::map<int32_t, LogBlock> seen_;
    std::vector<std::pair<std::string, Json>> losses_;
};

int read_standard_input(Tool& tool, const Order& order) {
    if (order.follow) throw Failure("Standard input can't be followed: it ends", kUsage);
    const std::string bytes = read_whole("-");
    if (is_binary_log(bytes, static_cast<int64_t>(bytes.size()))) {
        throw Failure("A binary log is read from its file alone");
    }
    Shown shown(tool, order);
    TextLog log(tool, [&shown](LogEntry entry) { shown.take(std::move(entry)); });
    log.add(bytes);
    log.end();
    if (!bytes.empty() && !log.has_entries()) throw Failure("\"-\" is no error log");
    shown.at_end();
    return shown.any() ? kDone : kNothing;
}

std::string path_of(const Tool& tool, const Order& order) {
    if (!order.file.empty()) return library_path(order.file);
    if (tool.settings.installation.empty()) {
        throw Failure("Which log? Name its file, or --installation", kUsage);
    }
    char path[256];
    check((order.binary ? MOLTE_BERRLOG_PathFileName : ORVEX_ERRLOG_GetFileName)(path),
          "The installation has no log");
    return path;
}

int show_log(Tool& tool, const Order& order) {
    tool.bring_up();
    if (order.file == "-") return read_standard_input(tool, order);
    const std::string path = path_of(tool, order);
    const std::string name =
        order.file.empty() ? order.binary ? "berrlog.dat" : "errlog.txt" : shown(order.file);
    return Reader(tool, order, path, name).run();
}

}  // namespace

void add_log(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* log =
        commands.add("log", "Shows the text log and the binary log",
                     {{"log --since 2h --error 3", "of the installation: which reads failed"},
                      {"log --follow --last 5", "the last five entries, and those that come"},
                      {"log --binary", "the binary log, and what of it is overwritten"},
                      {"log errlog_0007.txt --module oxfileop --json", "a backup, for a program"}});
    commands.describe(log,
                      "In a binary log a text lies where its length puts it, over whatever lies "
                      "there. So bytes of\n"
                      "a text that others lie on are shown as \xE2\x80\xA6 and counted, and so are "
                      "entries that texts lie on.");
    log->add_option("FILE", order->file,
                    "A text log or a binary log; - is standard input. Without it the text log of\n"
                    "the installation");
    log->add_flag("--binary", order->binary, "The binary log of the installation");
    log->add_option("--since", order->since, "From that time on: 2026-03-01, 09:30, 2h")
        ->type_name("TIME");
    log->add_option("--until", order->until, "Up to that time")->type_name("TIME");
    log->add_option("--error", order->error, "Entries with that error")->type_name("NUMBER");
    log->add_option("--module", order->module, "Entries with an error that it raised or passed on")
        ->type_name("NAME");
    log->add_option("--last", order->last, "Of what the log holds now the last so many")
        ->type_name("COUNT");
    log->add_option("--most", order->most, "End after so many entries")->type_name("COUNT");
    log->add_flag("--follow", order->follow, "Go on as the log grows, until Ctrl-C");
    commands.runs(log, [order](Tool& tool) { return show_log(tool, *order); });
}

}  // namespace tool
