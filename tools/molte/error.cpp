// Error numbers explained, and stored error records shown.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "error_words.h"
#include "files.h"

namespace tool {

namespace {

void show(Tool& tool, const ErrorText& error) {
    const auto modules = modules_of(error.number);
    std::string names;
    for (const std::string& module : modules) names += (names.empty() ? "" : ", ") + module;
    const std::string first = error.text[static_cast<size_t>(tool.settings.language)];
    std::string text = tool.out.coloured(Colour::bold, std::to_string(error.number) + "  " + first);
    constexpr const char* codes[] = {"en", "es", "zh"};
    for (size_t i = 0; i < 3; ++i) text += std::string("\n    ") + codes[i] + "  " + error.text[i];
    text += "\n    raised by " + (names.empty() ? "programs of the system" : names);
    tool.out.say(text, {{"error", error.number},
                        {"en", error.text[0]},
                        {"es", error.text[1]},
                        {"zh", error.text[2]},
                        {"modules", modules}});
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return c < 0x80 ? std::tolower(c) : c; });
    return text;
}

int search(Tool& tool, const std::string& wanted) {
    bool found = false;
    for (const ErrorText& error : error_texts()) {
        const bool is_one = std::any_of(std::begin(error.text), std::end(error.text), [&](auto* t) {
            return lower(t).find(lower(wanted)) != std::string::npos;
        });
        if (is_one) show(tool, error);
        found |= is_one;
    }
    if (!found) tool.warn("no error has \"" + shown(wanted) + "\" in its text");
    return found ? kDone : kNothing;
}

struct Order {
    std::vector<uint32_t> numbers;
    std::string search;
    std::string file;
    bool line = false;
};

int explain(Tool& tool, const Order& order) {
    if (!order.search.empty() && !order.numbers.empty()) {
        throw Failure("A number or --search TEXT: not both at once", kUsage);
    }
    if (!order.search.empty()) return search(tool, tool.argument(order.search));
    if (order.numbers.empty()) throw Failure("Which number? Or --search TEXT", kUsage);
    size_t found = 0;
    for (const uint32_t number : order.numbers) {
        if (const ErrorText* error = error_text(number)) {
            show(tool, *error);
            ++found;
        } else {
            tool.warn("there is no error " + std::to_string(number));
        }
    }
    return found == order.numbers.size() ? kDone : found > 0 ? kPartly : kNothing;
}

int show_records(Tool& tool, const Order& order) {
    tool.bring_up();
    const std::string bytes = read_whole(order.file);
    ORVEX_ERRDATA record;
    if (bytes.empty() || bytes.size() % sizeof record != 0) {
        throw Failure("\"" + shown(order.file) + "\" holds no error records: they have " +
                      std::to_string(sizeof record) + " bytes each");
    }
    for (size_t at = 0; at < bytes.size(); at += sizeof record) {
        bytes.copy(reinterpret_cast<char*>(&record), sizeof record, at);
        if (Char4To_uint4(record.nRecSize) != sizeof record) {
            throw Failure(
                "\"" + shown(order.file) + "\" holds no error record at byte " + std::to_string(at),
                at > 0 ? kPartly : kFailed);
        }
        std::string text = order.line ? line_of(record) : words_of(record, tool.settings.language);
        if (!order.line) text.pop_back();
        tool.out.say(text, object_of(record, tool.settings.language));
    }
    return kDone;
}

}  // namespace

void add_error(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* error = commands.add("error", "Explains error numbers",
                                   {{"error 3", "its text in three languages, and who raises it"},
                                    {"error --search memory", "all errors with that word"}});
    error->add_option("NUMBER", order->numbers, "Numbers of errors");
    error->add_option("--search", order->search, "A part of a text, in any of the languages")
        ->type_name("TEXT");
    commands.runs(error, [order](Tool& tool) { return explain(tool, *order); });

    CLI::App* record = commands.add(
        "record", "Shows stored error records of 640 bytes",
        {{"record failure.bin", "in words"}, {"record --line failure.bin", "each on a line"}});
    record->add_option("FILE", order->file, "One record or several; - is standard input")
        ->required();
    record->add_flag("--line", order->line, "One line for each");
    commands.runs(record, [order](Tool& tool) { return show_records(tool, *order); });
}

}  // namespace tool
