#include "sign_of_life.h"

#include <windows.h>

namespace standin {

namespace {

// A list of permissions with no entry in it permits nothing to anybody.
struct NobodyMayOpen {
    ACL permissions = {};
    SECURITY_DESCRIPTOR descriptor = {};
    SECURITY_ATTRIBUTES attributes = {sizeof(SECURITY_ATTRIBUTES), &descriptor, FALSE};

    NobodyMayOpen() {
        InitializeAcl(&permissions, sizeof(permissions), ACL_REVISION);
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, &permissions, FALSE);
    }
};

}  // namespace

void createSignOfLife(const std::wstring& leaf, Semaphore kind) {
    const std::wstring name = L"Global\\" + leaf + L"sem";
    // The handles are kept to the end of the process: the semaphore goes with the last of them.
    if (kind == Semaphore::denied) {
        NobodyMayOpen nobody;
        CreateSemaphoreW(&nobody.attributes, 0, 1, name.c_str());
    } else {
        CreateSemaphoreW(nullptr, 0, 1, name.c_str());
    }
}

}  // namespace standin
