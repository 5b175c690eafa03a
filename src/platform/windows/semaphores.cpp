#include "platform/semaphores.h"

#include "platform/windows/windows_api.h"

namespace platform {

Handle openSemaphore(const std::wstring& name, std::uint32_t access) {
    return interfaceHandle(OpenSemaphoreW(access, FALSE, name.c_str()));
}

}  // namespace platform
