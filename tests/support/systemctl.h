// A program in the place of the service manager's, which keeps what it is told and answers as told.
#pragma once

#include <cstdlib>

#include "support/temp_folder.h"

class FakeSystemctl {
 public:
    FakeSystemctl() {
        const std::string program = folder_.write("systemctl", R"sh(#!/bin/sh
for word; do printf '<%s>' "$word"; done >>"$0.calls"; echo >>"$0.calls"
[ "$1" != show ] || exec cat "$0.show"
exit "$(cat "$0.code")"
)sh");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        answers("loaded", "inactive", 0);
        setenv("MOLTELIB_SYSTEMCTL", program.c_str(), 1);
    }
    // What it tells of each service, and the code that every other order ends with.
    void answers(const std::string& load, const std::string& active, int code) const {
        folder_.write("systemctl.show", "LoadState=" + load + "\nActiveState=" + active + "\n");
        folder_.write("systemctl.code", std::to_string(code));
        folder_.write("systemctl.calls", "");
    }
    // The last order, each word in angle brackets.
    [[nodiscard]] std::string last_order() const {
        std::string calls = read_bytes(folder_.path() / "systemctl.calls");
        if (!calls.empty()) calls.pop_back();
        return calls.substr(calls.rfind('\n') + 1);
    }

 private:
    TempFolder folder_;
};
