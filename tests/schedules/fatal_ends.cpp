#include <algorithm>

#include "foundation/paths.h"
#include "schedules/race.h"

// Which reasons for a fatal end the situation of a launcher can give. Each is checked with the operations of
// the race and the ends of the platforms.
namespace schedules {

namespace {

using simulation::Operation;
using simulation::ProcessId;

bool begins(const std::string& line, const char* message) {
    return line.starts_with(message);
}

bool endsWithError(const std::string& line, const char* number) {
    return line.find("Failed with error " + std::string(number) + ": ") != std::string::npos;
}

}  // namespace

// Launchers may share a log, so the last line may be of another one that ended.
bool Race::isExpectedIn(const std::wstring& log, const std::string& line) const {
    return std::any_of(launchers.begin(), launchers.end(), [&](const auto& entry) {
        return entry.second.log == log && isExpectedOf(entry.first, line);
    });
}

bool Race::isExpectedOf(ProcessId id, const std::string& line) const {
    const LauncherRecord& ended = launchers.at(id);
    if (begins(line, "ZLNCH0142E: Unable to find pipe ") ||
        begins(line, "ZLNCH0143E: Unable to connect to ")) {
        return endsWithError(line, "2") && failsAtEndedPlatform(id, ended);
    }
    if (begins(line, "ZLNCH0144E: Unable to write to pipe ")) {
        return (endsWithError(line, "232") || endsWithError(line, "109")) && failsAtEndedPlatform(id, ended);
    }
    if (begins(line, "ZLNCH0145E: eclipse.exe process is not running")) {
        return ended.isCommandOnly && findsNoPlatform(id, ended);
    }
    if (begins(line, "ZLNCH0019E: Could not open ")) {
        return ended.isCommandOnly && precedesFirstStart(id, L"\\logs");
    }
    if (begins(line, "ZLNCH0096E: Unable to load ")) {
        return (ended.isRestart && precedesFirstStart(id, L"\\.config\\args.properties")) ||
               (ended.isCommandOnly && precedesFirstStart(id, L"\\.config\\zelinstall.properties"));
    }
    return false;
}

// Its hand-off was to a platform that has ended, not to one that runs.
bool Race::failsAtEndedPlatform(ProcessId id, const LauncherRecord& ended) const {
    const std::vector<Operation>& all = machine.operations();
    const auto wait = std::find_if(all.begin(), all.end(), [&](const Operation& each) {
        return each.process == id && each.name == "waitNamedPipe";
    });
    return wait != all.end() && std::any_of(platforms.begin(), platforms.end(), [&](const auto& entry) {
               return pipeNameOf(entry.first) == wait->argument &&
                      entry.second.endedOperation <= ended.endedOperation;
           });
}

// Every platform that ran was hidden from it by one of the accepted causes.
bool Race::findsNoPlatform(ProcessId id, const LauncherRecord& ended) const {
    const Decision decision = decisionOf(id, ended.endedOperation + 1);
    return std::all_of(platforms.begin(), platforms.end(), [&](const auto& entry) {
        const PlatformRecord& record = entry.second;
        const bool ran =
            record.createdOperation < decision.looked && record.endedOperation >= ended.endedOperation;
        return !ran || explain(record, decision) != Overlap::unexplained;
    });
}

// No start had made this file or directory when the launcher first opened it, or a file in it.
bool Race::precedesFirstStart(ProcessId id, const std::wstring& ending) const {
    const auto isUse = [&](const Operation& each) {
        return each.process == id && each.name == "openStream" &&
               zellauncher::withBackslashes(each.argument).find(ending) != std::wstring::npos;
    };
    const auto isCreation = [&](const Operation& each) {
        const bool hasTarget = each.name == "copyFile" || each.name == "moveFile";
        const bool creates =
            hasTarget || each.name == "createDirectory" || (each.name == "openStream" && each.writes);
        const std::wstring& path = hasTarget ? each.target : each.argument;
        return creates && zellauncher::withBackslashes(path).ends_with(ending);
    };
    const std::vector<Operation>& all = machine.operations();
    const auto use = std::find_if(all.begin(), all.end(), isUse);
    const bool wasThere = std::any_of(pathsBefore.begin(), pathsBefore.end(), [&](const std::wstring& path) {
        return path.ends_with(ending) || path.ends_with(ending + L"\\");
    });
    return use != all.end() && !wasThere && std::none_of(all.begin(), use, isCreation);
}

}  // namespace schedules
