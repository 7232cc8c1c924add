#include "error_words.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tool {

namespace {

struct Raised {
    uint32_t number;
    const char* modules;  // with blanks between
};

const Raised kRaised[] = {
#include "error_modules.inc"
};

template <size_t size>
std::string field(const char (&text)[size]) {
    return from_library(std::string_view(text, strnlen(text, size)));
}

uint16_t number16(const uint8_t* bytes) {
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::string time_of(const ORVEXDATETIME& time) {
    const auto low_first = [](const uint8_t* bytes) { return bytes[0] | bytes[1] << 8; };
    const int milliseconds = low_first(time.stTime.anMilliSecond);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d",
                  low_first(time.stDate.anYear), time.stDate.nMonth + 1, time.stDate.nDay,
                  time.stTime.nHour, time.stTime.nMinute, milliseconds / 1000, milliseconds % 1000);
    return text;
}

std::string data_of(const ORVEX_ERRDATA& record) {
    ORVEX_ERRDATA copy = record;  // the call may lower a length in it
    char data[ORVEX_ERRDATA_DATA1_SIZE + ORVEX_ERRDATA_DATA2_SIZE];
    const int32_t length = ORVEX_Err_GetErrData(&copy, data, sizeof data);
    return length > 0 ? std::string(data, static_cast<size_t>(length)) : "";
}

std::string hex_of(const std::string& bytes) {
    std::string text;
    char two[4];
    for (const char byte : bytes) {
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned char>(byte));
        text += two;
    }
    return text;
}

// Data is a text or it isn't.
bool is_text(const std::string& data) {
    return std::none_of(data.begin(), data.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    });
}

std::string place(const std::string& file, uint16_t line) {
    return file + ":" + std::to_string(line);
}

std::vector<std::string> history_of(const ORVEX_ERRDATA& record) {
    std::vector<std::string> callers;
    const int count = std::min<int>(record.nHistCount, ORVEX_ERRDATA_HISTORY_MAX);
    for (int i = 0; i < count; ++i) {
        const ORVEX_ERRHIST& entry = record.astHist[i];
        callers.push_back(place(field(entry.szFile), number16(entry.nLine)));
    }
    return callers;
}

// What all forms show.
struct Parts {
    explicit Parts(const ORVEX_ERRDATA& record, Language language)
        : number(Char4To_uint4(record.nErrNo)),
          text(error_text(number, language)),
          at(place(field(record.szFile), number16(record.nLine))),
          callers(history_of(record)),
          data(data_of(record)) {
        const uint32_t number_of_system = Char4To_uint4(record.nSysErrNo);
        if (record.bHasSysErr == 0 || number_of_system == 0) return;  // 0 is no cause
        system = number_of_system;
        system_text = field(record.szSysErr);
        while (!system_text.empty() && (system_text.back() == '\n' || system_text.back() == '\r')) {
            system_text.pop_back();  // Windows ends its texts so
        }
    }
    [[nodiscard]] std::string data_text() const {
        return is_text(data) ? "\"" + shown(from_library(data)) + "\"" : "hex " + hex_of(data);
    }
    uint32_t number;
    std::string text, at;
    std::vector<std::string> callers;
    std::string data;
    std::optional<uint32_t> system;
    std::string system_text;
};

}  // namespace

const std::vector<ErrorText>& error_texts() {
    static const std::vector<ErrorText> texts = {
#include "error_texts.inc"
    };
    return texts;
}

const ErrorText* error_text(uint32_t number) {
    const auto& texts = error_texts();
    const auto at = std::lower_bound(texts.begin(), texts.end(), number,
                                     [](const ErrorText& t, uint32_t n) { return t.number < n; });
    return at != texts.end() && at->number == number ? &*at : nullptr;
}

std::string error_text(uint32_t number, Language language) {
    const ErrorText* text = error_text(number);
    return text != nullptr ? text->text[static_cast<size_t>(language)] : "Unknown";
}

std::vector<std::string> modules_of(uint32_t number) {
    std::vector<std::string> modules;
    for (const Raised& row : kRaised) {
        if (row.number != number) continue;
        std::string name;
        for (const char* at = row.modules; *at != '\0'; ++at) {
            if (*at == ' ')
                modules.push_back(std::exchange(name, ""));
            else
                name += *at;
        }
        modules.push_back(name);
    }
    return modules;
}

Json object_of(const ORVEX_ERRDATA& record, Language language) {
    const Parts parts(record, language);
    Json object{{"error", parts.number},
                {"text", parts.text},
                {"place", parts.at},
                {"callers", parts.callers},
                {"time", time_of(record.stTime)},
                {"host", field(record.szHostName)},
                {"environment", field(record.szEnv)},
                {"sub", static_cast<int16_t>(number16(record.nSubErrNo))}};
    if (parts.system) {
        object["system"] = {{"number", *parts.system}, {"text", parts.system_text}};
        object["last_error"] = Char4To_uint4(record.nWinErrNo);
    }
    if (is_text(parts.data)) {
        object["data"] = from_library(parts.data);
    } else {
        object["data_hex"] = hex_of(parts.data);
    }
    return object;
}

std::string short_words_of(const ORVEX_ERRDATA& record, Language language) {
    const Parts parts(record, language);
    std::string words =
        "  error " + std::to_string(parts.number) + ": " + parts.text + ", at " + shown(parts.at);
    for (const std::string& caller : parts.callers) words += " < " + shown(caller);
    words += "\n";
    if (parts.system) {
        words +=
            "  system " + std::to_string(*parts.system) + ": " + shown(parts.system_text) + "\n";
    }
    if (!parts.data.empty()) words += "  data: " + parts.data_text() + "\n";
    return words;
}

std::string words_of(const ORVEX_ERRDATA& record, Language language) {
    std::string words = short_words_of(record, language);
    const auto add = [&words](const char* name, const std::string& value) {
        if (!value.empty()) words += std::string("  ") + name + ": " + shown(value) + "\n";
    };
    const auto sub = static_cast<int16_t>(number16(record.nSubErrNo));
    if (sub != 0) add("sub-number", std::to_string(sub));
    add("time", time_of(record.stTime));
    add("host", field(record.szHostName));
    add("program", field(record.szEnv));
    return words;
}

std::string line_of(const ORVEX_ERRDATA& record) {
    char line[MOLTELIB_ERROR_LINE_SIZE];
    MOLTELIB_ErrorLine(&record, line, sizeof line);
    return from_library(line);
}

}  // namespace tool
