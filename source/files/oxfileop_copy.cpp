// Copies of whole files.
#include <algorithm>

#include "core/owners.h"
#include "files/file_calls.h"
#include "files/file_open.h"
#include "moltelib/whole_file.h"

using namespace molte::file;
using molte::here;
using molte::SystemError;

namespace {

constexpr uint32_t kNotCopied = 12;

int32_t copy_bytes(int32_t source, int32_t target, int64_t length, void* buffer, int32_t size) {
    for (int64_t left = length; left > 0;) {
        const auto chunk = static_cast<int32_t>(std::min<int64_t>(left, size));
        if (!read_whole(source, buffer, chunk)) return fail_read(here(), source, buffer, chunk);
        if (!write_whole(target, buffer, chunk)) return fail_write(here(), target, buffer, chunk);
        left -= chunk;
    }
    return 1;
}

}  // namespace

int32_t ORVEX_FileCopy(const char* pszSource, const char* pszTarget, int32_t bFailIfExists) {
    if (CopyFileA(pszSource, pszTarget, bFailIfExists != 0 ? TRUE : FALSE) != 0) return 1;
    return fail_name(here(), kNotCopied, SystemError::runtime, pszSource);
}

int32_t ORVEX_FileCopyWithBuf(const char* pszSource, const char* pszTarget, int32_t /*nUnused*/,
                              void* pBuf, int32_t nBufSize) {
    if (pBuf == nullptr || nBufSize < 1) return kModule.fail(here(), kBadArgument);
    const molte::Descriptor source(open_by_chmod(pszSource, ORVEX_OPEN_READ));
    if (!source.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, pszSource);
    OXSTAT64 state;
    if (status(source.get(), &state) != 0) {
        return fail_name(here(), kNoState, SystemError::runtime, pszSource);
    }
    if (platform::is_file(source.get(), pszTarget)) {  // emptying the one would empty the other
        return fail_name(here(), kNotCopied, SystemError::none, pszTarget);
    }
    add_owner_mode(pszTarget);
    molte::Descriptor target(open(pszTarget, ORVEX_OPEN_ANEW, state.st_mode));
    if (!target.valid()) return fail_name(here(), kNotOpened, SystemError::runtime, pszTarget);
    if (state.st_size == 0) return 1;  // with the time of now
    if (copy_bytes(source.get(), target.get(), state.st_size, pBuf, nBufSize) < 0) return -1;
    target.close();
    ORVEX_FileChangeModAccessTime(pszTarget, state.st_atime, state.st_mtime);
    return 1;
}
