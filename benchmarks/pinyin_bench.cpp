// Pinyin beside a bare walk of the same table that writes the same bytes, and beside the packages
// that a user of npm would pick, which scripts/bench installs; the table's building beside reading
// its file.
#include <fcntl.h>
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "moltelib.h"
#include "pair.h"

namespace {

namespace fs = std::filesystem;

constexpr int32_t kRoom = 256;

bool is_double(const char* text) {
    return static_cast<unsigned char>(*text) >= 0x81;
}

int32_t code_at(const char* text) {
    return static_cast<unsigned char>(text[0]) * 256 + static_cast<unsigned char>(text[1]);
}

const MOLTE_HZPY_ONEHZ& entry_at(const char* text) {
    return g_stPinYin.stHZ.pEntries[code_at(text) - g_stPinYin.stHZ.nFirstCode];
}

char* write(char* out, const char* text) {
    while (*text != '\0') *out++ = *text++;
    return out;
}

char* write_reading(char* out, const uint8_t* pair) {
    out = write(out, g_stPinYin.stPY.stShengmu.pEntries[pair[0]].szText);
    return write(out, g_stPinYin.stPY.stYunmu.pEntries[pair[1]].szText);
}

// What MOLTE_Name2Pinyin writes, for names of Chinese characters and letters.
void walk_all_readings(const char* name, char* out) {
    while (*name != '\0') {
        if (!is_double(name)) {
            *out++ = ' ';
            while (*name != '\0' && !is_double(name)) *out++ = *name++;
            *out++ = ' ';
            continue;
        }
        const MOLTE_HZPY_ONEHZ& entry = entry_at(name);
        for (int i = 0; i < entry.nCount; ++i) {
            *out++ = ' ';
            out = write_reading(out, entry.abyPair[i]);
        }
        if (entry.nCount > 0) *out++ = ' ';
        name += 2;
    }
    *out = '\0';
}

// What MOLTE_HZPY_Str2Py writes for a name of characters with one reading each.
void walk_one_reading(const char* name, char* out) {
    for (const char* at = name; *at != '\0'; at += 2) {
        if (at != name) *out++ = ' ';
        out = write_reading(out, entry_at(at).abyPair[0]);
    }
    *out = '\0';
}

// What it hands over for any name of characters: a heap text for each piece, and the choices.
void walk_choices(const char* name, char* out) {
    std::unique_ptr<MOLTE_HZPY_PYSEG[]> pieces;
    size_t count = 0;
    std::unique_ptr<MOLTE_HZPY_ONEHZSTR[]> choices;
    int choice_count = 0;
    char* end = out;
    const size_t most = std::strlen(name) + 1;
    const auto store = [&](const char* text, size_t size) {
        if (pieces == nullptr) pieces = std::make_unique<MOLTE_HZPY_PYSEG[]>(most);
        pieces[count] = {static_cast<char*>(std::malloc(size + 1)), static_cast<int32_t>(size + 1)};
        std::memcpy(pieces[count].pszText, text, size);
        pieces[count++].pszText[size] = '\0';
    };
    for (; *name != '\0'; name += 2) {
        const MOLTE_HZPY_ONEHZ& entry = entry_at(name);
        if (entry.nCount < 2) {
            if (end != out || count > 0) *end++ = ' ';
            end = write_reading(end, entry.abyPair[0]);
            continue;
        }
        if (end != out) {
            if (count > 0) *end++ = ' ';
            store(out, static_cast<size_t>(end - out));
            end = out;
        }
        store(name, 2);
        if (choices == nullptr) choices = std::make_unique<MOLTE_HZPY_ONEHZSTR[]>(16);
        MOLTE_HZPY_ONEHZSTR& choice = choices[static_cast<size_t>(choice_count++)];
        for (int i = 0; i < entry.nCount; ++i) {
            *write_reading(choice.aszPY[i], entry.abyPair[i]) = '\0';
        }
        choice.nCount = entry.nCount;
        choice.nSegIndex = static_cast<int32_t>(count) - 1;
    }
    *end = '\0';
    if (choice_count == 0) return;
    if (end != out) store(out, static_cast<size_t>(end - out));
    for (size_t i = 0; i < count; ++i) std::free(pieces[i].pszText);
}

void str2py(const char* name, char* out) {
    MOLTE_HZPY_PYSEG* pieces;
    MOLTE_HZPY_ONEHZSTR* choices;
    int32_t piece_count;
    int32_t choice_count;
    if (MOLTE_HZPY_Str2Py(name, out, kRoom, &pieces, &piece_count, &choices, &choice_count) > 0) {
        return;
    }
    MOLTE_HZPY_PYSEG_Free(pieces, piece_count);
    ORVEX_free(pieces);
    ORVEX_free(choices);
}

void all_readings(const char* name, char* out) {
    MOLTE_Name2Pinyin(name, out, kRoom);
}

// Names of two to four common characters, of all of them or of those with one reading, as GB 2312
// has them in its first level.
std::vector<std::string> make_names(bool one_reading, bool with_letters) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> lead(0xB0, 0xD6);
    std::uniform_int_distribution<int> trail(0xA1, 0xFE);
    std::vector<std::string> names(100000);
    for (std::string& name : names) {
        const size_t size = 2 * (2 + random() % 3);
        while (name.size() < size) {
            const char bytes[3] = {static_cast<char>(lead(random)),
                                   static_cast<char>(trail(random)), 0};
            if (one_reading ? entry_at(bytes).nCount == 1 : entry_at(bytes).nCount > 0)
                name += bytes;
        }
        if (with_letters && random() % 8 == 0) name += "Ming";
    }
    return names;
}

// The characters of the readings' test data up to a line of theirs, or from there on.
std::vector<std::string> common_characters(bool family_names) {
    std::ifstream file(COMMON_CHARACTERS, std::ios::binary);
    std::vector<std::string> characters;
    bool everyday = false;
    for (std::string line; std::getline(file, line);) {
        everyday = everyday || line == "# Everyday text.";
        if (line[0] == '#' || everyday == family_names) continue;
        for (size_t i = line.find(' ') + 1; i + 1 < line.size(); i += 2) {
            characters.push_back(line.substr(i, 2));
        }
    }
    return characters;
}

// Names as they are met: a family name and one or two characters of everyday text.
std::vector<std::string> make_common_names() {
    const std::vector<std::string> family = common_characters(true);
    const std::vector<std::string> given = common_characters(false);
    std::mt19937 random(1);
    std::vector<std::string> names(100000);
    for (std::string& name : names) {
        name = family[random() % family.size()] + given[random() % given.size()];
        if (random() % 4 != 0) name += given[random() % given.size()];
    }
    return names;
}

template <typename Ours, typename Peer>
void pair_over(const char* title, const std::vector<std::string>& names, Ours ours, Peer peer) {
    char text[kRoom];
    char other[kRoom];
    for (const std::string& name : names) {
        text[0] = other[0] = '\0';
        ours(name.c_str(), text);
        peer(name.c_str(), other);
        if (text[0] != '\0' && std::strcmp(text, other) != 0) std::printf("differ: %s\n", text);
    }
    const auto all = [&](auto& operation) {
        for (const std::string& name : names) {
            operation(name.c_str(), text);
            molte_bench::keep(text);
        }
    };
    molte_bench::pair(
        title, "bare walk", [&] { all(ours); }, [&] { all(peer); });
}

// From the code page's bytes to UTF-8.
std::string utf8_of(std::string text) {
    std::string utf8(2 * text.size(), '\0');
    char* from = text.data();
    char* to = utf8.data();
    size_t left = text.size();
    size_t room = utf8.size();
    const iconv_t converter = iconv_open("UTF-8", "GBK");
    if (iconv(converter, &from, &left, &to, &room) != 0) std::abort();
    iconv_close(converter);
    utf8.resize(utf8.size() - room);
    return utf8;
}

// Both ways over all names, and then what pinyin_peers.mjs tells of the same ones.
void beside_npm(const char* which, const std::vector<std::string>& names) {
    if (!fs::exists(PEER_FOLDER "/node_modules")) {
        molte_bench::missing(which, "npm's packages aren't there");
        return;
    }
    std::string lines;
    for (const std::string& name : names) lines += name + "\n";
    const fs::path file = fs::path(PEER_FOLDER) / "names.txt";
    std::ofstream(file, std::ios::binary) << utf8_of(lines);
    const auto over_all = [&](auto operation) {
        return [&names, operation] {
            char text[kRoom];
            for (const std::string& name : names) {
                operation(name.c_str(), text);
                molte_bench::keep(text);
            }
        };
    };
    const std::string names_of_all = std::string("MOLTE_Name2Pinyin, ") + which;
    const std::string names_of_one = std::string("MOLTE_HZPY_Str2Py, ") + which;
    const molte_bench::Samples all = molte_bench::samples_of(over_all(all_readings));
    const molte_bench::Samples one = molte_bench::samples_of(over_all(str2py));
    const std::string command =
        "node " BENCH_FOLDER "/pinyin_peers.mjs " PEER_FOLDER " " + file.string();
    FILE* peers = popen(command.c_str(), "r");
    char line[1024];
    while (std::fgets(line, sizeof line, peers) != nullptr) {
        std::istringstream words(line);
        std::string title;
        molte_bench::Samples times;
        std::getline(words, title, '\t');
        for (double time; words >> time;) times.add(time);
        molte_bench::row(names_of_all.c_str(), title.c_str(), all, times);
        molte_bench::row(names_of_one.c_str(), title.c_str(), one, times);
    }
    if (pclose(peers) != 0) molte_bench::missing(which, "node failed");
}

// As text, line by line.
void read_lines() {
    static char line[65536];
    FILE* file = std::fopen("CONF/LANG/HZ/PINYIN.TXT", "r");
    while (std::fgets(line, sizeof line, file) != nullptr) molte_bench::keep(line);
    std::fclose(file);
}

void read_whole() {
    const int fd = open("CONF/LANG/HZ/PINYIN.TXT", O_RDONLY);
    struct stat status {};
    fstat(fd, &status);
    std::vector<char> block(static_cast<size_t>(status.st_size));
    if (read(fd, block.data(), block.size()) < 1) std::abort();
    close(fd);
    molte_bench::keep(block);
}

}  // namespace

int main() {
    fs::current_path(RESOURCE_FOLDER);
    ORVEX_SetMainPath(".");
    OXLANG_LID_Set(OXLANG_KIND_DEFAULT, OXLANG_CHINESE);
    if (MOLTE_HZPY_Init(&g_stPinYin) < 0) return 1;

    pair_over("all readings", make_names(false, true), all_readings, walk_all_readings);
    pair_over("one reading each", make_names(true, false), str2py, walk_one_reading);
    pair_over("with choices", make_names(false, false), str2py, walk_choices);
    pair_over("names as met", make_common_names(), all_readings, walk_all_readings);

    const auto build = [] {
        MOLTE_HZPY_Release(&g_stPinYin);
        g_stPinYin.bInited = 0;
        MOLTE_HZPY_Init(&g_stPinYin);
    };
    beside_npm("names as met", make_common_names());
    beside_npm("one reading each", make_names(true, false));
    molte_bench::pair("building the table", "fgets of its lines", build, read_lines);
    molte_bench::pair("building the table", "one read", build, read_whole);
    MOLTE_HZPY_Release(&g_stPinYin);
    ORVEX_BASE_ReleaseVar();
}
