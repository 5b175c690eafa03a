#include "script.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace standin {

namespace {

// So that a standin whose test has crashed ends too.
constexpr std::uint32_t longestLife = 120000;

// False if the word is neither of the two.
bool readSemaphore(std::istream& file, Semaphore& semaphore) {
    std::string word;
    file >> word;
    semaphore = word == "denied" ? Semaphore::denied : Semaphore::open;
    return word == "denied" || word == "open";
}

// False if the command is unknown or its value is missing or wrong.
bool readCommand(const std::string& command, std::istream& file, Script& script) {
    if (command == "no-publish") {
        script.publishing = Script::Publishing::never;
        return true;
    }
    if (command == "publish-on-request") {
        script.publishing = Script::Publishing::onRequest;
        return true;
    }
    if (command == "no-pipe") {
        script.servesPipe = false;
        return true;
    }
    if (command == "semaphore") {
        return readSemaphore(file, script.semaphore);
    }
    std::uint32_t* number = command == "blank-lines" ? &script.blankLines
                            : command == "live"      ? &script.livesMilliseconds
                            : command == "exit"      ? &script.exitCode
                                                     : nullptr;
    return number != nullptr && static_cast<bool>(file >> *number);
}

}  // namespace

Script readScript(const std::wstring& path) {
    Script script;
    std::ifstream file{std::filesystem::path(path)};
    std::string command;
    while (script.fault.empty() && file >> command) {
        if (!readCommand(command, file, script)) {
            script.fault = command;
        }
    }
    script.livesMilliseconds = std::min(script.livesMilliseconds, longestLife);
    return script;
}

}  // namespace standin
