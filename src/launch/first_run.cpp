#include "launch/first_run.h"

#include <cstddef>
#include <string_view>

#include "configuration/initial_configuration.h"
#include "javalaunch/argument_expansion.h"

namespace zellauncher {

namespace {

struct KeptOption {
    std::wstring_view prefix;
    bool hasValue;
    bool isTaken = false;
};

// The first word that begins with each kept option, in the order of the command line.
Arguments initialCommandLine(const Arguments& rawArguments) {
    KeptOption keptOptions[] = {
        {L"-data", true}, {L"-debug", false}, {L"-console", false}, {L"-noExit", false}};
    Arguments words = {rawArguments.empty() ? std::wstring() : rawArguments[0], L"-config", L"initial"};
    for (std::size_t i = 1; i < rawArguments.size(); ++i) {
        for (KeptOption& option : keptOptions) {
            if (option.isTaken || !rawArguments[i].starts_with(option.prefix)) {
                continue;
            }
            option.isTaken = true;
            words.push_back(rawArguments[i]);
            if (option.hasValue && i + 1 < rawArguments.size()) {
                words.push_back(rawArguments[++i]);
            }
            break;
        }
    }
    return words;
}

}  // namespace

void applyInitialConfiguration(LaunchContext& context) {
    if (!readInitialConfiguration(context.zelLauncherArray, context.zelInstallArray)) {
        return;
    }
    expandConfiguredArguments(context.effectiveArgs, initialCommandLine(context.rawArguments),
                              context.zelLauncherArray, context.vmargOverrides, context.zelHome);
}

}  // namespace zellauncher
