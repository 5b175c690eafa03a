#include "cache/shared_class_cache.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/directory_removal.h"
#include "foundation/file_operations.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text_stream.h"
#include "platform/clock.h"

namespace zellauncher {

namespace {

constexpr std::size_t trimFromLines = 200;
constexpr std::size_t linesBeforeLast = 100;  // a trim keeps so many and the last one

std::wstring historyPath(const std::wstring& logsDirectory) {
    std::wstring path = logsDirectory + L"\\shutdown.log";
    toBackslashes(path);
    return path;
}

void stripBlanks(std::wstring& text) {
    text.erase(0, std::min(text.find_first_not_of(L' '), text.size()));
    text.resize(text.find_last_not_of(L' ') + 1);  // a text of blanks alone ends up empty
}

// The text of an option in the cache value: from behind the first `=` at or behind the first place
// where the letters of its name stand, up to the next comma. The letters may belong to another word.
std::optional<std::wstring> optionText(const std::wstring& value, std::wstring_view letters) {
    const std::size_t found = value.find(letters);
    if (found == std::wstring::npos) {
        return std::nullopt;
    }
    const std::size_t assignment = value.find(L'=', found);
    const std::size_t start = assignment == std::wstring::npos ? 0 : assignment + 1;
    const std::size_t end = std::min(value.find(L',', start), value.size());
    std::wstring text = value.substr(start, end - start);
    stripBlanks(text);
    return text;
}

// Deletes the cache files in the control directory, when that lies in the workspace. True when files
// were looked for and nothing failed.
bool purgeCache(const std::wstring& dataDirectory, const std::wstring& cacheOption) {
    const std::optional<std::wstring> name = optionText(cacheOption, L"name");
    if (!name) {
        return false;
    }
    const std::optional<std::wstring> directory = optionText(cacheOption, L"controlDir");
    if (!directory) {
        return false;
    }
    std::wstring workspace = dataDirectory;
    std::wstring controlDirectory = *directory;
    toLongPath(workspace);
    toLongPath(controlDirectory);
    if (!controlDirectory.starts_with(workspace)) {
        return false;  // a cache outside of the workspace is not this user's alone
    }
    std::wstring ignoredErrors;
    return removeMatchingFiles(controlDirectory, name->substr(0, name->find(L'%')), ignoredErrors);
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

// Copies the lines from the first one to keep on, counted from 1.
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

void cacheMaintenance(const std::wstring& dataDirectory, const VmargOverrides& overrides, bool staleEndpoint,
                      bool& purged) {
    purged = false;
    const bool isEnabled = overrides.count(L"vmarg.CacheMaintenance.enable") != 0;
    if (isEnabled && staleEndpoint) {
        const auto cacheOption = overrides.find(L"vmarg.Dshare");
        purged =
            purgeCache(dataDirectory, cacheOption != overrides.end() ? cacheOption->second : std::wstring());
    }
    recordPlatformStart(dataDirectory);
}

void recordPlatformStart(const std::wstring& dataDirectory) {
    const std::wstring logsDirectory = dataDirectory + L"\\logs";
    appendStartLine(logsDirectory);
    trimShutdownLog(logsDirectory);
}

void appendStartLine(const std::wstring& logsDirectory) {
    const std::wstring line = dateLine(platform::localTime());
    const std::wstring path = historyPath(logsDirectory);
    TextStream history;
    openFile(history, path, "a+");
    if (history.stream == nullptr) {
        logFatalF("ZLNCH0098E: Could not open %ls for writing!", path);
    }
    // What is buffered shows only at the close whether the disk took it.
    const bool isWritten = putText(history, formatText(L"Started %ls", {line})) >= 0;
    if (!closeTextStream(history) || !isWritten) {
        logFatalF("ZLNCH0118E: Error writing to %ls file.", path);
    }
}

void trimShutdownLog(const std::wstring& logsDirectory) {
    const std::wstring path = historyPath(logsDirectory);
    TextStream history;
    openFile(history, path, "r");
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
    TextStream target;
    openFile(target, newPath, "w");
    if (target.stream == nullptr) {
        logDebugF(L"ZLNCH0105E: Unable to open file for writing.\"%s\"", newPath);
        closeTextStream(history);
        return;
    }
    copyLinesFrom(history, target, count - linesBeforeLast, path);
    closeTextStream(history);
    if (!closeTextStream(target)) {  // the last of the lines were still buffered
        logDebugF(L"ZLNCH0137E: Error while truncating file.\"%s\"", path);
    }
    deleteFile(path);
    moveFile(newPath, path);
}

}  // namespace zellauncher
