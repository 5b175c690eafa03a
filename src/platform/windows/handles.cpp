#include "platform/handles.h"

#include "platform/windows/windows_api.h"

namespace platform {

void closeHandle(Handle handle) {
    if (handle != Handle::none) {
        CloseHandle(systemHandle(handle));
    }
}

}  // namespace platform
