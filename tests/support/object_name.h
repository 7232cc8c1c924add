// Names of objects that processes have in common.
#pragma once

#include <cstdlib>
#include <string>

#include "support/temp_folder.h"

// A folder of this program and its children.
inline const TempFolder& object_folder() {
    static const TempFolder folder;
    return folder;
}

// A name nobody else uses. On POSIX the files go to that folder.
inline std::string new_name() {
    static int count = 0;
#if !defined(_WIN32)
    setenv("MOLTELIB_OBJECT_FOLDER", object_folder().str().c_str(), 1);
#endif
    return object_folder().path().filename().string() + "." + std::to_string(++count);
}
