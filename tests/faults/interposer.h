// The calls of the C library through which the library under test meets memory and the system. The
// program defines them itself, in front of the C library's own: while it is armed it counts them,
// and makes the one that it was told to fail.
#pragma once

#include <atomic>
#include <cstdint>

enum class Fault : uint8_t {
    none,        // only counts
    memory,      // an allocation fails, whoever makes it
    error,       // from here on a call of the system that the library makes: fails with an error
    half,        //   transfers half of what was asked for
    death,       //   ends the process instead
    half_death,  //   ends the process after half of a write
};

struct Plan {
    const char* name = "no fault";
    Fault fault = Fault::none;
    int error = 0;         // an errno
    bool onwards = false;  // all calls behind it fail as well
    int at = 0;            // the call that fails, from 1
};

// Shared with the process that watches.
struct Watch {
    Plan plan;
    std::atomic<int> allocations;
    std::atomic<int> system_calls;
    std::atomic<int> struck;  // failures so far
    int depth;
    void* trace[24];  // who made the first call that failed
};
extern Watch* watch;

// From arm to disarm calls are counted and fail; whether they did until then.
bool arm(bool from_now_on = true);
inline bool disarm() {
    return arm(false);
}
