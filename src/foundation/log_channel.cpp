#include "foundation/log_channel.h"

#include <cstdint>

#include "foundation/environment.h"
#include "foundation/file_tests.h"
#include "foundation/formatter.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "foundation/waiting.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/process.h"
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

// Bytes for the file or for the text that is held back.
void writeLine(const std::string& bytes) {
    if (channel.file.stream == nullptr) {
        channel.heldBack.append(bytes).append("\n");
    } else {
        putText(channel.file, widen(bytes) + L'\n');
    }
}

void writeWideLine(const std::wstring& text) {
    std::string bytes;
    wideToNarrow(bytes, text);
    writeLine(bytes);
}

[[noreturn]] void endFatally() {
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
        return directory + L"\\zellauncher.log";
    }
    while (true) {
        std::wstring timestamp;
        formatTimestamp(timestamp);
        std::wstring path = directory;
        path.append(L"\\zellauncher_").append(timestamp).append(L".log");
        if (!fileExists(path)) {
            return path;
        }
        sleepSeconds(1);
    }
}

}  // namespace

void setLogDebug(bool on) {
    channel.isDebug = on;
}

void swapLogDebug(bool on, bool& previous) {
    previous = channel.isDebug;
    channel.isDebug = on;
}

bool isLogDebug() {
    return channel.isDebug;
}

void logMessage(const std::string& text, bool fatal) {
    writeLine(text);
    if (fatal) {
        endFatally();
    }
}

void logMessageF(const std::string& format, const std::wstring& argument, bool fatal) {
    writeWideLine(formatText(widen(format), {argument}));
    if (fatal) {
        endFatally();
    }
}

void logFatal(const std::string& text) {
    logMessage(text, false);
    endFatally();
}

void logFatalF(const std::string& format, const std::wstring& argument) {
    logMessageF(format, argument, false);
    endFatally();
}

void logDebug(const std::string& text) {
    if (channel.isDebug && text.size() < debugTextLimit) {
        writeWideLine(formatText(widen(text), {}));
    }
}

void logDebugF(const std::wstring& format, const std::wstring& argument) {
    if (channel.isDebug && format.size() + argument.size() < debugFormatLimit) {
        // A wide field in a format can make the line longer than what went in.
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

void formatLastError(std::wstring& text) {
    const platform::ErrorCode code = platform::lastError();
    text = describeError(L" Failed with error ", code);
}

void setLogFileName(const std::wstring& name) {
    channel.fileName = name;
}

const std::wstring& logFileName() {
    return channel.fileName;
}

bool openLog(const std::wstring& directory) {
    std::wstring path = logPathIn(directory);
    toBackslashes(path);
    TextStream file;
    openFile(file, path, "w+");
    if (file.stream == nullptr) {
        logMessageF("ZLNCH0019E: Could not open %ls for writing!", path, false);
        return false;
    }
    channel.file = file;
    writeLine(channel.heldBack);
    flushLog();
    channel.heldBack.clear();
    return true;
}

bool openTempLog() {
    std::wstring directory;
    if (getEnvironmentVariable(L"TEMP", directory) == nullptr) {
        logMessage("ZLNCH0085E: Couldn't find the TEMP system variable!", false);
        return false;
    }
    return openLog(directory);
}

void flushLog() {
    flushTextStream(channel.file);
}

void formatTimestamp(std::wstring& text) {
    const platform::LocalTime now = platform::localTime();
    text = formatText(
        L"%.4d%.2d%.2d_%.2d%.2d%.2d_%.3hd",
        {std::int64_t{now.year}, std::int64_t{now.month}, std::int64_t{now.day}, std::int64_t{now.hour},
         std::int64_t{now.minute}, std::int64_t{now.second}, std::int64_t{now.milliseconds}});
}

}  // namespace zellauncher
