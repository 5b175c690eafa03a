#include "launch/install_directory.h"

#include <optional>

#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::size_t pathCapacity = 260;

std::wstring locateOwnProgram(const Arguments& arguments) {
    std::wstring tried = arguments.empty() ? std::wstring() : arguments[0];
    if (const std::optional<std::wstring> path = platform::fullPathName(tried, pathCapacity)) {
        tried = *path;
        if (isExecutableFile(tried)) {
            return tried;
        }
    }
    if (const std::optional<std::wstring> path = platform::moduleFileName(pathCapacity)) {
        tried = *path;
        if (isExecutableFile(tried)) {
            return tried;
        }
    }
    logFatalF("ZLNCH0129E: Unable to locate %ls", tried);
}

std::wstring directoryContaining(const std::wstring& program) {
    const std::size_t separator = program.rfind(L'\\');
    if (separator != std::wstring::npos && directoryExists(program.substr(0, separator))) {
        return program.substr(0, separator);
    }
    logFatalF("ZLNCH0048E: Unable to locate the directory containing %ls", program);
}

// A drive counts as a directory by its root: `C:` alone would be its current directory.
bool isInstallDirectory(const std::wstring& directory) {
    const bool isDrive = !directory.empty() && directory.back() == L':';
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
