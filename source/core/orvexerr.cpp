// The error record: storing a failure and its history; tables of error texts.
#include "moltelib/error.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/modules.h"
#include "core/orvexerr_identity.h"
#include "core/source_name.h"
#include "moltelib/byte_field.h"
#include "moltelib/date_time.h"
#include "moltelib/thread_data.h"
#include "platform/last_error.h"

namespace {

using molte::base_name;

constexpr auto kModule = molte::kOrvexerr;
using molte::kBadArgument;
constexpr uint32_t kFirstSocketError = 71;
constexpr uint32_t kLastSocketError = 83;
constexpr uint8_t kPlatformText = 2;  // bit of the option: the number is the platform's
constexpr size_t kMessageSize = 1024;

// History without a failure in front of it.
constexpr uint32_t kNoErrorNumber = 103;
constexpr uint16_t kNoErrorLine = 142;

constexpr int32_t kDataSize = ORVEX_ERRDATA_DATA1_SIZE + ORVEX_ERRDATA_DATA2_SIZE;

// For all threads that have no block, for want of memory. Unguarded: better than no report.
ORVEX_ERRDATA fallback;

template <size_t size>
void put_text(char (&field)[size], std::string_view text, size_t most) {
    std::memcpy(field, text.data(), std::min(text.size(), most));
}

using SystemMessage = char[sizeof ORVEX_ERRDATA::szSysErr];

void put_message(SystemMessage& field, const char* text) {
    std::memset(field, 0, sizeof field);
    std::memcpy(field, text, strnlen(text, sizeof field - 1));
}

// The system's message of a number. The last one is kept, for failures come in runs.
class LastMessage {
 public:
    const SystemMessage& of(uint32_t number, bool platform) {
        if (!known_ || number != number_ || platform != platform_) load(number, platform);
        return message_;
    }

 private:
    void load(uint32_t number, bool platform) {
        char text[kMessageSize] = "";
        const char* found = text;
        if (platform) {
            // A message with inserts stays as it is: there are no arguments to put in.
            FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                           number, 0, text, sizeof text, nullptr);
        } else {
            found = std::strerror(static_cast<int>(number));
        }
        put_message(message_, found != nullptr ? found : "");
        number_ = number;
        platform_ = platform;
        known_ = true;
    }

    bool known_;
    bool platform_;
    uint32_t number_;
    SystemMessage message_;
};

thread_local constinit LastMessage last_message{};

void put_data(ORVEX_ERRDATA& record, const void* data, int32_t length) {
    const auto first = static_cast<size_t>(std::min(length, ORVEX_ERRDATA_DATA1_SIZE));
    const auto second = static_cast<size_t>(std::min(length, kDataSize)) - first;
    std::memmove(record.abyData1, data, first);
    std::memmove(record.abyData2, static_cast<const uint8_t*>(data) + first, second);
}

bool by_number(const ErrStringStruct& a, const ErrStringStruct& b) {
    return a.nErrNo < b.nErrNo;
}

// An empty table needs no pointer.
bool is_table(const ErrStringStruct* table, int32_t count) {
    return count == 0 || (table != nullptr && count > 0);
}

}  // namespace

// ---- The error record ----

ORVEX_ERRDATA* ORVEX_GetErrData(void) {
    MOLTE_THDATA* const block = MOLTE_THDATA_GetData();
    return block != nullptr ? &block->stErr : &fallback;
}

int32_t ORVEX_Err_Set(uint32_t nErrNo, uint32_t nSysErrNo, const char* szFile, int32_t nLine,
                      uint8_t nDataLen, const void* pData, uint8_t nOption) {
    // Read before anything here can change them.
    const auto socket_error = static_cast<uint32_t>(WSAGetLastError());
    const uint32_t platform_error = GetLastError();

    ORVEX_ERRDATA& record = *ORVEX_GetErrData();
    record = {};
    uint4ToChar4(sizeof record, record.nRecSize);
    uint4ToChar4(nErrNo, record.nErrNo);
    uint4ToChar4(nSysErrNo, record.nSysErrNo);
    uint2ToChar2(static_cast<uint16_t>(nLine), record.nLine);
    put_text(record.szFile, base_name(szFile), sizeof record.szFile);
    FormatCurrentDateTime(&record.stTime);
    molte::stamp_host_name(record.szHostName);
    molte::stamp_environment(record.szEnv);
    record.nDataLen = std::min<uint8_t>(nDataLen, kDataSize);
    if (nOption != 0) {
        const bool on_socket = nErrNo >= kFirstSocketError && nErrNo <= kLastSocketError;
        record.bHasSysErr = 1;
        uint4ToChar4(on_socket ? socket_error : platform_error, record.nWinErrNo);
        const bool platform = (nOption & kPlatformText) != 0;
        std::memcpy(record.szSysErr, last_message.of(nSysErrNo, platform), sizeof record.szSysErr);
    }
    if (pData != nullptr) put_data(record, pData, record.nDataLen);
    return 0;
}

int32_t ORVEX_Err_AddNL(int32_t nLine, const char* szFile) {
    ORVEX_ERRDATA& record = *ORVEX_GetErrData();
    if (Char4To_uint4(record.nErrNo) == 0) {
        record = {};
        uint4ToChar4(kNoErrorNumber, record.nErrNo);
        uint2ToChar2(kNoErrorLine, record.nLine);
    }
    if (record.nHistCount >= ORVEX_ERRDATA_HISTORY_MAX) return 0;
    ORVEX_ERRHIST& entry = record.astHist[record.nHistCount++];
    entry = {};
    uint2ToChar2(static_cast<uint16_t>(nLine), entry.nLine);
    put_text(entry.szFile, base_name(szFile), sizeof entry.szFile - 1);
    return 0;
}

int32_t ORVEX_SetErrData(const ORVEX_ERRDATA* pSrc) {
    if (pSrc == nullptr) return kModule.fail(molte::here(), kBadArgument);
    std::memmove(ORVEX_GetErrData(), pSrc, sizeof *pSrc);
    return 1;
}

int32_t ORVEX_CopyErrData(ORVEX_ERRDATA* pDst) {
    if (pDst == nullptr) return kModule.fail(molte::here(), kBadArgument);
    std::memmove(pDst, ORVEX_GetErrData(), sizeof *pDst);
    return 1;
}

int32_t ORVEX_Err_ClearError(void) {
    *ORVEX_GetErrData() = {};
    return 1;
}

uint32_t GetRvexErrNo(void) {
    return Char4To_uint4(ORVEX_GetErrData()->nErrNo);
}

int32_t GetRvexSubErrNo(void) {
    return static_cast<int16_t>(Char2To_uint2(ORVEX_GetErrData()->nSubErrNo));
}

int32_t ORVEX_Err_SetSubErrno(int32_t nSubErrNo) {
    uint2ToChar2(static_cast<uint16_t>(nSubErrNo), ORVEX_GetErrData()->nSubErrNo);
    return 1;
}

int32_t ORVEX_Err_SetSysErrStr(uint32_t nSysErrNo, const char* szText) {
    ORVEX_ERRDATA& record = *ORVEX_GetErrData();
    uint4ToChar4(nSysErrNo, record.nSysErrNo);
    if (szText != nullptr) put_message(record.szSysErr, szText);
    return 1;
}

int32_t ORVEX_Err_DataBufLen(void) {
    return kDataSize;
}

int32_t ORVEX_Err_SetErrData(ORVEX_ERRDATA* pRec, const void* pData, int32_t nLen) {
    if (pRec == nullptr || pData == nullptr || nLen < 0) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    put_data(*pRec, pData, nLen);
    return 1;
}

int32_t ORVEX_Err_GetErrData(ORVEX_ERRDATA* pRec, void* pBuf, int32_t) {
    if (pRec == nullptr || pBuf == nullptr) return kModule.fail(molte::here(), kBadArgument);
    pRec->nDataLen = std::min<uint8_t>(pRec->nDataLen, kDataSize);
    const size_t first = std::min<size_t>(pRec->nDataLen, ORVEX_ERRDATA_DATA1_SIZE);
    std::memcpy(pBuf, pRec->abyData1, first);
    std::memcpy(static_cast<uint8_t*>(pBuf) + first, pRec->abyData2, pRec->nDataLen - first);
    return pRec->nDataLen;
}

// ---- Tables of error texts, and the checks that their owners run ----

int32_t ErrStringStruct_Cmp(const void* pA, const void* pB) {
    ErrStringStruct a;
    ErrStringStruct b;
    std::memcpy(&a, pA, sizeof a);
    std::memcpy(&b, pB, sizeof b);
    return static_cast<int32_t>(a.nErrNo - b.nErrNo);
}

int32_t ErrStringStruct_Sort(ErrStringStruct* pTable, int32_t nCount) {
    if (!is_table(pTable, nCount)) return kModule.fail(molte::here(), kBadArgument);
    if (nCount == 0) return 0;
    std::sort(pTable, pTable + nCount, by_number);
    return 1;
}

int32_t ORVEX_UTIL_CheckDupErrNo(ErrStringStruct* pTable, int32_t nCount) {
    if (ErrStringStruct_Sort(pTable, nCount) < 0) return kModule.trace(molte::here());
    int32_t found = 0;
    for (int32_t i = 1; i < nCount; ++i) {
        if (pTable[i].nErrNo != pTable[i - 1].nErrNo) continue;
        std::printf("duplicate error. %d\n", static_cast<int32_t>(pTable[i].nErrNo));
        found = 1;
    }
    return found;
}

int32_t ORVEX_UTIL_CheckExistErr(const ErrStringStruct* pA, int32_t nCount,
                                 const ErrStringStruct* pTable, int32_t nTableCount,
                                 const char* szLabel) {
    if (!is_table(pA, nCount) || !is_table(pTable, nTableCount)) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    for (int32_t i = 0; i < nCount; ++i) {
        if (std::binary_search(pTable, pTable + nTableCount, pA[i], by_number)) continue;
        std::printf("%s error %d not found\n", szLabel != nullptr ? szLabel : "",
                    static_cast<int32_t>(pA[i].nErrNo));
    }
    return 0;
}

int32_t ORVEX_Err_CheckDupErrNo(void) {
    return 0;
}

int32_t ORVEX_StrCopy(char* szDst, const char* szSrc, int32_t* pnPos, int32_t nSize) {
    if (szDst == nullptr || szSrc == nullptr || pnPos == nullptr || *pnPos < 0 || nSize < 1) {
        return kModule.fail(molte::here(), kBadArgument);
    }
    if (*pnPos >= nSize - 1) return nSize - 1;
    const size_t length = strnlen(szSrc, static_cast<size_t>(nSize - 1 - *pnPos));
    std::memcpy(szDst + *pnPos, szSrc, length);
    *pnPos += static_cast<int32_t>(length);
    szDst[*pnPos] = '\0';
    return *pnPos;
}
