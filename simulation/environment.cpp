#include "platform/environment.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::self;
using simulation::upperCase;

std::optional<std::wstring> environmentValue(const std::wstring& name) {
    if (const ErrorCode fault = beginOperation("environmentValue", name)) {
        failWith(fault);
        return std::nullopt;
    }
    const auto found = self().environment.find(upperCase(name));
    if (found == self().environment.end()) {
        failWith(203);
        return std::nullopt;
    }
    return found->second.second;
}

bool putEnvironmentText(const std::wstring& assignment) {
    if (const ErrorCode fault = beginOperation("putEnvironmentText", assignment)) {
        return failWith(fault);
    }
    const std::size_t separator = assignment.find(L'=');
    if (separator == std::wstring::npos || separator == 0) {
        return failWith(errorInvalidParameter);
    }
    const std::wstring name = assignment.substr(0, separator);
    const std::wstring value = assignment.substr(separator + 1);
    if (value.empty()) {
        self().environment.erase(upperCase(name));
    } else {
        // A variable that exists keeps the case of its name.
        const auto variable = self().environment.try_emplace(upperCase(name), name, L"").first;
        variable->second.second = value;
    }
    return true;
}

}  // namespace platform
