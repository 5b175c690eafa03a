#include "foundation/log_channel.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "foundation/environment.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "foundation/waiting.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/own_process.h"
#include "platform/process_wide.h"

namespace zellauncher {

namespace {

constexpr std::size_t debugTextLimit = 1000;
constexpr std::size_t debugFormatLimit = 4000;
constexpr int fatalStatus = -1;

struct LogChannel {
    TextStream file;
    std::string heldBack;
    bool isDebug = false;
    std::wstring fileName;
};

PROCESS_WIDE LogChannel channel;

void writeLine(const std::string& bytes) {
    explainLogLine(bytes);
    if (channel.file.stream == nullptr) {
        channel.heldBack.append(bytes).append("\n");
    } else {
        putText(channel.file, widen(bytes) + L'\n');
    }
}

void writeWideLine(const std::wstring& text) {
    writeLine(wideToNarrow(text));
}

[[noreturn]] void endFatally() {
    explainFatal();
    if (channel.file.stream == nullptr) {
        openTempLog();
    }
    platform::exitProcess(fatalStatus);
}

std::wstring describeError(const std::wstring& beginning, platform::ErrorCode code) {
    return beginning + formatText(L"%d: ", {std::int64_t{static_cast<std::int32_t>(code)}}) +
           platform::errorText(code);
}

std::wstring logPathIn(const std::wstring& directory) {
    if (!channel.isDebug) {
        return directory + L"\\" + launcherLogName;
    }
    while (true) {
        std::wstring path = directory;
        path.append(L"\\zellauncher_").append(formatTimestamp()).append(L".log");
        if (!fileExists(path)) {
            return path;
        }
        explainWait("a log name that is free");
        sleepSeconds(1);
    }
}

}  // namespace

void setLogDebug(bool on) {
    channel.isDebug = on;
}

bool swapLogDebug(bool on) {
    return std::exchange(channel.isDebug, on);
}

ForcedLog::ForcedLog() : previous(swapLogDebug(true)) {}

ForcedLog::~ForcedLog() {
    setLogDebug(previous);
}

bool isLogDebug() {
    return channel.isDebug;
}

void logMessage(const std::string& text) {
    writeLine(text);
}

void logMessageF(const std::string& format, const std::wstring& argument) {
    writeWideLine(formatText(widen(format), {argument}));
}

void logFatal(const std::string& text) {
    logMessage(text);
    endFatally();
}

void logFatalF(const std::string& format, const std::wstring& argument) {
    logMessageF(format, argument);
    endFatally();
}

void logDebug(std::string_view text) {
    if (channel.isDebug && text.size() < debugTextLimit) {
        writeWideLine(formatText(widen(text), {}));
    }
}

void logDebugF(std::wstring_view format, const std::wstring& argument) {
    if (channel.isDebug && format.size() + argument.size() < debugFormatLimit) {
        // A field width in the format can make the line longer than the limit.
        writeWideLine(formatText(format, {argument}).substr(0, debugFormatLimit));
    }
}

void logDebugArgs(const std::wstring& label, const std::vector<std::wstring>& words) {
    if (!channel.isDebug) {
        return;
    }
    std::wstring line = label + L"=\"";
    for (const std::wstring& word : words) {
        line.append(word).append(L", ");
    }
    writeWideLine(line);
}

void logDebugLastError(const std::wstring& operation) {
    const platform::ErrorCode code = platform::lastError();
    if (channel.isDebug) {
        logDebugF(L"%ls", describeError(operation + L" failed with error ", code));
    }
}

std::wstring formatLastError() {
    const platform::ErrorCode code = platform::lastError();
    return describeError(L" Failed with error ", code);
}

void setLogFileName(const std::wstring& name) {
    channel.fileName = name;
}

const std::wstring& logFileName() {
    return channel.fileName;
}

bool openLog(const std::wstring& directory) {
    const std::wstring path = withBackslashes(logPathIn(directory));
    const TextStream file = openFile(path, "w+");
    if (file.stream == nullptr) {
        logMessageF("ZLNCH0019E: Could not open %ls for writing!", path);
        return false;
    }
    explainLogFile(path);
    channel.file = file;
    writeLine(channel.heldBack);
    flushLog();
    channel.heldBack.clear();
    return true;
}

bool openTempLog() {
    const std::optional<std::wstring> directory = getEnvironmentVariable(L"TEMP");
    if (!directory) {
        logMessage("ZLNCH0085E: Couldn't find the TEMP system variable!");
        return false;
    }
    return openLog(*directory);
}

void flushLog() {
    flushTextStream(channel.file);
}

std::wstring formatTimestamp() {
    const platform::LocalTime now = platform::localTime();
    return formatText(
        L"%.4d%.2d%.2d_%.2d%.2d%.2d_%.3hd",
        {std::int64_t{now.year}, std::int64_t{now.month}, std::int64_t{now.day}, std::int64_t{now.hour},
         std::int64_t{now.minute}, std::int64_t{now.second}, std::int64_t{now.milliseconds}});
}

}  // namespace zellauncher
