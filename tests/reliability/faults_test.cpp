#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "reliability/scenario.h"
#include "reliability/user_files.h"

// Every operation of a start fails, one at a time.
//
// A scenario is performed once untouched, to learn which operations its launcher makes. Then it is
// performed again for each of them and for each error that the system can give there: the operation
// fails once, or it and all later ones that can fail so do. Each run has to end in one of the ways that
// `judge` knows, the user's files have to be there, and the start after it, which nothing disturbs, has
// to do what it does after an untouched one.
namespace {

using reliability::narrow;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Scenario;
using reliability::Stage;

constexpr std::uint64_t shareOfRuns = 13;  // an ordinary test run takes one in so many
constexpr int mostFindings = 10;           // that one scenario reports

struct FaultRun {
    std::uint64_t nth = 0;
    platform::ErrorCode error = 0;
    bool fromThenOn = false;
};

std::string describe(const simulation::Operation& operation) {
    return operation.name + " " + narrow(operation.argument.substr(0, 120));
}

std::string describe(const FaultRun& fault, const simulation::Operation& operation) {
    return "operation " + std::to_string(fault.nth) + " (" + describe(operation) + ") fails with " +
           std::to_string(fault.error) + (fault.fromThenOn ? ", and so on" : "");
}

// How a run ended. Any other end is a finding.
enum class Ending { untouched, otherwise, failed, waits };
std::map<Ending, std::uint64_t> endings;
std::uint64_t runs = 0;
std::map<std::string, std::uint64_t> named;

bool isRoutine(const std::string& line) {
    return line.find("ZLNCH0090E") != std::string::npos;
}

bool tellsAFailure(const std::string& line) {
    const std::size_t id = line.find("ZLNCH");
    const bool isError = id != std::string::npos && id + 9 < line.size() && line[id + 9] == 'E';
    return (isError && !isRoutine(line)) || line.find(" failed with error ") != std::string::npos ||
           line.find("ZELLauncher> ") != std::string::npos;
}

// A line of the run's logs tells a failure that no untouched run tells.
bool hasReason(const Performance& run, const Performance& untouched) {
    return std::any_of(run.logLines.begin(), run.logLines.end(), [&](const std::string& line) {
        const auto& usual = untouched.logLines;
        const bool isUsual =
            !untouched.failed() && std::find(usual.begin(), usual.end(), line) != usual.end();
        return tellsAFailure(line) && !isUsual;
    });
}

bool struck(const Performance& run, const std::function<bool(const simulation::Operation&)>& isMeant) {
    return std::any_of(run.operations.begin(), run.operations.end(),
                       [&](const simulation::Operation& operation) {
                           return operation.fault != platform::errorSuccess && isMeant(operation);
                       });
}

// The fault struck the log itself, so that nothing could be told.
bool isLogStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return (operation.argument.ends_with(L".log") && !operation.argument.ends_with(L"shutdown.log")) ||
               (operation.name == "environmentValue" && operation.argument == L"TEMP");
    });
}

// A supervised platform that ends in order without a word that can be read is started again, each time.
bool isStartedAgain(const Performance& run) {
    return run.commands.size() > 1 && struck(run, [](const simulation::Operation& operation) {
               return operation.argument.ends_with(L".exitData") || operation.argument == L"HOMEPATH";
           });
}

// A lock that somebody holds is waited for without limit, and so is a child whose end nobody can ask for.
bool isAcceptedWait(const Performance& run) {
    if (isStartedAgain(run)) {
        return true;
    }
    const simulation::Operation& last = *std::find_if(
        run.operations.rbegin(), run.operations.rend(),
        [](const simulation::Operation& operation) { return operation.fault != platform::errorSuccess; });
    return (last.name == "lockStream" && last.fault == platform::errorLockViolation) ||
           last.name == "hasProcessEnded" || last.name == "processExitCode";
}

// What docs/reliability.md names: each with its reason there.
constexpr const char* ownerCountsAsGone = "the platform that runs counts as gone";
constexpr const char* backupReplaced = "a second renewal in one start replaces the backup of the first";
constexpr const char* lineNotTakenOver = "a line of the base properties is not taken over";
constexpr const char* userCountsAsNew = "a known user counts as new, and the renewal waits";
constexpr const char* readInPart = "the user's properties are read in part";

constexpr const char* shellRoleTaken = "a machine counts as a kiosk without a desktop";
constexpr const char* shellRoleNotTaken = "an administrator at a kiosk gets the platform";
constexpr const char* shellRoleInPart = "the role of the shell is performed in part";

constexpr const char* allNames[] = {ownerCountsAsGone, backupReplaced, lineNotTakenOver,  userCountsAsNew,
                                    readInPart,        shellRoleTaken, shellRoleNotTaken, shellRoleInPart};

// The logon shell, or the list of processes, could not be read.
bool isKioskTestStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.name == "openRegistryKey" || operation.name == "queryRegistryText" ||
               operation.name == "processSnapshot" || operation.name == "firstProcess" ||
               operation.name == "nextProcess";
    });
}

// The same, or the user's groups.
bool isRoleTestStruck(const Performance& run) {
    return isKioskTestStruck(run) || struck(run, [](const simulation::Operation& operation) {
               return operation.name == "currentUserName" || operation.name == "administratorsGroupId" ||
                      operation.name == "accountName" || operation.name == "localGroupsOfUser";
           });
}

// What the role changes in the registry, or the desktop that it starts.
bool isRoleStruck(const Performance& run) {
    return isKioskTestStruck(run) || struck(run, [](const simulation::Operation& operation) {
               return operation.name == "setRegistryText" || operation.name == "setRegistryNumber" ||
                      operation.name == "createProcess";
           });
}

// The owner of the workspace could not be asked, and so counts as gone.
bool isOwnerCheckStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.argument.ends_with(L".pipe") || operation.argument.ends_with(L".zel.lock") ||
               operation.name == "openSemaphore";
    });
}

// One of the user's directories could not be looked at, and so counts as just made.
bool isDirectoryStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.name == "fileAttributes" &&
               (operation.argument.ends_with(L"ann") || operation.argument.ends_with(L"\\logs") ||
                operation.argument.ends_with(L"/.config"));
    });
}

bool isRenewedTwice(const Performance& run) {
    return std::count_if(
               run.operations.begin(), run.operations.end(), [](const simulation::Operation& operation) {
                   return operation.name == "moveFile" && operation.argument.ends_with(L"\\.config");
               }) > 1;
}

bool isLineStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.name == "writeStream" && operation.argument == L"zelinstall.properties.new";
    });
}

bool isReadingStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.name == "readStream" && operation.argument == L"zelinstall.properties";
    });
}

// A property file of which the run has only a part, other than zelinstall.properties, which is also copied.
bool isPropertyReadingStruck(const Performance& run) {
    return struck(run, [](const simulation::Operation& operation) {
        return operation.name == "readStream" &&
               (operation.argument == L"jvm.properties" || operation.argument == L"args.properties" ||
                operation.argument == L"zellauncher.properties");
    });
}

class Faults : public ::testing::TestWithParam<std::size_t> {
protected:
    Faults() : scenario(reliability::catalogue()[GetParam()]), rehearsal(scenario) {}

    const Scenario& scenario;
    Rehearsal rehearsal;
    Performance untouched;
    Performance untouchedNext;
    int findings = 0;

    void finding(const FaultRun& fault, const Performance& run, const std::string& what) {
        if (++findings > mostFindings) {
            return;
        }
        std::string logs;
        for (const std::string& line : run.logLines) {
            logs += "\n    " + line.substr(0, 200);
        }
        ADD_FAILURE() << scenario.name << ": " << describe(fault, untouched.operations[fault.nth - 1]) << ": "
                      << what << logs;
    }

    std::vector<FaultRun> allFaults() const {
        std::vector<FaultRun> faults;
        for (std::uint64_t nth = 1; nth <= untouched.operations.size(); ++nth) {
            for (const platform::ErrorCode error : simulation::errorsOf(untouched.operations[nth - 1])) {
                faults.push_back({nth, error, false});
                faults.push_back({nth, error, true});
            }
        }
        return faults;
    }

    void judge(const FaultRun& fault, const Performance& run) {
        if (!run.end) {
            ++endings[Ending::waits];
            if (!isAcceptedWait(run)) {
                finding(fault, run, "waits for ever at " + describe(run.operations.back()));
            }
            return;
        }
        if (run.didAs(untouched)) {
            ++endings[Ending::untouched];
        } else if (run.failed()) {
            ++endings[Ending::failed];
            judgeFailure(fault, run);
        } else if (run.endedWell()) {
            ++endings[Ending::otherwise];
            judgeOtherwise(fault, run);
        } else {
            finding(fault, run, "neither failed nor ended well");
        }
    }

    void judgeFailure(const FaultRun& fault, const Performance& run) {
        if (!hasReason(run, untouched) && !isLogStruck(run)) {
            finding(fault, run, "fails without a word");
        }
        if (!run.commands.empty() && untouched.commands.empty()) {
            finding(fault, run, "started a platform and failed");
        }
    }

    void judgeOtherwise(const FaultRun& fault, const Performance& run) {
        if (untouched.failed()) {
            const bool isNew = isDirectoryStruck(run);
            expectNamed(isNew || isOwnerCheckStruck(run), isNew ? userCountsAsNew : ownerCountsAsGone, fault,
                        run, "goes on where it should be refused");
        }
        if (run.tookShellRole() || untouched.tookShellRole()) {
            judgeShellRole(fault, run);
        } else if (run.commands.empty() && run.payloads.empty()) {
            finding(fault, run, "did nothing");
        }
        if (isPropertyReadingStruck(run) && !hasReason(run, untouched) && !isLogStruck(run)) {
            finding(fault, run, "goes on without properties and without a word");
        }
        if (!untouched.payloads.empty() && !run.commands.empty()) {
            expectNamed(isOwnerCheckStruck(run), ownerCountsAsGone, fault, run, "starts a second platform");
        }
    }

    void judgeShellRole(const FaultRun& fault, const Performance& run) {
        if (!untouched.tookShellRole()) {
            expectNamed(isKioskTestStruck(run), shellRoleTaken, fault, run, "takes the role of a shell");
        } else if (!run.tookShellRole()) {
            const bool isNamed = isRoleTestStruck(run) && run.commands.size() == 1;
            expectNamed(isNamed, shellRoleNotTaken, fault, run, "does not take the role of a shell");
        } else {
            expectNamed(isRoleStruck(run), shellRoleInPart, fault, run, "leaves something out of the role");
        }
    }

    void perform(const FaultRun& fault) {
        ++runs;
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        const Performance run =
            reliability::perform(*stage, scenario.words, [&](simulation::ProcessId launcher) {
                simulation::Fault injected;
                injected.nth = fault.nth;
                injected.error = fault.error;
                injected.fromThenOn = fault.fromThenOn;
                injected.process = launcher;
                injected.onlyWherePossible = true;
                stage->machine.inject(injected);
            });
        stage->machine.clearFaults();
        judge(fault, run);
        if (!run.end) {
            return;
        }
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            expectNamed(isRenewedTwice(run), backupReplaced, fault, run, "loses " + narrow(path));
        }
        stage->closePlatforms();
        const Performance next = reliability::perform(*stage, scenario.nextWords);
        if (!next.didAs(untouchedNext)) {
            judgeNext(fault, run, next, *stage);
        }
    }

    void judgeNext(const FaultRun& fault, const Performance& run, const Performance& next, Stage& stage) {
        const std::string what = "the next start does something else";
        if (run.tookShellRole()) {
            // What the role left in the registry tells the next start whether the machine is a kiosk.
            const char* name = untouched.tookShellRole() ? shellRoleInPart : shellRoleTaken;
            expectNamed(next.endedWell() && run.logonShell != untouched.logonShell, name, fault, next, what);
        } else if (isLineStruck(run)) {
            stage.closePlatforms();
            reliability::Words reset = scenario.nextWords;
            reset.emplace_back(L"-resetconfig");
            reliability::perform(stage, reset);
            stage.closePlatforms();
            const bool isRemedied = reliability::perform(stage, scenario.nextWords).didAs(untouchedNext);
            expectNamed(isRemedied, lineNotTakenOver, fault, next, what);
        } else {
            expectNamed(isReadingStruck(run) && next.endedWell(), readInPart, fault, next, what);
        }
    }

    void expectNamed(bool isNamed, const char* name, const FaultRun& fault, const Performance& run,
                     const std::string& what) {
        if (isNamed) {
            ++named[name];
        } else {
            finding(fault, run, what);
        }
    }
};

TEST_P(Faults, EndAsTold) {
    const std::unique_ptr<Stage> stage = rehearsal.stage();
    untouched = reliability::perform(*stage, scenario.words);
    stage->closePlatforms();
    untouchedNext = reliability::perform(*stage, scenario.nextWords);
    ASSERT_TRUE(untouched.end);
    std::uint64_t number = 0;
    for (const FaultRun& fault : allFaults()) {
        if (reliability::isInShare(number++, GetParam(), shareOfRuns)) {
            perform(fault);
        }
    }
    EXPECT_LE(findings, mostFindings);
}

std::string nameOf(const ::testing::TestParamInfo<std::size_t>& info) {
    return reliability::catalogue()[info.param].name;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Faults, ::testing::Range(std::size_t{0}, reliability::catalogue().size()),
                         nameOf);

class Totals : public ::testing::Environment {
public:
    void TearDown() override {
        std::printf(
            "faults: %llu runs of %zu scenarios: %llu as untouched, %llu otherwise, %llu failed, %llu wait\n",
            static_cast<unsigned long long>(runs), reliability::catalogue().size(),
            static_cast<unsigned long long>(endings[Ending::untouched]),
            static_cast<unsigned long long>(endings[Ending::otherwise]),
            static_cast<unsigned long long>(endings[Ending::failed]),
            static_cast<unsigned long long>(endings[Ending::waits]));
        for (const char* name : allNames) {
            std::printf("faults: %s: %llu\n", name, static_cast<unsigned long long>(named[name]));
            EXPECT_TRUE(!reliability::isWholeRun() || named[name] > 0) << name << " does not happen any more";
        }
    }
};

const ::testing::Environment* const totals = ::testing::AddGlobalTestEnvironment(new Totals);

}  // namespace
