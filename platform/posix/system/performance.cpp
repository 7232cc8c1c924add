#include "platform/performance.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "kernel/open_table.h"
#include "platform/last_error.h"
#include "system/kernel_text.h"

namespace {

constexpr const char* kProcessorTime = "\\Processor(_Total)\\% Processor Time";

// Time that the processors together have spent since the start, in clock ticks.
struct Spent {
    uint64_t all = 0;
    uint64_t idle = 0;

    // False when the kernel doesn't tell. Time of guests is in that of their hosts already.
    bool read() {
        unsigned long long user, nice, system, waited, io, hard, soft, stolen;
        if (sscanf(platform::KernelText("/proc/stat").text(),
                   "cpu %llu %llu %llu %llu %llu %llu %llu %llu", &user, &nice, &system, &waited,
                   &io, &hard, &soft, &stolen) != 8) {
            return false;
        }
        idle = waited + io;
        all = user + nice + system + idle + hard + soft + stolen;
        return true;
    }
};

struct Query {
    uint64_t id = 0;
    Query* next = nullptr;
    int collected = 0;
    Spent before;
    Spent now;
};

platform::OpenTable<Query> queries(3);

// Waiting for a disk, which is idle time, may be counted back by the kernel.
int64_t busy_percent(const Query& query) {
    const auto all = static_cast<int64_t>(query.now.all - query.before.all);
    const auto idle = static_cast<int64_t>(query.now.idle - query.before.idle);
    return all > 0 && idle >= 0 && idle <= all ? (all - idle) * 100 / all : 0;
}

}  // namespace

PDH_STATUS PdhOpenQueryA(const char*, std::uintptr_t, PDH_HQUERY* query) {
    std::unique_ptr<Query> made = platform::OpenTable<Query>::make();
    if (made == nullptr) return static_cast<PDH_STATUS>(ERROR_NOT_ENOUGH_MEMORY);
    *query = queries.add(std::move(made));
    return 0;
}

PDH_STATUS PdhCloseQuery(PDH_HQUERY query) {
    return queries.take(query) != nullptr ? 0 : PDH_INVALID_HANDLE;
}

// All counters of a query are the same one, so its handle serves for them.
PDH_STATUS PdhAddCounterA(PDH_HQUERY query, const char* path, std::uintptr_t,
                          PDH_HCOUNTER* counter) {
    if (queries.find(query) == nullptr) return PDH_INVALID_HANDLE;
    if (path == nullptr || strcmp(path, kProcessorTime) != 0) return PDH_CSTATUS_NO_COUNTER;
    *counter = query;
    return 0;
}

PDH_STATUS PdhCollectQueryData(PDH_HQUERY handle) {
    Query* query = queries.find(handle);
    if (query == nullptr) return PDH_INVALID_HANDLE;
    query->before = query->now;
    if (!query->now.read()) return PDH_INVALID_DATA;
    if (query->collected < 2) ++query->collected;
    return 0;
}

PDH_STATUS PdhGetFormattedCounterValue(PDH_HCOUNTER counter, DWORD format, DWORD* type,
                                       PDH_FMT_COUNTERVALUE* value) {
    const Query* query = queries.find(counter);
    if (query == nullptr) return PDH_INVALID_HANDLE;
    if ((format & ~PDH_FMT_NOSCALE) != PDH_FMT_LARGE || value == nullptr) {
        return PDH_INVALID_ARGUMENT;
    }
    if (query->collected < 2) return PDH_INVALID_DATA;
    if (type != nullptr) *type = 0;
    *value = {0, busy_percent(*query)};
    return 0;
}
