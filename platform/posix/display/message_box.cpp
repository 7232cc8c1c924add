// A message box. A key, a click or the window's close button ends it.
#include <algorithm>
#include <string_view>

#include "display/x11.h"
#include "platform/display.h"
#include "platform/last_error.h"

using namespace platform;

namespace {

constexpr int kKeyPress = 2;
constexpr int kButtonPress = 4;
constexpr int kExpose = 12;
constexpr int kClientMessage = 33;
constexpr long kEventMask = 1L << 0 | 1L << 2 | 1L << 15;  // keys, buttons, exposure

// The library gives events in 24 words, of which a client message uses these.
union Event {
    int type;
    struct {
        int type;
        unsigned long serial;
        int send_event;
        Display* display;
        Window window;
        Atom message_type;
        int format;
        long data[5];
    } client;
    long words[24];
};

constexpr int kLineHeight = 18;
constexpr int kCharWidth = 8;
constexpr int kMargin = 20;
constexpr size_t kMostColumns = 120;  // the library dies of lines of 64 KiB

void draw(Display* display, Window window, std::string_view text) {
    void* const context = x11.call<void*>("XDefaultGC", display, 0);
    for (int y = kMargin + kLineHeight; !text.empty(); y += kLineHeight) {
        const std::string_view line = text.substr(0, text.find('\n'));
        x11.call<int>("XDrawString", display, window, context, kMargin, y, line.data(),
                      static_cast<int>(std::min(line.size(), kMostColumns)));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
}

Window make_window(Display* display, std::string_view text, const char* title) {
    size_t columns = 20;
    for (std::string_view rest = text; !rest.empty();) {
        const size_t length = std::min(rest.find('\n'), rest.size());
        columns = std::max(columns, std::min(length, kMostColumns));
        rest.remove_prefix(std::min(rest.size(), length + 1));
    }
    const auto lines =
        static_cast<unsigned>(std::min<long>(std::count(text.begin(), text.end(), '\n'), 40));
    const auto width = static_cast<unsigned>(columns) * kCharWidth + 2 * kMargin;
    const Window window = x11.call<Window>("XCreateSimpleWindow", display,
                                           x11.call<Window>("XRootWindow", display, 0), 0, 0, width,
                                           (lines + 2) * kLineHeight + 2 * kMargin, 1U,
                                           x11.call<unsigned long>("XBlackPixel", display, 0),
                                           x11.call<unsigned long>("XWhitePixel", display, 0));
    x11.call<int>("XStoreName", display, window, title);
    x11.call<int>("XSelectInput", display, window, kEventMask);
    return window;
}

// Old libraries end the process when they meet a lost display, so each is asked only after the
// connection was found alive. What it has read already is not to be seen there. False: it is lost.
bool wait_for_event(Display* display) {
    while (!is_lost(display, 0)) {
        if (x11.call<int>("XPending", display) > 0) return true;
        if (is_lost(display, -1)) break;
    }
    return false;
}

// False when the display went away meanwhile.
bool show_until_closed(Display* display, Window window, std::string_view text) {
    Atom close = x11.call<Atom>("XInternAtom", display, "WM_DELETE_WINDOW", 0);
    x11.call<int>("XSetWMProtocols", display, window, &close, 1);
    x11.call<int>("XMapWindow", display, window);
    while (wait_for_event(display)) {
        Event event{};
        x11.call<int>("XNextEvent", display, &event);
        if (event.type == kExpose) draw(display, window, text);
        if (event.type == kKeyPress || event.type == kButtonPress) return true;
        if (event.type == kClientMessage && static_cast<Atom>(event.client.data[0]) == close) {
            return true;
        }
    }
    return false;
}

}  // namespace

int MessageBoxA(HWND, const char* text, const char* title, UINT) {
    Display* const display = open_display();
    if (display == nullptr) return 0;
    const std::string_view shown = text != nullptr ? text : "";
    const Window window = make_window(display, shown, title != nullptr ? title : "");
    if (!show_until_closed(display, window, shown)) {
        keep_lost_display(display);
        SetLastError(ERROR_BROKEN_PIPE);
        return 0;
    }
    x11.call<int>("XDestroyWindow", display, window);
    close_display(display);
    return IDOK;
}
