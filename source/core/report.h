// How every module of the library reports: one helper that formats the data text, caps its length
// and passes module, line and kind of system error; and one that adds a trace line.
//
//     constexpr auto kModule = molte::kOxmnpath;  // see modules.h
//     ...
//     return kModule.fail(here(), kBadArgument);                           // a failure of its own
//     return kModule.fail(35, kTooLong, SystemError::none, "%d bytes", n); // the same with data
//     return kModule.trace(here());                                        // one that is passed on
#pragma once

#include <cstdint>

namespace molte {

// Which number of the system goes with a report. The values are those of ORVEX_Err_Set's option.
enum class SystemError : uint8_t {
    none = 0,      // a fault that the library found itself
    runtime = 1,   // errno
    platform = 3,  // GetLastError()
    socket = 4,    // errno; the socket's own error is taken as well
};

// The numbers that mean the same in every family.
inline constexpr uint32_t kNotOpened = 1;
inline constexpr uint32_t kNotRead = 3;
inline constexpr uint32_t kNotWritten = 4;
inline constexpr uint32_t kNoPosition = 5;
inline constexpr uint32_t kNoState = 10;  // of a file, a folder or a disk
inline constexpr uint32_t kOutOfMemory = 20;
inline constexpr uint32_t kBadArgument = 50;
inline constexpr uint32_t kAbsent = 52;  // a parameter has no value
inline constexpr uint32_t kNotFound = 120;
inline constexpr uint32_t kTooLong = 124;
inline constexpr uint32_t kNoLocale = 134;
inline constexpr uint32_t kFileTooLarge = 303;
inline constexpr uint32_t kNoMainPath = 1000;

// The line of a report where no fixed number is required: that of the call.
[[nodiscard]] constexpr int32_t here(int32_t line = __builtin_LINE()) {
    return line;
}

class Module {
 public:
    explicit constexpr Module(const char* name) : name_(name) {}

    // Report a failure; -1, so that it can be returned. The data is none, formatted text, or bytes
    // as they stand. Text of more than 255 bytes is passed with the length 255.
    int32_t fail(int32_t line, uint32_t error, SystemError system = SystemError::none) const;
    [[gnu::format(printf, 5, 6)]] int32_t fail(int32_t line, uint32_t error, SystemError system,
                                               const char* format, ...) const;
    int32_t fail_text(int32_t line, uint32_t error, SystemError system, const char* text) const;
    int32_t fail_bytes(int32_t line, uint32_t error, SystemError system, const void* data,
                       int64_t size) const;

    // Add a line to the history of a failure that is passed on; -1.
    int32_t trace(int32_t line) const;

    [[nodiscard]] constexpr const char* name() const { return name_; }

 private:
    const char* name_;
};

}  // namespace molte
