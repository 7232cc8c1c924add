#include "platform/time.h"

#include <cerrno>
#include <chrono>
#include <cstdio>

namespace {

constexpr __time64_t kLastTime = 32535215999;  // 3000-12-31 23:59:59 UTC

thread_local std::tm shared_record;
thread_local char shared_text[32];

bool in_range(const __time64_t* time) {
    if (time != nullptr && *time >= 0 && *time <= kLastTime) return true;
    errno = EINVAL;
    return false;
}

}  // namespace

__time64_t _time64(__time64_t* now) {
    const __time64_t present = std::time(nullptr);
    if (now != nullptr) *now = present;
    return present;
}

void _ftime64(__timeb64* now) {
    if (now == nullptr) return;
    std::timespec present{};
    clock_gettime(CLOCK_REALTIME, &present);
    std::tm local{};
    localtime_r(&present.tv_sec, &local);
    now->time = present.tv_sec;
    now->millitm = static_cast<unsigned short>(present.tv_nsec / 1000000);
    now->timezone = static_cast<short>(::timezone / 60);
    now->dstflag = local.tm_isdst > 0 ? 1 : 0;
}

std::tm* _localtime64(const __time64_t* time) {
    return _localtime64_s(&shared_record, time) == 0 ? &shared_record : nullptr;
}

std::tm* _gmtime64(const __time64_t* time) {
    return in_range(time) ? gmtime_r(time, &shared_record) : nullptr;
}

int _localtime64_s(std::tm* local, const __time64_t* time) {
    if (local == nullptr || !in_range(time)) return EINVAL;
    return localtime_r(time, local) != nullptr ? 0 : errno;
}

__time64_t _mktime64(std::tm* local) {
    if (local == nullptr) {
        errno = EINVAL;
        return -1;
    }
    std::tm normal = *local;
    const __time64_t time = std::mktime(&normal);
    if (!in_range(&time)) return -1;
    *local = normal;
    return time;
}

char* _ctime64(const __time64_t* time) {
    std::tm local{};
    return _localtime64_s(&local, time) == 0 ? platform::asctime(&local) : nullptr;
}

char* platform::asctime(const std::tm* local) {
    static const char kDays[][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char kMonths[][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto within = [](int value, int last) { return value >= 0 && value <= last; };
    if (local == nullptr || !within(local->tm_wday, 6) || !within(local->tm_mon, 11) ||
        !within(local->tm_mday, 31) || !within(local->tm_hour, 23) || !within(local->tm_min, 59) ||
        !within(local->tm_sec, 60) || !within(local->tm_year, 8099)) {
        errno = EINVAL;
        return nullptr;
    }
    std::snprintf(shared_text, sizeof shared_text, "%s %s %02d %02d:%02d:%02d %d\n",
                  kDays[local->tm_wday], kMonths[local->tm_mon], local->tm_mday, local->tm_hour,
                  local->tm_min, local->tm_sec, local->tm_year + 1900);
    return shared_text;
}

long platform::clock() {
    using std::chrono::steady_clock;
    static const steady_clock::time_point begin = steady_clock::now();
    const auto passed = steady_clock::now() - begin;
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}
