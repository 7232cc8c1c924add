// The zone of the local time, for the rest of the test.
#pragma once

#include <cstdlib>
#include <ctime>

inline void change_zone(const char* zone) {
#if defined(_WIN32)
    _putenv_s("TZ", zone);
    _tzset();
#else
    setenv("TZ", zone, 1);
    tzset();
#endif
}
