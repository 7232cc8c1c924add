// Variables of the environment, for the rest of the test and what it starts.
#pragma once

#include <cstdlib>
#include <ctime>

inline void set_variable(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}

// The zone of the local time.
inline void change_zone(const char* zone) {
    set_variable("TZ", zone);
#if defined(_WIN32)
    _tzset();
#else
    tzset();
#endif
}
