#include "platform/windows/system_directory_loading.h"

// delayimp.h needs the headers above.
#include <delayimp.h>

#include <string>

namespace platform {

namespace {

using SetDirectories = BOOL(WINAPI*)(DWORD);

// System libraries load further libraries themselves; this restricts their search too. Windows 7 without
// updates has neither this function nor the flag LOAD_LIBRARY_SEARCH_SYSTEM32.
bool confineLibrarySearch() {
    const auto setDirectories = reinterpret_cast<SetDirectories>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetDefaultDllDirectories")));
    return setDirectories != nullptr && setDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32) != 0;
}

std::wstring inSystemDirectory(const wchar_t* name) {
    wchar_t directory[MAX_PATH] = {};
    GetSystemDirectoryW(directory, MAX_PATH);
    return std::wstring(directory) + L'\\' + name;
}

// Called before a delayed import loads its library.
FARPROC WINAPI onDelayedImport(unsigned step, PDelayLoadInfo import) {
    if (step != dliNotePreLoadLibrary) {
        return nullptr;
    }
    std::wstring name;
    for (const char* letter = import->szDll; *letter != '\0'; ++letter) {
        name += static_cast<wchar_t>(*letter);
    }
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(loadSystemLibrary(name.c_str())));
}

}  // namespace

HMODULE loadSystemLibrary(const wchar_t* name) {
    static const bool isConfined = confineLibrarySearch();
    return LoadLibraryExW(inSystemDirectory(name).c_str(), nullptr,
                          isConfined ? LOAD_LIBRARY_SEARCH_SYSTEM32 : LOAD_WITH_ALTERED_SEARCH_PATH);
}

}  // namespace platform

// The toolchain's code for delayed imports calls the function in this variable.
extern "C" {
PfnDliHook __pfnDliNotifyHook2 = platform::onDelayedImport;  // NOLINT(bugprone-reserved-identifier)
}
