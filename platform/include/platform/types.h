// The platform's own names for its numbers and handles.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#include <winsock2.h>
#else
#include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = unsigned int;
using HANDLE = void*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~std::uintptr_t{0});
constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;
constexpr int MAX_PATH = 260;

// A time in units of 100 nanoseconds since 1601, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct ULARGE_INTEGER {
    std::uint64_t QuadPart;
};
#endif
