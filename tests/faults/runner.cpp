// Runs every scenario in processes of its own, each with another failure: of allocation 1, 2, ...
// until none fails, once alone and once with all that follow; then so of the calls of the system.
//
//     faults [--memory | --system] [FAMILY]   all failures, or such alone; all families, or one
//     faults FAMILY KIND N                    one run, shown: KIND is a name of kKinds below
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "faults.h"
#include "support/temp_folder.h"

// Of the address sanitizer alone.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));

namespace fs = std::filesystem;

Run* this_run = nullptr;

namespace {

constexpr unsigned kLimit = 10;    // seconds; what takes longer hangs
constexpr int kMostProblems = 12;  // shown of a family
constexpr int kLeak = 23;          // exit code

// A signal comes once, and a process dies once; a disk can stay broken or full.
constexpr Plan kKinds[] = {
    {"memory", Fault::memory, 0, false},         {"memory-onwards", Fault::memory, 0, true},
    {"EIO", Fault::error, EIO, false},           {"EIO-onwards", Fault::error, EIO, true},
    {"ENOSPC", Fault::error, ENOSPC, false},     {"ENOSPC-onwards", Fault::error, ENOSPC, true},
    {"EINTR", Fault::error, EINTR, false},       {"half", Fault::half, 0, false},
    {"half-onwards", Fault::half, 0, true},      {"death", Fault::death, 0, false},
    {"half-death", Fault::half_death, 0, false},
};

enum Count { kFaults, kTold, kCrashes, kHangs, kTorn, kLeaks, kCounts };
using Counts = std::array<long, kCounts>;

// What all share of an excuse.
struct Excuse {
    const char* reason;
    bool needed;
};

template <typename T>
T* shared(size_t count = 1) {
    void* const page =
        mmap(nullptr, count * sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) std::abort();
    return static_cast<T*>(page);
}
Excuse* excuses = nullptr;  // up to one without a reason
std::unique_ptr<const TempFolder> work;
bool shown = false;

std::map<std::string, Scenario>& scenarios() {
    static std::map<std::string, Scenario> all;
    return all;
}

fs::path folder() {
    return work->path() / "run";
}

// What it prints goes to a file that is shown when something is wrong.
void settle_in() {
    const int fd = open((*work / "output").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (!shown && (dup2(fd, 1) < 0 || dup2(fd, 2) < 0)) std::abort();
    close(fd);
    fs::current_path(folder());
    setenv("MOLTELIB_REGISTRY_FOLDER", (folder() / "registry").c_str(), 1);
    setenv("MOLTELIB_OBJECT_FOLDER", (folder() / "objects").c_str(), 1);
}

// Runs it in a process of its own; the status that it ended with.
int in_process(void (*scenario)(), bool may_leak) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        settle_in();
        alarm(kLimit);
        scenario();
        if (g_stBv.nInitCount != 0) ORVEX_BASE_ReleaseVar();
        alarm(0);
        const fs::directory_iterator open_ones("/proc/self/fd");
        this_run->descriptors = static_cast<int>(std::distance(begin(open_ones), end(open_ones)));
        const bool leaks = !may_leak && this_run->watch.plan.fault <= Fault::memory &&
                           __lsan_do_recoverable_leak_check != nullptr &&
                           __lsan_do_recoverable_leak_check() != 0;
        std::fflush(nullptr);
        _exit(leaks ? kLeak : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

// Who made the first call that failed, as far as it lies in the library.
void show_trace() {
    Dl_info library;
    dladdr(reinterpret_cast<void*>(ORVEX_BASE_InitVar), &library);
    std::ostringstream command;
    command << "addr2line -Cfpse '" << library.dli_fname << "'" << std::hex;
    for (int i = 0; i < this_run->watch.depth; ++i) {
        command << ' '
                << static_cast<char*>(this_run->watch.trace[i]) -
                       static_cast<char*>(library.dli_fbase) - 1;
    }
    command << " | grep -v '^[?]'";
    std::fflush(stdout);
    if (std::system(command.str().c_str()) != 0) std::puts("(no trace)");
}

void print(const std::string& name, const Counts& of) {
    const long problems = of[kCrashes] + of[kHangs] + of[kTorn] + of[kLeaks];
    std::printf("%s%ld faults: %ld told, %ld absorbed, %ld crashes, %ld hangs, %ld torn",
                name.c_str(), of[kFaults], of[kTold], of[kFaults] - of[kTold] - problems,
                of[kCrashes], of[kHangs], of[kTorn]);
    const bool leaks = of[kLeaks] > 0 || __lsan_do_recoverable_leak_check != nullptr;
    std::puts(leaks ? (", " + std::to_string(of[kLeaks]) + " leaks").c_str() : "");
}

class Family {
 public:
    explicit Family(std::string name)
        : name_(std::move(name)), before_(scenarios()[name_]), after_(scenarios()[name_ + "+"]) {}

    Counts try_all(bool memory, bool system) {
        try_one({}, 0);
        const int calls = this_run->watch.system_calls;
        for (const Plan& kind : kKinds) {
            const bool of_memory = kind.fault == Fault::memory;
            if (of_memory ? !memory : !system) continue;
            for (int at = 1; of_memory || at <= calls; ++at) {
                if (!try_one(kind, at) && of_memory) break;
            }
        }
        print(name_ + ": ", counts_);
        return counts_;
    }

    // Whether the fault struck.
    bool try_one(Plan plan, int at) {
        fs::remove_all(folder());
        fs::create_directory(folder());
        fs::remove(*work / "output");
        std::memset(static_cast<void*>(this_run), 0, sizeof *this_run);
        plan.at = at;
        this_run->watch.plan = plan;
        const int status = in_process(before_, false);
        const bool struck = this_run->watch.struck > 0;
        this_run->died = struck && plan.fault >= Fault::death;
        bool right = judge(status);
        if (at == 0) descriptors_ = this_run->descriptors;
        if (right && this_run->descriptors > descriptors_) {
            right = show(kLeaks, "a descriptor stays open");
        }
        if (right && after_ != nullptr) right = judge(in_process(after_, true));
        counts_[kFaults] += struck || !right ? 1 : 0;
        counts_[kTold] += right && this_run->told ? 1 : 0;
        return struck;
    }

 private:
    bool judge(int status) {
        const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        if (signal == SIGALRM) return show(kHangs, "hang");
        if (WIFEXITED(status) && WEXITSTATUS(status) == kLeak) return show(kLeaks, "leak");
        const bool meant = status == 0 || (signal == SIGKILL && this_run->died);
        if (!meant) return show(kCrashes, "crash, status " + std::to_string(status));
        return this_run->problem[0] == '\0' || show(kTorn, this_run->problem);
    }
    bool show(Count count, const std::string& problem) {
        ++counts_[count];
        if (++shown_problems_ > kMostProblems) return false;
        std::printf("%s, %s %d: %s\n%s", name_.c_str(), this_run->watch.plan.name,
                    this_run->watch.plan.at, problem.c_str(),
                    read_bytes(*work / "output").substr(0, 6000).c_str());
        show_trace();
        return false;
    }

    std::string name_;
    Scenario before_;
    Scenario after_;
    int descriptors_ = 0;  // that a run without a fault leaves open
    int shown_problems_ = 0;
    Counts counts_{};
};

// One run, with its output.
int show_run(char** words) {
    shown = true;
    const auto* const kind =
        std::find_if(std::begin(kKinds), std::end(kKinds),
                     [&](const Plan& each) { return equal(each.name, words[1]); });
    if (kind == std::end(kKinds)) return 2;
    Family family(words[0]);
    family.try_one({}, 0);
    family.try_one(*kind, std::atoi(words[2]));
    std::printf("struck %d times%s\n", this_run->watch.struck.load(),
                this_run->told ? ", told" : "");
    show_trace();
    return 0;
}

// Whether each public header that holds something to run has its scenario.
bool every_family_has_one() {
    bool complete = true;
    std::istringstream headers(FAMILIES);
    for (std::string family; std::getline(headers, family, ',');) {
        const bool types_alone = family == "base" || family == "program_version";
        if (types_alone || scenarios().contains(family)) continue;
        std::printf("%s has no scenario\n", family.c_str());
        complete = false;
    }
    return complete;
}

bool every_excuse_is_needed() {
    bool all = true;
    for (const Excuse* excuse = excuses; excuse->reason != nullptr; ++excuse) {
        if (excuse->needed) continue;
        std::printf("not needed: %s\n", excuse->reason);
        all = false;
    }
    return all;
}

}  // namespace

AddScenario::AddScenario(const char* name, Scenario scenario) {
    scenarios()[name] = scenario;
}

// ---- What scenarios call ----

const char* in_folder(std::string_view name) {
    const bool was_armed = disarm();
    static std::list<std::string> paths;
    std::string& path = paths.emplace_back((folder() / name).string());
    std::replace(path.begin() + static_cast<ptrdiff_t>(work->str().size()), path.end(), '/', '\\');
    arm(was_armed);
    return path.c_str();
}

const char* given(std::string_view name, std::string_view bytes) {
    fs::create_directories((folder() / name).parent_path());
    work->write("run/" + std::string(name), bytes);
    return in_folder(name);
}

std::string bytes_of(std::string_view name) {
    return fs::exists(folder() / name) ? read_bytes(folder() / name) : "(none)";
}

void install(std::string_view ini) {
    given("CONF/rvexinit.ini", ini);
    fs::create_directories(folder() / "LOG");
    ORVEX_SetMainPath(folder().c_str());
}

void bring_up(std::string_view ini) {
    install(ini);
    RIGHT(ORVEX_BASE_InitVar() == 1);
}

bool did_work(bool done, const char* call, const char* file, int line) {
    if (done) return true;
    const std::string what = call;
    if (this_run->watch.struck == 0) tell_problem(file, line, what + " failed without a fault");
    if (GetRvexErrNo() == 0) tell_problem(file, line, what + " failed and left no error");
    this_run->told = true;
    return false;
}

void tell_problem(const char* file, int line, const std::string& what) {
    if (this_run->problem[0] != '\0') return;
    std::snprintf(this_run->problem, sizeof this_run->problem, "%s:%d: %s",
                  fs::path(file).filename().c_str(), line, what.c_str());
}

void holds_or(bool holds, const char* excuse, const char* what, const char* file, int line) {
    Excuse* known = excuses;
    while (known->reason != nullptr && !equal(known->reason, excuse)) ++known;
    known->reason = excuse;
    if (holds) return;
    if (this_run->watch.struck == 0) tell_problem(file, line, what);
    this_run->told = true;
    known->needed = true;
}

void must_be_stored(const char* excuse, std::string_view name, std::string_view old_bytes,
                    std::string_view new_bytes, const char* file, int line) {
    const std::string present = bytes_of(name);
    const bool known = this_run->died || this_run->told;
    const bool right = present == new_bytes || (present == old_bytes && known);
    const std::string what = std::string(name) + " holds \"" + present + "\"";
    if (excuse != nullptr && known) return holds_or(right, excuse, what.c_str(), file, line);
    if (!right) tell_problem(file, line, what);
}

int main(int count, char** words) {
    void* warm[1];
    backtrace(warm, 1);  // loads what it needs
    this_run = shared<Run>();
    watch = &this_run->watch;
    excuses = shared<Excuse>(100);
    work = std::make_unique<TempFolder>();
    if (count > 3) return show_run(words + 1);
    if (!every_family_has_one()) return 1;
    const std::string first = count > 1 ? words[1] : "";
    const bool half = first == "--memory" || first == "--system";
    const bool all = count == (half ? 2 : 1);
    if (!all && !scenarios().contains(words[count - 1])) return 2;
    Counts total{};
    for (const auto& [name, scenario] : std::map(scenarios())) {
        if (name.ends_with('+') || (!all && name != words[count - 1])) continue;
        const Counts counts = Family(name).try_all(first != "--system", first != "--memory");
        for (size_t i = 0; i < kCounts; ++i) total[i] += counts[i];
    }
    const bool needed = !all || half || every_excuse_is_needed();
    print("", total);
    const long problems = total[kCrashes] + total[kHangs] + total[kTorn] + total[kLeaks];
    return problems == 0 && needed ? 0 : 1;
}
