#pragma once

#include <cstdint>
#include <functional>
#include <string>

// A platform that lives, dies, restarts or hangs, as a program of the simulated machine.
namespace schedules {

enum class Fate {
    lives,           // publishes, lives, ends
    dies,            // ends before it publishes
    restarts,        // as `lives`, but starts a launcher with -restart before it ends
    restartsItself,  // as `lives`, but starts its own program with its arguments before it ends
    neverPublishes,  // lives without semaphore, pipe and pipe file
    neverServes,     // publishes, but accepts no client on its pipe and never ends
    freezes,         // publishes, accepts one client on its pipe and reads nothing, ends
};

// How a platform creates its pipe file. With byRename it writes the file under another name first, so a
// reader of `.pipe` always finds the pipe's name in it.
enum class Publishing { byRename, inPlace };

struct PlatformPlan {
    Fate fate = Fate::lives;
    std::uint32_t publishesAfter = 200;  // milliseconds
    std::uint32_t livesFor = 30000;      // after that
    std::uint32_t endsAfterRestart = 0;  // after it has started the launcher or itself
    std::size_t pipeBuffer = 512;        // of one that freezes; a text has more
    Publishing publishing = Publishing::byRename;
    // What its supervisor on a locked-down desktop sees: the exit code, and a word in .exitData if any.
    int exitCode = 0;
    const char* word = nullptr;
};

std::wstring pipeNameOf(std::uint32_t platform);

// The argument that identifies the launcher which this platform starts.
std::wstring restartNameOf(std::uint32_t platform);

// Runs the plan in a process whose arguments contain `-data <workspace>`. Calls `published` once the
// pipe file with the name in it exists.
int runPlatform(const PlatformPlan& plan, const std::wstring& launcher,
                const std::function<void()>& published);

}  // namespace schedules
