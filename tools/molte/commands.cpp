#include "commands.h"

#include <cstdlib>

#include "interrupt.h"
#include "progress.h"

namespace tool {

namespace {

constexpr char kFooter[] =
    "Exit codes: 0 done, 1 nothing found or what was compared differs, 2 wrong use, 3 failed,\n"
    "4 partly done.";

// Help that begins with examples.
class Help : public CLI::Formatter {
 public:
    explicit Help(const Commands& commands) : commands_(commands) { column_width(28); }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode /*mode*/) const override {
        std::string help;
        const auto show = [&help](const Commands::Example& example) {
            help += "  molte " + example.arguments + "\n      " + example.meaning + "\n";
        };
        for (const Commands::Example& example : commands_.examples(app)) show(example);
        if (app->get_parent() != nullptr) {  // a group: one of each of its commands
            for (const CLI::App* command :
                 app->get_subcommands([](const CLI::App* /*any*/) { return true; })) {
                if (!commands_.examples(command).empty()) show(commands_.examples(command)[0]);
            }
        }
        if (!help.empty()) help = "Examples:\n" + help + "\n";
        help += app->get_description() + ".\n";
        const std::string& text = commands_.description(app);
        if (!text.empty()) help += "\n" + text + "\n";
        help += "\n" + make_usage(app, std::move(name));
        help += make_positionals(app);
        help += make_groups(app, CLI::AppFormatMode::Normal);
        help += make_subcommands(app, CLI::AppFormatMode::Normal);
        if (app->get_parent() != nullptr) {
            help += "\nGlobal options, anywhere on the line: see molte --help\n";
        }
        return help + "\n" + kFooter + "\n";
    }

    // A positional is named by its own word, without a type.
    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_positional()) return option->get_expected_max() > 1 ? " ..." : "";
        const std::string type = option->get_type_name();
        return type.empty() || option->get_items_expected_max() == 0 ? "" : " " + type;
    }

 private:
    const Commands& commands_;
};

// The words of the environment's locale, or of the machine.
std::string usual_language() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        const std::string language = std::string(value).substr(0, 2);
        return language_of(language) ? language : "en";
    }
    return "en";
}

std::string path_of(const CLI::App* command) {
    const CLI::App* parent = command->get_parent();
    return (parent != nullptr ? path_of(parent) + " " : "") + command->get_name();
}

}  // namespace

CLI::Option* choice(CLI::Option* option, const std::vector<std::string>& choices) {
    std::string type;
    for (const std::string& name : choices) type += (type.empty() ? "" : "|") + name;
    return option->type_name(type)->check(CLI::IsMember(choices).description(""));
}

Commands::Commands(Tool& tool)
    : tool_(tool),
      root_("Puts the library's formats and services into an operator's hands", "molte") {
    root_.formatter(std::make_shared<Help>(*this));
    root_.allow_windows_style_options(false);
    root_.fallthrough();
    root_.require_subcommand(1);
    root_.set_help_flag("-h,--help", "Show help of the tool or of a command");
    Settings& settings = tool.settings;
    root_.add_flag("--json", settings.json, "Print objects of JSON, one a line, in UTF-8");
    choice(root_.add_option("--lang", language_, "Language of the texts of errors"),
           {"zh", "en", "es"});
    choice(root_.add_option("--encoding", encoding_,
                            "Encoding of arguments, of texts in files and of what is printed"),
           {"utf-8", "gbk", "latin1"});
    root_
        .add_option("--installation", settings.installation,
                    "Folder of the installation to work in")
        ->envname("MOLTE_INSTALLATION")
        ->type_name("FOLDER");
    root_.set_version_flag("--version", "molte " MOLTELIB_VERSION, "Show the version");
    entries_[&root_].examples = {{"init /srv/ident --language en", "an installation"},
                                 {"log --since 2h --error 3", "which reads failed"},
                                 {"pack create cards.pkg cards", "a folder in one file"},
                                 {"pack create --help", "what a command does, with its options"}};
}

CLI::App* Commands::group(const std::string& name, const std::string& summary) {
    CLI::App* group = root_.add_subcommand(name, summary);
    group->require_subcommand(1);
    entries_[group];
    return group;
}

CLI::App* Commands::add(const std::string& name, const std::string& summary,
                        std::vector<Example> examples, CLI::App* group) {
    CLI::App* command = (group != nullptr ? group : &root_)->add_subcommand(name, summary);
    entries_[command].examples = std::move(examples);
    return command;
}

void Commands::describe(CLI::App* command, const std::string& text) {
    entries_[command].description = text;
}

void Commands::changes(CLI::App* command) {
    command->add_flag("--dry-run", tool_.settings.dry_run, "Tell what would be done, do nothing");
}

void Commands::runs(CLI::App* command, std::function<int(Tool&)> run) {
    entries_[command].run = std::move(run);
}

const Commands::Entry& Commands::entry(const CLI::App* command) const {
    return entries_.at(command);
}

const std::vector<Commands::Example>& Commands::examples(const CLI::App* command) const {
    return entry(command).examples;
}

const std::string& Commands::description(const CLI::App* command) const {
    return entry(command).description;
}

// For people, whatever the settings.
int Commands::print(const std::string& text) {
    try {
        tool_.settings.json = false;
        tool_.out.line(text);
        tool_.out.flush();
        return kDone;
    } catch (const Failure& failure) {
        tool_.tell(failure);
        return failure.code();
    }
}

int Commands::run(std::vector<std::string> arguments) {
    const auto chosen = [this] {
        CLI::App* command = &root_;
        while (!command->get_subcommands().empty()) command = command->get_subcommands().back();
        return command;
    };
    try {
        root_.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        Settings& settings = tool_.settings;
        settings.language = *language_of(language_.empty() ? usual_language() : language_);
        settings.encoding = encoding_.empty() ? usual_encoding() : *encoding_of(encoding_);
        set_error_encoding(settings.encoding);
        watch_for_interrupts();
        const int code = entry(chosen()).run(tool_);
        tool_.out.flush();
        return code;
    } catch (const CLI::CallForHelp&) {
        CLI::App* command = chosen();
        const CLI::App* parent = command->get_parent();
        std::string help = command->help(parent != nullptr ? path_of(parent) : "");
        while (!help.empty() && help.back() == '\n') help.pop_back();
        return print(help);
    } catch (const CLI::CallForVersion& version) {
        return print(version.what());
    } catch (const CLI::ParseError& error) {
        tool_.tell(Failure(error.what()));
        print_error("See " + path_of(chosen()) + " --help\n");
        return kUsage;
    } catch (const Failure& failure) {
        tool_.tell(failure);
        if (failure.code() == kUsage) print_error("See " + path_of(chosen()) + " --help\n");
        return failure.code();
    } catch (const std::exception& error) {  // memory, or a folder that can't be walked
        tool_.tell(Failure(error.what()));
        return kFailed;
    }
}

}  // namespace tool
