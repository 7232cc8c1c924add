// The built-in hooks: text file, standard output, line buffer, the two error logs.
#include <cstdio>

#include "core/otxthook.h"
#include "moltelib/array.h"
#include "moltelib/binary_error_log.h"
#include "moltelib/error_log.h"
#include "moltelib/memory.h"
#include "platform/files.h"

using molte::SystemError;
using namespace molte::hooks;

namespace {

using molte::kNotOpened;

struct TextFile {
    FILE* fp;
    int32_t bDisabled;
};
static_assert(sizeof(TextFile) == 16);

int32_t out_file(uint32_t /*mask*/, void* data, int32_t /*size*/, const char* text,
                 int32_t /*length*/) {
    const auto* file = static_cast<TextFile*>(data);
    return file->bDisabled == 0 ? std::fputs(text, file->fp) : 0;
}

int32_t close_file(void* data, int32_t size) {
    if (size != sizeof(TextFile)) return 0;
    if (state().pTxtLog == data) state().pTxtLog = nullptr;
    std::fclose(static_cast<TextFile*>(data)->fp);  // flushes
    ORVEX_free(data);
    return 1;
}

int32_t out_stdout(uint32_t /*mask*/, void* /*data*/, int32_t /*size*/, const char* text,
                   int32_t /*length*/) {
    std::fputs(text, stdout);
    return std::fflush(stdout);
}

int32_t out_line_buffer(uint32_t /*mask*/, void* data, int32_t /*size*/, const char* text,
                        int32_t length) {
    return OLINEBUF_AddLine(static_cast<OLINEBUF*>(data), text, length);
}

// A buffer that goes away must not stay on the library's list.
int32_t close_line_buffer(void* data, int32_t size) {
    if (size != sizeof(OLINEBUF)) return 0;
    const int32_t index = PA_Lookup(&g_stBv.stLineBufList, &data);
    if (index >= 0) PA_DelAt(&g_stBv.stLineBufList, index);
    OLINEBUF_Release(static_cast<OLINEBUF*>(data));
    ORVEX_free(data);
    return 1;
}

int32_t out_binary_log(uint32_t /*mask*/, void* /*data*/, int32_t /*size*/, const char* text,
                       int32_t length) {
    return MOLTE_BERRLOG_AddLog(text, length);
}

int32_t out_text_log(uint32_t /*mask*/, void* /*data*/, int32_t /*size*/, const char* text,
                     int32_t /*length*/) {
    return g_stBv.bErrLogEnabled != 0 ? ORVEX_ERRLOG_LogEx(0, "%s\n", text) : 0;
}

int32_t install_plain(OTXTHOOK_OUTTEXT out_text, uint32_t mask, int32_t id, int32_t line) {
    if (OTXTHOOK_InstallHook(out_text, nullptr, nullptr, 0, mask, id) > 0) return 1;
    return kModule.trace(line);
}

bool names_destination(uint32_t mask, int32_t line, const char* refusal) {
    if ((mask & OXMSG_DESTINATION_MASK) != 0) return true;
    kModule.fail_text(line, kZeroMask, SystemError::none, refusal);
    return false;
}

}  // namespace

void* OTXTHOOK_TXTFILE_InstallHook(const char* pszPath, uint32_t nMask, int32_t nId) {
    if (!names_destination(nMask, 359, "mask can not be 0, may be 2file")) return nullptr;
    auto data = molte::allocate<TextFile>(1);
    if (data == nullptr) {
        kModule.trace(362);
        return nullptr;
    }
    const char* path = pszPath != nullptr ? pszPath : "";
    data[0] = {platform::open_stream(path, "a+t"), 0};
    if (data[0].fp == nullptr) {
        kModule.fail_text(364, kNotOpened, SystemError::runtime, path);
        return nullptr;
    }
    if (OTXTHOOK_InstallHook(out_file, close_file, data.get(), sizeof(TextFile), nMask, nId) < 0) {
        kModule.trace(368);
        std::fclose(data[0].fp);
        return nullptr;
    }
    return data.release();
}

int32_t OTXTHOOK_STDOUT_InstallHook(uint32_t nMask, int32_t nId) {
    return install_plain(out_stdout, nMask | OXMSG_TO_STDOUT, nId, 399);
}

OLINEBUF* OTXTHOOK_MEMTXT_InstallHook(const char* pszName, int32_t nSize, uint32_t nMask,
                                      int32_t nId) {
    if (!names_destination(nMask, 438, "mask can not be 0, may be outmsg or innermsg")) {
        return nullptr;
    }
    auto buffer = molte::allocate<OLINEBUF>(1);
    if (buffer == nullptr) {
        kModule.trace(442);
        return nullptr;
    }
    if (OLINEBUF_Init(buffer.get(), pszName, nSize) < 0) {
        kModule.trace(443);
        return nullptr;
    }
    if (OTXTHOOK_InstallHook(out_line_buffer, close_line_buffer, buffer.get(), sizeof(OLINEBUF),
                             nMask, nId) < 0) {
        kModule.trace(446);
        OLINEBUF_Release(buffer.get());
        return nullptr;
    }
    return buffer.release();
}

int32_t OTXTHOOK_BERRLOG_InstallHook(uint32_t nMask, int32_t nId) {
    return install_plain(out_binary_log, nMask | OXMSG_TO_BINARY_LOG, nId, 468);
}

int32_t OTXTHOOK_TERRLOG_InstallHook(uint32_t nMask, int32_t nId) {
    return install_plain(out_text_log, nMask | OXMSG_TO_TEXT_LOG, nId, 483);
}

int32_t MOLTE_TXTLOG_AddLog(const char* pszPath, uint32_t nMask, int32_t nId) {
    const molte::CritGuard guard(list_lock());
    if (state().pTxtLog != nullptr) {
        return kModule.fail(622, kExists, SystemError::none, "allready exists");
    }
    void* data = OTXTHOOK_TXTFILE_InstallHook(pszPath, nMask, nId);
    if (data == nullptr) return kModule.trace(626);
    state().pTxtLog = data;
    return 1;
}

int32_t MOLTE_TXTLOG_DisableLog(int32_t bFlag) {
    const molte::CritGuard guard(list_lock());
    if (state().pTxtLog == nullptr) return 0;
    static_cast<TextFile*>(state().pTxtLog)->bDisabled = bFlag;
    return bFlag;
}
