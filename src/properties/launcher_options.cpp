#include "properties/launcher_options.h"

#include <algorithm>
#include <iterator>

namespace zellauncher {

namespace {

constexpr PassThrough passed = PassThrough::asArgument;
constexpr RestartStorage stored = RestartStorage::stored;
constexpr FirstRun dropped = FirstRun::dropped;

// `-vmargs` divides the platform's arguments from the JVM's; each reader looks for it itself.
constexpr LauncherOption knownOptions[] = {
    // What the launcher does and for whom
    {L"-version", passed, stored, dropped},
    {L"-dcommand_only", passed, stored, dropped},
    {L"-maxargcnt", passed, stored, dropped},
    {L"-config", passed, stored, dropped},
    {L"-provManifest", passed, stored, dropped},
    {L"-zelLauncherWait", passed, stored, dropped},
    {L"-resetconfig", PassThrough::dropped, RestartStorage::dropped, dropped},
    {L"-restart", PassThrough::dropped, RestartStorage::dropped, dropped},
    {L"-zel_old_pid", PassThrough::droppedWithValue, RestartStorage::droppedWithValue, dropped},
    // Locations
    {L"-data", PassThrough::droppedWithValue, RestartStorage::storedAsFullPath, FirstRun::keptWithValue},
    {L"-configuration", PassThrough::droppedWithValue, stored, dropped},
    {L"-vm", PassThrough::droppedWithValue, stored, dropped},
    {L"-perfJar", passed, stored, dropped},
    // The user's choices, which win over the properties
    {L"-plugincustomization", PassThrough::asOption, stored, dropped},
    {L"-application", PassThrough::asOption, stored, dropped},
    {L"-product", PassThrough::asOption, stored, dropped},
    {L"-personality", PassThrough::asOption, stored, dropped},
    // Diagnosis
    {L"-debug", passed, stored, FirstRun::kept},
    {L"-console", passed, stored, FirstRun::kept},
    {L"-consoleLog", passed, stored, FirstRun::kept},  // taken for `-console`, with which it begins
    {L"-noExit", passed, stored, FirstRun::kept},
};

template <typename Condition>
const LauncherOption* findOption(Condition condition) {
    const auto* found = std::find_if(std::begin(knownOptions), std::end(knownOptions), condition);
    return found == std::end(knownOptions) ? nullptr : found;
}

}  // namespace

const LauncherOption* optionAt(std::size_t position, const Arguments& arguments) {
    return findOption([&](const LauncherOption& option) {
        return arguments[position] == option.name &&
               findArgumentIndex(option.name, arguments) == static_cast<int>(position);
    });
}

const LauncherOption* keptOnFirstRun(const std::wstring& argument) {
    return findOption([&](const LauncherOption& option) {
        return option.firstRun != FirstRun::dropped && argument.starts_with(option.name);
    });
}

}  // namespace zellauncher
