// Sets of identifiers of 32 bits, as ranges in text files.
#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "lines.h"
#include "progress.h"

namespace tool {

namespace {

constexpr uint32_t kHighest = 0xFFFFFFFE;  // 0xFFFFFFFF is in no range

// Sorted, no two touch; released at the end.
class RangeSet {
 public:
    RangeSet() { OX_IDRANGEARRAY_Init(&ranges_); }
    ~RangeSet() { OX_IDRANGEARRAY_Release(&ranges_); }
    RangeSet(const RangeSet&) = delete;
    RangeSet& operator=(const RangeSet&) = delete;

    void add(const std::vector<OX_IDRANGE>& ranges) {
        if (ranges.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            throw Failure("There are too many ranges");
        }
        check(OX_IDRANGEARRAY_AddRange(&ranges_, ranges.data(), static_cast<int32_t>(ranges.size()),
                                       0),
              "The ranges can't be put together");
    }
    void remove(const OX_IDRANGE& range) {
        check(OX_IDRANGEARRAY_RemoveRange(&ranges_, &range, 1), "The range can't be removed");
    }
    // What was removed as a whole stays as an element that is empty.
    template <typename Visit>
    void each(Visit visit) const {
        for (int32_t i = 0; i < ranges_.nCount; ++i) {
            if (OX_IDRANGE_IsEmpty(&ranges_.pRange[i]) == 0) visit(ranges_.pRange[i]);
        }
    }
    [[nodiscard]] uint64_t count() const {
        return OX_IDRANGE_GetAllCount(ranges_.pRange, ranges_.nCount);
    }

 private:
    OX_IDRANGEARRAY ranges_;
};

// ---- Ranges as text ----

bool take_number(std::string_view* text, uint32_t* number) {
    const char* end = text->data() + text->size();
    const auto [behind, error] = std::from_chars(text->data(), end, *number);
    if (error != std::errc()) return false;
    *text = std::string_view(behind, static_cast<size_t>(end - behind));
    return true;
}

bool take(std::string_view* text, char c) {
    if (text->empty() || text->front() != c) return false;
    text->remove_prefix(1);
    return true;
}

// "7", "7-9", and as programs print it "[7 10]", whose end is the one behind the last. Why it is
// none, or null.
const char* parse(std::string_view text, OX_IDRANGE* range) {
    constexpr const char* none = "no range such as 7, 7-9 or [7 10]";
    constexpr const char* inverted = "with its end below its start";
    uint32_t first = 0, last = 0;
    const bool closed = take(&text, '[');
    if (!take_number(&text, &first)) return none;
    if (take(&text, ' ')) {  // the brackets of an argument are lost to CLI11, as those of a list
        if (!take_number(&text, &last)) return none;
        if (closed && !take(&text, ']')) return none;
        if (!text.empty()) return none;
        if (last < first) return inverted;
        *range = {first, last};
        return nullptr;
    }
    last = first;
    if (take(&text, '-') && !take_number(&text, &last)) return none;
    if (closed || !text.empty()) return none;
    if (last < first) return inverted;
    if (last > kHighest) return "beyond 4294967294, the highest identifier";
    *range = {first, last + 1};
    return nullptr;
}

void show(Tool& tool, const OX_IDRANGE& range) {
    const uint32_t last = range.nEnd - 1;
    std::string text = std::to_string(range.nStart);
    if (last > range.nStart) text += "-" + std::to_string(last);
    tool.out.say(text,
                 {{"first", range.nStart}, {"last", last}, {"count", OX_IDRANGE_GetCount(&range)}});
}

// ---- The commands ----

struct Order {
    std::string list = "-", output = "-";
    std::vector<std::string> ranges;
    uint32_t size = 0;
};

void load(Tool& tool, const Order& order, RangeSet* set) {
    std::vector<OX_IDRANGE> ranges;
    LeftOut left(order.list);
    each_line(read_whole(order.list), [&](size_t number, std::string_view line) {
        const std::string_view text = trimmed(line);
        if (text.empty()) return;
        OX_IDRANGE range;
        if (const char* reason = parse(text, &range)) {
            left.add(reason, number);
        } else {
            ranges.push_back(range);
        }
    });
    left.tell(tool);
    // Ranges that are known in part only are no basis for work.
    if (left.count() > 0) throw Failure("The list of ranges can't be used");
    end_if_interrupted();
    set->add(ranges);
}

std::vector<OX_IDRANGE> ranges_of(const Order& order) {
    std::vector<OX_IDRANGE> ranges;
    for (const std::string& text : order.ranges) {
        OX_IDRANGE range;
        if (const char* reason = parse(trimmed(text), &range)) {
            throw Failure(
                "\"" + shown(text) + "\" is " + (*reason == 'n' ? "" : "a range ") + reason,
                kUsage);
        }
        ranges.push_back(range);
    }
    return ranges;
}

void write(Tool& tool, const Order& order, const RangeSet& set) {
    if (order.output == "-") return set.each([&](const OX_IDRANGE& range) { show(tool, range); });
    std::string lines;
    uint64_t ranges = 0;
    set.each([&](const OX_IDRANGE& range) {
        const uint32_t last = range.nEnd - 1;
        lines += std::to_string(range.nStart);
        if (last > range.nStart) lines += "-" + std::to_string(last);
        lines += "\n";
        ++ranges;
    });
    const bool dry = tool.settings.dry_run;
    if (!dry) write_whole(tool.out, order.output, lines);
    tool.out.say(counted(set.count(), "identifier") + " in " + counted(ranges, "range") +
                     (dry ? " would be" : "") + " written to \"" + shown(order.output) + "\"",
                 {{"count", set.count()},
                  {"ranges", ranges},
                  {"file", shown(order.output)},
                  {"written", !dry}});
}

int add(Tool& tool, const Order& order) {
    const std::vector<OX_IDRANGE> ranges = ranges_of(order);
    RangeSet set;
    load(tool, order, &set);
    set.add(ranges);
    write(tool, order, set);
    return kDone;
}

int remove(Tool& tool, const Order& order) {
    const std::vector<OX_IDRANGE> ranges = ranges_of(order);
    RangeSet set;
    load(tool, order, &set);
    {
        Progress progress("removing", ranges.size(), "ranges");
        for (const OX_IDRANGE& range : ranges) {
            set.remove(range);
            progress.advance(1);
        }
    }
    write(tool, order, set);
    return kDone;
}

int count(Tool& tool, const Order& order) {
    RangeSet set;
    load(tool, order, &set);
    uint64_t ranges = 0;
    set.each([&](const OX_IDRANGE& /*range*/) { ++ranges; });
    tool.out.say(counted(set.count(), "identifier") + " in " + counted(ranges, "range"),
                 {{"count", set.count()}, {"ranges", ranges}});
    return kDone;
}

// Each range by itself: pieces never reach across a gap.
int split(Tool& tool, const Order& order) {
    RangeSet set;
    load(tool, order, &set);
    set.each([&](const OX_IDRANGE& whole) {
        OX_IDRANGE left = whole;
        OX_IDRANGEARRAY work{1, 1, &left};  // never grown, never released
        OX_IDRANGE piece;
        while (OX_IDRANGEARRAY_GetSegToWork(&work, &piece, order.size, 1) > 0) {
            end_if_interrupted();
            show(tool, piece);
        }
    });
    return kDone;
}

}  // namespace

void add_range(Commands& commands) {
    struct Row {
        const char *name, *summary, *example, *meaning;
        int (*run)(Tool&, const Order&);
    };
    constexpr Row rows[] = {
        {"add", "Adds ranges to a list, and joins what touches",
         "range add ready.txt 100-199 250 -o ready.txt", "into the same file", add},
        {"remove", "Takes ranges out of a list", "range remove ready.txt 120-129",
         "what is left, on standard output", remove},
        {"count", "Counts the identifiers of a list", "range count ready.txt",
         "those that several ranges hold count once", count},
        {"split", "Splits a list into pieces of work", "range split 1000 ready.txt",
         "pieces of 1000 identifiers, or less where a range ends", split},
    };
    CLI::App* group = commands.group("range", "Ranges of identifiers of 32 bits");
    for (const Row& row : rows) {
        const auto order = std::make_shared<Order>();
        CLI::App* command =
            commands.add(row.name, row.summary, {{row.example, row.meaning}}, group);
        commands.describe(
            command,
            "A list is a text file of one range a line: 7, or 7-9 with the first and the last, or "
            "[7 10]\nas programs print it, where 10 is the one behind the last. The highest "
            "identifier is\n4294967294. A list with any other line is not used.");
        const bool changes = row.run == add || row.run == remove;
        if (row.run == split) {
            command->add_option("SIZE", order->size, "How many identifiers a piece has at most")
                ->check(CLI::Range(uint32_t{1}, kHighest).description(""))
                ->required();
        }
        CLI::Option* list = command->add_option(
            "LIST", order->list,
            changes ? "A file; - is standard input" : "A file; - or none is standard input");
        if (changes) {
            list->required();
            command->add_option("RANGE", order->ranges, "Ranges");
            command->add_option("-o,--output", order->output, "Where to; standard output otherwise")
                ->type_name("FILE");
            commands.changes(command);
        }
        const auto run = row.run;
        commands.runs(command, [order, run](Tool& tool) { return run(tool, *order); });
    }
}

}  // namespace tool
