#include <cstring>

#include "moltelib/utf8.h"

namespace {

// A form of the encoding, longest last.
struct Form {
    uint32_t limit;      // codes below it are written in this form
    uint8_t mark;        // of the first byte
    uint8_t mark_mask;   // the bits of the first byte that must equal the mark
    uint8_t value_mask;  // the bits of the first byte that go into the value
    int32_t length;
};

// Value masks wider than the payload leave marker bits in the value: meant.
constexpr Form kForms[] = {
    {0x80, 0x00, 0x80, 0xFF, 1},      {0x800, 0xC0, 0xE0, 0x1F, 2},
    {0x10000, 0xE0, 0xF0, 0x1F, 3},   {0x200000, 0xF0, 0xF8, 0x1F, 4},
    {0x4000000, 0xF8, 0xFC, 0x1F, 5}, {0x80000000, 0xFC, 0xFE, 0xFF, 6},
};

constexpr int kBitsPerByte = 6;

// Decodes the bytes behind the first; false where one is no continuation byte.
bool add_further_bytes(const char* p, int32_t length, uint32_t& value) {
    for (int32_t i = 1; i < length; ++i) {
        const auto byte = static_cast<uint8_t>(p[i]);
        if ((byte & 0xC0) != 0x80) return false;
        value = value << kBitsPerByte | (byte & 0x3FU);
    }
    return true;
}

}  // namespace

int32_t UTF8CharToInt(const char* p, int32_t* pnLen) {
    if (p == nullptr) return -1;
    const auto first = static_cast<uint8_t>(*p);
    for (const Form& form : kForms) {
        if ((first & form.mark_mask) != form.mark) continue;
        uint32_t value = first & form.value_mask;
        if (!add_further_bytes(p, form.length, value)) return -1;
        if (pnLen != nullptr) *pnLen = form.length;
        return static_cast<int32_t>(value);
    }
    return -1;
}

int32_t UTF8CharByteLen(const char* p) {
    int32_t length = -1;
    UTF8CharToInt(p, &length);
    return length;
}

int32_t IntToUTF8Char(int32_t code, char* out) {
    if (code < 0) return -1;
    memset(out, 0, 8);
    auto rest = static_cast<uint32_t>(code);
    const Form* form = kForms;
    while (rest >= form->limit) ++form;
    for (int32_t i = form->length - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (rest & 0x3F));
        rest >>= kBitsPerByte;
    }
    out[0] = static_cast<char>(form->mark | rest);
    return form->length;
}
