// What every command of the tool stands on: its settings, what it prints, and how it fails.
//
// Text inside the tool is UTF-8. It is converted where it comes in and goes out (text.h): arguments
// and files have the encoding of --encoding, the library has its code page, JSON is UTF-8.
#pragma once

#include <exception>
#include <optional>
#include <string>

#include "moltelib.h"
#include "output.h"
#include "text.h"

namespace tool {

// What the tool ends with.
enum ExitCode : int {
    kDone = 0,
    kNothing = 1,  // nothing found, or what was compared differs
    kUsage = 2,
    kFailed = 3,
    kPartly = 4,  // some of what was asked for is done
};

enum class Language : uint8_t { english, spanish, chinese };

// The languages by their names on the command line; the library's number of one.
std::optional<Language> language_of(const std::string& name);
int32_t lid_of(Language language);

struct Settings {
    bool json = false;
    bool dry_run = false;
    Language language = Language::english;
    Encoding encoding = Encoding::utf8;
    std::string installation;  // empty for none
};

// Why a command ends. It takes the error record of the thread with it, if there is one.
class Failure : public std::exception {
 public:
    explicit Failure(std::string message, ExitCode code = kFailed);
    [[nodiscard]] const char* what() const noexcept override { return message_.c_str(); }
    [[nodiscard]] ExitCode code() const { return code_; }
    [[nodiscard]] const std::optional<ORVEX_ERRDATA>& record() const { return record_; }

 private:
    std::string message_;
    ExitCode code_;
    std::optional<ORVEX_ERRDATA> record_;
};

// A result of the library that is negative ends the command with that message.
template <typename Result>
Result check(Result result, const std::string& message) {
    if (result < 0) throw Failure(message);
    return result;
}

class Tool {
 public:
    Settings settings;
    Output out{settings.json, settings.encoding};

    // The library, up with the main path of the settings, in the code page of the language. Without
    // an installation it is up all the same, but for its texts and its logs. Once; a command that
    // works on Chinese text asks for Chinese.
    void bring_up() { bring_up(settings.language); }
    void bring_up(Language language);

    // What goes on beside the work: to standard error, in words.
    void warn(const std::string& text);
    void tell(const Failure& failure);

    // An argument or a line of a file as UTF-8; ends the command when it is none of its encoding.
    std::string utf8(const std::string& bytes) const;
    std::string argument(const std::string& bytes) const;

    Tool() = default;
    ~Tool();
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

 private:
    bool up_ = false;
};

}  // namespace tool
