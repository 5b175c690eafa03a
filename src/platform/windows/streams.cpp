#include "platform/streams.h"

#include <io.h>

#include <cerrno>
#include <cstdio>

#include "platform/windows/windows_api.h"

namespace platform {

// A stream of the runtime library and its last operation, because the C standard requires a seek between
// reading and writing.
struct Stream {
    FILE* file = nullptr;
    enum class Last { nothing, reading, writing } last = Last::nothing;
};

namespace {

HANDLE fileHandle(const Stream* stream) {
    return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream->file)));
}

// If the runtime failed without calling the system, translates its errno to an error code.
void keepReason(int error) {
    if (GetLastError() != ERROR_SUCCESS) {
        return;
    }
    switch (error) {
        case ENOENT:
            SetLastError(ERROR_FILE_NOT_FOUND);
            break;
        case ENOSPC:
            SetLastError(ERROR_DISK_FULL);
            break;
        case EBADF:
            SetLastError(ERROR_ACCESS_DENIED);
            break;
        default:
            SetLastError(ERROR_ACCESS_DENIED);
            break;
    }
}

bool isDone(bool result) {
    if (!result) {
        keepReason(errno);
    }
    return result;
}

// Prepares the stream for reading or writing at its current position.
void switchTo(Stream* stream, Stream::Last next) {
    if (stream->last != Stream::Last::nothing && stream->last != next) {
        std::fseek(stream->file, 0, SEEK_CUR);
    }
    stream->last = next;
}

}  // namespace

Stream* openStream(const std::wstring& path, const char* mode) {
    std::wstring binaryMode;
    for (const char* letter = mode; *letter != '\0'; ++letter) {
        binaryMode += static_cast<wchar_t>(*letter);
    }
    binaryMode += L'b';
    SetLastError(ERROR_SUCCESS);
    FILE* file = _wfopen(path.c_str(), binaryMode.c_str());
    if (file == nullptr) {
        keepReason(errno);
        return nullptr;
    }
    auto* stream = new Stream;
    stream->file = file;
    return stream;
}

ReadResult readStream(Stream* stream, char* buffer, std::size_t capacity) {
    switchTo(stream, Stream::Last::reading);
    SetLastError(ERROR_SUCCESS);
    const std::size_t count = std::fread(buffer, 1, capacity, stream->file);
    return {count, !isDone(std::ferror(stream->file) == 0)};
}

bool writeStream(Stream* stream, const std::string& bytes) {
    switchTo(stream, Stream::Last::writing);
    SetLastError(ERROR_SUCCESS);
    return isDone(std::fwrite(bytes.data(), 1, bytes.size(), stream->file) == bytes.size());
}

bool flushStream(Stream* stream) {
    SetLastError(ERROR_SUCCESS);
    return isDone(std::fflush(stream->file) == 0);
}

bool rewindStream(Stream* stream) {
    SetLastError(ERROR_SUCCESS);
    const bool isFlushed = std::fflush(stream->file) == 0;
    const bool isRewound = std::fseek(stream->file, 0, SEEK_SET) == 0;
    std::clearerr(stream->file);
    stream->last = Stream::Last::nothing;
    return isDone(isFlushed && isRewound);
}

std::optional<std::uint64_t> seekToLastByte(Stream* stream) {
    SetLastError(ERROR_SUCCESS);
    stream->last = Stream::Last::nothing;
    const std::int64_t size = _fseeki64(stream->file, 0, SEEK_END) == 0 ? _ftelli64(stream->file) : -1;
    if (size == 0) {
        SetLastError(ERROR_NEGATIVE_SEEK);
        return std::nullopt;
    }
    if (!isDone(size > 0 && _fseeki64(stream->file, size - 1, SEEK_SET) == 0)) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(size - 1);
}

bool truncateStream(Stream* stream, std::uint64_t size) {
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(size);
    return SetFilePointerEx(fileHandle(stream), end, nullptr, FILE_BEGIN) != 0 &&
           SetEndOfFile(fileHandle(stream)) != 0;
}

bool closeStream(Stream* stream) {
    SetLastError(ERROR_SUCCESS);
    const bool isClosed = std::fclose(stream->file) == 0;
    delete stream;
    return isDone(isClosed);
}

bool lockStream(Stream* stream, std::uint32_t length) {
    return LockFile(fileHandle(stream), 0, 0, length, 0) != 0;
}

bool unlockStream(Stream* stream, std::uint32_t length) {
    return UnlockFile(fileHandle(stream), 0, 0, length, 0) != 0;
}

}  // namespace platform
