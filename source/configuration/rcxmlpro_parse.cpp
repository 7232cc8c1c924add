// Reads a file of string resources.
#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "configuration/rcxmlpro.h"
#include "core/owners.h"
#include "moltelib/file.h"
#include "moltelib/stack.h"
#include "platform/code_page.h"

namespace molte {
namespace {

constexpr uint32_t kNotFound = 120;
constexpr uint32_t kFileTooLarge = 303;
constexpr int64_t kMaxFileSize = 0x40000000;
constexpr int32_t kFirstCapacity = 256;

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

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Whether a text is a name that is given in small letters.
constexpr bool is_name(const char* text, std::string_view name) {
    for (const char c : name) {
        if (lower(*text++) != c) return false;  // also at the end of the text
    }
    return *text == '\0';
}

// A name of up to eight letters as a number, without regard to case; 0 for a longer one. Nothing
// else that XML has in names becomes a letter by this.
constexpr uint64_t short_name(const char* text) {
    uint64_t number = 0;
    for (int i = 0; *text != '\0'; ++i) {
        if (i == 8) return 0;
        number = number << 8 | static_cast<uint8_t>(*text++ | 0x20);
    }
    return number;
}

// Every start of an element asks for several names, so they are told apart by one number.
Name name_of(const char* text) {
    switch (short_name(text)) {
        case short_name("item"):
            return kItem;
        case short_name("strdata"):
            return kStrData;
        case short_name("version"):
            return kVersion;
        case short_name("langid"):
            return kLangId;
        case short_name("id"):
            return kId;
        case short_name("strid"):
            return kStrId;
        case short_name("value"):
            return kValue;
        default:
            break;
    }
    if (is_name(text, "orvex_resource")) return kRoot;
    if (is_name(text, "stringtable")) return kStringTable;
    kResourceModule.fail_text(130, kNotFound, SystemError::none, text);
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

// ---- What a parser keeps ----

// An open element.
struct Element {
    int32_t nName;
    int32_t bPlaced;     // it stands where it may; what is inside of any other is passed over
    int32_t nItem;       // the record that its text belongs to
    int32_t bOuterText;  // its parent's text is wanted
};
static_assert(sizeof(Element) == 16);

void on_characters(void* reader, const char* text, int length);

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
    void use(XML_ParserStruct* parser) { parser_ = parser; }
    int32_t start(const char* name, const char** attributes);
    int32_t end();
    int32_t characters(const char* text, int32_t length);
    // Sorts what was read and hands it over; 1 or -1.
    int32_t give(RC_TABLE& table);

 private:
    void want_text(bool wanted);
    Element parent();
    void note_order();
    int32_t place(Element& element, const Element& parent);
    int32_t add_string(Element& element);
    int32_t take_attribute(const Element& element, Name name, const char* value);
    int32_t take_root_attribute(Name name, const char* value);
    int32_t take_item_attribute(RC_STRING& string, Name name, const char* value);
    RC_STRING& string_at(int32_t index) { return static_cast<RC_STRING*>(strings_.pData)[index]; }

    XML_ParserStruct* parser_ = nullptr;
    bool text_wanted_ = false;
    MOLTE_STACK open_{};
    PA strings_{};
    TextConverter converter_;
    int32_t major_ = 0;
    int32_t minor_ = 0;
    int32_t language_ = 0;
    bool sorted_ = true;
    uint32_t last_id_ = 0;
};

int32_t Reader::prepare() {
    if (MOLTE_STACK_Init(&open_, sizeof(Element)) < 0) return kResourceModule.trace(185);
    if (PA_Init(&strings_, sizeof(RC_STRING), kFirstCapacity) < 0) {
        return kResourceModule.trace(187);
    }
    return 1;
}

// Only the text of STRDATA is wanted, and expat isn't asked for any other.
void Reader::want_text(bool wanted) {
    if (wanted == text_wanted_) return;
    text_wanted_ = wanted;
    XML_SetCharacterDataHandler(parser_, wanted ? on_characters : nullptr);
}

// The root has none, which leaves its lines in the history.
Element Reader::parent() {
    Element parent{};
    if (MOLTE_STACK_GetTop(&open_, &parent) < 0) kResourceModule.trace(217);
    return parent;
}

// Files are written in the order of their numbers, and then nothing is to be sorted.
void Reader::note_order() {
    const int32_t count = strings_.nCount;
    if (count < 1) return;
    const uint32_t id = string_at(count - 1).nId;
    sorted_ = sorted_ && (count == 1 || id > last_id_);
    last_id_ = id;
}

int32_t Reader::add_string(Element& element) {
    note_order();
    if (PA_AllocMem(&strings_, strings_.nCount) < 0) return kResourceModule.trace(209);
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
            return in == kRoot ? 1 : kResourceModule.trace(260);
        case kItem:
            if (in != kStringTable && in != kItem) return kResourceModule.trace(263);
            return add_string(element) < 0 ? kResourceModule.trace(264) : 1;
        case kStrData:
            return in == kItem ? 1 : kResourceModule.trace(267);
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
    if (name == kValue) return converter_.set(string, value);
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
    Element element{name_of(name), 0, 0, text_wanted_ ? 1 : 0};
    if (element.nName != kNone) element.bPlaced = place(element, parent()) > 0 ? 1 : 0;
    if (MOLTE_STACK_Push(&open_, &element) < 0) {
        return kResourceModule.trace(element.nName == kRoot ? 295 : 271);
    }
    want_text(element.nName == kStrData && element.bPlaced != 0);
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
    if (MOLTE_STACK_Pop(&open_, &element) < 0) return kResourceModule.trace(349);
    want_text(element.bOuterText != 0);
    return 1;
}

int32_t Reader::characters(const char* text, int32_t length) {
    while (length > 0 && is_white(text[length - 1])) --length;
    if (length == 0) return 0;
    Element element{};
    if (MOLTE_STACK_GetTop(&open_, &element) < 0) return -1;
    return converter_.add(string_at(element.nItem), text, length);
}

int compare_ids(const void* a, const void* b) {
    const uint32_t first = static_cast<const RC_STRING*>(a)->nId;
    const uint32_t second = static_cast<const RC_STRING*>(b)->nId;
    return first < second ? -1 : first > second ? 1 : 0;
}

int32_t Reader::give(RC_TABLE& table) {
    auto* const items = static_cast<RC_STRING*>(strings_.pData);
    const int32_t count = strings_.nCount;
    note_order();
    if (!sorted_) {
        std::qsort(items, static_cast<size_t>(count), sizeof *items, compare_ids);
    }
    Heap<uint32_t> ids = allocate<uint32_t>(count);
    if (ids == nullptr && count > 0) return kResourceModule.trace(here());
    for (int32_t i = 0; i < count; ++i) ids[static_cast<size_t>(i)] = items[i].nId;
    table = {items, ids.release(), count, language_, 1};
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
        kResourceModule.trace(49);
        return parser;
    }
    XML_SetUnknownEncodingHandler(parser.get(), on_unknown_encoding, nullptr);
    XML_SetStartElementHandler(parser.get(), on_start);
    XML_SetEndElementHandler(parser.get(), on_end);
    XML_SetUserData(parser.get(), &reader);
    reader.use(parser.get());
    return parser;
}

// Takes over what was parsed, if it could be.
int32_t finish(Reader& reader, XML_Status status, RC_TABLE& table) {
    if (status != XML_STATUS_OK) return kResourceModule.trace(451);
    return reader.give(table);
}

// Reads a stream to its end into a buffer of the parser's own, so that the text is there only once,
// and parses it.
int32_t parse_stream(XML_ParserStruct* parser, FILE* stream, int64_t size, const char* path,
                     XML_Status& status) {
    void* block = XML_GetBuffer(parser, static_cast<int>(size) + 4);
    if (block == nullptr) return kResourceModule.fail(479, kOutOfMemory);
    const size_t count = std::fread(block, 1, static_cast<size_t>(size), stream);
    if (std::ferror(stream) != 0) {
        return kResourceModule.fail_text(486, kNotRead, SystemError::runtime, path);
    }
    status = XML_ParseBuffer(parser, static_cast<int>(count), 1);
    return 1;
}

}  // namespace

int32_t RCXML_ParseBuffer(RC_TABLE& table, const char* text, int32_t length) {
    table = {};
    if (text == nullptr) return kResourceModule.fail(here(), kBadArgument);
    Reader reader;
    if (reader.prepare() < 0) return kResourceModule.trace(439);
    const Parser parser = make_parser(reader);
    if (parser == nullptr) return kResourceModule.trace(441);
    const int size = length > 0 ? length : static_cast<int>(std::strlen(text));
    return finish(reader, XML_Parse(parser.get(), text, size, 1), table);
}

int32_t RCXML_LoadFile(RC_TABLE& table, const char* path) {
    table = {};
    OXSTAT64 state{};
    if (ORVEX_FileStatByFileName(path, &state) < 0) return kResourceModule.trace(here());
    if (state.st_size >= kMaxFileSize) {
        return kResourceModule.fail(here(), kFileTooLarge, SystemError::none,
                                    "file size too big max 1GB");
    }
    char buffer[1 << 16];  // must outlast the stream
    const Stream stream(platform::open_stream(path, "rt"));
    if (stream == nullptr) {
        return kResourceModule.fail_text(483, kNotOpened, SystemError::runtime, path);
    }
    std::setvbuf(stream.get(), buffer, _IOFBF, sizeof buffer);
    Reader reader;
    if (reader.prepare() < 0) return kResourceModule.trace(439);
    const Parser parser = make_parser(reader);
    if (parser == nullptr) return kResourceModule.trace(441);
    XML_Status status = XML_STATUS_ERROR;
    if (parse_stream(parser.get(), stream.get(), state.st_size, path, status) < 0) return -1;
    return finish(reader, status, table);
}

}  // namespace molte
