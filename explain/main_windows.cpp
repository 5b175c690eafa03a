#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <vector>

#include "explain/encoding.h"
#include "explain/program.h"
#include "explain/windows_api.h"

extern "C" int wmain(int count, wchar_t** arguments) {
    // UTF-8 with plain line feeds, whatever reads it.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i) {
        texts.push_back(explain::toUtf8(arguments[i]));
    }
    const int status = explain::runProgram(texts);
    // Without the destructors of this thread's variables (simulation/thread_end.h).
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return status;
}
