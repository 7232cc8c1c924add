#include <algorithm>
#include <cstdint>

#include "display/keys.h"
#include "display/x11.h"
#include "platform/display.h"

using namespace platform;

namespace {

constexpr unsigned long kAtOnce = 0;

// The server must have the extension: what is sent to one without would end the process.
bool takes_input(const OpenDisplay& display) {
    int unused = 0;
    if (display && x11_test.load() &&
        x11_test.call<int>("XTestQueryExtension", display.get(), &unused, &unused, &unused,
                           &unused) != 0) {
        return true;
    }
    SetLastError(ERROR_NOT_SUPPORTED);
    return false;
}

void move(Display* display, DWORD flags, DWORD x, DWORD y) {
    const auto dx = static_cast<int>(x);
    const auto dy = static_cast<int>(y);
    if ((flags & MOUSEEVENTF_ABSOLUTE) == 0) {
        x11_test.call<int>("XTestFakeRelativeMotionEvent", display, dx, dy, kAtOnce);
        return;
    }
    const int screen = x11.call<int>("XDefaultScreen", display);
    // To the nearest, so that a pixel which was told in 65536ths is met again. The server takes 16
    // bits of a place.
    const auto pixel = [](int part, int size) {
        const int64_t nearest = (int64_t{part} * size + 0x8000) >> 16;
        return static_cast<int>(std::clamp<int64_t>(nearest, 0, size - 1));
    };
    x11_test.call<int>("XTestFakeMotionEvent", display, screen,
                       pixel(dx, x11.call<int>("XDisplayWidth", display, screen)),
                       pixel(dy, x11.call<int>("XDisplayHeight", display, screen)), kAtOnce);
}

constexpr unsigned kLeft = 1;
constexpr unsigned kRight = 3;

void press(Display* display, unsigned button, bool down) {
    x11_test.call<int>("XTestFakeButtonEvent", display, button, down ? 1 : 0, kAtOnce);
}

}  // namespace

void keybd_event(BYTE virtual_key, BYTE, DWORD flags, std::uintptr_t) {
    const OpenDisplay display;
    if (!takes_input(display)) return;
    // A key without a symbol isn't asked for: the server has such keys.
    const unsigned long symbol = symbol_of_key(virtual_key);
    const unsigned key =
        symbol != 0 ? x11.call<unsigned char>("XKeysymToKeycode", display.get(), symbol) : 0U;
    if (key == 0) return SetLastError(ERROR_INVALID_PARAMETER);
    x11_test.call<int>("XTestFakeKeyEvent", display.get(), key,
                       (flags & KEYEVENTF_KEYUP) != 0 ? 0 : 1, kAtOnce);
}

void mouse_event(DWORD flags, DWORD x, DWORD y, DWORD, std::uintptr_t) {
    const OpenDisplay display;
    if (!takes_input(display)) return;
    if ((flags & MOUSEEVENTF_MOVE) != 0) move(display.get(), flags, x, y);
    if ((flags & MOUSEEVENTF_LEFTDOWN) != 0) press(display.get(), kLeft, true);
    if ((flags & MOUSEEVENTF_LEFTUP) != 0) press(display.get(), kLeft, false);
    if ((flags & MOUSEEVENTF_RIGHTDOWN) != 0) press(display.get(), kRight, true);
    if ((flags & MOUSEEVENTF_RIGHTUP) != 0) press(display.get(), kRight, false);
}
