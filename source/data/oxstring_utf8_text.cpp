#include "moltelib/utf8_text.h"

#include <algorithm>
#include <cerrno>

#include "core/modules.h"
#include "core/owners.h"
#include "data/oxstring.h"
#include "platform/code_page.h"

namespace {

constexpr auto kModule = molte::kOxstring;
using molte::here;
using molte::SystemError;

// Of UTF-8: by the bytes of a character the mark of the first, and the least that needs so many.
struct Form {
    unsigned mask;
    unsigned mark;
    char32_t least;
};
constexpr Form kForms[] = {
    {0x80, 0, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};
constexpr int kLongest = 4;
constexpr char32_t kLast = 0x10FFFF;

bool is_surrogate(char32_t character) {
    return character >= 0xD800 && character <= 0xDFFF;
}

// The character at text, which is terminated; its bytes, or -1.
int decode_utf8(char32_t& character, const char* text) {
    const auto first = static_cast<unsigned char>(*text);
    int length = 0;
    while (length < kLongest && (first & kForms[length].mask) != kForms[length].mark) ++length;
    if (length == kLongest) return -1;
    const Form& form = kForms[length++];
    character = first & ~form.mask;
    for (int i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) return -1;
        character = character << 6 | (next & 0x3F);
    }
    const bool sound = character >= form.least && character <= kLast && !is_surrogate(character);
    return sound ? length : -1;
}

int encode_utf8(char* bytes, char32_t character) {
    if (character > kLast || is_surrogate(character)) return -1;
    int length = kLongest;
    while (character < kForms[length - 1].least) --length;
    for (int i = length - 1; i > 0; --i) {
        bytes[i] = static_cast<char>(0x80 | (character & 0x3F));
        character >>= 6;
    }
    bytes[0] = static_cast<char>(kForms[length - 1].mark | character);
    return length;
}

// One side of a conversion.
class Side {
 public:
    static constexpr platform::FixedPage kUtf8{MOLTELIB_PAGE_UTF8, nullptr};

    explicit Side(const platform::FixedPage& page) : page_(page) {}
    [[nodiscard]] unsigned number() const { return page_.number; }

    int decode(char32_t& character, const char* text) const {
        return is_utf8() ? decode_utf8(character, text)
                         : platform::decode(page_, character, text, kLongest);
    }
    int encode(char* bytes, char32_t character) const {
        return is_utf8() ? encode_utf8(bytes, character)
                         : platform::encode(page_, bytes, character);
    }

 private:
    [[nodiscard]] bool is_utf8() const { return page_.number == kUtf8.number; }
    platform::FixedPage page_;
};

// The bytes of the converted text without its terminator, which are written unless out is null; -1
// with an error.
int64_t convert(const char* text, const Side& from, const Side& to, char* out) {
    int64_t size = 0;
    for (const char* at = text; *at != '\0';) {
        char bytes[kLongest];
        char32_t character = 0;
        const int length = from.decode(character, at);
        if (length < 1) {
            errno = EILSEQ;
            return kModule.fail(here(), molte::kNotConverted, SystemError::runtime,
                                "no text of code page %u at byte %lld", from.number(),
                                static_cast<long long>(at - text));
        }
        const int written = to.encode(bytes, character);
        if (written < 1) {
            errno = EILSEQ;
            return kModule.fail(here(), molte::kNotConverted, SystemError::runtime,
                                "code page %u lacks U+%04X of byte %lld", to.number(),
                                static_cast<unsigned>(character),
                                static_cast<long long>(at - text));
        }
        if (out != nullptr) std::copy_n(bytes, written, out + size);
        size += written;
        at += length;
    }
    return size;
}

char* converted(const char* text, const Side& from, const Side& to) {
    const int64_t size = convert(text, from, to, nullptr);
    if (size < 0) return nullptr;
    auto copy = molte::allocate<char>(size + 1);
    if (copy == nullptr) {
        kModule.trace(here());
        return nullptr;
    }
    convert(text, from, to, copy.get());
    copy[static_cast<size_t>(size)] = '\0';
    return copy.release();
}

bool known_page(uint32_t number, platform::FixedPage& page) {
    page = Side::kUtf8;
    if (number == page.number || platform::find_page(number, page)) return true;
    kModule.fail(here(), molte::kNoLocale, SystemError::runtime, "code page %u", number);
    return false;
}

}  // namespace

char* MOLTELIB_CodePageFromUtf8(const char* szUtf8, uint32_t nCodePage) {
    platform::FixedPage page;
    if (szUtf8 == nullptr || !known_page(nCodePage, page)) return nullptr;
    return converted(szUtf8, Side(Side::kUtf8), Side(page));
}

char* MOLTELIB_Utf8FromCodePage(const char* szText, uint32_t nCodePage) {
    platform::FixedPage page;
    if (szText == nullptr || !known_page(nCodePage, page)) return nullptr;
    return converted(szText, Side(page), Side(Side::kUtf8));
}
