// A word common to all processes that share an object folder. Kernels before 5.16 can't let a
// thread sleep on several words; there, who waits for several objects of several processes sleeps
// on this one, and whoever signals such an object rings.
#pragma once

#include <atomic>
#include <cstdint>

namespace platform {

class NamedFile;

// Somebody slept by it, once. Without this mark nobody rings.
constexpr std::uint32_t kCommonBellInUse = 1;

// Opens it, once in a process; false with the last error. Before the first object that needs it.
bool open_common_bell();
// Gives its file up at the end of the process.
void leave_common_bell();
// The file; null before it was opened.
NamedFile* common_bell_file();

std::atomic<std::uint32_t>& common_bell();
void ring_common_bell();

}  // namespace platform
