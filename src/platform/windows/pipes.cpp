#include "platform/pipes.h"

#include "platform/windows/windows_api.h"

namespace platform {

bool waitNamedPipe(const std::wstring& name, std::uint32_t milliseconds) {
    return WaitNamedPipeW(name.c_str(), milliseconds) != 0;
}

bool writePipe(Handle pipe, const std::string& bytes) {
    DWORD written = 0;
    return WriteFile(systemHandle(pipe), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) !=
           0;
}

}  // namespace platform
