#include "cache/shutdown_log.h"

#include <cstddef>
#include <cstdint>

#include "foundation/file_operations.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "platform/clock.h"

namespace zellauncher {

namespace {

constexpr std::size_t trimFromLines = 200;
constexpr std::size_t linesBeforeLast = 100;  // a trim keeps these and the last line

std::wstring historyPath(const std::wstring& logsDirectory) {
    return withBackslashes(logsDirectory + L"\\" + shutdownLogName);
}

// `Www Mmm dd hh:mm:ss yyyy` and a line feed.
std::wstring dateLine(const platform::LocalTime& time) {
    constexpr const wchar_t* days[] = {L"Sun", L"Mon", L"Tue", L"Wed", L"Thu", L"Fri", L"Sat"};
    constexpr const wchar_t* months[] = {L"Jan", L"Feb", L"Mar", L"Apr", L"May", L"Jun",
                                         L"Jul", L"Aug", L"Sep", L"Oct", L"Nov", L"Dec"};
    return formatText(L"%ls %ls %.2d %.2d:%.2d:%.2d %d\n",
                      {std::wstring(days[time.dayOfWeek]), std::wstring(months[time.month - 1]),
                       std::int64_t{time.day}, std::int64_t{time.hour}, std::int64_t{time.minute},
                       std::int64_t{time.second}, std::int64_t{time.year}});
}

std::size_t countLines(TextStream& history) {
    std::size_t count = 0;
    std::wstring line;
    rewindTextStream(history);
    while (readNextLine(history, line)) {
        ++count;
    }
    return count;
}

// Copies the lines from number `firstLine` on, counted from 1.
void copyLinesFrom(TextStream& history, TextStream& target, std::size_t firstLine, const std::wstring& path) {
    std::wstring line;
    rewindTextStream(history);
    for (std::size_t number = 1; readNextLine(history, line); ++number) {
        if (number >= firstLine && putText(target, line + L"\n") < 0) {
            logDebugF(L"ZLNCH0137E: Error while truncating file.\"%s\"", path);
        }
    }
}

}  // namespace

void recordPlatformStart(const std::wstring& dataDirectory) {
    const std::wstring logsDirectory = dataDirectory + L"\\" + logsDirectoryName;
    appendStartLine(logsDirectory);
    trimShutdownLog(logsDirectory);
}

void appendStartLine(const std::wstring& logsDirectory) {
    const std::wstring line = dateLine(platform::localTime());
    const std::wstring path = historyPath(logsDirectory);
    TextStream history = openFile(path, "a+");
    if (history.stream == nullptr) {
        logFatalF("ZLNCH0098E: Could not open %ls for writing!", path);
    }
    // A full disk may show only when the buffer is written.
    const bool isWritten = putText(history, formatText(L"Started %ls", {line})) >= 0;
    if (!closeTextStream(history) || !isWritten) {
        logFatalF("ZLNCH0118E: Error writing to %ls file.", path);
    }
}

void trimShutdownLog(const std::wstring& logsDirectory) {
    const std::wstring path = historyPath(logsDirectory);
    TextStream history = openFile(path, "r");
    if (history.stream == nullptr) {
        logDebugF(L"ZLNCH0138E: Unable to open file.\"%s\"", path);
        return;
    }
    const std::size_t count = countLines(history);
    if (count < trimFromLines) {
        closeTextStream(history);
        return;
    }
    const std::wstring newPath = path + L".new";
    TextStream target = openFile(newPath, "w");
    if (target.stream == nullptr) {
        logDebugF(L"ZLNCH0105E: Unable to open file for writing.\"%s\"", newPath);
        closeTextStream(history);
        return;
    }
    copyLinesFrom(history, target, count - linesBeforeLast, path);
    closeTextStream(history);
    if (!closeTextStream(target)) {  // writes the last lines
        logDebugF(L"ZLNCH0137E: Error while truncating file.\"%s\"", path);
    }
    deleteFile(path);
    moveFile(newPath, path);
}

}  // namespace zellauncher
