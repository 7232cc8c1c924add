// Parameters in an INI file, and how a change is told.
#include <algorithm>
#include <fstream>
#include <set>

#include "param.h"

namespace tool {

int code_of(size_t done, size_t all, int none) {
    return done == all ? kDone : done > 0 ? kPartly : none;
}

void tell_unknown(Tool& tool, const std::string& name) {
    tool.warn("there is no parameter \"" + shown(from_library(name)) + "\"");
}

std::string lost_in_file(const std::string& value) {
    if (value.find_first_of("#\t\r\n") != std::string::npos) {
        return "holds a #, a tab or a line end, which an INI file can't keep";
    }
    if (!value.empty() && value[0] == ' ') return "begins with a blank, which an INI file drops";
    return "";
}

std::vector<Wanted> wanted_of(const Tool& tool, const std::vector<std::string>& words) {
    std::vector<Wanted> wanted;
    std::set<std::string> names;
    for (const std::string& word : words) {
        wanted.push_back(tool::wanted_of(tool, word));
        if (!names.insert(wanted.back().name).second) {
            throw Failure("\"" + shown(from_library(wanted.back().name)) + "\" stands twice",
                          kUsage);
        }
    }
    return wanted;
}

bool say_change(Tool& tool, const std::string& name, const std::string& before,
                const std::string& asked, const std::string& now) {
    const bool same = before == asked, done = now == asked;
    const char* did = same && done ? "same" : done ? "set" : now == before ? "refused" : "other";
    std::string text = shown(name) + ": ";
    if (same && done)
        text += "is \"" + shown(now) + "\" already";
    else if (done)
        text += "\"" + shown(before) + "\" -> \"" + shown(now) + "\"";
    else if (now == before)
        text += "stays \"" + shown(now) + "\"";
    else
        text += "\"" + shown(before) + "\" -> \"" + shown(now) + "\", not \"" + shown(asked) + "\"";
    tool.out.say(
        text, {{"name", name}, {"before", before}, {"asked", asked}, {"value", now}, {"did", did}});
    return done;
}

void say_plan(Tool& tool, const std::string& name, const std::string& before,
              const std::string& asked) {
    tool.out.say(
        "would set " + shown(name) + ": \"" + shown(before) + "\" -> \"" + shown(asked) + "\"",
        {{"name", name}, {"before", before}, {"asked", asked}, {"dry_run", true}});
}

namespace {

constexpr size_t kSlot = MOLTE_PARAM_SLOT;

class IniFile {
 public:
    explicit IniFile(const std::string& argument)
        : name_(shown(argument)), path_(library_path(argument)) {
        check(ORVEX_FileLenByFileName(path_.c_str()), "\"" + name_ + "\" can't be read");
        if (std::filesystem::is_directory(native_path(argument))) {
            throw Failure("\"" + name_ + "\" can't be read: it is a folder");
        }
        read_names(argument);
    }

    [[nodiscard]] const std::vector<std::string>& names() const { return names_; }
    [[nodiscard]] bool has(const std::string& name) const { return known_.count(name) > 0; }
    [[nodiscard]] bool has_twice(const std::string& name) const { return twice_.count(name) > 0; }

    [[nodiscard]] std::vector<std::string> values(const std::vector<std::string>& names) const {
        std::vector<char> slots((names.size() + 1) * kSlot);
        check(PARAMETER_GetValueArray(path_.c_str(), pointers(names).data(), slots.data(),
                                      static_cast<int32_t>(names.size())),
              "\"" + name_ + "\" can't be read");
        std::vector<std::string> values;
        for (size_t i = 0; i < names.size(); ++i) {
            const char* slot = &slots[i * kSlot];
            values.emplace_back(slot, strnlen(slot, kSlot));
        }
        return values;
    }

    void set(const std::vector<std::string>& names, const std::vector<std::string>& values) const {
        std::vector<char> slots((names.size() + 1) * kSlot);
        for (size_t i = 0; i < names.size(); ++i) values[i].copy(&slots[i * kSlot], kSlot - 1);
        check(PARAMETER_SetValueArray(path_.c_str(), pointers(names).data(), slots.data(),
                                      static_cast<int32_t>(names.size())),
              "\"" + name_ + "\" can't be written");
    }

 private:
    static std::vector<const char*> pointers(const std::vector<std::string>& names) {
        std::vector<const char*> all;
        for (const std::string& name : names) all.push_back(name.c_str());
        return all;
    }

    // In the order of the file: moltelib/parameter_file.h tells what a name is.
    void read_names(const std::string& argument) {
        std::ifstream file(native_path(argument), std::ios::binary);
        std::string line;
        for (bool first = true; std::getline(file, line); first = false) {
            if (first && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
            const size_t begin = std::min(line.find_first_not_of(" \t"), line.size());
            const size_t end = line.find_first_of(" \t#=\r", begin);
            if (end == std::string::npos || end == begin) continue;
            const size_t equals = line.find_first_not_of(" \t", end);
            if (equals == std::string::npos || line[equals] != '=') continue;
            const std::string name = line.substr(begin, end - begin);
            if (known_.insert(name).second)
                names_.push_back(name);
            else
                twice_.insert(name);
        }
    }

    std::string name_, path_;
    std::vector<std::string> names_;
    std::set<std::string> known_, twice_;
};

int read_file(Tool& tool, const ParamOrder& order, const IniFile& file) {
    std::vector<std::string> names;
    for (const std::string& word : order.words) names.push_back(to_library(tool.argument(word)));
    if (names.empty()) names = file.names();
    const auto values = file.values(names);
    size_t found = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        if (!file.has(names[i])) {
            tell_unknown(tool, names[i]);
            continue;
        }
        const std::string name = from_library(names[i]), value = from_library(values[i]);
        tool.out.say(shown(name) + " = " + shown(value), {{"name", name}, {"value", value}});
        ++found;
    }
    return names.empty() ? kNothing : code_of(found, names.size(), kNothing);
}

int change_file(Tool& tool, const ParamOrder& order, const IniFile& file) {
    std::vector<std::string> names, asked;
    for (const Wanted& one : wanted_of(tool, order.words)) {
        std::string wrong = lost_in_file(one.value);
        if (one.value.size() >= kSlot)
            wrong = "is longer than " + std::to_string(kSlot - 1) + " bytes";
        if (one.name.find_first_of(" \t#\r\n") != std::string::npos)
            wrong = "has no name that an INI file can keep";
        if (!wrong.empty()) {
            throw Failure("\"" + shown(from_library(one.value)) + "\" for " +
                              shown(from_library(one.name)) + " " + wrong,
                          kUsage);
        }
        names.push_back(one.name);
        asked.push_back(one.value);
    }
    for (const std::string& name : names) {
        if (file.has_twice(name)) {
            throw Failure("\"" + shown(from_library(name)) +
                          "\" stands twice in the file, so it can't be set");
        }
    }
    const auto before = file.values(names);
    if (!tool.settings.dry_run) file.set(names, asked);
    const auto now = file.values(names);
    size_t done = 0, changed = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = from_library(names[i]), value = from_library(asked[i]);
        if (tool.settings.dry_run) {
            say_plan(tool, name, from_library(before[i]), value);
            ++done;
            continue;
        }
        if (say_change(tool, name, from_library(before[i]), value, from_library(now[i]))) ++done;
        if (now[i] != before[i]) ++changed;
    }
    return code_of(done, names.size(), changed > 0 ? kPartly : kFailed);
}

}  // namespace

int param_file(Tool& tool, const ParamOrder& order) {
    const auto has_value = [](const std::string& word) {
        return word.find('=') != std::string::npos;
    };
    const auto count = std::count_if(order.words.begin(), order.words.end(), has_value);
    const bool changes = count > 0;
    if (changes && count != static_cast<std::ptrdiff_t>(order.words.size())) {
        throw Failure("Names alone are read, NAME=VALUE is set: not both at once", kUsage);
    }
    const IniFile file(order.place);
    return changes ? change_file(tool, order, file) : read_file(tool, order, file);
}

}  // namespace tool
