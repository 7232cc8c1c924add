// File packages: a file or a folder with all that is in it, in one file.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

#include "commands.h"
#include "files.h"
#include "interrupt.h"
#include "package.h"
#include "progress.h"
#include "tree.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr int64_t kStep = 1 << 20;  // is copied between two looks at what else is wanted
constexpr int32_t kEverybody = 0666;

struct Order {
    std::string package, tree, folder;
    std::vector<std::string> items;
    bool replace = false;
};

// Both files stay open; a length of 0 would stand for the whole source.
void copy(const File& target, int64_t to, const File& source, int64_t from, int64_t length,
          Progress* progress, const std::string& failed) {
    std::vector<char> buffer(static_cast<size_t>(std::min(kStep, length)));
    for (int64_t done = 0; done < length;) {
        const int64_t part = std::min(kStep, length - done);
        check(ORVEX_HFILE_Copy(target.get(), to + done, source.get(), from + done, part, 0,
                               buffer.data(), static_cast<int32_t>(buffer.size())),
              failed);
        done += part;
        progress->advance(static_cast<uint64_t>(part));
    }
}

void show(Tool& tool, const std::string& name, bool is_folder, int64_t size, bool is_compressed,
          int64_t time) {
    char when[24] = "";
    const time_t seconds = time;
    if (const tm* parts = std::gmtime(&seconds)) {
        std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", parts);
    }
    char line[64];
    std::snprintf(line, sizeof line, "%12s  %-19s  ",
                  is_folder ? "folder" : std::to_string(size).c_str(), is_folder ? "" : when);
    Json object = {{"name", name}, {"kind", is_folder ? "folder" : "file"}};
    if (!is_folder) {
        object["bytes"] = size;
        object["modified"] = when;
        object["compressed"] = is_compressed;
    }
    const std::string text = is_folder ? tool.out.coloured(Colour::blue, name) : name;
    tool.out.say(line + text + (is_compressed ? "  (compressed)" : ""), object);
}

// ---- create ----

// A file or folder with what is in it, under the name it has.
struct Tree {
    fs::path root;  // which the package doesn't hold
    std::vector<Entry> entries;
    size_t left_behind = 0;
};

Tree tree_of(Tool& tool, const std::string& argument) {
    std::error_code error;
    const fs::path place = fs::canonical(native_path(argument), error);
    if (error) throw Failure("\"" + shown(argument) + "\" can't be read: " + error.message());
    if (!place.has_filename()) throw Failure("A whole disk isn't packed: name a folder of it");
    Tree tree;
    tree.root = place.parent_path();
    Entry top;
    top.path = library_path(path_text(place.filename()));
    const bool usable = fs::is_directory(place, error) || fs::is_regular_file(place, error);
    if (!usable || !state_of(library_path(path_text(place)), &top.state)) {
        throw Failure("\"" + shown(argument) + "\" is neither file nor folder");
    }
    tree.entries.push_back(top);
    if (!top.is_folder()) return tree;
    for (Entry& entry : entries_of(place, [&](const std::string&path, const std::string&why) {
             tool.warn("\"" + shown(argument + "/" + path) + "\" is left out: " + why);
             ++tree.left_behind;
         })) {
        entry.path = top.path + "/" + entry.path;
        tree.entries.push_back(entry);
    }
    return tree;
}

// A package inside its tree would be packed as well.
void refuse_inside(const std::string& package, const fs::path& tree) {
    std::error_code none;
    const fs::path file = fs::absolute(native_path(package));
    const bool is_tree = fs::equivalent(file, tree, none);
    for (fs::path at = fs::weakly_canonical(file.parent_path());; at = at.parent_path()) {
        if (is_tree || fs::equivalent(at, tree, none)) {
            throw Failure("\"" + shown(package) + "\" would stand in what it packs");
        }
        if (at == at.parent_path()) return;
    }
}

std::string backslashed(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}

class Packer {
 public:
    Packer(const File& package, const Tree& tree, Progress* progress)
        : package_(package), root_(library_path(path_text(tree.root))), progress_(progress) {}

    // A source that can't be opened is left out; one that fails later ends the command.
    bool add(const Entry& entry) {
        const std::string full = root_ + "/" + entry.path;
        const std::string failed = "\"" + shown(full) + "\" can't be packed";
        const std::string folder = backslashed(entry.folder());
        FILEPKG_ITEM item{};
        if (FILEPKG_GetFileInfo(root_.c_str(), folder.c_str(), entry.name().c_str(), &item) < 0) {
            return false;
        }
        std::unique_ptr<File> source;
        int64_t length = 0;
        if (item.bDirectory == 0) {
            ORVEX_HFILE* handle = ORVEX_HFILE_OpenMode(full.c_str(), ORVEX_OPEN_READ, 0);
            if (handle == nullptr) return false;
            source = std::make_unique<File>(handle, failed);
            length = source->size();
        }
        uint8ToChar8(static_cast<uint64_t>(length), item.n64DataLen);
        std::string bytes(reinterpret_cast<const char*>(&item), sizeof item);
        bytes += folder + '\0' + entry.name() + '\0';
        const int64_t content = at_ + static_cast<int64_t>(bytes.size());
        const int64_t end = at_ + FILEPKG_UTIL_ItemLen(&item);
        package_.write(bytes, at_);
        if (length > 0) copy(package_, content, *source, 0, length, progress_, failed);
        const auto padding = static_cast<size_t>(end - content - length);
        if (padding > 0) package_.write(std::string(padding, '\0'), content + length);
        at_ = end;
        return true;
    }

 private:
    const File& package_;
    std::string root_;
    Progress* progress_;
    int64_t at_ = sizeof(FILEPKG_HEAD);
};

void print_file(Tool& tool, const File& file) {
    std::string part(kStep, '\0');
    const int64_t size = file.size();
    for (int64_t at = 0; at < size; at += kStep) {
        const int64_t wanted = std::min(kStep, size - at);
        if (ORVEX_HFILE_ReadS(file.get(), part.data(), at, wanted) != wanted) {
            throw Failure("The package can't be read again");
        }
        tool.out.bytes({part.data(), static_cast<size_t>(wanted)});
    }
}

int create(Tool& tool, const Order& order) {
    tool.bring_up(Language::english);  // names of files are no Chinese text
    const bool to_output = order.package == "-";
    refuse_existing(order.package, order.replace);
    Tree tree = tree_of(tool, order.tree);
    if (!to_output) {
        refuse_inside(order.package, fs::canonical(native_path(order.tree)));
    }
    int64_t bytes = 0;
    for (const Entry& entry : tree.entries) bytes += entry.size();
    if (tool.settings.dry_run) {
        for (const Entry& entry : tree.entries) {
            show(tool, name_text(tool, entry.path), entry.is_folder(), entry.size(), false,
                 static_cast<int32_t>(Char4To_uint4(entry.state.nModTime)));
        }
        return tree.left_behind > 0 ? kPartly : kDone;
    }
    std::optional<Passing> passing;
    if (to_output) passing.emplace();
    Beside beside(to_output ? passing->file() : order.package);
    const std::string failed = "\"" + shown(order.package) + "\" can't be written";
    check(FILEPKG_New(beside.for_library().c_str()), failed);
    File package(beside.for_library(), ORVEX_OPEN_UPDATE, 0, failed);
    if (package.size() != sizeof(FILEPKG_HEAD)) throw Failure(failed);
    size_t items = 0;
    {
        Progress progress("packing", static_cast<uint64_t>(bytes));
        Packer packer(package, tree, &progress);
        for (const Entry& entry : tree.entries) {
            progress.advance(0);
            if (packer.add(entry)) {
                ++items;
                continue;
            }
            ++tree.left_behind;
            tool.tell(Failure("\"" + name_text(tool, entry.path) + "\" is left out"));
        }
    }
    if (to_output) {
        print_file(tool, package);
        return tree.left_behind > 0 ? kPartly : kDone;
    }
    package.close();
    refuse_existing(order.package, order.replace);  // one that came meanwhile
    beside.keep_file();
    tool.out.say(
        counted(items, "item") + " with " + size_text(static_cast<double>(bytes)) + " packed",
        {{"packed", items}, {"bytes", bytes}, {"left_out", tree.left_behind}});
    return tree.left_behind > 0 ? kPartly : kDone;
}

// ---- list, test ----

int list(Tool& tool, const Order& order) {
    tool.bring_up(Language::english);
    Package package(order.package);
    size_t items = 0;
    for (Item item; package.next(&item); ++items) {
        end_if_interrupted();
        show(tool, name_text(tool, item.path()), item.is_folder(), item.length(),
             item.is_compressed(), static_cast<int32_t>(Char4To_uint4(item.head.nModTime)));
    }
    tool.out.line(counted(items, "item"));
    return items > 0 ? kDone : kNothing;
}

// Why an item isn't restored; nothing for one that is.
std::string refusal(const Item& item, const std::optional<std::string>& path) {
    if (!path) return "its name would leave the folder, or is none here";
    return item.is_compressed() ? "it is compressed" : "";
}

int test(Tool& tool, const Order& order) {
    tool.bring_up(Language::english);
    Package package(order.package);
    size_t items = 0, refused = 0;
    Progress progress("testing", static_cast<uint64_t>(package.size()));
    std::set<std::string> names;
    for (Item item; package.next(&item); ++items) {
        progress.reach(static_cast<uint64_t>(item.position));
        const auto path = path_below(item);
        std::string reason = refusal(item, path);
        const bool is_new = !path || names.insert(*path).second || item.is_folder();
        if (reason.empty() && !is_new) reason = "another one has that name";
        if (reason.empty()) continue;
        ++refused;
        tool.warn("\"" + name_text(tool, item.path()) + "\" can't be restored: " + reason);
    }
    tool.out.say("the structure of " + counted(items, "item") +
                     " is right; it alone is proved: contents have no checksum",
                 {{"items", items}, {"structure", "right"}, {"not_restorable", refused}});
    return refused > 0 ? kPartly : kDone;
}

// ---- extract ----

class Extractor {
 public:
    Extractor(Tool& tool, const Package& package, std::string folder)
        : tool_(tool),
          package_(package),
          folder_(std::move(folder)),
          progress_("extracting", static_cast<uint64_t>(package.size())) {}

    // An item that isn't restored is told.
    void take(const Item& item) {
        progress_.reach(static_cast<uint64_t>(item.position));
        const auto path = path_below(item);
        const std::string reason = refusal(item, path);
        if (reason.empty() && (item.is_folder() ? make_folder(*path) : make_file(item, *path))) {
            ++restored_;
            bytes_ += item.is_folder() ? 0 : item.length();
        } else {
            ++left_out_;
            const std::string text = "\"" + name_text(tool_, item.path()) + "\" isn't restored";
            tool_.tell(Failure(reason.empty() ? text : text + ": " + reason));
        }
    }

    [[nodiscard]] size_t restored() const { return restored_; }
    [[nodiscard]] size_t left_out() const { return left_out_; }
    [[nodiscard]] int64_t bytes() const { return bytes_; }

 private:
    bool make_folder(const std::string& path) {
        if (path.empty() || folders_.count(path) != 0) return true;
        std::string full = folder_ + "/" + path;
        if (!tool_.settings.dry_run && ORVEX_DirCreateRecur(full.data(), 0) < 0) return false;
        folders_.insert(path);
        return true;
    }

    // The content, from its place in the package. A file that is there is another item's.
    bool make_file(const Item& item, const std::string& path) {
        const size_t slash = path.rfind('/');
        if (slash != std::string::npos && !make_folder(path.substr(0, slash))) return false;
        const int64_t length = item.length();
        if (tool_.settings.dry_run) return true;
        const std::string full = folder_ + "/" + path;
        ORVEX_HFILE* handle = ORVEX_HFILE_OpenMode(full.c_str(), ORVEX_OPEN_RESERVE, kEverybody);
        if (handle == nullptr) return false;
        const std::string failed = "\"" + name_text(tool_, path) + "\" can't be written";
        File file(handle, failed);
        if (length > 0) {
            copy(file, 0, package_.file(), item.content, length, &progress_, failed);
        }
        file.close();
        const auto time = static_cast<int32_t>(Char4To_uint4(item.head.nModTime));
        ORVEX_FileChangeModAccessTime(full.c_str(), time, time);
        return true;
    }

    Tool& tool_;
    const Package& package_;
    std::string folder_;
    Progress progress_;
    std::set<std::string> folders_;
    size_t restored_ = 0, left_out_ = 0;
    int64_t bytes_ = 0;
};

// An item itself, or what lies in a folder that is wanted; each that fits is met.
bool is_wanted(const Order& order, const std::string& path, std::set<std::string>* met) {
    bool is_one = order.items.empty();
    for (const std::string& wanted : order.items) {
        if (path != wanted && path.rfind(wanted + "/", 0) != 0) continue;
        met->insert(wanted);
        is_one = true;
    }
    return is_one;
}

int extract(Tool& tool, Order order) {
    tool.bring_up(Language::english);
    refuse_filled(order.folder);
    for (std::string& wanted : order.items) {
        wanted = library_path(wanted);
        while (wanted.size() > 1 && wanted.back() == '/') wanted.pop_back();  // as shells end it
    }
    Package package(order.package);
    Beside beside(order.folder);
    std::string folder = beside.for_library();
    if (!tool.settings.dry_run && ORVEX_DirCreateRecur(folder.data(), 0) < 0) {
        throw Failure("\"" + shown(order.folder) + "\" can't be made");
    }
    size_t restored = 0, left_out = 0;
    int64_t bytes = 0;
    std::set<std::string> met;
    {
        Extractor extractor(tool, package, folder);
        for (Item item; package.next(&item);) {
            if (is_wanted(order, item.path(), &met)) extractor.take(item);
        }
        restored = extractor.restored(), left_out = extractor.left_out();
        bytes = extractor.bytes();
    }
    if (restored + left_out == 0 && !order.items.empty()) {
        tool.warn("the package has no such item");
        return kNothing;
    }
    if (restored == 0 && left_out > 0) throw Failure("Nothing is restored");
    for (const std::string& wanted :
         std::set<std::string>(order.items.begin(), order.items.end())) {
        if (met.count(wanted) != 0) continue;
        tool.warn("the package has no \"" + name_text(tool, wanted) + "\"");
        ++left_out;
    }
    if (!tool.settings.dry_run) beside.keep();
    tool.out.say(counted(restored, "item") + " with " + size_text(static_cast<double>(bytes)) +
                     (tool.settings.dry_run ? " would be restored" : " restored"),
                 {{"restored", restored}, {"bytes", bytes}, {"left_out", left_out}});
    return left_out > 0 ? kPartly : kDone;
}

}  // namespace

void add_pack(Commands& commands) {
    const auto order = std::make_shared<Order>();
    CLI::App* group = commands.group("pack", "Makes, reads and restores file packages");
    const auto add = [&](const char* name, const char* summary,
                         std::vector<Commands::Example> examples, int (*run)(Tool&, const Order&)) {
        CLI::App* command = commands.add(name, summary, std::move(examples), group);
        command
            ->add_option("FILE", order->package,
                         run == create ? "The package; - is standard output"
                                       : "The package; - is standard input")
            ->required();
        commands.runs(command, [order, run](Tool& tool) { return run(tool, *order); });
        return command;
    };

    CLI::App* create_one = add(
        "create", "Packs a file, or a folder with all that is in it",
        {{"pack create cards.pkg cards", "the folder cards and all below it"},
         {"pack create - cards | ssh archive molte pack extract - cards", "to another machine"}},
        create);
    create_one->add_option("TREE", order->tree, "The file or folder")->required();
    create_one->add_flag("--replace", order->replace, "A package of that name is replaced");
    commands.changes(create_one);
    commands.describe(
        create_one,
        "The package has names, contents and times of files; no permissions, no compression.\n"
        "Links to files are packed as those files. Links to folders, what is neither file nor\n"
        "folder and what can't be read are told and left out; the exit code is 4 then. Names\n"
        "keep the bytes that they have on this machine. The package is made beside its place\n"
        "and may not stand inside of the tree.");

    add("list", "Lists what a package holds",
        {{"pack list cards.pkg", "each item with its size and time (UTC)"}}, list);

    CLI::App* extract_one =
        add("extract", "Restores what a package holds into a new folder",
            {{"pack extract cards.pkg restored", "all of it, as restored/..."},
             {"pack extract cards.pkg restored cards/2026", "one item, or a folder of it"}},
            [](Tool& tool, const Order& wanted) { return extract(tool, wanted); });
    extract_one->add_option("FOLDER", order->folder, "A new or empty one")->required();
    extract_one->add_option("ITEM", order->items, "Only these, as list shows them");
    commands.changes(extract_one);
    commands.describe(
        extract_one,
        "Each item's content is copied from its place in the package. Compressed items, and\n"
        "items whose names would leave the folder, are told and not restored; the exit code is\n"
        "4 then. The folder is made beside its place and moved there at the end.");

    CLI::App* test_one =
        add("test", "Tests the structure of a package, and that alone",
            {{"pack test cards.pkg", "whether all can be listed and restored"}}, test);
    commands.describe(
        test_one,
        "It proves that the heads, names and lengths of all items fit together. Packages have no\n"
        "checksums: whether the contents are those that were packed can't be told.");
}

}  // namespace tool
