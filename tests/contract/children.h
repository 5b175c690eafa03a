#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Children that do more than end: what a process inherits, and what is left of it.
namespace contract {

// Starts a child with these words; a failure to start is a failure of the test.
//
//   exit STATUS                ends with this status
//   leave STATUS FILE          writes to FILE without a flush and ends the normal way
//   fault FILE                 writes to FILE without a flush and ends with an access violation
//   lock FILE READY GO         takes a lock on FILE, makes READY, and ends when GO is there, the lock not
//                              given back
//   semaphore NAME READY GO    holds a semaphore in the same way
//   pipe NAME READY GO COUNT   serves a pipe in the same way; the texts of COUNT clients are in GO.1, ...
//   console TITLE FILE         takes a console of its own with TITLE; whether its window is found by it and
//                              kept once hidden is in FILE, and its next title, whole and cut
//   number FILE                writes its process number to FILE
//   orphan FILE                starts a child that writes to FILE a little later, and ends at once
//   late FILE                  writes to FILE a little later
//   words FILE ...             writes its further words to FILE, one a line
//   variable NAME FILE         writes the variable's value to FILE
//   where FILE                 writes its current directory to FILE
platform::Handle startChild(const std::wstring& words);

// The program of such a child, quoted: the head of its command line, `--as` behind it.
std::wstring childProgram();

// Waits for its end, at most half a minute; whether it has ended.
bool waitForEnd(platform::Handle process);

// Waits for its end, gives its exit code, and closes the handle; 0xDEAD when it takes half a minute.
std::uint32_t endOf(platform::Handle process);

void waitForFile(const std::wstring& path);

// A child that holds something until it is let go: `lock`, `semaphore` or `pipe` as above, begun when it
// has what it is to hold.
struct Holder {
    platform::Handle process = platform::Handle::none;
    std::wstring go;
};
Holder startHolder(const std::wstring& scratch, const std::wstring& kind, const std::wstring& what,
                   int count = 0);
void letGo(const Holder& holder);

// What the program does as such a child: its words are its path, `--as`, and the above.
int runChildAs();

}  // namespace contract
