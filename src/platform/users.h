#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Who runs this process, and which local groups a user belongs to.
namespace platform {

// Name of the calling user (GetUserNameW with room for `capacity` characters). False on failure,
// with `name` left as it is.
bool currentUserName(std::size_t capacity, std::wstring& name);

enum class SecurityId : std::uintptr_t { none = 0 };

// The well-known identifier of the local Administrators group (AllocateAndInitializeSid, authority
// 5, sub-authorities 32 and 544); `none` on failure. Given back with freeSecurityId.
SecurityId administratorsGroupId();
void freeSecurityId(SecurityId id);

// The account's name in the system's language (LookupAccountSidW on this machine, with room for
// `capacity` characters for the name and as many for its domain). False on failure.
bool accountName(SecurityId id, std::size_t capacity, std::wstring& name);

struct LocalGroups {
    std::uint32_t status = 0;  // 0 on success, else the system's code
    std::uint32_t entriesRead = 0;
    std::uint32_t totalEntries = 0;
    std::vector<std::wstring> names;
};

// Names of the local groups of a user, those through other groups included (NetUserGetLocalGroups:
// this machine, level 0, flag 1, preferred size in bytes). The system's buffer is given back within.
LocalGroups localGroupsOfUser(const std::wstring& userName, std::uint32_t preferredSize);

}  // namespace platform
