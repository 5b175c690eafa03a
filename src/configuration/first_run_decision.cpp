#include "configuration/first_run_decision.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

using Entries = std::vector<PropertyEntry>;

bool isKindWithFirstRun() {
    return InstallConfiguration == InstallConfigurationKind::user ||
           InstallConfiguration == InstallConfigurationKind::multiuser ||
           InstallConfiguration == InstallConfigurationKind::userpb;
}

// Number of keys and values before the first empty value.
std::size_t countTexts(const Entries& entries) {
    std::size_t count = 0;
    for (const PropertyEntry& entry : entries) {
        if (entry.value.empty()) {
            return count + 1;
        }
        count += 2;
    }
    return count;
}

// The entries in the order of their numbers. Required oddity: only the beginning of the key is compared,
// so `config.initial.10` can be taken for number 1.
Entries orderByNumber(const Entries& entries, std::size_t pairs) {
    Entries ordered;
    for (std::size_t n = 1; n <= pairs; ++n) {
        const std::wstring name = L"config.initial" + formatText(L".%d", {static_cast<std::int64_t>(n)});
        const auto found = std::find_if(entries.begin(), entries.end(), [&](const PropertyEntry& entry) {
            return entry.key.starts_with(name);
        });
        if (found == entries.end()) {
            logFatalF("ZLNCH0114E: Invalid config.initial arguments. %ls not found", name);
        }
        ordered.push_back(*found);
    }
    return ordered;
}

// The property that records the first run: the value after the first `-initialCompleteFlag`.
const std::wstring& flagName(const Entries& ordered) {
    const auto flag = std::find_if(ordered.begin(), ordered.end(), [](const PropertyEntry& entry) {
        return entry.value.starts_with(L"-initialCompleteFlag");
    });
    if (std::distance(flag, ordered.end()) < 2) {
        logFatal("ZLNCH0115E: Invalid config.initial arguments. -initialCompleteFlag not found");
    }
    return std::next(flag)->value;
}

}  // namespace

bool readInitialConfiguration(const PropertyList& zelLauncherArray, const PropertyList& zelInstallArray) {
    if (!isKindWithFirstRun()) {
        return false;
    }
    const Entries entries = findProperties(L"config.initial.", zelLauncherArray);
    const std::size_t texts = countTexts(entries);
    if (texts == 0) {
        return false;
    }
    const Entries ordered = orderByNumber(entries, texts / 2);
    const std::wstring* done = lookupProperty(flagName(ordered), zelInstallArray);
    return done == nullptr || !done->starts_with(L"true");
}

}  // namespace zellauncher
