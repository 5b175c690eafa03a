#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What a process knows of itself, and how it ends.
namespace platform {

// The command line of this process split into words by the system's rules (GetCommandLineW,
// CommandLineToArgvW). Word 0 is the program as the caller wrote it.
std::vector<std::wstring> commandLineArguments();

// Takes the current directory out of the search order for libraries (SetDllDirectoryW with an empty
// text), so that nobody can plant a library beside a document that a user opens.
void removeCurrentDirectoryFromLibrarySearch();

std::uint32_t currentProcessId();

// Ends the process the normal way: streams are written out and closed, then the process is gone
// with this status.
[[noreturn]] void exitProcess(int status);

// Ends the process at once with the status of an access violation (0xC0000005), the way a memory
// fault would, but on purpose and without touching memory. Buffers of streams are lost: a caller
// flushes what must be seen.
[[noreturn]] void endWithAccessViolation();

}  // namespace platform
