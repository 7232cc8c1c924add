// One parameter of a file of 200 lines, beside inih, which parses the same file to find the name.
#include <ini.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;

constexpr char kName[] = "Parameter150";

struct Wanted {
    const char* name;
    char value[128];
};

int take(void* user, const char* /*section*/, const char* name, const char* value) {
    auto* wanted = static_cast<Wanted*>(user);
    if (std::strcmp(name, wanted->name) == 0) {
        std::strncpy(wanted->value, value, sizeof wanted->value - 1);
    }
    return 1;
}

void write_file(const std::string& path) {
    std::ofstream file(path);
    for (int i = 0; i < 200; ++i) {
        if (i % 10 == 0) {
            file << "# what the following ones are for\n";
        } else {
            file << "Parameter" << i << " = " << i * 37 << "\n";
        }
    }
}

}  // namespace

int main() {
    char root_template[] = "/tmp/moltelib-bench-XXXXXX";
    const std::string root = mkdtemp(root_template);
    ORVEX_SetMainPath(root.c_str());
    fs::create_directory(root + "/CONF");
    const std::string path = root + "/CONF/rvexinit.ini";
    write_file(path);
    char value[MOLTE_PARAM_SLOT];
    Wanted wanted{kName, {}};
    const auto ours = [&] { molte_bench::keep(ORVEX_PARAMETER_GetValue(kName, value)); };
    const auto peer = [&] { molte_bench::keep(ini_parse(path.c_str(), take, &wanted)); };
    ours();
    peer();
    if (std::strcmp(value, wanted.value) != 0) return 1;
    molte_bench::pair("one value of 200 lines", "inih", ours, peer);
    molte_bench::pair(
        "set a value that is set", "inih",
        [&] { molte_bench::keep(ORVEX_PARAMETER_SetValue(kName, value)); }, peer);
    fs::remove_all(root);
}
