// Names of persons: their parts, all their readings, and the pattern of their Latin runs.
#include "core/owners.h"
#include "moltelib/name_pinyin.h"
#include "text/oxpinyin_readings.h"

using namespace molte::pinyin;
using molte::Character;
using molte::here;
using molte::kBadArgument;

namespace {

int32_t kind_of(char c) {
    const auto byte = static_cast<unsigned char>(c);
    const bool letter = byte < 0x80 ? molte::is_ascii_letter(c) : platform::is_letter(byte);
    return letter ? MOLTE_NAMEPART_LETTERS : MOLTE_NAMEPART_OTHER;
}

// The bytes of the run of one kind at text.
int32_t run_size(const char* text) {
    const int32_t kind = kind_of(*text);
    int32_t size = 1;
    for (;; ++size) {
        const Character c = first_name_character(text + size);
        if (c.size == 0 || is_double(c) || kind_of(text[size]) != kind) return size;
    }
}

// Takes the first part off a name that isn't empty. The text of a run is that of the name. This and
// the writing of a part stand in the loop itself: calling them takes a fifth of a name's time.
[[gnu::always_inline]] inline MOLTE_NAMEPART take_part(char** name) {
    char* const text = *name;
    const Character c = first_name_character(text);
    const int32_t size = is_double(c) ? c.size : run_size(text);
    *name += size;
    if (is_double(c)) return {c.value, MOLTE_NAMEPART_CHINESE, nullptr};
    return {size, kind_of(*text), text};
}

// Text into a caller's buffer; what has no room is cut.
class Output {
 public:
    Output(char* out, int32_t size) : at_(out), end_(out + size - 1) {}
    ~Output() { *at_ = '\0'; }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void add(char c) {
        if (at_ < end_) *at_++ = c;
    }
    void add(const char* text, size_t size) {
        size = std::min(size, static_cast<size_t>(end_ - at_));
        std::memcpy(at_, text, size);
        at_ += size;
    }
    // A blank and the reading.
    void add_reading(const uint8_t* pair) {
        if (end_ - at_ > static_cast<ptrdiff_t>(kReadingRoom)) {
            *at_++ = ' ';
            at_ = write_reading(at_, g_stPinYin.stPY, pair);
            return;
        }
        const Syllable reading(g_stPinYin.stPY, pair);
        add(' ');
        add(reading.text(), reading.size());
    }
    void add_upper(const char* text, int32_t size) {
        for (int32_t i = 0; i < size; ++i) {
            add(static_cast<char>(platform::capital_of(static_cast<unsigned char>(text[i]))));
        }
    }

 private:
    char* at_;
    char* end_;
};

[[gnu::always_inline]] inline int32_t write_readings(int32_t code, Output* out) {
    const MOLTE_HZPY_ONEHZ* character = readings_of(code);
    if (character == nullptr) return kModule.trace(here());
    const int32_t count = readings_in(*character);
    for (int32_t i = 0; i < count; ++i) out->add_reading(character->abyPair[i]);
    if (count > 0) out->add(' ');
    return 1;
}

[[gnu::always_inline]] inline int32_t write_part(const MOLTE_NAMEPART& part, Output* out) {
    if (part.nType == MOLTE_NAMEPART_CHINESE) return write_readings(part.nValue, out);
    if (part.nType != MOLTE_NAMEPART_LETTERS || part.pszText == nullptr) return 1;
    out->add(' ');
    out->add(part.pszText, static_cast<size_t>(part.nValue));
    out->add(' ');
    return 1;
}

bool is_empty(const char* name) {
    return name == nullptr || *name == '\0';
}

// The parts of a name while they are made.
class PartList {
 public:
    PartList() = default;
    ~PartList() {
        MOLTE_NAMEPART_MultiFree(static_cast<MOLTE_NAMEPART*>(array_.pData), array_.nCount);
        PA_Release(&array_);
    }
    PartList(const PartList&) = delete;
    PartList& operator=(const PartList&) = delete;

    [[nodiscard]] int32_t split(const char* name);
    int32_t hand_over(MOLTE_NAMEPART** parts) {
        *parts = static_cast<MOLTE_NAMEPART*>(array_.pData);
        const int32_t count = array_.nCount;
        array_ = {};
        return count;
    }

 private:
    PA array_{};
};

int32_t PartList::split(const char* name) {
    const auto room = static_cast<int32_t>(std::strlen(name)) + 1;
    if (PA_Init(&array_, sizeof(MOLTE_NAMEPART), room) < 0) return kModule.trace(here());
    for (char* rest = const_cast<char*>(name); *rest != '\0';) {
        MOLTE_NAMEPART part = take_part(&rest);
        const int32_t result = part.nType == MOLTE_NAMEPART_CHINESE
                                   ? PA_Append(&array_, &part)
                                   : UTIL_AppendStringPart(&array_, &part);
        if (result < 0) return kModule.trace(here());
    }
    return 1;
}

}  // namespace

int32_t MOLTE_NAMEPART_Free(MOLTE_NAMEPART* pPart) {
    if (pPart == nullptr) return kModule.fail(here(), kBadArgument);
    ORVEX_free(pPart->pszText);
    pPart->pszText = nullptr;
    pPart->nValue = 0;
    return 1;
}

int32_t MOLTE_NAMEPART_MultiFree(MOLTE_NAMEPART* pParts, int32_t n) {
    if (pParts == nullptr && n > 0) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < n; ++i) {
        MOLTE_NAMEPART_Free(pParts + i);
        pParts[i] = {};
    }
    return 1;
}

int32_t UTIL_AppendStringPart(PA* pArray, MOLTE_NAMEPART* pPart) {
    if (pArray == nullptr || pArray->nItemSize != sizeof(MOLTE_NAMEPART) || pPart == nullptr ||
        pPart->pszText == nullptr || pPart->nValue < 0) {
        return kModule.fail(here(), kBadArgument);
    }
    const auto size = static_cast<size_t>(pPart->nValue);
    auto text = molte::allocate<char>(int64_t{pPart->nValue} + 1);
    if (text == nullptr) return kModule.trace(here());
    std::memcpy(text.get(), pPart->pszText, size);
    text[size] = '\0';
    const MOLTE_NAMEPART copy = {pPart->nValue, pPart->nType, text.get()};
    if (PA_Append(pArray, &copy) < 0) return kModule.trace(here());
    static_cast<void>(text.release());
    pPart->nValue = 0;
    pPart->pszText = nullptr;
    return 1;
}

int32_t MOLTE_Name2Part(const char* pszName, MOLTE_NAMEPART** ppParts) {
    if (ppParts == nullptr) return kModule.fail(here(), kBadArgument);
    *ppParts = nullptr;
    if (is_empty(pszName)) return 0;
    PartList parts;
    return parts.split(pszName) < 0 ? -1 : parts.hand_over(ppParts);
}

int32_t MOLTE_NAMEPART2PinYin(const MOLTE_NAMEPART* pParts, int32_t n, char* pszOut,
                              int32_t nOutSize) {
    if ((pParts == nullptr && n > 0) || pszOut == nullptr || nOutSize < 1) {
        return kModule.fail(here(), kBadArgument);
    }
    Output out(pszOut, nOutSize);
    for (int32_t i = 0; i < n; ++i) {
        MOLTE_NAMEPART part = pParts[i];
        if (part.nType != MOLTE_NAMEPART_CHINESE && part.pszText != nullptr) {
            part.nValue = static_cast<int32_t>(std::strlen(part.pszText));
        }
        if (write_part(part, &out) < 0) return -1;
    }
    return 1;
}

// The parts are used as they are found, so that nothing is allocated.
int32_t MOLTE_Name2Pinyin(const char* pszName, char* pszOut, int32_t nOutSize) {
    if (pszOut == nullptr || nOutSize < 1) return kModule.fail(here(), kBadArgument);
    pszOut[0] = '\0';
    if (is_empty(pszName)) return 0;
    Output out(pszOut, nOutSize);
    for (char* rest = const_cast<char*>(pszName); *rest != '\0';) {
        if (write_part(take_part(&rest), &out) < 0) return kModule.trace(here());
    }
    return 1;
}

int32_t MOLTE_Name2Wild(const char* pszName, char* pszOut, int32_t nOutSize) {
    if (is_empty(pszName)) return 0;
    if (pszOut == nullptr || nOutSize < 1) return kModule.fail(here(), kBadArgument);
    Output out(pszOut, nOutSize);
    for (char* rest = const_cast<char*>(pszName); *rest != '\0';) {
        const MOLTE_NAMEPART part = take_part(&rest);
        if (part.nType != MOLTE_NAMEPART_LETTERS) continue;
        out.add("* ", 2);
        out.add_upper(part.pszText, part.nValue);
        out.add(' ');
    }
    out.add('*');
    return 1;
}
