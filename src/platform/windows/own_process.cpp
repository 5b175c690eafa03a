#include "platform/own_process.h"

#include <cstdlib>

#include "platform/windows/windows_api.h"
// shellapi.h needs the headers above.
#include <shellapi.h>

namespace platform {

namespace {

constexpr UINT accessViolationStatus = 0xC0000005U;

}  // namespace

std::vector<std::wstring> commandLineArguments() {
    int count = 0;
    wchar_t** split = CommandLineToArgvW(GetCommandLineW(), &count);
    if (split == nullptr) {
        return {};
    }
    std::vector<std::wstring> arguments(split, split + count);
    LocalFree(split);
    return arguments;
}

void removeCurrentDirectoryFromLibrarySearch() {
    SetDllDirectoryW(L"");
}

std::uint32_t currentProcessId() {
    return GetCurrentProcessId();
}

void exitProcess(int status) {
    std::exit(status);
}

void endWithAccessViolation() {
    TerminateProcess(GetCurrentProcess(), accessViolationStatus);
    std::abort();  // not reached: the process is gone
}

}  // namespace platform
