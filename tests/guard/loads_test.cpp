#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "endtoend.h"
#include "guard/counts.h"
#include "guard/program_file.h"
#include "support/process_start.h"
#include "support/text.h"

// The libraries that a start loads: those that the program imports, and those that it loads late.
namespace {

namespace fs = std::filesystem;

using Names = std::set<std::wstring>;

std::wstring nameOf(HANDLE file) {
    wchar_t path[MAX_PATH] = {};
    GetFinalPathNameByHandleW(file, path, MAX_PATH, 0);
    return fs::path(path).filename().wstring();
}

// Runs the program to its end as its debugger, which is notified of each library.
Names librariesLoadedBy(std::wstring command) {
    Names names;
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    const std::uint32_t error = launchertest::startProcess([&]() -> std::uint32_t {
        const BOOL isStarted = CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE,
                                              DEBUG_ONLY_THIS_PROCESS, nullptr, nullptr, &start, &process);
        return isStarted != 0 ? 0 : GetLastError();
    });
    if (error != 0) {
        ADD_FAILURE() << "the launcher is not started: " << error;
        return names;
    }
    constexpr DWORD patienceMilliseconds = 60'000;
    DEBUG_EVENT event = {};
    while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT) {
        if (WaitForDebugEvent(&event, patienceMilliseconds) == 0) {
            ADD_FAILURE() << "the launcher does not end";
            TerminateProcess(process.hProcess, 1);
            break;
        }
        if (event.dwDebugEventCode == LOAD_DLL_DEBUG_EVENT) {
            names.insert(nameOf(event.u.LoadDll.hFile));
            CloseHandle(event.u.LoadDll.hFile);
        }
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, DBG_CONTINUE);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return names;
}

class Loads : public endtoend::EndToEnd {
protected:
    // The libraries of this start that the launcher names. Which others these load is the system's business.
    std::uint64_t start(const std::wstring& arguments) {
        const Names loaded = librariesLoadedBy(L"\"" + launcherPath().wstring() + L"\"" + arguments);
        const guard::ProgramFile program(launchertest::toUtf8(launcherPath().wstring()));
        return static_cast<std::uint64_t>(std::count_if(
            loaded.begin(), loaded.end(),
            [&](const std::wstring& name) { return program.contains(launchertest::toUtf8(name)); }));
    }
};

TEST_F(Loads, NoStartLoadsMoreLibraries) {
    layOut();
    const fs::path directory = root / L"workspace";
    const std::wstring data = L" -data \"" + directory.wstring() + L"\"";
    guard::Counts counts;
    counts["version_query"] = start(L" -version");
    counts["first_start"] = start(data);
    counts["hand_off"] = start(data + L" x");
    stopPlatform(directory);
    counts["later_start"] = start(data);
    stopPlatform(directory);
    guard::expectNoGrowth(GUARD_DIRECTORY "/loads.txt", counts);
}

}  // namespace
