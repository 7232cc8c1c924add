// Reads a file of string resources.
#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "configuration/rcxmlpro.h"
#include "core/modules.h"
#include "core/owners.h"
#include "moltelib/array.h"
#include "moltelib/file.h"
#include "moltelib/stack.h"
#include "moltelib/utf8.h"
#include "platform/code_page.h"

namespace molte {
namespace {

constexpr auto kModule = kRcxmlpro;
constexpr int64_t kMaxFileSize = 0x40000000;
constexpr int32_t kFirstCapacity = 256;
constexpr int32_t kRunSize = 2048;  // of a text, or of one run of it
constexpr int32_t kLeastRoom = 4;   // before each character
constexpr int32_t kLastSingleUnit = 0xFFFF;

// ---- Names of the format ----

enum Name : int32_t {
    kNone = 0,
    kRoot = 1,
    kStringTable = 2,
    kItem = 3,
    kStrData = 4,
    kVersion = 5,
    kLangId = 6,
    kId = 7,
    kStrId = 8,
    kValue = 9,
};

constexpr struct {
    const char* text;
    Name name;
} kNames[] = {{"item", kItem},           {"id", kId},           {"strid", kStrId},
              {"value", kValue},         {"strdata", kStrData}, {"stringtable", kStringTable},
              {"orvex_resource", kRoot}, {"version", kVersion}, {"langid", kLangId}};

// Whether a text is a name, without regard to case. Other letters than those of ASCII have none.
bool is_name(const char* text, const char* name) {
    for (; *name != '\0'; ++text, ++name) {
        const bool upper = *text >= 'A' && *text <= 'Z';
        if ((upper ? *text - 'A' + 'a' : *text) != *name) return false;  // also at its end
    }
    return *text == '\0';
}

Name name_of(const char* text) {
    for (const auto& row : kNames) {
        if (is_name(text, row.text)) return row.name;
    }
    kModule.fail_text(130, kNotFound, SystemError::none, text);
    return kNone;
}

bool is_white(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// A decimal number, 0 for none, cut to its low 32 bits. What follows it is ignored.
uint32_t number_of(const char* text) {
    while (is_white(*text)) ++text;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    uint32_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        value = value * 10 + static_cast<uint32_t>(*text - '0');
    }
    return negative ? 0 - value : value;
}

// ---- Texts ----

// Takes UTF-8 over into the code page; a backslash and "n" become a blank and a line feed. The
// bytes written, or -1 with the history.
int32_t convert(char (&to)[kRunSize], const char* utf8, int32_t length) {
    int32_t used = 0;
    for (int32_t size = 1; length > 0; utf8 += size, length -= size) {
        if (kRunSize - used < kLeastRoom) return kModule.trace(74);
        size = 1;
        if (*utf8 == '\\' && length > 1 && utf8[1] == 'n') {
            size = 2;
            to[used++] = ' ';
            to[used++] = '\n';
        } else if (static_cast<signed char>(*utf8) > 0) {
            to[used++] = *utf8;
        } else {
            const int32_t character = UTF8CharToInt(utf8, &size);
            if (character < 0 || size > length) return kModule.trace(74);
            const int written =
                character > kLastSingleUnit
                    ? -1
                    : platform::wide_to_char(to + used, static_cast<wchar_t>(character));
            if (written < 0) return kModule.trace(79);
            used += written;
        }
    }
    return used;
}

int32_t set_converted(RC_STRING& string, const char* utf8) {
    char text[kRunSize];
    const int32_t length = convert(text, utf8, static_cast<int32_t>(std::strlen(utf8)));
    return length < 0 ? -1 : set_text(string, text, length);
}

int32_t add_converted(RC_STRING& string, const char* utf8, int32_t length) {
    char text[kRunSize];
    const int32_t converted = convert(text, utf8, length);
    return converted < 0 ? -1 : add_text(string, text, converted);
}

// ---- What a parser keeps ----

// An open element.
struct Element {
    int32_t nName;
    int32_t bPlaced;  // it stands where it may; what is inside of any other is passed over
    int32_t nItem;    // the record that its text belongs to
    int32_t nReserved;
};
static_assert(sizeof(Element) == 16);

class Reader {
 public:
    Reader() = default;
    ~Reader() {
        MOLTE_STACK_Release(&open_);
        free_strings(static_cast<RC_STRING*>(strings_.pData), strings_.nCount);
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    int32_t prepare();
    int32_t start(const char* name, const char** attributes);
    int32_t end();
    int32_t characters(const char* text, int32_t length);
    // Sorts what was read and hands it over; 1 or -1.
    int32_t give(RC_TABLE& table);

 private:
    Element parent();
    int32_t place(Element& element, const Element& parent);
    int32_t add_string(Element& element);
    int32_t take_attribute(const Element& element, Name name, const char* value);
    int32_t take_root_attribute(Name name, const char* value);
    int32_t take_item_attribute(RC_STRING& string, Name name, const char* value);
    RC_STRING& string_at(int32_t index) { return static_cast<RC_STRING*>(strings_.pData)[index]; }

    MOLTE_STACK open_{};
    PA strings_{};
    int32_t major_ = 0;
    int32_t minor_ = 0;
    int32_t language_ = 0;
};

int32_t Reader::prepare() {
    if (MOLTE_STACK_Init(&open_, sizeof(Element)) < 0) return kModule.trace(185);
    if (PA_Init(&strings_, sizeof(RC_STRING), kFirstCapacity) < 0) {
        return kModule.trace(187);
    }
    return 1;
}

// The root has none, which leaves its lines in the history.
Element Reader::parent() {
    Element parent{};
    if (MOLTE_STACK_GetTop(&open_, &parent) < 0) kModule.trace(217);
    return parent;
}

int32_t Reader::add_string(Element& element) {
    if (PA_AllocMem(&strings_, strings_.nCount) < 0) return kModule.trace(209);
    element.nItem = strings_.nCount++;  // zeroed when it was allocated
    return 1;
}

// Whether an element may stand in its parent; an item begins a record.
int32_t Reader::place(Element& element, const Element& parent) {
    const int32_t in = parent.bPlaced != 0 ? parent.nName : kNone;
    element.nItem = parent.nItem;
    switch (element.nName) {
        case kRoot:
            return 1;
        case kStringTable:
            return in == kRoot ? 1 : kModule.trace(260);
        case kItem:
            if (in != kStringTable && in != kItem) return kModule.trace(263);
            return add_string(element) < 0 ? kModule.trace(264) : 1;
        case kStrData:
            return in == kItem ? 1 : kModule.trace(267);
        default:
            return -1;
    }
}

int32_t Reader::take_root_attribute(Name name, const char* value) {
    if (name == kVersion) {
        std::sscanf(value, "%d.%d", &major_, &minor_);
        return 1;
    }
    if (name != kLangId) return -1;
    language_ = static_cast<int32_t>(std::strtoul(value, nullptr, 16));
    return 1;
}

int32_t Reader::take_item_attribute(RC_STRING& string, Name name, const char* value) {
    if (name == kValue) return set_converted(string, value);
    if (name == kStrId) {
        const size_t size = strnlen(value, sizeof string.szStrId - 1);
        std::memcpy(string.szStrId, value, size);
        return 1;
    }
    if (name != kId) return -1;
    string.nId = number_of(value);
    return 1;
}

int32_t Reader::take_attribute(const Element& element, Name name, const char* value) {
    switch (element.nName) {
        case kRoot:
            return take_root_attribute(name, value);
        case kItem:
            return take_item_attribute(string_at(element.nItem), name, value);
        default:
            return element.nName == kStrData && name >= kVersion ? 1 : -1;
    }
}

// Every element is pushed, also one that isn't known or stands in a wrong place, so that its end
// takes off what its start put on.
int32_t Reader::start(const char* name, const char** attributes) {
    Element element{name_of(name), 0, 0, 0};
    if (element.nName != kNone) element.bPlaced = place(element, parent()) > 0 ? 1 : 0;
    if (MOLTE_STACK_Push(&open_, &element) < 0) {
        return kModule.trace(element.nName == kRoot ? 295 : 271);
    }
    if (element.bPlaced == 0) return -1;
    for (; attributes[0] != nullptr; attributes += 2) {
        const Name attribute = name_of(attributes[0]);
        if (attribute == kNone || take_attribute(element, attribute, attributes[1]) < 0) return -1;
    }
    return 1;
}

// The name is that of the start: expat sees to it.
int32_t Reader::end() {
    Element element{};
    if (MOLTE_STACK_Pop(&open_, &element) < 0) return kModule.trace(349);
    return 1;
}

int32_t Reader::characters(const char* text, int32_t length) {
    while (length > 0 && is_white(text[length - 1])) --length;
    if (length == 0) return 0;
    Element element{};
    if (MOLTE_STACK_GetTop(&open_, &element) < 0) return -1;
    if (element.nName != kStrData || element.bPlaced == 0) return 0;
    return add_converted(string_at(element.nItem), text, length);
}

bool is_before(const RC_STRING& a, const RC_STRING& b) {
    return a.nId < b.nId;
}

int compare_ids(const void* a, const void* b) {
    const auto& first = *static_cast<const RC_STRING*>(a);
    const auto& second = *static_cast<const RC_STRING*>(b);
    return is_before(first, second) ? -1 : is_before(second, first) ? 1 : 0;
}

int32_t Reader::give(RC_TABLE& table) {
    auto* const items = static_cast<RC_STRING*>(strings_.pData);
    const int32_t count = strings_.nCount;
    // Most files are written in this order, and then it is moved for nothing.
    if (!std::is_sorted(items, items + count, is_before)) {
        std::qsort(items, static_cast<size_t>(count), sizeof *items, compare_ids);
    }
    table = {items, count, language_, 1};
    strings_ = {};
    return 1;
}

// ---- expat's handlers: it takes no notice of results, so a fault doesn't end the parsing ----

void on_start(void* reader, const char* name, const char** attributes) {
    static_cast<Reader*>(reader)->start(name, attributes);
}

void on_end(void* reader, const char*) {
    static_cast<Reader*>(reader)->end();
}

void on_characters(void* reader, const char* text, int length) {
    static_cast<Reader*>(reader)->characters(text, length);
}

int to_wide(void*, const char* bytes) {
    const auto first = static_cast<unsigned char>(bytes[0]);
    if (!platform::is_lead_byte(first)) return first;
    wchar_t wide = 0;
    return platform::char_to_wide(&wide, bytes, 2) < 0 ? -1 : static_cast<int>(wide);
}

// The Chinese encodings by the code page in use, so in a double-byte one only.
int on_unknown_encoding(void*, const char* name, XML_Encoding* encoding) {
    if (!is_name(name, "gb2312") && !is_name(name, "gb18030")) return 0;
    for (int byte = 0; byte < 256; ++byte) {
        encoding->map[byte] = platform::is_lead_byte(static_cast<unsigned char>(byte)) ? -2 : byte;
    }
    encoding->convert = to_wide;
    return 1;
}

struct FreeParser {
    void operator()(XML_ParserStruct* parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<XML_ParserStruct, FreeParser>;

Parser make_parser(Reader& reader) {
    Parser parser(XML_ParserCreate(nullptr));
    if (parser == nullptr) {
        kModule.trace(49);
        return parser;
    }
    XML_SetUnknownEncodingHandler(parser.get(), on_unknown_encoding, nullptr);
    XML_SetStartElementHandler(parser.get(), on_start);
    XML_SetEndElementHandler(parser.get(), on_end);
    XML_SetUserData(parser.get(), &reader);
    XML_SetCharacterDataHandler(parser.get(), on_characters);
    return parser;
}

// Takes over what was parsed, if it could be.
int32_t finish(Reader& reader, XML_Status status, RC_TABLE& table) {
    if (status != XML_STATUS_OK) return kModule.trace(451);
    return reader.give(table);
}

// Reads a stream to its end into a buffer of the parser's own, so that the text is there only once,
// and parses it.
int32_t parse_stream(XML_ParserStruct* parser, FILE* stream, int64_t size, const char* path,
                     XML_Status& status) {
    void* block = XML_GetBuffer(parser, static_cast<int>(size) + 4);
    if (block == nullptr) return kModule.fail(479, kOutOfMemory);
    const size_t count = std::fread(block, 1, static_cast<size_t>(size), stream);
    if (std::ferror(stream) != 0) {
        return kModule.fail_text(486, kNotRead, SystemError::runtime, path);
    }
    status = XML_ParseBuffer(parser, static_cast<int>(count), 1);
    return 1;
}

}  // namespace

int32_t RCXML_ParseBuffer(RC_TABLE& table, const char* text, int32_t length) {
    table = {};
    if (text == nullptr) return kModule.fail(here(), kBadArgument);
    Reader reader;
    if (reader.prepare() < 0) return kModule.trace(439);
    const Parser parser = make_parser(reader);
    if (parser == nullptr) return kModule.trace(441);
    const int size = length > 0 ? length : static_cast<int>(std::strlen(text));
    return finish(reader, XML_Parse(parser.get(), text, size, 1), table);
}

int32_t RCXML_LoadFile(RC_TABLE& table, const char* path) {
    table = {};
    OXSTAT64 state{};
    if (ORVEX_FileStatByFileName(path, &state) < 0) return kModule.trace(here());
    if (state.st_size >= kMaxFileSize) {
        return kModule.fail(here(), kFileTooLarge, SystemError::none, "file size too big max 1GB");
    }
    const Stream stream(platform::open_stream(path, "rt"));
    if (stream == nullptr) {
        return kModule.fail_text(483, kNotOpened, SystemError::runtime, path);
    }
    Reader reader;
    if (reader.prepare() < 0) return kModule.trace(439);
    const Parser parser = make_parser(reader);
    if (parser == nullptr) return kModule.trace(441);
    XML_Status status = XML_STATUS_ERROR;
    if (parse_stream(parser.get(), stream.get(), state.st_size, path, status) < 0) return -1;
    return finish(reader, status, table);
}

}  // namespace molte
