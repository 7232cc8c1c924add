#include "platform/last_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

namespace {

thread_local DWORD last_error = ERROR_SUCCESS;

struct Translation {
    int system_error;
    DWORD number;
};

constexpr Translation kTranslations[] = {
    {0, ERROR_SUCCESS},
    {EPERM, ERROR_ACCESS_DENIED},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ESRCH, ERROR_NOT_FOUND},
    {EINTR, ERROR_OPERATION_ABORTED},
    {EIO, ERROR_IO_DEVICE},
    {ENOEXEC, ERROR_BAD_FORMAT},
    {EBADF, ERROR_INVALID_HANDLE},
    {ECHILD, ERROR_WAIT_NO_CHILDREN},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EACCES, ERROR_ACCESS_DENIED},
    {EFAULT, ERROR_NOACCESS},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {ESPIPE, ERROR_SEEK_ON_DEVICE},
    {EROFS, ERROR_WRITE_PROTECT},
    {EPIPE, ERROR_BROKEN_PIPE},
    {ERANGE, ERROR_INSUFFICIENT_BUFFER},
    {EDEADLK, ERROR_POSSIBLE_DEADLOCK},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOSYS, ERROR_CALL_NOT_IMPLEMENTED},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {EILSEQ, ERROR_NO_UNICODE_TRANSLATION},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ETIMEDOUT, ERROR_TIMEOUT},
};

struct Message {
    DWORD number;
    const char* text;
};

constexpr Message kMessages[] = {
    {ERROR_SUCCESS, "No error"},
    {ERROR_INVALID_FUNCTION, "The function is not valid here"},
    {ERROR_FILE_NOT_FOUND, "File not found"},
    {ERROR_PATH_NOT_FOUND, "Path not found"},
    {ERROR_TOO_MANY_OPEN_FILES, "Too many open files"},
    {ERROR_ACCESS_DENIED, "Access denied"},
    {ERROR_INVALID_HANDLE, "Invalid handle"},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory"},
    {ERROR_BAD_FORMAT, "Not a program of the right format"},
    {ERROR_INVALID_DATA, "Invalid data"},
    {ERROR_NOT_SAME_DEVICE, "Not on the same device"},
    {ERROR_NO_MORE_FILES, "No more files"},
    {ERROR_WRITE_PROTECT, "Write protected"},
    {ERROR_GEN_FAILURE, "General failure"},
    {ERROR_SHARING_VIOLATION, "In use by another process"},
    {ERROR_LOCK_VIOLATION, "Locked by another process"},
    {ERROR_HANDLE_EOF, "End of file"},
    {ERROR_NOT_SUPPORTED, "Not supported"},
    {ERROR_FILE_EXISTS, "File exists"},
    {ERROR_INVALID_PARAMETER, "Invalid parameter"},
    {ERROR_BROKEN_PIPE, "Broken pipe"},
    {ERROR_DISK_FULL, "Disk full"},
    {ERROR_CALL_NOT_IMPLEMENTED, "Call not implemented"},
    {ERROR_INSUFFICIENT_BUFFER, "Buffer too small"},
    {ERROR_INVALID_NAME, "Invalid name"},
    {ERROR_MOD_NOT_FOUND, "Module not found"},
    {ERROR_PROC_NOT_FOUND, "Procedure not found"},
    {ERROR_WAIT_NO_CHILDREN, "No child process to wait for"},
    {ERROR_SEEK_ON_DEVICE, "The device has no position"},
    {ERROR_DIR_NOT_EMPTY, "Directory not empty"},
    {ERROR_BUSY, "Resource in use"},
    {ERROR_ALREADY_EXISTS, "Already exists"},
    {ERROR_BAD_EXE_FORMAT, "Not a program"},
    {ERROR_FILENAME_EXCED_RANGE, "Name too long"},
    {ERROR_FILE_TOO_LARGE, "File too large"},
    {ERROR_MORE_DATA, "More data available"},
    {WAIT_TIMEOUT, "Wait timed out"},
    {ERROR_DIRECTORY, "Not a directory"},
    {ERROR_NOT_OWNER, "Not the owner"},
    {ERROR_TOO_MANY_POSTS, "Semaphore count exceeded"},
    {ERROR_MR_MID_NOT_FOUND, "No text for this number"},
    {ERROR_INVALID_ADDRESS, "Not an address for this call"},
    {ERROR_OPERATION_ABORTED, "Operation aborted"},
    {ERROR_NOACCESS, "Invalid memory address"},
    {ERROR_FILE_INVALID, "The file is not what it was, or empty"},
    {ERROR_KEY_DELETED, "Registry key deleted"},
    {ERROR_INVALID_SERVICE_CONTROL, "Not a control of a service"},
    {ERROR_SERVICE_ALREADY_RUNNING, "The service runs already"},
    {ERROR_SERVICE_DOES_NOT_EXIST, "No such service"},
    {ERROR_SERVICE_NOT_ACTIVE, "The service isn't running"},
    {ERROR_NO_UNICODE_TRANSLATION, "No such character in the target character set"},
    {ERROR_IO_DEVICE, "Device input or output error"},
    {ERROR_POSSIBLE_DEADLOCK, "Possible deadlock"},
    {ERROR_MAPPED_ALIGNMENT, "Offset not aligned"},
    {ERROR_NOT_FOUND, "Not found"},
    {ERROR_NO_SUCH_PRIVILEGE, "No such privilege"},
    {ERROR_PRIVILEGE_NOT_HELD, "Privilege not held"},
    {ERROR_TIMEOUT, "Timed out"},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, "No such resource"},
    {ERROR_CANT_RESOLVE_FILENAME, "Name can't be resolved"},
};

}  // namespace

DWORD GetLastError() {
    return last_error;
}

void SetLastError(DWORD number) {
    last_error = number;
}

DWORD FormatMessageA(DWORD flags, const void*, DWORD number, DWORD, char* buffer, DWORD size,
                     va_list*) {
    constexpr DWORD known = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 || (flags & ~known) != 0 || buffer == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const auto* message =
        std::find_if(std::begin(kMessages), std::end(kMessages),
                     [number](const Message& entry) { return entry.number == number; });
    if (message == std::end(kMessages)) {
        SetLastError(ERROR_MR_MID_NOT_FOUND);
        return 0;
    }
    const size_t length = strlen(message->text);
    constexpr char line_end[] = "\r\n";
    if (size < length + sizeof line_end) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    memcpy(buffer, message->text, length);
    memcpy(buffer + length, line_end, sizeof line_end);
    return static_cast<DWORD>(length + sizeof line_end - 1);
}

int WSAGetLastError() {
    return errno;
}

void WSASetLastError(int number) {
    errno = number;
}

namespace platform {

DWORD error_number(int system_error) {
    for (const Translation& entry : kTranslations) {
        if (entry.system_error == system_error) return entry.number;
    }
    return ERROR_GEN_FAILURE;
}

void set_last_error_from_errno() {
    SetLastError(error_number(errno));
}

}  // namespace platform
