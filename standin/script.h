#pragma once

#include <cstdint>
#include <string>

namespace standin {

// What others see of the semaphore, the platform's sign of life.
enum class Semaphore { open, denied };

// What the stand-in is to do; see README.md.
struct Script {
    std::uint32_t publishAfterMilliseconds = 0;
    bool publishes = true;
    bool servesPipe = true;
    std::uint32_t blankLines = 0;  // in front of the name in `.pipe`
    Semaphore semaphore = Semaphore::open;
    std::uint32_t livesMilliseconds = 20000;
    std::uint32_t exitCode = 0;
};

// Reads the orders of a file; an absent file gives the defaults, an unknown order is passed over.
Script readScript(const std::wstring& path);

}  // namespace standin
