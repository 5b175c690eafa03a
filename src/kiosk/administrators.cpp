#include "kiosk/administrators.h"

#include <algorithm>
#include <optional>

#include "foundation/log_channel.h"
#include "platform/users.h"

namespace zellauncher {

namespace {

constexpr std::size_t groupNameCapacity = 100;
constexpr std::uint32_t groupListSize = 64000;
// Bounds the repetition in case the system keeps reporting more entries.
constexpr int groupListAttempts = 10;

// Reads the user's groups. False if the system does not report them.
bool readLocalGroups(const std::wstring& userName, platform::LocalGroups& groups) {
    for (int attempt = 0; attempt < groupListAttempts; ++attempt) {
        groups = platform::localGroupsOfUser(userName, groupListSize);
        if (groups.hasSucceeded) {
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
    const std::optional<std::wstring> groupName = platform::accountName(administrators, groupNameCapacity);
    if (!groupName) {
        return false;
    }
    platform::LocalGroups groups;
    const bool isKnown = readLocalGroups(userName, groups);
    const bool isMember =
        isKnown && std::find(groups.names.begin(), groups.names.end(), *groupName) != groups.names.end();
    if (administrators != platform::SecurityId::none) {
        platform::freeSecurityId(administrators);
    }
    return isMember;
}

}  // namespace zellauncher
