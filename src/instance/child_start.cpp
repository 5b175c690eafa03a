#include "instance/child_start.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
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

}  // namespace

platform::ChildProcess startChild(const std::wstring& command, const platform::StartInformation& start) {
    const std::optional<platform::ChildProcess> child = platform::createProcess(command, start);
    if (!child) {
        endWithoutChild(command);
    }
    recordPlatformProcess(child->processId);
    return *child;
}

void waitForChild(const platform::ChildProcess& child) {
    explainWait("the end of the child process");
    while (!platform::hasProcessEnded(child.process)) {
        platform::sleepMilliseconds(pollMilliseconds);
    }
}

}  // namespace zellauncher
