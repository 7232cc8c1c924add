// What the handle of a process stands for.
#pragma once

#include <unistd.h>

#include "kernel/kernel_object.h"

namespace platform {

// -1 with errno.
int open_process_folder(const char* path);
int open_process_folder(DWORD number);

struct Process : Object {
    static constexpr Kind kind_of_all = {.type = ObjectType::process};

    // It owns the descriptor.
    explicit Process(int descriptor) : Object(kind_of_all), folder(descriptor) {}
    ~Process() override {
        if (folder >= 0) close(folder);
    }

    // Under /proc: it stays the process's own when another one gets the number. -1 for a process
    // that isn't there.
    int folder;
};

}  // namespace platform
