#include "schedules/race.h"

#include <algorithm>
#include <set>

#include "launch/entry.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "support/text.h"

// A race lays out an install, starts launchers at the planned moments and runs the machine until every
// process has ended, or for ten minutes, which is longer than any wait of a launcher with a limit. Each
// launcher is the whole program with a name of its own among its arguments, so the name shows where its
// arguments arrived. The checks use only what is visible from outside: started children, texts in the
// pipes, files, logs, ends.

namespace schedules {

namespace {

constexpr std::uint64_t timeLimit = 600'000;

std::wstring launcherName(std::size_t number) {
    return L"name-" + std::to_wstring(number) + L"-";
}

bool startsProgram(const simulation::StartedProcess& child, const std::wstring& program) {
    std::wstring text = child.commandLine.substr(0, program.size() + 2);
    std::replace(text.begin(), text.end(), L'/', L'\\');
    return child.started && text.find(program) != std::wstring::npos;
}

}  // namespace

std::string describe(const RacePlan& plan) {
    constexpr const char* states[] = {"nothing", "a dead platform", "a running platform"};
    constexpr const char* fates[] = {"lives",           "dies",         "restarts", "restarts itself",
                                     "never publishes", "never serves", "freezes"};
    std::string text = "  initially: " + std::string(states[static_cast<int>(plan.initialState)]) +
                       (plan.isLockdown ? ", lockdown" : "") + "\n";
    for (const LauncherPlan& launcher : plan.launchers) {
        text += "  launcher after " + std::to_string(launcher.arrivesAfter) + " ms:";
        for (const std::wstring& argument : launcher.arguments) {
            text += " " + launchertest::toUtf8(argument);
        }
        text += "\n";
    }
    for (const PlatformPlan& platform : plan.platforms) {
        text += "  platform: " + std::string(fates[static_cast<int>(platform.fate)]) + ", publishes after " +
                std::to_string(platform.publishesAfter) + " ms, lives for " +
                std::to_string(platform.livesFor) + " ms, ends " + std::to_string(platform.endsAfterRestart) +
                " ms after a restart, with " + std::to_string(platform.exitCode) +
                (platform.word == nullptr ? "" : std::string(" and ") + platform.word) + "\n";
    }
    const simulation::Switching& switching = plan.switching;
    return text + "  switches: one in " + std::to_string(switching.oneIn) + ", stalls: one in " +
           std::to_string(switching.stallOneIn) + " of up to " +
           std::to_string(switching.longestStallMilliseconds) + " ms\n";
}

const char* nameOf(Overlap overlap) {
    switch (overlap) {
        case Overlap::slowPlatform:
            return "the first platform needed more than 15 seconds for its pipe file";
        case Overlap::latePipeFile:
            return "the pipe file of a slow platform was taken for the first one's";
        case Overlap::ownerBlanked:
            return "a restart blanked the lock file after 20 seconds";
        case Overlap::rememberedName:
            return "a restart kept using the pipe name of an earlier platform";
        case Overlap::heldPipeFile:
            return "a restart held an old pipe file open, so it stayed";
        case Overlap::emptyPipeFile:
            return "the first platform created its pipe file before it wrote the name";
        case Overlap::consequence:
            return "another case had happened before to the first platform";
        case Overlap::restartGap:
            return "the first platform had restarted itself and not published yet";
        case Overlap::takenForCrash:
            return "another end was taken for the crash of a platform that had restarted itself";
        case Overlap::lockTimeout:
            return "a supervisor did not get the lock for five minutes";
        case Overlap::unexplained:
            break;
    }
    return "unexplained";
}

Race::Race(const RacePlan& racePlan) : Story(racePlan.seed), plan(racePlan) {
    if (plan.isLockdown) {
        launcherProperties.set("install.configuration", "lockdown");
    }
    layOut();
    machine.installProgram(nativeLauncher, [this] { return runPlatformProcess(); });
    machine.installProgram(launcher, [this] {
        const std::uint64_t begin = machine.elapsedMilliseconds();  // before anything can stall it
        launchers[::platform::currentProcessId()].arrival = begin;
        return zellauncher::wmain();
    });
    machine.whenEnded([this](simulation::ProcessId id) { noteEnd(id); });
    layWorkspace();
    pathsBefore = machine.tree(L"C:\\Users");
    for (std::size_t number = 0; number < plan.launchers.size(); ++number) {
        const LauncherPlan& launcherPlan = plan.launchers[number];
        std::vector<std::wstring> arguments = {launcher};
        arguments.insert(arguments.end(), launcherPlan.arguments.begin(), launcherPlan.arguments.end());
        arguments.push_back(launcherName(number));
        const simulation::ProcessId id = machine.start(arguments, [arrival = launcherPlan.arrivesAfter] {
            platform::sleepMilliseconds(arrival);
            return zellauncher::wmain();
        });
        LauncherRecord& added = launchers[id];
        added.name = arguments.back();
        const auto has = [&](const wchar_t* option) {
            return std::find(arguments.begin(), arguments.end(), option) != arguments.end();
        };
        added.isRestart = has(L"-restart");
        added.isCommandOnly = has(L"-dcommand_only");
        added.arrival = machine.elapsedMilliseconds() + launcherPlan.arrivesAfter;
    }
}

void Race::followChoices(const std::vector<simulation::Choice>& choices) {
    machine.followChoices(choices);
}

void Race::switchOnlyAt(std::function<bool(const char*, const std::wstring&)> isSwitchingOperation) {
    machine.switchOnlyAt(std::move(isSwitchingOperation));
}

void Race::layWorkspace() {
    if (plan.initialState == InitialState::deadPlatform) {
        machine.writeFile(inWorkspace(L".zel.lock"), "999999          ");
        machine.writeFile(inWorkspace(L".pipe"), "\\\\.\\pipe\\platform-999999\r\n");
    } else if (plan.initialState == InitialState::runningPlatform) {
        startRunningPlatform();
    }
    if (plan.initialState != InitialState::nothing) {
        machine.makeDirectory(inWorkspace(L"logs"));
        machine.writeFile(inConfig(L"args.properties"), "arg0=zellauncher.exe\r\nargc=1\r\n");
        machine.setAttributes(inWorkspace(L".zel.lock"),
                              ::platform::attributeHidden | ::platform::attributeNotContentIndexed);
    }
}

void Race::startRunningPlatform() {
    machine.makeDirectory(workspace);
    const simulation::ProcessId id =
        machine.start({nativeLauncher, L"-data", workspace}, [this] { return runPlatformProcess(); });
    machine.writeFile(inWorkspace(L".zel.lock"), std::to_string(id) + "          ");
    machine.writeFile(inWorkspace(L".zel.main"), std::to_string(id) + "     ");
    machine.runUntilIdle(plan.platforms.front().publishesAfter + 1);
}

int Race::runPlatformProcess() {
    const std::uint64_t begin = machine.elapsedMilliseconds();  // before anything can stall it
    PlatformRecord& own = platforms[::platform::currentProcessId()];
    own.id = ::platform::currentProcessId();
    own.plan = plan.platforms[std::min(platformsBegun++, plan.platforms.size() - 1)];
    own.createdTime = begin;
    return runPlatform(own.plan, launcher, [&] {
        own.publishedOperation = machine.operationCount();
        own.publishedTime = machine.elapsedMilliseconds();
    });
}

void Race::noteEnd(simulation::ProcessId id) {
    const auto found = platforms.find(id);
    if (found != platforms.end()) {
        found->second.endedOperation = machine.operationCount();
        found->second.endedTime = machine.elapsedMilliseconds();
        return;
    }
    LauncherRecord& ended = launchers[id];  // collectStarts adds the name of one that a platform started
    ended.hasEnded = true;
    ended.endTime = machine.elapsedMilliseconds();
    ended.endedOperation = machine.operationCount();
    ended.end = machine.endOf(id);
    if (ended.end.status != 0) {
        noteFatalLine(id, ended);
    }
}

RaceReport Race::run() {
    machine.setSwitching(plan.switching);
    if (plan.stall) {
        machine.stallOnce(*plan.stall);
    }
    machine.runUntilIdle(timeLimit);
    machine.whenEnded(nullptr);
    collectStarts();
    checkPlatforms();
    checkLaunchers();
    checkPayloads();
    checkLockFiles();
    checkDesktop();
    checkLogs();
    return report;
}

// Matches the started children with the operations that started them; both are in the same order.
void Race::collectStarts() {
    std::size_t next = 0;
    std::set<simulation::ProcessId> starters;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.name != "createProcess") {
            continue;
        }
        const simulation::StartedProcess& child = machine.startedProcesses().at(next++);
        if (startsProgram(child, nativeLauncher)) {
            PlatformRecord& record = platforms[child.id];
            record.id = child.id;
            record.starter = child.parent;
            record.isRerun = !starters.insert(child.parent).second;
            const auto starter = launchers.find(child.parent);
            if (starter != launchers.end()) {
                starter->second.hasStartedPlatform = true;
            }
            record.createdOperation = operation.index;
        } else if (startsProgram(child, launcher)) {
            launchers[child.id].name = restartNameOf(child.parent);
            launchers[child.id].isRestart = true;
        }
    }
    for (auto& [id, record] : platforms) {
        record.isWithoutLock = hasWaitedForLock(record);
    }
}

std::string Race::record() const {
    std::string text;
    for (const simulation::Operation& operation : machine.operations()) {
        text += std::to_string(operation.process) + " " + operation.name + " " +
                launchertest::toUtf8(operation.argument) + "\n";
    }
    for (const auto& [id, launcherRecord] : launchers) {
        text += std::to_string(id) + " ended at " + std::to_string(launcherRecord.endTime) + " with " +
                std::to_string(launcherRecord.end.status) + "\n";
    }
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : machine.tree(drive)) {
            text += launchertest::toUtf8(path) + "\n" + machine.readFile(path).value_or("") + "\n";
        }
    }
    return text;
}

}  // namespace schedules
