// The error logs of programs, read as one looks for a fault: by time, error and module, and while
// they grow.
#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "log_entry.h"
#include "log_shown.h"
#include "progress.h"

namespace tool {

namespace {

constexpr size_t kPiece = 65536;
constexpr std::chrono::milliseconds kPause{200};

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

bool pause(Tool& tool, const LogShown& shown) {
    tool.out.flush();
    if (interrupted() || shown.complete()) return false;
    std::this_thread::sleep_for(kPause);
    return !interrupted();
}

class Reader {
 public:
    Reader(Tool& tool, const LogOrder& order, std::string path, std::string name)
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
    const LogOrder& order_;
    std::string path_, name_;
    LogShown shown_;
    int64_t position_ = 0;
    std::string begin_;
    std::map<int32_t, LogBlock> seen_;
    std::vector<std::pair<std::string, Json>> losses_;
};

int read_stream(Tool& tool, const LogOrder& order) {
    if (order.follow) throw Failure("A pipe can't be followed: it ends", kUsage);
    const std::string bytes = read_whole(order.file);
    if (is_binary_log(bytes, static_cast<int64_t>(bytes.size()))) {
        throw Failure("A binary log is read from its file alone");
    }
    LogShown shown(tool, order);
    TextLog log(tool, [&shown](LogEntry entry) { shown.take(std::move(entry)); });
    log.add(bytes);
    log.end();
    if (!bytes.empty() && !log.has_entries()) {
        throw Failure("\"" + tool::shown(order.file) + "\" is no error log");
    }
    shown.at_end();
    return shown.any() ? kDone : kNothing;
}

std::string path_of(const Tool& tool, const LogOrder& order) {
    if (!order.file.empty()) return library_path(order.file);
    if (tool.settings.installation.empty()) {
        throw Failure("Which log? Name its file, or --installation", kUsage);
    }
    char path[256];
    check((order.binary ? MOLTE_BERRLOG_PathFileName : ORVEX_ERRLOG_GetFileName)(path),
          "The installation has no log");
    return path;
}

// Whether the installation's log is there; its first entry makes it.
bool wait_for(Tool& tool, const LogOrder& order, const std::string& path) {
    const LogShown nothing(tool, order);
    const auto is_there = [&] {
        if (ORVEX_FileLenByFileName(path.c_str()) >= 0) return true;
        ORVEX_Err_ClearError();
        return false;
    };
    while (!is_there() && order.follow && pause(tool, nothing)) {
    }
    return is_there();
}

int show_log(Tool& tool, const LogOrder& order) {
    tool.bring_up();
    if (is_stream(order.file)) return read_stream(tool, order);
    const std::string path = path_of(tool, order);
    if (order.file.empty() && !wait_for(tool, order, path)) {
        tool.warn("the installation has no log yet");
        return kNothing;
    }
    const std::string name =
        order.file.empty() ? order.binary ? "berrlog.dat" : "errlog.txt" : shown(order.file);
    return Reader(tool, order, path, name).run();
}

}  // namespace

void add_log(Commands& commands) {
    const auto order = std::make_shared<LogOrder>();
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
