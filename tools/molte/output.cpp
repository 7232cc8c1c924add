#include "output.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tool.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace tool {

namespace {

constexpr size_t kEnough = 65536;

#if defined(_WIN32)
int copy_of(int descriptor) {
    return _dup(descriptor);
}
void replace(int descriptor, int by) {
    _dup2(by, descriptor);
}
bool terminal(int descriptor) {
    return _isatty(descriptor) != 0;
}
void shut(int descriptor) {
    _close(descriptor);
}
int64_t put(int descriptor, const char* data, size_t size) {
    return _write(descriptor, data, static_cast<unsigned>(size));
}
// Bytes as they stand, and on a console colours and UTF-8.
void prepare(int descriptor) {
    _setmode(descriptor, _O_BINARY);
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    DWORD mode = 0;
    if (!GetConsoleMode(handle, &mode)) return;
    SetConsoleMode(handle, mode | 0x4 /* ENABLE_VIRTUAL_TERMINAL_PROCESSING */);
    SetConsoleOutputCP(CP_UTF8);
}
int width_of(int descriptor) {
    CONSOLE_SCREEN_BUFFER_INFO info;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    return GetConsoleScreenBufferInfo(handle, &info) ? info.dwSize.X : 0;
}
#else
int copy_of(int descriptor) {
    return dup(descriptor);
}
void replace(int descriptor, int by) {
    dup2(by, descriptor);
}
bool terminal(int descriptor) {
    return isatty(descriptor) != 0;
}
void shut(int descriptor) {
    close(descriptor);
}
int64_t put(int descriptor, const char* data, size_t size) {
    return write(descriptor, data, size);
}
void prepare(int /*descriptor*/) {}
int width_of(int descriptor) {
    winsize size{};
    return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}
#endif

bool write_whole(int descriptor, std::string_view data) {
    while (!data.empty()) {
        const int64_t written = put(descriptor, data.data(), data.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        data.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

bool colours_wanted() {
    const char* refused = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return (refused == nullptr || *refused == '\0') &&
           (kind == nullptr || std::strcmp(kind, "dumb") != 0);
}

std::string in_colour(bool wanted, Colour colour, const std::string& text) {
    constexpr std::array<const char*, 7> codes = {"0", "31", "32", "33", "34", "1", "2"};
    if (!wanted || colour == Colour::plain) return text;
    return std::string("\x1b[") + codes[static_cast<size_t>(colour)] + "m" + text + "\x1b[0m";
}

// A character that the encoding lacks must not swallow the rest.
std::string encoded(const std::string& utf8, Encoding encoding) {
    if (const auto text = utf8_to(utf8, encoding)) return *text;
    std::string all;
    for (size_t begin = 0, end; begin < utf8.size(); begin = end) {
        end = begin + 1;
        while (end < utf8.size() && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) ++end;
        all += utf8_to(utf8.substr(begin, end - begin), encoding).value_or("?");
    }
    return all;
}

Encoding error_encoding = Encoding::utf8;

}  // namespace

Output::Output(const bool& json, const Encoding& encoding)
    : json_(json), encoding_(encoding), descriptor_(copy_of(1)), terminal_(terminal(1)) {
    replace(1, 2);
    prepare(descriptor_);
    prepare(2);
}

Output::~Output() {
    write_whole(descriptor_, waiting_);  // empty unless the command failed; no more can be told
    shut(descriptor_);
}

void Output::say(const std::string& text, const Json& object) {
    line(text);
    this->object(object);
}

void Output::line(const std::string& text) {
    if (!json_) bytes(encoded(text + "\n", encoding_));
}

void Output::object(const Json& object) {
    if (json_) bytes(object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

void Output::bytes(std::string_view data) {
    waiting_ += data;
    if (waiting_.size() >= kEnough) flush();
}

void Output::flush() {
    const bool written = write_whole(descriptor_, waiting_);
    waiting_.clear();
    if (!written)
        throw Failure("Standard output can't be written: " + std::string(strerror(errno)));
}

int Output::columns() const {
    constexpr int usual = 80;  // of a terminal that doesn't know
    const int width = terminal_ ? width_of(descriptor_) : 0;
    return terminal_ && width <= 0 ? usual : width;
}

bool Output::has_colours() const {
    return terminal_ && !json_ && colours_wanted();
}

std::string Output::coloured(Colour colour, const std::string& text) const {
    return in_colour(has_colours(), colour, text);
}

Silence::Silence() {
#if defined(_WIN32)
    const int nowhere = _open("NUL", _O_WRONLY);
#else
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
#endif
    std::fflush(stdout);
    if (nowhere < 0) return;
    replace(1, nowhere);
    shut(nowhere);
}

Silence::~Silence() {
    std::fflush(stdout);
    replace(1, 2);
}

bool errors_to_terminal() {
    return terminal(2);
}

std::string coloured_error(Colour colour, const std::string& text) {
    return in_colour(terminal(2) && colours_wanted(), colour, text);
}

void print_error(const std::string& utf8) {
    write_whole(2, encoded(utf8, error_encoding));
}

void set_error_encoding(Encoding encoding) {
    error_encoding = encoding;
}

std::string size_text(double bytes) {
    constexpr std::array<const char*, 5> units = {"B", "KiB", "MiB", "GiB", "TiB"};
    size_t unit = 0;
    for (; bytes >= 1024 && unit + 1 < units.size(); ++unit) bytes /= 1024;
    char text[64];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
    return text;
}

std::string counted(uint64_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

}  // namespace tool
