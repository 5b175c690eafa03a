#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"

// The launcher's log, its only output. Lines are held back in memory until a log file is open; the
// first file gets the held-back lines, and all later lines go to it. Lines have no time and no level.
// The launcher never closes the file; the normal end of the process does.
namespace zellauncher {

// The debug flag of this process. Without it the debug lines below are dropped before formatting.
void setLogDebug(bool on);

// Sets the flag and returns its previous value.
bool swapLogDebug(bool on);

// Forces debug lines into the log while it lives, whatever the user asked for.
class ForcedLog {
public:
    ForcedLog();
    ~ForcedLog();
    ForcedLog(const ForcedLog&) = delete;
    ForcedLog& operator=(const ForcedLog&) = delete;

private:
    bool previous;
};

bool isLogDebug();

// Writes one line. The F form has a format with one `%ls` conversion; no text is too long.
void logMessage(const std::string& text);
void logMessageF(const std::string& format, const std::wstring& argument);

// The same, then ends the process with status -1. If no log file is open, one is opened in the
// directory that the environment variable TEMP names.
[[noreturn]] void logFatal(const std::string& text);
[[noreturn]] void logFatalF(const std::string& format, const std::wstring& argument);

// Debug line with a fixed text, which is a format without arguments. 1000 characters or more are
// dropped.
void logDebug(std::string_view text);

// Debug line with one text for `%s` or `%ls`. Dropped if format and argument together have 4000
// characters or more; the line is cut to 4000. The second form has the text as bytes, which are widened only
// if debug lines are written.
void logDebugF(std::wstring_view format, const std::wstring& argument);
inline void logDebugF(const wchar_t* format, std::string_view bytes) {
    if (isLogDebug()) {
        logDebugF(format, widen(bytes));
    }
}

// Debug line `<label>="<argument>, <argument>, `: a comma and a blank after each argument, no closing
// quote, no limit of length.
void logDebugArgs(const std::wstring& label, const std::vector<std::wstring>& arguments);

// Debug line `<operation> failed with error <code>: <system's text>` for the last failed operation of
// the system interface. Call it right after the failure.
void logDebugLastError(const std::wstring& operation);

// ` Failed with error <code>: <system's text>`, with a leading blank, for the last failed operation of
// the system interface. Call it right after the failure. Logs nothing.
std::wstring formatLastError();

// The name under which removeTempLog looks for a leftover log in TEMP; it depends on the kind of start.
void setLogFileName(const std::wstring& name);
const std::wstring& logFileName();

// Opens the log file in a directory, which may have any separators but no trailing one:
// `zellauncher.log`, overwriting the previous one, or with the debug flag a new file
// `zellauncher_<timestamp>.log`, waiting a second while that name exists. Writes the held-back lines to
// it. On failure ZLNCH0019E is logged (held back) and the result is false.
bool openLog(const std::wstring& directory);

// openLog in the directory that the environment variable TEMP names; false with ZLNCH0085E if it is
// not set.
bool openTempLog();

// Flushes the log file, before an end of the process that loses buffers.
void flushLog();

// Local time as `20260131_235959_007`.
std::wstring formatTimestamp();

}  // namespace zellauncher
