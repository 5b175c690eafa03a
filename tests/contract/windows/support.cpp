#include <windows.h>

#include <cstdlib>
#include <filesystem>

#include "contract/children.h"
#include "contract/contract.h"

namespace contract {

namespace {

// In the long form, since a case may leave paths behind that have no other.
void removeLongPath(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW((path + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return;
    }
    do {
        const std::wstring name = entry.cFileName;
        if (name == L"." || name == L"..") {
            continue;
        }
        SetFileAttributesW((path + L"\\" + name).c_str(), FILE_ATTRIBUTE_NORMAL);  // it may be read-only
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            removeLongPath(path + L"\\" + name);
        } else {
            DeleteFileW((path + L"\\" + name).c_str());
        }
    } while (FindNextFileW(search, &entry) != 0);
    FindClose(search);
    RemoveDirectoryW(path.c_str());
}

void removeTree(const std::wstring& path) {
    removeLongPath(L"\\\\?\\" + path);
}

}  // namespace

bool isWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::wstring childCommand(std::uint32_t code, std::uint32_t milliseconds) {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return L"\"" + std::wstring(path) + L"\" --child " + std::to_wstring(code) + L" " +
           std::to_wstring(milliseconds);
}

void runOnMachine(const std::function<void(const std::wstring& scratch)>& body) {
    static int count = 0;
    static HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 1, L"Global\\contract");
    EXPECT_NE(semaphore, nullptr);
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    const std::wstring scratch = std::wstring(temp) + L"zl-contract-" +
                                 std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    removeTree(scratch);
    std::filesystem::create_directories(scratch);
    HKEY registry = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, registryScratch, 0, nullptr, 0, KEY_READ, nullptr, &registry,
                              nullptr),
              ERROR_SUCCESS);
    RegCloseKey(registry);
    body(scratch);
    RegDeleteKeyW(HKEY_CURRENT_USER, registryScratch);
    removeTree(scratch);
}

}  // namespace contract

extern "C" int wmain(int count, wchar_t** words) {
    if (count == 4 && std::wstring_view(words[1]) == L"--child") {
        Sleep(std::wcstoul(words[3], nullptr, 10));
        return static_cast<int>(std::wcstoul(words[2], nullptr, 10));
    }
    if (count > 2 && std::wstring_view(words[1]) == L"--as") {
        return contract::runChildAs();
    }
    testing::InitGoogleTest(&count, words);
    return RUN_ALL_TESTS();
}
