#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// Buffered byte streams of the runtime library. Bytes pass unchanged: text mode (line ends, Ctrl-Z)
// and formatted reading and writing are the launcher's own code in foundation/text_stream.
namespace platform {

// An open stream. It lives until closeStream or the end of the process. exitProcess flushes it; when
// the process is killed, buffered data is lost.
struct Stream;

// Opens a file in one of the runtime's modes: "r" reads an existing file, "r+" reads and writes one,
// "w" and "w+" create or empty a file, "a+" creates it if missing and writes at its end. Other modes
// fail. Other processes may read and write the file at the same time. Null on failure.
Stream* openStream(const std::wstring& path, const char* mode);

struct ReadResult {
    std::size_t count = 0;   // bytes read; 0 at the end of the file
    bool hasFailed = false;  // `count` bytes were read before the failure
};

// Reads up to `capacity` bytes from the current position.
ReadResult readStream(Stream* stream, char* buffer, std::size_t capacity);

// Appends the bytes to the stream's buffer, which is written to the file when it is full. An error of
// the disk may therefore only show at a later write, flush or close.
bool writeStream(Stream* stream, const std::string& bytes);

// Writes buffered data to the file.
bool flushStream(Stream* stream);

// Goes back to the first byte: flushes buffered data and drops what was read ahead, so that later
// reads see what other processes have written.
bool rewindStream(Stream* stream);

// Goes to the last byte and returns its position, so that the next read gets it. Fails with
// errorNegativeSeek if the file is empty.
std::optional<std::uint64_t> seekToLastByte(Stream* stream);

// Cuts the file to this size, which must not be larger than it is (SetEndOfFile). The stream must have no
// buffered data, and its position is unspecified until the next rewind.
bool truncateStream(Stream* stream, std::uint64_t size);

// Flushes and closes the stream. It is closed even if the flush fails (false).
bool closeStream(Stream* stream);

// Tries once to lock the first `length` bytes of the file exclusively (LockFile); the file may be
// shorter. Does not wait. Fails with errorLockViolation if a byte of the range is locked already,
// with another code if the file cannot be locked at all. The lock ends with this process.
bool lockStream(Stream* stream, std::uint32_t length);

// Releases the lock (UnlockFile). Fails with errorNotLocked if it was not held.
bool unlockStream(Stream* stream, std::uint32_t length);

}  // namespace platform
