#include "processor_speed.h"

#include <cstdio>
#include <memory>

namespace platform {

namespace {

struct Close {
    void operator()(FILE* file) const { fclose(file); }
};
using Stream = std::unique_ptr<FILE, Close>;

// A file with one number in kHz.
uint32_t frequency(const char* name) {
    const Stream file(fopen(name, "re"));
    unsigned long khz = 0;
    if (file == nullptr || fscanf(file.get(), "%lu", &khz) != 1) return 0;
    return static_cast<uint32_t>(khz / 1000);
}

uint32_t speed_in_list() {
    const Stream file(fopen("/proc/cpuinfo", "re"));
    char line[256];
    double mhz = 0;
    while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr) {
        if (sscanf(line, "cpu MHz : %lf", &mhz) == 1 && mhz > 0) return static_cast<uint32_t>(mhz);
    }
    return 0;
}

}  // namespace

// The speed that the processor is made for, where the kernel knows it; else that of the moment.
uint32_t processor_speed() {
    constexpr const char* made_for = "/sys/devices/system/cpu/cpu0/cpufreq/base_frequency";
    constexpr const char* highest = "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq";
    uint32_t mhz = frequency(made_for);
    if (mhz == 0) mhz = speed_in_list();
    return mhz != 0 ? mhz : frequency(highest);
}

}  // namespace platform
