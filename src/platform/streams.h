#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Buffered byte streams of the runtime library. Bytes pass unchanged: the text mode of the files
// (line ends, Ctrl-Z, formatted reading and writing) is the launcher's own, above this seam.
namespace platform {

// A stream; the pointer is its only name. It lives until closeStream or the end of the process.
// The normal end of a process (exitProcess) writes out what is buffered; a process that is killed
// loses it.
struct Stream;

// Opens a file with one of the runtime's modes: "r" reads an existing file, "r+" reads and writes
// an existing file, "w" and "w+" make it or empty it, "a+" makes it or keeps it and writes at its
// end; there is no other mode. Others may read and write the file meanwhile. Null on failure, with the reason
// in lastError(): a missing file or directory, a directory in place of a file, missing rights.
Stream* openStream(const std::wstring& path, const char* mode);

// Up to `capacity` bytes from the current position; 0 at the end and on a failure. lastError() tells the
// two apart: errorSuccess unless the reading failed.
std::size_t readStream(Stream* stream, char* buffer, std::size_t capacity);

// Puts the bytes into the stream's buffer, which goes to the disk when it is full. False when the
// disk or the mode refuses; an error may thus show only at a later write, flush or close.
bool writeStream(Stream* stream, const std::string& bytes);

// Writes out what is buffered. False when that fails.
bool flushStream(Stream* stream);

// Goes back to the first byte. What is buffered is written out first; what was read ahead is
// forgotten, so that a reading that follows sees what others have written since.
bool rewindStream(Stream* stream);

// Writes out what is buffered and gives the stream back, also when the writing fails (false).
bool closeStream(Stream* stream);

// One attempt to take an exclusive lock on the first `length` bytes of the file (LockFile on the
// stream's handle), whether the file has so many or not. Does not wait. False with
// errorLockViolation when somebody holds a byte of the range, and with another code when the file
// cannot be locked at all. The lock belongs to this process and goes with its end.
bool lockStream(Stream* stream, std::uint32_t length);

// Gives the lock back (UnlockFile). False with errorNotLocked when it was not held.
bool unlockStream(Stream* stream, std::uint32_t length);

}  // namespace platform
