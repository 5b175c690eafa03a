#include "explain/check/layout_checks.h"

#include <algorithm>
#include <functional>

#include "explain/check/file_findings.h"
#include "explain/check/framework_checks.h"
#include "explain/check/rules.h"
#include "explain/check/start_checks.h"
#include "explain/encoding.h"
#include "explain/host_files.h"
#include "explain/windows_paths.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "simulation/program_files.h"

namespace explain {

namespace {

using simulation::ExecutableFile;
using simulation::executableFileOf;
using zellauncher::InstallConfigurationKind;

// --- The command -------------------------------------------------------------------------------------

constexpr const char* noJvmStart =
    "The native platform launcher cannot start the JVM, although the launcher ends with 0.";
constexpr const char* noMainClass =
    "The JVM may not find the platform's main class; it then ends at once, while the launcher ends with 0.";

class CommandCheck {
public:
    CommandCheck(const InstallReading& theReading, const StartOptions& startOptions, const World& theWorld,
                 const Explanation& theStart, Findings& all)
        : reading(theReading),
          options(startOptions),
          world(theWorld),
          start(theStart),
          files(startOptions, theWorld, all) {}

    void run() {
        if (!reading.isDirectJavaStart) {
            checkNativeLauncher();
            checkStartupJar();
        }
        checkJvm();
        checkClassPath("boot class path");
        checkClassPath("class path");
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    const World& world;
    const Explanation& start;
    FileFindings files;

    // The elements of a section, without quotes.
    std::vector<NamedPath> elementsOf(const std::string& section) const {
        std::vector<NamedPath> paths;
        for (const Element& element : start.elements) {
            if (element.section == section) {
                paths.push_back({withoutQuotes(element.text), element.source});
            }
        }
        return paths;
    }

    std::string beginningOf(const std::wstring& path) const {
        return world.machine->readFile(path).value_or("").substr(0, simulation::programHeaderBytes);
    }

    void checkNativeLauncher() {
        const std::vector<NamedPath> program = elementsOf("program");
        if (program.empty() || !files.exists(program.front().path)) {
            return;  // the start says so
        }
        const std::wstring path = *files.fullPath(program.front().path);
        files.checkLength(path, "the native platform launcher");
        checkProgram(
            {path, {}}, "the native platform launcher", ExecutableFile::program,
            {"CreateProcessW failed", "ZELLauncher> the file that the command names is not a program"});
        checkNativeLibrary(path);
    }

    void checkProgram(const NamedPath& program, const std::string& what, ExecutableFile wanted,
                      const std::vector<std::string>& messages) {
        const ExecutableFile found = executableFileOf(beginningOf(program.path));
        if (found == wanted) {
            return;
        }
        const std::string text = found == ExecutableFile::otherProcessor ? what + " is not for 64-bit Windows"
                                 : found == ExecutableFile::none ? what + " is no Windows program or library"
                                 : found == ExecutableFile::library ? what + " is a library, not a program"
                                                                    : what + " is a program, not a library";
        files.add(rules::notAProgram, Severity::error, program.path, 0, text,
                  messages.empty() ? "The platform does not come up, although the launcher ends with 0."
                                   : "Windows cannot start it.",
                  "Ship the file for x64.", messages);
    }

    // The native launcher finds its library through the eclipse.ini beside it, or beside itself.
    void checkNativeLibrary(const std::wstring& program) {
        const std::wstring directory = program.substr(0, program.rfind(L'\\'));
        const std::wstring ini = iniBeside(program);
        const std::optional<NamedPath> named = libraryOf(ini);
        if (!named) {
            const std::string file = toUtf8(installName(options, ini));
            checkLibraryIn(directory, [&] {
                files.add(rules::missingFile, Severity::error, ini, 0,
                          "the native launcher's library is not named, and none is beside it", noJvmStart,
                          "Ship the library, and name it with --launcher.library in " + file + ".");
            });
            return;
        }
        const std::wstring given =
            beginsWithDrive(named->path) ? named->path : directory + L"\\" + named->path;
        const std::wstring path = files.fullPath(given).value_or(given);
        if (!files.exists(path)) {
            files.addMissing({path, named->source}, "the native launcher's library", noJvmStart);
        } else if (files.isDirectory(path)) {
            checkLibraryIn(path, [&] {
                files.addDangling(named->source, Severity::error,
                                  "leads to a directory without a library: " + toUtf8(path), noJvmStart,
                                  "Ship the library there, or correct the path.");
            });
        } else {
            checkProgram({path, {}}, "the native launcher's library", ExecutableFile::library, {});
        }
    }

    // The path after --launcher.library, each on a line of its own.
    std::optional<NamedPath> libraryOf(const std::wstring& ini) {
        constexpr std::string_view option = "--launcher.library";
        const std::string text =
            files.isFile(ini) ? world.machine->readFile(ini).value_or("") : std::string();
        NamedPath named;
        named.source.file = installName(options, ini);
        named.source.name = fromUtf8(std::string(option));
        bool isNext = false;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            std::string content = text.substr(begin, end - begin);
            content.resize(content.find_last_not_of(" \t\r") + 1);
            ++named.source.line;
            if (isNext) {
                named.path = zellauncher::withBackslashes(fromUtf8(content));
                return named;
            }
            isNext = content == option;
            if (!isNext && content.starts_with(option)) {
                files.addAt(
                    named.source, rules::ignoredOption, Severity::warning, "is not alone in its line",
                    "To the native platform launcher the line is one argument, which it does not know, "
                    "so it looks for its library beside itself.",
                    "Write the path on the next line.");
            }
            begin = end + 1;
        }
        return std::nullopt;
    }

    // One library for x64 is enough.
    void checkLibraryIn(const std::wstring& directory, const std::function<void()>& addMissing) {
        std::vector<std::wstring> libraries;
        for (const std::wstring& name : files.namesIn(directory)) {
            const bool isNamed =
                name.size() > 4 && zellauncher::equalIgnoringCase(name.substr(name.size() - 4), L".dll");
            std::wstring path = directory;
            path.append(L"\\").append(name);
            if (isNamed && files.isFile(path)) {
                libraries.push_back(std::move(path));
            }
        }
        const auto good = std::find_if(libraries.begin(), libraries.end(), [&](const std::wstring& path) {
            return executableFileOf(beginningOf(path)) == ExecutableFile::library;
        });
        if (libraries.empty()) {
            addMissing();
        } else if (good == libraries.end()) {
            checkProgram({libraries.front(), {}}, "the native launcher's library", ExecutableFile::library,
                         {});
        }
    }

    void checkStartupJar() {
        for (const NamedPath& named : elementsOf("startup")) {
            if (named.path.starts_with(L"-")) {
                continue;
            }
            if (!files.isFile(named.path)) {
                // The base location is right, because the templates were found there.
                files.addMissing({named.path, {}}, "the jar that the native launcher starts",
                                 "No platform comes up, although the launcher ends with 0.");
            } else {
                checkJar(named.path, "the jar that the native launcher starts");
            }
        }
    }

    void checkJar(const std::wstring& path, const std::string& what) {
        files.checkLength(path, what);
        if (!beginningOf(path).starts_with("PK")) {
            files.add(rules::notAJar, Severity::note, path, 0, what + " does not begin like a jar",
                      "Java cannot read it if it is none.", "Ship the jar.");
        }
    }

    // The executable or library that the command names.
    void checkJvm() {
        const std::vector<NamedPath> elements =
            reading.isDirectJavaStart ? elementsOf("program") : elementsOf("JVM");
        const std::vector<NamedPath> direct =
            reading.isDirectJavaStart && elements.empty() ? elementsOf("JVM") : elements;
        for (const NamedPath& named : direct) {
            if (named.path == L"-vm") {
                continue;
            }
            const std::vector<std::string> messages =
                reading.isDirectJavaStart
                    ? std::vector<std::string>{"CreateProcessW failed", "ZELLauncher> the program file"}
                    : std::vector<std::string>{};
            checkJvm(named, messages);
            return;
        }
    }

    void checkJvm(const NamedPath& named, const std::vector<std::string>& messages) {
        if (!files.isFile(named.path)) {
            files.addMissing(named, "the JVM",
                             messages.empty() ? "No platform comes up, although the launcher ends with 0."
                                              : "A start ends with -1.",
                             messages);
            return;
        }
        const std::wstring path = *files.fullPath(named.path);
        files.checkLength(path, "the JVM");
        if (path.ends_with(L".ee")) {
            return;
        }
        const bool isLibrary = path.ends_with(L".dll");
        checkProgram({path, {}}, "the JVM", isLibrary ? ExecutableFile::library : ExecutableFile::program,
                     messages);
    }

    void checkClassPath(const std::string& section) {
        // A native launcher names the jar of the main class itself.
        const bool isSearched = section == "class path" && reading.isDirectJavaStart;
        for (const NamedPath& named : elementsOf(section)) {
            std::wstring paths = named.path;
            if (paths == L"-cp") {
                continue;
            }
            if (paths.starts_with(L"-")) {
                const bool isBootPath = paths.starts_with(L"-Xbootclasspath/");
                paths = isBootPath ? paths.substr(paths.find(L':') + 1) : std::wstring();
            }
            if (isSearched && paths.find_first_not_of(L"; ") == std::wstring::npos) {
                files.addAt(named.source, rules::emptyValue, Severity::error, "names no jar", noMainClass,
                            "Name the jar with the platform's main class.");
            }
            for (std::size_t begin = 0; begin < paths.size();) {
                const std::size_t end = std::min(paths.find(L';', begin), paths.size());
                checkClassPathEntry({paths.substr(begin, end - begin), named.source}, section, isSearched);
                begin = end + 1;
            }
        }
    }

    void checkClassPathEntry(const NamedPath& named, const std::string& section, bool isSearched) {
        if (named.path.ends_with(L"*")) {
            if (isSearched) {
                checkClassPathDirectory(named);
            }
            return;
        }
        if (named.path.empty()) {
            return;
        }
        if (!files.exists(named.path)) {
            files.addMissing(named, "a jar of the " + section,
                             section == "class path" ? noMainClass : "Java goes on without it.");
        } else if (!files.isDirectory(named.path)) {
            checkJar(named.path, "a jar of the " + section);
        }
    }

    // All jars of a directory, which Java looks for itself.
    void checkClassPathDirectory(const NamedPath& named) {
        const std::wstring path = named.path.substr(0, named.path.find_last_not_of(L"*/\\") + 1);
        const std::wstring directory = files.fullPath(path).value_or(path);
        const std::vector<std::wstring> names = files.namesIn(directory);
        const bool hasJar = std::any_of(names.begin(), names.end(), [](const std::wstring& name) {
            return name.ends_with(L".jar") || name.ends_with(L".JAR");
        });
        if (!hasJar && !isWithin(directory, inventedDirectory)) {
            files.addDangling(named.source, Severity::error,
                              (files.isDirectory(directory) ? "leads to a directory without a jar: "
                                                            : "leads to a directory that does not exist: ") +
                                  toUtf8(directory),
                              noMainClass, "Correct the path, or ship the jars.");
        }
    }
};

// --- What a user's files are made from -----------------------------------------------------------------

class TemplateCheck {
public:
    TemplateCheck(const InstallReading& theReading, const StartOptions& startOptions, const World& theWorld,
                  Findings& all)
        : reading(theReading), options(startOptions), world(theWorld), files(startOptions, theWorld, all) {}

    void run() {
        if (!launcher().exists) {
            files.addMissing({launcher().path, {}}, "zellauncher.properties", "A start ends with ZLNCH0096E.",
                             {"ZLNCH0096E"});
            return;
        }
        checkProgram();
        checkDebugMarker();
        if (!reading.baseLocation || !checkBaseLocation()) {
            return;
        }
        checkCopiedTemplate(
            reading.userTemplate, "the template zelinstall.properties",
            "Every user gets a read-only zelinstall.properties.deleteme that no start can delete.");
        checkCopiedTemplate(reading.configIni, "the template config.ini",
                            "Every user gets a read-only copy, which the platform cannot change.");
        checkPlatformXml();
        checkExtensionMarker();
        checkPluginCustomization();
        checkJvmProperties();
        checkLibraryDirectories();
        checkAppendedIdentity();
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    const World& world;
    FileFindings files;
    const std::vector<std::string> copyMessages = {"ZLNCH0009E", "ZLNCH0022E", "ZLNCH0106E"};

    const InstallFile& launcher() const { return reading.launcherProperties; }

    const zellauncher::PropertyEntry* launcherEntry(const wchar_t* key) const {
        const auto found = std::find_if(launcher().entries.begin(), launcher().entries.end(),
                                        [&](const auto& entry) { return entry.key == key; });
        return found != launcher().entries.end() ? &*found : nullptr;
    }

    // The property that leads to a path, as the path's source.
    ValueSource sourceOf(const wchar_t* key, const std::shared_ptr<const zellauncher::Source>& source) const {
        const Place place = placeOf(reading, options, source);
        ValueSource named;
        named.file = place.file;
        named.line = place.line;
        named.name = key;
        return named;
    }

    void checkProgram() {
        const bool isAssumed = std::any_of(
            world.assumptions.begin(), world.assumptions.end(),
            [](const std::string& assumption) { return assumption.starts_with("zel/zellauncher.exe"); });
        if (isAssumed) {
            files.add(rules::missingFile, Severity::note, launcherPath(options), 0,
                      "zellauncher.exe is missing", "There is nothing to start.", "Ship the launcher.");
        }
    }

    void checkDebugMarker() {
        const std::wstring marker = options.install.path + L"\\zel\\prov.debug\\debug.txt";
        if (files.exists(marker)) {
            files.add(rules::debugMarker, Severity::error, marker, 0, "the debug marker file is shipped",
                      "Every start waits until the file is deleted.", "Do not ship the file.",
                      {waitsWithoutLimit});
        }
    }

    // False if there are no templates to look at.
    bool checkBaseLocation() {
        const std::wstring base = files.fullPath(*reading.baseLocation).value_or(*reading.baseLocation);
        if (!files.exists(base)) {
            const zellauncher::PropertyEntry* entry = launcherEntry(L"zel.base.location");
            const ValueSource source =
                entry != nullptr ? sourceOf(L"zel.base.location", entry->value.source) : ValueSource();
            addWrongPath({base, source}, "the base location", "A start ends with ZLNCH0009E.", copyMessages);
            return false;
        }
        const std::size_t longestName =
            std::max({reading.userTemplate.path.size(), reading.configIni.path.size(),
                      reading.platformXml.path.size()});
        if (longestName > longestPath) {
            files.add(rules::longPath, Severity::error, base, 0,
                      "a template in the base location has a path of " + std::to_string(longestName) +
                          " characters",
                      "The launcher finds files by paths of at most 259 characters.",
                      "Shorten the directories of the install.", {"ZLNCH"});
        }
        return longestName <= longestPath;
    }

    // A path at which nothing is.
    void addWrongPath(const NamedPath& named, const std::string& what, const std::string& consequence,
                      const std::vector<std::string>& messages) {
        const bool isNetwork = named.path.starts_with(L"\\\\");
        if (named.path.empty()) {
            files.addDangling(named.source, Severity::error, "leads nowhere, because it is empty",
                              consequence, "Write the path of the file.", messages);
        } else if (!beginsWithDrive(named.path) && !isNetwork) {
            files.addDangling(named.source, Severity::error, "has no full path: " + toUtf8(named.path),
                              "The launcher looks for it in its current directory. " + consequence,
                              "Begin the path with ${zel.home}.", messages);
        } else {
            files.addMissing(named, what, consequence, messages);
        }
    }

    void checkCopiedTemplate(const InstallFile& file, const std::string& what,
                             const std::string& ifReadOnly) {
        if (!file.exists) {
            files.addMissing({file.path, {}}, what, "A user's first start fails.", copyMessages);
        } else if (files.isReadOnly(file.path)) {
            files.add(rules::readOnlyFile, Severity::warning, file.path, 0, what + " is read-only",
                      ifReadOnly, "Ship the file with write permission.");
        }
    }

    void checkPlatformXml() {
        if (reading.makesPlatformXml && !reading.platformXml.exists) {
            files.add(rules::missingFile, Severity::warning, reading.platformXml.path, 0,
                      "the template platform.xml is missing",
                      "Users get none; nothing says so without -debug.",
                      "Ship the file, or set update.policy.managed=false.");
        }
    }

    void checkExtensionMarker() {
        const std::wstring marker = options.install.path + L"\\shared\\eclipse\\.eclipseextension";
        if (files.isFile(marker) && files.isReadOnly(marker)) {
            files.add(rules::readOnlyFile, Severity::warning, marker, 0, ".eclipseextension is read-only",
                      "Every user gets a read-only copy.", "Ship the file with write permission.");
        }
    }

    void checkPluginCustomization() {
        const ExpandedValue* value = reading.value(L"plugincustomization");
        if (value == nullptr || !value->isResolved) {
            return;
        }
        const std::wstring path = zellauncher::withBackslashes(value->text);
        if (!files.exists(path)) {
            addWrongPath(
                {path, sourceOf(L"plugincustomization", value->source)}, "the file of plugincustomization",
                "A start ends with ZLNCH0050E, after it has prepared the user.", {"ZLNCH0050E:  plugin"});
        }
    }

    void checkJvmProperties() {
        if (!reading.jvmProperties.exists && !reading.jvmProperties.path.empty()) {
            files.addMissing({reading.jvmProperties.path, {}}, "jvm.properties",
                             "A start ends with ZLNCH0096E.", {"ZLNCH0096E"});
        }
    }

    // Each value is a list of directories. They become a part of PATH.
    void checkLibraryDirectories() {
        for (const wchar_t* key : {L"library.path.prepend", L"library.path.append"}) {
            const ExpandedValue* value = reading.value(key);
            if (value == nullptr || !value->isResolved || isMadeLater(value->raw)) {
                continue;
            }
            std::wstring list = value->text;
            std::erase(list, L'"');
            for (std::size_t begin = 0; begin < list.size();) {
                const std::size_t end = std::min(list.find(L';', begin), list.size());
                checkLibraryDirectory(key, *value, list.substr(begin, end - begin));
                begin = end + 1;
            }
        }
    }

    // A directory of the user is not part of the install.
    static bool isMadeLater(const std::wstring& value) {
        constexpr std::wstring_view tokens[] = {L"${workspace.location}", L"${zel.data}", L"${env."};
        return std::any_of(std::begin(tokens), std::end(tokens),
                           [&](std::wstring_view token) { return value.find(token) != std::wstring::npos; });
    }

    void checkLibraryDirectory(const wchar_t* key, const ExpandedValue& value, const std::wstring& path) {
        const bool isNetwork = path.starts_with(L"\\\\") || path.starts_with(L"//");
        if (path.find_first_not_of(L" \t") == std::wstring::npos || isNetwork ||
            path.find(L'%') != std::wstring::npos) {
            return;
        }
        const std::optional<std::wstring> full = files.fullPath(path);
        const ValueSource source = sourceOf(key, value.source);
        if (!beginsWithDrive(path)) {
            files.addDangling(source, Severity::warning, "has no full path: " + toUtf8(path),
                              "Windows looks for libraries in the current directory of the platform instead.",
                              "Begin the path with ${zel.home}.");
        } else if (full && !files.isDirectory(*full)) {
            const bool isShown = files.isShown(*full);
            files.addDangling(source, isShown ? Severity::warning : Severity::note,
                              "leads to a directory that " +
                                  std::string(isShown ? "does not exist: " : "is not shown here: ") +
                                  toUtf8(*full),
                              "The platform finds no native libraries there.",
                              "Correct the path, ship the directory with its libraries, or leave it out.");
        }
    }

    // The kind userpb without an identity appends one to zellauncher.properties.
    void checkAppendedIdentity() {
        if (reading.kind != InstallConfigurationKind::userpb || launcherEntry(L"zel.install.id") != nullptr) {
            return;
        }
        if (files.isReadOnly(launcher().path)) {
            files.add(rules::readOnlyFile, Severity::error, launcher().path, 0,
                      "zellauncher.properties is read-only, but the launcher appends zel.install.id to it",
                      "A start ends with ZLNCH0017E.", "Ship zel.install.id, or give users write permission.",
                      {"ZLNCH0017E"});
        }
    }
};

}  // namespace

bool checkLayout(const StartOptions& options, Findings& findings) {
    const auto directories = openHostDirectories({options.install.directory});
    const auto entries = directories.front() ? directories.front()->entries() : std::nullopt;
    if (!entries) {
        throw CannotExplain("cannot read the directory " + options.install.directory);
    }
    std::wstring similar;
    for (const simulation::HostEntry& entry : *entries) {
        if (entry.name == L"zel" && (entry.attributes & platform::attributeDirectory) != 0) {
            return true;
        }
        if (zellauncher::equalIgnoringCase(entry.name, L"zel") &&
            (entry.attributes & platform::attributeDirectory) != 0) {
            similar = entry.name;
        }
    }
    findings.push_back({rules::zelDirectory,
                        Severity::error,
                        similar.empty() ? "zel" : toUtf8(similar),
                        0,
                        similar.empty() ? "the install has no directory zel"
                                        : "the directory zel is called " + toUtf8(similar),
                        similar.empty() ? "There is nothing to start."
                                        : "A start by a path with this spelling ends with ZLNCH0049E.",
                        "Call the directory zel, in lower case.",
                        {"ZLNCH0049E"}});
    return !similar.empty();
}

void checkTemplates(const InstallReading& reading, const StartOptions& options, const World& world,
                    Findings& findings) {
    TemplateCheck(reading, options, world, findings).run();
}

void checkCommandFiles(const InstallReading& reading, const StartOptions& options, const World& world,
                       const Explanation& start, Findings& findings) {
    CommandCheck(reading, options, world, start, findings).run();
    checkFramework(reading, options, world, start, findings);
}

}  // namespace explain
