// Counters of the system's work: a query holds counters, is collected twice, and tells what
// happened in between. Each call gives ERROR_SUCCESS or why not.
#pragma once

#include "platform/types.h"

#if defined(_WIN32)
#include <pdh.h>
#include <pdhmsg.h>
#else

using PDH_STATUS = LONG;
using PDH_HQUERY = HANDLE;
using PDH_HCOUNTER = HANDLE;

constexpr DWORD PDH_FMT_LARGE = 0x0400;
constexpr DWORD PDH_FMT_NOSCALE = 0x1000;

constexpr PDH_STATUS PDH_CSTATUS_NO_COUNTER = static_cast<PDH_STATUS>(0xC0000BB9);
constexpr PDH_STATUS PDH_INVALID_HANDLE = static_cast<PDH_STATUS>(0xC0000BBC);
constexpr PDH_STATUS PDH_INVALID_ARGUMENT = static_cast<PDH_STATUS>(0xC0000BBD);
constexpr PDH_STATUS PDH_INVALID_DATA = static_cast<PDH_STATUS>(0xC0000BC6);

struct PDH_FMT_COUNTERVALUE {
    DWORD CStatus;
    std::int64_t largeValue;
};

PDH_STATUS PdhOpenQueryA(const char* none, std::uintptr_t unused, PDH_HQUERY* query);
// The counters go with it.
PDH_STATUS PdhCloseQuery(PDH_HQUERY query);

// There is one counter, "\Processor(_Total)\% Processor Time": how busy the processors were,
// together, in percent. PDH_CSTATUS_NO_COUNTER for another.
PDH_STATUS PdhAddCounterA(PDH_HQUERY query, const char* path, std::uintptr_t unused,
                          PDH_HCOUNTER* counter);
PDH_STATUS PdhCollectQueryData(PDH_HQUERY query);

// PDH_INVALID_DATA unless it was collected twice. The format is PDH_FMT_LARGE, with or without
// PDH_FMT_NOSCALE.
PDH_STATUS PdhGetFormattedCounterValue(PDH_HCOUNTER counter, DWORD format, DWORD* type,
                                       PDH_FMT_COUNTERVALUE* value);

#endif
