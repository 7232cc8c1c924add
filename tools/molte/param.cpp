// Parameters: of a server while it runs, and in a file.
#include <algorithm>
#include <fstream>
#include <memory>
#include <set>

#include "commands.h"
#include "exchange.h"

namespace tool {

namespace {

struct Order {
    std::string place;  // HOST:PORT or a file
    std::vector<std::string> words;
};

void say(Tool& tool, const Parameter& parameter) {
    const std::string name = from_library(name_of(parameter));
    const std::string blanks(name.size() < 24 ? 24 - name.size() : 0, ' ');
    tool.out.say(shown(name) + blanks + " " + shown(value_text(parameter)),
                 {{"name", name},
                  {"type", type_name(parameter)},
                  {"value", value_object(parameter)},
                  {"changed", Char4To_uint4(parameter.tChanged)}});
}

// Of so many.
int code_of(size_t done, size_t all, int none) {
    return done == all ? kDone : done > 0 ? kPartly : none;
}

int list(Tool& tool, const Order& order) {
    Server server(tool, order.place);
    const Parameters parameters = server.list();
    for (const Parameter& parameter : parameters) say(tool, parameter);
    return parameters.empty() ? kNothing : kDone;
}

void tell_unknown(Tool& tool, const std::string& name) {
    tool.warn("there is no parameter \"" + shown(from_library(name)) + "\"");
}

int get(Tool& tool, const Order& order) {
    std::vector<std::string> names;
    for (const std::string& word : order.words) names.push_back(to_library(tool.argument(word)));
    Server server(tool, order.place);
    size_t found = 0;
    for (const Parameter& parameter : server.get(names)) {
        if (parameter.bValid == 0) {
            tell_unknown(tool, name_of(parameter));
            continue;
        }
        say(tool, parameter);
        ++found;
    }
    return code_of(found, names.size(), kNothing);
}

// ---- Changes ----

// What an INI file would not give back; "" for nothing.
std::string lost_in_file(const std::string& value) {
    if (value.find_first_of("#\t\r\n") != std::string::npos) {
        return "holds a #, a tab or a line end, which an INI file can't keep";
    }
    if (!value.empty() && value[0] == ' ') return "begins with a blank, which an INI file drops";
    return "";
}

std::vector<Wanted> wanted_of(Tool& tool, const std::vector<std::string>& words) {
    std::vector<Wanted> wanted;
    std::set<std::string> names;
    for (const std::string& word : words) {
        wanted.push_back(tool::wanted_of(tool, word));
        if (!names.insert(wanted.back().name).second) {
            throw Failure("\"" + shown(from_library(wanted.back().name)) + "\" stands twice",
                          kUsage);
        }
    }
    return wanted;
}

// What became of one: the value before, the one asked for, and the one that is there now.
bool say_change(Tool& tool, const std::string& name, const std::string& before,
                const std::string& asked, const std::string& now) {
    const bool same = before == asked, done = now == asked;
    const char* did = same && done ? "same" : done ? "set" : now == before ? "refused" : "other";
    std::string text = shown(name) + ": ";
    if (same && done)
        text += "is \"" + shown(now) + "\" already";
    else if (done)
        text += "\"" + shown(before) + "\" -> \"" + shown(now) + "\"";
    else if (now == before)
        text += "stays \"" + shown(now) + "\"";
    else
        text += "\"" + shown(before) + "\" -> \"" + shown(now) + "\", not \"" + shown(asked) + "\"";
    tool.out.say(
        text, {{"name", name}, {"before", before}, {"asked", asked}, {"value", now}, {"did", did}});
    return done;
}

void say_plan(Tool& tool, const std::string& name, const std::string& before,
              const std::string& asked) {
    tool.out.say(
        "would set " + shown(name) + ": \"" + shown(before) + "\" -> \"" + shown(asked) + "\"",
        {{"name", name}, {"before", before}, {"asked", asked}, {"dry_run", true}});
}

// The parameters as the server has them, which tells of what kind each is, and as they are to be.
struct Change {
    Parameters before, asked;
    size_t unknown = 0;
};

Change prepare(Tool& tool, Server* server, const std::vector<Wanted>& wanted, bool in_file) {
    std::vector<std::string> names;
    for (const Wanted& one : wanted) names.push_back(one.name);
    Change change;
    const Parameters all = server->get(names);
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i].bValid == 0) {
            tell_unknown(tool, names[i]);
            ++change.unknown;
            continue;
        }
        Parameter asked = all[i];
        std::string wrong = put_value(wanted[i].value, &asked);
        if (wrong.empty() && in_file) {
            wrong = asked.nType == MOLTE_PARAM_BYTES
                        ? "is of a parameter of bytes, which no INI file keeps"
                        : lost_in_file(wanted[i].value);
        }
        if (!wrong.empty()) {
            throw Failure("\"" + shown(from_library(wanted[i].value)) + "\" for " +
                              shown(from_library(names[i])) + " " + wrong,
                          kUsage);
        }
        change.before.push_back(all[i]);
        change.asked.push_back(asked);
    }
    return change;
}

int set(Tool& tool, const Order& order) {
    const auto wanted = wanted_of(tool, order.words);
    Server server(tool, order.place);
    const Change change = prepare(tool, &server, wanted, false);
    std::vector<std::string> names;
    for (const Parameter& parameter : change.asked) names.push_back(name_of(parameter));
    Parameters now = change.before;
    if (!tool.settings.dry_run && !names.empty()) {
        const bool told = server.change(Request::set, change.asked);
        now = server.get(names);
        if (!told) tool.warn("the server tells that it failed; this is what it has now");
    }
    size_t done = 0, changed = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = from_library(names[i]), asked = value_text(change.asked[i]);
        const std::string before = value_text(change.before[i]), value = value_text(now[i]);
        if (tool.settings.dry_run) {
            say_plan(tool, name, before, asked);
            ++done;
            continue;
        }
        if (say_change(tool, name, before, asked, value)) ++done;
        if (value != before) ++changed;
    }
    return code_of(done, wanted.size(), changed > 0 ? kPartly : kFailed);
}

// Nothing tells what then stands in the server's file but its answer.
int save(Tool& tool, const Order& order) {
    const auto wanted = wanted_of(tool, order.words);
    Server server(tool, order.place);
    const Change change = prepare(tool, &server, wanted, true);
    const bool asks = !tool.settings.dry_run && !change.asked.empty();
    if (asks && !server.change(Request::save, change.asked)) {
        throw Failure("The server can't write its INI file");
    }
    for (const Parameter& parameter : change.asked) {
        const std::string name = from_library(name_of(parameter)), value = value_text(parameter);
        Json object{{"name", name}, {"value", value}};
        object[tool.settings.dry_run ? "dry_run" : "saved"] = true;
        tool.out.say(
            (tool.settings.dry_run ? "would save " : "saved ") + shown(name) + " = " + shown(value),
            object);
    }
    return code_of(change.asked.size(), wanted.size(), kFailed);
}

// ---- A file ----

constexpr size_t kSlot = MOLTE_PARAM_SLOT;

class IniFile {
 public:
    explicit IniFile(const std::string& argument)
        : name_(shown(argument)), path_(library_path(argument)) {
        check(ORVEX_FileLenByFileName(path_.c_str()), "\"" + name_ + "\" can't be read");
        if (std::filesystem::is_directory(native_path(argument))) {
            throw Failure("\"" + name_ + "\" can't be read: it is a folder");
        }
        read_names(argument);
    }

    [[nodiscard]] const std::vector<std::string>& names() const { return names_; }
    [[nodiscard]] bool has(const std::string& name) const {
        return std::find(names_.begin(), names_.end(), name) != names_.end();
    }

    [[nodiscard]] std::vector<std::string> values(const std::vector<std::string>& names) const {
        std::vector<char> slots((names.size() + 1) * kSlot);
        check(PARAMETER_GetValueArray(path_.c_str(), pointers(names).data(), slots.data(),
                                      static_cast<int32_t>(names.size())),
              "\"" + name_ + "\" can't be read");
        std::vector<std::string> values;
        for (size_t i = 0; i < names.size(); ++i) {
            const char* slot = &slots[i * kSlot];
            values.emplace_back(slot, strnlen(slot, kSlot));
        }
        return values;
    }

    void set(const std::vector<std::string>& names, const std::vector<std::string>& values) const {
        std::vector<char> slots((names.size() + 1) * kSlot);
        for (size_t i = 0; i < names.size(); ++i) values[i].copy(&slots[i * kSlot], kSlot - 1);
        check(PARAMETER_SetValueArray(path_.c_str(), pointers(names).data(), slots.data(),
                                      static_cast<int32_t>(names.size())),
              "\"" + name_ + "\" can't be written");
    }

 private:
    static std::vector<const char*> pointers(const std::vector<std::string>& names) {
        std::vector<const char*> all;
        for (const std::string& name : names) all.push_back(name.c_str());
        return all;
    }

    // In the order of the file: moltelib/parameter_file.h tells what a name is.
    void read_names(const std::string& argument) {
        std::ifstream file(native_path(argument), std::ios::binary);
        std::set<std::string> known;
        std::string line;
        for (bool first = true; std::getline(file, line); first = false) {
            if (first && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
            const size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
            const size_t end = line.find_first_of(" \t#=\r", begin);
            if (end == std::string::npos || end == begin) continue;
            const size_t equals = line.find_first_not_of(" \t", end);
            if (equals == std::string::npos || line[equals] != '=') continue;
            const std::string name = line.substr(begin, end - begin);
            if (known.insert(name).second) names_.push_back(name);
        }
    }

    std::string name_, path_;
    std::vector<std::string> names_;
};

int read_file(Tool& tool, const Order& order, const IniFile& file) {
    std::vector<std::string> names;
    for (const std::string& word : order.words) names.push_back(to_library(tool.argument(word)));
    if (names.empty()) names = file.names();
    const auto values = file.values(names);
    size_t found = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        if (!file.has(names[i])) {
            tell_unknown(tool, names[i]);
            continue;
        }
        const std::string name = from_library(names[i]), value = from_library(values[i]);
        tool.out.say(shown(name) + " = " + shown(value), {{"name", name}, {"value", value}});
        ++found;
    }
    return names.empty() ? kNothing : code_of(found, names.size(), kNothing);
}

int change_file(Tool& tool, const Order& order, const IniFile& file) {
    std::vector<std::string> names, asked;
    for (const Wanted& one : wanted_of(tool, order.words)) {
        std::string wrong = lost_in_file(one.value);
        if (one.value.size() >= kSlot)
            wrong = "is longer than " + std::to_string(kSlot - 1) + " bytes";
        if (one.name.find_first_of(" \t#\r\n") != std::string::npos)
            wrong = "has no name that an INI file can keep";
        if (!wrong.empty()) {
            throw Failure("\"" + shown(from_library(one.value)) + "\" for " +
                              shown(from_library(one.name)) + " " + wrong,
                          kUsage);
        }
        names.push_back(one.name);
        asked.push_back(one.value);
    }
    const auto before = file.values(names);
    if (!tool.settings.dry_run) file.set(names, asked);
    const auto now = file.values(names);
    size_t done = 0, changed = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = from_library(names[i]), value = from_library(asked[i]);
        if (tool.settings.dry_run) {
            say_plan(tool, name, from_library(before[i]), value);
            ++done;
            continue;
        }
        if (say_change(tool, name, from_library(before[i]), value, from_library(now[i]))) ++done;
        if (now[i] != before[i]) ++changed;
    }
    return code_of(done, names.size(), changed > 0 ? kPartly : kFailed);
}

int run_file(Tool& tool, const Order& order) {
    const auto has_value = [](const std::string& word) {
        return word.find('=') != std::string::npos;
    };
    const auto count = std::count_if(order.words.begin(), order.words.end(), has_value);
    const bool changes = count > 0;
    if (changes && count != static_cast<std::ptrdiff_t>(order.words.size())) {
        throw Failure("Names alone are read, NAME=VALUE is set: not both at once", kUsage);
    }
    const IniFile file(order.place);
    return changes ? change_file(tool, order, file) : read_file(tool, order, file);
}

}  // namespace

void add_param(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* param = commands.group("param", "Shows and changes parameters");
    const auto add = [&](const std::string& name, const std::string& summary,
                         std::vector<Commands::Example> examples, int (*run)(Tool&, const Order&)) {
        CLI::App* command = commands.add(name, summary, std::move(examples), param);
        commands.runs(command, [order, run](Tool& tool) {
            tool.bring_up();
            return run(tool, *order);
        });
        return command;
    };
    const auto at_server = [&](CLI::App* command) {
        command
            ->add_option("HOST:PORT", order->place,
                         "A running server that answers for its parameters")
            ->required();
    };
    const auto words = [&](CLI::App* command, const std::string& name, const std::string& what) {
        return command->add_option(name, order->words, what);
    };

    CLI::App* listing = add("list", "Shows all parameters of a server",
                            {{"param list matcher:4711", "name and value of each"}}, list);
    at_server(listing);

    CLI::App* getting = add("get", "Shows parameters of a server",
                            {{"param get matcher:4711 CpuCount", "its value there"}}, get);
    at_server(getting);
    words(getting, "NAME", "Names of parameters")->required();

    CLI::App* setting =
        add("set", "Changes parameters of a server while it runs",
            {{"param set matcher:4711 DisableTxtLog=1", "until it is started again"}}, set);
    commands.describe(
        setting,
        "The values are read back: what a server takes and what it makes of it is its\n"
        "own matter. When none is as it was wanted and nothing changed, that has failed.");
    at_server(setting);
    words(setting, "NAME=VALUE", "Parameters and their values; bytes are in hex")->required();
    commands.changes(setting);

    CLI::App* saving =
        add("save", "Writes parameters to a server's INI file, for its next start",
            {{"param save matcher:4711 CpuCount=8", "what it has in memory stays"}}, save);
    at_server(saving);
    words(saving, "NAME=VALUE", "Parameters and their values")->required();
    commands.changes(saving);

    CLI::App* file = add("file", "Shows and changes parameters in an INI file",
                         {{"param file CONF/rvexinit.ini", "all that it holds"},
                          {"param file CONF/rvexinit.ini CpuCount", "one of them"},
                          {"param file CONF/rvexinit.ini CpuCount=8", "set; all other lines stay"}},
                         run_file);
    commands.describe(
        file,
        "Of a name that stands twice the last line is read and the first is changed, so such\n"
        "a name can't be set.");
    file->add_option("FILE", order->place, "An INI file")->required();
    words(file, "NAME[=VALUE]", "To show, or to set");
    commands.changes(file);
}

}  // namespace tool
