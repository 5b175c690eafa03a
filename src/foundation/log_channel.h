#pragma once

#include <string>
#include <vector>

// The one log of the launcher. It has no window, so this is all that it ever says to anybody.
// Until a log file is open every line is held back in memory; the file that opens first takes the
// held-back text, and from then on lines go to it. Lines carry no time and no level. The file is
// never closed by the launcher: the normal end of the process does that.
namespace zellauncher {

// The process-wide debug flag: with it the debug lines below appear, without it they are dropped
// before any formatting.
void setLogDebug(bool on);
// Stores the present flag in `previous` and sets the flag; paired with setLogDebug to force single
// lines into the log whatever the user asked for.
void swapLogDebug(bool on, bool& previous);
bool isLogDebug();

// Writes one line. With `fatal` the process then ends with status -1; if no log file is open by
// then, one is opened in the directory of the environment variable TEMP first.
void logMessage(const std::string& text, bool fatal);
// The same for a format with one `%ls` conversion. The scratch grows: no text is too long.
void logMessageF(const std::string& format, const std::wstring& argument, bool fatal);
// logMessage and logMessageF with the fatal flag, for places where nothing may follow.
[[noreturn]] void logFatal(const std::string& text);
[[noreturn]] void logFatalF(const std::string& format, const std::wstring& argument);

// Debug line from a fixed text (a `%` in it is a conversion without an argument). A text of 1000
// characters or more is dropped.
void logDebug(const std::string& text);
// Debug line with one wide argument for `%s` or `%ls`. Dropped when format and argument together
// have 4000 characters or more; the line has at most 4000.
void logDebugF(const std::wstring& format, const std::wstring& argument);
// Debug line `<label>="<word>, <word>, `: the label, then each word followed by a comma and a
// blank. No closing quote, no limit.
void logDebugArgs(const std::wstring& label, const std::vector<std::wstring>& words);
// Debug line with the reason of the last failed operation of the seam, read first thing:
// `<operation> failed with error <code>: <system's text>`.
void logDebugLastError(const std::wstring& operation);

// Replaces the text by ` Failed with error <code>: <system's text>` for the last failed operation
// of the seam, read first thing. Logs nothing.
void formatLastError(std::wstring& text);

// Remembers the name of the log file of this kind of start, which removeTempLog looks for in TEMP.
void setLogFileName(const std::wstring& name);
const std::wstring& logFileName();

// Opens the log file in a directory (any separators, no trailing one): `zellauncher.log`, replacing
// that of an earlier run, or with the debug flag on a file of its own,
// `zellauncher_<timestamp>.log`, waiting a second whenever that name is taken. On success the
// held-back text goes into it. On failure ZLNCH0019E is logged (held back) and the result is false.
bool openLog(const std::wstring& directory);
// The same in the directory that the environment variable TEMP names; false, with ZLNCH0085E, when
// it is not set.
bool openTempLog();
// Writes out what the log's stream has buffered, for an end of the process that loses buffers.
void flushLog();

// Local time as `20260131_235959_007`.
void formatTimestamp(std::wstring& text);

}  // namespace zellauncher
