#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Children that do more than end: what a process inherits, and what is left of it.
namespace contract {

// Starts a child with these words; a failure to start is a failure of the test.
//   exit STATUS        ends with this status
//   leave STATUS FILE  writes to FILE without a flush and ends the normal way
//   fault FILE         writes to FILE without a flush and ends with an access violation
//   lock FILE READY GO takes a lock on FILE, makes READY, and ends without giving it back when GO is there
//   words FILE ...     writes its further words to FILE, one a line
//   variable NAME FILE writes the variable's value to FILE
//   where FILE         writes its current directory to FILE
platform::Handle startChild(const std::wstring& words);

// Waits for its end, gives its exit code, and closes the handle; 0xDEAD when it takes half a minute.
std::uint32_t endOf(platform::Handle process);

void waitForFile(const std::wstring& path);

// What the program does as such a child: its words are its path, `--as`, and the above.
int runChildAs();

}  // namespace contract
