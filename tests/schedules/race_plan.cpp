#include "schedules/race_plan.h"

#include <random>

namespace schedules {

namespace {

class Draw {
public:
    explicit Draw(std::uint64_t seed) : generator(seed * 0x9E3779B97F4A7C15ULL) {}

    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(generator() % end); }
    bool percent(std::uint32_t chance) { return below(100) < chance; }
    template <typename T, std::size_t N>
    T oneOf(const T (&values)[N]) {
        return values[below(N)];
    }

private:
    std::mt19937_64 generator;
};

// Most moments are whole seconds, so that sleeping processes wake up together and race.
std::uint32_t drawMoment(Draw& draw, std::uint32_t seconds) {
    const std::uint32_t extra[] = {0, 0, 0, 1, 200, 500, 999};
    return draw.below(seconds + 1) * 1000 + draw.oneOf(extra);
}

LauncherPlan drawLauncher(Draw& draw) {
    LauncherPlan plan;
    const std::uint32_t spans[] = {0, 0, 2, 20};
    const std::uint32_t span = draw.oneOf(spans);
    plan.arrivesAfter = span == 0 ? 0 : drawMoment(draw, span);
    if (draw.percent(40)) {
        plan.arguments.emplace_back(L"-debug");
    }
    if (draw.percent(10)) {
        plan.arguments.emplace_back(L"-dcommand_only");
    } else if (draw.percent(8)) {
        plan.arguments.emplace_back(L"-restart");
    } else if (draw.percent(4)) {
        plan.arguments.emplace_back(L"-zelLauncherWait");
    }
    return plan;
}

Fate drawFate(Draw& draw) {
    const Fate fates[] = {Fate::lives,    Fate::lives,          Fate::lives,       Fate::lives,
                          Fate::lives,    Fate::restarts,       Fate::restarts,    Fate::restarts,
                          Fate::restarts, Fate::restartsItself, Fate::dies,        Fate::dies,
                          Fate::dies,     Fate::neverPublishes, Fate::neverServes, Fate::freezes};
    return draw.oneOf(fates);
}

// What a supervisor sees of an end. A platform that restarts itself without an exit code or word for that is
// started again beside its restart.
void drawEnd(Draw& draw, PlatformPlan& plan) {
    constexpr PlatformPlan restarts[] = {{.exitCode = 23}, {.exitCode = 24}, {.word = "RESTART"}};
    constexpr PlatformPlan others[] = {{.exitCode = 1}, {.exitCode = 1},  {.exitCode = 1},
                                       {.exitCode = 0}, {.exitCode = 23}, {.word = "LOGOFF"}};
    const bool isRestart = plan.fate == Fate::restarts || plan.fate == Fate::restartsItself;
    const PlatformPlan end = isRestart && !draw.percent(15) ? draw.oneOf(restarts) : draw.oneOf(others);
    plan.exitCode = end.exitCode;
    plan.word = end.word;
}

PlatformPlan drawPlatform(Draw& draw) {
    PlatformPlan plan;
    plan.fate = drawFate(draw);
    const std::uint32_t publishing[] = {0, 0, 200, 1000, 3000, 14000, 14999, 16000};
    plan.publishesAfter = draw.oneOf(publishing);
    plan.livesFor = draw.percent(30) ? draw.below(3) : drawMoment(draw, draw.percent(50) ? 4 : 40);
    const std::uint32_t ends[] = {0, 0, 1, 500, 1000, 5000, 18000, 25000};
    plan.endsAfterRestart = draw.oneOf(ends);
    const std::size_t buffers[] = {512, 65536};  // less than a text, and more than all texts
    plan.pipeBuffer = draw.oneOf(buffers);
    drawEnd(draw, plan);
    return plan;
}

simulation::Switching drawSwitching(Draw& draw) {
    simulation::Switching switching;
    const std::uint32_t odds[] = {1, 2, 5, 20, 60};
    switching.oneIn = draw.oneOf(odds);
    if (draw.percent(30)) {
        const std::uint32_t stalls[] = {1500, 6000, 30000};
        switching.stallOneIn = 150;
        switching.longestStallMilliseconds = draw.oneOf(stalls);
    }
    return switching;
}

}  // namespace

RacePlan planOf(std::uint64_t seed) {
    Draw draw(seed);
    RacePlan plan;
    plan.seed = seed;
    plan.isLockdown = draw.percent(40);
    const InitialState states[] = {InitialState::nothing, InitialState::deadPlatform,
                                   InitialState::runningPlatform};
    plan.initialState = draw.oneOf(states);
    const std::uint32_t launchers = 2 + std::min(draw.below(7), draw.below(7));
    for (std::uint32_t i = 0; i < launchers; ++i) {
        plan.launchers.push_back(drawLauncher(draw));
    }
    for (int i = 0; i < 3; ++i) {
        plan.platforms.push_back(drawPlatform(draw));
    }
    if (plan.initialState == InitialState::runningPlatform &&
        plan.platforms.front().fate != Fate::neverServes && plan.platforms.front().fate != Fate::freezes) {
        plan.platforms.front().fate = draw.percent(40) ? Fate::restarts : Fate::lives;
    }
    // The fourth and later ones only live, so that restarts end, and so does the supervision.
    plan.platforms.push_back({.exitCode = 23});
    plan.switching = drawSwitching(draw);
    return plan;
}

}  // namespace schedules
