#include "../../source/system/oxsysutl_machine_control.h"

#include "support/test.h"

#if !defined(_WIN32)
#include "support/systemctl.h"
#endif
#if defined(HAS_X11)
#include <X11/Xlib.h>
#include <X11/keysym.h>

#include "support/x_server.h"
#endif

namespace {

TEST(MachineControl, FlagsOfAShutdown) {
    using molte::shutdown_flags;
    EXPECT_EQ((Ints{18, 24, 6, 12}),
              (Ints{shutdown_flags(true, true), shutdown_flags(true, false),
                    shutdown_flags(false, true), shutdown_flags(false, false)}));
}

#if !defined(_WIN32)

TEST(MachineControl, TheManagerIsToldToShutDown) {
    const FakeSystemctl systemctl;
    testing::internal::CaptureStdout();
    for (const auto& [restart, order] : {std::pair(1, "<reboot>"), {0, "<poweroff>"}}) {
        EXPECT_NE(ORVEX_ShutDownSystem(restart), 0);
        EXPECT_EQ(systemctl.last_order(), order + "<--no-ask-password>"s);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    systemctl.answers("", "", 4);
    EXPECT_EQ(ORVEX_ShutDownSystem(1), 0);
}

TEST(MachineControl, WithoutADisplay) {
    unsetenv("DISPLAY");
    EXPECT_EQ(SYSOP_KeyEvent('A', 0, 0), 1);
    EXPECT_EQ(error_of(SYSOP_MouseEvent(ORVEX_MOUSE_MOVE, 1, 1)), "50 oxsysutl");
    EXPECT_EQ(ORVEX_MSGSHOWFUN("text"), 0);
}

#endif
#if defined(HAS_X11)

// A window that tells what it gets.
class Shown : public Pinned {
 public:
    Shown() {
        XSelectInput(
            display_, window_,
            KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask | ExposureMask);
        XMapWindow(display_, window_);
        while (next().type != Expose) {
        }
    }
    ~Shown() { XCloseDisplay(display_); }

    // The next event: its type and symbol, or its type, button and place.
    std::vector<unsigned long> get() const {
        XEvent event = next();
        const auto type = static_cast<unsigned long>(event.type);
        if (type == KeyPress || type == KeyRelease) return {type, XLookupKeysym(&event.xkey, 0)};
        const XButtonEvent& button = event.xbutton;
        return {type, button.button, static_cast<unsigned long>(button.x_root),
                static_cast<unsigned long>(button.y_root)};
    }
    // Returns once another window is to be seen on top of this one.
    void until_covered() const {
        for (XWindowAttributes top{}; top.map_state != IsViewable; std::this_thread::yield()) {
            Window unused = 0;
            Window* windows = nullptr;
            unsigned count = 0;
            XQueryTree(display_, DefaultRootWindow(display_), &unused, &unused, &windows, &count);
            const Window highest = windows[count - 1];
            XFree(windows);
            if (highest != window_) XGetWindowAttributes(display_, highest, &top);
        }
    }

 private:
    XEvent next() const {
        XEvent event;
        XNextEvent(display_, &event);
        return event;
    }
    Display* const display_ = XOpenDisplay(nullptr);
    const Window window_ =
        XCreateSimpleWindow(display_, DefaultRootWindow(display_), 100, 50, 1266, 717, 0, 0, 0);
};

TEST(MachineControl, AWindowGetsKeysAndClicks) {
    XServer screen("1366x767x24");
    if (!screen.up) GTEST_SKIP() << "there is no Xvfb: scripts/setup installs it";
    using Got = std::vector<unsigned long>;
    int32_t answer = -1;
    std::thread box;
    {
        const Shown window;
        for (const auto& [to_x, to_y] :
             {std::pair(101, 51), {333, 222}, {1299, 749}, {777, 701}, {70000, 66000}}) {
            SYSOP_MouseEvent(ORVEX_MOUSE_MOVE | ORVEX_MOUSE_LEFT_DOWN, to_x, to_y);
            const auto x = static_cast<unsigned long>(std::min(to_x, 1365));
            const auto y = static_cast<unsigned long>(std::min(to_y, 766));
            SYSOP_MouseEvent(ORVEX_MOUSE_LEFT_UP | ORVEX_MOUSE_RIGHT_DOWN, 0, 0);  // where it is
            EXPECT_EQ(SYSOP_MouseEvent(ORVEX_MOUSE_RIGHT_UP, 0, 0), 1);
            EXPECT_EQ(window.get(), (Got{ButtonPress, 1, x, y}));
            EXPECT_EQ(window.get(), (Got{ButtonRelease, 1, x, y}));
            EXPECT_EQ(window.get(), (Got{ButtonPress, 3, x, y}));
            EXPECT_EQ(window.get(), (Got{ButtonRelease, 3, x, y}));
        }
        const std::pair<int32_t, unsigned long> keys[] = {
            {'A', XK_a},      {'7', XK_7},          {0x0D, XK_Return},  {0x26, XK_Up},
            {0x22, XK_Next},  {0x7B, XK_F12},       {0x10, XK_Shift_L}, {0x6B, XK_KP_Add},
            {0xBD, XK_minus}, {0xDC, XK_backslash}, {0x2E, XK_Delete}};
        for (const auto& [key, symbol] : keys) {
            SYSOP_KeyEvent(0xFF, 0, 0);  // no key
            EXPECT_EQ(SYSOP_KeyEvent(key, 0, 0) + SYSOP_KeyEvent(key, 0, ORVEX_KEY_UP), 2);
            EXPECT_EQ(window.get(), (Got{KeyPress, symbol})) << key;
            EXPECT_EQ(window.get(), (Got{KeyRelease, symbol})) << key;
        }
        const std::string text = "a text\n" + std::string(1 << 20, 'x');
        box = std::thread([&] { answer = ORVEX_MSGSHOWFUN(text.c_str()); });
        window.until_covered();
        SYSOP_MouseEvent(ORVEX_MOUSE_MOVE | ORVEX_MOUSE_LEFT_DOWN, 30, 30);
        box.join();
        EXPECT_EQ(answer, 1);
        box = std::thread([&answer] { answer = ORVEX_MSGSHOWFUN("of a server that goes"); });
        window.until_covered();
    }
    screen.end();
    box.join();
    EXPECT_EQ(answer, 0);
}

#elif !defined(_WIN32)

TEST(MachineControl, AWindowGetsKeysAndClicks) {
    GTEST_SKIP() << "built without the headers of libX11: scripts/setup installs them";
}

#endif

}  // namespace
