#include <windows.h>

#include <cstdio>
#include <cwctype>
#include <string>

// limit SECONDS PROGRAM [ARGUMENTS]: runs a program and ends it, with everything that it has started, when
// the time is over. Its status is the program's, or 124 after that time.
namespace {

constexpr DWORD timeIsOver = 124;
constexpr int couldNotRun = 125;

// The text after the first element of a command line and the blanks after it.
const wchar_t* skipElement(const wchar_t* text) {
    bool isQuoted = false;
    for (; *text != L'\0' && (isQuoted || std::iswspace(static_cast<wint_t>(*text)) == 0); ++text) {
        isQuoted = (*text == L'"') != isQuoted;
    }
    while (std::iswspace(static_cast<wint_t>(*text)) != 0) {
        ++text;
    }
    return text;
}

int run(DWORD seconds, std::wstring command) {
    constexpr DWORD milliseconds = 1000;
    HANDLE job = CreateJobObjectW(nullptr, nullptr);
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, nullptr,
                       &start, &process) == 0) {
        std::fprintf(stderr, "error %lu: the program cannot be started\n", GetLastError());
        return couldNotRun;
    }
    // Without a job, only the program itself is ended.
    const bool isInJob = AssignProcessToJobObject(job, process.hProcess) != 0;
    ResumeThread(process.hThread);
    if (WaitForSingleObject(process.hProcess, seconds * milliseconds) == WAIT_TIMEOUT) {
        isInJob ? TerminateJobObject(job, timeIsOver) : TerminateProcess(process.hProcess, timeIsOver);
        WaitForSingleObject(process.hProcess, INFINITE);
    }
    DWORD status = couldNotRun;
    GetExitCodeProcess(process.hProcess, &status);
    return static_cast<int>(status);
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count < 3) {
        std::fputs("limit SECONDS PROGRAM [ARGUMENTS]\n", stderr);
        return couldNotRun;
    }
    // A program that cannot be loaded must not wait at a dialog. It inherits this.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    return run(std::wcstoul(arguments[1], nullptr, 10), skipElement(skipElement(GetCommandLineW())));
}
