#include "moltelib/version.h"

const char* MOLTELIB_Version(void) {
    return MOLTELIB_VERSION;
}

int32_t MOLTELIB_VersionNumber(void) {
    return MOLTELIB_VERSION_NUMBER;
}
