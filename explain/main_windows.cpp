#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <vector>

#include "explain/encoding.h"
#include "explain/program.h"
#include "explain/windows_api.h"
// shellapi.h needs the header above.
#include <shellapi.h>

namespace {

// Splits the command line as the launcher does (src/platform/windows/own_process.cpp). The C runtime treats
// doubled quotes differently, so that the arguments after `--` would not be those of the start.
std::vector<std::string> ownArguments() {
    std::vector<std::string> texts;
    int count = 0;
    wchar_t** split = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        texts.push_back(explain::toUtf8(split[i]));
    }
    LocalFree(split);
    return texts;
}

}  // namespace

extern "C" int wmain() {
    // UTF-8 with plain line feeds, whatever reads it.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    const int status = explain::runProgram(ownArguments());
    // Without the destructors of this thread's variables (simulation/thread_end.h).
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return status;
}
