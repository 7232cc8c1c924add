// The machine, its programs and services, and whether another one is alive.
#include <chrono>
#include <memory>

#include "commands.h"
#include "interrupt.h"

namespace tool {

namespace {

using Bytes4 = uint8_t[4];
using Bytes8 = uint8_t[8];

template <size_t size>
std::string field(const char (&text)[size]) {
    return from_library(std::string_view(text, strnlen(text, size)));
}

// ---- machine ----

std::string name_or(const std::string& none, int32_t (*ask)(char*, int32_t)) {
    char name[256];
    if (ask(name, sizeof name) > 0) return from_library(name);
    ORVEX_Err_ClearError();
    return none;
}

std::vector<std::string> addresses() {
    uint32_t list[32];
    const int32_t count = ORVEX_SOCK_GetAllHostIP(list, 32);
    std::vector<std::string> texts;
    for (int32_t i = 0; i < count; ++i) {
        char text[OXSOCK_IP_TEXT_SIZE];
        if (ORVEX_SOCK_NetIP2Name(list[i], text) > 0) texts.emplace_back(text);
    }
    ORVEX_Err_ClearError();
    return texts;
}

std::vector<std::string> adapters() {
    MOLTE_MACLIST list{};
    std::vector<std::string> texts;
    MOLTE_UTIL_GetMacAddress(&list);
    for (size_t i = 0; i < list.nCount && i < MOLTE_MACLIST_MAX; ++i) {
        char text[3 * MOLTE_MAC_SIZE];
        texts.emplace_back(MOLTE_UTIL_Mac2String(list.aaMac[i], MOLTE_MAC_SIZE, text, sizeof text));
    }
    ORVEX_Err_ClearError();
    return texts;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : ", ") + text;
    return all;
}

std::string free_of(const Bytes8& part, const Bytes8& whole) {
    return size_text(static_cast<double>(Char8To_uint8(part))) + " of " +
           size_text(static_cast<double>(Char8To_uint8(whole))) + " free";
}

int show_machine(Tool& tool) {
    tool.bring_up();
    MOLTE_COMPUTERINFO computer;
    MOLTE_MEMSTATUS memory;
    check(MOLTE_GetComputerInfo(&computer), "The machine doesn't tell what it is");
    check(MOLTE_GetMemStatus(&memory), "The machine doesn't tell its memory");
    int32_t megahertz = 0;
    if (GetCPUSpeedInMhz(&megahertz) < 0) ORVEX_Err_ClearError();
    const uint32_t processors = Char2To_uint2(computer.nCpuCount);
    const std::string system = MOLTE_OsType2String(computer.nOsType);
    const std::string user = name_or("", ORVEX_GetEffectiveUserName);
    const auto ips = addresses(), macs = adapters();
    const bool busy_known = memory.nCpuUsage != 255;

    const auto line = [&tool](const std::string& name, const std::string& value) {
        if (!value.empty()) tool.out.line(name + std::string(12 - name.size(), ' ') + shown(value));
    };
    line("name", field(computer.szName));
    line("system", system);
    line("processors", std::to_string(processors) +
                           (megahertz > 0 ? " of " + std::to_string(megahertz) + " MHz" : "") +
                           (busy_known ? ", " + std::to_string(memory.nCpuUsage) + "% busy" : ""));
    line("memory", free_of(memory.nFreePhysical, memory.nTotalPhysical));
    line("with swap", free_of(memory.nFreePageFile, memory.nTotalPageFile));
    line("user", user);
    line("addresses", joined(ips));
    line("adapters", joined(macs));

    const auto number = [](const Bytes8& bytes) { return Char8To_uint8(bytes); };
    Json object{{"name", field(computer.szName)},
                {"system", system},
                {"system_type", computer.nOsType},
                {"processors", processors},
                {"mhz", megahertz}};
    object["busy_percent"] = busy_known ? Json(memory.nCpuUsage) : Json();
    object["memory"] = {{"total", number(memory.nTotalPhysical)},
                        {"free", number(memory.nFreePhysical)}};
    object["with_swap"] = {{"total", number(memory.nTotalPageFile)},
                           {"free", number(memory.nFreePageFile)}};
    object["user"] = user;
    object["addresses"] = ips;
    object["adapters"] = macs;
    tool.out.object(object);
    return kDone;
}

// ---- version ----

// Of the tool and its library, which need not be of one version.
int show_own_version(Tool& tool) {
    const std::string library = MOLTELIB_Version();
    tool.out.say("molte " MOLTELIB_VERSION ", library " + library,
                 {{"molte", MOLTELIB_VERSION}, {"library", library}});
    return kDone;
}

int show_versions(Tool& tool, const std::vector<std::string>& programs) {
    if (programs.empty()) return show_own_version(tool);
    tool.bring_up();
    size_t found = 0, failed = 0;
    for (const std::string& program : programs) {
        const std::string path = library_path(program);
        if (ORVEX_FileLenByFileName(path.c_str()) < 0) {
            const Failure failure("\"" + shown(program) + "\" can't be read");
            if (programs.size() == 1) throw failure;
            tool.tell(failure);
            ++failed;
            continue;
        }
        char version[MOLTE_APPVERSION_TEXT_SIZE];
        if (MOLTE_GetAppVerString(path.c_str(), version) < 0) {
            ORVEX_Err_ClearError();
            tool.warn("\"" + shown(program) + "\" has no version");
            continue;
        }
        ++found;
        tool.out.say(version + std::string("  ") + shown(program),
                     {{"program", shown(program)}, {"version", version}});
    }
    if (failed == programs.size()) return kFailed;
    return found == programs.size() ? kDone : found > 0 || failed > 0 ? kPartly : kNothing;
}

// ---- alive ----

int probe(Tool& tool, const std::vector<std::string>& hosts) {
    tool.bring_up();
    size_t alive = 0, failed = 0;
    for (const std::string& host : hosts) {
        end_if_interrupted();
        const std::string name = tool.argument(host);
        UTIL_ICMPPARAM probe{};
        const int32_t result = ORVEX_SOCK_IsHostAlive(to_library(name).c_str(), &probe);
        if (result < 0) {
            const Failure failure("\"" + shown(name) + "\" can't be probed");
            if (hosts.size() == 1) throw failure;
            tool.tell(failure);
            ++failed;
            continue;
        }
        ORVEX_Err_ClearError();  // one that doesn't answer leaves an error
        if (result == 1) {
            ++alive;
            const std::string time = std::to_string(probe.nElapsedMicroSec);
            tool.out.say(shown(name) + " is alive: " + time + " microseconds",
                         {{"host", name}, {"alive", true}, {"us", probe.nElapsedMicroSec}});
        } else {
            tool.out.say(shown(name) + " doesn't answer", {{"host", name}, {"alive", false}});
        }
    }
    if (failed == hosts.size()) return kFailed;
    return alive == hosts.size() ? kDone : alive > 0 || failed > 0 ? kPartly : kNothing;
}

// ---- service ----

int order_service(Tool& tool, const std::string& argument, bool start) {
    tool.bring_up();
    const std::string name = tool.argument(argument);
    const std::string service = to_library(name);
    const std::string what = start ? "start" : "stop";
    if (service.empty() || shown(name) != name) {
        throw Failure("\"" + shown(name) + "\" is no name of a service", kUsage);
    }
    Json object{{"service", name}, {"order", what}};
    if (tool.settings.dry_run) {
        object["dry_run"] = true;
        tool.out.say("would " + what + " " + name, object);
        return kDone;
    }
    check((start ? SERVICE_Exec : SERVICE_Stop)(service.c_str()),
          "The service \"" + name + "\" can't be " + (start ? "started" : "stopped"));
    // A stop isn't waited for.
    tool.out.say(name + (start ? " is started" : " is told to stop"), object);
    return kDone;
}

}  // namespace

void add_machine(Commands& commands) {
    struct Order {
        std::vector<std::string> names;
        std::string service;
    };
    const auto order = std::make_shared<Order>();

    CLI::App* machine = commands.add("machine", "Shows what this machine is",
                                     {{"machine", "system, processors, memory, addresses"}});
    commands.runs(machine, show_machine);

    CLI::App* version =
        commands.add("version", "Shows the version of programs",
                     {{"version BIN/oxrunat.exe", "the four numbers in its file"},
                      {"version", "of the tool and of the library that it runs with"}});
    version->add_option("PROGRAM", order->names, "Files of programs");
    commands.runs(version, [order](Tool& tool) { return show_versions(tool, order->names); });

    CLI::App* alive = commands.add("alive", "Tells whether a host answers",
                                   {{"alive matcher",
                                     "one ICMP echo, which takes the rights of an "
                                     "administrator"}});
    commands.describe(alive,
                      "An echo is waited for one second. The first packet that comes in that time\n"
                      "is taken for the answer if it looks like one.");
    alive->add_option("HOST", order->names, "By name or address")->required();
    commands.runs(alive, [order](Tool& tool) { return probe(tool, order->names); });

    CLI::App* service = commands.group("service", "Starts and stops services of the machine");
    const auto add = [&](const std::string& name, const std::string& summary, bool start,
                         const std::string& meaning) {
        CLI::App* command =
            commands.add(name, summary, {{"service " + name + " desk", meaning}}, service);
        command->add_option("NAME", order->service, "As the service manager knows it")->required();
        commands.changes(command);
        commands.runs(command, [order, start](Tool& tool) {
            return order_service(tool, order->service, start);
        });
    };
    add("start", "Starts a service", true, "and waits until it is up, where systemd tells that");
    add("stop", "Tells a service to stop", false, "what it does then isn't waited for");
}

}  // namespace tool
