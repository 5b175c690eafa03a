#include <algorithm>

#include "platform/child_processes.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr platform::ErrorCode errorBadProgram = 193;
constexpr std::size_t longestCommandLine = 32766;

// Finds the program file that a command line names, with `.exe` added if necessary.
platform::ErrorCode findProgram(const std::wstring& program, std::wstring& path) {
    MachineState& machine = machineOfSelf();
    platform::ErrorCode error = platform::errorFileNotFound;
    for (const std::wstring& candidate : {program, program + L".exe"}) {
        const std::optional<std::wstring> full = makeFullPath(candidate, self().currentDirectory);
        if (!full) {
            continue;
        }
        const Lookup found = lookUp(machine, parsePath(*full, self().currentDirectory, 260));
        if (!found.node || found.node->isDirectory()) {
            // A directory of this name is the more telling error.
            const bool isDenied = found.node || error == platform::errorAccessDenied;
            error = isDenied ? platform::errorAccessDenied : found.error;
            continue;
        }
        path = full->starts_with(L"\\\\?\\") ? full->substr(4) : *full;
        return machine.programs.count(upperCase(path)) == 0 ? errorBadProgram : platform::errorSuccess;
    }
    return error;
}

platform::Handle addProcessObject(ObjectKind kind, ProcessId process) {
    auto object = std::make_unique<Object>();
    object->kind = kind;
    object->processId = process;
    return static_cast<platform::Handle>(addObject(std::move(object)));
}

Object* processObject(platform::Handle handle) {
    return objectOf(static_cast<std::uintptr_t>(handle), ObjectKind::process);
}

Object* snapshotObject(platform::Handle handle) {
    return objectOf(static_cast<std::uintptr_t>(handle), ObjectKind::snapshot);
}

std::wstring fileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

std::optional<platform::ProcessEntry> nextEntry(Object& snapshot) {
    if (snapshot.snapshotPosition >= snapshot.snapshotEntries.size()) {
        failWith(platform::errorNoMoreFiles);
        return std::nullopt;
    }
    return snapshot.snapshotEntries[snapshot.snapshotPosition++];
}

}  // namespace

}  // namespace simulation

namespace platform {

using simulation::addObject;
using simulation::addProcessObject;
using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::Object;
using simulation::ObjectKind;
using simulation::Process;
using simulation::self;

std::optional<ChildProcess> createProcess(const std::wstring& commandLine, const StartInformation& start) {
    const ErrorCode fault = beginOperation("createProcess", commandLine);
    MachineState& machine = machineOfSelf();
    simulation::StartedProcess record;
    record.commandLine = commandLine;
    record.start = start;
    record.parent = self().id;
    for (const auto& [upper, variable] : self().environment) {
        record.environment[variable.first] = variable.second;
    }
    const std::wstring text = commandLine.substr(0, commandLine.find(L'\0'));
    std::wstring path;
    ErrorCode error = fault;
    if (error == errorSuccess) {
        error = text.size() > simulation::longestCommandLine ? errorFileNameTooLong : errorSuccess;
    }
    const std::vector<std::wstring> arguments = simulation::splitCommandLine(text);
    if (error == errorSuccess) {
        error = arguments.front().empty() ? errorInvalidParameter
                                          : simulation::findProgram(arguments.front(), path);
    }
    if (error != errorSuccess) {
        machine.started.push_back(record);
        failWith(error);
        return std::nullopt;
    }
    Process& process = machine.addProcess(arguments, machine.programs.at(simulation::upperCase(path)));
    process.parent = self().id;
    process.module = path;
    process.currentDirectory = self().currentDirectory;
    process.environment = self().environment;
    record.id = process.id;
    record.started = true;
    machine.started.push_back(record);
    return ChildProcess{addProcessObject(ObjectKind::process, process.id),
                        addProcessObject(ObjectKind::thread, process.id), process.id};
}

bool hasProcessEnded(Handle process) {
    if (beginOperation("hasProcessEnded") != errorSuccess) {
        return false;
    }
    const Object* object = simulation::processObject(process);
    return object != nullptr &&
           machineOfSelf().processes.at(object->processId)->state == simulation::ProcessState::ended;
}

std::optional<std::uint32_t> processExitCode(Handle process) {
    const ErrorCode fault = beginOperation("processExitCode");
    const Object* object = simulation::processObject(process);
    if (fault != errorSuccess || object == nullptr) {
        failWith(fault != errorSuccess ? fault : errorInvalidHandle);
        return std::nullopt;
    }
    const Process& child = *machineOfSelf().processes.at(object->processId);
    return child.state == simulation::ProcessState::ended ? child.end.status : exitCodeStillActive;
}

void waitForInputIdle(Handle /*process*/, std::uint32_t milliseconds) {
    beginOperation("waitForInputIdle", {}, false, {milliseconds});
}

Handle openProcess(std::uint32_t processId) {
    if (const ErrorCode fault = beginOperation("openProcess")) {
        failWith(fault);
        return Handle::none;
    }
    if (machineOfSelf().processes.count(processId) == 0) {
        failWith(errorInvalidParameter);
        return Handle::none;
    }
    return addProcessObject(ObjectKind::process, processId);
}

Handle processSnapshot() {
    if (const ErrorCode fault = beginOperation("processSnapshot")) {
        failWith(fault);
        return Handle::none;
    }
    MachineState& machine = machineOfSelf();
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::snapshot;
    for (const std::wstring& name : machine.otherProcesses) {
        object->snapshotEntries.push_back({name, 4});
    }
    for (const auto& [id, process] : machine.processes) {
        if (process->state != simulation::ProcessState::ended) {
            object->snapshotEntries.push_back({simulation::fileNameOf(process->module), id});
        }
    }
    return static_cast<Handle>(addObject(std::move(object)));
}

std::optional<ProcessEntry> firstProcess(Handle snapshot) {
    if (const ErrorCode fault = beginOperation("firstProcess")) {
        failWith(fault);
        return std::nullopt;
    }
    Object* object = simulation::snapshotObject(snapshot);
    if (object == nullptr) {
        failWith(errorInvalidHandle);
        return std::nullopt;
    }
    object->snapshotPosition = 0;
    return simulation::nextEntry(*object);
}

std::optional<ProcessEntry> nextProcess(Handle snapshot) {
    if (const ErrorCode fault = beginOperation("nextProcess")) {
        failWith(fault);
        return std::nullopt;
    }
    Object* object = simulation::snapshotObject(snapshot);
    if (object == nullptr) {
        failWith(errorInvalidHandle);
        return std::nullopt;
    }
    return simulation::nextEntry(*object);
}

}  // namespace platform
