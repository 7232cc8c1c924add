// Installations of the test's own.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "moltelib.h"
#include "support/temp_folder.h"

// One that the library finds, with this INI file; nothing is up in it yet.
class Configured : public TempFolder {
 public:
    explicit Configured(std::string_view ini = "") {
        std::filesystem::create_directory(path() / "CONF");
        write_ini(ini);
        ORVEX_SetMainPath(str().c_str());
        ORVEX_Err_ClearError();
    }
    void write_ini(std::string_view text) const { write("CONF/rvexinit.ini", text); }
    // The text of a file of the configuration, with line ends as a C program sees them.
    [[nodiscard]] std::string text_of(const std::string& name = "rvexinit.ini") const {
        std::string text = read_bytes(path() / "CONF" / name);
        std::erase(text, '\r');
        return text;
    }
};

// One with the library up in it, and down again at the end.
class Installation : public Pinned {
 public:
    explicit Installation(bool with_log_folder = true) {
        ORVEX_SetMainPath(root_.str().c_str());
        ORVEX_SYS_CreatePath();
        if (with_log_folder) std::filesystem::create_directory(log_folder());
        ORVEX_BASE_InitVar();
    }
    ~Installation() { ORVEX_BASE_ReleaseVar(); }

    [[nodiscard]] std::string str() const { return root_.str(); }
    [[nodiscard]] std::filesystem::path log_folder() const { return root_.path() / "LOG"; }
    [[nodiscard]] std::filesystem::path log_file() const { return log_folder() / "errlog.txt"; }
    [[nodiscard]] std::string log() const { return read_text(log_file()); }

 private:
    TempFolder root_;
};
