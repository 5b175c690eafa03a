#include "platform/users.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::upperCase;

namespace {

constexpr ErrorCode errorInsufficientBuffer = 122;

std::optional<std::wstring> nameWithin(const std::wstring& name, std::size_t capacity, ErrorCode error) {
    if (error == errorSuccess && name.size() + 1 > capacity) {
        error = errorInsufficientBuffer;
    }
    if (error != errorSuccess) {
        failWith(error);
        return std::nullopt;
    }
    return name;
}

}  // namespace

std::optional<std::wstring> currentUserName(std::size_t capacity) {
    return nameWithin(machineOfSelf().userName, capacity, beginOperation("currentUserName"));
}

SecurityId administratorsGroupId() {
    if (const ErrorCode fault = beginOperation("administratorsGroupId")) {
        failWith(fault);
        return SecurityId::none;
    }
    return static_cast<SecurityId>(544);
}

void freeSecurityId(SecurityId /*id*/) {
    beginOperation("freeSecurityId");
}

std::optional<std::wstring> accountName(SecurityId id, std::size_t capacity) {
    ErrorCode error = beginOperation("accountName");
    if (error == errorSuccess && id == SecurityId::none) {
        error = errorInvalidParameter;
    }
    return nameWithin(machineOfSelf().administratorsName, capacity, error);
}

LocalGroups localGroupsOfUser(const std::wstring& userName, std::uint32_t preferredSize) {
    constexpr ErrorCode statusUserNotFound = 2221;
    LocalGroups groups;
    ErrorCode error = beginOperation("localGroupsOfUser", userName, false, {preferredSize});
    const MachineState& machine = machineOfSelf();
    if (error == errorSuccess && upperCase(userName) != upperCase(machine.userName)) {
        error = statusUserNotFound;
    }
    if (error == errorSuccess || error == errorMoreData) {
        groups.totalEntries = static_cast<std::uint32_t>(machine.userGroups.size());
    }
    if (error != errorSuccess) {
        failWith(error);
        return groups;
    }
    groups.hasSucceeded = true;
    groups.entriesRead = groups.totalEntries;
    groups.names = machine.userGroups;
    return groups;
}

}  // namespace platform
