#include "script.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace standin {

namespace {

// So that a standin whose test has crashed ends too.
constexpr std::uint32_t longestLife = 120000;

}  // namespace

Script readScript(const std::wstring& path) {
    Script script;
    std::ifstream file{std::filesystem::path(path)};
    std::string command;
    while (file >> command) {
        if (command == "no-publish") {
            script.publishing = Script::Publishing::never;
        } else if (command == "publish-on-request") {
            script.publishing = Script::Publishing::onRequest;
        } else if (command == "no-pipe") {
            script.servesPipe = false;
        } else if (command == "blank-lines") {
            file >> script.blankLines;
        } else if (command == "semaphore") {
            std::string word;
            file >> word;
            script.semaphore = word == "denied" ? Semaphore::denied : Semaphore::open;
        } else if (command == "live") {
            file >> script.livesMilliseconds;
        } else if (command == "exit") {
            file >> script.exitCode;
        }
    }
    script.livesMilliseconds = std::min(script.livesMilliseconds, longestLife);
    return script;
}

}  // namespace standin
