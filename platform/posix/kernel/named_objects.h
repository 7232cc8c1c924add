// Objects with a name or without, and the named ones that this process has open.
#pragma once

#include "kernel/kernel_object.h"

namespace platform {

// Named objects. Null with the last error; the Create form also sets it on success, as a caller is
// told. These take locks of their own.
using KindOfState = const Kind& (*)(const State& state);
HANDLE create_object(ObjectType type, KindOfState kind, const char* name, const State& state);
HANDLE open_object(ObjectType type, KindOfState kind, BOOL inherit, const char* name);
// The same for a name that isn't empty, with the object to become that of the name.
HANDLE create_named(ObjectPointer object, KindOfState kind, const char* name, const NewFile& begin);
HANDLE open_named(ObjectPointer object, ObjectType type, KindOfState kind, BOOL inherit,
                  const char* name);
// As a handle of a new object without a name, and for none.
HANDLE handle_of_new(const ObjectPointer& object);

// After the closing of a handle: the last one of the process gives the name up, and with the last
// reference all that it holds.
void leave_if_unused(ObjectPointer object);

// In a forked child, where nothing else runs: for each that is open, with a handle or without.
void for_each_named_object(void (*call)(Object& object));

}  // namespace platform
