#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
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
    consequence,     // the first one already shared the workspace, which has only one pipe file
    restartGap,      // the first one had restarted itself and not published yet
    takenForCrash,   // it had restarted itself, and its supervisor took another end for its crash
    lockTimeout,     // a supervisor did not get the lock for five minutes
    unexplained,     // none of these: a violation
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
        bool hasEnded = false;
        simulation::ProcessEnd end;
        std::string fatalLine;      // of its log, at its end
        bool hasSharedLog = false;  // another launcher wrote to the same log while it ran
    };
    struct PlatformRecord {
        simulation::ProcessId starter = 0;  // a launcher, or the platform that has restarted itself
        bool isRerun = false;               // its launcher had started a platform before
        std::uint64_t createdOperation = 0;
        std::uint64_t createdTime = 0;
        std::uint64_t publishedOperation = never;
        std::uint64_t publishedTime = never;
        std::uint64_t endedOperation = never;
        std::uint64_t endedTime = never;
        PlatformPlan plan;
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
    void checkPlatforms();
    void checkPayloads();
    void checkLockFiles();
    void checkDesktop();
    void checkCrash(simulation::ProcessId id, const PlatformRecord& crashed);
    bool isSupervised(simulation::ProcessId id, const PlatformRecord& record) const;
    bool hasCrashed(simulation::ProcessId id, const PlatformRecord& record) const;
    void checkLogs();
    std::vector<PlatformRecord> platformsOf(const std::vector<simulation::ProcessId>& openers) const;
    static bool hasEndedUnpublished(const PlatformRecord& record);
    bool hasEndedUnseen(const PlatformRecord& record) const;
    bool isSlow(const PlatformRecord& record) const;
    bool isNoLongerWaitedFor(const PlatformRecord& record) const;
    bool foundLatePipeFile(const PlatformRecord& record) const;
    bool foundHeldPipeFile(const PlatformRecord& record) const;
    bool isStartedWithoutLock(const PlatformRecord& record) const;
    std::uint64_t lockOperation(const PlatformRecord& record) const;
    bool canStall() const;
    Overlap explain(simulation::ProcessId firstId, const PlatformRecord& second) const;
    Overlap explainRestarted(simulation::ProcessId firstId, const PlatformRecord& second) const;
    std::uint64_t longestAllowedWait() const;
    std::size_t deliveriesOf(const std::wstring& name) const;
    void fail(const std::string& text);

    RacePlan plan;
    RaceReport report;
    std::map<simulation::ProcessId, LauncherRecord> launchers;
    std::map<simulation::ProcessId, PlatformRecord> platforms;
    std::size_t platformsBegun = 0;
};

}  // namespace schedules
