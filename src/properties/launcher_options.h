#pragma once

#include <cstddef>

#include "properties/arguments.h"

// The options that the launcher itself knows, and what happens to each of them. To add an option, add
// a row to the table in launcher_options.cpp. An argument that is in no row goes to the platform in
// double quotes, is stored for a restart, and is dropped on a first run.
namespace zellauncher {

// In the platform's command.
enum class PassThrough {
    asArgument,  // like any other argument
    asOption,    // the option without quotes and the argument after it in quotes
    dropped,
    droppedWithValue,  // the launcher writes its own value instead
};

// In args.properties, from which the platform restarts.
enum class RestartStorage {
    stored,
    dropped,
    droppedWithValue,
    storedAsFullPath,  // the value, because the current directory may differ at the restart
};

// On the first run of an install with `config.initial`, whose arguments replace the user's.
enum class FirstRun { dropped, kept, keptWithValue };

struct LauncherOption {
    const wchar_t* name;
    PassThrough passThrough;
    RestartStorage restartStorage;
    FirstRun firstRun;
};

// The option whose first occurrence in the list is at this position; null for anything else. Only
// the first occurrence is an option: a repeated one is an ordinary argument.
const LauncherOption* optionAt(std::size_t position, const Arguments& arguments);

// The option that is kept on a first run and whose name the argument begins with; null if there is
// none. The prefix is enough here, so `-dataset` is kept like `-data`.
const LauncherOption* keptOnFirstRun(const std::wstring& argument);

}  // namespace zellauncher
