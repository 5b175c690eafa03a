#include "script.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace standin {

namespace {

// Whatever a script says, no stand-in outlives the test that started it by long.
constexpr std::uint32_t longestLife = 120000;

}  // namespace

Script readScript(const std::wstring& path) {
    Script script;
    std::ifstream file{std::filesystem::path(path)};
    std::string order;
    while (file >> order) {
        if (order == "no-publish") {
            script.publishes = false;
        } else if (order == "publish-after") {
            file >> script.publishAfterMilliseconds;
        } else if (order == "no-pipe") {
            script.servesPipe = false;
        } else if (order == "blank-lines") {
            file >> script.blankLines;
        } else if (order == "semaphore") {
            std::string word;
            file >> word;
            script.semaphore = word == "denied" ? Semaphore::denied : Semaphore::open;
        } else if (order == "live") {
            file >> script.livesMilliseconds;
        } else if (order == "exit") {
            file >> script.exitCode;
        }
    }
    script.livesMilliseconds = std::min(script.livesMilliseconds, longestLife);
    return script;
}

}  // namespace standin
