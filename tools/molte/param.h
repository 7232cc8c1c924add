// What the commands on parameters of servers and of files have in common.
#pragma once

#include <string>
#include <vector>

#include "exchange.h"

namespace tool {

struct ParamOrder {
    std::string place;  // HOST:PORT or a file
    std::vector<std::string> words;
};

// The exit code when so many of all were done.
int code_of(size_t done, size_t all, int none);

void tell_unknown(Tool& tool, const std::string& name);

// What an INI file would not give back; empty for nothing.
std::string lost_in_file(const std::string& value);

// The words, each NAME=VALUE of another name.
std::vector<Wanted> wanted_of(const Tool& tool, const std::vector<std::string>& words);

// What became of one: the value before, the one asked for, and the one that is there now. Whether
// that is the one asked for.
bool say_change(Tool& tool, const std::string& name, const std::string& before,
                const std::string& asked, const std::string& now);
void say_plan(Tool& tool, const std::string& name, const std::string& before,
              const std::string& asked);

int param_file(Tool& tool, const ParamOrder& order);

}  // namespace tool
