#include "platform/console.h"

#include "platform/windows/windows_api.h"

namespace platform {

std::wstring consoleTitle(std::size_t capacity) {
    std::wstring title(capacity, L'\0');
    const DWORD length = GetConsoleTitleW(title.data(), static_cast<DWORD>(capacity));
    title.resize(length < capacity ? length : capacity - 1);
    return title;
}

void setConsoleTitle(const std::wstring& title) {
    SetConsoleTitleW(title.c_str());
}

Window findWindow(const std::wstring& title) {
    return static_cast<Window>(reinterpret_cast<std::uintptr_t>(FindWindowW(nullptr, title.c_str())));
}

void hideWindow(Window window) {
    if (window != Window::none) {
        ShowWindow(reinterpret_cast<HWND>(static_cast<std::uintptr_t>(window)), SW_HIDE);
    }
}

}  // namespace platform
