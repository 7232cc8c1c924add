// Standard output: lines for people, or with --json objects, one a line, for programs.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "text.h"

namespace tool {

using Json = nlohmann::ordered_json;

enum class Colour : uint8_t { plain, red, green, yellow, blue, bold, dim };

// It takes standard output for itself: what the library prints by its own goes to standard error.
class Output {
 public:
    Output(const bool& json, const Encoding& encoding);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // One thing, said both ways; a line end is added.
    void say(const std::string& text, const Json& object);
    // For people alone, for programs alone.
    void line(const std::string& text);
    void object(const Json& object);
    // As they stand, whatever the settings.
    void bytes(std::string_view data);
    void flush();  // a failure to write ends the command; flushed at its end as well

    [[nodiscard]] bool is_terminal() const { return terminal_; }
    [[nodiscard]] int columns() const;  // of the terminal; 0 where there is none
    [[nodiscard]] bool has_colours() const;
    [[nodiscard]] std::string coloured(Colour colour, const std::string& text) const;

 private:
    const bool& json_;
    const Encoding& encoding_;
    int descriptor_;
    bool terminal_;
    std::string waiting_;
};

// While it lives the library's own prints to standard output go nowhere.
class Silence {
 public:
    Silence();
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
};

// Of standard error, where progress and failures are shown.
bool errors_to_terminal();
std::string coloured_error(Colour colour, const std::string& text);
void print_error(const std::string& utf8);  // as it stands
void set_error_encoding(Encoding encoding);

// "12", "3.4 KiB", "1.2 GiB".
std::string size_text(double bytes);
// "1 key", "2 keys".
std::string counted(uint64_t count, const std::string& word);

}  // namespace tool
