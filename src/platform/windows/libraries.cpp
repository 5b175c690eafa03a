#include "platform/libraries.h"

#include "platform/windows/system_directory_loading.h"
#include "platform/windows/windows_api.h"

namespace platform {

namespace {

using SetText = HRESULT(WINAPI*)(PCWSTR);

HMODULE systemLibrary(Library library) {
    return reinterpret_cast<HMODULE>(static_cast<std::uintptr_t>(library));
}

}  // namespace

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
