// The exchange by which a running server tells and changes its parameters: docs/administration.md.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool.h"

namespace tool {

using Parameter = MOLTE_PARAMNETITEM;
using Parameters = std::vector<Parameter>;

enum class Request : uint32_t { list = 1, get = 2, set = 3, save = 4 };

// A connection to such a server. What it answers is bounded, and belongs to what was asked; all
// else ends the command.
class Server {
 public:
    Server(Tool& tool, const std::string& address);  // HOST:PORT
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] Parameters list();
    [[nodiscard]] Parameters get(const std::vector<std::string>& names);  // bValid 0: unknown there
    // Whether it told that it did.
    [[nodiscard]] bool change(Request request, const Parameters& parameters);

 private:
    struct Answer {
        int32_t result = 0;
        Parameters parameters;
    };
    Answer ask(Request request, const Parameters& parameters);

    std::string name_;
    OXSOCKET socket_;
};

// ---- What a parameter holds ----

std::string name_of(const Parameter& parameter);     // in the library's code page
std::string value_text(const Parameter& parameter);  // UTF-8, as `put_value` takes it
Json value_object(const Parameter& parameter);
const char* type_name(const Parameter& parameter);
// Why the text is no such value; empty when it was put.
std::string put_value(const std::string& text, Parameter* parameter);

// "NAME=VALUE" taken apart, in the library's code page; wrong use otherwise.
struct Wanted {
    std::string name, value;
};
Wanted wanted_of(const Tool& tool, const std::string& argument);

}  // namespace tool
