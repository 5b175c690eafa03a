#include "configuration/restart_state.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "configuration/locations.h"
#include "configuration/user_install_properties.h"
#include "foundation/environment.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

constexpr std::size_t valueLimit = 1000;

// Words of the command line that are not stored, or not as they stand.
struct SpecialWords {
    int restart = -1;
    int resetconfig = -1;
    int oldPid = -1;
    std::ptrdiff_t dataValue = -1;
};

SpecialWords findSpecialWords(const Arguments& arguments) {
    SpecialWords special;
    special.restart = findArgumentIndex(L"-restart", arguments);
    special.resetconfig = findArgumentIndex(L"-resetconfig", arguments);
    special.oldPid = findArgumentIndex(L"-zel_old_pid", arguments);
    const auto data = std::find(arguments.begin(), arguments.end(), L"-data");
    if (data != arguments.end()) {
        special.dataValue = std::distance(arguments.begin(), data) + 1;
    }
    return special;
}

// A relative workspace of this start must mean the same at a restart, whatever the current directory.
std::wstring storedDataDirectory(std::wstring text, const PropertyList& zelLauncherArray,
                                 const std::wstring& zelHome) {
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);
    std::wstring fullPath;
    resolveWorkspacePath(text, fullPath);
    return fullPath;
}

std::wstring storedProgram(const std::wstring& restartProgram, const std::wstring& program) {
    if (!restartProgram.empty()) {
        return restartProgram;
    }
    std::wstring path;
    locateProgram(path, program);
    return path;
}

void writeLine(TextStream& file, const std::wstring& path, const std::wstring& line, const char* message) {
    if (putText(file, line + L"\n") < 0) {
        logFatalF(message, path);
    }
}

void writeArgument(TextStream& file, const std::wstring& path, std::int64_t number,
                   const std::wstring& value) {
    std::wstring entry;
    escapeEntry(formatText(L"arg%d", {number}), value, entry);
    std::wstring key;
    std::wstring escapedValue;
    std::wstring line;
    splitAssignment(entry, key, escapedValue, line);
    writeLine(file, path, line, "ZLNCH0020E: Error writing to %ls file.");
}

// Returns how many were written.
std::int64_t writeArguments(TextStream& file, const std::wstring& path, const Arguments& arguments,
                            const std::wstring& restartProgram, const PropertyList& zelLauncherArray,
                            const std::wstring& zelHome) {
    const SpecialWords special = findSpecialWords(arguments);
    std::int64_t count = 0;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const int index = static_cast<int>(i);
        if (index == special.restart || index == special.resetconfig) {
            continue;
        }
        if (index == special.oldPid) {
            ++i;
            continue;
        }
        std::wstring value = arguments[i];
        if (i == 0) {
            value = storedProgram(restartProgram, value);
        } else if (index == special.dataValue) {
            value = storedDataDirectory(value, zelLauncherArray, zelHome);
        }
        writeArgument(file, path, count++, value);
    }
    return count;
}

}  // namespace

void resolveRestartProgram(std::wstring& program, const Arguments& arguments,
                           const PropertyList& zelLauncherArray, const std::wstring& zelHome) {
    const int config = findArgumentIndex(L"-config", arguments);
    const std::size_t name = static_cast<std::size_t>(config) + 1;
    if (config < 0 || name >= arguments.size()) {
        return;
    }
    const std::wstring* value =
        lookupProperty(L"config." + arguments[name] + L".restartExe.win32", zelLauncherArray);
    if (value == nullptr) {
        return;
    }
    program = *value;
    replaceFirst(program, L"${zel.home}", zelHome);
    toBackslashes(program);
}

void writeRestartState(const Arguments& arguments, const std::wstring& configDirectory,
                       const std::wstring& restartProgram, const PropertyList& zelLauncherArray,
                       const std::wstring& zelHome) {
    std::wstring path = configDirectory + L"\\args.properties";
    toBackslashes(path);
    TextStream file;
    openFile(file, path, "w+");
    if (file.stream == nullptr) {
        logFatalF("ZLNCH0097E: Could not open %ls for writing!", path);
    }
    const std::int64_t count =
        writeArguments(file, path, arguments, restartProgram, zelLauncherArray, zelHome);

    std::wstring countLine;
    escapeEntry(L"argc", formatText(L"%d", {count}), countLine);
    writeLine(file, path, countLine, "ZLNCH0116E: Error writing to %ls file.");

    std::wstring libraryPath;
    getEnvironmentVariable(L"PATH", libraryPath);
    std::wstring libraryLine;
    escapeEntry(L"com.mivel.zel.core.internal.librarypath", libraryPath, libraryLine);
    writeLine(file, path, libraryLine, "ZLNCH0117E: Error writing to %ls file.");
    // What is buffered shows only now whether the disk took it.
    if (!closeTextStream(file)) {
        logFatalF("ZLNCH0117E: Error writing to %ls file.", path);
    }
}

void splitAssignment(const std::wstring& text, std::wstring& key, std::wstring& value, std::wstring& result) {
    const std::size_t separator = text.find(L'=');
    key = text.substr(0, separator);
    value = separator == std::wstring::npos ? std::wstring() : text.substr(separator + 1);
    if (value.size() > valueLimit) {
        value.clear();
    }
    result = key + L"=" + value;
}

}  // namespace zellauncher
