// Lists of keys and of identifiers (SIDs) as sets: in text files, of one entry a line.
#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <memory>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "lines.h"

namespace tool {

namespace {

constexpr auto kMostEntries = static_cast<size_t>(std::numeric_limits<int32_t>::max());

// ---- The two kinds of list: sorted, each entry once ----

class Keys {
 public:
    static constexpr const char* word = "key";

    // An entry that a file holds; why it is none, or null.
    const char* add(std::string_view entry) {
        if (entry.size() >= MOLTE_KEY_SLOT) return "longer than the 31 bytes of a key";
        if (entry.find('\0') != std::string_view::npos) return "with a byte 0";
        slots_.insert(slots_.end(), entry.begin(), entry.end());
        slots_.insert(slots_.end(), MOLTE_KEY_SLOT - entry.size(), '\0');
        return nullptr;
    }
    void settle() {
        MOLTE_SortKeyList(slots_.data(), count());
        const int32_t left = MOLTE_RemoveDupKey(slots_.data(), count());
        slots_.resize(static_cast<size_t>(check(left, "The keys can't be sorted")) *
                      MOLTE_KEY_SLOT);
    }

    static Keys united(const Keys& a, Keys b) { return made(MOLTE_KeyListUnion, a, &b); }
    static Keys in_both(const Keys& a, Keys b) { return made(MOLTE_KeyListIntersect, a, &b); }
    static Keys in_first(const Keys& a, Keys b) { return made(MOLTE_KeyListSub, a, &b); }

    [[nodiscard]] size_t size() const { return slots_.size() / MOLTE_KEY_SLOT; }
    [[nodiscard]] std::string text(size_t index) const {
        return slots_.data() + index * MOLTE_KEY_SLOT;
    }
    [[nodiscard]] Json value(size_t index, Encoding encoding) const {
        return utf8_from(text(index), encoding).value_or(shown(text(index)));
    }

 private:
    using Combine = int32_t (*)(const char*, int32_t, char*, int32_t, char**);

    static Keys made(Combine combine, const Keys& a, Keys* b) {
        char* slots = nullptr;
        const int32_t count =
            check(combine(a.slots_.data(), a.count(), b->slots_.data(), b->count(), &slots),
                  "The keys can't be put together");
        const std::unique_ptr<char, decltype(&ORVEX_free)> owned(slots, ORVEX_free);
        Keys keys;
        if (count > 0) keys.slots_.assign(slots, slots + int64_t{count} * MOLTE_KEY_SLOT);
        keys.settle();
        return keys;
    }
    [[nodiscard]] int32_t count() const { return static_cast<int32_t>(size()); }

    std::vector<char> slots_;
};

class Ids {
 public:
    static constexpr const char* word = "id";

    const char* add(std::string_view entry) {
        uint64_t id = 0;
        const auto [end, error] = std::from_chars(entry.data(), entry.data() + entry.size(), id);
        if (error == std::errc::result_out_of_range) return "above 18446744073709551615";
        if (error != std::errc() || end != entry.data() + entry.size()) return "no number";
        ids_.push_back(id);
        return nullptr;
    }
    void settle() {
        if (ids_.empty()) return;
        const auto count = static_cast<int32_t>(ids_.size());
        MOLTE_SortSIDList(ids_.data(), count);
        ids_.resize(static_cast<size_t>(MOLTE_RemoveDupSID(ids_.data(), count)));
    }

    static Ids united(const Ids& a, const Ids& b) {
        Ids ids;
        std::set_union(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(),
                       std::back_inserter(ids.ids_));
        return ids;
    }
    static Ids in_both(const Ids& a, const Ids& b) {
        Ids ids;
        std::set_intersection(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(),
                              std::back_inserter(ids.ids_));
        return ids;
    }
    static Ids in_first(const Ids& a, const Ids& b) {
        Ids ids;
        std::set_difference(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(),
                            std::back_inserter(ids.ids_));
        return ids;
    }

    [[nodiscard]] size_t size() const { return ids_.size(); }
    [[nodiscard]] std::string text(size_t index) const { return std::to_string(ids_[index]); }
    [[nodiscard]] Json value(size_t index, Encoding /*any*/) const { return ids_[index]; }

 private:
    std::vector<uint64_t> ids_;
};

// ---- What is done with them ----

enum class Operation : uint8_t { unite, intersect, subtract, unique, diff };

struct Order {
    std::string a = "-", b, output = "-";
};

template <typename List>
List load(Tool& tool, const std::string& file, uint64_t* left_out) {
    List list;
    LeftOut left(file);
    each_line(read_whole(file), [&](size_t number, std::string_view line) {
        const std::string_view entry = trimmed(line);
        if (entry.empty()) return;
        if (const char* reason = list.add(entry)) left.add(reason, number);
    });
    if (list.size() > kMostEntries) throw Failure("\"" + shown(file) + "\" has too many lines");
    list.settle();
    left.tell(tool);
    *left_out += left.count();
    end_if_interrupted();
    return list;
}

// As it stands, but that no byte plays with a terminal.
template <typename List>
void show(Tool& tool, const List& list, size_t index, const std::string& mark, Json object) {
    if (tool.settings.json) {
        object[List::word] = list.value(index, tool.settings.encoding);
        tool.out.object(object);
    } else {
        const std::string text = list.text(index);
        tool.out.bytes(mark + (tool.out.is_terminal() ? shown(text) : text) + "\n");
    }
}

template <typename List>
void show_all(Tool& tool, const List& list, const std::string& mark, const Json& object) {
    for (size_t i = 0; i < list.size(); ++i) show(tool, list, i, mark, object);
}

template <typename List>
void write(Tool& tool, const Order& order, const List& list) {
    if (order.output == "-") return show_all(tool, list, "", Json::object());
    const bool dry = tool.settings.dry_run;
    if (!dry) {
        std::string lines;
        for (size_t i = 0; i < list.size(); ++i) lines += list.text(i) + "\n";
        write_whole(tool.out, order.output, lines);
    }
    tool.out.say(counted(list.size(), List::word) + (dry ? " would be" : "") + " written to \"" +
                     shown(order.output) + "\"",
                 {{"count", list.size()}, {"file", shown(order.output)}, {"written", !dry}});
}

template <typename List>
int run(Tool& tool, const Order& order, Operation operation) {
    if (order.a == "-" && order.b == "-") {
        throw Failure("Only one of the lists can be standard input", kUsage);
    }
    uint64_t left_out = 0;
    const List a = load<List>(tool, order.a, &left_out);
    List b;
    if (operation != Operation::unique) b = load<List>(tool, order.b, &left_out);
    if (operation == Operation::diff) {
        const List first = List::in_first(a, b), second = List::in_first(b, a);
        show_all(tool, first, "< ", {{"only_in", shown(order.a)}});
        show_all(tool, second, "> ", {{"only_in", shown(order.b)}});
        if (left_out == 0 && first.size() + second.size() > 0) return kNothing;
    } else {
        write(tool, order,
              operation == Operation::unite       ? List::united(a, b)
              : operation == Operation::intersect ? List::in_both(a, b)
              : operation == Operation::subtract  ? List::in_first(a, b)
                                                  : a);
    }
    return left_out > 0 ? kPartly : kDone;
}

template <typename List>
void add_group(Commands& commands, const std::string& name, const std::string& entries,
               const std::string& about) {
    struct Row {
        Operation operation;
        const char *name, *summary, *example, *meaning;
    };
    const Row rows[] = {
        {Operation::unite, "union", " of A, of B or of both",
         " union desk1.txt desk2.txt -o all.txt", "what either list has, sorted, each once"},
        {Operation::intersect, "intersect", " that A and B both have",
         " intersect enrolled.txt wanted.txt", "what both lists have"},
        {Operation::subtract, "subtract", " of A that B doesn't have",
         " subtract all.txt done.txt -o open.txt", "what is still to be done"},
        {Operation::unique, "unique", " of a list, sorted, each once",
         " unique export.txt -o export.txt", "sorts a list and drops what stands there twice"},
        {Operation::diff, "diff", " that only one of A and B has", " diff yesterday.txt today.txt",
         "< only yesterday, > only today; 1 when they differ"},
    };
    CLI::App* group = commands.group(name, "Lists of " + name + ", as sets");
    for (const Row& row : rows) {
        const auto order = std::make_shared<Order>();
        const Operation operation = row.operation;
        CLI::App* command = commands.add(row.name, entries + row.summary,
                                         {{name + row.example, row.meaning}}, group);
        commands.describe(command, about);
        if (operation == Operation::unique) {
            command->add_option("LIST", order->a, "A file; - or none is standard input");
        } else {
            command->add_option("A", order->a, "A file; - is standard input")->required();
            command->add_option("B", order->b, "The other one")->required();
        }
        if (operation != Operation::diff) {
            command->add_option("-o,--output", order->output, "Where to; standard output otherwise")
                ->type_name("FILE");
            commands.changes(command);
        }
        commands.runs(
            command, [order, operation](Tool& tool) { return run<List>(tool, *order, operation); });
    }
}

}  // namespace

void add_keys(Commands& commands) {
    add_group<Keys>(commands, "keys", "Keys",
                    "A list is a text file of one key a line, with at most 31 bytes; blanks around "
                    "it and empty\nlines count for nothing. Keys order by their bytes. Lines that "
                    "are too long are left out and\ntold, and the command then ends with 4.");
    add_group<Ids>(
        commands, "ids", "Identifiers",
        "A list is a text file of one identifier a line, a number of 64 bits; blanks around it "
        "and empty\nlines count for nothing. Any other line is left out and told, and the "
        "command then ends with\n4. Programs of the system read numbers from "
        "9223372036854775808 up as 9223372036854775807.");
}

}  // namespace tool
