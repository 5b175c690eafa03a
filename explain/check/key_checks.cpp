#include "explain/check/key_checks.h"

#include <algorithm>
#include <set>

#include "explain/catalogue.h"
#include "explain/check/config_ini.h"
#include "explain/check/jvm_options.h"
#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/similar_texts.h"
#include "foundation/text.h"
#include "properties/os_qualified_lines.h"
#include "properties/substitution.h"
#include "properties/token_scan.h"

namespace explain {

namespace {

using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyEntry;

constexpr const char* launcherFile = "zellauncher.properties";
constexpr const char* templateFile = "zelinstall.properties";
constexpr const char* jvmFile = "jvm.properties";

// Whether a key is there is a question about the text, so nothing is recorded for it.
const PropertyEntry* find(const std::wstring& key, const Entries& list) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const PropertyEntry& entry) { return entry.key == key; });
    return found != list.end() ? &*found : nullptr;
}

std::size_t lineOf(const PropertyEntry& entry) {
    return entry.value.source ? entry.value.source->line : 0;
}

// What is written between the parts of a key, if not a dot.
constexpr std::wstring_view joints = L".-_";

bool isLetter(wchar_t unit) {
    return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
}

// A key that may be repeated, because each line is an option of its own.
bool isRepeatable(const std::wstring& key) {
    return key.empty() || key.starts_with(L"-X") || key.starts_with(L"!") ||
           key.starts_with(L"\u00EF\u00BB\u00BF");
}

class KeyCheck {
public:
    KeyCheck(const InstallReading& theReading, const StartOptions& startOptions, Findings& all)
        : reading(theReading),
          options(startOptions),
          configIni(readConfigIni(theReading.configIni.bytes)),
          findings(all) {}

    void run() {
        collectReferences();
        checkRequired();
        checkFile(reading.launcherProperties, launcherFile);
        checkFile(reading.userTemplate, templateFile);
        checkFile(reading.jvmProperties, jvmFile);
        checkConfigIni();
        checkBundleList();
        checkDuplicates(reading.launcherProperties.entries);
        checkDuplicates(reading.made);
        checkDuplicates(reading.jvmProperties.entries);
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    const std::vector<ConfigIniEntry> configIni;
    Findings& findings;
    std::set<std::wstring> referenced;  // by ${prop.key}

    std::string nameOf(const InstallFile& file) const { return toUtf8(installName(options, file.path)); }

    Place placeIn(const InstallFile& file, const PropertyEntry& entry) const {
        return {installName(options, file.path), lineOf(entry), entry.key};
    }

    void collectReferences() {
        for (const Entries* list :
             {&reading.launcherProperties.entries, &reading.made, &reading.jvmProperties.entries}) {
            for (const PropertyEntry& entry : *list) {
                addReferences(entry.value);
            }
        }
    }

    void addReferences(const std::wstring& text) {
        constexpr std::wstring_view prefix = L"prop.";
        std::ptrdiff_t position = static_cast<std::ptrdiff_t>(text.size()) - 1;
        while (const auto token = zellauncher::findLastToken(text, position)) {
            if (token->name.starts_with(prefix)) {
                referenced.insert(token->name.substr(prefix.size()));
            }
            position = static_cast<std::ptrdiff_t>(token->start) - 1;
        }
    }

    // --- Required keys ---------------------------------------------------------------------------

    void requireKey(const InstallFile& file, const char* key, Severity severity,
                    const std::string& consequence, std::vector<std::string> messages,
                    const std::string& remedy = {}) {
        addFinding(findings, rules::missingKey, severity, {installName(options, file.path), 0, L""},
                   std::string(key) + " is missing", consequence,
                   remedy.empty() ? "Add " + std::string(key) + " to " + nameOf(file) + "." : remedy)
            .messages = std::move(messages);
    }

    static std::string requirementOf(const char* key) {
        const KeyEntry* entry = lookUpKey(key);
        return entry != nullptr ? entry->required : std::string();
    }

    bool hasLauncherKey(const wchar_t* key) const {
        return find(key, reading.launcherProperties.entries) != nullptr;
    }

    void checkRequired() {
        if (!reading.launcherProperties.exists) {
            return;
        }
        const InstallFile& launcher = reading.launcherProperties;
        if (!hasLauncherKey(L"zel.install.id") && reading.kind != InstallConfigurationKind::userpb) {
            requireKey(launcher, "zel.install.id", Severity::error, requirementOf("zel.install.id"),
                       {"ZLNCH0016E", "ZLNCH0035E"});
        }
        if (!hasLauncherKey(L"zel.base.location")) {
            requireKey(launcher, "zel.base.location", Severity::error, requirementOf("zel.base.location"),
                       {"ZLNCH0050E: zel.base"});
        }
        if (!hasLauncherKey(L"install.configuration")) {
            requireKey(launcher, "install.configuration", Severity::error,
                       requirementOf("install.configuration"), {"ZLNCH0008E"});
        }
        if (reading.userTemplate.exists) {
            checkRequiredOfTemplate();
            checkApplication();
        }
        checkProvisioning();
    }

    void checkRequiredOfTemplate() {
        const PropertyEntry* location = find(L"jvm.location", reading.launcherProperties.entries);
        const bool isLocationMissing = location == nullptr || location->value.empty();
        if (isLocationMissing && find(L"vm", reading.made) == nullptr) {
            requireKey(reading.launcherProperties, "jvm.location", Severity::error,
                       requirementOf("jvm.location") + " The launcher names no JVM to the platform either.",
                       {"ZELLauncher> the command names no program"});
        }
        if (find(L"Xbootclasspath.append", reading.made) == nullptr) {
            requireKey(reading.userTemplate, "Xbootclasspath.append", Severity::error,
                       requirementOf("Xbootclasspath.append"), {},
                       "Add the line Xbootclasspath.append= to " + nameOf(reading.userTemplate) + ".");
        }
        if (reading.value(L"plugincustomization") == nullptr) {
            requireKey(reading.userTemplate, "plugincustomization", Severity::error,
                       requirementOf("plugincustomization"), {"ZLNCH0050E:  plugin"});
        }
        if (reading.isDirectJavaStart && reading.value(L"cp") == nullptr) {
            requireKey(reading.userTemplate, "cp", Severity::error,
                       "The JVM of a service has no class path, finds no class and ends at once, while the "
                       "launcher ends with 0.",
                       {});
        }
    }

    bool hasConfigIniKey(const char* key) const { return findConfigIniEntry(configIni, key) != nullptr; }

    // The product can name its application, and an application needs no product.
    void checkApplication() {
        const bool hasApplication =
            reading.value(L"application") != nullptr || hasConfigIniKey("eclipse.application");
        const bool hasProduct = hasLauncherKey(L"product") || reading.value(L"product") != nullptr ||
                                hasConfigIniKey("eclipse.product");
        const std::string name = nameOf(reading.userTemplate);
        if (!hasApplication && !hasConfigIniKey("eclipse.ignoreApp")) {
            addFinding(findings, rules::noApplication, hasProduct ? Severity::warning : Severity::error,
                       {installName(options, reading.userTemplate.path), 0, L""},
                       hasProduct ? "application is missing" : "application and product are missing",
                       hasProduct
                           ? "The platform starts the application of its product. If the product names none, "
                             "no platform comes up, although the launcher ends with 0."
                           : "The framework does not know what to start: no platform comes up, although the "
                             "launcher ends with 0.",
                       "Add application to " + name + ".");
        }
        if (hasApplication && !hasProduct) {
            addFinding(
                findings, rules::noProduct, Severity::warning,
                {installName(options, reading.launcherProperties.path), 0, L""}, "product is missing",
                "The application starts without a product, so without its name, images and preferences.",
                "Add product to " + nameOf(reading.launcherProperties) + ".");
        }
    }

    void checkProvisioning() {
        const PropertyEntry* provisioning = find(L"provisioning", reading.launcherProperties.entries);
        const bool isProvisionedKind = reading.kind == InstallConfigurationKind::user ||
                                       reading.kind == InstallConfigurationKind::lockdown ||
                                       reading.kind == InstallConfigurationKind::multiuser;
        if (provisioning == nullptr || provisioning->value != L"true" || !isProvisionedKind) {
            return;
        }
        if (!hasLauncherKey(L"provisioning.manifest.version")) {
            requireKey(reading.launcherProperties, "provisioning.manifest.version", Severity::error,
                       "Every start provisions, and none starts the platform.", {});
        }
        if (!hasLauncherKey(L"provisioning.application")) {
            requireKey(reading.launcherProperties, "provisioning.application", Severity::warning,
                       "The provisioning run starts the platform's own application.", {});
        }
    }

    // --- Names -----------------------------------------------------------------------------------

    void checkFile(const InstallFile& file, const char* kind) {
        for (const PropertyEntry& entry : file.entries) {
            const bool isOption = entry.key.starts_with(L"-X");
            if ((isOption || !isRepeatable(entry.key)) && lineOf(entry) != 0) {
                checkEntry(file, entry, kind);
            }
        }
    }

    void checkEntry(const InstallFile& file, const PropertyEntry& entry, const char* kind) {
        const std::wstring key = kind == templateFile ? withoutSystem(entry.key) : entry.key;
        if (key.starts_with(L"-")) {
            checkOption(file, entry, kind);
            return;
        }
        const KeyEntry* known = lookUpKey(toUtf8(key));
        if (known == nullptr && kind != launcherFile && isOptionWithoutHyphen(entry)) {
            addOptionWithoutHyphen(file, entry);
        } else if (known == nullptr) {
            checkSimilar(file, entry, key, kind);
        } else if (!isReadFrom(*known, kind)) {
            addWrongFile(file, entry, *known);
        } else if (entry.value.empty() && needsValue(known->key)) {
            addFinding(findings, rules::emptyValue, Severity::warning, placeIn(file, entry),
                       known->key + " has no value", "The launcher uses the empty text.",
                       "Give it a value, or leave the line out.");
        }
    }

    static bool isReadFrom(const KeyEntry& known, const char* kind) {
        const auto has = [&](const char* name) {
            return std::find(known.files.begin(), known.files.end(), name) != known.files.end();
        };
        if (kind == launcherFile) {
            return has(launcherFile);
        }
        // The values of both files are one list. What the launcher appends to the template is overridden-key.
        const bool isAppended = known.key == "zel.install.id" || known.key == "zel.base.location" ||
                                known.key == "install.configuration" ||
                                known.key.starts_with("com.mivel.zel.core.locale") ||
                                known.key.starts_with("com.mivel.zel.core.bidi");
        return has(templateFile) || has(jvmFile) || (kind == templateFile && isAppended);
    }

    static bool needsValue(const std::string& key) {
        return key == "zel.install.id" || key == "install.configuration" || key == "zel.base.location" ||
               key == "jvm.location" || key == "vm" || key == "plugincustomization" || key == "zel.data" ||
               key == "eclipse.name" || key == "product" || key == "application";
    }

    void addWrongFile(const InstallFile& file, const PropertyEntry& entry, const KeyEntry& known) {
        std::string files;
        for (const std::string& name : known.files) {
            files += (files.empty() ? "" : " or ") + name;
        }
        const bool isWritten = known.files.front() == "args.properties";
        addFinding(findings, known.key == "arg20" ? rules::numberedList : rules::wrongFile, Severity::warning,
                   placeIn(file, entry),
                   known.key == "arg20" ? "the value of arg20 is always lost"
                                        : toUtf8(entry.key) + " is not read from this file",
                   "The line has no effect.",
                   isWritten ? "Remove the line: the launcher itself writes this key, into " + files + "."
                             : "Move the line to " + files + ".");
    }

    void checkOption(const InstallFile& file, const PropertyEntry& entry, const char* kind) {
        const std::string key = toUtf8(entry.key);
        if (kind == launcherFile) {
            addFinding(findings, rules::wrongFile, Severity::warning, placeIn(file, entry),
                       key + ": options of the JVM are not read from this file", "The line has no effect.",
                       "Move the line to jvm.properties or zelinstall.properties.");
        } else if (!entry.key.starts_with(L"-D") && !entry.key.starts_with(L"-X")) {
            addFinding(findings, rules::ignoredOption, Severity::warning, placeIn(file, entry),
                       key + " begins with neither -D nor -X", "The option does not reach the JVM.",
                       "Write vmarg.<name>=<option>, which passes any option on.");
        }
    }

    // A key that a ${prop.} token names is one of the packager. A colon ends a key, but not an option.
    bool isOptionWithoutHyphen(const PropertyEntry& entry) const {
        const std::wstring& key = entry.key;
        const bool isProperty = key.size() > 1 && key[0] == L'D' && key[1] >= L'a' && key[1] <= L'z';
        const bool isOption =
            key.starts_with(L"X") && isNamedLikeJvmOption("-" + toUtf8(key) + ":" + toUtf8(entry.value));
        return (isProperty || isOption) && referenced.count(key) == 0;
    }

    void addOptionWithoutHyphen(const InstallFile& file, const PropertyEntry& entry) {
        const std::string key = toUtf8(entry.key);
        addFinding(findings, rules::ignoredOption, Severity::warning, placeIn(file, entry),
                   key + " is no known key, but an option of the JVM without its hyphen",
                   "The option does not reach the JVM.",
                   "Begin the line with -" + key + ", or give a key of your own another name.");
    }

    // The keys of config.ini that decide if a platform comes up.
    void checkConfigIni() {
        constexpr const char* knownKeys[] = {"osgi.bundles", "osgi.bundles.defaultStartLevel",
                                             "osgi.framework", "eclipse.application", "eclipse.product"};
        const auto isKnown = [&](const ConfigIniEntry& entry) {
            return std::find(std::begin(knownKeys), std::end(knownKeys), entry.key) != std::end(knownKeys);
        };
        for (const ConfigIniEntry& entry : configIni) {
            if (entry.key.starts_with(utf8Mark)) {
                continue;  // the check of the text says so
            }
            const auto* meant =
                std::find_if(std::begin(knownKeys), std::end(knownKeys),
                             [&](const char* key) { return areSimilar(fromUtf8(entry.key), fromUtf8(key)); });
            if (meant != std::end(knownKeys) && !isKnown(entry)) {
                addSimilarInConfigIni(entry, *meant);
            }
        }
    }

    void checkBundleList() {
        const ConfigIniEntry* list = findConfigIniEntry(configIni, "osgi.bundles");
        for (const ConfiguredBundle& bundle : readBundles(list != nullptr ? list->value : "")) {
            const auto unknown =
                std::find_if(bundle.start.begin(), bundle.start.end(),
                             [](const std::string& part) { return !isStartLevel(part) && part != "start"; });
            if (unknown != bundle.start.end()) {
                addBundleStart(bundle.written, *unknown, list->line);
            }
        }
    }

    void addBundleStart(const std::string& bundle, const std::string& part, std::size_t line) {
        const std::size_t dot = part.find('.') + 1;
        const bool isBundle =
            part.find('@') != std::string::npos ||
            (dot != 0 && dot < part.size() && isLetter(wchar_t{static_cast<unsigned char>(part[dot])}));
        addFinding(findings, rules::bundleStart, isBundle ? Severity::error : Severity::warning,
                   {installName(options, reading.configIni.path), line, L""},
                   (isBundle ? "a comma is missing in osgi.bundles: "
                             : "osgi.bundles has an unknown word after a bundle: ") +
                       bundle,
                   isBundle
                       ? "The framework starts neither of the two bundles, so the platform may not come up, "
                         "although the launcher ends with 0."
                       : "The framework ignores " + part + ".",
                   isBundle ? "Separate bundles by commas."
                            : "Write @start, @<start level> or @<start level>:start.");
    }

    void addSimilarInConfigIni(const ConfigIniEntry& entry, const std::string& meant) {
        const bool isFatal = meant == "osgi.bundles" && !hasConfigIniKey("osgi.bundles");
        addFinding(
            findings, rules::similarKey, isFatal ? Severity::error : Severity::warning,
            {installName(options, reading.configIni.path), entry.line, L""},
            entry.key + " is no key of the framework; " + meant + " is",
            isFatal ? "The framework starts none of the bundles: no platform comes up, although the launcher "
                      "ends with 0."
                    : "The framework ignores the line.",
            "Write " + meant + ".");
    }

    void checkSimilar(const InstallFile& file, const PropertyEntry& entry, const std::wstring& key,
                      const char* kind) {
        if (referenced.count(entry.key) != 0) {
            return;
        }
        for (const KeyEntry& known : keyEntries()) {
            if (!isReadFrom(known, kind)) {
                continue;
            }
            const std::wstring name = fromUtf8(known.key);
            std::optional<std::wstring> meant = meantKey(key, name);
            if (!meant && kind == templateFile) {
                meant = meantWithSystem(entry.key, name);
            }
            if (!meant && lacksDot(key, name)) {
                meant = name;
            }
            if (meant) {
                addFinding(findings, rules::similarKey, Severity::warning, placeIn(file, entry),
                           toUtf8(entry.key) + " is no known key; " + toUtf8(*meant) + " is",
                           "The launcher ignores the line.", "Write " + toUtf8(*meant) + ".");
                return;
            }
        }
    }

    // As meantKey, for a key of the template whose end was meant to name an operating system.
    static std::optional<std::wstring> meantWithSystem(const std::wstring& key, const std::wstring& known) {
        struct System {
            std::wstring_view written;
            std::wstring_view meant;
        };
        constexpr System systems[] = {{L"win32", L"win32"},   {L"win64", L"win32"},  {L"windows", L"win32"},
                                      {L"win", L"win32"},     {L"linux", L"linux"},  {L"unix", L"linux"},
                                      {L"macosx", L"macosx"}, {L"macos", L"macosx"}, {L"mac", L"macosx"}};
        const std::wstring_view written = key;
        if (!zellauncher::equalIgnoringCase(written.substr(0, known.size()), known)) {
            return std::nullopt;
        }
        std::wstring_view end = written.substr(known.size());
        end.remove_prefix(std::min(end.find_first_not_of(joints), end.size()));
        for (const System& system : systems) {
            if (zellauncher::equalIgnoringCase(end, system.written)) {
                return known + L"." + std::wstring(system.meant);
            }
        }
        return std::nullopt;
    }

    // The key as it would be if it were meant to be the known one; nothing if it is not similar.
    static std::optional<std::wstring> meantKey(const std::wstring& key, const std::wstring& known) {
        const std::size_t open = known.find(L'<');
        if (open == std::wstring::npos) {
            return areSimilar(key, known) ? std::optional(known) : std::nullopt;
        }
        if (known.starts_with(L"-") || known.starts_with(L"arg")) {
            return std::nullopt;
        }
        const std::wstring beginning = known.substr(0, open);
        const auto levels = std::count(beginning.begin(), beginning.end(), L'.');
        std::size_t end = 0;
        for (std::ptrdiff_t level = 0; level < levels; ++level) {
            end = key.find(L'.', end);
            if (end == std::wstring::npos) {
                return std::nullopt;
            }
            ++end;
        }
        const bool isSame = key.starts_with(beginning);
        if (end == 0 || (!isSame && !areSimilar(key.substr(0, end), beginning))) {
            return std::nullopt;
        }
        return withMeantEnd(beginning + key.substr(end), known, isSame);
    }

    // The part that the packager chooses is missing or not separated by a dot, as in vmarg, vmarg_x and
    // envset.X. The launcher takes any character after env.set, env.unset and config.initial, and
    // a name may be empty.
    static bool lacksDot(std::wstring_view key, const std::wstring& known) {
        const std::size_t dot = known.find(L".<");
        if (dot == std::wstring::npos || known.find(L'>') + 1 != known.size()) {
            return false;
        }
        const std::wstring_view word = std::wstring_view(known).substr(0, dot);
        const bool hasDotInside = word.find(L'.') != std::wstring_view::npos;
        if (key.starts_with(hasDotInside ? word : std::wstring_view(known).substr(0, dot + 1))) {
            return false;
        }
        for (const wchar_t unit : word) {
            key.remove_prefix(std::min(key.find_first_not_of(joints), key.size()));
            if (unit == L'.') {
                continue;
            }
            if (key.empty() || !zellauncher::equalIgnoringCase(key.substr(0, 1), {&unit, 1})) {
                return false;
            }
            key.remove_prefix(1);
        }
        key.remove_prefix(key.starts_with(L's') ? 1 : 0);
        return key.empty() || !isLetter(key.front());
    }

    static std::optional<std::wstring> withMeantEnd(const std::wstring& key, const std::wstring& known,
                                                    bool hasBeginning) {
        const std::size_t close = known.find(L'>');
        const std::wstring ending = known.substr(close + 1);
        if (ending.empty() || ending == L".<n>") {
            return hasBeginning ? std::nullopt : std::optional(key);
        }
        const std::size_t dot = key.find(L'.', known.find(L'<'));
        if (dot == std::wstring::npos || !areSimilar(key.substr(dot), ending)) {
            return std::nullopt;
        }
        return key.substr(0, dot) + ending;
    }

    // --- Twice -----------------------------------------------------------------------------------

    void checkDuplicates(const Entries& list) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            const PropertyEntry& entry = list[i];
            if (isRepeatable(entry.key)) {
                continue;
            }
            const PropertyEntry* first = find(entry.key, list);
            if (first != &entry) {
                addDuplicate(*first, entry);
            }
        }
    }

    void addDuplicate(const PropertyEntry& first, const PropertyEntry& second) {
        const Place firstPlace = placeOf(reading, options, first.value.source);
        const Place place = placeOf(reading, options, second.value.source);
        if (place.file.empty() || firstPlace.file.empty()) {
            return;
        }
        if (place.file != firstPlace.file) {
            addOverridden(first, second, firstPlace);
            return;
        }
        const bool isSame = first.value == second.value;
        const bool isOption = second.key.starts_with(L"-D");
        addFinding(findings, rules::duplicateKey, isSame ? Severity::note : Severity::warning, place,
                   toUtf8(second.key) + " is there twice, first in line " + std::to_string(firstPlace.line),
                   isSame     ? "Both lines say the same."
                   : isOption ? "Both go to the JVM, which uses the last one."
                              : "The launcher uses the first line, \"" + toUtf8(first.value) + "\".",
                   "Remove one of the lines.");
    }

    // The template's key comes before the one that the launcher appends.
    void addOverridden(const PropertyEntry& first, const PropertyEntry& second, const Place& place) {
        const std::string key = toUtf8(second.key);
        const bool isHarmless = first.value == second.value || second.key == L"vm";
        const bool isIdentity = second.key == L"zel.install.id" && first.value != second.value;
        addFinding(
            findings, rules::overriddenKey,
            isIdentity ? Severity::error : (isHarmless ? Severity::note : Severity::warning), place,
            key + " of the template wins over the one of zellauncher.properties",
            isIdentity
                ? "A user's identity always differs from the install's, so every start after the first "
                  "renews the user's configuration."
                : "A user gets \"" + toUtf8(first.value) + "\".",
            "Remove the line from the template; the launcher adds it to a user's copy.");
    }
};

}  // namespace

std::wstring withoutSystem(const std::wstring& key) {
    std::wstring line = key;
    const bool isForeign = zellauncher::isForeignPlatformLine(line);
    return isForeign ? line.substr(0, line.rfind(L'.')) : line;
}

void checkKeys(const InstallReading& reading, const StartOptions& options, Findings& findings) {
    KeyCheck(reading, options, findings).run();
}

}  // namespace explain
