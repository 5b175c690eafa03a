#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "reliability/scenario.h"
#include "reliability/user_files.h"
#include "reliability/whole_runs.h"
#include "support/faults.h"
#include "support/text.h"

// Fails every operation of a start, one at a time.
//
// The untouched scenario gives the list of the launcher's operations. The scenario is then performed
// again for each operation and each error that the system can give there: once with only this failure,
// and once with this one and every later operation that can give the same error. Each run must end in one
// of the ways that `judge` accepts and keep the user's files, and the start after it must do the same as
// after the untouched one.
namespace {

using reliability::notAccepted;
using reliability::Performance;
using reliability::Stage;
using reliability::Tally;
using simulation::Operation;

constexpr const char* asUntouched = "as untouched";
constexpr const char* otherwise = "otherwise";
constexpr const char* failed = "failed";
constexpr const char* waits = "wait";

// docs/reliability.md gives the reason for each.
constexpr const char* ownerIsGone = "a running platform is treated as gone";
constexpr const char* backupReplaced = "a second renewal replaces the first backup";
constexpr const char* lineNotCopied = "a line of the base properties is not copied";
constexpr const char* userIsNew = "a known user is treated as new and renewed later";
constexpr const char* readInPart = "the user's properties are read only in part";
constexpr const char* shellRoleTaken = "a machine is treated as a kiosk without a desktop";
constexpr const char* shellRoleNotTaken = "an administrator at a kiosk gets the platform";
constexpr const char* shellRoleInPart = "the shell role is performed only in part";

Tally& tally = Tally::add("faults", {asUntouched, otherwise, failed, waits},
                          {ownerIsGone, backupReplaced, lineNotCopied, userIsNew, readInPart, shellRoleTaken,
                           shellRoleNotTaken, shellRoleInPart});

// Almost every start logs it.
bool isRoutine(const std::string& line) {
    return line.find("ZLNCH0090E") != std::string::npos;
}

bool describesFailure(const std::string& line) {
    const std::size_t id = line.find("ZLNCH");
    const bool isError = id != std::string::npos && id + 9 < line.size() && line[id + 9] == 'E';
    return (isError && !isRoutine(line)) || line.find(" failed with error ") != std::string::npos ||
           line.find("ZELLauncher> ") != std::string::npos;
}

// The log describes a failure that the untouched scenario does not have.
bool hasReason(const Performance& run, const Performance& untouched) {
    return std::any_of(run.logLines.begin(), run.logLines.end(), [&](const std::string& line) {
        const auto& usual = untouched.logLines;
        const bool isUsual =
            !untouched.failed() && std::find(usual.begin(), usual.end(), line) != usual.end();
        return describesFailure(line) && !isUsual;
    });
}

// --- Which operations the fault has hit ---------------------------------------------------------

template <typename Predicate>
bool hasHit(const Performance& run, Predicate isMeant) {
    return std::any_of(run.operations.begin(), run.operations.end(), [&](const Operation& operation) {
        return operation.fault != platform::errorSuccess && isMeant(operation);
    });
}

bool hasHitOneOf(const Performance& run, std::initializer_list<std::string_view> names) {
    return hasHit(run, [&](const Operation& operation) {
        return std::find(names.begin(), names.end(), operation.name) != names.end();
    });
}

bool hasHitFile(const Performance& run, std::string_view name,
                std::initializer_list<std::wstring_view> files) {
    return hasHit(run, [&](const Operation& operation) {
        return operation.name == name &&
               std::find(files.begin(), files.end(), operation.argument) != files.end();
    });
}

// The log itself, so that it may lack the reason.
bool hasHitLog(const Performance& run) {
    return hasHit(run, [](const Operation& operation) {
        return reliability::isLogOfAStart(operation.argument) ||
               (operation.name == "environmentValue" && operation.argument == L"TEMP");
    });
}

bool hasHitExitData(const Performance& run) {
    return hasHit(run, [](const Operation& operation) {
        return operation.argument.ends_with(L".exitData") || operation.argument == L"HOMEPATH";
    });
}

// The logon shell or the list of processes.
bool hasHitKioskTest(const Performance& run) {
    return hasHitOneOf(
        run, {"openRegistryKey", "queryRegistryText", "processSnapshot", "firstProcess", "nextProcess"});
}

// What decides whether to take the shell role: the same, or the user's groups.
bool hasHitRoleTest(const Performance& run) {
    return hasHitKioskTest(run) ||
           hasHitOneOf(run, {"currentUserName", "administratorsGroupId", "accountName", "localGroupsOfUser"});
}

// What the shell role does: its writes to the registry and the start of the desktop.
bool hasHitRole(const Performance& run) {
    return hasHitKioskTest(run) ||
           hasHitOneOf(run, {"setRegistryText", "setRegistryNumber", "createProcess"});
}

bool hasHitOwnerTest(const Performance& run) {
    return hasHit(run, [](const Operation& operation) {
        return operation.argument.ends_with(L".pipe") || operation.argument.ends_with(L".zel.lock") ||
               operation.name == "openSemaphore";
    });
}

// One of the user's directories, which the launcher therefore treats as just created.
bool hasHitUserDirectory(const Performance& run) {
    return hasHit(run, [](const Operation& operation) {
        return operation.name == "fileAttributes" &&
               (operation.argument.ends_with(L"ann") || operation.argument.ends_with(L"\\logs") ||
                operation.argument.ends_with(L"/.config"));
    });
}

bool hasHitCopiedLine(const Performance& run) {
    return hasHitFile(run, "writeStream", {L"zelinstall.properties.new"});
}

bool hasHitUserProperties(const Performance& run) {
    return hasHitFile(run, "readStream", {L"zelinstall.properties"});
}

// Any other property file.
bool hasHitProperties(const Performance& run) {
    return hasHitFile(run, "readStream", {L"jvm.properties", L"args.properties", L"zellauncher.properties"});
}

// That the platform has died is in the log, or it is not because the launcher could not see it.
bool saysThatPlatformEnded(const Performance& run) {
    return std::any_of(run.logLines.begin(), run.logLines.end(), [](const std::string& line) {
        return line.starts_with("ZELLauncher> the platform's process ended with status ");
    });
}

bool hasHitPipeFile(const Performance& run) {
    return hasHit(run, [](const Operation& operation) { return operation.argument.ends_with(L".pipe"); });
}

// --- The runs -----------------------------------------------------------------------------------

// A run may go on without end at a lock that another process holds, at a child whose end cannot be queried,
// and with a supervised platform whose orderly ends have no readable .exitData.
bool isAcceptedWait(const Performance& run) {
    if (run.commands.size() > 1 && hasHitExitData(run)) {
        return true;
    }
    const Operation& last =
        *std::find_if(run.operations.rbegin(), run.operations.rend(),
                      [](const Operation& operation) { return operation.fault != platform::errorSuccess; });
    return (last.name == "lockStream" && last.fault == platform::errorLockViolation) ||
           last.name == "hasProcessEnded" || last.name == "processExitCode";
}

class Faults : public reliability::WholeRuns {
protected:
    Faults() : WholeRuns(tally) {}

    Performance untouchedNext;

    void performUntouched() {
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        untouched = reliability::perform(*stage, scenario.arguments);
        stage->closePlatforms();
        untouchedNext = reliability::perform(*stage, scenario.nextArguments);
    }

    std::vector<simulation::Fault> allFaults() const {
        std::vector<simulation::Fault> faults;
        for (std::uint64_t nth = 1; nth <= untouched.operations.size(); ++nth) {
            for (const platform::ErrorCode error : simulation::errorsOf(untouched.operations[nth - 1])) {
                faults.push_back(launchertest::failing("", error, L"", nth));
                faults.push_back(launchertest::failingFrom("", error, L"", nth));
            }
        }
        return faults;
    }

    std::string describe(const simulation::Fault& fault) const {
        return describeOperation(fault.nth) + (fault.fromThenOn ? " and all later ones fail" : " fails") +
               " with error " + std::to_string(fault.error);
    }

    void perform(simulation::Fault fault) {
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        const Performance run =
            reliability::perform(*stage, scenario.arguments, [&](simulation::ProcessId launcher) {
                fault.process = launcher;
                fault.onlyWherePossible = true;
                stage->machine.inject(fault);
            });
        stage->machine.clearFaults();
        judge(run);
        if (!run.end) {
            return;
        }
        judgeEndOfPlatform(run);
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            expectAccepted(run.renewals() > 1 ? backupReplaced : notAccepted,
                           "loses " + launchertest::toUtf8(path), run.logLines);
        }
        stage->closePlatforms();
        const Performance next = reliability::perform(*stage, scenario.nextArguments);
        if (!next.didAs(untouchedNext)) {
            judgeNext(run, next, *stage);
        }
    }

    void judge(const Performance& run) {
        if (!run.end) {
            tally.countEnding(waits);
            if (!isAcceptedWait(run)) {
                addFinding("waits without end at " + reliability::describe(run.operations.back()),
                           run.logLines);
            }
        } else if (run.didAs(untouched)) {
            tally.countEnding(asUntouched);
        } else if (run.failed()) {
            tally.countEnding(failed);
            judgeFailure(run);
        } else if (run.endedWell()) {
            tally.countEnding(otherwise);
            judgeOtherwise(run);
        } else {
            addFinding("neither failed nor ended with status 0", run.logLines);
        }
    }

    void judgeFailure(const Performance& run) {
        if (!hasReason(run, untouched) && !hasHitLog(run)) {
            addFinding("fails without a reason in the log", run.logLines);
        }
        if (!run.commands.empty() && untouched.commands.empty()) {
            addFinding("started a platform and failed", run.logLines);
        }
    }

    // No fault of the launcher kills a platform or saves one.
    void judgeEndOfPlatform(const Performance& run) {
        if (saysThatPlatformEnded(run) && !saysThatPlatformEnded(untouched) && !hasHitPipeFile(run)) {
            addFinding("says that a living platform has ended", run.logLines);
        }
        if (!saysThatPlatformEnded(run) && saysThatPlatformEnded(untouched) && !run.commands.empty() &&
            !hasHitLog(run) && !hasHitOneOf(run, {"hasProcessEnded", "processExitCode"})) {
            addFinding("does not say that the platform has ended", run.logLines);
        }
    }

    void judgeOtherwise(const Performance& run) {
        if (untouched.failed()) {
            const char* accepted = hasHitUserDirectory(run) ? userIsNew
                                   : hasHitOwnerTest(run)   ? ownerIsGone
                                                            : notAccepted;
            expectAccepted(accepted, "goes on although the untouched scenario fails", run.logLines);
        }
        if (run.tookShellRole() || untouched.tookShellRole()) {
            judgeShellRole(run);
        } else if (run.commands.empty() && run.payloads.empty()) {
            addFinding("neither started a platform nor sent arguments", run.logLines);
        }
        if (hasHitProperties(run) && !hasReason(run, untouched) && !hasHitLog(run)) {
            addFinding("goes on without properties and without a reason in the log", run.logLines);
        }
        if (!untouched.payloads.empty() && !run.commands.empty()) {
            expectAccepted(hasHitOwnerTest(run) ? ownerIsGone : notAccepted, "starts a second platform",
                           run.logLines);
        }
    }

    void judgeShellRole(const Performance& run) {
        if (!untouched.tookShellRole()) {
            expectAccepted(hasHitKioskTest(run) ? shellRoleTaken : notAccepted, "takes the shell role",
                           run.logLines);
        } else if (!run.tookShellRole()) {
            const bool isAccepted = hasHitRoleTest(run) && run.commands.size() == 1;
            expectAccepted(isAccepted ? shellRoleNotTaken : notAccepted, "does not take the shell role",
                           run.logLines);
        } else {
            expectAccepted(hasHitRole(run) ? shellRoleInPart : notAccepted, "omits a part of the shell role",
                           run.logLines);
        }
    }

    void judgeNext(const Performance& run, const Performance& next, Stage& stage) {
        const char* accepted = notAccepted;
        if (run.tookShellRole()) {
            // The registry that the role left decides whether the next start sees a kiosk.
            if (next.endedWell() && run.logonShell != untouched.logonShell) {
                accepted = untouched.tookShellRole() ? shellRoleInPart : shellRoleTaken;
            }
        } else if (hasHitCopiedLine(run)) {
            accepted = isCuredByReset(stage) ? lineNotCopied : notAccepted;
        } else if (hasHitUserProperties(run) && next.endedWell()) {
            accepted = readInPart;
        }
        expectAccepted(accepted, "the next start does something else", next.logLines);
    }

    bool isCuredByReset(Stage& stage) const {
        stage.closePlatforms();
        reliability::Arguments reset = scenario.nextArguments;
        reset.emplace_back(L"-resetconfig");
        reliability::perform(stage, reset);
        stage.closePlatforms();
        return reliability::perform(stage, scenario.nextArguments).didAs(untouchedNext);
    }
};

TEST_P(Faults, HaveOnlyAcceptedConsequences) {
    performUntouched();
    ASSERT_TRUE(untouched.end);
    performShare<simulation::Fault>(
        allFaults(), [this](const simulation::Fault& fault) { return describe(fault); },
        [this](const simulation::Fault& fault) { perform(fault); });
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Faults, ::testing::Range(std::size_t{0}, reliability::catalogue().size()),
                         reliability::nameOfScenario);

}  // namespace
