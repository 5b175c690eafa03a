#include "explain/check/release_checks.h"

#include <algorithm>

#include "explain/check/rules.h"
#include "explain/encoding.h"

namespace explain {

namespace {

using zellauncher::PropertyEntry;

// As the launcher makes it: templates are copied, zellauncher.properties only in part.
bool isSameList(const Entries& left, const Entries& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const PropertyEntry& first, const PropertyEntry& second) {
                          return first.key == second.key && first.value == second.value;
                      });
}

const PropertyEntry* identityOf(const InstallReading& reading) {
    const Entries& list = reading.launcherProperties.entries;
    const auto found = std::find_if(
        list.begin(), list.end(), [](const PropertyEntry& entry) { return entry.key == L"zel.install.id"; });
    return found != list.end() ? &*found : nullptr;
}

}  // namespace

void checkPreviousRelease(const InstallReading& reading, const StartOptions& options,
                          const std::string& previous, Findings& findings) {
    StartOptions other = options;
    other.install.directory = previous;
    const InstallReading former = readInstall(other);
    const PropertyEntry* identity = identityOf(reading);
    const PropertyEntry* formerIdentity = identityOf(former);
    if (identity == nullptr || formerIdentity == nullptr || identity->value != formerIdentity->value) {
        return;
    }
    std::string changed;
    const auto addIf = [&](bool isChanged, const char* name) {
        changed += isChanged ? (changed.empty() ? "" : ", ") + std::string(name) : "";
    };
    addIf(!isSameList(reading.made, former.made), "zelinstall.properties");
    addIf(reading.configIni.bytes != former.configIni.bytes, "config.ini");
    addIf(reading.platformXml.bytes != former.platformXml.bytes, "platform.xml");
    if (!changed.empty()) {
        const Place place = placeOf(reading, options, identity->value.source);
        findings.push_back(
            {rules::sameIdentity,
             Severity::warning,
             toUtf8(place.file),
             place.line,
             "zel.install.id is the same as in the last release, but users would get another " + changed,
             "Users of the last release keep their old copies.",
             "Change zel.install.id with this release.",
             {}});
    }
}

}  // namespace explain
