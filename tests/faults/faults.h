// Scenarios in which allocations and calls of the system fail.
//
//     FAMILY(array) {                            // the stem of its public header
//         PA array{};
//         GIVES(PA_Init(&array, 8, 4), array.nCapacity >= 4);
//         PA_Release(&array);
//     }
//
// Each run is a process of its own, in an empty folder, with the library not yet up, and down again
// behind it. What stands as the call in DID, GIVES or FAULTY meets faults, and allocates nothing by
// itself; all else doesn't. A call must do its work, or tell its error; what may happen beside that
// stands in a RIGHT_OR or STORED_OR, with what the interface says so. The runner tells of one that
// is never needed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "interposer.h"
#include "moltelib.h"
#include "support/pinned.h"

// What the processes of a run share.
struct Run {
    Watch watch;
    bool told;          // a failure was told
    bool died;          // the process was ended in a call
    int descriptors;    // open behind the scenario
    char problem[256];  // the first one
};
extern Run* this_run;

// ---- In a scenario ----

// The path of a name in the run's folder; that of a file that is written there; the bytes of one,
// "(none)" when there is none. The first may stand in a call that meets faults.
const char* in_folder(std::string_view name);
const char* given(std::string_view name, std::string_view bytes);
std::string bytes_of(std::string_view name);

// A block that a call gives, freed behind the scenario.
template <typename T>
struct Freed : Pinned {
    ~Freed() { ORVEX_free(block); }
    T* block = nullptr;
};
inline bool equal(const char* a, std::string_view b) {
    return a != nullptr && a == b;
}
template <typename Byte>
bool equal(const Byte* bytes, int64_t size, std::string_view text) {
    return std::string_view(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size)) ==
           text;
}

// Makes the folder an installation, and brings the library up in it.
void install(std::string_view ini = "");
void bring_up(std::string_view ini = "");

// Makes the call with faults, from an empty error record; its result.
template <typename Call>
auto with_faults(Call call) {
    ORVEX_Err_ClearError();
    arm();
    const auto result = call();
    disarm();
    return result;
}
#define FAULTY(call) with_faults([&] { return call; })

// Whether it did its work. A call that didn't must have met a fault, and left an error.
bool did_work(bool done, const char* call, const char* file, int line);
inline bool is_done(int64_t result) {
    return result >= 0;
}
inline bool is_done(const void* result) {
    return result != nullptr;
}
#define DID(call) did_work(is_done(FAULTY(call)), #call, __FILE__, __LINE__)

// What must hold whatever has failed; what must when the call did its work.
void tell_problem(const char* file, int line, const std::string& what);
#define RIGHT(condition) ((condition) ? void() : tell_problem(__FILE__, __LINE__, #condition))
#define GIVES(call, condition) (DID(call) ? RIGHT(condition) : void())

// What holds unless a fault has struck, and the interface says that it may be otherwise then (in a
// text that lasts).
void holds_or(bool holds, const char* excuse, const char* what, const char* file, int line);
#define RIGHT_OR(excuse, condition) holds_or((condition), excuse, #condition, __FILE__, __LINE__)

// ---- Behind it, in a process of its own (AFTER): what is stored ----

// The file holds the old bytes, or the new ones; of a run that told nothing and lived to its end,
// the new ones. So the old ones are given before any call meets a fault. After a failure that was
// told, or death, a file with an excuse may be torn.
void must_be_stored(const char* excuse, std::string_view name, std::string_view old_bytes,
                    std::string_view new_bytes, const char* file, int line);
#define STORED(name, old_bytes, new_bytes) STORED_OR(nullptr, name, old_bytes, new_bytes)
#define STORED_OR(excuse, name, old_bytes, new_bytes) \
    must_be_stored(excuse, name, old_bytes, new_bytes, __FILE__, __LINE__)

// ---- How they are found ----

using Scenario = void (*)();
struct AddScenario {
    AddScenario(const char* name, Scenario scenario);
};

#define SCENARIO(name, function)                             \
    static void function();                                  \
    static const AddScenario add_##function(name, function); \
    static void function()
#define FAMILY(name) SCENARIO(#name, family_##name)
#define AFTER(name) SCENARIO(#name "+", after_##name)
