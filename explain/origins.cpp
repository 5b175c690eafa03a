#include "explain/origins.h"

#include <algorithm>

#include "configuration/user_install_properties.h"
#include "explain/property_files.h"
#include "foundation/file_operations.h"
#include "launch/install_directory.h"
#include "launch/shared_steps.h"
#include "properties/property_reader.h"

namespace explain {

namespace {

using zellauncher::PropertyEntry;
using zellauncher::Source;
using SourcePointers = std::vector<std::shared_ptr<const Source>>;

constexpr const wchar_t* rehearsalDirectory = L"C:\\zelexplain\\.config";

std::size_t lineOf(const PropertyEntry& entry) {
    return entry.value.source ? entry.value.source->line : 0;
}

// The key of the entry that begins at this line of the file; empty if there is none.
std::wstring keyAt(std::size_t line, const Entries& file) {
    const auto found = std::find_if(file.begin(), file.end(),
                                    [&](const PropertyEntry& entry) { return lineOf(entry) == line; });
    return found != file.end() ? found->key : std::wstring();
}

// Lines that were copied do not know their keys yet. All of them come from the same template.
Origins nameLines(const SourcePointers& lines, const Entries& templateFile) {
    Origins origins;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i]) {
            Source origin = *lines[i];
            if (origin.name.empty()) {
                origin.name = keyAt(origin.line, templateFile);
            }
            origins[i + 1] = origin;
        }
    }
    return origins;
}

// What the launcher makes of the template.
struct Rehearsal {
    SourcePointers lines;
    Entries templateFile;
    Entries made;
};

void rehearse(const LauncherRun& run, Rehearsal& result) {
    zellauncher::Recording recording([] { return 0U; }, [] { return 0U; });
    zellauncher::LaunchContext context;
    context.rawArguments = run.arguments;
    context.zelHome = zellauncher::locateInstallDir(context.rawArguments);
    zellauncher::readInstall(context);
    zellauncher::createDirectories(rehearsalDirectory);
    zellauncher::recording = &recording;
    const std::wstring file = zellauncher::ensureUserInstallProperties(
        rehearsalDirectory, context.baseLocation, context.zelLauncherArray);
    zellauncher::recording = nullptr;
    result.lines = recording.madeLines;
    result.made = loadEntries(file);
    result.templateFile = loadEntries(recording.templateFile);
}

Origins originsOfMadeFile(World& world, const LauncherRun& run) {
    return nameLines(run.recording.madeLines, readPropertyFile(world, run.recording.templateFile));
}

Origins originsOfFormerFile(World& world, const StartOptions& options, const LauncherRun& run) {
    World other = buildWorld(options);
    Rehearsal rehearsal;
    const simulation::ProcessId process = other.machine->start(run.arguments, [&] {
        rehearse(run, rehearsal);
        return 0;
    });
    other.machine->setModule(process, launcherPath(options));
    other.machine->waitFor(process);
    const Origins ofLines = nameLines(rehearsal.lines, rehearsal.templateFile);
    Origins origins;
    for (const PropertyEntry& entry : readPropertyFile(world, run.recording.userProperties)) {
        const auto same = std::find_if(
            rehearsal.made.begin(), rehearsal.made.end(),
            [&](const PropertyEntry& made) { return made.key == entry.key && made.value == entry.value; });
        const auto origin = same != rehearsal.made.end() ? ofLines.find(lineOf(*same)) : ofLines.end();
        if (origin != ofLines.end()) {
            origins[lineOf(entry)] = origin->second;
        }
    }
    return origins;
}

}  // namespace

Origins originsOfUserFile(World& world, const StartOptions& options, const LauncherRun& run) {
    if (!run.recording.madeLines.empty()) {
        return originsOfMadeFile(world, run);
    }
    return run.recording.userProperties.empty() ? Origins() : originsOfFormerFile(world, options, run);
}

}  // namespace explain
