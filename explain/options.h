#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What the command line asks for.
namespace explain {

enum class Platform {
    none,        // none is running; the one that this start creates publishes its pipe
    running,     // one is running
    endsAtOnce,  // the one that this start creates, or the running one's pipe
    hangs,       // the same
};

// A real directory and the path at which the machine shows it.
struct Mapping {
    std::string directory;  // UTF-8, as given
    std::wstring path;      // full, with backslashes
};

struct StartOptions {
    Mapping install;
    std::vector<Mapping> maps;
    // Windows: the machine shows this computer's own drives and environment.
    bool isOwnMachine = false;

    std::vector<std::wstring> arguments;                             // without the program
    std::optional<std::wstring> program;                             // argument 0
    std::vector<std::pair<std::wstring, std::wstring>> environment;  // --env, in their order
    std::vector<std::wstring> unsetVariables;
    std::optional<std::wstring> user;
    std::optional<std::wstring> currentDirectory;
    Platform platform = Platform::none;
    bool isAdministrator = false;
    bool isKiosk = false;
    bool hasExplorer = true;
    int starts = 1;
    // For tests: the programs of these existing files, instead of runSimulatedPlatform; and what is called
    // before each operation.
    std::map<std::wstring, std::function<int()>> programs;
    std::function<void()> beforeOperation;

    bool isJson = false;
    bool hasDiff = false;
    std::optional<std::string> htmlFile;
    bool isRedacted = false;
};

}  // namespace explain
