#include "platform/desktop.h"

#include "platform/windows/system_libraries.h"
#include "platform/windows/windows_api.h"

namespace platform {

namespace {

using SetText = HRESULT(WINAPI*)(PCWSTR);

HMODULE systemLibrary(Library library) {
    return reinterpret_cast<HMODULE>(static_cast<std::uintptr_t>(library));
}

}  // namespace

bool systemVersion(std::uint32_t& major, std::uint32_t& minor) {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    static_assert(sizeof(version) == 276);
    if (GetVersionExW(&version) == 0) {
        return false;
    }
    major = version.dwMajorVersion;
    minor = version.dwMinorVersion;
    return true;
}

Library loadLibrary(const std::wstring& name) {
    return static_cast<Library>(reinterpret_cast<std::uintptr_t>(loadSystemLibrary(name.c_str())));
}

TextFunction textFunction(Library library, const std::string& name) {
    return static_cast<TextFunction>(
        reinterpret_cast<std::uintptr_t>(GetProcAddress(systemLibrary(library), name.c_str())));
}

void callTextFunction(TextFunction function, const std::wstring& text) {
    if (function != TextFunction::none) {
        reinterpret_cast<SetText>(static_cast<std::uintptr_t>(function))(text.c_str());
    }
}

void freeLibrary(Library library) {
    FreeLibrary(systemLibrary(library));
}

}  // namespace platform
