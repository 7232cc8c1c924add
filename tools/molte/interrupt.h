// Ctrl-C and its kin. The first asks: the library's waits give up, and commands that look between
// two steps end as failed. Who doesn't look within two seconds is ended, what stands beside its
// place (files.h) being removed first.
#pragma once

#include <filesystem>

namespace tool {

void watch_for_interrupts();  // before any other thread is started
bool interrupted();
void end_if_interrupted();  // throws

// What is to be removed when the tool is ended, and no more.
void remove_at_end(const std::filesystem::path& path);
void leave_at_end(const std::filesystem::path& path);

}  // namespace tool
