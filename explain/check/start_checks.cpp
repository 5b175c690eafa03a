#include "explain/check/start_checks.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "explain/check/jvm_options.h"
#include "explain/check/layout_checks.h"
#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/environment.h"
#include "explain/simulated_platform.h"
#include "explain/start.h"
#include "explain/windows_paths.h"
#include "foundation/paths.h"
#include "simulation/command_line.h"
#include "simulation/program_files.h"

namespace explain {

namespace {

using zellauncher::InstallConfigurationKind;

// The last line of a start whose program the system refuses.
bool isAboutTheProgramFile(const std::string& message) {
    return message.starts_with("CreateProcessW failed") ||
           message == "ZELLauncher> the program file that the command names is missing" ||
           message == "ZELLauncher> the file that the command names is not a program";
}

constexpr std::uint64_t platformsEndWithin = 120'000;
constexpr std::size_t scarceRoom = 2000;  // characters that a longer workspace or user name may need
constexpr int mostRepairs = 5;

// What the machines have so that a start gets further.
struct Repairs {
    std::map<std::wstring, std::string> newFiles;
    std::map<std::wstring, std::vector<std::string>> firstLines;  // before those of a file
    // Lines of a file that begin a value with a token that ends a start.
    std::map<std::wstring, std::set<std::size_t>> tokenLines;
    std::vector<wchar_t> drives;
};

// What a program gets of an argument of its command line.
enum class Quoting {
    whole,
    inPieces,  // as several arguments
    open,      // with those after it
};

Quoting quotingOf(const std::wstring& argument) {
    const std::wstring next = L"next";
    const std::vector<std::wstring> all = simulation::splitCommandLine(L"program " + argument + L" " + next);
    if (all.back() != next) {
        return Quoting::open;
    }
    return all.size() == 3 ? Quoting::whole : Quoting::inPieces;
}

bool hasKey(const Entries& list, const wchar_t* key) {
    return std::any_of(list.begin(), list.end(), [&](const auto& entry) { return entry.key == key; });
}

class StartCheck {
public:
    StartCheck(const InstallReading& theReading, const StartOptions& startOptions, Findings& all)
        : reading(theReading), options(startOptions), findings(all) {}

    std::optional<std::size_t> run() {
        collectRepairs();
        if (!reading.userTemplate.exists) {
            return std::nullopt;
        }
        std::optional<Explanation> first = firstStart();
        if (!first) {
            return std::nullopt;
        }
        checkTexts(*first);
        checkLaterStarts(first->outcome == Outcome::provisioned);
        return first->command ? std::optional(first->command->size()) : std::nullopt;
    }

    // The command of a start on a machine without repairs.
    void checkCommand(const World& world, const Explanation& start) {
        checkCommandFiles(reading, options, world, start, findings);
        checkTexts(start);
    }

private:
    const InstallReading& reading;
    StartOptions options;
    Findings& findings;
    Repairs repairs;

    // --- Repairs -------------------------------------------------------------------------------------

    void collectRepairs() {
        std::vector<std::string>& lines = repairs.firstLines[reading.launcherProperties.path];
        const Entries& launcher = reading.launcherProperties.entries;
        if (!hasKey(launcher, L"zel.install.id") && reading.kind != InstallConfigurationKind::userpb) {
            lines.emplace_back("zel.install.id=check");
        }
        if (reading.kind == InstallConfigurationKind::unknown ||
            !hasKey(launcher, L"install.configuration")) {
            lines.emplace_back("install.configuration=user");
        }
        if (reading.hasWorkspace && fullDrivePath(reading.workspace)) {
            repairs.drives.push_back(reading.workspace[0]);
        } else if (hasKey(launcher, L"zel.data")) {
            lines.emplace_back("zel.data=C:/Workspace");
        }
        collectTemplateRepairs();
    }

    void collectTemplateRepairs() {
        std::vector<std::string>& lines = repairs.firstLines[reading.userTemplate.path];
        const ExpandedValue* customization = reading.value(L"plugincustomization");
        if (customization == nullptr || !customization->isResolved) {
            lines.emplace_back("plugincustomization=C:/Windows/check.ini");
            repairs.newFiles[L"C:\\Windows\\check.ini"] = "";
        } else if (const auto path = fullDrivePath(customization->text)) {
            repairs.newFiles[*path] = "";
        }
        if (!hasKey(reading.made, L"Xbootclasspath.append")) {
            lines.emplace_back("Xbootclasspath.append=");
        }
        collectTokenRepairs();
        for (const InstallFile* file : {&reading.configIni, &reading.jvmProperties}) {
            if (!file->exists && !file->path.empty()) {
                repairs.newFiles[file->path] = "";
            }
        }
    }

    void collectTokenRepairs() {
        for (const ExpandedValue& value : reading.values) {
            const Place place = placeOf(reading, options, value.source);
            if (value.isResolved || place.line == 0) {
                continue;
            }
            for (const InstallFile* file : propertyFiles()) {
                if (installName(options, file->path) == place.file) {
                    repairs.tokenLines[file->path].insert(place.line);
                }
            }
            if (value.key == L"vm") {
                repairs.firstLines[reading.userTemplate.path].emplace_back("vm=C:/Windows/javaw.exe");
                repairs.newFiles[L"C:\\Windows\\javaw.exe"] = simulation::smallestProgramFile();
            }
        }
    }

    std::array<const InstallFile*, 3> propertyFiles() const {
        return {&reading.launcherProperties, &reading.userTemplate, &reading.jvmProperties};
    }

    World newWorld() const {
        World world = buildWorld(options);
        world.machine->playPrograms([] { return runSimulatedPlatform(Platform::none); });
        for (const wchar_t drive : repairs.drives) {
            world.machine->makeDrive(drive);
        }
        for (const auto& [path, content] : repairs.newFiles) {
            if (!world.machine->exists(path)) {
                putFile(world, path, content);
            }
        }
        if (brokenProgram) {
            putFile(world, *brokenProgram, simulation::smallestProgramFile());
        }
        for (const InstallFile* file : propertyFiles()) {
            const auto lines = repairs.tokenLines.find(file->path);
            if (lines != repairs.tokenLines.end()) {
                replace(world, file->path, withoutTokens(*file, lines->second));
            }
        }
        for (const auto& [path, lines] : repairs.firstLines) {
            prepend(world, path, lines);
        }
        return world;
    }

    static void prepend(World& world, const std::wstring& path, const std::vector<std::string>& lines) {
        const std::optional<std::string> former = world.machine->readFile(path);
        if (lines.empty() || !former) {
            return;
        }
        std::string content;
        for (const std::string& line : lines) {
            content += line + "\r\n";
        }
        replace(world, path, content + *former);
    }

    static void replace(World& world, const std::wstring& path, const std::string& content) {
        const std::uint32_t attributes = world.machine->attributes(path);
        putFile(world, path, content);
        world.machine->setAttributes(path, attributes);
    }

    // The text of a file, in which the entries of these lines have no tokens. Framework checks know by the
    // `$` that nothing can be said about such a value.
    static std::string withoutTokens(const InstallFile& file, const std::set<std::size_t>& begins) {
        std::set<std::size_t> entries;
        for (const auto& entry : file.entries) {
            entries.insert(entry.value.source ? entry.value.source->line : 0);
        }
        std::string text = file.bytes;
        std::size_t line = 1;
        bool isWithin = begins.count(line) != 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\n') {
                ++line;
                isWithin = entries.count(line) != 0 ? begins.count(line) != 0 : isWithin;
            } else if (isWithin && i > 0 && text[i] == '{' && text[i - 1] == '$') {
                text[i] = '[';
            }
        }
        return text;
    }

    // --- Findings ------------------------------------------------------------------------------------

    // A place in the install; lines that the repairs have added are not counted.
    Place realPlace(Place place) const {
        for (const auto& [path, lines] : repairs.firstLines) {
            if (place.file == installName(options, path)) {
                place.line -= std::min(place.line, lines.size());
            }
        }
        return place;
    }

    Place realPlace(const ValueSource& source) const {
        return realPlace(source.origin.value_or(Place{source.file, source.line, source.name}));
    }

    // What the value of such a line would be is unknown.
    bool hasUnknownValue(const Place& place) const {
        return std::any_of(repairs.tokenLines.begin(), repairs.tokenLines.end(), [&](const auto& lines) {
            return installName(options, lines.first) == place.file && lines.second.count(place.line) != 0;
        });
    }

    // The files of the command, with the lines of the install as their sources.
    void checkFilesOf(const World& world, Explanation start) {
        std::erase_if(start.elements, [&](const Element& element) {
            return element.section != "system properties" && hasUnknownValue(realPlace(element.source));
        });
        for (Element& element : start.elements) {
            ValueSource& source = element.source;
            if (source.origin) {
                source.origin = realPlace(*source.origin);
            } else {
                source.line = realPlace({source.file, source.line, source.name}).line;
            }
        }
        checkCommandFiles(reading, options, world, start, findings);
    }

    bool isKnown(const std::string& message) const {
        return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
            return std::any_of(finding.messages.begin(), finding.messages.end(),
                               [&](const std::string& beginning) { return message.starts_with(beginning); });
        });
    }

    void addFailure(const Explanation& start, const std::string& which) {
        const std::string message = start.message.value_or(waitsWithoutLimit);
        if (isKnown(message)) {
            return;
        }
        Place place{L"zel/zellauncher.properties", 0, L""};
        std::string consequence;
        std::string remedy = "Run zelexplain start to see every step.";
        if (start.failure) {
            for (const Failure::Cause& cause : start.failure->causes) {
                const bool isInInstall =
                    cause.place && cause.place->line != 0 && !fullDrivePath(cause.place->file);
                if (isInInstall) {
                    place = realPlace(*cause.place);
                    break;
                }
            }
            consequence = start.failure->meaning;
            remedy = start.failure->remedy.empty() ? remedy : start.failure->remedy;
        }
        addFinding(findings, rules::startFails, Severity::error, place, which + " ends with: " + message,
                   consequence, remedy);
        findings.back().messages = {message};
    }

    // --- The first start -----------------------------------------------------------------------------

    // The native launcher's path follows from the base location; the message has it.
    std::optional<std::wstring> missingProgram(const std::string& message) const {
        constexpr std::string_view beginning = "ZLNCH0007E: ";
        constexpr std::string_view ending = " is not executable or does not exist.";
        if (!message.starts_with(beginning) || !message.ends_with(ending)) {
            return std::nullopt;
        }
        const std::string path =
            message.substr(beginning.size(), message.size() - beginning.size() - ending.size());
        return fullDrivePath(fromUtf8(path));
    }

    bool repairProgram(const Explanation& start) {
        const std::optional<std::wstring> program = missingProgram(start.message.value_or(""));
        if (!program || repairs.newFiles.count(*program) != 0) {
            return false;
        }
        const std::wstring ending = program->substr(std::min(program->rfind(L'.'), program->size()));
        if (ending != L".exe" && ending != L".com" && ending != L".bat" && ending != L".cmd") {
            return false;
        }
        if (program->size() > longestPath) {
            findings.push_back(
                {rules::longPath,
                 Severity::error,
                 toUtf8(installName(options, *program)),
                 0,
                 "the path of the native platform launcher has " + std::to_string(program->size()) +
                     " characters",
                 "The launcher finds files by paths of at most 259: a start ends with ZLNCH0007E.",
                 "Shorten the directories of the install.",
                 {"ZLNCH0007E"}});
            return false;
        }
        findings.push_back({rules::missingFile,
                            Severity::error,
                            toUtf8(installName(options, *program)),
                            0,
                            "the native platform launcher is missing: " + toUtf8(*program),
                            "A start ends with ZLNCH0007E.",
                            "Ship the program, or correct eclipse.name or zel.base.location.",
                            {"ZLNCH0007E"}});
        repairs.newFiles[*program] = simulation::smallestProgramFile();
        return true;
    }

    // A program that cannot be started becomes one that can. False if no finding says why it cannot.
    bool repairNoProgram(const World& world, const Explanation& start) {
        if (!start.message || !isAboutTheProgramFile(*start.message)) {
            return false;
        }
        const std::wstring program = programOf(start);
        const auto path = resolvedDrivePath(*world.machine, program);
        if (!path || path == brokenProgram || repairs.newFiles.count(*path) != 0) {
            return false;
        }
        if (isWithin(*path, inventedDirectory)) {
            repairs.newFiles[*path] = simulation::smallestProgramFile();
            return true;
        }
        checkFilesOf(world, start);
        brokenProgram = *path;
        return isKnown(*start.message);
    }

    static std::wstring programOf(const Explanation& start) {
        return start.elements.empty() ? std::wstring() : withoutQuotes(start.elements.front().text);
    }

    std::optional<std::wstring> brokenProgram;

    // Nothing if it fails.
    std::optional<Explanation> firstStart() {
        for (int attempt = 0; attempt < mostRepairs; ++attempt) {
            World world = newWorld();
            Explanation start = explainNextStart(world, options);
            if (start.outcome == Outcome::started || start.outcome == Outcome::provisioned) {
                if (!brokenProgram) {
                    checkFilesOf(world, start);
                }
                return start;
            }
            if (!repairProgram(start) && !repairNoProgram(world, start)) {
                checkCommandLength(start);
                addFailure(start, "a first start");
                return std::nullopt;
            }
        }
        return std::nullopt;
    }

    // --- The command ---------------------------------------------------------------------------------

    void checkTexts(const Explanation& start) {
        checkCommandLength(start);
        checkQuotes(start);
        checkJvmOptions(start);
        checkPath(start);
    }

    void checkCommandLength(const Explanation& start) {
        const std::size_t length = start.command ? start.command->size() : 0;
        if (length + scarceRoom <= longestCommand) {
            return;
        }
        const bool isTooLong = length > longestCommand;
        const Element* longest = nullptr;
        for (const Element& element : start.elements) {
            longest = longest == nullptr || element.text.size() > longest->text.size() ? &element : longest;
        }
        const Place place = longest != nullptr ? realPlace(longest->source) : Place{};
        addFinding(findings, rules::commandLength, isTooLong ? Severity::error : Severity::warning,
                   place.line != 0 ? place : Place{L"zel/zellauncher.properties", 0, L""},
                   "the command has " + std::to_string(length) + " characters" +
                       (isTooLong ? "" : ", so " + std::to_string(longestCommand - length) + " are left"),
                   isTooLong ? "Windows starts a command of at most 32766: a start ends with -1."
                             : "For a user with a longer name or workspace, the start may fail.",
                   "Shorten values; its longest element comes from here.");
        findings.back().messages = {"CreateProcessW failed", "ZELLauncher> the command is longer"};
    }

    // The launcher puts values in double quotes as they are.
    void checkQuotes(const Explanation& start) {
        for (const Element& element : start.elements) {
            const Quoting quoting = quotingOf(element.text);
            const bool isLost = quoting == Quoting::open ||
                                (quoting == Quoting::inPieces && element.section != "platform arguments");
            const Place place = realPlace(element.source);
            if (isLost && element.section != "program" && place.line != 0) {
                addLostQuote(place, element.text);
            }
        }
    }

    void addLostQuote(const Place& place, const std::wstring& argument) {
        // What is known of the line's quotes from its text is milder.
        std::erase_if(findings, [&](const Finding& finding) {
            return finding.rule == rules::quoteInValue && finding.line == place.line &&
                   finding.file == toUtf8(place.file);
        });
        const bool isBackslash = argument.ends_with(L"\\\"");
        addFinding(
            findings, rules::quoteInValue, Severity::error, place,
            std::string(isBackslash ? "a backslash at the end of the value escapes the quote after it: "
                                    : "a double quote in the value breaks the argument: ") +
                toUtf8(argument),
            "The arguments after it are no longer those that were meant: no platform comes up, although "
            "the launcher ends with 0.",
            isBackslash ? "Leave the backslashes at the end of the value out."
                        : "Leave the quotes out: the launcher itself puts values in quotes.");
    }

    void checkJvmOptions(const Explanation& start) {
        const JvmVendor vendor = jvmVendor(start);
        std::string former;
        for (const Element& element : start.elements) {
            const std::string argument = toUtf8(withoutQuotes(element.text));
            const Place place = realPlace(element.source);
            const bool isInvented = element.text.find(inventedDirectory) != std::wstring::npos;
            if (place.line != 0 && !isInvented && !hasUnknownValue(place)) {
                addJvmProblem(checkJvmOption(argument, vendor), place);
                if (element.section == "JVM arguments") {
                    addJvmProblem(checkJvmArgument(argument, former), place);
                }
            }
            former = argument;
        }
    }

    void addJvmProblem(const std::optional<JvmOptionProblem>& problem, const Place& place) {
        if (problem) {
            addFinding(findings, rules::jvmOption, problem->isFatal ? Severity::error : Severity::warning,
                       place, problem->text, problem->consequence, problem->remedy);
        }
    }

    // Which kind of JVM is shipped, by the files beside the one that the command names.
    JvmVendor jvmVendor(const Explanation& start) const {
        const World world = buildWorld(options);
        const auto has = [&](const std::wstring& path) { return world.machine->exists(path); };
        for (const Element& element : start.elements) {
            const bool isJvm = element.section == "JVM" || element.section == "program";
            const auto path =
                isJvm ? resolvedDrivePath(*world.machine, withoutQuotes(element.text)) : std::nullopt;
            const std::wstring home = path ? path->substr(0, path->rfind(L"\\bin\\")) : std::wstring();
            const bool isHotSpot =
                path && (has(home + L"\\bin\\server\\jvm.dll") || has(home + L"\\jre\\bin\\server\\jvm.dll"));
            if (isHotSpot && !has(home + L"\\bin\\j9vm") && !has(home + L"\\jre\\bin\\j9vm")) {
                return JvmVendor::hotSpot;
            }
        }
        return JvmVendor::unknown;
    }

    // The platform's PATH must still have the inherited one.
    void checkPath(const Explanation& start) {
        const auto path = start.setVariables.find(L"PATH");
        const World world = buildWorld(options);
        const std::wstring* inherited = findVariable(world.environment, L"PATH");
        if (path == start.setVariables.end() || inherited == nullptr ||
            path->second.find(*inherited) != std::wstring::npos) {
            return;
        }
        for (const wchar_t* key : {L"library.path.prepend", L"library.path.append"}) {
            if (const ExpandedValue* value = reading.value(key)) {
                addFinding(
                    findings, rules::pathLimit, Severity::warning, placeOf(reading, options, value->source),
                    "the platform's PATH loses the inherited one, which has " +
                        std::to_string(inherited->size()) + " characters",
                    "Its line in args.properties has more than 1000 characters and is skipped. The platform "
                    "finds only the libraries of the install.",
                    "Leave library.path.prepend and library.path.append out, or keep PATH short.");
                return;
            }
        }
    }

    // --- Later starts --------------------------------------------------------------------------------

    void checkLaterStarts(bool isProvisioning) {
        World world = newWorld();
        StartOptions user = options;
        if (reading.kind == InstallConfigurationKind::lockdown) {
            user.isAdministrator = true;  // a supervising launcher would stay beside the platform
        }
        if (!isStarted(explainNextStart(world, user))) {
            return;
        }
        if (isProvisioning && !provision(world)) {
            return;
        }
        if (isProvisioning) {
            const Explanation second = explainNextStart(world, user);
            if (second.outcome != Outcome::started) {
                if (second.outcome == Outcome::refused) {
                    addFailure(second, "the start after provisioning");
                }
                return;
            }
            checkTexts(second);
        }
        checkHandOff(world, user);
        world.machine->runUntilIdle(platformsEndWithin);
        checkSecond(world, user);
        world.machine->runUntilIdle(platformsEndWithin);
        checkUpgrade(world, user);
    }

    static bool isStarted(const Explanation& start) {
        return start.outcome == Outcome::started || start.outcome == Outcome::provisioned;
    }

    // What the platform's provisioning application has to do. False if the install has no version.
    bool provision(World& world) {
        world.machine->runUntilIdle(platformsEndWithin);
        std::string version;
        for (const auto& entry : reading.launcherProperties.entries) {
            if (entry.key == L"provisioning.manifest.version" && version.empty()) {
                version = toUtf8(entry.value);
            }
        }
        if (version.empty()) {
            return false;
        }
        for (const std::wstring& path : world.machine->tree(userRoot())) {
            if (path.ends_with(L"\\.config\\zelinstall.properties")) {
                world.machine->writeFile(path, world.machine->readFile(path).value_or("") +
                                                   "provisioning.manifest.version=" + version + "\r\n");
            }
        }
        return true;
    }

    // The user's workspace, or where it is.
    std::wstring userRoot() const { return fullDrivePath(reading.workspace).value_or(L"C:\\Users"); }

    void checkHandOff(World& world, const StartOptions& user) {
        if (reading.isDirectJavaStart) {
            return;
        }
        const Explanation start = explainNextStart(world, user);
        if (!reportReset(start) && start.outcome == Outcome::refused) {
            addFailure(start, "a start beside a running platform");
        }
    }

    void checkSecond(World& world, const StartOptions& user) {
        const Explanation start = explainNextStart(world, user);
        if (!reportReset(start) && start.outcome == Outcome::refused) {
            addFailure(start, "a second start");
        }
    }

    // A later start must not renew anything. True if it does.
    bool reportReset(const Explanation& start) {
        const bool isReset = std::any_of(start.files.begin(), start.files.end(), [](const FileChange& file) {
            return file.kind == FileChange::Kind::moved && file.path.ends_with(L".configbak");
        });
        if (isReset && !isResetKnown()) {
            addFinding(findings, rules::resetsUser, Severity::error,
                       {installName(options, reading.userTemplate.path), 0, L""},
                       "a second start moves the user's configuration away and makes it anew",
                       "Every start after the first resets the user's configuration.",
                       "Run zelexplain start --starts 2 to see why.");
        }
        return isReset;
    }

    bool isResetKnown() const {
        constexpr const char* causes[] = {rules::identity, rules::overriddenKey, rules::continuation,
                                          rules::resetsUser};
        return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
            const bool isCause =
                std::find(std::begin(causes), std::end(causes), finding.rule) != std::end(causes);
            return finding.severity == Severity::error &&
                   (isCause || finding.text.starts_with("jvm.location is missing"));
        });
    }

    // The next release of the install, for a user of this one.
    void checkUpgrade(World& world, const StartOptions& user) {
        prepend(world, reading.launcherProperties.path, {"zel.install.id=next"});
        const Explanation start = explainNextStart(world, user);
        if (start.outcome == Outcome::refused) {
            addFailure(start, "a start after an upgrade");
        }
    }
};

}  // namespace

std::optional<std::size_t> checkStarts(const InstallReading& reading, const StartOptions& options,
                                       Findings& findings) {
    return StartCheck(reading, options, findings).run();
}

void checkCommand(const InstallReading& reading, const StartOptions& options, const World& world,
                  const Explanation& start, Findings& findings) {
    StartCheck(reading, options, findings).checkCommand(world, start);
}

}  // namespace explain
