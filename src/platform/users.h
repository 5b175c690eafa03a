#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The user who runs this process, and the local groups of users.
namespace platform {

// Name of the calling user (GetUserNameW with a buffer of `capacity` characters).
std::optional<std::wstring> currentUserName(std::size_t capacity);

enum class SecurityId : std::uintptr_t { none = 0 };

// The well-known id of the local Administrators group (AllocateAndInitializeSid, authority 5,
// sub-authorities 32 and 544). Free it with freeSecurityId.
SecurityId administratorsGroupId();
void freeSecurityId(SecurityId id);

// The account's name in the system's language (LookupAccountSidW on this machine, with buffers of
// `capacity` characters for the name and the domain).
std::optional<std::wstring> accountName(SecurityId id, std::size_t capacity);

struct LocalGroups {
    bool hasSucceeded = false;
    // As the system reports them, also on failure: fewer are read than there are only if the list did not
    // fit (errorMoreData).
    std::uint32_t entriesRead = 0;
    std::uint32_t totalEntries = 0;
    std::vector<std::wstring> names;  // empty on failure
};

// Names of the user's local groups, including indirect membership (NetUserGetLocalGroups on this
// machine, level 0, flag 1, preferred size in bytes).
LocalGroups localGroupsOfUser(const std::wstring& userName, std::uint32_t preferredSize);

}  // namespace platform
