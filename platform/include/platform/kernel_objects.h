// Events, mutexes and semaphores, and waiting for them and for threads (platform/threads.h).
//
// Handles. An object lives as long as a handle of it is open, here or in another process. A handle
// that is closed, null, made up, or of the wrong kind of object for the call, gives
// ERROR_INVALID_HANDLE.
//
// Names. All kinds of object share one set of names, of at most 254 bytes, case-sensitive, common
// to all processes of the user. "Global\" and "Local\" in front are skipped; else a backslash gives
// ERROR_PATH_NOT_FOUND. A null or empty name makes an object without a name. A Create call that
// finds an object of that name and kind gives a handle of it, ignores the other arguments and sets
// the last error to ERROR_ALREADY_EXISTS, which else becomes 0. An object of another kind gives
// ERROR_INVALID_HANDLE; for the Open calls a name that is not in use, ERROR_FILE_NOT_FOUND; a name
// that is too long, ERROR_FILENAME_EXCED_RANGE.
//
// On POSIX each named object is a file in a folder of the user's own under /dev/shm, or in the one
// that an environment variable names: OBJECT_FOLDER behind the prefix of this program's variables,
// as in MOLTELIB_OBJECT_FOLDER. Its file system must know O_TMPFILE. A file there of other content
// gives ERROR_INVALID_DATA; one, or a folder, of another owner, and one that a crash left and that
// can't be removed, ERROR_ACCESS_DENIED; one whose remover was stopped just then, after a second,
// ERROR_SHARING_VIOLATION. The end of a process, by whatever cause, closes its handles and gives up
// its mutexes.
//
// Failing memory gives ERROR_NOT_ENOUGH_MEMORY, to the calls that make an object and to a thread's
// first wait.
//
// A forked child has the same handles and is a process of its own: what either closes, or leaves by
// its end, the other keeps. The thread that forked keeps the mutexes of its process that it owned;
// those of the parent's other threads are abandoned, and their handles are signalled. Mutexes with
// names stay the parent's. (After vfork, and a clone without the run-time, nothing of this holds.
// Whoever closes descriptors that it didn't open, as daemons do after a fork, loses the objects
// with names.)
//
// Whoever waits for a named object looks at it once a second: so long a signal may take whose
// sender was killed before it woke anybody.
//
// Limits of named objects on POSIX, all about moments when a process was woken and did not run yet:
// a signal taken back at once (SetEvent, ResetEvent), or given a second time, may pass a waiter by;
// a release beyond the maximum fails although a waiter has one coming; the signal of an event or a
// semaphore for a waiter that is killed then is left for the next wait that begins; two signals of
// an event count twice if they woke two who wait for all of several objects and can't take it yet.
#pragma once

#include "platform/last_error.h"
#include "platform/ticks.h"
#include "platform/types.h"

#if !defined(_WIN32)

struct SECURITY_ATTRIBUTES;  // there are none: always pass null

constexpr DWORD EVENT_ALL_ACCESS = 0x1F0003;
constexpr DWORD MUTEX_ALL_ACCESS = 0x1F0001;
constexpr DWORD SEMAPHORE_ALL_ACCESS = 0x1F0003;

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_ABANDONED = 128;
constexpr DWORD WAIT_ABANDONED_0 = WAIT_ABANDONED;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

// Any object. INVALID_HANDLE_VALUE also names the own process, and closing that does nothing.
BOOL CloseHandle(HANDLE handle);

// An event is signalled or not. A wait takes the signal of one with automatic reset, so that each
// signal releases one waiter, or stays for the next; with manual reset it stays for all.
//
// The Open calls don't look at the access that is wanted. Handles aren't inherited: inherit must be
// FALSE, else ERROR_INVALID_PARAMETER.
HANDLE CreateEventA(SECURITY_ATTRIBUTES* none, BOOL manual_reset, BOOL signalled, const char* name);
HANDLE OpenEventA(DWORD access, BOOL inherit, const char* name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);

// A mutex belongs to the thread whose wait took it. That thread may take it again, and releases it
// as many times. When it ends as the owner, the next wait gets the mutex with WAIT_ABANDONED.
HANDLE CreateMutexA(SECURITY_ATTRIBUTES* none, BOOL owned, const char* name);
HANDLE OpenMutexA(DWORD access, BOOL inherit, const char* name);
// ERROR_NOT_OWNER for any other thread than the owner.
BOOL ReleaseMutex(HANDLE mutex);

// A semaphore counts from 0 to its maximum; a wait takes one.
// ERROR_INVALID_PARAMETER unless 0 <= initial <= maximum and maximum > 0.
HANDLE CreateSemaphoreA(SECURITY_ATTRIBUTES* none, LONG initial, LONG maximum, const char* name);
HANDLE OpenSemaphoreA(DWORD access, BOOL inherit, const char* name);
// Adds count; *previous (may be null) becomes the value before. ERROR_TOO_MANY_POSTS, and nothing
// changes, beyond the maximum and for a negative count.
BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);

// Waits at most that long for one object, for any of several, or for all of them together, of which
// nothing is taken before all can be. At most MAXIMUM_WAIT_OBJECTS; none, more, or one object twice
// in a wait for all give ERROR_INVALID_PARAMETER.
//
// WAIT_OBJECT_0 plus the place of the first object that could be taken (plus 0 for all);
// WAIT_ABANDONED likewise when what was taken is, or is among all, a mutex whose owner died;
// WAIT_TIMEOUT; WAIT_FAILED with the last error. The last error else stays.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds);

namespace platform {

// For tests: waits for several named objects do as on a kernel that can't sleep for several words.
void force_wait_fallback(bool force);

}  // namespace platform

#endif
