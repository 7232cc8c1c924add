#include "platform/code_page.h"

#include <iconv.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <mutex>

#include "platform/text.h"

namespace {

constexpr unsigned kFirstLead = platform::kFirstLeadByte;
constexpr unsigned kLastLead = 0xFE;
constexpr unsigned kFirstTrail = 0x40;
constexpr unsigned kLastTrail = 0xFE;
constexpr unsigned kNoTrail = 0x7F;

// A character's code is its byte, or lead byte * 256 + trail byte. Entry 0 means "no character",
// except at index 0.
struct CodePage {
    uint16_t wide_of[0x10000];
    uint16_t code_of[0x10000];

    void pair(unsigned code, unsigned wide) {
        wide_of[code] = static_cast<uint16_t>(wide);
        code_of[wide] = static_cast<uint16_t>(code);
    }
};

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr const char* kUtf16 = "UTF-16LE";
#else
constexpr const char* kUtf16 = "UTF-16BE";
#endif

// A code page of the C library.
class Converter {
 public:
    explicit Converter(const char* name) : handle_(iconv_open(kUtf16, name)) {}
    ~Converter() {
        if (valid()) iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    [[nodiscard]] bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    // 0 when the library has no character of this code.
    [[nodiscard]] unsigned decode(unsigned code) const {
        char bytes[2] = {static_cast<char>(code >> 8), static_cast<char>(code)};
        char* from = code > 0xFF ? bytes : bytes + 1;
        size_t from_left = code > 0xFF ? 2 : 1;
        uint16_t wide[2] = {};
        char* to = reinterpret_cast<char*>(wide);
        size_t to_left = sizeof wide;
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        const size_t failed = iconv(handle_, &from, &from_left, &to, &to_left);
        return failed == 0 && to_left == sizeof wide[1] ? wide[0] : 0;
    }

 private:
    iconv_t handle_;
};

bool fill_plain(CodePage& page) {
    for (unsigned byte = 0; byte <= 0xFF; ++byte) page.pair(byte, byte);
    return true;
}

template <typename Visit>
void for_each_double_byte(Visit visit) {
    for (unsigned lead = kFirstLead; lead <= kLastLead; ++lead) {
        for (unsigned trail = kFirstTrail; trail <= kLastTrail; ++trail) {
            if (trail != kNoTrail) visit(lead, trail, lead << 8 | trail);
        }
    }
}

// Code page 936 is GBK, with the euro as one byte, and with a private character for each code that
// GBK leaves out: three areas for the users' own, then all others in the order of their codes.
bool fill_936(CodePage& page) {
    const Converter library("GBK");
    if (!library.valid()) return false;
    for (unsigned byte = 0; byte < 0x80; ++byte) page.pair(byte, byte);
    page.pair(0x80, 0x20AC);
    unsigned next_of[] = {0xE000, 0xE234, 0xE4C6, 0xE766};
    for_each_double_byte([&](unsigned lead, unsigned trail, unsigned code) {
        unsigned wide = library.decode(code);
        if (wide == 0) {
            const bool low = trail <= 0xA0;
            const int area = !low && lead >= 0xAA && lead <= 0xAF  ? 0
                             : !low && lead >= 0xF8                ? 1
                             : low && lead >= 0xA1 && lead <= 0xA7 ? 2
                                                                   : 3;
            wide = next_of[area]++;
        }
        page.pair(code, wide);
    });
    return true;
}

// The five bytes that stand for no character are kept as controls.
bool fill_1252(CodePage& page) {
    const Converter library("CP1252");
    if (!library.valid()) return false;
    for (unsigned byte = 0; byte <= 0xFF; ++byte) {
        const unsigned wide = library.decode(byte);
        page.pair(byte, wide != 0 ? wide : byte);
    }
    return true;
}

// The tables of a code page, made on first use; null with errno when the C library lacks it or has
// no memory, and then the next use tries again.
template <bool (*fill)(CodePage&)>
const CodePage* page_of() {
    static CodePage page;
    static constinit std::atomic<bool> made{false};
    static constinit std::mutex making;
    if (made.load(std::memory_order_acquire)) return &page;
    const std::lock_guard guard(making);
    if (!made.load(std::memory_order_relaxed)) made.store(fill(page), std::memory_order_release);
    return made ? &page : nullptr;
}

struct Locale {
    const char* name;
    unsigned number;
    bool double_byte;
    const CodePage* (*page)();
};

constexpr Locale kLocales[] = {
    {"C", platform::kBytePage, false, page_of<fill_plain>},
    {"chs", 936, true, page_of<fill_936>},
    {"us", 1252, false, page_of<fill_1252>},
    {"esp", 1252, false, page_of<fill_1252>},
};

std::atomic<const Locale*> current{&kLocales[0]};

bool is_latin() {
    return current.load()->page == page_of<fill_1252>;
}

int bad_character() {
    errno = EILSEQ;
    return -1;
}

template <typename Character>
int decode_by(const Locale& locale, Character* wide, const char* text, std::size_t limit) {
    if (text == nullptr || limit == 0) return 0;
    const auto lead = static_cast<unsigned char>(text[0]);
    const bool two = locale.double_byte && lead >= kFirstLead && lead <= kLastLead;
    if (two && (limit < 2 || text[1] == 0)) return bad_character();
    const unsigned code = two ? lead * 256U + static_cast<unsigned char>(text[1]) : lead;
    const unsigned character = locale.page()->wide_of[code];
    if (character == 0 && code != 0) return bad_character();
    if (wide != nullptr) *wide = static_cast<Character>(character);
    if (code == 0) return 0;
    return two ? 2 : 1;
}

int encode_by(const Locale& locale, char* bytes, char32_t character) {
    const unsigned code = character <= 0xFFFF ? locale.page()->code_of[character] : 0;
    if (code == 0 && character != 0) return bad_character();
    const bool two = code > 0xFF;
    if (two) *bytes++ = static_cast<char>(code >> 8);
    *bytes = static_cast<char>(code);
    return two ? 2 : 1;
}

const Locale& locale_of(const platform::FixedPage& page) {
    return *static_cast<const Locale*>(page.tables);
}

}  // namespace

int isleadbyte(int c) {
    return platform::is_lead_byte(static_cast<unsigned char>(c)) ? 0x8000 : 0;
}

namespace platform {

std::atomic<unsigned> lead_byte_count{0};

const char* set_locale(const char* name) {
    if (name == nullptr) return current.load()->name;
    for (const Locale& locale : kLocales) {
        if (strcmp(locale.name, name) != 0) continue;
        if (locale.page() == nullptr) return nullptr;
        current = &locale;
        lead_byte_count = locale.double_byte ? kLastLead - kFirstLead + 1 : 0;
        return locale.name;
    }
    errno = EINVAL;
    return nullptr;
}

bool has_code_page() {
    return current.load() != &kLocales[0];
}

bool is_letter(unsigned char byte) {
    if (byte < 0x80) return to_upper(byte) >= 'A' && to_upper(byte) <= 'Z';
    if (!is_latin()) return false;
    if (byte >= 0xC0) return byte != 0xD7 && byte != 0xF7;
    return strchr("\x83\x88\x8A\x8C\x8E\x9A\x9C\x9E\x9F\xAA\xB5\xBA", byte) != nullptr;
}

// The no-break space.
bool is_white_beyond_ascii(unsigned char byte) {
    return is_latin() && byte == 0xA0;
}

// Not the euro, the small tilde, the trade mark, and the bytes that stand for no character.
bool is_printed_beyond_ascii(unsigned char byte) {
    return is_latin() && strchr("\x80\x81\x8D\x8F\x90\x98\x99\x9D", byte) == nullptr;
}

unsigned char capital_beyond_ascii(unsigned char byte) {
    if (!is_latin()) return byte;
    if (byte == 0xFF) return 0x9F;
    if (byte >= 0xE0 && byte != 0xF7) return static_cast<unsigned char>(byte - 0x20);
    const bool caron_or_ligature = byte == 0x9A || byte == 0x9C || byte == 0x9E;
    return static_cast<unsigned char>(caron_or_ligature ? byte - 0x10 : byte);
}

unsigned char small_beyond_ascii(unsigned char byte) {
    if (!is_latin()) return byte;
    if (byte == 0x9F) return 0xFF;
    if (byte >= 0xC0 && byte <= 0xDE && byte != 0xD7)
        return static_cast<unsigned char>(byte + 0x20);
    const bool caron_or_ligature = byte == 0x8A || byte == 0x8C || byte == 0x8E;
    return static_cast<unsigned char>(caron_or_ligature ? byte + 0x10 : byte);
}

int longest_char() {
    return current.load()->double_byte ? 2 : 1;
}

int char_to_wide(wchar_t* wide, const char* text, std::size_t limit) {
    return decode_by(*current.load(), wide, text, limit);
}

int wide_to_char(char* bytes, wchar_t wide) {
    return encode_by(*current.load(), bytes, static_cast<char32_t>(wide));
}

bool find_page(unsigned number, FixedPage& page) {
    const Locale* found = number == 0 ? current.load() : nullptr;
    for (const Locale& locale : kLocales) {
        if (found == nullptr && locale.number == number) found = &locale;
    }
    if (found == nullptr) errno = EINVAL;
    if (found == nullptr || found->page() == nullptr) return false;
    page = {found->number, found};
    return true;
}

int decode(const FixedPage& page, char32_t& character, const char* text, std::size_t limit) {
    return decode_by(locale_of(page), &character, text, limit);
}

int encode(const FixedPage& page, char* bytes, char32_t character) {
    return encode_by(locale_of(page), bytes, character);
}

}  // namespace platform
