#include "schedules/platform_program.h"

#include <algorithm>
#include <vector>

#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/streams.h"
#include "simulation/machine.h"

namespace schedules {

namespace {

constexpr std::uint32_t forEver = 24 * 3600 * 1000;

std::wstring workspaceOfSelf() {
    const std::vector<std::wstring> words = platform::commandLineArguments();
    const auto option = std::find(words.begin(), words.end(), L"-data");
    return option == words.end() || option + 1 == words.end() ? std::wstring() : *(option + 1);
}

void writeEndpoint(const std::wstring& path) {
    const std::wstring name = pipeNameOf(platform::currentProcessId());
    platform::Stream* endpoint = platform::openStream(path, "w");
    if (endpoint != nullptr) {
        platform::writeStream(endpoint, std::string(name.begin(), name.end()) + "\r\n");
        platform::closeStream(endpoint);
    }
}

void publish(const PlatformPlan& plan) {
    const std::wstring directory = workspaceOfSelf();
    const std::wstring number = std::to_wstring(platform::currentProcessId());
    simulation::holdSemaphore(L"Global\\platform-" + number + L"sem");
    platform::tickCount();  // others may go on between the two
    if (plan.fate == Fate::neverServes) {
        simulation::servePipeToNobody(pipeNameOf(platform::currentProcessId()));
    } else {
        simulation::servePipe(pipeNameOf(platform::currentProcessId()));
    }
    const std::wstring endpoint = directory + L"\\.pipe";
    if (plan.publishing == Publishing::inTwoSteps) {
        writeEndpoint(endpoint);
        return;
    }
    const std::wstring aside = endpoint + L"-" + number;
    writeEndpoint(aside);
    platform::deleteFile(endpoint);
    platform::moveFile(aside, endpoint, platform::moveWriteThrough);
}

void startLauncher(const std::wstring& launcher) {
    const std::uint32_t self = platform::currentProcessId();
    platform::ChildProcess child;
    platform::createProcess(
        L"\"" + launcher + L"\" -restart -zel_old_pid " + std::to_wstring(self) + L" " + restartWordOf(self),
        {}, child);
}

}  // namespace

std::wstring pipeNameOf(std::uint32_t platform) {
    return L"\\\\.\\pipe\\platform-" + std::to_wstring(platform);
}

std::wstring restartWordOf(std::uint32_t platform) {
    return L"again-" + std::to_wstring(platform) + L"-";
}

int runPlatform(const PlatformPlan& plan, const std::wstring& launcher,
                const std::function<void()>& published) {
    platform::sleepMilliseconds(plan.publishesAfter);
    if (plan.fate == Fate::dies) {
        return 1;
    }
    if (plan.fate != Fate::neverPublishes) {
        publish(plan);
        published();
    }
    platform::sleepMilliseconds(plan.fate == Fate::neverServes ? forEver : plan.livesFor);
    if (plan.fate == Fate::restarts) {
        startLauncher(launcher);
        platform::sleepMilliseconds(plan.endsAfterRestart);
    }
    platform::tickCount();  // others may go on before it is gone
    return 0;
}

}  // namespace schedules
