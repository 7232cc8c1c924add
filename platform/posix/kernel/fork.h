// What fork(2) does to handles, named objects and locks.
//
// The child is a process of its own: it has the same handles, with descriptions and locks of their
// files of its own (so neither's end takes anything from the other), but of the parent's threads
// only the one that forked. That one keeps its mutexes and critical sections of this process; those
// of the others are abandoned, and nobody waits any more. What is shared with other processes stays
// the parent's.
//
// Locks over tables are taken before the fork and let go on both sides, so that the child finds the
// tables whole and free.
#pragma once

namespace platform {

// False when the process couldn't be made ready for its forks, for want of memory.
bool fork_is_watched();

// What fork.cpp calls. Names come before objects.
void lock_names_for_fork();
void unlock_names_after_fork();
void lock_objects_for_fork();
void unlock_objects_after_fork();

}  // namespace platform
