#include "explain/check/framework_checks.h"

#include <algorithm>
#include <map>
#include <set>

#include "explain/check/config_ini.h"
#include "explain/check/file_findings.h"
#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/windows_paths.h"

namespace explain {

namespace {

constexpr std::wstring_view areaOption = L"-Dosgi.install.area=";
constexpr std::wstring_view frameworkOption = L"-Dosgi.framework=";
constexpr std::wstring_view frameworkName = L"org.eclipse.osgi";
constexpr const char* noPlatform =
    "The framework's launcher does not find the framework: no platform comes up, although the launcher ends "
    "with 0.";

// The path of a `file:` URL, or the text itself.
std::wstring withoutScheme(std::wstring text) {
    constexpr std::wstring_view reference = L"reference:";
    constexpr std::wstring_view file = L"file:";
    if (text.starts_with(reference)) {
        text.erase(0, reference.size());
    }
    if (text.starts_with(file)) {
        text.erase(0, text.find_first_not_of(L'/', file.size()));
    }
    return text;
}

// Whether the text may name a place that only the framework knows: a URL, or a variable of its own.
bool isForFramework(const std::wstring& path) {
    constexpr std::size_t drive = 1;
    const std::size_t colon = path.find(L':');
    return path.empty() || isWithin(path, inventedDirectory) || path.front() == L'@' ||
           path.find(L'$') != std::wstring::npos || path.find(L'%') != std::wstring::npos ||
           path.starts_with(L"\\\\") || path.starts_with(L"//") ||
           (colon != std::wstring::npos && colon != drive);
}

class FrameworkCheck {
public:
    FrameworkCheck(const InstallReading& theReading, const StartOptions& startOptions, const World& theWorld,
                   const Explanation& theStart, Findings& all)
        : reading(theReading),
          options(startOptions),
          world(theWorld),
          start(theStart),
          configIni(readConfigIni(theReading.configIni.bytes)),
          files(startOptions, theWorld, all) {}

    void run() {
        if (!isSetByNativeLauncher()) {
            checkInstallArea();
        }
        checkBundles();
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    const World& world;
    const Explanation& start;
    const std::vector<ConfigIniEntry> configIni;
    FileFindings files;

    // The value of an option of the JVM, which uses the last one.
    std::optional<NamedPath> optionValue(std::wstring_view option) const {
        std::optional<NamedPath> value;
        for (const Element& element : start.elements) {
            const std::wstring text = withoutQuotes(element.text);
            if (text.starts_with(option)) {
                value = NamedPath{text.substr(option.size()), element.source};
            }
        }
        return value;
    }

    // The native launcher can pass options of its eclipse.ini on, and the caller -install.
    bool isSetByNativeLauncher() const {
        const auto isInstall = [](const Element& element) { return element.text == L"-install"; };
        if (std::any_of(start.elements.begin(), start.elements.end(), isInstall)) {
            return true;
        }
        const auto program =
            std::find_if(start.elements.begin(), start.elements.end(),
                         [](const Element& element) { return element.section == "program"; });
        const std::wstring path = program != start.elements.end() ? withoutQuotes(program->text) : L"";
        const std::wstring ini = iniBeside(path);
        const std::string text = files.isFile(ini) ? world.machine->readFile(ini).value_or("") : "";
        return text.find("-install") != std::string::npos || text.find("osgi.") != std::string::npos;
    }

    // --- The framework ---------------------------------------------------------------------------

    void checkInstallArea() {
        const std::optional<NamedPath> area = optionValue(areaOption);
        const std::optional<NamedPath> framework = namedFramework();
        if (!area) {
            checkNamedFramework(framework, std::nullopt);
            if (!framework) {
                checkDefaultArea();
            }
            return;
        }
        const std::wstring path = withoutScheme(area->path);
        if (isForFramework(path)) {
            return;
        }
        const std::optional<std::wstring> full = files.fullPath(path);
        if (!full && beginsWithDrive(path)) {
            return;
        }
        if (!full) {
            files.addDangling(area->source, Severity::warning, "is no full path: " + toUtf8(path),
                              "The framework looks for it in the current directory of its process.",
                              "Begin the path with ${zel.home}.");
            return;
        }
        if (!files.isDirectory(*full)) {
            addWrongArea(*area, *full, framework.has_value());
        }
        checkNamedFramework(framework, full);
        if (!framework && files.isDirectory(*full)) {
            checkFrameworkIn(*full);
        }
    }

    void addWrongArea(const NamedPath& area, const std::wstring& path, bool hasFramework) {
        const bool isFatal = !hasFramework && files.isShown(path);
        files.addDangling(area.source, isFatal ? Severity::error : Severity::warning,
                          "leads to a directory that does not exist: " + toUtf8(path),
                          hasFramework ? "The framework finds nothing there." : noPlatform,
                          "Name the directory above the plugins directory with the framework.");
    }

    bool hasFrameworkIn(const std::wstring& area) const {
        const std::vector<std::wstring> names = files.namesIn(area + L"\\plugins");
        return std::any_of(names.begin(), names.end(), [](const std::wstring& name) {
            return name == frameworkName || name.starts_with(std::wstring(frameworkName) + L"_");
        });
    }

    void checkFrameworkIn(const std::wstring& area) {
        if (isFrameworkOsgi() && !hasFrameworkIn(area)) {
            files.add(rules::missingFile, severity(), area + L"\\plugins", 0,
                      "the framework is missing: there is no " + toUtf8(frameworkName) +
                          "_<version>.jar in the directory plugins of the install area",
                      noPlatform, "Ship the framework there, or correct -Dosgi.install.area.");
        }
    }

    // Without an install area, the framework's launcher looks beside its own jar.
    void checkDefaultArea() {
        constexpr std::wstring_view plugins = L"\\plugins";
        if (!isFrameworkOsgi()) {
            return;
        }
        for (const Element& element : start.elements) {
            const std::wstring jar = files.fullPath(withoutQuotes(element.text)).value_or(L"");
            if (element.section != "startup" || jar.empty()) {
                continue;
            }
            std::wstring area = jar.substr(0, jar.rfind(L'\\'));
            if (area.ends_with(plugins)) {
                area.resize(area.size() - plugins.size());
            }
            if (hasFrameworkIn(area)) {
                return;
            }
        }
        files.add(
            rules::missingKey, severity(), reading.userTemplate.path, 0, "-Dosgi.install.area is missing",
            noPlatform,
            "Add -Dosgi.install.area= and the directory above the plugins directory with the framework, "
            "such as ${zel.home}/zel/eclipse.");
    }

    // Another framework may be started in another way.
    bool isFrameworkOsgi() const {
        return std::any_of(configIni.begin(), configIni.end(),
                           [](const ConfigIniEntry& entry) { return entry.key.starts_with("osgi."); });
    }

    // How the jar of a service finds the framework depends on that jar.
    Severity severity() const { return reading.isDirectJavaStart ? Severity::warning : Severity::error; }

    // osgi.framework; an option of the JVM wins over config.ini.
    std::optional<NamedPath> namedFramework() const {
        std::optional<NamedPath> named = optionValue(frameworkOption);
        const ConfigIniEntry* entry = findConfigIniEntry(configIni, "osgi.framework");
        if (!named && entry != nullptr) {
            ValueSource source;
            source.file = installName(options, reading.configIni.path);
            source.line = entry->line;
            source.name = L"osgi.framework";
            named = NamedPath{fromUtf8(entry->value), source};
        }
        return named;
    }

    // A relative path is one from the install area.
    void checkNamedFramework(const std::optional<NamedPath>& framework,
                             const std::optional<std::wstring>& area) {
        const std::wstring path = framework ? withoutScheme(framework->path) : std::wstring();
        const bool isFull = beginsWithDrive(path);
        if (isForFramework(path) || (!isFull && !area)) {
            return;
        }
        const auto full = files.fullPath(isFull ? path : *area + L"\\" + path);
        if (!full || files.exists(*full)) {
            return;
        }
        if (files.isShown(*full)) {
            files.addMissing({*full, framework->source}, "the framework", noPlatform);
        } else {
            files.addDangling(framework->source, Severity::warning,
                              "leads to a file that does not exist: " + toUtf8(*full), noPlatform,
                              "Correct the path, or show the directory with --map.");
        }
    }

    // --- Bundles ---------------------------------------------------------------------------------

    // Names in the plug-in directories; true for those of directories.
    using Provided = std::map<std::wstring, bool>;

    void checkBundles() {
        const ConfigIniEntry* bundles = findConfigIniEntry(configIni, "osgi.bundles");
        const std::optional<NamedPath> area = optionValue(areaOption);
        const bool isAreaUnknown = area && isForFramework(withoutScheme(area->path));
        if (bundles == nullptr || isAreaUnknown) {
            return;
        }
        Provided provided;
        for (const std::wstring& directory : pluginDirectories()) {
            const std::wstring beginning = directory + L"\\";
            for (const std::wstring& name : files.namesIn(directory)) {
                provided[name] = files.isDirectory(beginning + name);
            }
        }
        for (const ConfiguredBundle& bundle : readBundles(bundles->value)) {
            checkBundle(fromUtf8(bundle.bundle), bundles->line, provided);
        }
    }

    std::set<std::wstring> pluginDirectories() const {
        std::set<std::wstring> directories = {options.install.path + L"\\zel\\eclipse\\plugins"};
        for (const std::wstring_view option : {areaOption, std::wstring_view(L"-Dosgi.syspath=")}) {
            const std::optional<NamedPath> named = optionValue(option);
            if (const auto full = named ? files.fullPath(withoutScheme(named->path)) : std::nullopt) {
                directories.insert(*full);
                directories.insert(*full + L"\\plugins");
            }
        }
        return directories;
    }

    void checkBundle(const std::wstring& place, std::size_t number, const Provided& provided) {
        const std::wstring name = withoutScheme(place);
        const bool isFile = place.starts_with(L"file:") || place.starts_with(L"reference:file:");
        const bool isOther =
            name.find(L"${") != std::wstring::npos || (!isFile && name.find(L':') != std::wstring::npos);
        if (name.empty() || isOther || isProvided(name, provided)) {
            return;
        }
        files.add(rules::bundleMissing, Severity::error, reading.configIni.path, number,
                  "no file of the plug-in directories provides the bundle " + toUtf8(name),
                  "The framework starts without it, so the platform may not come up, although the launcher "
                  "ends with 0.",
                  "Ship " + toUtf8(name) + "_<version>.jar in zel/eclipse/plugins, or correct the name.");
    }

    bool isProvided(const std::wstring& bundle, const Provided& provided) const {
        const std::wstring name = bundle.substr(bundle.find_last_of(L"/\\") + 1);
        if (files.fullPath(bundle)) {
            return files.exists(bundle);
        }
        const auto found = provided.lower_bound(name);
        for (auto entry = found; entry != provided.end() && entry->first.starts_with(name); ++entry) {
            const std::wstring rest = entry->first.substr(name.size());
            const bool isBundle = entry->second || rest.ends_with(L".jar");
            if (rest.empty() || rest == L".jar" || (rest.starts_with(L"_") && isBundle)) {
                return true;
            }
        }
        return false;
    }
};

}  // namespace

void checkFramework(const InstallReading& reading, const StartOptions& options, const World& world,
                    const Explanation& start, Findings& findings) {
    FrameworkCheck(reading, options, world, start, findings).run();
}

}  // namespace explain
