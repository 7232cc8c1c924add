// Reads a file of string resources.
#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
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

constexpr uint32_t kOpenFailed = 1;
constexpr uint32_t kReadFailed = 3;
constexpr uint32_t kBadArgument = 50;
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

// In the order of their numbers, in capitals.
constexpr std::string_view kNames[] = {"ORVEX_RESOURCE", "STRINGTABLE", "ITEM", "STRDATA",
                                       "VERSION",        "LANGID",      "ID",   "STRID",
                                       "VALUE"};

constexpr char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool is_name(std::string_view text, std::string_view name) {
    return text.size() == name.size() && std::equal(text.begin(), text.end(), name.begin(),
                                                    [](char a, char b) { return upper(a) == b; });
}

Name name_of(const char* text) {
    const std::string_view view(text);
    int32_t number = 0;
    for (const std::string_view name : kNames) {
        ++number;
        if (is_name(view, name)) return static_cast<Name>(number);
    }
    kResourceModule.fail_text(130, kNotFound, SystemError::none, text);
    return kNone;
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
    int32_t end(const char* name);
    int32_t characters(const char* text, int32_t length);
    // Sorts what was read and hands it over.
    void give(RC_TABLE& table);

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
    if (MOLTE_STACK_Init(&open_, sizeof(Element)) < 0) return kResourceModule.trace(185);
    if (PA_Init(&strings_, sizeof(RC_STRING), kFirstCapacity) < 0) {
        return kResourceModule.trace(187);
    }
    return 1;
}

// The root has none, which leaves its lines in the history.
Element Reader::parent() {
    Element parent{};
    if (MOLTE_STACK_GetTop(&open_, &parent) < 0) kResourceModule.trace(217);
    return parent;
}

int32_t Reader::add_string(Element& element) {
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
    if (name == kValue) return set_text(string, value);
    if (name == kStrId) {
        std::snprintf(string.szStrId, sizeof string.szStrId, "%s", value);
        return 1;
    }
    if (name != kId) return -1;
    // A number that doesn't fit is none, and the id stays 0.
    int32_t id = 0;
    std::from_chars(value, value + std::strlen(value), id);
    string.nId = static_cast<uint32_t>(id);
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
        return kResourceModule.trace(element.nName == kRoot ? 295 : 271);
    }
    if (element.bPlaced == 0) return -1;
    for (; attributes[0] != nullptr; attributes += 2) {
        const Name attribute = name_of(attributes[0]);
        if (attribute == kNone || take_attribute(element, attribute, attributes[1]) < 0) return -1;
    }
    return 1;
}

int32_t Reader::end(const char* name) {
    Element element{};
    if (MOLTE_STACK_Pop(&open_, &element) < 0) return kResourceModule.trace(349);
    return element.nName == kNone || is_name(name, kNames[element.nName - 1]) ? 1 : -1;
}

bool is_white(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

int32_t Reader::characters(const char* text, int32_t length) {
    while (length > 0 && is_white(text[length - 1])) --length;
    if (length == 0) return 0;
    Element element{};
    if (MOLTE_STACK_IsEmpty(&open_) != 0 || MOLTE_STACK_GetTop(&open_, &element) < 0) return 0;
    if (element.nName != kStrData || element.bPlaced == 0) return 0;
    return add_text(string_at(element.nItem), text, length);
}

int compare_ids(const void* a, const void* b) {
    const uint32_t first = static_cast<const RC_STRING*>(a)->nId;
    const uint32_t second = static_cast<const RC_STRING*>(b)->nId;
    return first < second ? -1 : first > second ? 1 : 0;
}

void Reader::give(RC_TABLE& table) {
    auto* const begin = static_cast<RC_STRING*>(strings_.pData);
    auto* const end = begin + strings_.nCount;
    // Files are written in the order of their numbers.
    const bool sorted = std::is_sorted(
        begin, end, [](const RC_STRING& a, const RC_STRING& b) { return a.nId < b.nId; });
    if (!sorted) std::qsort(begin, static_cast<size_t>(end - begin), sizeof *begin, compare_ids);
    table = {begin, strings_.nCount, language_, 1};
    strings_ = {};
}

// ---- expat's handlers: it takes no notice of results, so a fault doesn't end the parsing ----

void on_start(void* reader, const char* name, const char** attributes) {
    static_cast<Reader*>(reader)->start(name, attributes);
}

void on_end(void* reader, const char* name) {
    static_cast<Reader*>(reader)->end(name);
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
    if (!is_name(name, "GB2312") && !is_name(name, "GB18030")) return 0;
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
    XML_SetCharacterDataHandler(parser.get(), on_characters);
    XML_SetUserData(parser.get(), &reader);
    return parser;
}

// How much of a text is parsed in one go. expat copies what it is given, so pieces keep it in the
// cache; a piece ends at the end of a line, where a run of characters ends anyway. There are few of
// them, because what isn't complete at the end of one is looked at again with the next. A text that
// isn't of single bytes, which shows in its first character, stays whole.
int32_t piece_of(const char* text, int32_t left, int32_t whole) {
    constexpr int32_t kLeastPiece = 1 << 16;
    constexpr int32_t kMostPieces = 16;
    const int32_t wanted = std::max(kLeastPiece, whole / kMostPieces);
    if (left <= wanted) return left;
    const auto* end = static_cast<const char*>(
        std::memchr(text + wanted, '\n', static_cast<size_t>(left - wanted)));
    return end == nullptr ? left : static_cast<int32_t>(end + 1 - text);
}

bool parse(XML_ParserStruct* parser, const char* text, int32_t length) {
    const bool single_bytes = text[0] == '<' && text[1] != '\0';
    int32_t done = 0;
    XML_Status status = XML_STATUS_OK;
    do {
        const int32_t left = length - done;
        const int32_t piece = single_bytes ? piece_of(text + done, left, length) : left;
        done += piece;
        status = XML_Parse(parser, text + done - piece, piece, done == length);
    } while (status == XML_STATUS_OK && done < length);
    return status == XML_STATUS_OK;
}

struct CloseStream {
    void operator()(FILE* stream) const { std::fclose(stream); }
};

// Reads a whole file as text into a block of size bytes and four more; its length, or -1.
int64_t read_text(const char* path, char* block, int64_t size) {
    const std::unique_ptr<FILE, CloseStream> stream(platform::open_stream(path, "rt"));
    if (stream == nullptr) {
        return kResourceModule.fail_text(483, kOpenFailed, SystemError::runtime, path);
    }
    const size_t count = std::fread(block, 1, static_cast<size_t>(size), stream.get());
    if (std::ferror(stream.get()) != 0) {
        return kResourceModule.fail_text(486, kReadFailed, SystemError::runtime, path);
    }
    block[count] = '\0';
    return static_cast<int64_t>(count);
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
    if (!parse(parser.get(), text, size)) return kResourceModule.trace(451);
    reader.give(table);
    return 1;
}

int32_t RCXML_LoadFile(RC_TABLE& table, const char* path) {
    table = {};
    OXSTAT64 state{};
    if (ORVEX_FileStatByFileName(path, &state) < 0) return kResourceModule.trace(here());
    if (state.st_size >= kMaxFileSize) {
        return kResourceModule.fail(here(), kFileTooLarge, SystemError::none,
                                    "file size too big max 1GB");
    }
    const Heap<char> block = allocate<char>(state.st_size + 4);
    if (block == nullptr) return kResourceModule.trace(479);
    const int64_t length = read_text(path, block.get(), state.st_size);
    if (length < 0) return -1;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    const bool marked = std::string_view(block.get()).starts_with(kByteOrderMark);
    const size_t skip = marked ? kByteOrderMark.size() : 0;
    return RCXML_ParseBuffer(table, block.get() + skip,
                             static_cast<int32_t>(length) - static_cast<int32_t>(skip));
}

}  // namespace molte
