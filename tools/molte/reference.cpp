// The manual page and the completions, made from the table of the commands.
#include <algorithm>
#include <memory>

#include "commands.h"
#include "files.h"

namespace tool {

namespace {

using Apps = std::vector<const CLI::App*>;

Apps commands_of(const CLI::App* app) {
    return app->get_subcommands([](const CLI::App* /*any*/) { return true; });
}

std::vector<const CLI::Option*> options_of(const CLI::App* app) {
    std::vector<const CLI::Option*> options;
    for (const CLI::Option* option : app->get_options()) {
        if (!option->get_positional()) options.push_back(option);
    }
    return options;
}

// "--lang", and "-h" where there is a short one.
std::vector<std::string> names_of(const CLI::Option* option) {
    std::vector<std::string> names;
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

bool takes_value(const CLI::Option* option) {
    return option->get_items_expected_max() > 0;
}

// "zh|en|es" is a choice; the type of anything else is a word in capitals.
std::vector<std::string> choices_of(const CLI::Option* option) {
    std::vector<std::string> choices;
    std::string choice;
    const std::string type = option->get_type_name();
    if (type.find('|') == std::string::npos) return {};
    for (const char c : type + "|") {
        if (c != '|')
            choice += c;
        else
            choices.push_back(std::exchange(choice, ""));
    }
    return choices;
}

// From the root on, without the tool's own name.
void each_command(const CLI::App* app, const std::string& path,
                  const std::function<void(const CLI::App*, const std::string&)>& visit) {
    visit(app, path);
    for (const CLI::App* command : commands_of(app)) {
        each_command(command, (path.empty() ? "" : path + " ") + command->get_name(), visit);
    }
}

// ---- The manual page ----

std::string roff(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n'))
            out += "\\&", out += c;
        else
            out += c;
    }
    return out;
}

std::string options_page(const CLI::App* app) {
    std::string page;
    for (const CLI::Option* option : app->get_options()) {
        std::string names;
        if (option->get_positional()) {
            names = "\\fI" + roff(option->get_name(true)) + "\\fR";
        } else {
            for (const std::string& name : names_of(option)) {
                names += (names.empty() ? "\\fB" : ", \\fB") + roff(name) + "\\fR";
            }
            if (takes_value(option)) names += " \\fI" + roff(option->get_type_name()) + "\\fR";
        }
        page += ".TP\n" + names + "\n" + roff(option->get_description()) + ".\n";
    }
    return page;
}

std::string manual(Commands& commands) {
    const CLI::App* root = &commands.root();
    std::string page = ".TH MOLTE 1 \"\" \"moltelib " MOLTELIB_VERSION
                       "\" \"User commands\"\n.SH NAME\nmolte \\- formats and services of an "
                       "identification system, for its operators\n.SH SYNOPSIS\n\\fBmolte\\fR "
                       "\\fICOMMAND\\fR [\\fIOPTION\\fR ...] [\\fIARGUMENT\\fR ...]\n.SH OPTIONS\n"
                       "These may stand anywhere on the line; \\fB\\-\\-\\fR ends options, and "
                       "\\fB\\-\\fR is standard input or output where a file is named.\n";
    page += options_page(root) + ".SH COMMANDS\n";
    each_command(root, "", [&](const CLI::App* app, const std::string& path) {
        if (path.empty() || !commands_of(app).empty()) return;
        std::string arguments;
        for (const CLI::Option* option : app->get_options()) {
            if (!option->get_positional()) continue;
            const std::string name = option->get_name(true);
            arguments += option->get_required() ? " " + name : " [" + name + "]";
        }
        page += ".SS " + roff("molte " + path) + arguments + "\n" + roff(app->get_description()) +
                ".\n";
        const std::string& text = commands.description(app);
        if (!text.empty()) page += ".PP\n" + roff(text) + "\n";
        page += options_page(app);
        for (const Commands::Example& example : commands.examples(app)) {
            page += ".PP\n.RS\n\\fBmolte " + roff(example.arguments) + "\\fR\n.br\n" +
                    roff(example.meaning) + "\n.RE\n";
        }
    });
    return page +
           ".SH EXIT STATUS\n.TP\n0\ndone\n.TP\n1\nnothing found, or what was compared differs\n"
           ".TP\n2\nwrong use\n.TP\n3\nfailed; standard error tells why\n.TP\n4\npartly done\n"
           ".SH ENVIRONMENT\n.TP\nMOLTE_INSTALLATION\nthe folder of the installation, as "
           "\\-\\-installation\n.TP\nNO_COLOR\nif it isn't empty, nothing is coloured\n";
}

// ---- Completions: of each command its words ----

std::string joined(const std::vector<std::string>& words) {
    std::string all;
    for (const std::string& word : words) all += (all.empty() ? "" : " ") + word;
    return all;
}

std::vector<std::string> words_of(const CLI::App* app) {
    std::vector<std::string> words;
    for (const CLI::App* command : commands_of(app)) words.push_back(command->get_name());
    for (const CLI::Option* option : options_of(app)) {
        for (const std::string& name : names_of(option)) words.push_back(name);
    }
    return words;
}

std::string shell_quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::string bash(Commands& commands) {
    std::string words, choices, takers;
    each_command(&commands.root(), "", [&](const CLI::App* app, const std::string& path) {
        words += "    " + shell_quoted(path) + ") words=" + shell_quoted(joined(words_of(app))) +
                 " ;;\n";
        for (const CLI::Option* option : options_of(app)) {
            if (!takes_value(option)) continue;
            for (const std::string& name : names_of(option)) {
                takers += (takers.empty() ? "" : "|") + name;
                if (choices_of(option).empty()) continue;
                choices += "    " + name + ") COMPREPLY=($(compgen -W " +
                           shell_quoted(joined(choices_of(option))) +
                           " -- \"$word\")); return ;;\n";
            }
        }
    });
    return R"sh(# bash completion of molte
_molte() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} path= words= i skip=
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [ -n "$skip" ]; then skip=; continue; fi
    case ${COMP_WORDS[i]} in
    )sh" + takers +
           R"sh() skip=1 ;;
    -*) ;;
    *) case " $(_molte_words "$path") " in
         *" ${COMP_WORDS[i]} "*) path=${path:+$path }${COMP_WORDS[i]} ;;
       esac ;;
    esac
  done
  case $before in
)sh" + choices +
           R"sh(  esac
  words=$(_molte_words "$path")
  if [[ $word == -* && -n $path ]]; then
    words="$words $(_molte_words '' | tr ' ' '\n' | grep '^-')"
  fi
  COMPREPLY=($(compgen -W "$words" -- "$word"))
  [ ${#COMPREPLY[@]} -gt 0 ] || COMPREPLY=($(compgen -f -- "$word"))
}
_molte_words() {
  local words=
  case $1 in
)sh" + words +
           R"sh(  esac
  printf '%s' "$words"
}
complete -o filenames -F _molte molte
)sh";
}

std::string zsh_text(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':' || c == '\\') out += '\\';
        out += c;
    }
    return out;
}

std::string zsh_options(const CLI::App* app) {
    std::string lines;
    for (const CLI::Option* option : options_of(app)) {
        for (const std::string& name : names_of(option)) {
            std::string spec = name + "[" + zsh_text(option->get_description()) + "]";
            const auto choices = choices_of(option);
            if (takes_value(option)) {
                spec += ":" + zsh_text(option->get_type_name()) + ":" +
                        (choices.empty() ? "_files" : "(" + joined(choices) + ")");
            }
            lines += " " + shell_quoted(spec);
        }
    }
    return lines;
}

std::string zsh(Commands& commands) {
    const CLI::App* root = &commands.root();
    std::string cases;
    each_command(root, "", [&](const CLI::App* app, const std::string& path) {
        std::string line = "    " + shell_quoted(path) + ") ";
        const Apps below = commands_of(app);
        if (!below.empty()) {
            line += "choices=(";
            for (const CLI::App* command : below) {
                line += " " + shell_quoted(command->get_name() + ":" + command->get_description());
            }
            line += " )";
        }
        cases += line + "; options=(" + (path.empty() ? "" : zsh_options(app)) + " ) ;;\n";
    });
    return R"sh(#compdef molte
_molte() {
  local -a choices options global
  local at= i
  global=()sh" +
           zsh_options(root) + R"sh( )
  for ((i = 2; i < CURRENT; i++)); do
    _molte_at "$at"
    if (( ${choices[(I)${words[i]}:*]} )); then at=${at:+$at }${words[i]}; fi
  done
  _molte_at "$at"
  if (( ${#choices} )) && [[ $words[CURRENT] != -* ]]; then
    _describe command choices
  else
    _arguments $global $options '*:file:_files'
  fi
}
_molte_at() {
  choices=() options=()
  case $1 in
)sh" + cases +
           R"sh(  esac
}
_molte "$@"
)sh";
}

std::string fish(Commands& commands) {
    const CLI::App* root = &commands.root();
    std::string lines = R"sh(# fish completion of molte
function __molte_at
    set -l path
    for word in (commandline -opc)[2..-1]
        string match -q -- '-*' $word; or set -a path $word
    end
    test (count $argv) -le (count $path); or return 1
    test "$argv" = "$path[1..(count $argv)]"
end
)sh";
    each_command(root, "", [&](const CLI::App* app, const std::string& path) {
        const std::string at = path.empty() ? "" : " -n " + shell_quoted("__molte_at " + path);
        std::string names;
        for (const CLI::App* command : commands_of(app)) names += command->get_name() + " ";
        for (const CLI::App* command : commands_of(app)) {
            const std::string here = "not __fish_seen_subcommand_from " + names;
            const std::string when = path.empty() ? here : "__molte_at " + path + "; and " + here;
            lines += "complete -c molte -f -n " + shell_quoted(when) + " -a " +
                     command->get_name() + " -d " + shell_quoted(command->get_description()) + "\n";
        }
        for (const CLI::Option* option : options_of(app)) {
            lines += "complete -c molte" + at;
            for (const std::string& name : option->get_snames()) lines += " -s " + name;
            for (const std::string& name : option->get_lnames()) lines += " -l " + name;
            const auto choices = choices_of(option);
            if (!choices.empty())
                lines += " -x -a " + shell_quoted(joined(choices));
            else if (takes_value(option))
                lines += " -r";
            lines += " -d " + shell_quoted(option->get_description()) + "\n";
        }
    });
    return lines;
}

}  // namespace

void add_reference(Commands& commands) {
    struct Order {
        std::string shell, file = "-";
    };
    const auto order = std::make_shared<Order>();
    const auto writes = [order, &commands](CLI::App* command) {
        command->add_option("-o,--output", order->file, "Where to; standard output otherwise")
            ->type_name("FILE");
        commands.changes(command);
    };
    const auto write = [order](Tool& tool, const std::string& text) {
        if (tool.settings.dry_run) {
            refuse_existing(order->file, true);
            tool.out.say(
                counted(text.size(), "byte") + " would be written to " +
                    (order->file == "-" ? "standard output" : "\"" + shown(order->file) + "\""),
                {{"bytes", text.size()}, {"file", shown(order->file)}, {"written", false}});
        } else {
            write_whole(tool.out, order->file, text);
        }
        return static_cast<int>(kDone);
    };
    CLI::App* man = commands.add("man", "Writes the manual page",
                                 {{"man -o molte.1", "to read it: man -l molte.1"}});
    writes(man);
    commands.runs(man, [&commands, write](Tool& tool) { return write(tool, manual(commands)); });

    CLI::App* completion = commands.add(
        "completion", "Writes the completions for a shell",
        {{"completion bash -o /etc/bash_completion.d/molte", "for all users of bash"}});
    choice(completion->add_option("SHELL", order->shell, "bash, zsh or fish"),
           {"bash", "zsh", "fish"})
        ->required();
    writes(completion);
    commands.runs(completion, [&commands, order, write](Tool& tool) {
        const std::string& shell = order->shell;
        return write(tool, shell == "bash"  ? bash(commands)
                           : shell == "zsh" ? zsh(commands)
                                            : fish(commands));
    });
}

}  // namespace tool
