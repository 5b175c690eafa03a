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

// Several launchers of one user who come for one workspace at about the same time, the platforms that
// they start, and what must be true whatever the order in which their operations happen.
namespace schedules {

enum class Before {
    nothing,          // a user's first start
    deadPlatform,     // a record and an endpoint of a platform that is gone
    runningPlatform,  // the first plan's platform runs and has published
};

struct LauncherPlan {
    std::uint32_t arrivesAfter = 0;   // milliseconds
    std::vector<std::wstring> words;  // besides the one by which it is known
};

struct RacePlan {
    std::uint64_t seed = 1;
    Before before = Before::nothing;
    std::vector<LauncherPlan> launchers;
    std::vector<PlatformPlan>
        platforms;  // in the order of their starts; the last one stands for all further ones
    simulation::Switching switching;
    std::optional<simulation::Stall> stall;  // beside those that are drawn
};

std::string describe(const RacePlan& plan);

// Why two platforms ran at the same time although every launcher kept to its order. Anything else is a
// violation.
enum class Overlap {
    slowPlatform,    // the first one needed more than 15 seconds for its endpoint
    lateEndpoint,    // such a platform's endpoint was taken for the first one's, and the lock given up
    recordBlanked,   // a restart gave up its wait after 20 seconds and blanked the record
    rememberedName,  // a restart had read the name of an earlier platform and kept to it
    heldEndpoint,    // an old endpoint could not be removed, since a restart that stalled had it open
    tornEndpoint,    // the first one made its endpoint before it wrote the name
    consequence,     // the first one already shared the workspace, where only one endpoint stands
    notAccepted,
};
const char* nameOf(Overlap overlap);

struct RaceReport {
    std::vector<std::string> violations;
    std::map<std::string, int> outcomes;  // how the launchers ended
    std::map<Overlap, int> overlaps;
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
        std::wstring word;
        bool isRestart = false;
        std::uint64_t arrival = 0;
        std::uint64_t endTime = 0;
        bool hasEnded = false;
        simulation::ProcessEnd end;
        std::string fatalLine;      // of its log, at its end
        bool hasSharedLog = false;  // another launcher wrote to the same log while it ran
    };
    struct PlatformRecord {
        simulation::ProcessId launcher = 0;
        std::uint64_t createdOperation = 0;
        std::uint64_t createdTime = 0;
        std::uint64_t publishedOperation = never;
        std::uint64_t publishedTime = never;
        std::uint64_t endedOperation = never;
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
    void checkLaunchers();
    void checkEnd(const LauncherRecord& ended, const std::string& who);
    void checkFatalEnd(const LauncherRecord& ended, const std::string& who, int deliveries);
    void checkPlatforms();
    void checkPayloads();
    void checkRecords();
    bool isSlow(const PlatformRecord& record) const;
    bool isNoLongerWaitedFor(const PlatformRecord& record) const;
    bool foundLateEndpoint(const PlatformRecord& record) const;
    bool foundHeldEndpoint(const PlatformRecord& record) const;
    bool mayAnybodyStall() const;
    Overlap explain(const PlatformRecord& first, const PlatformRecord& second) const;
    std::uint64_t longestHonestWait() const;
    int deliveriesOf(const std::wstring& word) const;
    void fail(const std::string& text);

    RacePlan plan;
    RaceReport report;
    std::map<simulation::ProcessId, LauncherRecord> launchers;
    std::map<simulation::ProcessId, PlatformRecord> platforms;
    std::size_t platformsBegun = 0;
};

}  // namespace schedules
