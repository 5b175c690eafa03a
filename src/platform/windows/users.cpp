#include "platform/users.h"

#include "platform/windows/system_directory_loading.h"
#include "platform/windows/windows_api.h"
// lmaccess.h needs the headers above.
#include <lmcons.h>

#include <lmaccess.h>

namespace platform {

namespace {

using GetLocalGroups = NET_API_STATUS(NET_API_FUNCTION*)(LPCWSTR, LPCWSTR, DWORD, DWORD, LPBYTE*, DWORD,
                                                         LPDWORD, LPDWORD);
using FreeBuffer = NET_API_STATUS(NET_API_FUNCTION*)(LPVOID);

template <typename Function>
Function networkFunction(HMODULE library, const char* name) {
    // By way of void*, because GetProcAddress returns every function as the same type.
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

PSID systemId(SecurityId id) {
    return reinterpret_cast<PSID>(static_cast<std::uintptr_t>(id));
}

LocalGroups readGroups(GetLocalGroups getGroups, FreeBuffer freeBuffer, const std::wstring& userName,
                       std::uint32_t preferredSize) {
    LocalGroups groups;
    LPBYTE buffer = nullptr;
    DWORD entriesRead = 0;
    DWORD totalEntries = 0;
    const NET_API_STATUS status = getGroups(nullptr, userName.c_str(), 0, LG_INCLUDE_INDIRECT, &buffer,
                                            preferredSize, &entriesRead, &totalEntries);
    groups.hasSucceeded = status == 0;
    groups.entriesRead = entriesRead;
    groups.totalEntries = totalEntries;
    if (buffer != nullptr) {
        const auto* entries = reinterpret_cast<const LOCALGROUP_USERS_INFO_0*>(buffer);
        for (DWORD i = 0; groups.hasSucceeded && i < entriesRead; ++i) {
            groups.names.emplace_back(entries[i].lgrui0_name);
        }
        freeBuffer(buffer);
    }
    SetLastError(status);
    return groups;
}

}  // namespace

std::optional<std::wstring> currentUserName(std::size_t capacity) {
    std::wstring buffer(capacity, L'\0');
    auto size = static_cast<DWORD>(capacity);
    if (GetUserNameW(buffer.data(), &size) == 0) {
        return std::nullopt;
    }
    return buffer.c_str();
}

SecurityId administratorsGroupId() {
    SID_IDENTIFIER_AUTHORITY authority = {{0, 0, 0, 0, 0, 5}};  // NT
    PSID id = nullptr;
    if (AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0,
                                 0, 0, 0, &id) == 0) {
        return SecurityId::none;
    }
    return static_cast<SecurityId>(reinterpret_cast<std::uintptr_t>(id));
}

void freeSecurityId(SecurityId id) {
    FreeSid(systemId(id));
}

std::optional<std::wstring> accountName(SecurityId id, std::size_t capacity) {
    if (id == SecurityId::none) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return std::nullopt;
    }
    std::wstring account(capacity, L'\0');
    std::wstring domain(capacity, L'\0');
    auto accountSize = static_cast<DWORD>(capacity);
    auto domainSize = static_cast<DWORD>(capacity);
    SID_NAME_USE use = SidTypeUnknown;
    if (LookupAccountSidW(nullptr, systemId(id), account.data(), &accountSize, domain.data(), &domainSize,
                          &use) == 0) {
        return std::nullopt;
    }
    return account.c_str();
}

LocalGroups localGroupsOfUser(const std::wstring& userName, std::uint32_t preferredSize) {
    HMODULE library = loadSystemLibrary(L"netapi32.dll");
    if (library == nullptr) {
        return {};
    }
    const auto getGroups = networkFunction<GetLocalGroups>(library, "NetUserGetLocalGroups");
    const auto freeBuffer = networkFunction<FreeBuffer>(library, "NetApiBufferFree");
    LocalGroups groups;
    if (getGroups != nullptr && freeBuffer != nullptr) {
        groups = readGroups(getGroups, freeBuffer, userName, preferredSize);
    }
    const DWORD error = GetLastError();
    FreeLibrary(library);
    SetLastError(error);
    return groups;
}

}  // namespace platform
