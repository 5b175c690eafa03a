#pragma once

#include <string>

// The only way in which sections write launchCommand. Which of its two forms is written is decided
// at each call by isMainProcess. There is no escaping: the screening keeps double quotes out of the
// arguments.
namespace zellauncher {

// Replaces the command by its executable, in double quotes on a main process.
void setCommandProgram(const std::wstring& path);

// Appends one element: behind a blank, in double quotes if `quoted`, on a main process; behind a
// line feed and never quoted on a daemon.
void appendArgument(const std::wstring& text, bool quoted);

}  // namespace zellauncher
