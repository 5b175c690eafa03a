#include "platform/users.h"

#include <algorithm>

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::upperCase;

namespace {

constexpr ErrorCode errorInsufficientBuffer = 122;
constexpr ErrorCode statusUserNotFound = 2221;
constexpr std::size_t groupEntryBytes = 8;  // of each entry, besides its text

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

// How many of the names fit into a buffer of this size.
std::uint32_t countWithin(std::uint32_t size, const std::vector<std::wstring>& names) {
    std::uint32_t count = 0;
    std::size_t used = 0;
    for (const std::wstring& name : names) {
        used += groupEntryBytes + 2 * (name.size() + 1);
        count += used <= size ? 1U : 0U;
    }
    return count;
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
    LocalGroups groups;
    ErrorCode error = beginOperation("localGroupsOfUser", userName, false, {preferredSize});
    const MachineState& machine = machineOfSelf();
    if (error == errorSuccess && upperCase(userName) != upperCase(machine.userName)) {
        error = statusUserNotFound;
    }
    const std::uint32_t fitting = countWithin(preferredSize, machine.userGroups);
    if (error == errorSuccess && fitting < machine.userGroups.size()) {
        error = errorMoreData;
    }
    if (error == errorMoreData) {  // the system counts the entries only if it has read some of them
        groups.totalEntries = std::max(1U, static_cast<std::uint32_t>(machine.userGroups.size()));
        groups.entriesRead = std::min(fitting, groups.totalEntries - 1);
    }
    if (error != errorSuccess) {
        failWith(error);
        return groups;
    }
    groups.hasSucceeded = true;
    groups.totalEntries = static_cast<std::uint32_t>(machine.userGroups.size());
    groups.entriesRead = groups.totalEntries;
    groups.names = machine.userGroups;
    return groups;
}

}  // namespace platform
