#pragma once

#include <windows.h>

#include <string>

namespace bench {

// A command line of the arguments from `first` on, each in double quotes.
inline std::wstring commandLine(int count, wchar_t* arguments[], int first) {
    std::wstring command;
    for (int i = first; i < count; ++i) {
        command += (i > first ? L" \"" : L"\"") + std::wstring(arguments[i]) + L"\"";
    }
    return command;
}

// False if the process could not be created. Otherwise the caller closes both handles.
inline bool startProcess(std::wstring command, DWORD flags, PROCESS_INFORMATION& process) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    return CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, flags, nullptr, nullptr, &startup,
                          &process) != 0;
}

}  // namespace bench
