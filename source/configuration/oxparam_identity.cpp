// The identity of the machine.
#include <cerrno>
#include <cstring>

#include "configuration/parameter_file.h"
#include "moltelib/file.h"
#include "moltelib/main_path.h"
#include "moltelib/parameter_file.h"
#include "moltelib/uuid.h"
#include "platform/files.h"

using namespace molte::ini;
using molte::here;
using molte::SystemError;

namespace {

constexpr size_t kPathSize = 256;

int32_t identity_path(char (&dst)[kPathSize], int32_t line) {
    if (ORVEX_CONF_PathName(dst) < 0) return kModule.trace(line);
    std::strcat(dst, "\\serverid.dat");
    return 1;
}

int32_t read_identity(const char* path, uint8_t* id) {
    molte::Descriptor file(ORVEX_FileOpenByChmod(path, ORVEX_OPEN_UPDATE));
    if (!file.valid()) file.reset(ORVEX_FileOpenByChmod(path, ORVEX_OPEN_READ));
    if (!file.valid()) return kModule.fail_text(492, kNotOpened, SystemError::runtime, path);
    errno = 0;
    if (_read(file.get(), id, ORVEX_UUID_SIZE) != ORVEX_UUID_SIZE) {
        return kModule.fail(494, kNotRead, SystemError::runtime, "fd=%d pbuf=%p nsize=%d",
                            file.get(), static_cast<void*>(id), ORVEX_UUID_SIZE);
    }
    return 1;
}

int32_t write_identity(const char* path, const uint8_t* id) {
    ORVEX_FileChangeMode(path, ORVEX_MODE_OWNER, 0);
    const molte::Descriptor file(_open(path, ORVEX_OPEN_ANEW, ORVEX_MODE_OWNER));
    if (!file.valid()) return kModule.fail_text(502, kNotOpened, SystemError::runtime, path);
    errno = 0;
    if (_write(file.get(), id, ORVEX_UUID_SIZE) != ORVEX_UUID_SIZE) {
        return kModule.fail(503, kNotWritten, SystemError::runtime, "fd=%d buf=%p size=%d",
                            file.get(), static_cast<const void*>(id), ORVEX_UUID_SIZE);
    }
    return 2;
}

}  // namespace

int32_t ORVEX_PARAMETER_GetServerID(uint8_t* pabyId) {
    if (pabyId == nullptr) return kModule.fail(here(), kBadArgument);
    char path[kPathSize];
    if (identity_path(path, here()) < 0) return -1;
    if (read_identity(path, pabyId) > 0) return 1;
    if (ORVEX_UUID_Gen(pabyId) < 0) return kModule.trace(here());
    return write_identity(path, pabyId);
}

int32_t ORVEX_PARAMETER_DelServerID(void) {
    char path[kPathSize];
    if (identity_path(path, 471) < 0) return -1;
    return _unlink(path);
}
