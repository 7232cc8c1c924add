// A mixed text to pinyin, with the characters of several readings left to the caller.
#include "core/owners.h"
#include "moltelib/array.h"
#include "text/oxpinyin_readings.h"

using namespace molte::pinyin;
using molte::Character;
using molte::here;
using molte::kBadArgument;
using molte::SystemError;

namespace {

constexpr size_t kLongestText = 1024;
constexpr size_t kWorkSize = 2048;  // with the terminator
constexpr int32_t kFirstPoly = 16;

int32_t fail_room(int32_t line) {
    return kModule.fail(line, molte::kTooLong, SystemError::none, "buffer length not enough");
}

// Makes a piece of a text of so many bytes.
int32_t copy_text(MOLTE_HZPY_PYSEG* piece, const char* text, size_t size) {
    auto copy = molte::allocate<char>(static_cast<int64_t>(size) + 1);
    if (copy == nullptr) return kModule.trace(here());
    std::memcpy(copy.get(), text, size);
    copy[size] = '\0';
    *piece = {copy.release(), static_cast<int32_t>(size + 1)};
    return 1;
}

// The conversion of one text. What is plain so far collects in the work text; pieces are made only
// when a character has several readings.
class Conversion {
 public:
    explicit Conversion(size_t text_size)
        : first_pieces_(static_cast<int32_t>(text_size / 2) + 1) {}
    ~Conversion();
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    [[nodiscard]] int32_t convert(const char* text);
    [[nodiscard]] int32_t finish(char* out, int32_t out_size) const;
    [[nodiscard]] bool has_choice() const { return poly_.nCount > 0; }
    [[nodiscard]] int32_t store_rest();
    void hand_over(MOLTE_HZPY_PYSEG** pieces, int32_t* piece_count, MOLTE_HZPY_ONEHZSTR** poly,
                   int32_t* poly_count);

 private:
    void add(char c) {
        fits_ = fits_ && size_ < kWorkSize - 1;
        if (fits_) work_[size_++] = c;
    }
    void add_reading_text(const uint8_t* pair);
    int32_t add_double(const char* bytes, const Character& c);
    int32_t add_choice(const char* bytes, int32_t size, const MOLTE_HZPY_ONEHZ& readings);
    int32_t store_piece(const char* text, size_t size);
    int32_t store_work();

    char work_[kWorkSize];
    size_t size_ = 0;
    bool fits_ = true;
    bool after_chinese_ = false;
    int32_t first_pieces_;
    PA pieces_{};
    PA poly_{};
};

Conversion::~Conversion() {
    if (pieces_.nItemSize == 0) return;
    MOLTE_HZPY_PYSEG_Free(static_cast<MOLTE_HZPY_PYSEG*>(pieces_.pData), pieces_.nCount);
    PA_Release(&pieces_);
    PA_Release(&poly_);
}

void Conversion::add_reading_text(const uint8_t* pair) {
    if (kWorkSize - size_ > kReadingRoom) {
        size_ = static_cast<size_t>(write_reading(work_ + size_, g_stPinYin.stPY, pair) - work_);
        return;
    }
    const Syllable reading(g_stPinYin.stPY, pair);
    for (size_t i = 0; i < reading.size(); ++i) add(reading.text()[i]);
}

int32_t Conversion::store_piece(const char* text, size_t size) {
    if (pieces_.nItemSize == 0 && PA_Init(&pieces_, sizeof(MOLTE_HZPY_PYSEG), first_pieces_) < 0) {
        return kModule.trace(here());
    }
    MOLTE_HZPY_PYSEG piece;
    if (copy_text(&piece, text, size) < 0) return -1;
    if (PA_Append(&pieces_, &piece) >= 0) return 1;
    MOLTE_HZPY_PYSEG_Free(&piece, 1);
    return kModule.trace(here());
}

int32_t Conversion::store_work() {
    const size_t size = size_;
    size_ = 0;
    return store_piece(work_, size);
}

int32_t Conversion::store_rest() {
    return size_ > 0 ? store_work() : 1;
}

int32_t Conversion::add_choice(const char* bytes, int32_t size, const MOLTE_HZPY_ONEHZ& readings) {
    if (size_ > 0) {
        if (pieces_.nCount > 0) add(' ');
        if (store_work() < 0) return -1;
    }
    if (store_piece(bytes, static_cast<size_t>(size)) < 0) return -1;
    if (poly_.nItemSize == 0 && PA_Init(&poly_, sizeof(MOLTE_HZPY_ONEHZSTR), kFirstPoly) < 0) {
        return kModule.trace(here());
    }
    MOLTE_HZPY_ONEHZSTR choice;
    MOLTE_HZPY_ONEHZ2Str(&readings, &choice);
    choice.nSegIndex = pieces_.nCount - 1;
    return PA_Append(&poly_, &choice) < 0 ? kModule.trace(here()) : 1;
}

int32_t Conversion::add_double(const char* bytes, const Character& c) {
    const MOLTE_HZPY_ONEHZ* readings = readings_of(c.value);
    if (readings == nullptr) return kModule.trace(here());
    after_chinese_ = true;
    if (readings->nCount > 1) return add_choice(bytes, c.size, *readings);
    if (readings->nCount == 0) {
        add(' ');  // also at the head of the text: meant
        for (int32_t i = 0; i < c.size; ++i) add(bytes[i]);
        return 1;
    }
    if (size_ > 0 || pieces_.nCount > 0) add(' ');
    add_reading_text(readings->abyPair[0]);
    return 1;
}

int32_t Conversion::convert(const char* text) {
    for (Character c = first_name_character(text); c.size > 0;
         c = first_name_character(text += c.size)) {
        if (is_double(c)) {
            if (add_double(text, c) < 0) return -1;
        } else {
            if (after_chinese_) add(' ');
            add(*text);
            after_chinese_ = false;
        }
        if (!fits_) return fail_room(here());
    }
    return 1;
}

int32_t Conversion::finish(char* out, int32_t out_size) const {
    if (size_ >= static_cast<size_t>(out_size)) return fail_room(here());
    std::memcpy(out, work_, size_);
    out[size_] = '\0';
    return 1;
}

void Conversion::hand_over(MOLTE_HZPY_PYSEG** pieces, int32_t* piece_count,
                           MOLTE_HZPY_ONEHZSTR** poly, int32_t* poly_count) {
    *pieces = static_cast<MOLTE_HZPY_PYSEG*>(pieces_.pData);
    *piece_count = pieces_.nCount;
    *poly = static_cast<MOLTE_HZPY_ONEHZSTR*>(poly_.pData);
    *poly_count = poly_.nCount;
    pieces_ = {};
    poly_ = {};
}

}  // namespace

int32_t MOLTE_HZPY_PYSEG_SetStr(MOLTE_HZPY_PYSEG* pSeg, const char* pszText) {
    if (pSeg == nullptr) return kModule.fail(here(), kBadArgument);
    const char* text = pszText != nullptr ? pszText : "";
    return copy_text(pSeg, text, std::strlen(text));
}

int32_t MOLTE_HZPY_PYSEG_Free(MOLTE_HZPY_PYSEG* pSegs, int32_t n) {
    if (pSegs == nullptr && n > 0) return kModule.fail(here(), kBadArgument);
    for (int32_t i = 0; i < n; ++i) {
        ORVEX_free(pSegs[i].pszText);
        pSegs[i] = {};
    }
    return 1;
}

int32_t MOLTE_HZPY_Str2Py(const char* pszText, char* pszOut, int32_t nOutSize,
                          MOLTE_HZPY_PYSEG** ppSegs, int32_t* pnSegs, MOLTE_HZPY_ONEHZSTR** ppPoly,
                          int32_t* pnPoly) {
    if (pszText == nullptr || pszOut == nullptr || nOutSize < 1 || ppSegs == nullptr ||
        pnSegs == nullptr || ppPoly == nullptr || pnPoly == nullptr) {
        return kModule.fail(here(), kBadCall);
    }
    *ppSegs = nullptr;
    *ppPoly = nullptr;
    *pnSegs = *pnPoly = 0;
    const size_t size = std::strlen(pszText);
    if (size == 0) return 0;
    if (size > kLongestText) {
        return kModule.fail(here(), kTextTooLong, SystemError::none, "max=%d cur=%d",
                            static_cast<int>(kLongestText), static_cast<int>(size));
    }
    Conversion conversion(size);
    if (conversion.convert(pszText) < 0) return -1;
    if (!conversion.has_choice()) return conversion.finish(pszOut, nOutSize);
    if (conversion.store_rest() < 0) return -1;
    conversion.hand_over(ppSegs, pnSegs, ppPoly, pnPoly);
    return 0;
}
