#include <algorithm>
#include <optional>
#include <set>

#include "explain/comparison.h"
#include "fuzz/allowed_paths.h"
#include "fuzz/input_sections.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"
#include "fuzz/windows_command_line.h"
#include "scenarios/story.h"
#include "support/text.h"

// The input is a command line, an environment, and files of the install and of the user, each of which
// replaces the ordinary one or is appended to it. Three launchers start one after the other: the first
// start of a user, one while its platform runs, and one after that has ended. Each must end, and the
// platform must get the arguments that the launcher got. Before that, zelexplain explains the first of them.
namespace fuzz {

namespace {

using simulation::ProcessId;
using Arguments = std::vector<std::wstring>;

constexpr const wchar_t* home = L"C:\\Apps\\framework\\Client";
constexpr std::size_t mostArguments = 200;

// Bounds: a fixed part for all three starts, a part for each byte of the input, and more for tokens. In
// each of the two passes of a start, tokens may grow by a hundred million characters, half of them in one
// text.
constexpr std::size_t startOperations = 12'000;
constexpr std::size_t operationsPerByte = 200;
constexpr std::size_t startBytes = 24'000'000;
constexpr std::size_t bytesPerByte = 20'000;
constexpr std::size_t operationsForTokens = 200'000;
constexpr std::size_t bytesForTokens = 1'200'000'000;

// The files that a section of the input replaces.
struct KnownFile {
    const char* section;
    const wchar_t* path;
};

constexpr KnownFile knownFiles[] = {
    {"zellauncher.properties", L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties"},
    {"base zelinstall.properties",
     L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0\\zelinstall.properties"},
    {"base config.ini", L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0\\config.ini"},
    {"base platform.xml", L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0\\platform.xml"},
    {"jvm.properties", L"C:\\Apps\\framework\\Client\\zel\\deploy\\jvm.properties"},
    {"workspace jvm.properties", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\jvm.properties"},
    {"user zelinstall.properties", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\zelinstall.properties"},
    {"user zelinstall.properties.bak",
     L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\zelinstall.properties.bak"},
    {"user args.properties", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\args.properties"},
    {"user platform.xml",
     L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\org.eclipse.update\\platform.xml"},
    {"endpoint", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.pipe"},
    {"lock", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.zel.lock"},
    {"record", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.zel.main"},
    {"history", L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\shutdown.log"},
    {"jar", L"C:\\Apps\\vxext\\companion.jar"},
    {"marker", L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt"},
};

bool has(const Arguments& arguments, const std::wstring& argument) {
    return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// One install, one user, and the three starts.
class ThreeStarts : public scenarios::Story {
public:
    explicit ThreeStarts(const Sections& sections) : input(sections) {
        layOut();
        // A locked-down desktop restarts its platform forever unless the exit code says that it restarts
        // by itself. No other kind of install uses the code.
        platform.exitCode = 23;
        for (const KnownFile& file : knownFiles) {
            place(file);
        }
        const auto environment = input.find("environment");
        if (environment != input.end()) {
            for (const zellauncher::PropertyEntry& entry : decodeEntries(environment->second)) {
                machine.setEnvironment(entry.key, entry.value);
            }
        }
        const auto platformText = input.find("platform");
        if (platformText != input.end()) {
            platform.publishes = !contains(platformText->second, "silent");
            platform.servesPipe = !contains(platformText->second, "deaf");
            platform.livesMilliseconds = contains(platformText->second, "dies") ? 0 : 1'200;
        }
    }

    // Runs a launcher for at most half an hour of simulated time. The debug marker, for whose removal a
    // start waits, is removed after ten seconds.
    ProcessId start(const Arguments& arguments) {
        constexpr int mostSeconds = 1800;
        constexpr int markerSeconds = 10;
        const ProcessId launcherId = begin(arguments);
        launchers.insert(launcherId);
        for (int second = 0; second < mostSeconds && machine.isRunning(launcherId); ++second) {
            machine.runUntilIdle(1000);
            if (second == markerSeconds) {
                machine.remove(std::wstring(home) + L"\\zel\\prov.debug");
            }
        }
        return launcherId;
    }

    void letPlatformsEnd() { machine.runUntilIdle(120'000); }

    std::optional<simulation::ProcessEnd> endOf(ProcessId id) {
        return machine.isRunning(id) ? std::nullopt : std::optional(machine.waitFor(id));
    }

    // The last command line that this launcher tried to start.
    std::optional<std::wstring> commandOf(ProcessId id) const {
        std::optional<std::wstring> command;
        for (const simulation::StartedProcess& child : machine.startedProcesses()) {
            command = child.parent == id ? child.commandLine : command;
        }
        return command;
    }

    std::vector<std::wstring> allPayloads() const { return payloads(); }
    const simulation::Machine& theMachine() const { return machine; }

    std::set<ProcessId> launchers;

private:
    void TestBody() override {}

    // The section `<name>` replaces the ordinary file, `+<name>` is appended to it.
    void place(const KnownFile& file) {
        const auto whole = input.find(file.section);
        if (whole != input.end()) {
            machine.writeFile(file.path, whole->second);
        }
        const auto more = input.find(std::string("+") + file.section);
        if (more != input.end()) {
            machine.writeFile(file.path, machine.readFile(file.path).value_or("") + more->second);
        }
    }

    const Sections& input;
};

// What the checks need to know about the input.
struct Traits {
    Arguments arguments;
    bool hasOwnFiles = false;  // of the install or of the user
    bool hasEnvironment = false;
    bool mayHaveLineFeeds = false;  // in an argument or a value, where they split a handed-over list
};

Traits traitsOf(const Sections& sections) {
    Traits traits;
    const auto given = sections.find("words");
    traits.arguments = given == sections.end() ? Arguments() : decodeLines(given->second);
    traits.arguments.resize(std::min(traits.arguments.size(), mostArguments));
    for (std::wstring& argument : traits.arguments) {
        argument = argument.substr(0, argument.find(L'\0'));
        traits.mayHaveLineFeeds = traits.mayHaveLineFeeds || argument.find(L'\n') != std::wstring::npos;
    }
    for (const auto& [name, text] : sections) {
        const bool isFile = name != "words" && name != "environment" && name != "platform" && !name.empty();
        traits.hasOwnFiles = traits.hasOwnFiles || isFile;
        traits.hasEnvironment = traits.hasEnvironment || name == "environment";
        traits.mayHaveLineFeeds = traits.mayHaveLineFeeds || (name != "words" && contains(text, "\\u"));
    }
    return traits;
}

bool hasRefused(const Arguments& arguments) {
    return std::any_of(arguments.begin(), arguments.end(), [](const std::wstring& argument) {
        for (const wchar_t* text : {L"\"", L"java.home", L"java.library.path", L"jvm.library.path"}) {
            if (argument.find(text) != std::wstring::npos) {
                return true;
            }
        }
        return false;
    });
}

void expectEnd(ThreeStarts& starts, ProcessId id, const Traits& traits) {
    const std::optional<simulation::ProcessEnd> end = starts.endOf(id);
    expect(end.has_value(), "a start ends within half an hour");
    if (!end) {
        return;
    }
    expect(end->kind == simulation::EndKind::exited, "a start never crashes");
    expect(end->status == 0 || end->status == scenarios::fatalStatus, "a start ends with 0 or -1");
    if (hasRefused(traits.arguments)) {
        expect(end->status == scenarios::fatalStatus, "a refused argument is fatal");
        expect(!starts.commandOf(id).has_value(), "a refused argument starts nothing");
    }
}

// A failed start has logged its reason in any log. A version query ends with -1 as well, and logs the
// version.
bool isReasonLogged(const simulation::Machine& machine) {
    const auto isReason = [](const std::string& line) {
        const std::size_t code = line.find("ZLNCH");
        return contains(line, "ZELLauncher>") || contains(line, "ZLNCH0031I:") ||
               (code != std::string::npos && line.compare(std::min(code + 9, line.size()), 2, "E:") == 0);
    };
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : machine.tree(drive)) {
            const bool isLog = path.ends_with(L".log") && !path.ends_with(L"shutdown.log");
            const auto lines = launchertest::splitLines(isLog ? machine.readFile(path).value_or("") : "");
            if (std::any_of(lines.begin(), lines.end(), isReason)) {
                return true;
            }
        }
    }
    return false;
}

// The files of the install and of the user, and the paths that arguments name: a workspace with -data, and
// with -vm a VM and the jvm.properties in the directories above it. Nothing if the input may name any path.
std::optional<AllowedPaths> allowedPathsOf(const Traits& traits) {
    if (traits.hasOwnFiles || traits.hasEnvironment) {
        return std::nullopt;
    }
    AllowedPaths paths;
    for (const wchar_t* tree : {home, L"C:\\Apps\\vxext", L"C:\\Users\\ann", L"C:\\Temp"}) {
        paths.allowTree(tree);
    }
    // Four levels above the install's own VM, where its jvm.properties may be.
    paths.allowFile(L"C:\\Apps\\framework\\jvm.properties");
    for (std::size_t i = 0; i + 1 < traits.arguments.size(); ++i) {
        const std::wstring& value = traits.arguments[i + 1];
        const bool isData = traits.arguments[i] == L"-data";
        if (!isData && traits.arguments[i] != L"-vm") {
            continue;
        }
        // A token may name anything, and the long form of a path with `..` is another path.
        if (value.find(L"${") != std::wstring::npos || value.find(L"..") != std::wstring::npos) {
            return std::nullopt;
        }
        if (isData) {
            paths.allowTree(value);
            continue;
        }
        paths.allowFile(value);
        paths.allowFile(L"jvm.properties");  // of a VM directly below /eclipse/plugins/
        for (std::size_t at = value.find_first_of(L"\\/"); at != std::wstring::npos;
             at = value.find_first_of(L"\\/", at + 1)) {
            paths.allowFile(value.substr(0, at + 1) + L"jvm.properties");
            for (const wchar_t* name : {L"java.exe", L"k7.exe", L"navarin.exe"}) {
                paths.allowFile(value.substr(0, at + 1) + name);
            }
        }
    }
    return paths;
}

void expectOnlyAllowedPaths(const ThreeStarts& starts, const AllowedPaths& paths) {
    for (const simulation::Operation& operation : starts.theMachine().operations()) {
        const FileAccess access = fileAccessOf(operation);
        const bool isPipe = operation.argument.starts_with(L"\\\\.\\pipe\\");
        if (starts.launchers.count(operation.process) == 0 || isPipe || access == FileAccess::none) {
            continue;
        }
        const bool isAllowed = access == FileAccess::look ? paths.mayLookAt(operation.argument)
                                                          : paths.mayTouch(operation.argument);
        expect(isAllowed, operation.name + " on an allowed path: " + printable(operation.argument));
    }
}

// Arguments alone cannot choose the program.
void expectProgram(const ThreeStarts& starts) {
    for (const simulation::StartedProcess& child : starts.theMachine().startedProcesses()) {
        const Arguments seen = windowsArguments(child.commandLine);
        expect(!seen.empty() &&
                   systemPath(seen[0]) == systemPath(std::wstring(home) + L"\\zel\\eclipse\\plugins\\base_1.0"
                                                                          L"\\win32\\x86_64\\eclipse.exe"),
               "the program is the install's: " + printable(child.commandLine));
    }
}

// The elements of a list that was handed over, without `-useDaemon <process id>`, which a command lacks.
Arguments elementsOfList(const std::wstring& payload) {
    std::wstring list = payload.substr(0, payload.find(L'\0'));
    Arguments elements;
    std::wstring element;
    for (const wchar_t unit : list + L"\n") {
        if (unit != L'\n') {
            element += unit;
            continue;
        }
        elements.push_back(element);
        element.clear();
    }
    const auto startup = std::find(elements.begin(), elements.end(), L"-startup");
    if (startup - elements.begin() >= 2 && *(startup - 2) == L"-useDaemon") {
        elements.erase(startup - 2, startup);
    }
    return elements;
}

// Nothing in a command line is escaped, so a quote, or a backslash before a closing quote, joins an element
// with the next. The elements before it are unaffected.
bool joinsWithNext(const std::wstring& element) {
    return element.find(L'"') != std::wstring::npos || element.ends_with(L"\\") ||
           element.find(L"\\\"") != std::wstring::npos;
}

// A blank splits an element without quotes. The launcher leaves out the quotes only around its own options
// and the keys of property files.
bool isSplit(const std::wstring& element) {
    const std::wstring name = element.starts_with(L"-D") ? element.substr(0, element.find(L'=')) : L"";
    return name.find_first_of(L" \t") != std::wstring::npos;
}

// The arguments of the command are the elements of the list, up to the first that is joined or split.
void expectSameElements(const std::wstring& command, const std::wstring& payload) {
    const Arguments seen = windowsArguments(command);
    const Arguments expected = elementsOfList(payload);
    std::size_t whole = 0;
    while (whole < expected.size() && !joinsWithNext(expected[whole]) && !isSplit(expected[whole])) {
        ++whole;
    }
    if (whole == expected.size()) {
        expect(seen.size() == expected.size(),
               "command and list have the same number of elements: " + std::to_string(seen.size()) + " and " +
                   std::to_string(expected.size()));
    }
    for (std::size_t i = 0; i < whole; ++i) {
        expect(i < seen.size() && seen[i] == expected[i],
               "the platform gets " + (i < seen.size() ? printable(seen[i]) : "nothing") + " instead of " +
                   printable(expected[i]));
    }
}

// The arguments before `-vmargs` that the launcher passes on.
Arguments passedArguments(const Arguments& arguments) {
    Arguments plain = {L"program"};
    std::copy_if(arguments.begin(), arguments.end(), std::back_inserter(plain),
                 [](const std::wstring& argument) { return !argument.starts_with(L"vmarg."); });
    const std::set<std::wstring> droppedWithValue = {L"-data", L"-configuration", L"-vm", L"-zel_old_pid"};
    const std::set<std::wstring> passedWithValue = {L"-plugincustomization", L"-application", L"-product",
                                                    L"-personality"};
    const std::set<std::wstring> dropped = {L"-restart", L"-resetconfig"};
    Arguments passed;
    const auto end = std::find(plain.begin() + 1, plain.end(), L"-vmargs");
    for (auto argument = plain.begin() + 1; argument < end; ++argument) {
        const bool isFirst = std::find(plain.begin() + 1, argument, *argument) == argument;
        if (isFirst && dropped.count(*argument) != 0) {
            continue;
        }
        if (isFirst && droppedWithValue.count(*argument) != 0) {
            ++argument;
            if (argument >= end) {
                break;
            }
            continue;
        }
        passed.push_back(*argument);
        if (isFirst && passedWithValue.count(*argument) != 0 && argument + 1 != plain.end()) {
            passed.push_back(*++argument);
        }
        if (argument >= end) {
            break;
        }
    }
    return passed;
}

// Each argument of the caller is one element, unchanged.
void expectArguments(const std::wstring& command, const Traits& traits) {
    const bool isPlain =
        std::none_of(traits.arguments.begin(), traits.arguments.end(), [](const std::wstring& argument) {
            return argument.find(L"${") != std::wstring::npos || argument == L"-config";
        });
    const Arguments seen = windowsArguments(command);
    if (traits.hasOwnFiles || !isPlain || has(seen, L"-userProvLaunch")) {
        return;
    }
    std::size_t position = has(traits.arguments, L"-debug") ? 1 : 2;
    for (const std::wstring& argument : passedArguments(traits.arguments)) {
        if (joinsWithNext(argument)) {
            return;
        }
        expect(position < seen.size() && seen[position] == argument,
               "the argument " + printable(argument) + " is an element");
        ++position;
    }
    expect(position < seen.size() && seen[position] == L"-data", "-data follows the arguments");
}

// zelexplain explains the first start, whatever the input, and changes nothing.
void expectExplanation(const Sections& sections, const Traits& traits) {
    const ThreeStarts starts(sections);
    explaintest::StartToCompare start;
    start.arguments = {std::wstring(home) + L"\\zel\\zellauncher.exe"};
    start.arguments.insert(start.arguments.end(), traits.arguments.begin(), traits.arguments.end());
    const std::string problem = explaintest::explainOn(starts.theMachine(), start);
    expect(problem.empty(), problem);
}

bool hasTokens(const std::string& bytes) {
    return contains(bytes, "${");
}

}  // namespace

void runInput(const std::string& bytes) {
    const Sections sections = readSections(bytes);
    const Traits traits = traitsOf(sections);
    expectExplanation(sections, traits);
    const PeakMemory memory;
    {
        ThreeStarts starts(sections);
        const ProcessId first = starts.start(traits.arguments);
        const std::size_t before = starts.allPayloads().size();
        const ProcessId second = starts.start(traits.arguments);
        const std::vector<std::wstring> payloads = starts.allPayloads();
        starts.letPlatformsEnd();
        const ProcessId third = starts.start(traits.arguments);
        for (const ProcessId id : {first, second, third}) {
            expectEnd(starts, id, traits);
            const std::optional<simulation::ProcessEnd> end = starts.endOf(id);
            const bool isFatal = end && end->status == scenarios::fatalStatus;
            expect(!isFatal || traits.hasEnvironment || isReasonLogged(starts.theMachine()),
                   "a fatal end logs its reason");
            if (const std::optional<std::wstring> command = starts.commandOf(id)) {
                expectArguments(*command, traits);
            }
        }
        const std::optional<std::wstring> command = starts.commandOf(third);
        const bool isRenewed = has(traits.arguments, L"-resetconfig") || has(traits.arguments, L"-restart");
        if (payloads.size() > before && command && !traits.mayHaveLineFeeds && !isRenewed &&
            starts.endOf(third)->status == 0) {
            expectSameElements(*command, payloads.back());
        }
        if (const std::optional<AllowedPaths> paths = allowedPathsOf(traits)) {
            expectOnlyAllowedPaths(starts, *paths);
        }
        if (!traits.hasOwnFiles) {
            expectProgram(starts);
        }
        const std::size_t operations = starts.theMachine().operationCount();
        expect(operations <= startOperations + operationsPerByte * bytes.size() +
                                 (hasTokens(bytes) ? operationsForTokens : 0),
               "operations are bounded by the input: " + std::to_string(operations));
    }
    expect(
        memory.bytes() <= startBytes + bytesPerByte * bytes.size() + (hasTokens(bytes) ? bytesForTokens : 0),
        "memory is bounded by the input: " + std::to_string(memory.bytes()));
}

}  // namespace fuzz
