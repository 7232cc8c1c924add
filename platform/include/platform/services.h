// Services of the system. A failure sets the last error.
//
// On POSIX the manager is systemd, asked through its program "systemctl": that of the system by its
// absolute path, or another one that an environment variable names by an absolute path: SYSTEMCTL
// behind the prefix of this program's variables. It is run without a shell, with an environment of
// its own, and waited for (so the program must not ignore SIGCHLD: ERROR_WAIT_NO_CHILDREN). What it
// refuses without saying why gives ERROR_GEN_FAILURE.
#pragma once

#include "platform/last_error.h"
#include "platform/types.h"

#if defined(_WIN32)
#include <winsvc.h>
#else

using SC_HANDLE = HANDLE;

constexpr DWORD SERVICE_STOPPED = 1;
constexpr DWORD SERVICE_START_PENDING = 2;
constexpr DWORD SERVICE_STOP_PENDING = 3;
constexpr DWORD SERVICE_RUNNING = 4;
constexpr DWORD SERVICE_CONTROL_STOP = 1;

struct SERVICE_STATUS {
    DWORD dwCurrentState;  // one of the above
};

// The manager of this machine; to be closed. machine and database must be null; access isn't looked
// at, here and below: the manager looks at each order. ERROR_NOT_SUPPORTED on a machine without.
SC_HANDLE OpenSCManagerA(const char* machine, const char* database, DWORD access);

// A service by its name, to be closed: "NAME.service", or NAME with that ending. ERROR_INVALID_NAME
// for one that is empty, begins with "-", holds "/" or a character of a pattern, or is too long;
// ERROR_SERVICE_DOES_NOT_EXIST.
SC_HANDLE OpenServiceA(SC_HANDLE manager, const char* name, DWORD access);

// ERROR_INVALID_HANDLE for one that isn't open.
BOOL CloseServiceHandle(SC_HANDLE handle);

// Returns when the service is up, as far as its kind tells that. count must be 0.
// ERROR_SERVICE_ALREADY_RUNNING when it isn't stopped; ERROR_ACCESS_DENIED.
BOOL StartServiceA(SC_HANDLE service, DWORD count, const char** arguments);

BOOL QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status);

// Gives the order to stop and doesn't wait; *status is that of before.
// ERROR_INVALID_SERVICE_CONTROL for another than SERVICE_CONTROL_STOP, ERROR_SERVICE_NOT_ACTIVE for
// a service that is stopped.
BOOL ControlService(SC_HANDLE service, DWORD control, SERVICE_STATUS* status);

#endif
