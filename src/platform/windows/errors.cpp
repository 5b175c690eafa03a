#include "platform/errors.h"

#include "platform/windows/windows_api.h"

namespace platform {

ErrorCode lastError() {
    return GetLastError();
}

std::wstring errorText(ErrorCode code) {
    constexpr DWORD userDefaultLanguage = 0x400;
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code,
                       userDefaultLanguage, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    if (length == 0 || buffer == nullptr) {
        return {};
    }
    std::wstring text(buffer, length);
    LocalFree(buffer);
    return text;
}

}  // namespace platform
