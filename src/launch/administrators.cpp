#include "launch/administrators.h"

#include <algorithm>

#include "foundation/log_channel.h"
#include "platform/users.h"

namespace zellauncher {

namespace {

constexpr std::size_t groupNameCapacity = 100;
constexpr std::uint32_t groupListSize = 64000;
// A system that keeps answering that there is more would be asked for ever.
constexpr int groupListAttempts = 10;

// The names of the user's groups; false when the system does not tell them.
bool readLocalGroups(const std::wstring& userName, platform::LocalGroups& groups) {
    for (int attempt = 0; attempt < groupListAttempts; ++attempt) {
        groups = platform::localGroupsOfUser(userName, groupListSize);
        if (groups.status == 0) {
            return true;
        }
        if (groups.entriesRead >= groups.totalEntries) {
            return false;
        }
    }
    logDebugF(L"ZELLauncher> the local groups of %s can not be read", userName);
    return false;
}

}  // namespace

bool isUserInAdminGroup(const std::wstring& userName) {
    const platform::SecurityId administrators = platform::administratorsGroupId();
    if (administrators == platform::SecurityId::none) {
        logDebug("ZLNCH0055E: AllocateAndInitializeSid Error for Admin group");
    }
    std::wstring groupName;
    if (!platform::accountName(administrators, groupNameCapacity, groupName)) {
        return false;
    }
    platform::LocalGroups groups;
    const bool isKnown = readLocalGroups(userName, groups);
    const bool isMember =
        isKnown && std::find(groups.names.begin(), groups.names.end(), groupName) != groups.names.end();
    if (administrators != platform::SecurityId::none) {
        platform::freeSecurityId(administrators);
    }
    return isMember;
}

}  // namespace zellauncher
