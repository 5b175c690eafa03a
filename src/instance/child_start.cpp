#include "instance/child_start.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "instance/process_record.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/own_process.h"

namespace zellauncher {

namespace {

constexpr std::size_t longestCommandLine = 32766;
constexpr std::uint32_t pollMilliseconds = 100;

void logLikelyCause(const std::wstring& command, platform::ErrorCode error) {
    if (command.size() > longestCommandLine) {
        logDebug("ZELLauncher> the command is longer than the 32766 characters that the system can start");
    } else if (command.empty()) {
        logDebug("ZELLauncher> the command names no program: neither -vm nor the vm property is given");
    } else if (error == platform::errorFileNotFound || error == platform::errorPathNotFound) {
        logDebug("ZELLauncher> the program file that the command names is missing");
    } else if (error == platform::errorBadProgram) {
        logDebug("ZELLauncher> the file that the command names is not a program");
    }
}

[[noreturn]] void endWithoutChild(const std::wstring& command) {
    const platform::ErrorCode error = platform::lastError();
    setLogDebug(true);
    logDebugLastError(L"CreateProcessW");
    logLikelyCause(command, error);
    explainFatal();
    releasePlatformLock();
    platform::exitProcess(-1);
}

std::wstring describeStatus(std::uint32_t status) {
    const std::uint64_t number = status;
    // Systems and JVMs give small numbers in decimal and the codes of crashes in hexadecimal.
    return number > 255 ? formatText(L"%lu (0x%X)", {number, number}) : formatText(L"%lu", {number});
}

// A platform that dies at its start shows nothing to the user, and the rest of the log is that of a good
// start. The line must also be true for a child that ends early on purpose, and for one that published
// and ended between two looks.
void logEndWithoutPipeFile(const platform::ChildProcess& child) {
    if (!platform::hasProcessEnded(child.process) || fileExists(endpointFilePath)) {
        return;
    }
    if (const std::optional<std::uint32_t> status = platform::processExitCode(child.process)) {
        logMessageF(
            "ZELLauncher> the platform's process ended with status %ls before a .pipe was seen; "
            "if it failed, -debug -consoleLog shows why",
            describeStatus(*status));
        // The next launcher opens the same file as soon as it has the lock.
        flushLog();
    }
}

}  // namespace

platform::ChildProcess startChild(const std::wstring& command, const platform::StartInformation& start) {
    const std::optional<platform::ChildProcess> child = platform::createProcess(command, start);
    if (!child) {
        endWithoutChild(command);
    }
    if (!recordPlatformProcess(child->processId)) {
        logEndWithoutPipeFile(*child);
    }
    return *child;
}

void waitForChild(const platform::ChildProcess& child) {
    explainWait("the end of the child process");
    while (!platform::hasProcessEnded(child.process)) {
        platform::sleepMilliseconds(pollMilliseconds);
    }
}

}  // namespace zellauncher
