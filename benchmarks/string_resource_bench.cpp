// String resources beside their peers: loading beside a bare parse by expat, with handlers that do
// nothing; looking up beside gettext.
#include <expat.h>
#include <libintl.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "configuration/rcxmlpro.h"
#include "moltelib.h"
#include "pair.h"

namespace fs = std::filesystem;

namespace {

constexpr int kTexts = 50000;
constexpr uint32_t kFirstId = 1000;

// Texts of the length that real ones have, in Chinese or English.
std::string text_of_number(uint32_t id, bool chinese) {
    const std::string number = std::to_string(id);
    return chinese ? "打开或创建文件 " + number + " 失败，请与系统管理员联系"
                   : "Opening or creating file " + number + " failed, ask your administrator";
}

std::string write_resource(const fs::path& file, bool chinese) {
    std::ofstream out(file, std::ios::binary);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ORVEX_RESOURCE version=\"1.0\" "
           "langid=\"804\">\n  <STRINGTABLE>\n";
    for (uint32_t id = kFirstId; id < kFirstId + kTexts; ++id) {
        out << "    <ITEM id=\"" << id << "\" strid=\"TEXT_" << id << "\" value=\""
            << text_of_number(id, chinese) << "\"/>\n";
    }
    out << "  </STRINGTABLE>\n</ORVEX_RESOURCE>\n";
    return file.string();
}

void write_catalogue(const fs::path& folder) {
    const fs::path messages = folder / "zh_CN" / "LC_MESSAGES";
    fs::create_directories(messages);
    std::ofstream out(folder / "texts.po");
    out << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n";
    for (uint32_t id = kFirstId; id < kFirstId + kTexts; ++id) {
        out << "msgid \"" << id << "\"\nmsgstr \"" << text_of_number(id, true) << "\"\n";
    }
    out.close();
    const std::string command = "msgfmt -o '" + (messages / "texts.mo").string() + "' '" +
                                (folder / "texts.po").string() + "'";
    if (std::system(command.c_str()) != 0) std::exit(1);
}

void parse_bare(const std::string& file) {
    FILE* stream = std::fopen(file.c_str(), "rb");
    const auto size = fs::file_size(file);
    char* text = static_cast<char*>(std::malloc(size));
    if (stream == nullptr || text == nullptr || std::fread(text, 1, size, stream) != size) {
        std::exit(1);
    }
    std::fclose(stream);
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        parser, [](void*, const char*, const char**) {}, [](void*, const char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const char*, int) {});
    if (XML_Parse(parser, text, static_cast<int>(size), 1) != XML_STATUS_OK) std::exit(1);
    XML_ParserFree(parser);
    std::free(text);
}

void bench_load(const char* name, const fs::path& folder, bool chinese) {
    const std::string file = write_resource(folder / "bench.xml", chinese);
    const auto load = [&file] {
        molte::RC_TABLE table{};
        if (molte::RCXML_LoadFile(table, file.c_str()) < 0 || table.nCount != kTexts) {
            std::exit(1);
        }
        molte::free_table(table);
    };
    molte_bench::pair(name, "expat", load, [&file] { parse_bare(file); });
}

// Walks through numbers in an order without rule.
template <typename LookUp>
auto walk(const std::vector<uint32_t>& ids, LookUp look_up) {
    return [&ids, look_up, at = size_t{0}]() mutable {
        molte_bench::keep(look_up(at));
        at = at + 1 < ids.size() ? at + 1 : 0;
    };
}

void bench_look_up(const fs::path& folder) {
    std::vector<uint32_t> ids(kTexts);
    for (int i = 0; i < kTexts; ++i)
        ids[static_cast<size_t>(i)] = kFirstId + static_cast<uint32_t>(i);
    std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
    std::vector<std::string> names;
    for (const uint32_t id : ids) names.push_back(std::to_string(id));
    const auto ours = [&ids](size_t at) { return molte::RCXML_GetString(ids[at]); };
    if (ours(0) != molte::RCXML_GetString(ids[0]) || ours(0) == nullptr) std::exit(1);

    write_catalogue(folder);
    std::setlocale(LC_ALL, "C.UTF-8");
    setenv("LANGUAGE", "zh_CN", 1);
    bindtextdomain("texts", folder.c_str());
    bind_textdomain_codeset("texts", "UTF-8");
    if (dgettext("texts", names[0].c_str()) != text_of_number(ids[0], true)) std::exit(1);
    const auto gettext = [&names](size_t at) { return dgettext("texts", names[at].c_str()); };
    molte_bench::pair("one text", "gettext", walk(ids, ours), walk(ids, gettext));
}

}  // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / "moltelib-string-resource-bench";
    fs::create_directories(folder / "resource/zh/cn");
    fs::create_directories(folder / "CONF");
    ORVEX_SetMainPath(folder.c_str());
    std::ofstream(folder / "CONF/rvexinit.ini") << "DEF_LANG_ID = 2052\n";
    write_resource(folder / "resource/zh/cn/moltelibrc_zh.xml", true);
    if (molte::RCXML_Init() < 0) return 1;
    bench_load("50,000 texts in Chinese", folder, true);
    bench_load("50,000 texts in English", folder, false);
    bench_look_up(folder);
    molte::RCXML_Release();
    fs::remove_all(folder);
    return 0;
}
