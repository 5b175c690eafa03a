#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "scenarios/story.h"
#include "schedules/platform_program.h"
#include "simulation/machine.h"

// Several launchers of one user start for one workspace at about the same time. A race runs them and
// their platforms, and checks what must hold in whatever order their operations happen.
namespace schedules {

// What the user has before the race.
enum class InitialState {
    nothing,          // no workspace
    deadPlatform,     // the lock file and the pipe file of a platform that is gone
    runningPlatform,  // the first plan's platform runs and has published
};

struct LauncherPlan {
    std::uint32_t arrivesAfter = 0;            // milliseconds
    std::vector<std::wstring> arguments = {};  // besides its name
};

struct RacePlan {
    std::uint64_t seed = 1;
    bool isLockdown = false;  // every launcher supervises the platform that it starts
    InitialState initialState = InitialState::nothing;
    std::vector<LauncherPlan> launchers;
    std::vector<PlatformPlan> platforms;  // in the order of their starts; further ones use the last plan
    simulation::Switching switching;
    std::optional<simulation::Stall> stall;  // besides those that are drawn
};

std::string describe(const RacePlan& plan);

// Why two platforms ran at the same time although every launcher followed its steps in order.
enum class Overlap {
    slowPlatform,    // the first one needed more than 15 seconds for its pipe file
    latePipeFile,    // such a platform's pipe file was taken for the first one's, so the lock was released
    ownerBlanked,    // a restart stopped waiting after 20 seconds and blanked the lock file
    rememberedName,  // a restart had read the pipe name of an earlier platform and kept using it
    heldPipeFile,    // an old pipe file could not be removed because a stalled restart had it open
    emptyPipeFile,   // the first one created its pipe file before it wrote the name
    consequence,    // because of another case, the first one had lost its pipe file, or its place in the lock
                    // file, or had company that has restarted itself
    restartGap,     // the first one had restarted itself and not published yet
    takenForCrash,  // it had restarted itself, and its supervisor took another end for its crash
    lockTimeout,    // a supervisor did not get the lock for five minutes
    unexplained,    // none of these: a violation
};
const char* nameOf(Overlap overlap);

struct RaceReport {
    std::vector<std::string> violations;
    std::map<std::string, int> outcomes;  // how the launchers ended
    std::map<Overlap, int> overlaps;
    int endsInLogs = 0;             // logs that say that the platform has ended
    std::uint64_t longestWait = 0;  // of a launcher that ended, from its arrival, in milliseconds
};

class Race : private scenarios::Story {
public:
    explicit Race(const RacePlan& plan);

    // Only before run.
    void followChoices(const std::vector<simulation::Choice>& choices);
    void switchOnlyAt(std::function<bool(const char*, const std::wstring&)> isSwitchingOperation);

    RaceReport run();

    const simulation::Machine& theMachine() const { return machine; }
    // Every operation, every end and every file of the machine, as text.
    std::string record() const;

private:
    static constexpr std::uint64_t never = UINT64_MAX;

    struct LauncherRecord {
        std::wstring name;  // the argument that identifies it
        bool isRestart = false;
        bool hasStartedPlatform = false;
        bool isCommandOnly = false;
        std::uint64_t arrival = 0;
        std::uint64_t endTime = 0;
        std::uint64_t endedOperation = never;
        bool hasEnded = false;
        simulation::ProcessEnd end;
        std::string fatalLine;      // of its log, at its end
        std::wstring log;           // of which the line is
        bool hasSharedLog = false;  // another launcher wrote to the same log while it ran
    };
    struct PlatformRecord {
        simulation::ProcessId id = 0;
        // A launcher, or the platform that has restarted itself. 0 if it ran before the race.
        simulation::ProcessId starter = 0;
        bool isRerun = false;        // its launcher had started a platform before
        bool isWithoutLock = false;  // such a launcher had waited for the lock in vain
        std::uint64_t createdOperation = 0;
        std::uint64_t createdTime = 0;
        std::uint64_t publishedOperation = never;
        std::uint64_t publishedTime = never;
        std::uint64_t endedOperation = never;
        std::uint64_t endedTime = never;
        PlatformPlan plan;
    };
    // A launcher's choice of its role: the operations with which it got the lock and read the pipe file. If
    // it did not read that, `looked` is the one with which it found none, or `locked`.
    struct Decision {
        simulation::ProcessId process = 0;
        std::uint64_t locked = never;
        std::uint64_t looked = never;
    };

    void TestBody() override {}
    void layWorkspace();
    void startRunningPlatform();
    int runPlatformProcess();
    void noteEnd(simulation::ProcessId id);
    void noteFatalLine(simulation::ProcessId id, LauncherRecord& ended) const;
    void collectStarts();
    bool isAnyPlatformHanging() const;
    bool isSupervising(simulation::ProcessId launcherId) const;
    bool hasRestartedItself(const PlatformRecord& record) const;
    simulation::ProcessId recordedIdOf(simulation::ProcessId platformId) const;
    void checkLaunchers();
    void checkEnd(const LauncherRecord& ended, const std::string& label);
    void checkFatalEnd(const LauncherRecord& ended, const std::string& label, std::size_t deliveries);
    bool isExpectedIn(const std::wstring& log, const std::string& line) const;
    bool isExpectedOf(simulation::ProcessId id, const std::string& line) const;
    bool failsAtEndedPlatform(simulation::ProcessId id, const LauncherRecord& ended) const;
    bool findsNoPlatform(simulation::ProcessId id, const LauncherRecord& ended) const;
    bool precedesFirstStart(simulation::ProcessId id, const std::wstring& ending) const;
    void checkPlatforms();
    Overlap whyTogether(const PlatformRecord& first, const PlatformRecord& second) const;
    void checkPayloads();
    void checkLockFiles();
    void checkDesktop();
    void checkCrash(simulation::ProcessId id, const PlatformRecord& crashed);
    bool isSupervised(simulation::ProcessId id, const PlatformRecord& record) const;
    bool findsOther(const simulation::Operation& list, simulation::ProcessId id) const;
    bool hasCrashed(simulation::ProcessId id, const PlatformRecord& record) const;
    void checkLogs();
    std::vector<PlatformRecord> platformsOf(const std::vector<simulation::ProcessId>& openers) const;
    static bool hasEndedUnpublished(const PlatformRecord& record);
    bool hasEndedUnseen(const PlatformRecord& record) const;

    template <typename Predicate>
    const simulation::Operation* lastBefore(std::uint64_t index, Predicate isMeant) const;
    template <typename Predicate>
    const simulation::Operation* firstAfter(std::uint64_t index, Predicate isMeant) const;
    Decision decisionOf(simulation::ProcessId process, std::uint64_t before) const;
    const simulation::Operation* releaseAfter(const PlatformRecord& record) const;
    Overlap whyReleasedEarly(const PlatformRecord& record) const;
    Overlap whyUnguarded(const PlatformRecord& first, const Decision& decision) const;
    bool hasEmptyPipeFile(const PlatformRecord& record, std::uint64_t release) const;
    bool foundLatePipeFile(const PlatformRecord& record, std::uint64_t release) const;
    bool foundHeldPipeFile(const PlatformRecord& record) const;
    bool hasWaitedForLock(const PlatformRecord& record) const;
    bool hasLocked(const simulation::Operation& attempt) const;
    bool holdsLockAt(simulation::ProcessId process, std::uint64_t index) const;
    bool isLockedByOther(simulation::ProcessId process, std::uint64_t index) const;
    const simulation::Operation* ownerWriteBefore(std::uint64_t index) const;
    const PlatformRecord* ownerBefore(std::uint64_t index) const;
    bool isBlankBefore(std::uint64_t index) const;
    bool isBlanking(const simulation::Operation& write) const;
    bool remembersOtherName(const Decision& decision, const PlatformRecord& record) const;
    bool knowsOnlyItsOwn(const Decision& decision) const;
    bool takesForCrash(const Decision& decision, const PlatformRecord& record) const;
    const PlatformRecord* lastStartedBy(simulation::ProcessId process, std::uint64_t before) const;
    const PlatformRecord* publisherBefore(std::uint64_t index) const;
    bool hasLostPipeFile(const PlatformRecord& record, std::uint64_t index) const;
    bool isRestart(simulation::ProcessId process) const;
    bool canStall() const;
    // Why the launcher did not find this platform.
    Overlap explain(const PlatformRecord& first, const Decision& decision) const;

    std::uint64_t longestAllowedWait() const;
    std::size_t deliveriesOf(const std::wstring& name) const;
    void fail(const std::string& text);

    RacePlan plan;
    RaceReport report;
    std::vector<std::wstring> pathsBefore;  // of the workspace
    std::map<simulation::ProcessId, LauncherRecord> launchers;
    std::map<simulation::ProcessId, PlatformRecord> platforms;
    std::set<simulation::ProcessId> sharing;  // platforms that have run together with another
    std::size_t platformsBegun = 0;
};

}  // namespace schedules
