// From UTF-8 into the code page, and into a record.
#include <cstdint>
#include <cstring>

#include "configuration/rcxmlpro.h"
#include "core/owners.h"
#include "moltelib/utf8.h"
#include "platform/code_page.h"

namespace molte {
namespace {

constexpr int32_t kHeapStep = 1024;
constexpr int32_t kMaxText = INT32_MAX - 2 * kHeapStep;  // its block's size is an int32_t
constexpr int32_t kLastSingleUnit = 0xFFFF;
constexpr uint64_t kOnes = 0x0101010101010101;  // times a byte: eight of it

// The three bytes at p, of four that are there, as a number.
uint32_t form_at(const char* p) {
    uint8_t bytes[4];
    std::memcpy(bytes, p, sizeof bytes);
    return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16;
}

bool is_plain(char byte) {
    return static_cast<signed char>(byte) > 0 && byte != '\\';
}

char* heap_text(const RC_STRING& string) {
    char* text = nullptr;
    std::memcpy(&text, string.abyText, sizeof text);
    return text;
}

void keep_on_heap(RC_STRING& string, char* block, int32_t size) {
    std::memcpy(string.abyText, &block, sizeof block);
    string.nCapacity = size;
    string.bHeap = 1;
    string.bOwned = 1;
}

// Moves a text onto the heap or into a larger block, which holds size bytes at least.
char* grow_text(RC_STRING& string, int32_t size) {
    const int32_t steps = (size - string.nCapacity + kHeapStep - 1) / kHeapStep;
    if (string.bHeap == 0) {
        Heap<char> block = allocate<char>(int64_t{steps} * kHeapStep);
        if (block == nullptr) {
            kResourceModule.trace(402);
            return nullptr;
        }
        std::memcpy(block.get(), string.abyText, static_cast<size_t>(string.nLen));
        keep_on_heap(string, block.release(), steps * kHeapStep);
    } else if (size > string.nCapacity) {
        void* block = heap_text(string);
        int32_t capacity = string.nCapacity;
        if (ORVEX_release_realloc(&block, 1, &capacity, steps * kHeapStep) < 0) {
            kResourceModule.trace(409);
            return nullptr;
        }
        keep_on_heap(string, static_cast<char*>(block), capacity);
    }
    return heap_text(string);
}

}  // namespace

const char* text_of(const RC_STRING& string) {
    return string.bHeap != 0 ? heap_text(string) : string.abyText;
}

void free_text(RC_STRING& string) {
    if (string.bOwned != 0) ORVEX_free(heap_text(string));
    string.bHeap = 0;
    string.bOwned = 0;
    string.nCapacity = 0;
    string.nLen = 0;
    string.abyText[0] = '\0';
}

// Takes over what stands in each code page alike, up to a character of another kind or to a
// backslash, eight bytes at a time while there are so many. More may be written than is taken.
const char* TextConverter::copy_plain(const char* from, const char* end, char*& place) {
    char* to = place;
    const char* const last = text_ + kSize - kLeastRoom;
    while (end - from >= 8 && last - to >= 8) {
        uint64_t bytes = 0;
        std::memcpy(&bytes, from, sizeof bytes);
        std::memcpy(to, &bytes, sizeof bytes);
        const uint64_t slashes = bytes ^ kOnes * '\\';
        if (((bytes | ((slashes - kOnes) & ~slashes)) & kOnes * 0x80) != 0) break;
        from += 8;
        to += 8;
    }
    while (from < end && to <= last && is_plain(*from)) *to++ = *from++;
    place = to;
    return from;
}

// Nearly all that isn't plain is a character of three bytes that was met before: no need to decode
// it again. Takes over as many of them as stand here.
const char* TextConverter::copy_known(const char* from, const char* end, char*& place) const {
    char* to = place;
    const char* const last = text_ + kSize - kLeastRoom;
    while (end - from >= 4 && to <= last) {
        const uint32_t form = form_at(from);
        const Known& known = known_[place_of(form)];
        if (known.nForm != form) break;
        std::memcpy(to, known.abyBytes, sizeof known.abyBytes);
        to += known.nSize;
        from += 3;
    }
    place = to;
    return from;
}

// A character that isn't plain; where the next one stands, or null.
const char* TextConverter::convert_character(const char* from, const char* end, char*& to) {
    if (*from == '\\') {
        const bool line_feed = end - from > 1 && from[1] == 'n';
        std::memcpy(to, line_feed ? " \n" : "\\", 2);
        to += line_feed ? 2 : 1;
        return from + (line_feed ? 2 : 1);
    }
    int32_t size = 0;
    const int32_t character = UTF8CharToInt(from, &size);
    if (character < 0 || size > end - from) {
        kResourceModule.trace(74);
        return nullptr;
    }
    const int written = character > kLastSingleUnit
                            ? -1
                            : platform::wide_to_char(to, static_cast<wchar_t>(character));
    if (written < 0) {
        kResourceModule.trace(79);
        return nullptr;
    }
    if (size == 3 && end - from >= 4) remember(form_at(from), to, written);
    to += written;
    return from + size;
}

void TextConverter::remember(uint32_t form, const char* bytes, int size) {
    Known& known = known_[place_of(form)];
    known.nForm = form;
    known.nSize = static_cast<uint16_t>(size);
    std::memcpy(known.abyBytes, bytes, static_cast<size_t>(size));
}

bool TextConverter::convert(const char* utf8, int32_t length) {
    const char* const end = utf8 + length;
    char* to = text_;
    while (utf8 < end) {
        if (text_ + kSize - to < kLeastRoom) return kResourceModule.trace(74) > 0;
        if (is_plain(*utf8)) {
            utf8 = copy_plain(utf8, end, to);
        } else {
            const char* const behind = copy_known(utf8, end, to);
            utf8 = behind != utf8 ? behind : convert_character(utf8, end, to);
            if (utf8 == nullptr) return false;
        }
    }
    length_ = static_cast<int32_t>(to - text_);
    return true;
}

int32_t TextConverter::set(RC_STRING& string, const char* utf8) {
    if (!convert(utf8, static_cast<int32_t>(std::strlen(utf8)))) return -1;
    free_text(string);  // an item may have two: "value" and "VALUE"
    char* to = string.abyText;
    if (length_ >= static_cast<int32_t>(sizeof string.abyText)) {
        to = allocate<char>(length_ + 1).release();
        if (to == nullptr) return kResourceModule.trace(313);
        keep_on_heap(string, to, length_ + 1);
    }
    std::memcpy(to, text_, static_cast<size_t>(length_));
    to[length_] = '\0';
    string.nLen = length_;
    return 1;
}

int32_t TextConverter::add(RC_STRING& string, const char* utf8, int32_t length) {
    if (!convert(utf8, length)) return -1;
    if (string.nLen > kMaxText - length_) return kResourceModule.fail(here(), kTooLong);
    const int32_t total = string.nLen + length_;
    const bool in_record = string.bHeap == 0 && total < static_cast<int32_t>(sizeof string.abyText);
    char* to = in_record ? string.abyText : grow_text(string, total + 1);
    if (to == nullptr) return -1;
    std::memcpy(to + string.nLen, text_, static_cast<size_t>(length_));
    to[total] = '\0';
    string.nLen = total;
    return 1;
}

}  // namespace molte
