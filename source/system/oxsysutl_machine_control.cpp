// Shutting the machine down, keys and the mouse.
#include "system/oxsysutl_machine_control.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/modules.h"
#include "moltelib/machine_control.h"
#include "moltelib/system_info.h"
#include "platform/display.h"
#include "platform/kernel_objects.h"
#include "platform/shutdown.h"
#include "platform/system.h"

using molte::here;

namespace {

constexpr auto kModule = molte::kOxsysutl;

void print_failed(const char* call) {
    std::printf("%s failed with %d\n", call, static_cast<int>(GetLastError()));
}

// The last error tells whether a call that succeeded gave the privilege.
bool adjust(HANDLE token, const LUID& privilege) {
    TOKEN_PRIVILEGES wanted{};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0] = {privilege, SE_PRIVILEGE_ENABLED};
    return AdjustTokenPrivileges(token, FALSE, &wanted, 0, nullptr, nullptr) != FALSE &&
           GetLastError() == ERROR_SUCCESS;
}

void take_shutdown_privilege() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) ==
        FALSE) {
        return print_failed("OpenProcessToken");
    }
    LUID privilege;
    if (LookupPrivilegeValueA(nullptr, "SeShutdownPrivilege", &privilege) == FALSE) {
        print_failed("LookupPrivilegeValue");
    } else if (!adjust(token, privilege)) {
        print_failed("AdjustTokenPrivileges");
    }
    CloseHandle(token);
}

struct ScreenSize {
    int width = 0;
    int height = 0;
};

// Zeros, with the last error, without a display.
ScreenSize screen_size() {
    const HDC screen = CreateDCA("DISPLAY", nullptr, nullptr, nullptr);
    if (screen == nullptr) return {};
    const ScreenSize size{GetDeviceCaps(screen, HORZRES), GetDeviceCaps(screen, VERTRES)};
    DeleteDC(screen);
    return size;
}

// Places on the screen are told in 65536ths of it; one far beside it stays on its side.
DWORD scaled(int32_t pixels, int size) {
    const float parts = static_cast<float>(pixels) * (65536.0F / static_cast<float>(size));
    return static_cast<DWORD>(
        std::clamp<int64_t>(static_cast<int64_t>(parts), INT32_MIN, INT32_MAX));
}

}  // namespace

int32_t ORVEX_ShutDownSystem(int32_t bRestart) {
    ORVEX_SYSINFO system;
    ORVEX_GetSimpSysInfo(&system);
    take_shutdown_privilege();
    const bool nt_series = ORVEX_IsWinNTSeries(static_cast<int32_t>(system.nOsType)) == 1;
    return ExitWindowsEx(molte::shutdown_flags(nt_series, bRestart != 0), 0);
}

int32_t SYSOP_KeyEvent(int32_t nVirtualKey, int32_t nScanCode, uint32_t nFlags) {
    keybd_event(static_cast<BYTE>(nVirtualKey), static_cast<BYTE>(nScanCode),
                (nFlags & ORVEX_KEY_UP) != 0 ? KEYEVENTF_KEYUP : 0, 0);
    return 1;
}

int32_t SYSOP_MouseEvent(uint32_t nFlags, int32_t x, int32_t y) {
    const ScreenSize size = screen_size();
    if (size.width < 1 || size.height < 1) {
        return kModule.fail(here(), molte::kBadArgument, molte::SystemError::platform);
    }
    DWORD event = MOUSEEVENTF_ABSOLUTE;
    if ((nFlags & ORVEX_MOUSE_LEFT_DOWN) != 0) event += MOUSEEVENTF_LEFTDOWN;
    if ((nFlags & ORVEX_MOUSE_LEFT_UP) != 0) event += MOUSEEVENTF_LEFTUP;
    if ((nFlags & ORVEX_MOUSE_RIGHT_DOWN) != 0) event += MOUSEEVENTF_RIGHTDOWN;
    if ((nFlags & ORVEX_MOUSE_RIGHT_UP) != 0) event += MOUSEEVENTF_RIGHTUP;
    if ((nFlags & ORVEX_MOUSE_MOVE) != 0) event += MOUSEEVENTF_MOVE;
    mouse_event(event, scaled(x, size.width), scaled(y, size.height), 0, 0);
    return 1;
}

int32_t DummyFunc(void) {
    constexpr int kCalls = 20000;
    int last = 0;
    for (int i = 0; i < kCalls; ++i) last = std::rand();
    return last;
}
