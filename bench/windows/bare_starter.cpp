// bench_bare_starter <program> [argument...]: starts the program and waits for nothing. The least that any
// launcher needs.
#include "child_process.h"

int wmain(int count, wchar_t* arguments[]) {
    PROCESS_INFORMATION process = {};
    return bench::startProcess(bench::commandLine(count, arguments, 1), 0, process) ? 0 : 1;
}
