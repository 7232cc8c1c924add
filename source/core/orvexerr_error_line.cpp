#include "moltelib/error_line.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/orvexerr_data.h"
#include "moltelib/byte_field.h"
#include "moltelib/error.h"
#include "platform/code_page.h"

namespace {

constexpr size_t kLongestText = 255;  // of a number

// The caller's buffer. Pieces are added whole or not at all, and none behind one that didn't fit.
class Line {
 public:
    Line(char* buffer, int32_t size) : next_(buffer), room_(static_cast<size_t>(size) - 1) {
        *next_ = '\0';
    }

    void add(const char* piece, size_t size) {
        if (size > room_) room_ = 0;
        if (room_ == 0) return;
        std::memcpy(next_, piece, size);
        next_ += size;
        room_ -= size;
        *next_ = '\0';
    }
    void add(const char* piece) { add(piece, std::strlen(piece)); }

    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) {
        char piece[64];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(piece, sizeof piece, format, arguments);
        va_end(arguments);
        add(piece);
    }

    // The character at text, harmless; its bytes.
    size_t add_character(const char* text, size_t limit) {
        static constexpr char kNamed[] = "\"\\\t\n\r";
        static constexpr char kNames[] = "\"\\tnr";
        const auto byte = static_cast<unsigned char>(*text);
        wchar_t wide = 0;
        if (const char* named = byte != 0 ? std::strchr(kNamed, byte) : nullptr; named != nullptr) {
            print("\\%c", kNames[named - kNamed]);
        } else if (platform::is_print(byte)) {
            add(text, 1);
        } else if (const int length = byte < 0x80 ? 0 : platform::char_to_wide(&wide, text, limit);
                   length > 0 && wide >= 0xA0) {
            add(text, static_cast<size_t>(length));
            return static_cast<size_t>(length);
        } else {
            print("\\x%02X", byte);
        }
        return 1;
    }

    void add_text(const char* text, size_t size) {
        add("\"");
        for (size_t i = 0; i < size;) i += add_character(text + i, size - i);
        add("\"");
    }

    // A field, terminated unless it is full.
    template <size_t N>
    void add_text(const char (&field)[N]) {
        add_text(field, strnlen(field, N));
    }
    template <size_t N>
    void add_name(const char (&field)[N]) {
        const size_t size = strnlen(field, N);
        bool plain = size > 0;
        for (size_t i = 0; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(field[i]);
            const auto small = platform::to_lower(byte);
            plain = plain && (platform::is_digit(byte) || (small >= 'a' && small <= 'z') ||
                              byte == '.' || byte == '_' || byte == '-');
        }
        plain ? add(field, size) : add_text(field, size);
    }

 private:
    char* next_;
    size_t room_;  // without the terminator
};

void add_time(Line& line, const ORVEXDATETIME& moment) {
    static constexpr ORVEXDATETIME kNotSet{};
    if (std::memcmp(&moment, &kNotSet, sizeof moment) == 0) return;
    const ORVEXDATE& date = moment.stDate;
    const ORVEXTIME& time = moment.stTime;
    const int milliseconds = time.anMilliSecond[0] | time.anMilliSecond[1] << 8;
    line.print("%04d-%02d-%02d %02d:%02d:%02d.%03d ", date.anYear[0] | date.anYear[1] << 8,
               date.nMonth + 1, date.nDay, time.nHour, time.nMinute, milliseconds / 1000,
               milliseconds % 1000);
}

void add_numbers(Line& line, const ORVEX_ERRDATA& record) {
    const uint32_t number = Char4To_uint4(record.nErrNo);
    const char* const text = GetRVEXErrStrByErrno(number);
    line.print("error %d ", static_cast<int32_t>(number));
    line.add_text(text, strnlen(text, kLongestText));
    const int sub = static_cast<int16_t>(Char2To_uint2(record.nSubErrNo));
    if (sub != 0) line.print(", sub %d", sub);
    const auto system = static_cast<int32_t>(Char4To_uint4(record.nSysErrNo));
    if (system != 0 || record.szSysErr[0] != '\0') line.print(", system %d", system);
    if (record.szSysErr[0] != '\0') {
        line.add(" ");
        line.add_text(record.szSysErr);
    }
    const auto last = static_cast<int32_t>(Char4To_uint4(record.nWinErrNo));
    if (record.bHasSysErr != 0 && last != 0) line.print(", last %d", last);
}

void add_places(Line& line, const ORVEX_ERRDATA& record) {
    line.add(", at ");
    line.add_name(record.szFile);
    line.print(":%d", Char2To_uint2(record.nLine));
    const int32_t count = std::min<int32_t>(record.nHistCount, ORVEX_ERRDATA_HISTORY_MAX);
    for (int32_t i = 0; i < count; ++i) {
        line.add(i == 0 ? ", by " : " ");
        line.add_name(record.astHist[i].szFile);
        line.print(":%d", Char2To_uint2(record.astHist[i].nLine));
    }
}

// One terminator at the end is no part of the text.
void add_data(Line& line, const ORVEX_ERRDATA& record) {
    const molte::ErrorData data(record);
    const uint8_t* const bytes = data.bytes;
    if (data.size == 0) return;
    const int32_t size = data.size - (bytes[data.size - 1] == 0 ? 1 : 0);
    line.add(", data ");
    if (size > 0 && std::all_of(bytes, bytes + size, [](uint8_t byte) {
            return (byte >= ' ' && byte != 0x7F) || byte == '\t' || byte == '\n' || byte == '\r';
        })) {
        line.add_text(reinterpret_cast<const char*>(bytes), static_cast<size_t>(size));
        return;
    }
    line.add("hex ");
    for (int32_t i = 0; i < data.size; ++i) line.print("%02X", bytes[i]);
}

void add_origin(Line& line, const ORVEX_ERRDATA& record) {
    if (record.szHostName[0] != '\0') {
        line.add(", on ");
        line.add_name(record.szHostName);
    }
    if (record.szEnv[0] != '\0') {
        line.add(", in ");
        line.add_text(record.szEnv);
    }
}

}  // namespace

int32_t MOLTELIB_ErrorLine(const ORVEX_ERRDATA* pRec, char* szBuf, int32_t nBufLen) {
    if (szBuf == nullptr || nBufLen < 1) return 0;
    Line line(szBuf, nBufLen);
    if (pRec == nullptr) return 0;
    if (Char4To_uint4(pRec->nErrNo) == 0) {
        line.add("No error history recorded.");
        return 1;
    }
    add_time(line, pRec->stTime);
    add_numbers(line, *pRec);
    add_places(line, *pRec);
    add_data(line, *pRec);
    add_origin(line, *pRec);
    return 1;
}
