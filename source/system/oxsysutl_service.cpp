// Starting and stopping services.
#include <bit>

#include "core/modules.h"
#include "moltelib/service.h"
#include "platform/dynamic_library.h"
#include "platform/services.h"

using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr auto kModule = molte::kOxsysutl;
constexpr DWORD kWholeManager = 0xC00F003F;
constexpr DWORD kWholeService = 0xF01FF;

class ServiceHandle {
 public:
    explicit ServiceHandle(SC_HANDLE handle) : handle_(handle) {}
    ~ServiceHandle() {
        if (handle_ != nullptr) CloseServiceHandle(handle_);
    }
    ServiceHandle(const ServiceHandle&) = delete;
    ServiceHandle& operator=(const ServiceHandle&) = delete;
    [[nodiscard]] SC_HANDLE get() const { return handle_; }

 private:
    SC_HANDLE handle_;
};

bool start(SC_HANDLE service) {
    return StartServiceA(service, 0, nullptr) != FALSE;
}

bool stop(SC_HANDLE service) {
    SERVICE_STATUS status{};
    if (QueryServiceStatus(service, &status) == FALSE) return false;
    if (status.dwCurrentState != SERVICE_RUNNING) {
        SetLastError(ERROR_SERVICE_NOT_ACTIVE);
        return false;
    }
    return ControlService(service, SERVICE_CONTROL_STOP, &status) != FALSE;
}

// Reported before the handles are closed, while the last error is that of the failure.
int32_t with_service(const char* name, bool (*act)(SC_HANDLE), int32_t line) {
    if (name == nullptr) return kModule.fail(line, kBadArgument);
    const ServiceHandle manager(OpenSCManagerA(nullptr, nullptr, kWholeManager));
    const ServiceHandle service(
        manager.get() != nullptr ? OpenServiceA(manager.get(), name, kWholeService) : nullptr);
    if (service.get() != nullptr && act(service.get())) return 1;
    return kModule.fail_text(line, kBadArgument, SystemError::platform, name);
}

}  // namespace

int32_t SERVICE_Exec(const char* pszName) {
    return with_service(pszName, start, here());
}

int32_t SERVICE_Stop(const char* pszName) {
    return with_service(pszName, stop, here());
}

int32_t ORVEX_RegisterAsService(int32_t bHide) {
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    const FARPROC found =
        kernel != nullptr ? GetProcAddress(kernel, "RegisterServiceProcess") : nullptr;
    if (found == nullptr) return -1;
    const auto register_process = std::bit_cast<DWORD (*)(DWORD, DWORD)>(found);
    return register_process(0, bHide >= 1 ? 1 : 0) != 0 ? 1 : -1;
}
