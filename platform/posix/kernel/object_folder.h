// Where the files of named objects lie, and how they are called.
#pragma once

#include <climits>

namespace platform {

// What the name of an object's file begins with.
constexpr char kObjectMark = '=';

// The path of a file, with a NUL.
using PathText = char[PATH_MAX];

// The folder, made if need be; false with the last error, also when it isn't the user's alone to
// write in.
bool object_folder(PathText& folder);

// Where in the folder the file of an object's name lies; false with the last error for a name that
// can't be.
bool object_path(const PathText& folder, const char* name, PathText& path);
// The file of the common bell, which has a name no object can have.
bool bell_path(const PathText& folder, PathText& path);

}  // namespace platform
