// Parameters: of a server while it runs, and in a file.
#include <memory>

#include "commands.h"
#include "exchange.h"
#include "param.h"

namespace tool {

namespace {

void say(Tool& tool, const Parameter& parameter) {
    const std::string name = from_library(name_of(parameter));
    const std::string blanks(name.size() < 24 ? 24 - name.size() : 0, ' ');
    tool.out.say(shown(name) + blanks + " " + shown(value_text(parameter)),
                 {{"name", name},
                  {"type", type_name(parameter)},
                  {"value", value_object(parameter)},
                  {"changed", Char4To_uint4(parameter.tChanged)}});
}

int list(Tool& tool, const ParamOrder& order) {
    Server server(tool, order.place);
    const Parameters parameters = server.list();
    for (const Parameter& parameter : parameters) say(tool, parameter);
    return parameters.empty() ? kNothing : kDone;
}

int get(Tool& tool, const ParamOrder& order) {
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

int set(Tool& tool, const ParamOrder& order) {
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
int save(Tool& tool, const ParamOrder& order) {
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

}  // namespace

void add_param(Commands& commands) {
    const auto order = std::make_shared<ParamOrder>();
    CLI::App* param = commands.group("param", "Shows and changes parameters");
    const auto add = [&](const std::string& name, const std::string& summary,
                         std::vector<Commands::Example> examples,
                         int (*run)(Tool&, const ParamOrder&)) {
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
                         param_file);
    commands.describe(
        file,
        "Of a name that stands twice the last line is read and the first is changed, so such\n"
        "a name can't be set.");
    file->add_option("FILE", order->place, "An INI file")->required();
    words(file, "NAME[=VALUE]", "To show, or to set");
    commands.changes(file);
}

}  // namespace tool
