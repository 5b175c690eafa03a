#pragma once

#include <cstdint>
#include <string>

#include "platform/child_processes.h"
#include "platform/handles.h"

// Child processes of the tests: further instances of the test program.
namespace contract {

// The command line of a child with these arguments:
//
//   exit STATUS                     ends with this exit code
//   leave STATUS FILE               writes to FILE without flushing it and ends normally
//   fault FILE                      writes to FILE without flushing it and ends with an access violation
//   stay STATUS READY RELEASE       creates READY, waits for RELEASE and ends with this exit code
//   lock FILE READY RELEASE         locks FILE, creates READY, waits for RELEASE and ends without unlocking
//   semaphore NAME READY RELEASE    does the same with a semaphore
//   pipe NAME READY RELEASE COUNT   does the same with a pipe, and then writes what COUNT clients sent to
//                                   RELEASE.1, RELEASE.2, ...
//   unread NAME READY RELEASE COUNT the same, but nothing is read before RELEASE exists, and never if COUNT
//                                   is 0
//   send NAME BYTES                 writes this many bytes to a pipe and ends with 0 or the error code
//   console TITLE FILE              sets the title of a console of its own, finds its window, hides and finds
//                                   it again, sets the title "another", and writes the results and titles to
//                                   FILE
//   id FILE                         writes its process id to FILE
//   orphan FILE                     starts a child `late FILE` and ends at once
//   late FILE                       writes to FILE after a moment
//   arguments FILE ...              writes its further arguments to FILE, one per line
//   variable NAME FILE              writes the variable's value to FILE
//   directory FILE                  writes its current directory to FILE
std::wstring childCommand(const std::wstring& arguments);

// Starts a child with these arguments, which fails the test if it is not possible. The thread handle is
// closed already.
platform::ChildProcess startChild(const std::wstring& arguments);

// Waits until the process ends, for at most 30 seconds. False if it still runs.
bool waitForEnd(platform::Handle process);

// Waits for the end, closes the handle and returns the exit code; 0xDEAD if the process still runs.
std::uint32_t waitForExitCode(platform::Handle process);

// startChild and waitForExitCode in one.
std::uint32_t runChild(const std::wstring& arguments);

// Waits until the file exists, for at most 30 seconds.
void waitForFile(const std::wstring& path);

// A child `stay`, `lock`, `semaphore`, `pipe` or `unread`, until it is released.
struct Holder {
    platform::Handle process = platform::Handle::none;
    std::uint32_t processId = 0;
    std::wstring releaseFile;
};

// Returns once the child holds `what`, which is the STATUS of `stay`. `clients` is the COUNT of a pipe.
Holder startHolder(const std::wstring& scratch, const std::wstring& kind, const std::wstring& what,
                   int clients = 0);
// Returns once the child has ended, which fails the test unless it ends with this exit code. Closes its
// handle.
void release(const Holder& holder, std::uint32_t exitCode = 0);

// The main program of a child. The first argument of its command line is `--child`.
int runAsChild();

}  // namespace contract
