// From UTF-8 into the code page, and into a record.
#include <cstring>

#include "configuration/rcxmlpro.h"
#include "core/owners.h"
#include "moltelib/utf8.h"
#include "platform/code_page.h"

namespace molte {
namespace {

constexpr int32_t kConvertedSize = 2048;  // of a text, or of one run of it
constexpr int32_t kLeastRoom = 4;         // before each character
constexpr int32_t kHeapStep = 1024;
constexpr int32_t kMaxText = 1 << 20;
constexpr int32_t kLastSingleUnit = 0xFFFF;
constexpr uint32_t kTooLong = 124;

// A text in the code page.
struct Converted {
    char text[kConvertedSize];
    int32_t length = 0;

    [[nodiscard]] bool has_room() const { return kConvertedSize - length >= kLeastRoom; }
};

// Takes over plain characters, which are the same in each code page, up to the next of another
// kind; how many bytes they are.
int32_t copy_plain(Converted& to, const char* from, int32_t length) {
    const int32_t room = kConvertedSize - kLeastRoom + 1 - to.length;
    const int32_t most = length < room ? length : room;
    int32_t count = 0;
    while (count<most&& static_cast<signed char>(from[count])> 0 && from[count] != '\\') {
        to.text[to.length + count] = from[count];
        ++count;
    }
    to.length += count;
    return count;
}

// One character that isn't plain: its bytes, or -1.
int32_t convert_character(Converted& to, const char* from, int32_t length) {
    if (from[0] == '\\' && length > 1 && from[1] == 'n') {
        to.text[to.length++] = ' ';
        to.text[to.length++] = '\n';
        return 2;
    }
    int32_t size = 0;
    const int32_t character = UTF8CharToInt(from, &size);
    if (character < 0 || size > length) return kResourceModule.trace(74);
    const int written =
        character > kLastSingleUnit
            ? -1
            : platform::wide_to_char(to.text + to.length, static_cast<wchar_t>(character));
    if (written < 0) return kResourceModule.trace(79);
    to.length += written;
    return size;
}

bool convert(Converted& to, const char* utf8, int32_t length) {
    for (const char* const end = utf8 + length; utf8 < end;) {
        if (!to.has_room()) return kResourceModule.trace(74) > 0;
        const auto left = static_cast<int32_t>(end - utf8);
        const int32_t plain = copy_plain(to, utf8, left);
        const int32_t size = plain > 0 ? plain : convert_character(to, utf8, left);
        if (size < 0) return false;
        utf8 += size;
    }
    return true;
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

int32_t set_text(RC_STRING& string, const char* utf8) {
    Converted made;
    if (!convert(made, utf8, static_cast<int32_t>(std::strlen(utf8)))) return -1;
    char* to = string.abyText;
    if (made.length >= static_cast<int32_t>(sizeof string.abyText)) {
        to = allocate<char>(made.length + 1).release();
        if (to == nullptr) return kResourceModule.trace(313);
        keep_on_heap(string, to, made.length + 1);
    }
    std::memcpy(to, made.text, static_cast<size_t>(made.length));
    to[made.length] = '\0';
    string.nLen = made.length;
    return 1;
}

int32_t add_text(RC_STRING& string, const char* utf8, int32_t length) {
    Converted made;
    if (!convert(made, utf8, length)) return -1;
    const int32_t total = string.nLen + made.length;
    if (total >= kMaxText) return kResourceModule.fail(here(), kTooLong);
    const bool in_record = string.bHeap == 0 && total < static_cast<int32_t>(sizeof string.abyText);
    char* to = in_record ? string.abyText : grow_text(string, total + 1);
    if (to == nullptr) return -1;
    std::memcpy(to + string.nLen, made.text, static_cast<size_t>(made.length));
    to[total] = '\0';
    string.nLen = total;
    return 1;
}

}  // namespace molte
