#include "records.h"

#include <windows.h>
// shellapi.h needs the header above.
#include <shellapi.h>

#include <filesystem>
#include <fstream>

namespace standin {

namespace {

std::string utf8(const std::wstring& text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                           nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(), length, nullptr,
                        nullptr);
    return bytes;
}

bool isFileHeld() {
    return GetLastError() == ERROR_ACCESS_DENIED || GetLastError() == ERROR_SHARING_VIOLATION;
}

template <typename Operation>
void repeatWhileFileIsHeld(Operation operation) {
    constexpr int attempts = 200;
    constexpr DWORD pauseMilliseconds = 25;
    for (int i = 0; i < attempts && !operation() && isFileHeld(); ++i) {
        Sleep(pauseMilliseconds);
    }
}

std::string argumentLines() {
    std::string lines;
    for (const std::wstring& argument : commandLineArguments()) {
        lines += utf8(argument) + "\n";
    }
    return lines;
}

std::string environmentLines() {
    std::string lines;
    wchar_t* block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; *entry != L'\0'; entry += std::wstring(entry).size() + 1) {
        lines += utf8(entry) + "\n";
    }
    FreeEnvironmentStringsW(block);
    return lines;
}

bool hasConsole() {
    DWORD processId = 0;
    return GetConsoleProcessList(&processId, 1) != 0;
}

std::string startLines() {
    STARTUPINFOW start = {};
    GetStartupInfoW(&start);
    char flags[16] = {};
    snprintf(flags, sizeof(flags), "%lx", start.dwFlags);
    return "pid=" + std::to_string(GetCurrentProcessId()) + "\nflags=" + flags +
           "\ntitle=" + utf8(start.lpTitle != nullptr ? start.lpTitle : L"") +
           "\nconsole=" + (hasConsole() ? "yes" : "no") + "\n";
}

}  // namespace

std::vector<std::wstring> commandLineArguments() {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> list;
    if (arguments != nullptr) {
        list.assign(arguments, arguments + count);
    }
    LocalFree(arguments);
    return list;
}

void writeStartRecords(const std::wstring& directory) {
    std::error_code ignored;
    std::filesystem::create_directories(directory, ignored);
    writeRecord(directory, L"command.txt", utf8(GetCommandLineW()));
    writeRecord(directory, L"arguments.txt", argumentLines());
    writeRecord(directory, L"environment.txt", environmentLines());
    writeRecord(directory, L"start.txt", startLines());
}

void writeRecord(const std::wstring& directory, const std::wstring& name, const std::string& bytes) {
    const std::wstring path = directory + L"\\" + name;
    const std::wstring part = path + L".part";
    {
        std::ofstream file(std::filesystem::path(part), std::ios::binary);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    repeatWhileFileIsHeld(
        [&] { return MoveFileExW(part.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0; });
}

void removeRecord(const std::wstring& directory, const std::wstring& name) {
    const std::wstring path = directory + L"\\" + name;
    repeatWhileFileIsHeld([&] { return DeleteFileW(path.c_str()) != 0; });
}

}  // namespace standin
