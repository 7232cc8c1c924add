// The display: message boxes, keys and the mouse as if somebody used them, the size of the screen.
//
// On POSIX it is that of the X server that DISPLAY names, through libX11 and, for keys and the
// mouse, libXtst, which are looked for when they are needed. A failure sets the last error:
// ERROR_NOT_SUPPORTED where the libraries, the server or its extension are missing,
// ERROR_BROKEN_PIPE for a server that went away. From libX11 1.7 on that never ends the process.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if defined(_WIN32)
#include <wingdi.h>
#include <winuser.h>
#else

#include <cstdint>

using HWND = void*;
using HDC = void*;

constexpr UINT MB_OK = 0;
constexpr int IDOK = 1;

// Shows a text until the user closes it: IDOK, or 0. type is ignored.
int MessageBoxA(HWND owner, const char* text, const char* title, UINT type);

constexpr DWORD KEYEVENTF_KEYUP = 2;

// Presses the key of a virtual-key code of Windows, or lets it go; the scan code isn't looked at.
// ERROR_INVALID_PARAMETER for one that the keyboard hasn't got.
void keybd_event(BYTE virtual_key, BYTE scan_code, DWORD flags, std::uintptr_t extra);

constexpr DWORD MOUSEEVENTF_MOVE = 0x0001;
constexpr DWORD MOUSEEVENTF_LEFTDOWN = 0x0002;
constexpr DWORD MOUSEEVENTF_LEFTUP = 0x0004;
constexpr DWORD MOUSEEVENTF_RIGHTDOWN = 0x0008;
constexpr DWORD MOUSEEVENTF_RIGHTUP = 0x0010;
constexpr DWORD MOUSEEVENTF_ABSOLUTE = 0x8000;

// Moves the pointer if told so, by so many pixels, or, absolute, to a place in 65536ths of the
// screen; then presses buttons, or lets them go.
void mouse_event(DWORD flags, DWORD x, DWORD y, DWORD data, std::uintptr_t extra);

constexpr int HORZRES = 8;
constexpr int VERTRES = 10;

// The screen; to be deleted. driver must be "DISPLAY" and the rest null, else
// ERROR_INVALID_PARAMETER.
HDC CreateDCA(const char* driver, const char* device, const char* port, const void* settings);
// Its width or height in pixels; 0 for what else there may be.
int GetDeviceCaps(HDC context, int what);
BOOL DeleteDC(HDC context);

#endif
