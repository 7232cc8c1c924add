// The version that stands in a program's file: on Windows in its version resource, else in a note
// of the ELF file, of owner PLATFORM_NAME and type 1, whose content is four big-endian 16-bit
// numbers. Any ELF file is read, of 32 or 64 bits and either byte order, and nothing in it trusted.
// A failure sets the last error.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if !defined(_WIN32)

struct VS_FIXEDFILEINFO {
    DWORD dwSignature;  // 0xFEEF04BD
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;  // the first number in the high half, the second in the low one
    DWORD dwFileVersionLS;  // the third and the fourth
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

// The bytes that the block of a file's version takes, 0 on failure: ERROR_BAD_FORMAT for no ELF
// file, ERROR_RESOURCE_TYPE_NOT_FOUND for one without a version. *zero becomes 0.
DWORD GetFileVersionInfoSizeA(const char* path, DWORD* zero);
// Reads it into a block of that size.
BOOL GetFileVersionInfoA(const char* path, DWORD ignored, DWORD size, void* block);
// Where in the block the record stands. The only part is "\"; ERROR_RESOURCE_TYPE_NOT_FOUND for
// another.
BOOL VerQueryValueA(const void* block, const char* part, void** value, unsigned int* size);

#endif
