#include "properties/vmarg_overrides.h"

#include <cstddef>
#include <utility>

#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

bool isOverride(const std::wstring& text) {
    return text.starts_with(L"vmarg.");
}

// The first option of a name wins.
void insertOverride(VmargOverrides& overrides, const SourcedText& argument, const char* message) {
    const std::size_t separator = argument.find(L'=');
    if (separator == std::wstring::npos) {
        logFatal(message);
    }
    overrides.emplace(argument.substr(0, separator), withSourceOf(argument, argument.substr(separator + 1)));
}

// Moves the overrides among the arguments into the map and returns the other arguments, in order.
Arguments takeOverrides(VmargOverrides& overrides, const Arguments& arguments, const char* message) {
    Arguments others;
    for (const SourcedText& argument : arguments) {
        if (isOverride(argument)) {
            insertOverride(overrides, argument, message);
        } else {
            others.push_back(argument);
        }
    }
    return others;
}

}  // namespace

Arguments collectVmArguments(VmargOverrides& overrides, const Arguments& arguments) {
    return takeOverrides(overrides, arguments, "ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
}

void collectVmWords(VmargOverrides& overrides, Arguments& arguments) {
    arguments = takeOverrides(overrides, arguments, "ZLNCH0128E: zellauncher invoked with an invalid vmarg.");
}

void collectVmProperties(VmargOverrides& overrides, PropertyList& list) {
    PropertyList kept;
    for (const PropertyEntry& entry : list) {
        if (isOverride(entry.key)) {
            overrides.emplace(entry.key, entry.value);
        } else {
            kept.push_back(entry);
        }
    }
    list = std::move(kept);
}

}  // namespace zellauncher
