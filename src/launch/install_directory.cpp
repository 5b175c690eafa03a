#include "launch/install_directory.h"

#include "configuration/own_program.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

std::wstring locateOwnProgram(const Arguments& arguments) {
    const OwnProgram program = findOwnProgram(arguments.empty() ? SourcedText() : arguments[0]);
    if (!program.isFound) {
        logFatalF("ZLNCH0129E: Unable to locate %ls", program.path);
    }
    return program.path;
}

std::wstring directoryContaining(const std::wstring& program) {
    std::wstring directory = program.substr(0, program.rfind(L'\\'));
    if (directoryExists(directory)) {
        return directory;
    }
    logFatalF("ZLNCH0048E: Unable to locate the directory containing %ls", program);
}

// `C:` alone would be the current directory of the drive, so its root is tested.
bool isInstallDirectory(const std::wstring& directory) {
    const bool isDrive = directory.ends_with(L':');
    return directoryExists(isDrive ? directory + L'\\' : directory);
}

}  // namespace

SourcedText locateInstallDir(const Arguments& arguments) {
    const std::wstring program = locateOwnProgram(arguments);
    const std::wstring launcherDirectory = directoryContaining(program);
    const std::size_t separator = launcherDirectory.rfind(L'\\');
    if (separator != std::wstring::npos && launcherDirectory.substr(separator + 1) == L"zel") {
        SourcedText directory = launcherDirectory.substr(0, separator);
        takeSourceOfFile(directory, program);
        if (isInstallDirectory(directory)) {
            return directory;
        }
    }
    logFatal("ZLNCH0049E: Unable to locate the platform's installation directory");
}

}  // namespace zellauncher
