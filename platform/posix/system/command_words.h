// A command line of Windows, taken apart.
#pragma once

#include <cstdlib>
#include <memory>

namespace platform {

struct WordsFree {
    void operator()(char** words) const { std::free(words); }
};
// As execve takes them, with a null behind the last; the bytes lie in the same block.
using CommandWords = std::unique_ptr<char*[], WordsFree>;

// The words of a line by the rules of CreateProcessA; null without memory.
CommandWords split_command_line(const char* line);
// The words of a program that gets no arguments.
CommandWords program_alone(const char* path);

}  // namespace platform
