// Starts a program with arguments as a shortcut does, from a process without a console, and looks for a
// console of the program until it ends. The exit status is hasConsole, hasNone or notStarted. A file
// <request> that appears meanwhile is deleted after the next look.
//
//   console_probe <request> <program> <arguments>...

#include <windows.h>

#include <string>

namespace {

constexpr int hasNone = 10;
constexpr int hasConsole = 11;
constexpr int notStarted = 12;

constexpr DWORD pauseMilliseconds = 10;

bool attachTo(DWORD processId) {
    const bool isAttached = AttachConsole(processId) != 0;
    if (isAttached) {
        FreeConsole();
    }
    return isAttached;
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    FreeConsole();
    std::wstring command;
    for (int i = 2; i < count; ++i) {
        command += L"\"" + std::wstring(arguments[i]) + L"\" ";
    }
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                       &process) == 0) {
        return notStarted;
    }
    int result = hasNone;
    while (WaitForSingleObject(process.hProcess, pauseMilliseconds) == WAIT_TIMEOUT) {
        const bool isRequested = GetFileAttributesW(arguments[1]) != INVALID_FILE_ATTRIBUTES;
        if (attachTo(process.dwProcessId)) {
            result = hasConsole;
        }
        if (isRequested) {
            DeleteFileW(arguments[1]);
        }
    }
    return result;
}
