// molte, the operator's tool: `molte --help`.
#include <string>
#include <vector>

#include "commands.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

int run(std::vector<std::string> arguments) {
    tool::Tool tool;
    tool::Commands commands(tool);
    tool::add_init(commands);
    tool::add_error(commands);
    tool::add_log(commands);
    tool::add_param(commands);
    tool::add_pack(commands);
    tool::add_send(commands);
    tool::add_message(commands);
    tool::add_name(commands);
    tool::add_keys(commands);
    tool::add_range(commands);
    tool::add_barcode(commands);
    tool::add_image(commands);
    tool::add_machine(commands);
    tool::add_reference(commands);
    return commands.run(std::move(arguments));
}

}  // namespace

#if defined(_WIN32)

int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        const int size = WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, nullptr, 0, nullptr, nullptr);
        std::string argument(static_cast<size_t>(size), '\0');
        WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, argument.data(), size, nullptr, nullptr);
        argument.pop_back();  // the terminator
        arguments.push_back(argument);
    }
    return run(std::move(arguments));
}

#else

int main(int argc, char** argv) {
    return run(std::vector<std::string>(argv + 1, argv + argc));
}

#endif
