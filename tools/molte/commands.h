// The commands: one table, the tree of CLI11, of which help, manual page and completions are made.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tool.h"

namespace tool {

class Commands {
 public:
    explicit Commands(Tool& tool);

    // A command under the root or under a group. Help begins with the examples: what stands behind
    // "molte", and a line that says what it does.
    struct Example {
        std::string arguments, meaning;
    };
    CLI::App* group(const std::string& name, const std::string& summary);
    CLI::App* add(const std::string& name, const std::string& summary,
                  std::vector<Example> examples, CLI::App* group = nullptr);
    // What is said at length behind the options.
    void describe(CLI::App* command, const std::string& text);
    // The command takes --dry-run, Settings::dry_run.
    void changes(CLI::App* command);
    // What it does; an ExitCode.
    void runs(CLI::App* command, std::function<int(Tool&)> run);

    int run(std::vector<std::string> arguments);

    CLI::App& root() { return root_; }
    [[nodiscard]] const std::vector<Example>& examples(const CLI::App* command) const;
    [[nodiscard]] const std::string& description(const CLI::App* command) const;

 private:
    struct Entry {
        std::vector<Example> examples;
        std::string description;
        std::function<int(Tool&)> run;
    };
    const Entry& entry(const CLI::App* command) const;
    int print(const std::string& text);

    Tool& tool_;
    std::string language_, encoding_;
    CLI::App root_;
    std::map<const CLI::App*, Entry> entries_;
};

// An option that takes one of these words; how help and completions know it.
CLI::Option* choice(CLI::Option* option, const std::vector<std::string>& choices);

// Each in a file of its own; a word on what they share stands there.
void add_init(Commands& commands);
void add_error(Commands& commands);  // error, record
void add_log(Commands& commands);
void add_param(Commands& commands);
void add_pack(Commands& commands);       // pack create, list, extract, test
void add_send(Commands& commands);       // send, receive
void add_message(Commands& commands);    // message send, receive
void add_name(Commands& commands);       // name
void add_keys(Commands& commands);       // keys, ids
void add_range(Commands& commands);      // range
void add_barcode(Commands& commands);    // barcode
void add_image(Commands& commands);      // image info, turn, cut, mirror, capture
void add_machine(Commands& commands);    // machine, version, alive, service
void add_reference(Commands& commands);  // man, completion

}  // namespace tool
