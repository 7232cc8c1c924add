// The X11 libraries, looked for at run time: machines without a display need nothing of them.
#pragma once

#include <dlfcn.h>

#include <atomic>

namespace platform {

using Display = void;
using Window = unsigned long;
using Atom = unsigned long;

// Loaded when it is first needed, and kept: it registers handlers of its own.
class DisplayLibrary {
 public:
    explicit constexpr DisplayLibrary(const char* file) : file_(file) {}

    // False when it isn't there; the next call tries again.
    bool load();

    // Calls a function of it by name; one that it lacks gives zero.
    template <typename Result, typename... Arguments>
    Result call(const char* name, Arguments... arguments) const {
        const auto function = reinterpret_cast<Result (*)(Arguments...)>(dlsym(library_, name));
        return function != nullptr ? function(arguments...) : Result();
    }

 private:
    const char* file_;
    std::atomic<void*> library_{nullptr};
};

extern DisplayLibrary x11;
extern DisplayLibrary x11_test;  // its extension for tests of programs: input

// A connection to the display of the user; null with the last error ERROR_NOT_SUPPORTED. One that
// is lost doesn't end the process, if the library knows how.
Display* open_display();
void close_display(Display* display);
// Whether the connection is lost, at once or after that has become known.
bool is_lost(Display* display, int milliseconds);
// One that is lost is never closed: the library isn't whole behind a loss, or ends the process.
void keep_lost_display(Display* display);

class OpenDisplay {
 public:
    OpenDisplay() : display_(open_display()) {}
    ~OpenDisplay() {
        if (display_ != nullptr) close_display(display_);
    }
    OpenDisplay(const OpenDisplay&) = delete;
    OpenDisplay& operator=(const OpenDisplay&) = delete;
    [[nodiscard]] Display* get() const { return display_; }
    explicit operator bool() const { return display_ != nullptr; }

 private:
    Display* display_;
};

}  // namespace platform
