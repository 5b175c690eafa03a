#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "platform/files.h"
#include "reliability/interruption.h"
#include "reliability/scenario.h"
#include "reliability/user_files.h"
#include "reliability/whole_runs.h"
#include "support/text.h"

// Stops a start in place of each of its operations.
//
// Each run stops the launcher dead at one operation; what it had not flushed is lost, kept, or written by
// half. Then its platform ends, or runs on, or the power fails. The next two starts must do and leave the
// same as after the untouched scenario, or as without it.
namespace {

using launchertest::toUtf8;
using reliability::Aftermath;
using reliability::Interruption;
using reliability::isPowerLost;
using reliability::notAccepted;
using reliability::perform;
using reliability::Performance;
using reliability::Stage;
using reliability::StopRun;
using reliability::Tally;
using simulation::UnflushedData;

// docs/reliability.md gives the reason for each.
constexpr const char* backupOfRepair = "the backup is the repair's";
constexpr const char* backupReplaced = "a repair replaces the backup of the stopped renewal";
constexpr const char* copiesStay = "registry and bookmarks stay beside the configuration";
constexpr const char* truncatedSeed = "a truncated seed file stays";
constexpr const char* readOnlyCopyStays = "a copy of a read-only template stays read-only";
constexpr const char* movedFilesStay = "files that were moved aside stay";
constexpr const char* leftoverEndsAStart = "a file that was moved aside ends the next renewal";
constexpr const char* historyStartsAgain = "the shutdown log starts again";
constexpr const char* truncatedIdentity = "a truncated identity is created again";
constexpr const char* resetNotContinued = "a stopped reset is not continued";
constexpr const char* notRecorded = "the running platform is not recorded yet";
constexpr const char* notPublished = "the running platform publishes nothing";
constexpr const char* shellStays = "the logon shell stays the administrators'";

Tally& tally = Tally::add("stops", {},
                          {backupOfRepair, backupReplaced, copiesStay, truncatedSeed, readOnlyCopyStays,
                           movedFilesStay, leftoverEndsAStart, historyStartsAgain, truncatedIdentity,
                           resetNotContinued, notRecorded, notPublished, shellStays});

constexpr std::uint64_t publishedWithin = 1000;
constexpr std::string_view identityKey = "zel.install.id=";

const char* nameOf(UnflushedData data) {
    switch (data) {
        case UnflushedData::lost:
            return "lost";
        case UnflushedData::kept:
            return "kept";
        default:
            return "partly written";
    }
}

const char* nameOf(Aftermath aftermath) {
    switch (aftermath) {
        case Aftermath::platformRunsOn:
            return ", the platform runs on";
        case Aftermath::powerFails:
            return ", the power fails";
        case Aftermath::powerFailsWithZeros:
            return ", the power fails and leaves zeros";
        case Aftermath::powerFailsWithOldNames:
            return ", the power fails and leaves old names";
        case Aftermath::powerFailsWithoutWriteThrough:
            return ", the power fails in spite of write-through";
        case Aftermath::platformEnds:
            break;
    }
    return "";
}

// --- The disks after a run ----------------------------------------------------------------------

struct File {
    std::string content;
    bool isReadOnly = false;

    bool operator==(const File&) const = default;
};

using Files = std::map<std::wstring, File>;

// Process ids differ from run to run, and so does the number of blanks after them.
std::string withoutProcessIds(const std::string& text) {
    std::string kept;
    for (const char unit : text) {
        const bool isDigit = unit >= '0' && unit <= '9';
        const char mark = isDigit ? '#' : unit;
        const bool isRepeated = !kept.empty() && kept.back() == mark && (isDigit || unit == ' ');
        if (!isRepeated) {
            kept += mark;
        }
    }
    return kept;
}

bool hasProcessId(const std::wstring& path) {
    return path.ends_with(L".zel.lock") || path.ends_with(L".zel.main") || path.ends_with(L"\\.pipe");
}

// Every file by its path, without what differs from run to run: the logs of single starts, the content of
// shutdown.log, and process ids.
Files filesOf(const Stage& stage) {
    Files files;
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : stage.machine.tree(drive)) {
            if (reliability::isLogOfAStart(path)) {
                continue;
            }
            const std::string content = stage.machine.readFile(path).value_or("");
            File& file = files[path];
            file.content = path.ends_with(L"\\logs\\shutdown.log") ? std::string()
                           : hasProcessId(path)                    ? withoutProcessIds(content)
                                                                   : content;
            file.isReadOnly = (stage.machine.attributes(path) & platform::attributeReadOnly) != 0;
        }
    }
    return files;
}

bool has(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

struct Difference {
    std::wstring path;
    std::string what;
    bool isOfAttribute = false;  // the file is read-only and should not be, or the other way round
};

// A file that should not exist should not be read-only either.
std::vector<Difference> differencesOf(const Files& files, const Files& expected) {
    std::vector<Difference> differences;
    for (const auto& [path, file] : expected) {
        const auto found = files.find(path);
        if (found == files.end()) {
            differences.push_back({path, "there is no " + toUtf8(path)});
        } else if (found->second.content != file.content) {
            differences.push_back({path, "other content of " + toUtf8(path) + ": " + found->second.content});
        }
    }
    for (const auto& [path, file] : files) {
        const auto found = expected.find(path);
        if (found == expected.end()) {
            differences.push_back({path, "there is also " + toUtf8(path)});
        }
        if (file.isReadOnly != (found != expected.end() && found->second.isReadOnly)) {
            const char* what = file.isReadOnly ? "read-only: " : "no longer read-only: ";
            differences.push_back({path, what + toUtf8(path), true});
        }
    }
    return differences;
}

// --- The runs -----------------------------------------------------------------------------------

// The two starts after the examined one, and what is on the disks then.
struct Sequel {
    Performance next;
    Performance third;
    Files files;
};

// The copy of a read-only template that a stop left read-only, if it did.
struct ReadOnlyCopy {
    std::wstring path;
    File file;
};

class Stops : public reliability::WholeRuns {
protected:
    Stops() : WholeRuns(tally) {}

    Performance whilePlatformRuns;  // a start after the untouched scenario whose platform still runs
    Sequel afterStart;
    Sequel withoutStart;
    std::string launcherProperties;  // zellauncher.properties after the untouched scenario

    Sequel performSequel(Stage& stage) {
        Sequel sequel;
        stage.closePlatforms();
        sequel.next = perform(stage, scenario.nextArguments);
        stage.closePlatforms();
        sequel.third = perform(stage, scenario.nextArguments);
        stage.closePlatforms();
        sequel.files = filesOf(stage);
        return sequel;
    }

    void performUntouched() {
        std::unique_ptr<Stage> stage = rehearsal.stage();
        withoutStart = performSequel(*stage);
        stage = rehearsal.stage();
        untouched = perform(*stage, scenario.arguments);
        launcherProperties = readLauncherProperties(*stage);
        afterStart = performSequel(*stage);
        stage = rehearsal.stage();
        perform(*stage, scenario.arguments);
        stage->machine.runUntilIdle(publishedWithin);
        whilePlatformRuns = perform(*stage, scenario.nextArguments);
    }

    std::vector<StopRun> allStops() const {
        std::vector<StopRun> stops;
        bool isPlatformStarted = false;
        for (std::uint64_t nth = 1; nth <= untouched.operations.size(); ++nth) {
            for (const auto data : {UnflushedData::lost, UnflushedData::kept, UnflushedData::partlyWritten}) {
                stops.push_back({nth, data, Aftermath::platformEnds});
                if (isPlatformStarted) {
                    stops.push_back({nth, data, Aftermath::platformRunsOn});
                }
            }
            for (const auto aftermath :
                 {Aftermath::powerFails, Aftermath::powerFailsWithZeros, Aftermath::powerFailsWithOldNames,
                  Aftermath::powerFailsWithoutWriteThrough}) {
                stops.push_back({nth, UnflushedData::lost, aftermath});
            }
            isPlatformStarted = isPlatformStarted || untouched.operations[nth - 1].name == "createProcess";
        }
        return stops;
    }

    std::string describe(const StopRun& stop) const {
        return "stopped at " + describeOperation(stop.nth) + ", unflushed data " + nameOf(stop.data) +
               nameOf(stop.aftermath);
    }

    void performStopped(const StopRun& stop) {
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        if (stop.aftermath == Aftermath::powerFailsWithoutWriteThrough) {
            stage->machine.ignoreWriteThrough();
        }
        const Performance run = perform(*stage, scenario.arguments, [&](simulation::ProcessId launcher) {
            stage->machine.stopDead({stop.nth, launcher, stop.data});
        });
        stage->machine.stopDeadAt(0);
        ASSERT_EQ(run.end->kind, simulation::EndKind::stoppedDead);
        const Interruption interruption(untouched, stop);
        if (stop.aftermath == Aftermath::platformRunsOn) {
            judgeWhilePlatformRuns(interruption, *stage);
            return;
        }
        if (isPowerLost(stop.aftermath)) {
            stage->machine.losePower(powerLossOf(stop.aftermath));
        }
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            addFinding("loses " + toUtf8(path) + " at once");
        }
        const ReadOnlyCopy left = readOnlyCopyOf(interruption, *stage);
        const std::string propertiesLeft = readLauncherProperties(*stage);
        Sequel sequel = performSequel(*stage);
        if (isBlockedByLeftover(interruption, sequel.next)) {
            tally.countConsequence(leftoverEndsAStart);
            sequel = performSequel(*stage);
        }
        const bool isBackupReplaced =
            interruption.cutsUserProperties() && interruption.followsRenewal() && sequel.next.renewals() > 0;
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            expectAccepted(isBackupReplaced ? backupReplaced : notAccepted, "loses " + toUtf8(path));
        }
        if (interruption.cutsFile(L"\\zellauncher.properties") && endsInCutIdentity(propertiesLeft)) {
            judgeIdentities(propertiesLeft, sequel, *stage);
            return;
        }
        if (isShellLeft(interruption, sequel.next)) {
            tally.countConsequence(shellStays);
            judgeStart("the start after it", sequel.third, sequel.next, sequel.next);
            return;
        }
        judgeStart("the next start", sequel.next, afterStart.next, withoutStart.next);
        judgeStart("the start after it", sequel.third, afterStart.third, withoutStart.third);
        judgeFiles(interruption, left, sequel, *stage);
    }

    std::string readLauncherProperties(const Stage& stage) const {
        const std::wstring directory = scenario.program.substr(0, scenario.program.rfind(L'\\'));
        return stage.machine.readFile(directory + L"\\zellauncher.properties").value_or("");
    }

    // These properties are those after the untouched scenario, except that the last line, the identity, is
    // shorter or ends in zeros.
    bool endsInCutIdentity(const std::string& properties) const {
        const std::size_t line = launcherProperties.rfind(identityKey);
        if (line >= properties.size() || properties.size() > launcherProperties.size()) {
            return false;
        }
        const auto difference =
            std::mismatch(properties.begin(), properties.end(), launcherProperties.begin());
        const auto intact = static_cast<std::size_t>(difference.first - properties.begin());
        return line <= intact && properties != launcherProperties &&
               properties.find_first_not_of('\0', intact) == std::string::npos;
    }

    // The next start appends its identity to the cut line, where no start finds it; the start after it
    // appends the one that stays.
    void judgeIdentities(const std::string& propertiesLeft, const Sequel& sequel, Stage& stage) {
        tally.countConsequence(truncatedIdentity);
        const std::string properties = readLauncherProperties(stage);
        const Performance fourth = perform(stage, scenario.nextArguments);
        for (const Performance* start : {&sequel.next, &sequel.third, &fourth}) {
            if (!start->endedWell() || start->commands.size() != 1) {
                addFinding("a start after a cut identity does not start the platform", start->logLines);
                return;
            }
        }
        if (properties != propertiesLeft + lineOfIdentityIn(sequel.next) + lineOfIdentityIn(sequel.third)) {
            addFinding("other identities than those of the two starts: " + properties);
        }
        if (readLauncherProperties(stage) != properties || !fourth.didAs(sequel.third)) {
            addFinding("the identity of the third start does not stay", fourth.logLines);
        }
    }

    // The line for the identity that is part of the path of the workspace in the start's command.
    static std::string lineOfIdentityIn(const Performance& start) {
        constexpr std::wstring_view parent = L"/ZEL/";
        const std::wstring& command = start.commands.front();
        const std::size_t begin = command.find(parent) + parent.size();
        return std::string(identityKey) + toUtf8(command.substr(begin, command.find(L'/', begin) - begin)) +
               "\r\n";
    }

    // A file that a renewal had moved aside keeps the next renewal from making its copy.
    bool isBlockedByLeftover(const Interruption& interruption, const Performance& next) const {
        const auto isBlocking = [&](const wchar_t* name) {
            const std::wstring aside = scenario.workspace + L"\\" + name + L".old.deleteme";
            const std::string message = "\\" + toUtf8(name) + "'";
            return interruption.keepsMovedAside(aside) &&
                   std::any_of(next.logLines.begin(), next.logLines.end(), [&](const std::string& line) {
                       return line.starts_with("ZLNCH0113E: Can't copy file  '") && line.ends_with(message);
                   });
        };
        return next.failed() &&
               (isBlocking(L"platform.xml") || isBlocking(L"registry") || isBlocking(L"bookmarks.xml"));
    }

    // The launcher was stopped in the shell role, so the machine is no kiosk any more.
    static bool isShellLeft(const Interruption& interruption, const Performance& next) {
        return interruption.isBetweenRegistryWrites(L"Shell") && next.logonShell == L"explorer.exe" &&
               next.endedWell() && next.commands.size() == 1;
    }

    // The next start must find the running platform.
    void judgeWhilePlatformRuns(const Interruption& interruption, Stage& stage) {
        const simulation::ProcessId platform = stage.machine.startedProcesses().back().id;
        stage.machine.runUntilIdle(publishedWithin);
        const Performance next = perform(stage, scenario.nextArguments);
        if (!stage.machine.isRunning(platform)) {
            return;  // it has ended by itself
        }
        const bool isHandedOff = next.endedWell() && next.commands.empty() && next.payloads.size() == 1;
        const bool isRefusedAsUsual = next.failed() && whilePlatformRuns.failed();
        if (!isHandedOff && !isRefusedAsUsual) {
            const char* accepted = !stage.platform.publishes       ? notPublished
                                   : interruption.precedesRecord() ? notRecorded
                                                                   : notAccepted;
            expectAccepted(accepted, "the running platform is not found");
        }
    }

    void judgeStart(const std::string& which, const Performance& start, const Performance& ifDone,
                    const Performance& ifNotDone) {
        if (!start.didAs(ifDone) && !start.didAs(ifNotDone)) {
            addFinding(which + " does something else", start.logLines);
        }
    }

    void judgeFiles(const Interruption& interruption, const ReadOnlyCopy& left, const Sequel& sequel,
                    Stage& stage) {
        const std::vector<Difference> ifDone = differencesOf(sequel.files, afterStart.files);
        const std::vector<Difference> ifNotDone = differencesOf(sequel.files, withoutStart.files);
        const std::vector<Difference>& differences = ifDone.size() <= ifNotDone.size() ? ifDone : ifNotDone;
        bool hasCopies = false;
        for (const Difference& difference : differences) {
            const char* accepted = notAccepted;
            if (!difference.isOfAttribute) {
                accepted = consequenceAt(difference.path, interruption, sequel);
            } else if (isLeft(left, difference.path, sequel.files)) {
                accepted = readOnlyCopyStays;
            }
            expectAccepted(accepted, difference.what);
            hasCopies = hasCopies || accepted == copiesStay;
        }
        if (hasCopies) {
            expectBroughtBack(stage);
        }
    }

    static ReadOnlyCopy readOnlyCopyOf(const Interruption& interruption, const Stage& stage) {
        const std::wstring path = interruption.unfinishedCopy();
        const bool isReadOnly = (stage.machine.attributes(path) & platform::attributeReadOnly) != 0;
        return {path, {stage.machine.readFile(path).value_or(""), isReadOnly}};
    }

    // The file is the copy as the stop left it, in its place or in the backup of the configuration.
    static bool isLeft(const ReadOnlyCopy& copy, const std::wstring& path, const Files& files) {
        return copy.file.isReadOnly && copy.path == placeBeforeBackup(path) && copy.file == files.at(path);
    }

    static std::wstring placeBeforeBackup(std::wstring path) {
        constexpr std::wstring_view backup = L"\\.configbak\\";
        const std::size_t found = path.find(backup);
        return found == std::wstring::npos ? path : path.replace(found, backup.size(), L"\\.config\\");
    }

    // The consequence of this stop to which a difference in this file belongs.
    static const char* consequenceAt(const std::wstring& path, const Interruption& interruption,
                                     const Sequel& sequel) {
        for (const wchar_t* seed :
             {L"\\.config\\config.ini", L"\\org.eclipse.update\\platform.xml", L"\\.eclipseextension"}) {
            if (path.ends_with(seed) && interruption.cutsFile(seed)) {
                return truncatedSeed;
            }
        }
        for (const wchar_t* name : {L"registry", L"bookmarks.xml"}) {
            const std::wstring outside = L"\\" + std::wstring(name) + L".old";
            const std::wstring inside = L"\\org.eclipse.update\\" + std::wstring(name);
            if ((path.ends_with(outside) || path.ends_with(inside)) &&
                interruption.keepsCopyOutside(outside)) {
                return copiesStay;
            }
        }
        if (interruption.keepsMovedAside(path)) {
            return movedFilesStay;
        }
        const std::wstring replacement = L".new";
        if (path.ends_with(L"\\zelinstall.properties" + replacement) &&
            interruption.keepsMovedAside(path.substr(0, path.size() - replacement.size()) + L".deleteme")) {
            return movedFilesStay;  // the leftover blocks the deletion of the old file once
        }
        if (path.ends_with(L"\\shutdown.log" + replacement) &&
            interruption.keepsReplacementAside(L"\\shutdown.log")) {
            return historyStartsAgain;
        }
        const bool isOfBackup = has(path, L"\\.configbak\\") || path.ends_with(L"\\org.eclipse.update\\");
        if ((has(path, L"\\.metadata\\.plugins\\views\\") || isOfBackup) && interruption.interruptsReset()) {
            return resetNotContinued;
        }
        if (isOfBackup && interruption.cutsUserProperties() && sequel.next.renewals() > 0) {
            return backupOfRepair;
        }
        return notAccepted;
    }

    // The next renewal moves registry and bookmarks back into the configuration.
    void expectBroughtBack(Stage& stage) {
        perform(stage, {L"-resetconfig"});
        for (const Stage::UserFile& file : rehearsal.userFiles) {
            if (has(file.path, L"\\org.eclipse.update\\") &&
                stage.machine.readFile(file.path) != file.content) {
                addFinding("a reset does not bring back " + toUtf8(file.path));
            }
        }
    }
};

TEST_P(Stops, HaveOnlyAcceptedConsequences) {
    performUntouched();
    ASSERT_TRUE(untouched.end);
    performShare<StopRun>(
        allStops(), [this](const StopRun& stop) { return describe(stop); },
        [this](const StopRun& stop) { performStopped(stop); });
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Stops, ::testing::Range(std::size_t{0}, reliability::catalogue().size()),
                         reliability::nameOfScenario);

}  // namespace
