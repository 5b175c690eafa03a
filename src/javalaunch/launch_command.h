#pragma once

#include <string>

#include "foundation/sourced_text.h"
#include "platform/process_wide.h"

namespace zellauncher {

// The command that a start assembles. On a main process it is a command line: the executable in
// double quotes, then the arguments, separated by blanks. On a daemon it is a list for the running
// platform: the same elements, separated by line feeds and never quoted. isMainProcess selects the
// form at each call below. Nothing is escaped: the argument screening rejects double quotes.
extern PROCESS_WIDE std::wstring launchCommand;

enum class Quoting { none, quoted };

// Replaces the command by its executable, in double quotes on a main process.
void setCommandProgram(const SourcedText& path);

// Appends one element. `quoting` has no effect on a daemon.
void appendArgument(const SourcedText& text, Quoting quoting = Quoting::none);

// The value part of an element such as `-Dname="value"`: in double quotes on a main process only.
std::wstring quotedValue(const std::wstring& value);

// Resets the command to a single NUL. Elements appended before setCommandProgram end up after the
// NUL, so a command without a program cannot be run.
void resetLaunchCommand();

}  // namespace zellauncher
