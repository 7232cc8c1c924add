#include <cstring>

#include "core/modules.h"
#include "data/oxstring.h"
#include "moltelib/memory.h"
#include "moltelib/text_object.h"
#include "platform/text.h"

namespace {

constexpr auto kModule = molte::kOxstring;

constexpr int64_t kBlockSize = 4096;

// Beyond what a text needs, so that the next small one fits as well.
constexpr int64_t kSpare = 10;

// -1 when the object can't hold n bytes more.
int32_t ensure(OXSTR_STROBJ& object, int64_t n) {
    if (n < 1) n = kBlockSize;
    if (n + object.nLen < object.nCapacity) return 1;
    if (object.bCanGrow == 0) {
        return kModule.fail_text(molte::here(), molte::kTooLong, molte::SystemError::none,
                                 "fixed buffer");
    }
    const int64_t more = (n + kBlockSize - 1) / kBlockSize * kBlockSize;
    if (molte::grow(object.pBuf, object.nCapacity, more) > 0) return 1;
    return kModule.trace(molte::here());
}

// Formats into the free space; -1 when the text doesn't fit with a terminator.
int32_t format(OXSTR_STROBJ& object, const char* fmt, va_list args) {
    const int32_t room = object.nCapacity - object.nLen;
    if (room < 1) return -1;
    va_list copy;
    va_copy(copy, args);
    const int32_t size =
        _vsnprintf(object.pBuf + object.nLen, static_cast<size_t>(room), fmt, copy);
    va_end(copy);
    if (size >= 0 && size < room) return size;
    // What didn't fit goes again: the free space is what terminates the text.
    memset(object.pBuf + object.nLen, 0, static_cast<size_t>(room));
    return -1;
}

int32_t measure(const char* fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int32_t size = _vscprintf(fmt, copy);
    va_end(copy);
    return size;
}

}  // namespace

int32_t OXSTR_STROBJ_Init(OXSTR_STROBJ* obj, uint8_t option) {
    if (obj == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    *obj = {};
    if (molte::grow(obj->pBuf, obj->nCapacity, kBlockSize) < 0) return kModule.trace(molte::here());
    obj->bCanGrow = 1;
    obj->bOption = option;
    return 1;
}

int32_t OXSTR_STROBJ_Free(OXSTR_STROBJ* obj) {
    if (obj == nullptr) return 0;
    if (obj->bCanGrow != 0) ORVEX_free(obj->pBuf);
    *obj = {};
    return 0;
}

int32_t OXSTR_STROBJ_EnsureFreeSizeIs(OXSTR_STROBJ* obj, int32_t n) {
    if (obj == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    return ensure(*obj, n);
}

int32_t OXSTR_STROBJ_Append(OXSTR_STROBJ* obj, const void* data, int32_t n) {
    if (obj == nullptr || n < 0 || (data == nullptr && n > 0)) {
        return kModule.fail(molte::here(), molte::kBadArgument);
    }
    if (ensure(*obj, int64_t{n} + 1) < 0) return kModule.trace(molte::here());
    if (n > 0) memcpy(obj->pBuf + obj->nLen, data, static_cast<size_t>(n));
    obj->nLen += n;
    return 1;
}

int32_t OXSTR_STROBJ_vPrintf(OXSTR_STROBJ* obj, const char* fmt, va_list args) {
    if (obj == nullptr || fmt == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    int32_t size = format(*obj, fmt, args);
    if (size < 0) {
        const int64_t needed = measure(fmt, args);
        if (needed < 0)
            return kModule.fail(molte::here(), molte::kNotConverted, molte::SystemError::runtime);
        if (ensure(*obj, needed + kSpare) < 0) return kModule.trace(molte::here());
        size = format(*obj, fmt, args);
        if (size < 0)
            return kModule.fail(molte::here(), molte::kNotConverted, molte::SystemError::runtime);
    }
    obj->nLen += size;
    return size;
}

int32_t OXSTR_STROBJ_Printf(OXSTR_STROBJ* obj, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int32_t size = OXSTR_STROBJ_vPrintf(obj, fmt, args);
    va_end(args);
    return size;
}

int32_t OXSTR_STROBJ_Empty(OXSTR_STROBJ* obj) {
    if (obj == nullptr) return kModule.fail(molte::here(), molte::kBadArgument);
    obj->nLen = 0;
    return 1;
}
