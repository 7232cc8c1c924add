// An installation of the test's own with the library up in it, and down again at the end.
#pragma once

#include <filesystem>
#include <string>

#include "moltelib.h"
#include "support/temp_folder.h"

class Installation {
 public:
    explicit Installation(bool with_log_folder = true) {
        ORVEX_SetMainPath(root_.str().c_str());
        ORVEX_SYS_CreatePath();
        if (with_log_folder) std::filesystem::create_directory(log_folder());
        ORVEX_BASE_InitVar();
    }
    ~Installation() { ORVEX_BASE_ReleaseVar(); }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    [[nodiscard]] std::string str() const { return root_.str(); }
    [[nodiscard]] std::filesystem::path log_folder() const { return root_.path() / "LOG"; }
    [[nodiscard]] std::filesystem::path log_file() const { return log_folder() / "errlog.txt"; }
    // The text of the log, with line ends as a C program sees them.
    [[nodiscard]] std::string log() const {
        std::string text = read_bytes(log_file());
        std::erase(text, '\r');
        return text;
    }

 private:
    TempFolder root_;
};
