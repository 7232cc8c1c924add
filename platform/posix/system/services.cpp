#include "platform/services.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "kernel/open_table.h"
#include "system/systemctl.h"

namespace {

constexpr size_t kLongestUnit = 255;  // with its ending
constexpr std::string_view kEnding = ".service";

// A service, or without a unit the manager.
struct Opened {
    uint64_t id = 0;
    Opened* next = nullptr;
    char unit[kLongestUnit + 1] = {};
};

platform::OpenTable<Opened> opened(4);

template <typename Result>
Result fail(DWORD number, Result failure) {
    SetLastError(number);
    return failure;
}

SC_HANDLE open(std::string_view unit) {
    auto made = platform::OpenTable<Opened>::make();
    if (made == nullptr) return fail(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    unit.copy(made->unit, sizeof made->unit - 1);
    return opened.add(std::move(made));
}

// The unit of an open service; empty with the last error if it is none.
struct Unit {
    explicit Unit(SC_HANDLE service) {
        const Opened* found = opened.find(service);
        if (found != nullptr) memcpy(name, found->unit, sizeof name);
        if (name[0] == '\0') SetLastError(ERROR_INVALID_HANDLE);
    }
    [[nodiscard]] bool valid() const { return name[0] != '\0'; }
    char name[kLongestUnit + 1] = {};
};

// "NAME.service" for a name; empty for one that none may have. Without the ending a name could be
// that of a unit of another kind, such as the one that ends the system.
std::string_view unit_of(std::string_view name, char (&unit)[kLongestUnit + 1]) {
    if (name.empty() || name.starts_with('-') || name.find_first_of("/*?[]") != name.npos)
        return {};
    if (name.ends_with(kEnding)) name.remove_suffix(kEnding.size());
    if (name.empty() || name.size() + kEnding.size() > kLongestUnit) return {};
    const size_t length = name.copy(unit, name.size());
    return {unit, length + kEnding.copy(unit + length, kEnding.size())};
}

// What the manager says of a unit: lines "NAME=VALUE".
class Properties {
 public:
    bool read(const char* unit) {
        if (!platform::run_systemctl(
                {"show", "--no-pager", "--property=LoadState,ActiveState", "--", unit}, text_,
                sizeof text_)) {
            return false;
        }
        return strstr(text_, "ActiveState=") != nullptr || fail(ERROR_GEN_FAILURE, false);
    }
    [[nodiscard]] bool has(std::string_view line) const {
        for (std::string_view rest = text_; !rest.empty();) {
            const std::string_view first = rest.substr(0, rest.find('\n'));
            if (first == line) return true;
            rest.remove_prefix(first.size() + (first.size() < rest.size() ? 1 : 0));
        }
        return false;
    }
    [[nodiscard]] DWORD state() const {
        if (has("ActiveState=active") || has("ActiveState=reloading")) return SERVICE_RUNNING;
        if (has("ActiveState=activating")) return SERVICE_START_PENDING;
        if (has("ActiveState=deactivating")) return SERVICE_STOP_PENDING;
        return SERVICE_STOPPED;
    }

 private:
    char text_[256] = {};
};

}  // namespace

SC_HANDLE OpenSCManagerA(const char* machine, const char* database, DWORD) {
    if (machine != nullptr || database != nullptr) return fail(ERROR_INVALID_PARAMETER, nullptr);
    return platform::has_systemctl() ? open("") : nullptr;
}

SC_HANDLE OpenServiceA(SC_HANDLE manager, const char* name, DWORD) {
    const Opened* found = opened.find(manager);
    if (found == nullptr || found->unit[0] != '\0') return fail(ERROR_INVALID_HANDLE, nullptr);
    char text[kLongestUnit + 1] = {};
    const std::string_view unit = unit_of(name != nullptr ? name : "", text);
    if (unit.empty()) return fail(ERROR_INVALID_NAME, nullptr);
    Properties properties;
    if (!properties.read(text)) return nullptr;
    if (properties.has("LoadState=not-found")) return fail(ERROR_SERVICE_DOES_NOT_EXIST, nullptr);
    return open(unit);
}

BOOL CloseServiceHandle(SC_HANDLE handle) {
    return opened.take(handle) != nullptr ? TRUE : fail(ERROR_INVALID_HANDLE, FALSE);
}

BOOL StartServiceA(SC_HANDLE service, DWORD count, const char**) {
    if (count != 0) return fail(ERROR_INVALID_PARAMETER, FALSE);
    SERVICE_STATUS status{};
    if (QueryServiceStatus(service, &status) == FALSE) return FALSE;
    if (status.dwCurrentState != SERVICE_STOPPED) return fail(ERROR_SERVICE_ALREADY_RUNNING, FALSE);
    const Unit unit(service);
    return unit.valid() &&
           platform::run_systemctl({"start", "--no-ask-password", "--", unit.name}, nullptr, 0);
}

BOOL QueryServiceStatus(SC_HANDLE service, SERVICE_STATUS* status) {
    const Unit unit(service);
    Properties properties;
    if (!unit.valid() || !properties.read(unit.name)) return FALSE;
    status->dwCurrentState = properties.state();
    return TRUE;
}

BOOL ControlService(SC_HANDLE service, DWORD control, SERVICE_STATUS* status) {
    if (control != SERVICE_CONTROL_STOP) return fail(ERROR_INVALID_SERVICE_CONTROL, FALSE);
    if (QueryServiceStatus(service, status) == FALSE) return FALSE;
    if (status->dwCurrentState == SERVICE_STOPPED) return fail(ERROR_SERVICE_NOT_ACTIVE, FALSE);
    const Unit unit(service);
    return unit.valid() &&
           platform::run_systemctl({"stop", "--no-block", "--no-ask-password", "--", unit.name},
                                   nullptr, 0);
}
