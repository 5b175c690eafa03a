#include "explain/check/install_reading.h"

#include <algorithm>

#include "configuration/install_files.h"
#include "configuration/user_install_properties.h"
#include "explain/launcher_run.h"
#include "explain/property_files.h"
#include "explain/windows_paths.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/paths.h"
#include "foundation/recording.h"
#include "foundation/user_files.h"
#include "javalaunch/jvm_properties.h"
#include "launch/install_directory.h"
#include "launch/shared_steps.h"
#include "properties/property_reader.h"
#include "properties/substitution.h"
#include "properties/token_scan.h"
#include "provisioning/platform_xml.h"

namespace explain {

namespace {

using zellauncher::LaunchContext;
using zellauncher::PropertyEntry;
using zellauncher::PropertyList;
using zellauncher::Source;

constexpr const wchar_t* scratchDirectory = L"C:\\zelexplain\\.config";
constexpr const wchar_t* scratchWorkspace = L"C:/zelexplain";

// Runs a part of the launcher. It may end early, with a fatal message.
void runAsLauncher(World& world, const StartOptions& options, const std::function<void()>& part) {
    const simulation::ProcessId process = world.machine->start({launcherPath(options)}, [&] {
        part();
        return 0;
    });
    world.machine->setModule(process, launcherPath(options));
    world.machine->waitFor(process);
}

InstallFile fileAt(const World& world, const std::wstring& path) {
    InstallFile file;
    file.path = path;
    file.exists =
        path.size() <= longestPath && world.machine->exists(path) && !world.machine->isDirectory(path);
    if (file.exists) {
        file.bytes = world.machine->readFile(path).value_or("");
    }
    return file;
}

void addIfMissing(PropertyList& list, const wchar_t* key, const wchar_t* value) {
    if (zellauncher::lookupProperty(key, list) == nullptr) {
        list.push_back({key, std::wstring(value)});
    }
}

std::optional<TokenText> unknownTokenOf(const std::wstring& value, const PropertyList& list) {
    const std::vector<TokenText> tokens = tokensOf(value);
    const auto found = std::find_if(tokens.begin(), tokens.end(), [&](const TokenText& token) {
        return !zellauncher::resolveToken(token.name, list).isResolved;
    });
    return found != tokens.end() ? std::optional(*found) : std::nullopt;
}

// Whether the launcher makes a user's platform.xml: it tries, with a template that is there.
bool makesPlatformXml(const PropertyList& launcherProperties) {
    simulation::Machine machine;
    machine.writeFile(L"C:\\base\\platform.xml", "");
    machine.run({L"C:\\launcher"}, [&] {
        zellauncher::readInstallConfiguration(launcherProperties);
        zellauncher::seedPlatformXml(L"C:\\user", L"C:\\base", launcherProperties, true);
        return 0;
    });
    return machine.exists(L"C:\\user\\org.eclipse.update\\platform.xml");
}

class Reader {
public:
    explicit Reader(const StartOptions& startOptions) : options(startOptions), world(buildWorld(options)) {
        world.machine->limitOperations(mostOperations);
    }

    InstallReading run() {
        const std::wstring path = options.install.path + L"\\zel\\zellauncher.properties";
        reading.launcherProperties = fileAt(world, path);
        if (reading.launcherProperties.exists) {
            runAsLauncher(world, options, [&] { readLauncherProperties(path); });
            runAsLauncher(world, options, [&] { readWorkspace(); });
            runAsLauncher(world, options, [&] { findTemplates(); });
        }
        if (reading.baseLocation) {
            reading.userTemplate = fileAt(world, reading.userTemplate.path);
            reading.configIni = fileAt(world, reading.configIni.path);
            reading.platformXml = fileAt(world, reading.platformXml.path);
            reading.makesPlatformXml = makesPlatformXml(completed);
            runAsLauncher(world, options, [&] { makeUserProperties(); });
            runAsLauncher(world, options, [&] { readRunProperties(); });
        }
        return std::move(reading);
    }

private:
    static constexpr std::uint64_t mostOperations = 5'000'000;

    const StartOptions& options;
    World world;
    InstallReading reading;
    PropertyList completed;  // zellauncher.properties, with what is missing
    std::wstring zelHome;
    PropertyList runProperties;
    zellauncher::VmargOverrides overrides;

    void readLauncherProperties(const std::wstring& path) {
        zellauncher::loadPropertyFile(path, completed);
        reading.launcherProperties.entries.assign(completed.begin(), completed.end());
        addIfMissing(completed, L"zel.install.id", L"0");
        addIfMissing(completed, L"install.configuration", L"user");
        zelHome = options.install.path;
        zellauncher::readInstallConfiguration(completed);
        reading.kind = zellauncher::InstallConfiguration;
        reading.isDirectJavaStart = zellauncher::isDirectJavaStart();
        if (reading.kind == zellauncher::InstallConfigurationKind::unknown) {
            PropertyList usable = {{L"install.configuration", std::wstring(L"user")}};
            for (const PropertyEntry& entry : completed) {
                usable.push_back(entry);
            }
            completed = usable;
        }
    }

    void readWorkspace() {
        LaunchContext context = installContext();
        if (const std::wstring* text = zellauncher::lookupProperty(L"zel.data", completed)) {
            reading.workspaceToken = unknownTokenOf(*text, completed);
        }
        zellauncher::resolveWorkspace(context);
        reading.workspace = context.dataDirectory;
        reading.hasWorkspace = true;
    }

    // The context after the launcher has read the install, with what is missing added before.
    LaunchContext installContext() {
        LaunchContext context;
        context.rawArguments = {launcherPath(options)};
        context.zelHome = zelHome;
        context.zelLauncherArray = completed;
        zellauncher::readInstall(context);
        return context;
    }

    void findTemplates() {
        const LaunchContext context = installContext();
        reading.baseLocation = context.baseLocation;
        const auto pathOf = [&](const wchar_t* name) {
            return zellauncher::baseFilePath(context.baseLocation, name);
        };
        reading.userTemplate.path = pathOf(zellauncher::installPropertiesName);
        reading.configIni.path = pathOf(zellauncher::configIniName);
        reading.platformXml.path = pathOf(zellauncher::platformXmlName);
    }

    void makeUserProperties() {
        const LaunchContext context = installContext();
        zellauncher::createDirectories(scratchDirectory);
        zellauncher::Recording recording([] { return 0U; }, [] { return 0U; });
        if (!reading.userTemplate.exists) {
            return;
        }
        reading.userTemplate.entries = loadEntries(reading.userTemplate.path);
        zellauncher::recording = &recording;
        const std::wstring file = zellauncher::ensureUserInstallProperties(
            scratchDirectory, context.baseLocation, context.zelLauncherArray);
        zellauncher::recording = nullptr;
        reading.made = loadEntries(file);
        for (std::size_t i = 0; i < recording.madeLines.size(); ++i) {
            if (const auto& line = recording.madeLines[i]) {
                reading.origins[i + 1] = {installName(options, line->path), line->line, line->name};
            }
        }
    }

    // As a run loads them, without the restart state.
    void readRunProperties() {
        LaunchContext context = installContext();
        for (const PropertyEntry& entry : reading.made) {
            runProperties.push_back(entry);
        }
        zellauncher::SourcedText workspace = std::wstring(scratchWorkspace);
        zellauncher::addProperty(runProperties, L"scrivia.workspace.loc", workspace);
        const auto root = zellauncher::resolveJvmRoot(runProperties, context.rawArguments, zelHome);
        reading.jvmProperties.path = zellauncher::withBackslashes(root->jvmPropertiesPath);
        reading.jvmProperties = fileAt(world, reading.jvmProperties.path);
        if (reading.jvmProperties.exists) {
            reading.jvmProperties.entries = loadEntries(reading.jvmProperties.path);
            zellauncher::loadJvmProperties(runProperties, overrides, *root, zelHome);
        } else {
            zellauncher::collectVmProperties(overrides, runProperties);
        }
        const std::map<std::size_t, ExpandedValue> unknown = takeUnknownValues();
        for (std::size_t i = 0; i < runProperties.size(); ++i) {
            const auto found = unknown.find(i);
            found != unknown.end() ? reading.values.push_back(found->second) : addValue(i);
        }
        for (const auto& [key, option] : overrides) {
            reading.values.push_back(expand({key, option}));
        }
    }

    // The values with a token that nothing replaces, by their positions. The properties get empty ones
    // instead, so that other values may use them.
    std::map<std::size_t, ExpandedValue> takeUnknownValues() {
        std::map<std::size_t, ExpandedValue> unknown;
        for (std::size_t i = 0; i < runProperties.size(); ++i) {
            const PropertyEntry entry = runProperties[i];
            ExpandedValue value = expand(entry);
            if (!value.isResolved && unknownTokenOf(withLocations(entry.value), runProperties)) {
                unknown.emplace(i, std::move(value));
            }
        }
        for (const auto& [position, value] : unknown) {
            runProperties.setValue(position, {});
        }
        return unknown;
    }

    // The launcher replaces the values one after the other, and a later one gets what an earlier one became.
    void addValue(std::size_t position) {
        ExpandedValue value = expand(runProperties[position]);
        if (value.isResolved) {
            runProperties.setValue(position, value.text);
        }
        reading.values.push_back(std::move(value));
    }

    ExpandedValue expand(const PropertyEntry& entry) const {
        ExpandedValue value;
        value.key = entry.key;
        value.raw = entry.value;
        value.source = entry.value.source;
        const std::wstring original = withLocations(entry.value);
        value.text = original;
        value.isResolved = zellauncher::substituteProperties(value.text, runProperties);
        if (!value.isResolved) {
            const std::optional<TokenText> own = unknownTokenOf(original, runProperties);
            value.unknownToken = own ? own : unknownTokenOf(value.text, runProperties);
        }
        return value;
    }

    std::wstring withLocations(std::wstring text) const {
        zellauncher::replaceLocationTokens(scratchWorkspace, zellauncher::withForwardSlashes(zelHome), text);
        return text;
    }
};

}  // namespace

std::vector<TokenText> tokensOf(const std::wstring& value) {
    std::vector<TokenText> tokens;
    std::ptrdiff_t position = static_cast<std::ptrdiff_t>(value.size()) - 1;
    while (const std::optional<zellauncher::Token> token = zellauncher::findLastToken(value, position)) {
        const std::size_t close = value.find(L'}', token->start);
        const bool isClosed = close != std::wstring::npos;
        tokens.push_back(
            {token->name, value.substr(token->start, isClosed ? close + 1 - token->start : close), isClosed});
        position = static_cast<std::ptrdiff_t>(token->start) - 1;
    }
    return tokens;
}

const ExpandedValue* InstallReading::value(const std::wstring& key) const {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [&](const ExpandedValue& value) { return value.key == key; });
    return found != values.end() ? &*found : nullptr;
}

std::wstring installName(const StartOptions& options, const std::wstring& path) {
    return isWithin(path, options.install.path)
               ? zellauncher::withForwardSlashes(relativeTo(path, options.install.path))
               : path;
}

Place placeOf(const InstallReading& reading, const StartOptions& options,
              const std::shared_ptr<const Source>& source) {
    if (!source || source->kind != Source::Kind::file || source->line == 0) {
        return {};
    }
    if (isWithin(source->path, scratchDirectory)) {
        const auto origin = reading.origins.find(source->line);
        return origin != reading.origins.end() ? origin->second : Place{};
    }
    return {installName(options, source->path), source->line, source->name};
}

InstallReading readInstall(const StartOptions& options) {
    return Reader(options).run();
}

std::vector<Entries> readAsPropertyFiles(const std::vector<std::string>& texts) {
    simulation::Machine machine;
    std::vector<std::wstring> paths;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        paths.push_back(L"C:\\texts\\" + std::to_wstring(i));
        machine.writeFile(paths.back(), texts[i]);
    }
    std::vector<Entries> lists(texts.size());
    machine.run({L"C:\\texts\\reader"}, [&] {
        for (std::size_t i = 0; i < paths.size(); ++i) {
            lists[i] = loadEntries(paths[i]);
        }
        return 0;
    });
    return lists;
}

}  // namespace explain
