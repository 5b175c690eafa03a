#include "configuration/restart_state.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "configuration/own_program.h"
#include "configuration/user_install_properties.h"
#include "configuration/workspace.h"
#include "foundation/environment.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "properties/launcher_options.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

constexpr std::size_t valueLimit = 1000;

// A relative workspace must name the same directory at the restart, whatever the current directory is.
std::wstring storedDataDirectory(std::wstring text, const PropertyList& zelLauncherArray,
                                 const std::wstring& zelHome) {
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);
    return resolveWorkspacePath(text);
}

void writeLine(TextStream& file, const std::wstring& path, const std::wstring& line, const char* message) {
    if (putText(file, line + L"\n") < 0) {
        logFatalF(message, path);
    }
}

void writeArgument(TextStream& file, const std::wstring& path, std::int64_t number,
                   const std::wstring& value) {
    const std::wstring entry = escapeEntry(formatText(L"arg%d", {number}), value);
    writeLine(file, path, splitAssignment(entry).text, "ZLNCH0020E: Error writing to %ls file.");
}

// Position of the workspace's path: after the first `-data`, which here may also be argument 0.
std::ptrdiff_t dataValuePosition(const Arguments& arguments) {
    const auto option = std::find(arguments.begin(), arguments.end(), L"-data");
    return option == arguments.end() ? -1 : std::distance(arguments.begin(), option) + 1;
}

// Returns the number of arguments written.
std::int64_t writeArguments(TextStream& file, const std::wstring& path, const Arguments& arguments,
                            const std::wstring& restartProgram, const PropertyList& zelLauncherArray,
                            const std::wstring& zelHome) {
    const std::ptrdiff_t dataValue = dataValuePosition(arguments);
    std::int64_t count = 0;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const LauncherOption* option = optionAt(i, arguments);
        if (option != nullptr && option->restartStorage == RestartStorage::dropped) {
            continue;
        }
        if (option != nullptr && option->restartStorage == RestartStorage::droppedWithValue) {
            ++i;
            continue;
        }
        std::wstring value = arguments[i];
        if (i == 0) {
            value = restartProgram.empty() ? locateProgram(value) : restartProgram;
        } else if (static_cast<std::ptrdiff_t>(i) == dataValue) {
            value = storedDataDirectory(value, zelLauncherArray, zelHome);
        }
        writeArgument(file, path, count++, value);
    }
    return count;
}

}  // namespace

std::wstring resolveRestartProgram(const Arguments& arguments, const PropertyList& zelLauncherArray,
                                   const std::wstring& zelHome) {
    const std::wstring* name = argumentAfter(L"-config", arguments);
    if (name == nullptr) {
        return {};
    }
    const std::wstring* value = lookupProperty(L"config." + *name + L".restartExe.win32", zelLauncherArray);
    if (value == nullptr) {
        return {};
    }
    std::wstring program = *value;
    replaceFirst(program, L"${zel.home}", zelHome);
    return withBackslashes(program);
}

void writeRestartState(const Arguments& arguments, const std::wstring& configDirectory,
                       const std::wstring& restartProgram, const PropertyList& zelLauncherArray,
                       const std::wstring& zelHome) {
    const std::wstring path = withBackslashes(configDirectory + L"\\" + argsPropertiesName);
    TextStream file = openFile(path, "w+");
    if (file.stream == nullptr) {
        logFatalF("ZLNCH0097E: Could not open %ls for writing!", path);
    }
    const std::int64_t count =
        writeArguments(file, path, arguments, restartProgram, zelLauncherArray, zelHome);

    const std::wstring countLine = escapeEntry(L"argc", formatText(L"%d", {count}));
    writeLine(file, path, countLine, "ZLNCH0116E: Error writing to %ls file.");
    const std::wstring libraryPath = getEnvironmentVariable(L"PATH").value_or(L"");
    const std::wstring libraryLine = escapeEntry(L"com.mivel.zel.core.internal.librarypath", libraryPath);
    writeLine(file, path, libraryLine, "ZLNCH0117E: Error writing to %ls file.");
    // A full disk may show only when the buffer is written.
    if (!closeTextStream(file)) {
        logFatalF("ZLNCH0117E: Error writing to %ls file.", path);
    }
}

Assignment splitAssignment(const std::wstring& text) {
    const std::size_t separator = text.find(L'=');
    Assignment assignment;
    assignment.key = text.substr(0, separator);
    assignment.value = separator == std::wstring::npos ? std::wstring() : text.substr(separator + 1);
    if (assignment.value.size() > valueLimit) {
        assignment.value.clear();
    }
    assignment.text = assignment.key + L"=" + assignment.value;
    return assignment;
}

}  // namespace zellauncher
