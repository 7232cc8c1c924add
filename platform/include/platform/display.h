// The display: message boxes, keys and the mouse as if somebody used them, the size of the screen
// and a picture of it.
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
using HBITMAP = void*;
using HGDIOBJ = void*;

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

// ---- Device contexts and bitmaps; each is used, and deleted, by the thread that made it ----

constexpr int HORZRES = 8;
constexpr int VERTRES = 10;

// The screen; to be deleted. driver must be "DISPLAY" and the rest null, else
// ERROR_INVALID_PARAMETER.
HDC CreateDCA(const char* driver, const char* device, const char* port, const void* settings);
// Its width or height in pixels; 0 for what else there may be.
int GetDeviceCaps(HDC context, int what);
// A context of memory, which holds a bitmap of one pixel until another is selected; to be deleted.
// ERROR_NOT_ENOUGH_MEMORY.
HDC CreateCompatibleDC(HDC screen);
BOOL DeleteDC(HDC context);

// A black bitmap, to be deleted once no context holds it: of 32 bits (blue, green, red, no
// meaning), or of 8 for a screen that shows colors of a palette. ERROR_INVALID_PARAMETER for a size
// below 1, ERROR_NOT_ENOUGH_MEMORY.
HBITMAP CreateCompatibleBitmap(HDC screen, int width, int height);
// Has a context of memory hold a bitmap; the one that it held. Null with ERROR_INVALID_PARAMETER
// for the screen.
HGDIOBJ SelectObject(HDC memory, HGDIOBJ bitmap);
BOOL DeleteObject(HGDIOBJ bitmap);

constexpr DWORD SRCCOPY = 0x00CC0020;

// Copies a part of the screen to the bitmap of a context of memory. ERROR_INVALID_PARAMETER for
// another operation, other contexts, and what passes either of the two; ERROR_NOT_SUPPORTED when
// the server doesn't show its screen.
BOOL BitBlt(HDC memory, int x, int y, int width, int height, HDC screen, int screen_x, int screen_y,
            DWORD operation);

struct BITMAP {
    LONG bmType;
    LONG bmWidth;
    LONG bmHeight;
    LONG bmWidthBytes;
    WORD bmPlanes;
    WORD bmBitsPixel;
    void* bmBits;  // null: they aren't the caller's
};

// Tells of a bitmap; the size of the record, or 0 with ERROR_INVALID_PARAMETER for another size.
int GetObjectA(HGDIOBJ bitmap, int size, void* record);

struct PALETTEENTRY {
    BYTE peRed;
    BYTE peGreen;
    BYTE peBlue;
    BYTE peFlags;
};

// The colors of a screen that has a palette, those of its default one; how many, at most count. 0
// with ERROR_NOT_SUPPORTED for a screen that has none.
UINT GetSystemPaletteEntries(HDC screen, UINT first, UINT count, PALETTEENTRY* entries);

struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};

struct RGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};

constexpr UINT DIB_RGB_COLORS = 0;

// The rows of a bitmap, bottom row first, or for a negative height top row first, padded to four
// bytes; how many. ERROR_INVALID_PARAMETER unless all rows are asked for in the bitmap's own size
// and bits, uncompressed. A palette isn't written. (On Windows it is, and anything goes.)
int GetDIBits(HDC screen, HBITMAP bitmap, UINT first, UINT count, void* pixels, BITMAPINFO* info,
              UINT colors);

#endif
