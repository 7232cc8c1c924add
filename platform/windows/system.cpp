#include "platform/system.h"

#include <cstdlib>

// The list of the run-time that all modules share. A DLL's own list, where its std::atexit puts a
// routine, is run when the other threads have been ended, wherever they were: in the heap, for one.
extern "C" _onexit_t(__cdecl* __MINGW_IMP_SYMBOL(_onexit))(_onexit_t routine);

namespace platform {

bool at_exit(void (*routine)()) {
    // The list can't be called without the module that holds the routine.
    HMODULE module = nullptr;
    if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<const char*>(routine), &module) == FALSE) {
        return false;
    }
    return __MINGW_IMP_SYMBOL(_onexit)(reinterpret_cast<_onexit_t>(routine)) != nullptr;
}

}  // namespace platform
