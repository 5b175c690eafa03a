#include "launch/first_run_arguments.h"

#include <cstddef>
#include <set>
#include <string>

#include "configuration/first_run_decision.h"
#include "javalaunch/argument_expansion.h"
#include "properties/launcher_options.h"

namespace zellauncher {

namespace {

// `-config initial` and the first occurrence of each option that is kept on a first run.
Arguments initialCommandLine(const Arguments& rawArguments) {
    Arguments kept = {rawArguments.empty() ? SourcedText() : rawArguments[0], L"-config", L"initial"};
    std::set<const LauncherOption*> taken;
    for (std::size_t i = 1; i < rawArguments.size(); ++i) {
        const LauncherOption* option = keptOnFirstRun(rawArguments[i]);
        if (option == nullptr || !taken.insert(option).second) {
            continue;
        }
        kept.push_back(rawArguments[i]);
        if (option->firstRun == FirstRun::keptWithValue && i + 1 < rawArguments.size()) {
            kept.push_back(rawArguments[++i]);
        }
    }
    return kept;
}

}  // namespace

void applyInitialConfiguration(LaunchContext& context) {
    if (!readInitialConfiguration(context.zelLauncherArray, context.zelInstallArray)) {
        return;
    }
    context.effectiveArgs =
        expandConfiguredArguments(initialCommandLine(context.rawArguments), context.zelLauncherArray,
                                  context.vmargOverrides, context.zelHome);
}

}  // namespace zellauncher
