#pragma once

#include <cstdint>
#include <string>
#include <vector>

// This process: its command line, its id and its end.
namespace platform {

// The command line of this process, split by the system's rules (GetCommandLineW,
// CommandLineToArgvW). Argument 0 is the program as the caller wrote it.
std::vector<std::wstring> commandLineArguments();

// Removes the current directory from the search order for libraries (SetDllDirectoryW with an empty
// text), so that a library planted beside a document is not loaded.
void removeCurrentDirectoryFromLibrarySearch();

std::uint32_t currentProcessId();

// Ends the process normally: streams are flushed and closed first.
[[noreturn]] void exitProcess(int status);

// Ends the process at once with the status of an access violation (0xC0000005). Buffered stream
// data is lost, so callers flush first.
[[noreturn]] void endWithAccessViolation();

}  // namespace platform
