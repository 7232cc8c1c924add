// Clock and calendar of the platform.
//
// Time values are whole seconds since 1970-01-01 UTC. The conversions take values from 0 to the end
// of the year 3000 and refuse all others (null, or -1). Each thread has its own shared records, so
// two threads never disturb each other; the next call of the thread overwrites them.
#pragma once

#if defined(_WIN32)
#include <sys/timeb.h>
#include <ctime>
#else
#include <cstdint>
#include <ctime>

using __time64_t = std::int64_t;

struct __timeb64 {
    __time64_t time;
    unsigned short millitm;  // milliseconds within the second
    short timezone;          // minutes west of UTC, without daylight saving
    short dstflag;           // 1 while daylight saving time holds
};

// The present; also stored at *now unless it is null.
__time64_t _time64(__time64_t* now);
void _ftime64(__timeb64* now);

// Local and universal time of a time value, in a record of the calling thread.
std::tm* _localtime64(const __time64_t* time);
std::tm* _gmtime64(const __time64_t* time);
// The same into the caller's record: 0, or the errno.
int _localtime64_s(std::tm* local, const __time64_t* time);

// The time value of a local time. Fields beyond their range carry over and are brought into it.
__time64_t _mktime64(std::tm* local);

// "Wed Jan 02 02:03:55 1980\n": the day has two digits. Text of the calling thread.
char* _ctime64(const __time64_t* time);
#endif

namespace platform {

// The text of a broken-down time, as of _ctime64, in a buffer of the calling thread. Null when a
// field is out of its range.
char* asctime(const std::tm* local);

// Milliseconds of wall time that have passed since the process first asked (POSIX) or began
// (Windows); not processor time.
long clock();

}  // namespace platform
