#include "explain/check/value_checks.h"

#include <algorithm>
#include <set>

#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/environment.h"
#include "explain/windows_paths.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "properties/substitution.h"

namespace explain {

namespace {

using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyEntry;

constexpr std::wstring_view variablePrefix = L"env.";
constexpr const char* closeToken = "Write } after the name of the token.";

const PropertyEntry* find(const std::wstring& key, const Entries& list) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const PropertyEntry& entry) { return entry.key == key; });
    return found != list.end() ? &*found : nullptr;
}

// The key as the packager wrote it; the place of an option of the JVM has no name.
std::string nameAt(const Place& place, const std::wstring& key) {
    return toUtf8(place.name.empty() ? key : place.name);
}

// A name that Windows keeps for a device, also with an ending.
bool isDeviceName(const std::wstring& name) {
    constexpr std::wstring_view devices[] = {L"CON", L"PRN", L"AUX", L"NUL"};
    constexpr std::wstring_view numbered[] = {L"COM", L"LPT"};
    const std::wstring stem = name.substr(0, name.find(L'.'));
    const bool hasNumber = stem.size() == 4 && stem.back() >= L'1' && stem.back() <= L'9';
    const auto isStem = [&](std::wstring_view device) {
        return zellauncher::equalIgnoringCase(stem, std::wstring(device));
    };
    const auto isPort = [&](std::wstring_view device) {
        return zellauncher::equalIgnoringCase(stem.substr(0, 3), std::wstring(device));
    };
    return std::any_of(std::begin(devices), std::end(devices), isStem) ||
           (hasNumber && std::any_of(std::begin(numbered), std::end(numbered), isPort));
}

// What is wrong with the text of a workspace.
struct WorkspaceProblem {
    std::string text;
    Severity severity = Severity::error;
};

WorkspaceProblem workspaceProblem(const std::wstring& path) {
    if (path.starts_with(L"\\\\") || path.starts_with(L"//")) {
        return {"is a network path: "};
    }
    if (path.size() == 2 && beginsWithDrive(path + L"\\")) {
        return {"is the root of a drive: ", Severity::warning};
    }
    if (!beginsWithDrive(path)) {
        return {"is no full path: "};
    }
    const std::wstring names = zellauncher::withForwardSlashes(path) + L"/";
    if (names.find(L"/../") != std::wstring::npos) {
        return {"has a parent directory in it: "};
    }
    if (names.find(L"/./") != std::wstring::npos) {
        return {"has a dot as a directory: ", Severity::note};
    }
    return {"has a name that no directory can have: "};
}

class ValueCheck {
public:
    ValueCheck(const InstallReading& theReading, const StartOptions& startOptions, Findings& all)
        : reading(theReading), options(startOptions), findings(all) {}

    void run() {
        checkKind();
        checkIdentity();
        checkLists();
        checkLauncherTokens();
        checkWorkspace();
        checkRunTokens();
        checkLibraryPath();
        checkQuotes();
        checkBooleans();
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    Findings& findings;

    const Entries& launcherList() const { return reading.launcherProperties.entries; }

    Place placeOfEntry(const PropertyEntry& entry) const {
        return placeOf(reading, options, entry.value.source);
    }

    void checkKind() {
        const PropertyEntry* entry = find(L"install.configuration", launcherList());
        if (entry != nullptr && reading.kind == InstallConfigurationKind::unknown) {
            addFinding(
                findings, rules::kind, Severity::error, placeOfEntry(*entry),
                "install.configuration is no kind: \"" + toUtf8(entry->value) + "\"",
                "A start ends with ZLNCH0009E, or with ZLNCH0025E, which speaks of the identity.",
                "Write service, lockdown, user, serial.multiuser, multiuser or userpb, in lower case and "
                "with nothing after it.")
                .messages = {"ZLNCH0025E"};
        }
    }

    void checkIdentity() {
        const PropertyEntry* entry = find(L"zel.install.id", launcherList());
        if (entry == nullptr) {
            return;
        }
        const std::wstring& id = entry->value;
        const bool isDirectory = !reading.isDirectJavaStart && find(L"zel.data", launcherList()) == nullptr;
        if (id.find(L'%') != std::wstring::npos) {
            addFinding(
                findings, rules::identity, Severity::error, placeOfEntry(*entry), "zel.install.id contains %",
                "The copy in a user's properties loses it, so every start after the first renews the user's "
                "configuration; if the copy is empty, a later change is not noticed.",
                "Leave the character out.");
        }
        const bool isStorable =
            std::all_of(id.begin(), id.end(), [](wchar_t unit) { return unit >= 0x20 && unit <= 0xFF; });
        if (!isStorable) {
            addFinding(findings, rules::identity, Severity::error, placeOfEntry(*entry),
                       "zel.install.id has a character that a user's properties cannot hold",
                       "They end before it: a start fails, or resets the user's configuration.",
                       "Use letters, digits, dots, hyphens and underscores.")
                .messages = {"ZLNCH0011E", "ZLNCH0005E", "ZLNCH0083E", "ZLNCH0117E", "ZLNCH0020E"};
            return;
        }
        if (id.find(L'\\') != std::wstring::npos) {
            addFinding(
                findings, rules::identity, Severity::error, placeOfEntry(*entry),
                "zel.install.id contains a backslash",
                "The copy in a user's properties loses it, so every start after the first renews the user's "
                "configuration.",
                "Leave the character out.");
        } else if (id.find_first_of(L"<>:\"|?*/") != std::wstring::npos) {
            const bool isSeparator = id.find_first_of(L"<>:\"|?*") == std::wstring::npos;
            addFinding(
                findings, rules::identity, isDirectory && !isSeparator ? Severity::error : Severity::warning,
                placeOfEntry(*entry),
                "zel.install.id has characters that no directory can have: " + toUtf8(id),
                isSeparator   ? "The default workspace gets more directories than one for it."
                : isDirectory ? "The default workspace cannot be created: a start ends with ZLNCH0083E."
                              : "It cannot become part of a default workspace.",
                "Use letters, digits, dots, hyphens and underscores.")
                .messages = {"ZLNCH0083E", "ZLNCH0140E"};
        } else if (id.find(L' ') != std::wstring::npos) {
            addFinding(findings, rules::identity, Severity::note, placeOfEntry(*entry),
                       "zel.install.id contains a blank", "It becomes part of the workspace's path.",
                       "Use no blanks.");
        }
        if (isDirectory && id.ends_with(L'.')) {
            const bool isLost = id == L".";  // the directory above is used
            addFinding(findings, rules::identity, isLost ? Severity::warning : Severity::error,
                       placeOfEntry(*entry), "zel.install.id ends with a dot",
                       isLost
                           ? "The default workspace gets no directory for it."
                           : "Windows removes a dot at the end of a directory's name, so the launcher does "
                             "not find its default workspace: a start ends with ZLNCH0054E or ZLNCH0084E.",
                       "Leave the dot out.")
                .messages = {"ZLNCH0054E", "ZLNCH0084E"};
        }
        if (isDirectory && isDeviceName(id)) {
            addFinding(findings, rules::identity, Severity::warning, placeOfEntry(*entry),
                       "zel.install.id is the name of a device: " + toUtf8(id),
                       "Most versions of Windows create no directory of this name for the default workspace.",
                       "Choose another identity.");
        }
    }

    // --- Numbered lists --------------------------------------------------------------------------

    void checkLists() {
        std::set<std::wstring> names;
        for (const PropertyEntry& entry : launcherList()) {
            const std::optional<std::wstring> name = listName(entry.key);
            if (name && names.insert(*name).second) {
                checkList(*name);
            }
        }
    }

    static bool isNumber(std::wstring_view text) {
        return !text.empty() && std::all_of(text.begin(), text.end(),
                                            [](wchar_t unit) { return unit >= L'0' && unit <= L'9'; });
    }

    // `config.<name>.` of a key with a number after it.
    static std::optional<std::wstring> listName(const std::wstring& key) {
        const std::size_t dot = key.rfind(L'.');
        const bool isList = key.starts_with(L"config.") && dot > std::wstring_view(L"config.").size() &&
                            dot != std::wstring::npos && isNumber(std::wstring_view(key).substr(dot + 1));
        return isList ? std::optional(key.substr(0, dot + 1)) : std::nullopt;
    }

    void checkList(const std::wstring& name) {
        std::size_t present = 1;
        while (find(name + std::to_wstring(present), launcherList()) != nullptr) {
            ++present;
        }
        const std::wstring missing = name + std::to_wstring(present);
        for (const PropertyEntry& entry : launcherList()) {
            if (listName(entry.key) != name || isReached(entry.key.substr(name.size()), present)) {
                continue;
            }
            const bool isInitial = name == L"config.initial.";
            addFinding(findings, rules::numberedList, isInitial ? Severity::error : Severity::warning,
                       placeOfEntry(entry),
                       toUtf8(entry.key) + " is there, but " + toUtf8(missing) + " is not",
                       isInitial ? "A start ends with ZLNCH0114E." : "The launcher does not see it.",
                       "Number the list from 1 without a gap.")
                .messages = {"ZLNCH0114E"};
            return;
        }
    }

    static bool isReached(const std::wstring& number, std::size_t present) {
        constexpr std::size_t mostDigits = 9;
        const bool isPlain = number.size() <= mostDigits && (number.front() != L'0');
        return isPlain && std::stoul(number) < present;
    }

    // --- Tokens ----------------------------------------------------------------------------------

    // zellauncher.properties: each key has its own rule, and most have none.
    void checkLauncherTokens() {
        constexpr std::wstring_view copied[] = {L"zel.base.location", L"jvm.location"};
        for (const PropertyEntry& entry : launcherList()) {
            const std::wstring& key = entry.key;
            const bool isExpandedElsewhere =
                key == L"zel.data" || key.starts_with(L"config.") ||
                std::find(std::begin(copied), std::end(copied), key) != std::end(copied);
            const std::vector<TokenText> tokens = tokensOf(entry.value);
            if (!isExpandedElsewhere && !tokens.empty() && isUsed(key)) {
                addFinding(findings, rules::unexpandedToken, Severity::warning, placeOfEntry(entry),
                           toUtf8(tokens.front().text) + " is not replaced in " + toUtf8(key),
                           "The text with the token is used as it is.", "Write the value itself.");
            }
        }
        checkBaseLocation();
    }

    static bool isUsed(const std::wstring& key) {
        constexpr std::wstring_view used[] = {L"zel.install.id",
                                              L"install.configuration",
                                              L"eclipse.name",
                                              L"product",
                                              L"osgi.splashPath",
                                              L"provisioning",
                                              L"provisioning.application",
                                              L"provisioning.manifest.version",
                                              L"java.exe.name.win32",
                                              L"javaw.exe.name.win32"};
        return std::find(std::begin(used), std::end(used), key) != std::end(used);
    }

    // The templates are looked for with ${zel.home} alone.
    void checkBaseLocation() {
        const PropertyEntry* entry = find(L"zel.base.location", launcherList());
        if (entry == nullptr || !reading.baseLocation) {
            return;
        }
        const std::vector<TokenText> tokens = tokensOf(*reading.baseLocation);
        if (!tokens.empty()) {
            addFinding(findings, rules::unexpandedToken, Severity::error, placeOfEntry(*entry),
                       toUtf8(tokens.front().text) + " is not replaced in zel.base.location",
                       "The templates are looked for in a directory with this name.",
                       "Use ${zel.home} once, and nothing else.")
                .messages = {"ZLNCH0009E", "ZLNCH0022E", "ZLNCH0140E", "ZLNCH0088E"};
        }
    }

    void checkWorkspace() {
        const PropertyEntry* entry = find(L"zel.data", launcherList());
        if (entry == nullptr || reading.isDirectJavaStart) {
            return;
        }
        if (!reading.hasWorkspace) {
            const std::optional<TokenText>& token = reading.workspaceToken;
            const bool isOpen = token && !token->isClosed;
            addFinding(findings, rules::unknownToken, Severity::error, placeOfEntry(*entry),
                       (token ? toUtf8(token->text) : "a token") +
                           (isOpen ? " has no closing brace in zel.data" : " is not replaced in zel.data"),
                       "A start ends with ZLNCH0099E.",
                       isOpen ? closeToken
                              : "Use ${env.NAME} or a path without tokens; ${zel.home} works in -data only.")
                .messages = {"ZLNCH0099E"};
            return;
        }
        const std::wstring& path = reading.workspace;
        if (!fullDrivePath(path)) {
            const WorkspaceProblem problem = workspaceProblem(path);
            addFinding(findings, rules::workspacePath, problem.severity, placeOfEntry(*entry),
                       "the workspace " + problem.text + toUtf8(path),
                       problem.severity == Severity::error
                           ? "A start ends with ZLNCH0083E, ZLNCH0084E or ZLNCH0140E."
                           : "The platform may use another directory than the launcher.",
                       "Use a path that begins with a drive letter and names each directory.")
                .messages = {"ZLNCH0140E", "ZLNCH0083E", "ZLNCH0084E"};
        } else if (path[0] != L'C' && path[0] != L'c' && !hasDrive(path[0])) {
            addFinding(findings, rules::workspacePath, Severity::note, placeOfEntry(*entry),
                       "the workspace is on a drive that is not shown here: " + toUtf8(path),
                       "On a machine without this drive, a start ends with ZLNCH0083E.",
                       "Check that every machine has the drive.");
        }
    }

    bool hasDrive(wchar_t letter) const {
        const std::wstring drive{letter, L':', L'\\'};
        return std::any_of(options.maps.begin(), options.maps.end(),
                           [&](const Mapping& map) { return isWithin(map.path, drive); }) ||
               isWithin(options.install.path, drive);
    }

    // The values of a run: what nothing replaces ends a start.
    void checkRunTokens() {
        for (const ExpandedValue& value : reading.values) {
            if (value.isResolved) {
                continue;
            }
            const Place place = placeOf(reading, options, value.source);
            if (place.file.empty()) {
                continue;
            }
            const std::string name = nameAt(place, value.key);
            if (value.unknownToken) {
                const TokenText& unknown = *value.unknownToken;
                addFinding(
                    findings, rules::unknownToken, Severity::error, place,
                    toUtf8(unknown.text) + (unknown.isClosed ? " in " + name + " is replaced by nothing"
                                                             : " has no closing brace in " + name),
                    "A start ends with ZLNCH0088E.", unknown.isClosed ? remedyFor(unknown.name) : closeToken)
                    .messages = {"ZLNCH0088E"};
            } else {
                addFinding(findings, rules::endlessToken, Severity::error, place,
                           "the value of " + name + " contains itself", "A start ends with ZLNCH0088E.",
                           "Break the circle of ${prop.key} tokens.")
                    .messages = {"ZLNCH0088E"};
            }
        }
    }

    std::string remedyFor(const std::wstring& name) const {
        constexpr std::wstring_view propertyPrefix = L"prop.";
        if (name.starts_with(propertyPrefix) &&
            find(name.substr(propertyPrefix.size()), launcherList()) != nullptr) {
            return "Keys of zellauncher.properties are not seen here; put the key into "
                   "zelinstall.properties.";
        }
        return "The tokens are ${zel.home}, ${zel.data}, ${workspace.location}, ${env.NAME}, "
               "${env.NAME,default} and ${prop.key}.";
    }

    // --- Others ----------------------------------------------------------------------------------

    void checkLibraryPath() {
        for (const Entries* list : {&reading.made, &reading.jvmProperties.entries}) {
            if (const PropertyEntry* entry = find(L"jvm.library.path", *list)) {
                checkLibraryPath(*entry);
                return;
            }
        }
    }

    // The launcher's own function says what remains.
    void checkLibraryPath(const PropertyEntry& entry) {
        std::wstring rewritten = entry.value;
        zellauncher::prefixJavaHomeEntries(rewritten);
        const std::wstring kept = L";" + rewritten + L";";
        std::wstring rest = entry.value;
        std::replace(rest.begin(), rest.end(), L'\\', L'/');
        for (std::size_t begin = 0; begin < rest.size();) {
            const std::size_t end = std::min(rest.find(L';', begin), rest.size());
            const std::wstring part = rest.substr(begin, end - begin);
            const bool isKept = kept.find(L"/" + part + L";") != std::wstring::npos ||
                                kept.find(L";" + part + L";") != std::wstring::npos;
            if (!part.empty() && !isKept) {
                addFinding(findings, rules::jvmLibraryPath, Severity::warning, placeOfEntry(entry),
                           "the entry " + toUtf8(part) + " of jvm.library.path is lost",
                           "The platform does not look for native libraries there.",
                           "Use at most two entries; library.path.prepend takes more.");
            }
            begin = end + 1;
        }
    }

    void checkBooleans() {
        for (const wchar_t* key : {L"provisioning", L"update.policy.managed"}) {
            const PropertyEntry* entry = find(key, launcherList());
            if (entry != nullptr && entry->value != L"true" && entry->value != L"false") {
                addFinding(
                    findings, rules::booleanValue, Severity::warning, placeOfEntry(*entry),
                    toUtf8(entry->key) + " is neither true nor false: \"" + toUtf8(entry->value) + "\"",
                    "The launcher uses the default.", "Write true or false, in lower case.");
            }
        }
    }

    void checkQuotes() {
        for (const ExpandedValue& value : reading.values) {
            const bool isErased = value.key == L"jvm.library.path" || value.key.starts_with(L"env.") ||
                                  value.key.starts_with(L"library.path.");
            addQuote(value.key, value.raw, value.source, isErased);
        }
        for (const PropertyEntry& entry : launcherList()) {
            addQuote(entry.key, entry.value, entry.value.source, entry.key.ends_with(L".appID"));
        }
    }

    void addQuote(const std::wstring& key, const std::wstring& value,
                  const std::shared_ptr<const zellauncher::Source>& source, bool isHarmless) {
        const Place place = placeOf(reading, options, source);
        const bool hasQuote = value.find(L'"') != std::wstring::npos || key.find(L'"') != std::wstring::npos;
        const bool isReported = std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
            return finding.rule == rules::quoteInValue && finding.file == toUtf8(place.file) &&
                   finding.line == place.line;
        });
        if (hasQuote && !isHarmless && !place.file.empty() && !isReported) {
            const bool isPath = key == L"vm" || key == L"jvm.location" || key == L"zel.base.location";
            addFinding(findings, rules::quoteInValue, isPath ? Severity::error : Severity::warning, place,
                       "a double quote is in the value of " + nameAt(place, key),
                       "The launcher quotes values itself, so the platform gets other arguments than meant.",
                       "Leave the quotes out.");
        }
    }
};

struct UnresolvedValue {
    std::wstring text;
    Place place;
};

// Of the values that the launcher replaces tokens in.
std::vector<UnresolvedValue> unresolvedValues(const InstallReading& reading, const StartOptions& options) {
    std::vector<UnresolvedValue> unresolved;
    for (const ExpandedValue& value : reading.values) {
        Place place = placeOf(reading, options, value.source);
        if (!value.isResolved && place.line != 0) {
            unresolved.push_back({value.raw, std::move(place)});
        }
    }
    const PropertyEntry* workspace = find(L"zel.data", reading.launcherProperties.entries);
    if (!reading.hasWorkspace && workspace != nullptr) {
        unresolved.push_back({workspace->value, placeOf(reading, options, workspace->value.source)});
    }
    return unresolved;
}

// The variable without a default that a token needs; empty if there is none.
std::wstring neededVariable(const TokenText& token) {
    const bool isVariable = token.isClosed && token.name.starts_with(variablePrefix) &&
                            token.name.find_first_of(std::wstring_view(L",=\0", 3)) == std::wstring::npos;
    return isVariable ? token.name.substr(variablePrefix.size()) : std::wstring();
}

void setInventedVariable(StartOptions& options, const std::wstring& name) {
    std::erase_if(options.unsetVariables,
                  [&](const std::wstring& unset) { return zellauncher::equalIgnoringCase(unset, name); });
    options.environment.emplace_back(name, inventedDirectory + (L"\\" + name));
}

}  // namespace

void checkValues(const InstallReading& reading, const StartOptions& options, Findings& findings) {
    ValueCheck(reading, options, findings).run();
}

void checkVariables(StartOptions& options, Findings& findings) {
    const World world = buildWorld(options);
    const InstallReading reading = readInstall(options);
    std::set<std::wstring> given;
    for (const UnresolvedValue& value : unresolvedValues(reading, options)) {
        std::set<std::wstring> reported;
        for (const TokenText& token : tokensOf(value.text)) {
            const std::wstring name = neededVariable(token);
            if (name.empty() || findVariable(world.environment, name) != nullptr ||
                !reported.insert(name).second) {
                continue;
            }
            addFinding(findings, rules::environmentVariable, Severity::warning, value.place,
                       "the variable " + toUtf8(name) + " is needed, which not every Windows has",
                       "On a machine without it, a start ends with ZLNCH0088E or ZLNCH0099E.",
                       "Give a default: ${env." + toUtf8(name) + ",default}.");
            if (given.insert(name).second) {
                setInventedVariable(options, name);
            }
        }
    }
}

}  // namespace explain
