#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "contract/children.h"
#include "contract/contract.h"
#include "support/summary.h"

namespace contract {

namespace {

// Takes the long form of a path, because a test may leave names that no other form can reach.
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
        SetFileAttributesW((path + L"\\" + name).c_str(), FILE_ATTRIBUTE_NORMAL);  // clears read-only
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
    DeleteFileW(path.c_str());  // a failed test may have left a file of this name
    removeLongPath(longForm(path));
}

// An access list without entries denies everything to everyone.
HANDLE makeDeniedSemaphore(const wchar_t* name) {
    ACL permissions = {};
    SECURITY_DESCRIPTOR descriptor = {};
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};
    InitializeAcl(&permissions, sizeof(permissions), ACL_REVISION);
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, &permissions, FALSE);
    return CreateSemaphoreW(&attributes, 0, 1, name);
}

// What the clients of this process's pipe wrote.
struct ServedTexts {
    std::mutex mutex;
    std::condition_variable grown;
    std::vector<std::string> texts;
};

ServedTexts& served() {
    static ServedTexts texts;
    return texts;
}

// The pipe of this process.
HANDLE& ownPipe() {
    static HANDLE pipe = INVALID_HANDLE_VALUE;
    return pipe;
}

std::string readToTheEnd(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    DWORD count = 0;
    while (ReadFile(pipe, buffer, sizeof(buffer), &count, nullptr) != 0) {
        text.append(buffer, count);
    }
    return text;
}

// The client may have connected already, and may even have closed the pipe: its text is still there.
bool waitForClient(HANDLE pipe) {
    return ConnectNamedPipe(pipe, nullptr) != 0 || GetLastError() == ERROR_PIPE_CONNECTED ||
           GetLastError() == ERROR_NO_DATA;
}

void serveClients(HANDLE pipe) {
    while (waitForClient(pipe)) {
        std::string text = readToTheEnd(pipe);
        DisconnectNamedPipe(pipe);
        const std::lock_guard<std::mutex> lock(served().mutex);
        served().texts.push_back(std::move(text));
        served().grown.notify_all();
    }
}

}  // namespace

bool isWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::wstring childProgram() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return L"\"" + std::wstring(path) + L"\"";
}

void runOnMachine(const std::function<void(const std::wstring& scratch)>& body) {
    static int count = 0;
    static HANDLE semaphore = CreateSemaphoreW(nullptr, 0, 1, L"Global\\contract");
    static HANDLE denied = makeDeniedSemaphore(L"Global\\contract-denied");
    EXPECT_NE(semaphore, nullptr);
    EXPECT_NE(denied, nullptr);
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

// If a NUL follows the data in memory, the system stores it too. So other bytes follow.
void setScratchBytes(const std::wstring& valueName, const std::string& bytes) {
    const std::string data = bytes + std::string(2 * sizeof(wchar_t), '\xFF');
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, registryScratch, 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, valueName.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(data.data()),
                             static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

void holdSemaphore(const std::wstring& name) {
    EXPECT_NE(CreateSemaphoreW(nullptr, 0, 1, name.c_str()), nullptr);
}

void createPipe(const std::wstring& name) {
    ownPipe() = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 65536,
                                 65536, 0, nullptr);
    EXPECT_NE(ownPipe(), INVALID_HANDLE_VALUE) << GetLastError();
}

void servePipe(const std::wstring& /*name*/) {
    std::thread(serveClients, ownPipe()).detach();
}

std::vector<std::string> servedTexts(const std::wstring& /*name*/, std::size_t count) {
    std::unique_lock<std::mutex> lock(served().mutex);
    EXPECT_TRUE(served().grown.wait_for(lock, std::chrono::seconds(30),
                                        [&] { return served().texts.size() >= count; }));
    return served().texts;
}

wchar_t missingDrive() {
    const DWORD drives = GetLogicalDrives();
    for (int i = 25; i > 2; --i) {
        if ((drives & (1U << static_cast<unsigned>(i))) == 0) {
            return static_cast<wchar_t>(L'A' + i);
        }
    }
    ADD_FAILURE() << "the machine has every drive";
    return L'Q';
}

bool isUserOfThisMachine() {
    const wchar_t* domain = _wgetenv(L"USERDOMAIN");
    const wchar_t* machine = _wgetenv(L"COMPUTERNAME");
    return domain == nullptr || machine == nullptr ||
           CompareStringOrdinal(domain, -1, machine, -1, TRUE) == CSTR_EQUAL;
}

std::vector<std::wstring> spellingsOf(const std::wstring& variable) {
    std::vector<std::wstring> names;
    wchar_t* block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; *entry != L'\0'; entry += std::wstring(entry).size() + 1) {
        const std::wstring name = std::wstring(entry).substr(0, std::wstring(entry).find(L'=', 1));
        if (CompareStringOrdinal(name.c_str(), -1, variable.c_str(), -1, TRUE) == CSTR_EQUAL) {
            names.push_back(name);
        }
    }
    FreeEnvironmentStringsW(block);
    return names;
}

void takeConsole() {
    FreeConsole();
    EXPECT_NE(AllocConsole(), 0) << GetLastError();
}

bool hasConsoleWindow() {
    wchar_t name[100] = {};
    GetClassNameW(GetConsoleWindow(), name, 100);
    return std::wstring_view(name) == L"ConsoleWindowClass";
}

}  // namespace contract

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count > 2 && std::wstring_view(arguments[1]) == L"--child") {
        return contract::runAsChild();
    }
    // A child that crashes must not wait at a dialog. Processes inherit this.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    testing::InitGoogleTest(&count, arguments);
    launchertest::writeSummaryAtEnd();
    return RUN_ALL_TESTS();
}
