// The calling thread's last error: a 32-bit number of its own, apart from errno. It has the numbers
// of Windows on every platform, so that a report means the same wherever it was made.
//
// A call of this folder that fails sets it; one that succeeds leaves it alone, except where its
// header says so (a call that makes an object tells by ERROR_ALREADY_EXISTS that it found one).
// The run-time's calls (_open and its kin) set errno and the last error alike.
#pragma once

#include "platform/types.h"

#if !defined(_WIN32)

#include <cstdarg>

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD NO_ERROR = 0;
constexpr DWORD ERROR_INVALID_FUNCTION = 1;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_BAD_FORMAT = 11;
constexpr DWORD ERROR_INVALID_DATA = 13;
constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_LOCK_VIOLATION = 33;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_NOT_SUPPORTED = 50;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_BROKEN_PIPE = 109;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_WAIT_NO_CHILDREN = 128;
constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_BUSY = 170;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_NOT_OWNER = 288;
constexpr DWORD ERROR_TOO_MANY_POSTS = 298;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_OPERATION_ABORTED = 995;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_FILE_INVALID = 1006;
constexpr DWORD ERROR_KEY_DELETED = 1018;
constexpr DWORD ERROR_INVALID_SERVICE_CONTROL = 1052;
constexpr DWORD ERROR_SERVICE_ALREADY_RUNNING = 1056;
constexpr DWORD ERROR_SERVICE_DOES_NOT_EXIST = 1060;
constexpr DWORD ERROR_SERVICE_NOT_ACTIVE = 1062;
constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
constexpr DWORD ERROR_IO_DEVICE = 1117;
constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;
constexpr DWORD ERROR_MAPPED_ALIGNMENT = 1132;
constexpr DWORD ERROR_NOT_FOUND = 1168;
constexpr DWORD ERROR_NO_SUCH_PRIVILEGE = 1313;
constexpr DWORD ERROR_PRIVILEGE_NOT_HELD = 1314;
constexpr DWORD ERROR_TIMEOUT = 1460;
constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

DWORD GetLastError();
void SetLastError(DWORD number);

constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x00000200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x00001000;

// The English text of a number, ended by "\r\n" and a NUL, into a buffer of size characters. Its
// length without the NUL; 0 with the last error ERROR_MR_MID_NOT_FOUND for a number without a text,
// ERROR_INSUFFICIENT_BUFFER where it doesn't fit. The flags must hold FORMAT_MESSAGE_FROM_SYSTEM,
// else, and with any flag but those above, ERROR_INVALID_PARAMETER. No text has inserts; source,
// language and arguments are not looked at.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD number, DWORD language, char* buffer,
                     DWORD size, va_list* arguments);

// The number of the last failed socket call of this thread: errno, with errno's numbers.
int WSAGetLastError();
void WSASetLastError(int number);

namespace platform {

// The number of Windows that says the same as a value of errno; ERROR_GEN_FAILURE if none does.
DWORD error_number(int system_error);

// The last error becomes what errno now says. errno stays.
void set_last_error_from_errno();

}  // namespace platform

#endif
