// bench_bare_starter <program> [argument...]: starts the program and waits for nothing. The least that any
// launcher needs.
#include <windows.h>

#include <string>

int wmain(int count, wchar_t* arguments[]) {
    std::wstring command;
    for (int i = 1; i < count; ++i) {
        command += (i > 1 ? L" \"" : L"\"") + std::wstring(arguments[i]) + L"\"";
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    return CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &process) != 0
               ? 0
               : 1;
}
