// An installation made, or brought up to date: as the script moltelib-installation does it, with
// the same record of where its files came from, so that both may be used on one installation.
#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "sha256.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr char kRecord[] = ".moltelib-installation";
constexpr char kParameters[] = "CONF/rvexinit.ini";
constexpr char kLanguage[] = "DEF_LANG_ID = ";
constexpr size_t kLongestMainPath = 127;

struct Order {
    std::string folder, from, language;
};

// What each file of an installation came from, in the form of sha256sum.
using Origins = std::map<std::string, std::string>;

Origins read_origins(const fs::path& folder) {
    std::ifstream file(folder / kRecord, std::ios::binary);
    Origins origins;
    for (std::string line; std::getline(file, line);) {
        const size_t end = line.find("  ");
        if (end != std::string::npos) origins[line.substr(end + 2)] = line.substr(0, end);
    }
    return origins;
}

std::string text_of(const Origins& origins) {
    std::string text;
    for (const auto& [name, sum] : origins) {
        if (!sum.empty()) text += sum + "  " + name + "\n";
    }
    return text;
}

// The one that was installed with the tool: from BIN/molte, ../share.
fs::path installed_skeleton() {
    char program[4096];
    check(MOLTE_Win_GetExeName(program, sizeof program), "The tool doesn't find its own file");
    return path_from_library(program).parent_path().parent_path() / "share/moltelib/installation";
}

// Names of folders and of files, with slashes, sorted.
struct Skeleton {
    fs::path folder;
    std::vector<std::string> folders, files;
};

Skeleton read_skeleton(const std::string& from) {
    Skeleton skeleton{from.empty() ? installed_skeleton() : native_path(from), {}, {}};
    std::error_code none;
    if (!fs::exists(skeleton.folder / kParameters, none)) {
        throw Failure("\"" + shown(path_text(skeleton.folder)) +
                      "\" is no skeleton of an installation: it has no " + kParameters +
                      (from.empty() ? "; name one by --from" : ""));
    }
    for (const auto& entry : fs::recursive_directory_iterator(skeleton.folder)) {
        end_if_interrupted();
        const std::string inside = path_text(entry.path().lexically_relative(skeleton.folder));
        if (entry.is_directory()) skeleton.folders.push_back(inside);
        if (entry.is_regular_file() && inside != kRecord) skeleton.files.push_back(inside);
    }
    std::sort(skeleton.folders.begin(), skeleton.folders.end());
    std::sort(skeleton.files.begin(), skeleton.files.end());
    return skeleton;
}

// The text with another language of a new installation; the skeleton has the line as a comment.
std::string with_language(const std::string& text, const std::string& language) {
    std::istringstream lines(text);
    std::string changed;
    for (std::string line; std::getline(lines, line);) {
        const bool is_it = line.rfind(std::string("#") + kLanguage, 0) == 0;
        changed += (is_it ? kLanguage + language : line) + "\n";
    }
    return changed;
}

bool has_language(const std::string& text, const std::string& language) {
    return ("\n" + text).find("\n" + (kLanguage + language) + "\n") != std::string::npos;
}

class Installation {
 public:
    Installation(Tool& tool, const Order& order)
        : tool_(tool),
          place_(without_last_slash(fs::weakly_canonical(fs::absolute(native_path(order.folder))))),
          skeleton_(read_skeleton(order.from)),
          origins_(read_origins(place_)) {
        if (!order.language.empty()) {
            language_ = std::to_string(lid_of(*language_of(order.language)));
        }
        const std::string path = library_path(path_text(place_));
        if (path.size() > kLongestMainPath) {
            throw Failure("A main path has at most 127 bytes: \"" + shown(path_text(place_)) +
                          "\"");
        }
    }

    int make() {
        make_folders();
        for (const std::string& name : skeleton_.files) {
            end_if_interrupted();
            take(name);
        }
        put_record();
        return conclude();
    }

 private:
    [[nodiscard]] std::string at(const std::string& name) const {
        return path_text(place_) + "/" + name;
    }

    void make_folders() const {
        if (tool_.settings.dry_run) return refuse_unmakeable();
        make_folder(place_);
        for (const std::string& name : skeleton_.folders) make_folder(at_path(name));
    }
    void refuse_unmakeable() const {
        fs::path there = place_;
        std::error_code none;
        while (!fs::exists(there, none) && there.has_relative_path()) there = there.parent_path();
        if (fs::is_directory(there, none)) return;
        throw Failure("The folder \"" + shown(path_text(place_)) + "\" can't be made");
    }
    static void make_folder(const fs::path& path) {
        std::error_code error;
        fs::create_directories(path, error);
        if (error || !fs::is_directory(path)) {
            throw Failure("The folder \"" + shown(path_text(path)) + "\" can't be made" +
                          (error ? ": " + error.message() : ""));
        }
    }
    [[nodiscard]] fs::path at_path(const std::string& name) const {
        return place_ / native_path(name);
    }

    void take(const std::string& name) {
        const fs::path source = skeleton_.folder / native_path(name);
        const std::string text = read_whole(path_text(source));
        const std::string fresh = sha256(text), old = std::exchange(origins_[name], fresh);
        const std::string now = sum_of(name);
        if (now == fresh) return count("same");
        const bool keeps = !now.empty() && now != old;
        const std::string beside = keeps && fresh != old ? name + ".new" : "";
        if (!keeps) {
            const bool speaks = name == kParameters && !language_.empty();
            put(name, speaks ? with_language(text, language_) : text, source);
        } else if (!beside.empty()) {
            if (is_changed(beside, {old, fresh})) return leave(beside, &origins_[name], old);
            put(beside, text, source);
        }
        put_record();  // what is interrupted here goes on there
        tell(keeps ? "kept" : now.empty() ? "new" : "updated", name, beside);
    }

    [[nodiscard]] std::string sum_of(const std::string& name) const {
        return fs::exists(at_path(name)) ? sha256(read_whole(at(name))) : "";
    }
    [[nodiscard]] bool is_changed(const std::string& name,
                                  const std::vector<std::string>& from) const {
        const std::string now = sum_of(name);
        return !now.empty() && std::find(from.begin(), from.end(), now) == from.end();
    }
    // Somebody's work: told again each time, until it is moved away.
    void leave(const std::string& beside, std::string* origin, const std::string& old) {
        *origin = old;
        ++left_;
        count("kept");
        tool_.warn(beside + " was changed here and stays; a newer one waits for its place");
    }

    // Whoever reads the file meanwhile finds the old one or the new one.
    void put(const std::string& name, const std::string& text, const fs::path& source) const {
        if (tool_.settings.dry_run) return;
        const fs::path target = at_path(name);
        const fs::perms mode = fs::status(fs::exists(target) ? target : source).permissions();
        Beside file(at(name));
        write_whole(tool_.out, path_text(file.path()), text);
        fs::permissions(file.path(), mode | fs::perms::owner_read | fs::perms::owner_write);
        file.keep();
    }

    void put_record() const { put(kRecord, text_of(origins_), skeleton_.folder / kParameters); }

    void count(const std::string& did) { ++counts_[did]; }

    void tell(const std::string& did, const std::string& name, const std::string& beside) {
        count(did);
        const bool dry = tool_.settings.dry_run;
        std::string line = (dry ? "would be " : "") + did + std::string(9 - did.size(), ' ') + name;
        if (did == "kept") line += ", changed here";
        if (!beside.empty()) line += "; the new one is " + beside;
        Json object{{dry ? "would" : "did", did}, {"name", name}};
        if (!beside.empty()) object["beside"] = beside;
        tool_.out.say(line, object);
    }

    int conclude() {
        const auto number = [this](const char* did) { return std::to_string(counts_[did]); };
        Json object{{"folder", path_text(place_)}};
        for (const char* did : {"new", "updated", "kept", "same"}) object[did] = counts_[did];
        if (tool_.settings.dry_run) object["dry_run"] = true;
        tool_.out.say(path_text(place_) + (tool_.settings.dry_run ? " would have: " : ": ") +
                          number("new") + " new, " + number("updated") + " updated, " +
                          number("kept") + " kept, " + number("same") + " as they were",
                      object);
        if (left_ > 0) return kPartly;
        if (tool_.settings.dry_run || language_.empty() ||
            has_language(read_whole(at(kParameters)), language_)) {
            return kDone;
        }
        tool_.warn(std::string("the language stays as it was: see DEF_LANG_ID in ") + kParameters);
        return kPartly;
    }

    Tool& tool_;
    fs::path place_;
    Skeleton skeleton_;
    Origins origins_;
    std::string language_;
    std::map<std::string, int> counts_;
    int left_ = 0;  // files for which there is no place
};

}  // namespace

void add_init(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* init =
        commands.add("init", "Makes an installation, or brings one up to date",
                     {{"init /srv/ident --language en", "resources, parameter file and folders"},
                      {"init --dry-run /srv/ident", "what a newer library would change in it"}});
    commands.describe(
        init,
        "An installation is the folder that programs take as their main path. A file that was\n"
        "changed in it stays; if the new one differs from the one it came from, that is put "
        "beside\n"
        "it as NAME.new. The file .moltelib-installation keeps what each came from, in the form "
        "of\n"
        "sha256sum.");
    init->add_option("FOLDER", order->folder, "Where it is or is to be")->required();
    init->add_option("--from", order->from, "The skeleton; otherwise the one beside the tool")
        ->type_name("FOLDER");
    choice(init->add_option("--language", order->language, "Of a new installation; zh without it"),
           {"zh", "en", "es"});
    commands.changes(init);
    commands.runs(init, [order](Tool& tool) {
        if (order->folder.empty()) throw Failure("A folder has a name", kUsage);
        return Installation(tool, *order).make();
    });
}

}  // namespace tool
