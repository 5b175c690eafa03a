#pragma once

#include <cstdint>
#include <string>

namespace standin {

// Who may open the liveness semaphore: everyone or no one.
enum class Semaphore { open, denied };

// What the standin does; see README.md.
struct Script {
    enum class Publishing { atOnce, onRequest, never };
    Publishing publishing = Publishing::atOnce;
    bool servesPipe = true;
    std::uint32_t blankLines = 0;  // before the name in `.pipe`
    Semaphore semaphore = Semaphore::open;
    std::uint32_t livesMilliseconds = 20000;
    std::uint32_t exitCode = 0;
    std::string fault;  // the command that cannot be followed; empty if there is none
};

// Reads a script file, up to the first fault. A missing file gives the defaults.
Script readScript(const std::wstring& path);

}  // namespace standin
