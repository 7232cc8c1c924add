// Runs every scenario in processes of its own, each with another failure: of allocation 1, 2, ...
// until none fails, once alone and once with all that follow; then so of the calls of the system.
//
//     faults [--memory | --system] [FAMILY]   all failures, or such alone; all families, or one
//     faults FAMILY KIND N [onwards]          one run, shown: KIND is a word of kKinds below
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "faults.h"
#include "support/temp_folder.h"

// Of the address sanitizer alone.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));

namespace fs = std::filesystem;

static const Scenario* scenarios = nullptr;
static const Excuse* excuses = nullptr;

Scenario::Scenario(const char* family_name, void (*run_all)(), bool behind)
    : family(family_name), run(run_all), after(behind), next(scenarios) {
    scenarios = this;
}

Excuse::Excuse(const char* what_happens, const char* why)
    : what(what_happens),
      reason(why),
      number(excuses != nullptr ? excuses->number + 1 : 0),
      next(excuses) {
    excuses = this;
}

namespace {

constexpr unsigned kLimit = 10;    // seconds; what takes longer hangs
constexpr int kMostProblems = 12;  // shown of a family
constexpr int kJobs = 2;
constexpr int kLeak = 23;  // exit code

struct Kind {
    Fault fault;
    bool onwards;
    const char* name;
};
// A signal comes once, and a process dies once; a disk can stay broken or full.
constexpr Kind kKinds[] = {
    {Fault::memory, false, "memory"},
    {Fault::memory, true, "memory"},
    {Fault::io_error, false, "EIO"},
    {Fault::io_error, true, "EIO"},
    {Fault::disk_full, false, "ENOSPC"},
    {Fault::disk_full, true, "ENOSPC"},
    {Fault::interrupted, false, "EINTR"},
    {Fault::half, false, "half"},
    {Fault::half, true, "half"},
    {Fault::death, false, "death"},
    {Fault::half_death, false, "half-death"},
};

enum Count { kFaults, kTold, kCrashes, kHangs, kTorn, kLeaks, kCounts };

// Shared by the processes of a family.
struct Shared {
    Watch watch;
    bool told;
    bool died;
    int descriptors;  // open behind the scenario
    char problem[256];
};
// Shared by all.
struct Totals {
    long counts[kCounts];
    bool excuse_needed[64];
};
Shared* shared = nullptr;
Totals* totals = nullptr;
fs::path work;  // the folder of this family
bool shown = false;

template <typename T>
T* shared_page() {
    void* const page =
        mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) std::abort();
    return static_cast<T*>(page);
}

fs::path folder() {
    return work / "run";
}

void tell_problem(const char* file, int line, const std::string& what) {
    if (shared->problem[0] != '\0') return;
    std::snprintf(shared->problem, sizeof shared->problem, "%s:%d: %s",
                  fs::path(file).filename().c_str(), line, what.c_str());
}

const Scenario* scenario_of(const std::string& family, bool after) {
    const Scenario* found = scenarios;
    while (found != nullptr && (found->family != family || found->after != after)) {
        found = found->next;
    }
    return found;
}

// What it prints goes to a file that is shown when something is wrong.
void settle_in() {
    const int fd = open((work / "output").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (!shown && (dup2(fd, 1) < 0 || dup2(fd, 2) < 0)) std::abort();
    close(fd);
    fs::current_path(folder());
    setenv("MOLTELIB_REGISTRY_FOLDER", (folder() / "registry").c_str(), 1);
    setenv("MOLTELIB_OBJECT_FOLDER", (folder() / "objects").c_str(), 1);
}

// Runs it in a process of its own; the status that it ended with.
int in_process(const Scenario& scenario) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        settle_in();
        alarm(kLimit);
        scenario.run();
        alarm(0);
        shared->descriptors = 0;
        for (int fd = 0; fd < 256; ++fd) shared->descriptors += fcntl(fd, F_GETFD) >= 0 ? 1 : 0;
        const bool leaks = !scenario.after && __lsan_do_recoverable_leak_check != nullptr &&
                           shared->watch.plan.fault <= Fault::memory &&
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
    std::string command;
    for (int i = 0; i < shared->watch.depth; ++i) {
        Dl_info info;
        const char* const at = static_cast<const char*>(shared->watch.trace[i]);
        if (dladdr(at, &info) == 0 || std::strstr(info.dli_fname, "libmoltelib") == nullptr)
            continue;
        if (command.empty()) command = "addr2line -Cfpse '" + std::string(info.dli_fname) + "'";
        char offset[24];
        std::snprintf(offset, sizeof offset, " %tx",
                      at - static_cast<const char*>(info.dli_fbase) - 1);
        command += offset;
    }
    std::fflush(stdout);
    if (!command.empty() && std::system(command.c_str()) != 0) std::puts("(no addr2line)");
}

class Family {
 public:
    explicit Family(const std::string& name)
        : name_(name), run_(*scenario_of(name, false)), after_(scenario_of(name, true)) {}

    void run_all(bool memory, bool system) {
        run({Fault::none, 0, false});
        const int calls = shared->watch.system_calls;
        for (const Kind& kind : kKinds) {
            const bool of_memory = kind.fault == Fault::memory;
            if (of_memory ? !memory : !system) continue;
            for (int at = 1; of_memory || at <= calls; ++at) {
                if (!run({kind.fault, at, kind.onwards}) && of_memory) break;
            }
        }
        const long absorbed = 2 * counts_[kFaults] - sum();
        std::printf("%-20s %5ld faults: %5ld told, %5ld absorbed%s\n", name_.c_str(),
                    counts_[kFaults], counts_[kTold], absorbed,
                    sum() > counts_[kFaults] + counts_[kTold] ? "  <-- see above" : "");
        for (int i = 0; i < kCounts; ++i) __atomic_add_fetch(&totals->counts[i], counts_[i], 5);
    }

    // Whether the fault struck.
    bool run(const Plan& plan) {
        fs::remove_all(folder());
        fs::create_directory(folder());
        fs::remove(work / "output");
        std::memset(static_cast<void*>(shared), 0, sizeof *shared);
        shared->watch.plan = plan;
        const int status = in_process(run_);
        const bool struck = shared->watch.struck > 0;
        shared->died = struck && plan.fault >= Fault::death;
        bool right = judge(plan, status);
        if (plan.at == 0) {
            descriptors_ = shared->descriptors;
        } else if (right && shared->descriptors > descriptors_) {
            right = show(plan, kLeaks, "a descriptor stays open");
        }
        if (right && after_ != nullptr) right = judge(plan, in_process(*after_));
        counts_[kFaults] += struck || !right ? 1 : 0;
        counts_[kTold] += right && shared->told ? 1 : 0;
        return struck;
    }

 private:
    [[nodiscard]] long sum() const {
        long result = 0;
        for (const long count : counts_) result += count;
        return result;
    }
    bool judge(const Plan& plan, int status) {
        const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        if (signal == SIGALRM) return show(plan, kHangs, "hang");
        if (WIFEXITED(status) && WEXITSTATUS(status) == kLeak) return show(plan, kLeaks, "leak");
        const bool meant = status == 0 || (signal == SIGKILL && shared->died);
        if (!meant) return show(plan, kCrashes, "crash, status " + std::to_string(status));
        return shared->problem[0] == '\0' || show(plan, kTorn, shared->problem);
    }
    bool show(const Plan& plan, Count count, const std::string& problem) {
        if (++counts_[count] && ++shown_problems_ > kMostProblems) return false;
        const char* name = "no fault";
        for (const Kind& kind : kKinds) {
            if (kind.fault == plan.fault) name = kind.name;
        }
        std::printf("%s, %s %d%s: %s\n%s", name_.c_str(), name, plan.at,
                    plan.onwards ? " onwards" : "", problem.c_str(),
                    read_bytes(work / "output").substr(0, 6000).c_str());
        show_trace();
        return false;
    }

    std::string name_;
    const Scenario& run_;
    const Scenario* after_;
    int descriptors_ = 0;  // that a run without a fault leaves open
    int shown_problems_ = 0;
    long counts_[kCounts] = {};
};

void share() {
    shared = shared_page<Shared>();
    watch = &shared->watch;
}

// Families in two processes at a time.
void run_families(const std::vector<std::string>& families, bool memory, bool system) {
    const TempFolder top;
    int running = 0;
    const auto wait_for_one = [&running] {
        int status = 0;
        if (wait(&status) > 0 && status != 0) std::abort();
        --running;
    };
    for (const std::string& family : families) {
        if (running == kJobs) wait_for_one();
        ++running;
        std::fflush(stdout);
        if (fork() != 0) continue;
        work = top.path() / family;
        fs::create_directory(work);
        share();
        Family(family).run_all(memory, system);
        std::fflush(stdout);
        _exit(0);
    }
    while (running > 0) wait_for_one();
}

// One run, with its output.
int show_run(char** words, bool onwards) {
    const TempFolder top;
    work = top.path();
    share();
    shown = true;
    Family family(words[0]);
    for (const Kind& kind : kKinds) {
        if (kind.name != std::string(words[1]) || kind.onwards != onwards) continue;
        family.run({Fault::none, 0, false});
        family.run({kind.fault, std::atoi(words[2]), onwards});
        std::printf("struck %d times%s\n", shared->watch.struck.load(),
                    shared->told ? ", told" : "");
        show_trace();
    }
    return 0;
}

// Whether each public header that holds something to run has its scenario.
bool every_family_has_one() {
    bool complete = true;
    std::istringstream headers(FAMILIES);
    for (std::string family; std::getline(headers, family, ',');) {
        const bool types_alone = family == "base" || family == "program_version";
        if (types_alone || scenario_of(family, false) != nullptr) continue;
        std::printf("%s has no scenario\n", family.c_str());
        complete = false;
    }
    return complete;
}

bool every_excuse_is_needed() {
    bool all = true;
    for (const Excuse* excuse = excuses; excuse != nullptr; excuse = excuse->next) {
        if (totals->excuse_needed[excuse->number]) continue;
        std::printf("not needed: %s (%s)\n", excuse->what, excuse->reason);
        all = false;
    }
    return all;
}

std::vector<std::string> all_families() {
    std::vector<std::string> families;
    for (const Scenario* scenario = scenarios; scenario != nullptr; scenario = scenario->next) {
        if (!scenario->after) families.emplace_back(scenario->family);
    }
    std::sort(families.begin(), families.end());
    return families;
}

}  // namespace

// ---- What scenarios call ----

std::string in_folder(std::string_view name) {
    std::string path = (folder() / name).string();
    const auto own_part = static_cast<ptrdiff_t>(work.string().size());
    std::replace(path.begin() + own_part, path.end(), '/', '\\');
    return path;
}

std::string given(std::string_view name, std::string_view bytes) {
    const fs::path path = folder() / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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
    if (shared->watch.struck == 0) tell_problem(file, line, what + " failed without a fault");
    if (GetRvexErrNo() == 0) tell_problem(file, line, what + " failed and left no error");
    shared->told = true;
    return false;
}

void must_hold(bool holds, const char* what, const char* file, int line) {
    if (!holds) tell_problem(file, line, what);
}

void holds_or(bool holds, const Excuse& excuse, const char* what, const char* file, int line) {
    if (holds) return;
    if (shared->watch.struck == 0) tell_problem(file, line, what);
    shared->told = true;
    totals->excuse_needed[excuse.number] = true;
}

bool run_died() {
    return shared->died;
}

bool run_told() {
    return shared->told;
}

bool run_goes_on_failing() {
    return shared->watch.plan.onwards;
}

void must_be_stored(const Excuse* torn, std::string_view name, std::string_view old_bytes,
                    std::string_view new_bytes, const char* file, int line) {
    const std::string present = bytes_of(name);
    const bool known = run_died() || run_told();
    if (present == new_bytes || (present == old_bytes && known)) return;
    if (torn != nullptr && known) return holds_or(false, *torn, "", file, line);
    tell_problem(file, line, std::string(name) + " holds \"" + present + "\"");
}

int main(int count, char** words) {
    void* warm[1];
    backtrace(warm, 1);  // loads what it needs
    totals = shared_page<Totals>();
    if (count > 3) return show_run(words + 1, count > 4);
    if (!every_family_has_one()) return 1;
    const std::string first = count > 1 ? words[1] : "";
    const bool half = first == "--memory" || first == "--system";
    const bool all = count == (half ? 2 : 1);
    run_families(all ? all_families() : std::vector<std::string>{words[count - 1]},
                 first != "--system", first != "--memory");
    const bool needed = !all || half || every_excuse_is_needed();
    const auto& of = totals->counts;
    const long problems = of[kCrashes] + of[kHangs] + of[kTorn] + of[kLeaks];
    std::printf("%ld faults: %ld told, %ld absorbed, %ld crashes, %ld hangs, %ld torn", of[kFaults],
                of[kTold], of[kFaults] - of[kTold] - problems, of[kCrashes], of[kHangs], of[kTorn]);
    if (of[kLeaks] > 0 || __lsan_do_recoverable_leak_check != nullptr) {
        std::printf(", %ld leaks", of[kLeaks]);
    }
    std::puts("");
    return problems == 0 && needed ? 0 : 1;
}
