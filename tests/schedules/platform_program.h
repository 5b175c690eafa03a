#pragma once

#include <cstdint>
#include <functional>
#include <string>

// A platform that lives, dies, restarts or hangs, as a program of the simulated machine.
namespace schedules {

enum class Fate {
    lives,           // publishes, lives, ends
    dies,            // ends before it has published anything
    restarts,        // as `lives`, but starts a launcher with -restart before it ends
    neverPublishes,  // lives without a sign of life
    neverServes,     // publishes, but its pipe lets nobody in, and it never ends
};

// How a platform puts its endpoint into the workspace. A good one writes the file aside and moves it
// into place, so that whoever sees the file sees the name in it.
enum class Publishing { inOneStep, inTwoSteps };

struct PlatformPlan {
    Fate fate = Fate::lives;
    std::uint32_t publishesAfter = 200;  // milliseconds
    std::uint32_t livesFor = 30000;      // after that
    std::uint32_t endsAfterRestart = 0;  // after it has started the launcher
    Publishing publishing = Publishing::inOneStep;
};

std::wstring pipeNameOf(std::uint32_t platform);

// The word by which the launcher that this platform starts is known.
std::wstring restartWordOf(std::uint32_t platform);

// Runs the plan in a process whose words hold `-data` and the workspace. `published` is called when the
// endpoint stands with its name in it.
int runPlatform(const PlatformPlan& plan, const std::wstring& launcher,
                const std::function<void()>& published);

}  // namespace schedules
