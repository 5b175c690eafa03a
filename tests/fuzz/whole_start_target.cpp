#include <algorithm>
#include <optional>
#include <set>

#include "fuzz/allocation_account.h"
#include "fuzz/places.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"
#include "fuzz/windows_command_line.h"
#include "scenarios/story.h"

// The input is a command line, an environment, and files of the install and of the user, each of them
// written over the ordinary one or behind it. Three launchers are started one after the other: the
// first start of a user, one while its platform runs, and one after that has ended. Whatever they are
// given, they come to an end; and what reaches the platform is what they were given.
namespace fuzz {

namespace {

using simulation::ProcessId;
using Words = std::vector<std::wstring>;

constexpr const wchar_t* home = L"C:\\Apps\\framework\\Client";
constexpr std::size_t mostWords = 200;

// Bounds for one run of all three starts, and for each byte of the input.
constexpr std::size_t startOperations = 12'000;
constexpr std::size_t operationsForByte = 200;
constexpr std::size_t startBytes = 24'000'000;
constexpr std::size_t bytesForByte = 20'000;
constexpr std::size_t operationsForTokens = 200'000;
constexpr std::size_t bytesForTokens = 300'000'000;

// Files of the input by the name of their section.
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

bool has(const Words& words, const std::wstring& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool contains(const std::string& text, const std::string& what) {
    return text.find(what) != std::string::npos;
}

// One install, one user, and the three starts.
class Start : public scenarios::Story {
public:
    explicit Start(const Sections& sections) : input(sections) {
        layOut();
        // A locked-down desktop starts its platform again and again, until one restarts by itself and is
        // not seen any more. Nobody else asks for the code.
        platform.exitCode = 23;
        for (const KnownFile& file : knownFiles) {
            place(file);
        }
        const auto environment = input.find("environment");
        if (environment != input.end()) {
            for (const zellauncher::PropertyEntry& entry : entriesOf(environment->second)) {
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

    // Runs a launcher for at most half an hour of the machine's time. An engineer's debug marker, for
    // which a start waits, is taken away after ten seconds.
    ProcessId start(const Words& words) {
        constexpr int mostSeconds = 1800;
        constexpr int markerSeconds = 10;
        const ProcessId launcherId = begin(words);
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

    // The last command line with which this launcher tried to start something.
    std::optional<std::wstring> commandOf(ProcessId id) const {
        std::optional<std::wstring> command;
        for (const simulation::StartedProcess& child : machine.startedProcesses()) {
            command = child.parent == id ? child.commandLine : command;
        }
        return command;
    }

    Words allPayloads() const { return payloads(); }
    const simulation::Machine& world() const { return machine; }

    std::set<ProcessId> launchers;

private:
    void TestBody() override {}

    // `name` stands in place of the ordinary file, `+name` behind what that says.
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

// What the input says about itself.
struct Traits {
    Words words;
    bool hasOwnFiles = false;  // of the install or of the user
    bool hasEnvironment = false;
    bool mayHoldLineFeeds = false;  // a value or a word with a line feed splits a list
};

Traits traitsOf(const Sections& sections) {
    Traits traits;
    const auto words = sections.find("words");
    traits.words = words == sections.end() ? Words() : wordsOf(words->second);
    traits.words.resize(std::min(traits.words.size(), mostWords));
    for (std::wstring& word : traits.words) {
        word = word.substr(0, word.find(L'\0'));
        traits.mayHoldLineFeeds = traits.mayHoldLineFeeds || word.find(L'\n') != std::wstring::npos;
    }
    for (const auto& [name, text] : sections) {
        const bool isFile = name != "words" && name != "environment" && name != "platform" && !name.empty();
        traits.hasOwnFiles = traits.hasOwnFiles || isFile;
        traits.hasEnvironment = traits.hasEnvironment || name == "environment";
        traits.mayHoldLineFeeds = traits.mayHoldLineFeeds || (name != "words" && contains(text, "\\u"));
    }
    return traits;
}

// A word that no start may come through with.
bool isRefused(const Words& words) {
    return std::any_of(words.begin(), words.end(), [](const std::wstring& word) {
        for (const wchar_t* text : {L"\"", L"java.home", L"java.library.path", L"jvm.library.path"}) {
            if (word.find(text) != std::wstring::npos) {
                return true;
            }
        }
        return false;
    });
}

// Nobody waits for ever, and nothing ends in a fault.
void expectEnd(Start& start, ProcessId id, const Traits& traits) {
    const std::optional<simulation::ProcessEnd> end = start.endOf(id);
    expect(end.has_value(), "a start comes to its end within half an hour");
    if (!end) {
        return;
    }
    expect(end->kind == simulation::EndKind::exited, "a start is never a fault");
    expect(end->status == 0 || end->status == scenarios::fatalStatus, "a start ends with 0 or -1");
    if (isRefused(traits.words)) {
        expect(end->status == scenarios::fatalStatus, "a refused word ends the start");
        expect(!start.commandOf(id).has_value(), "a refused word starts nothing");
    }
}

// A start that failed has told why, in whatever log it had by then; a version query ends like a failure.
bool hasToldWhy(const simulation::Machine& machine) {
    const auto isTold = [](const std::string& line) {
        const std::size_t code = line.find("ZLNCH");
        return contains(line, "ZELLauncher>") || contains(line, "ZLNCH0031I:") ||
               (code != std::string::npos && line.compare(std::min(code + 9, line.size()), 2, "E:") == 0);
    };
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : machine.tree(drive)) {
            const bool isLog = path.ends_with(L".log") && !path.ends_with(L"shutdown.log");
            const auto lines = linesOf(isLog ? machine.readFile(path).value_or("") : std::string());
            if (std::any_of(lines.begin(), lines.end(), isTold)) {
                return true;
            }
        }
    }
    return false;
}

// The start's own files, those of the user, and the places that words name on purpose: a workspace
// behind -data, and the jvm.properties in the directories above a VM behind -vm.
std::optional<Places> placesOf(const Traits& traits) {
    if (traits.hasOwnFiles || traits.hasEnvironment) {
        return std::nullopt;  // what an install names in its own files, it may read
    }
    Places places;
    for (const wchar_t* tree : {home, L"C:\\Apps\\vxext", L"C:\\Users\\ann", L"C:\\Temp"}) {
        places.allowTree(tree);
    }
    // Four levels above the install's own VM, where its jvm.properties may be.
    places.allowFile(L"C:\\Apps\\framework\\jvm.properties");
    for (std::size_t i = 0; i + 1 < traits.words.size(); ++i) {
        const std::wstring& value = traits.words[i + 1];
        const bool isData = traits.words[i] == L"-data";
        if (!isData && traits.words[i] != L"-vm") {
            continue;
        }
        // A token may name anything, and the long form of a path with `..` is another path.
        if (value.find(L"${") != std::wstring::npos || value.find(L"..") != std::wstring::npos) {
            return std::nullopt;
        }
        if (isData) {
            places.allowTree(value);
            continue;
        }
        places.allowFile(value);
        places.allowFile(L"jvm.properties");  // of a VM directly below /eclipse/plugins/
        for (std::size_t at = value.find_first_of(L"\\/"); at != std::wstring::npos;
             at = value.find_first_of(L"\\/", at + 1)) {
            places.allowFile(value.substr(0, at + 1) + L"jvm.properties");
            for (const wchar_t* name : {L"java.exe", L"k7.exe", L"navarin.exe"}) {
                places.allowFile(value.substr(0, at + 1) + name);
            }
        }
    }
    return places;
}

void expectInPlace(const Start& start, const Places& places) {
    for (const simulation::Operation& operation : start.world().operations()) {
        bool isLook = false;
        const bool isPipe = operation.argument.starts_with(L"\\\\.\\pipe\\");
        if (start.launchers.count(operation.process) == 0 || isPipe || !isFileOperation(operation, isLook)) {
            continue;
        }
        const bool isAllowed =
            isLook ? places.mayLookAt(operation.argument) : places.mayTouch(operation.argument);
        expect(isAllowed, operation.name + " on " + printable(operation.argument));
    }
}

// With an install that is as it should be, words do not choose the program.
void expectProgram(const Start& start) {
    for (const simulation::StartedProcess& child : start.world().startedProcesses()) {
        const Words words = wordsOfCommandLine(child.commandLine);
        expect(!words.empty() && systemPath(words[0]) ==
                                     systemPath(std::wstring(home) + L"\\zel\\eclipse\\plugins\\base_1.0"
                                                                     L"\\win32\\x86_64\\eclipse.exe"),
               "the program is the install's: " + printable(child.commandLine));
    }
}

// The elements of a list that was handed to a platform, without the pair that only such a list has.
Words elementsOfList(const std::wstring& payload) {
    std::wstring list = payload.substr(0, payload.find(L'\0'));
    Words elements;
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

// Nothing is escaped in a command line: a quote, or a backslash in front of a closing quote, joins what
// stands behind it. What stands in front is the platform's as it was meant.
bool joinsWithNext(const std::wstring& element) {
    return element.find(L'"') != std::wstring::npos || element.ends_with(L"\\") ||
           element.find(L"\\\"") != std::wstring::npos;
}

// An element that stands without quotes and holds a blank is several. The launcher writes only its own
// names so, those of the options that it knows and keys of its property files.
bool isSeveral(const std::wstring& element) {
    const std::wstring name = element.starts_with(L"-D") ? element.substr(0, element.find(L'=')) : L"";
    return name.find_first_of(L" \t") != std::wstring::npos;
}

// The words of the command line are the elements of the list, as far as nothing joins.
void expectSameElements(const std::wstring& command, const std::wstring& payload) {
    const Words seen = wordsOfCommandLine(command);
    const Words meant = elementsOfList(payload);
    std::size_t whole = 0;
    while (whole < meant.size() && !joinsWithNext(meant[whole]) && !isSeveral(meant[whole])) {
        ++whole;
    }
    if (whole == meant.size()) {
        expect(seen.size() == meant.size(), "as many elements as were meant: " + std::to_string(seen.size()) +
                                                " of " + std::to_string(meant.size()));
    }
    for (std::size_t i = 0; i < whole; ++i) {
        expect(i < seen.size() && seen[i] == meant[i],
               "the platform sees " + (i < seen.size() ? printable(seen[i]) : "nothing") + " for " +
                   printable(meant[i]));
    }
}

// The caller's words that the launcher passes on, in front of `-vmargs`.
Words passedWords(const Words& words) {
    Words plain = {L"program"};
    std::copy_if(words.begin(), words.end(), std::back_inserter(plain),
                 [](const std::wstring& word) { return !word.starts_with(L"vmarg."); });
    const std::set<std::wstring> pairs = {L"-data", L"-configuration", L"-vm", L"-zel_old_pid"};
    const std::set<std::wstring> choices = {L"-plugincustomization", L"-application", L"-product",
                                            L"-personality"};
    const std::set<std::wstring> alone = {L"-restart", L"-resetconfig"};
    Words passed;
    const auto end = std::find(plain.begin() + 1, plain.end(), L"-vmargs");
    for (auto word = plain.begin() + 1; word < end; ++word) {
        const bool isFirst = std::find(plain.begin() + 1, word, *word) == word;
        if (isFirst && alone.count(*word) != 0) {
            continue;
        }
        if (isFirst && pairs.count(*word) != 0) {
            ++word;
            if (word >= end) {
                break;
            }
            continue;
        }
        passed.push_back(*word);
        if (isFirst && choices.count(*word) != 0 && word + 1 != plain.end()) {
            passed.push_back(*++word);
        }
        if (word >= end) {
            break;
        }
    }
    return passed;
}

// A word of the caller is one element, whatever stands in it; and it is that word.
void expectWords(const std::wstring& command, const Traits& traits) {
    const bool isPlain = std::none_of(traits.words.begin(), traits.words.end(), [](const std::wstring& word) {
        return word.find(L"${") != std::wstring::npos || word == L"-config";
    });
    const Words seen = wordsOfCommandLine(command);
    if (traits.hasOwnFiles || !isPlain || has(seen, L"-userProvLaunch")) {
        return;
    }
    std::size_t position = has(traits.words, L"-debug") ? 1 : 2;
    for (const std::wstring& word : passedWords(traits.words)) {
        if (joinsWithNext(word)) {
            return;
        }
        expect(position < seen.size() && seen[position] == word,
               "the word " + printable(word) + " is an element");
        ++position;
    }
    expect(position < seen.size() && seen[position] == L"-data", "behind the words stands the workspace");
}

// Texts that name other texts may take ten thousand replacements, and grow by four million characters,
// in each of the two passes of a start.
bool hasTokens(const std::string& bytes) {
    return contains(bytes, "${");
}

}  // namespace

void runInput(const std::string& bytes) {
    const Sections sections = readSections(bytes);
    const Traits traits = traitsOf(sections);
    const AllocationAccount account;
    {
        Start start(sections);
        const ProcessId first = start.start(traits.words);
        const std::size_t before = start.allPayloads().size();
        const ProcessId second = start.start(traits.words);
        const Words payloads = start.allPayloads();
        start.letPlatformsEnd();
        const ProcessId third = start.start(traits.words);
        for (const ProcessId id : {first, second, third}) {
            expectEnd(start, id, traits);
            const std::optional<simulation::ProcessEnd> end = start.endOf(id);
            const bool isFatal = end && end->status == scenarios::fatalStatus;
            expect(!isFatal || traits.hasEnvironment || hasToldWhy(start.world()), "a fatal end says why");
            if (const std::optional<std::wstring> command = start.commandOf(id)) {
                expectWords(*command, traits);
            }
        }
        const std::optional<std::wstring> command = start.commandOf(third);
        const bool isRenewed = has(traits.words, L"-resetconfig") || has(traits.words, L"-restart");
        if (payloads.size() > before && command && !traits.mayHoldLineFeeds && !isRenewed &&
            start.endOf(third)->status == 0) {
            expectSameElements(*command, payloads.back());
        }
        if (const std::optional<Places> places = placesOf(traits)) {
            expectInPlace(start, *places);
        }
        if (!traits.hasOwnFiles) {
            expectProgram(start);
        }
        const std::size_t operations = start.world().operationCount();
        expect(operations <= startOperations + operationsForByte * bytes.size() +
                                 (hasTokens(bytes) ? operationsForTokens : 0),
               "operations are bounded by the input: " + std::to_string(operations));
    }
    expect(account.peakBytes() <=
               startBytes + bytesForByte * bytes.size() + (hasTokens(bytes) ? bytesForTokens : 0),
           "memory is bounded by the input: " + std::to_string(account.peakBytes()));
}

}  // namespace fuzz
