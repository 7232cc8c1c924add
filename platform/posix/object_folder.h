// Where the files of named objects lie, and how they are called.
#pragma once

#include <string>

namespace platform {

// The folder, made if need be; false with the last error, also when it isn't the user's alone to
// write in.
bool object_folder(std::string* folder);

// The file name for an object's name; false with the last error for a name that can't be.
bool object_file_name(const char* name, std::string* file_name);

}  // namespace platform
