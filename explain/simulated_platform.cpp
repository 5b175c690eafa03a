#include "explain/simulated_platform.h"

#include <cstdint>

#include "foundation/paths.h"
#include "foundation/user_files.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/streams.h"
#include "properties/arguments.h"
#include "simulation/machine.h"

namespace explain {

namespace {

constexpr std::uint32_t publishMilliseconds = 200;
constexpr std::uint32_t lifeMilliseconds = 60'000;
constexpr std::uint32_t longLifeMilliseconds = 100'000'000;
constexpr int failureExitCode = 1;

// Holds the semaphore of its pipe and writes the pipe's name. Returns the path of the pipe file.
std::wstring publish(const std::wstring& workspace) {
    const std::wstring leaf = L"platform-" + std::to_wstring(platform::currentProcessId());
    simulation::holdSemaphore(L"Global\\" + leaf + L"sem");
    simulation::servePipe(L"\\\\.\\pipe\\" + leaf);
    std::wstring path = zellauncher::withBackslashes(workspace + L"\\" + zellauncher::pipeFileName);
    platform::Stream* file = platform::openStream(path, "w");
    if (file != nullptr) {
        platform::writeStream(file, "\\\\.\\pipe\\" + std::string(leaf.begin(), leaf.end()) + "\r\n");
        platform::closeStream(file);
    }
    return path;
}

}  // namespace

int runSimulatedPlatform(Platform behaviour) {
    if (behaviour == Platform::endsAtOnce) {
        return failureExitCode;
    }
    if (behaviour == Platform::hangs) {
        platform::sleepMilliseconds(longLifeMilliseconds);
        return failureExitCode;
    }
    const zellauncher::Arguments arguments = platform::commandLineArguments();
    const std::wstring* workspace = zellauncher::argumentAfter(L"-data", arguments);
    platform::sleepMilliseconds(publishMilliseconds);
    std::wstring pipeFile;
    if (workspace != nullptr) {
        pipeFile = publish(*workspace);
    }
    platform::sleepMilliseconds(behaviour == Platform::running ? longLifeMilliseconds : lifeMilliseconds);
    if (!pipeFile.empty()) {
        platform::deleteFile(pipeFile);
    }
    return platformExitCode;
}

}  // namespace explain
