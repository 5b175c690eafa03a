#include "launch/install_directory.h"

#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/own_program.h"

namespace zellauncher {

namespace {

std::wstring locateOwnProgram(const Arguments& arguments) {
    std::wstring program;
    if (!findOwnProgram(program, arguments.empty() ? std::wstring() : arguments[0])) {
        logFatalF("ZLNCH0129E: Unable to locate %ls", program);
    }
    return program;
}

std::wstring directoryContaining(const std::wstring& program) {
    std::wstring directory = program.substr(0, program.rfind(L'\\'));
    if (directoryExists(directory)) {
        return directory;
    }
    logFatalF("ZLNCH0048E: Unable to locate the directory containing %ls", program);
}

// A drive counts as a directory by its root: `C:` alone would be its current directory.
bool isInstallDirectory(const std::wstring& directory) {
    const bool isDrive = directory.ends_with(L':');
    return directoryExists(isDrive ? directory + L'\\' : directory);
}

}  // namespace

void locateInstallDir(std::wstring& installDirectory, const Arguments& arguments) {
    const std::wstring launcherDirectory = directoryContaining(locateOwnProgram(arguments));
    const std::size_t separator = launcherDirectory.rfind(L'\\');
    if (separator != std::wstring::npos && launcherDirectory.substr(separator + 1) == L"zel") {
        const std::wstring directory = launcherDirectory.substr(0, separator);
        if (isInstallDirectory(directory)) {
            installDirectory = directory;
            return;
        }
    }
    logFatal("ZLNCH0049E: Unable to locate the platform's installation directory");
}

}  // namespace zellauncher
