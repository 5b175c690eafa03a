#include "liveness_semaphore.h"

#include <windows.h>

namespace standin {

namespace {

// An access control list without entries denies everything.
struct DenyEveryone {
    ACL permissions = {};
    SECURITY_DESCRIPTOR descriptor = {};
    SECURITY_ATTRIBUTES attributes = {sizeof(SECURITY_ATTRIBUTES), &descriptor, FALSE};

    DenyEveryone() {
        InitializeAcl(&permissions, sizeof(permissions), ACL_REVISION);
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, &permissions, FALSE);
    }
};

}  // namespace

void createLivenessSemaphore(const std::wstring& leaf, Semaphore kind) {
    const std::wstring name = L"Global\\" + leaf + L"sem";
    // The handle is never closed, because the semaphore must exist until the process ends.
    if (kind == Semaphore::denied) {
        DenyEveryone deny;
        CreateSemaphoreW(&deny.attributes, 0, 1, name.c_str());
    } else {
        CreateSemaphoreW(nullptr, 0, 1, name.c_str());
    }
}

}  // namespace standin
