#include <cstring>

#include "display/x11.h"
#include "platform/display.h"

using platform::x11;

HDC CreateDCA(const char* driver, const char* device, const char* port, const void* settings) {
    if (driver == nullptr || strcmp(driver, "DISPLAY") != 0 || device != nullptr ||
        port != nullptr || settings != nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return platform::open_display();
}

int GetDeviceCaps(HDC context, int what) {
    if (what != HORZRES && what != VERTRES) return 0;
    return x11.call<int>(what == HORZRES ? "XDisplayWidth" : "XDisplayHeight", context,
                         x11.call<int>("XDefaultScreen", context));
}

BOOL DeleteDC(HDC context) {
    platform::close_display(context);
    return TRUE;
}
