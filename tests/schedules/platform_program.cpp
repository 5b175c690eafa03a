#include "schedules/platform_program.h"

#include <algorithm>
#include <vector>

#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/streams.h"
#include "simulation/machine.h"
#include "support/text.h"

namespace schedules {

namespace {

constexpr std::uint32_t oneDay = 24 * 3600 * 1000;

std::wstring workspaceOfSelf() {
    const std::vector<std::wstring> arguments = platform::commandLineArguments();
    const auto option = std::find(arguments.begin(), arguments.end(), L"-data");
    return option == arguments.end() || option + 1 == arguments.end() ? std::wstring() : *(option + 1);
}

void writePipeFile(const std::wstring& path) {
    const std::wstring name = pipeNameOf(platform::currentProcessId());
    platform::Stream* file = platform::openStream(path, "w");
    if (file != nullptr) {
        platform::writeStream(file, launchertest::toUtf8(name) + "\r\n");
        platform::closeStream(file);
    }
}

// False if another process kept the pipe file as it was.
bool publish(const PlatformPlan& plan) {
    const std::wstring processId = std::to_wstring(platform::currentProcessId());
    simulation::holdSemaphore(L"Global\\platform-" + processId + L"sem");
    platform::tickCount();  // a switching point between semaphore and pipe
    const std::wstring pipe = pipeNameOf(platform::currentProcessId());
    if (plan.fate == Fate::neverServes) {
        simulation::servePipeToNobody(pipe);
    } else if (plan.fate == Fate::freezes) {
        simulation::servePipeWithoutReading(pipe, plan.pipeBuffer);
    } else {
        simulation::servePipe(pipe);
    }
    const std::wstring pipeFile = workspaceOfSelf() + L"\\.pipe";
    if (plan.publishing == Publishing::inPlace) {
        writePipeFile(pipeFile);
        return true;
    }
    const std::wstring temporary = pipeFile + L"-" + processId;
    writePipeFile(temporary);
    platform::deleteFile(pipeFile);
    return platform::moveFile(temporary, pipeFile, platform::moveWriteThrough);
}

void startLauncher(const std::wstring& launcher) {
    const std::uint32_t self = platform::currentProcessId();
    platform::createProcess(
        L"\"" + launcher + L"\" -restart -zel_old_pid " + std::to_wstring(self) + L" " + restartNameOf(self),
        {});
}

// With the arguments that this platform was started with.
void startItself() {
    std::wstring command;
    for (const std::wstring& argument : platform::commandLineArguments()) {
        command += (command.empty() ? L"\"" : L" \"") + argument + L"\"";
    }
    platform::createProcess(command, {});
}

void writeExitData(const char* word) {
    platform::Stream* file = platform::openStream(L"C:\\Users\\ann\\.exitData", "w");
    if (file != nullptr) {
        platform::writeStream(file, word);
        platform::closeStream(file);
    }
}

void restart(const PlatformPlan& plan, const std::wstring& launcher) {
    if (plan.fate == Fate::restarts) {
        startLauncher(launcher);
    } else {
        startItself();
    }
    platform::sleepMilliseconds(plan.endsAfterRestart);
}

}  // namespace

std::wstring pipeNameOf(std::uint32_t platform) {
    return L"\\\\.\\pipe\\platform-" + std::to_wstring(platform);
}

std::wstring restartNameOf(std::uint32_t platform) {
    return L"again-" + std::to_wstring(platform) + L"-";
}

int runPlatform(const PlatformPlan& plan, const std::wstring& launcher,
                const std::function<void()>& published) {
    platform::sleepMilliseconds(plan.publishesAfter);
    if (plan.fate == Fate::dies) {
        return 1;
    }
    if (plan.fate != Fate::neverPublishes && publish(plan)) {
        published();
    }
    platform::sleepMilliseconds(plan.fate == Fate::neverServes ? oneDay : plan.livesFor);
    if (plan.fate == Fate::restarts || plan.fate == Fate::restartsItself) {
        restart(plan, launcher);
    }
    if (plan.word != nullptr) {
        writeExitData(plan.word);
    }
    platform::tickCount();  // a switching point before it is gone
    return plan.exitCode;
}

}  // namespace schedules
