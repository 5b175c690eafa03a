#include "explain/comparison.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>

#include "explain/encoding.h"
#include "explain/environment.h"
#include "explain/json_writer.h"
#include "explain/names.h"
#include "explain/page_writer.h"
#include "explain/redaction.h"
#include "explain/sides.h"
#include "explain/start.h"
#include "explain/text_writer.h"
#include "explain/windows_paths.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "simulation/program_files.h"
#include "support/text.h"

namespace explaintest {

namespace {

namespace fs = std::filesystem;
using explain::Explanation;
using explain::FileChange;
using explain::toUtf8;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const char* explanations = "explained";  // in the working directory
constexpr const char* provisioningApplication = "com.example.prov";

using Programs = std::map<std::wstring, simulation::Program>;

// Real directories with the files of a machine.
class Copy {
public:
    explicit Copy(const simulation::Machine& machine) {
        static int count = 0;
        root = fs::temp_directory_path() /
               ("zelexplain-" + std::to_string(getpid()) + "-" + std::to_string(++count));
        const Programs programs = machine.surroundings().programs;
        for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
            fs::create_directories(at(drive));
            const std::vector<std::wstring> tree =
                machine.exists(drive) ? machine.tree(drive) : std::vector<std::wstring>();
            for (const std::wstring& path : tree) {
                place(machine, path, programs);
            }
        }
    }
    ~Copy() {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    // Types, times and contents by path.
    std::map<std::string, std::string> state() const {
        std::map<std::string, std::string> all;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
            std::string& text = all[entry.path().string()];
            text = std::to_string(entry.last_write_time().time_since_epoch().count());
            if (entry.is_regular_file()) {
                std::ifstream file(entry.path(), std::ios::binary);
                text.append(std::istreambuf_iterator<char>(file), {});
            }
        }
        return all;
    }

    fs::path at(const std::wstring& path) const {
        std::string name = toUtf8(path);
        std::erase(name, ':');
        std::replace(name.begin(), name.end(), '\\', '/');
        return root / name;
    }

private:
    fs::path root;

    void place(const simulation::Machine& machine, const std::wstring& path, const Programs& programs) {
        if (path.ends_with(L'\\')) {
            fs::create_directories(at(path));
            return;
        }
        const bool isProgram = std::any_of(programs.begin(), programs.end(), [&](const auto& program) {
            return zellauncher::equalIgnoringCase(program.first, path);
        });
        fs::create_directories(at(path).parent_path());
        std::ofstream file(at(path), std::ios::binary);
        file << (isProgram ? simulation::smallestProgramFile() : machine.readFile(path).value_or(""));
        file.close();
        if ((machine.attributes(path) & platform::attributeReadOnly) != 0) {
            fs::permissions(at(path), fs::perms::owner_read);
        }
    }
};

std::wstring installOf(const std::wstring& program) {
    constexpr std::wstring_view longForm = L"\\\\?\\";
    const std::size_t begin = program.starts_with(longForm) ? longForm.size() : 0;
    const std::wstring zel = program.substr(begin, program.rfind(L'\\') - begin);
    return zel.substr(0, zel.rfind(L'\\'));
}

// Everything on the drives besides the install: what lies beside each directory on the way to it, and all
// of D:.
std::vector<explain::Mapping> mappingsAround(const std::wstring& install, const Copy& copy) {
    std::vector<explain::Mapping> maps;
    for (std::size_t end = install.find(L'\\'); end != std::wstring::npos;
         end = install.find(L'\\', end + 1)) {
        const std::wstring parent = install.substr(0, end + 1);
        const std::size_t next = std::min(install.find(L'\\', end + 1), install.size());
        for (const fs::directory_entry& entry : fs::directory_iterator(copy.at(parent))) {
            const std::wstring path = parent + explain::fromUtf8(entry.path().filename().string());
            if (entry.is_directory() && path != install.substr(0, next)) {
                maps.push_back({entry.path().string(), path});
            }
        }
    }
    maps.push_back({copy.at(L"D:\\").string(), L"D:\\"});
    return maps;
}

// A platform is running whose process id is in a lock file and whose pipe is in the pipe file beside it.
bool isPlatformRunning(const simulation::Machine& machine) {
    for (const std::wstring& path : machine.tree(L"C:\\")) {
        if (!path.ends_with(L"\\.pipe")) {
            continue;
        }
        const std::string pipe = machine.readFile(path).value_or("");
        const std::string lock =
            machine.readFile(path.substr(0, path.rfind(L'\\')) + L"\\.zel.lock").value_or("");
        const auto& started = machine.startedProcesses();
        const bool isAlive =
            std::any_of(started.begin(), started.end(), [&](const simulation::StartedProcess& child) {
                const std::string id = std::to_string(child.id);
                return child.started && machine.isRunning(child.id) && lock.starts_with(id) &&
                       pipe.find("platform-" + id) != std::string::npos;
            });
        if (isAlive) {
            return true;
        }
    }
    return false;
}

bool isKiosk(const simulation::Machine& machine) {
    const auto root = platform::RegistryRoot::localMachine;
    const auto shell = machine.registryValue(root, winLogon, L"Shell");
    const auto kiosk = machine.registryValue(root, std::wstring(winLogon) + L"\\KSDShells", L"KSD_SHELL");
    return shell && kiosk && zellauncher::equalIgnoringCase(shell->text, kiosk->text);
}

explain::StartOptions optionsFor(const simulation::Machine& machine, const StartToCompare& start,
                                 const Copy& copy) {
    const simulation::Surroundings surroundings = machine.surroundings();
    explain::StartOptions options;
    options.install.path = installOf(start.arguments.front());
    options.install.directory = copy.at(options.install.path).string();
    options.maps = mappingsAround(options.install.path, copy);
    options.arguments.assign(start.arguments.begin() + 1, start.arguments.end());
    options.program = start.arguments.front();
    options.currentDirectory = surroundings.currentDirectory;
    options.user = surroundings.user;
    options.isAdministrator = surroundings.isAdministrator;
    options.isKiosk = isKiosk(machine);
    options.hasExplorer = std::any_of(
        surroundings.processes.begin(), surroundings.processes.end(),
        [](const std::wstring& name) { return zellauncher::equalIgnoringCase(name, L"explorer.exe"); });
    if (isPlatformRunning(machine)) {
        options.platform = start.servesPipe ? explain::Platform::running : explain::Platform::endsAtOnce;
    }
    options.programs = surroundings.programs;
    for (const auto& [name, value] : explain::defaultSystem(options).environment) {
        if (explain::findVariable(surroundings.environment, name) == nullptr) {
            options.unsetVariables.push_back(name);
        }
    }
    for (const auto& [name, value] : surroundings.environment) {
        options.environment.emplace_back(name, value);
    }
    return options;
}

// Process ids are multiples of four, from 1000 on in the stories and from 7000 on in zelexplain; a made-up
// platform has 4096. The identity that an install of kind userpb makes is the tick count, a time.
std::set<std::string> processIds() {
    std::set<std::string> ids = {"4096", "424242", "3600000"};
    for (int id = 1000; id < 9000; id += 4) {
        ids.insert(std::to_string(id));
    }
    return ids;
}

const char* nameOf(simulation::DiskChange::Kind kind) {
    using Kind = simulation::DiskChange::Kind;
    switch (kind) {
        case Kind::made:
            return "made";
        case Kind::changed:
            return "changed";
        case Kind::moved:
            return "moved";
        case Kind::removed:
            break;
    }
    return "removed";
}

void addChanges(Side& side, const simulation::Machine& machine) {
    using Kind = simulation::DiskChange::Kind;
    for (const simulation::DiskChange& change : machine.diskChanges()) {
        const bool isUnlisted = isLog(change.path) || isPipeFile(change.path);
        if (isUnlisted && change.kind != Kind::removed) {
            continue;
        }
        if (!change.isDirectory || change.kind == Kind::moved) {
            const bool hasContent = !change.isDirectory && change.kind != Kind::removed;
            side.files.push_back(fileLine(nameOf(change.kind), change.path, change.from,
                                          hasContent ? change.content : std::string()));
        } else {
            side.directories.push_back(std::string(nameOf(change.kind)) + " " + toUtf8(change.path));
        }
    }
}

void addEnvironment(Side& side, const simulation::Machine& machine, simulation::ProcessId launcher,
                    const std::map<std::wstring, std::wstring>& before) {
    const std::map<std::wstring, std::wstring> after = machine.environmentOf(launcher);
    std::map<std::wstring, std::wstring> set;
    std::vector<std::wstring> unset;
    for (const auto& [name, value] : after) {
        const std::wstring* old = explain::findVariable(before, name);
        if (old == nullptr || *old != value) {
            set[name] = value;
        }
    }
    for (const auto& [name, value] : before) {
        if (explain::findVariable(after, name) == nullptr) {
            unset.push_back(name);
        }
    }
    side.environment = environmentLines(set, unset);
}

// Lines without their ends; what the log forces to a line of its own has empty ones around it.
Lines logLines(const std::string& log) {
    Lines lines;
    for (std::string line : launchertest::splitLines(log)) {
        line.erase(line.find_last_not_of('\r') + 1);
        lines.push_back(explain::logLineToUtf8(line));
    }
    return lines;
}

// Performs the start and watches it from outside.
class RealStart {
public:
    RealStart(simulation::Machine& theMachine, const StartToCompare& toCompare)
        : machine(theMachine), start(toCompare) {}

    simulation::ProcessEnd perform() {
        const std::map<std::wstring, std::wstring> before = machine.surroundings().environment;
        const std::size_t started = machine.startedProcesses().size();
        const std::size_t operations = machine.operations().size();
        machine.watchDisks();
        const simulation::ProcessId launcher = start.begin();
        const simulation::ProcessEnd end = machine.waitFor(launcher);
        side.status = static_cast<std::int32_t>(end.status);
        addEnvironment(side, machine, launcher, before);
        addChanges(side, machine);
        addCommand(launcher, started, operations);
        addLog(launcher, operations);
        return end;
    }

    Side side;

private:
    simulation::Machine& machine;
    const StartToCompare& start;

    void addCommand(simulation::ProcessId launcher, std::size_t firstStarted, std::size_t firstOperation) {
        side.outcome = side.status == 0 ? "prepared" : "refused";
        const auto& started = machine.startedProcesses();
        for (std::size_t i = firstStarted; i < started.size(); ++i) {
            if (started[i].parent == launcher) {
                side.command = toUtf8(started[i].commandLine);
                side.outcome = started[i].started ? outcomeWith(side.command) : side.outcome;
            }
        }
        for (std::size_t i = firstOperation; i < machine.operations().size(); ++i) {
            const simulation::Operation& operation = machine.operations()[i];
            if (operation.process == launcher && operation.name == "writePipe" &&
                operation.error == platform::errorSuccess) {
                side.outcome = "handedOver";
            }
        }
        if (side.outcome == "handedOver") {
            side.command = lastPayload();
        }
    }

    std::string outcomeWith(const std::string& command) const {
        const bool isDesktop = command.find("xplorer.exe") != std::string::npos;
        const bool isProvisioning = command.find(provisioningApplication) != std::string::npos ||
                                    command.find("-userProvLaunch") != std::string::npos;
        if (side.status != 0) {
            return "refused";
        }
        return isDesktop ? "shellRole" : isProvisioning ? "provisioned" : "started";
    }

    std::string lastPayload() const {
        std::string text;
        for (const simulation::StartedProcess& child : machine.startedProcesses()) {
            const std::wstring pipe = L"\\\\.\\pipe\\platform-" + std::to_wstring(child.id);
            for (const std::string& payload : machine.pipePayloads(pipe)) {
                std::wstring units = launchertest::pipeText(payload);
                text = toUtf8(units.substr(0, units.find(L'\0')));
            }
        }
        return text;
    }

    // The log that the launcher opened last.
    void addLog(simulation::ProcessId launcher, std::size_t firstOperation) {
        std::wstring path;
        for (std::size_t i = firstOperation; i < machine.operations().size(); ++i) {
            const simulation::Operation& operation = machine.operations()[i];
            if (operation.process == launcher && operation.name == "openStream" && operation.writes &&
                isLog(operation.argument) && operation.error == platform::errorSuccess) {
                path = operation.argument;
            }
        }
        side.log = logLines(path.empty() ? "" : machine.readFile(path).value_or(""));
    }
};

std::string contentOf(const FileChange& file) {
    return file.isDirectory || file.kind == FileChange::Kind::removed ? std::string() : file.content;
}

Side sideOf(const Explanation& explanation) {
    Side side;
    side.outcome = nameOf(explanation.outcome);
    side.status = explanation.status.value_or(1);
    side.command = toUtf8(explanation.command.value_or(L""));
    side.environment = environmentLines(explanation.setVariables, explanation.unsetVariables);
    for (const FileChange& file : explanation.files) {
        side.files.push_back(fileLine(nameOf(file.kind), file.path, file.from, contentOf(file)));
    }
    for (const std::wstring& directory : explanation.madeDirectories) {
        side.directories.push_back("made " + toUtf8(directory));
    }
    for (const std::wstring& directory : explanation.removedDirectories) {
        side.directories.push_back("removed " + toUtf8(directory));
    }
    side.log = explanation.log;
    return side;
}

// The elements, with what separates them, are the command.
// Whether the lines of the text are in the log, one after the other, except empty ones.
bool hasLines(std::vector<std::string> log, const std::string& text) {
    std::vector<std::string> lines = launchertest::splitLines(text);
    const auto isEmpty = [](const std::string& line) {
        return line.find_first_not_of("\r") == std::string::npos;
    };
    std::erase_if(lines, isEmpty);
    std::erase_if(log, isEmpty);
    return std::search(log.begin(), log.end(), lines.begin(), lines.end()) != log.end();
}

std::string joinedElements(const Explanation& explanation) {
    std::wstring command;
    const wchar_t separator = explanation.role == explain::Role::daemon ? L'\n' : L' ';
    for (const explain::Element& element : explanation.elements) {
        command += command.empty() ? L"" : std::wstring(1, separator);
        command += element.text;
    }
    return toUtf8(command);
}

void compareParts(Differences& differences, const Explanation& explanation, const Side& real) {
    const Side said = sideOf(explanation);
    differences.compare("outcome", said.outcome, real.outcome);
    differences.compare("status", std::to_string(said.status), std::to_string(real.status));
    // In the shell role, the start runs the desktop instead of its command.
    if (!real.command.empty() && explanation.outcome != explain::Outcome::shellRole) {
        differences.compare("command", said.command, real.command);
        differences.compare("elements", joinedElements(explanation), real.command);
    }
    differences.compare("environment", said.environment, real.environment);
    differences.compare("files", said.files, real.files);
    differences.compare("directories", said.directories, real.directories);
    const bool hasMessage = explanation.message.has_value();
    if (hasMessage != (real.status != 0)) {
        differences.all.push_back("only a start that fails has a message");
    }
    // Without a log file, the start says nothing that could be compared.
    differences.compare("log", explanation.logPath ? said.log : Lines(), real.log,
                        Differences::Order::matters);
    // A message may have several lines.
    if (hasMessage && explanation.logPath && !hasLines(real.log, *explanation.message)) {
        differences.all.push_back("message: the log has no line [" + *explanation.message + "]");
    }
}

void keepJson(const std::string& name, const Explanation& explanation) {
    fs::create_directories(explanations);
    std::string file = name;
    std::replace(file.begin(), file.end(), '/', '.');
    std::ofstream(fs::path(explanations) / (file + ".json")) << explain::writeJson({explanation});
}

}  // namespace

ComparedStart compareStart(simulation::Machine& machine, const StartToCompare& start) {
    ComparedStart result;
    RealStart real(machine, start);
    if (machine.surroundings().hasFailures) {
        result.end = real.perform();
        return result;
    }
    const Copy copy(machine);
    const std::vector<Explanation> explained = explain::explainStarts(optionsFor(machine, start, copy));
    keepJson(start.name, explained.back());
    result.end = real.perform();
    result.isCompared = true;
    Differences differences(processIds());
    compareParts(differences, explained.back(), real.side);
    result.differences = differences.all;
    return result;
}

std::string explainOn(const simulation::Machine& machine, const StartToCompare& start) {
    const Copy copy(machine);
    const std::map<std::string, std::string> before = copy.state();
    std::vector<Explanation> explained = explain::explainStarts(optionsFor(machine, start, copy));
    std::string everything = explain::writeText(explained, explain::Diffs::shown) +
                             explain::writeJson(explained) + explain::writePage(explained);
    for (Explanation& explanation : explained) {
        explain::redact(explanation);
    }
    everything += explain::writePage(explained);
    if (!explain::isUtf8(everything)) {
        return "the explanation is not UTF-8";
    }
    return copy.state() == before ? "" : "the tool has changed what it looked at";
}

}  // namespace explaintest
