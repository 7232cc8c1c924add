#include "core/report.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "moltelib/error.h"
#include "platform/last_error.h"

namespace molte {

namespace {

constexpr int64_t kMaxDataLength = 255;

uint32_t system_number(SystemError system) {
    switch (system) {
        case SystemError::none:
            return 0;
        case SystemError::platform:
            return GetLastError();
        case SystemError::runtime:
        case SystemError::socket:
            break;
    }
    return static_cast<uint32_t>(errno);
}

int32_t set(const char* module, int32_t line, uint32_t error, uint32_t number, SystemError system,
            const void* data, int64_t size) {
    const auto length = static_cast<uint8_t>(size < kMaxDataLength ? size : kMaxDataLength);
    ORVEX_Err_Set(error, number, module, line, length, data, static_cast<uint8_t>(system));
    return -1;
}

}  // namespace

int32_t Module::fail(int32_t line, uint32_t error, SystemError system) const {
    return set(name_, line, error, system_number(system), system, nullptr, 0);
}

int32_t Module::fail(int32_t line, uint32_t error, SystemError system, const char* format,
                     ...) const {
    const uint32_t number = system_number(system);
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return set(name_, line, error, number, system, text, length > 0 ? length : 0);
}

int32_t Module::fail_text(int32_t line, uint32_t error, SystemError system,
                          const char* text) const {
    const uint32_t number = system_number(system);
    const size_t length = text != nullptr ? strnlen(text, kMaxDataLength) : 0;
    return set(name_, line, error, number, system, text, static_cast<int64_t>(length));
}

int32_t Module::fail_bytes(int32_t line, uint32_t error, SystemError system, const void* data,
                           int64_t size) const {
    return set(name_, line, error, system_number(system), system, data, size);
}

int32_t Module::trace(int32_t line) const {
    ORVEX_Err_AddNL(line, name_);
    return -1;
}

}  // namespace molte
