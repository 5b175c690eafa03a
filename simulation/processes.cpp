#include <algorithm>

#include "platform/child_processes.h"
#include "simulation/machine_state.h"
#include "simulation/program_files.h"

namespace simulation {

namespace {

constexpr std::size_t longestCommandLine = 32766;

Program programOf(const MachineState& machine, const std::wstring& path, const Node& file) {
    const auto installed = machine.programs.find(upperCase(path));
    if (installed != machine.programs.end()) {
        return installed->second;
    }
    return isProgramFile(beginningOf(file, programHeaderBytes)) ? machine.anyProgram : nullptr;
}

// The directories in which the system looks for a program that is named without one.
std::vector<std::wstring> searchedDirectories() {
    const std::wstring& module = self().module;
    std::vector<std::wstring> directories = {module.substr(0, module.find_last_of(L'\\')),
                                             self().currentDirectory, L"C:\\Windows\\System32",
                                             L"C:\\Windows"};
    const auto path = self().environment.find(L"PATH");
    const std::wstring list = path != self().environment.end() ? path->second.second : std::wstring();
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(L';', begin), list.size());
        directories.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return directories;
}

// The paths at which the system looks for the program of a command line, with `.exe` added if necessary.
std::vector<std::wstring> candidatesFor(const std::wstring& program) {
    std::vector<std::wstring> candidates = {program, program + L".exe"};
    if (program.find_first_of(L"\\/:") == std::wstring::npos) {
        candidates.clear();
        for (const std::wstring& directory : searchedDirectories()) {
            candidates.push_back(directory + L"\\" + program);
            candidates.push_back(directory + L"\\" + program + L".exe");
        }
    }
    return candidates;
}

struct FoundProgram {
    std::wstring path;
    Program program;
    platform::ErrorCode error = platform::errorFileNotFound;
};

FoundProgram findProgram(const std::wstring& name) {
    MachineState& machine = machineOfSelf();
    FoundProgram found;
    for (const std::wstring& candidate : candidatesFor(name)) {
        const std::optional<std::wstring> full = makeFullPath(candidate, self().currentDirectory);
        if (!full) {
            continue;
        }
        const Lookup file = lookUpForSelf(*full);
        if (!file.node || file.node->isDirectory()) {
            // A directory of this name is the more telling error.
            const bool isDenied = file.node || found.error == platform::errorAccessDenied;
            found.error = isDenied ? platform::errorAccessDenied : file.error;
            continue;
        }
        found.path = full->starts_with(L"\\\\?\\") ? full->substr(4) : *full;
        found.program = programOf(machine, found.path, *file.node);
        found.error = found.program ? platform::errorSuccess : platform::errorBadProgram;
        break;
    }
    return found;
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
    simulation::FoundProgram found;
    ErrorCode error = fault;
    if (error == errorSuccess) {
        error = text.size() > simulation::longestCommandLine ? errorFileNameTooLong : errorSuccess;
    }
    const std::vector<std::wstring> arguments = simulation::splitCommandLine(text);
    if (error == errorSuccess) {
        found = arguments.front().empty() ? simulation::FoundProgram{{}, nullptr, errorInvalidParameter}
                                          : simulation::findProgram(arguments.front());
        error = found.error;
    }
    if (error != errorSuccess) {
        machine.started.push_back(record);
        failWith(error);
        return std::nullopt;
    }
    Process& process = machine.addProcess(arguments, found.program);
    process.parent = self().id;
    process.module = found.path;
    process.currentDirectory = self().currentDirectory;
    process.environment = self().environment;
    record.id = process.id;
    record.started = true;
    machine.started.push_back(record);
    return ChildProcess{addProcessObject(ObjectKind::process, process.id),
                        addProcessObject(ObjectKind::thread, process.id), process.systemId};
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
    beginOperation("waitForInputIdle", std::wstring(), false, {milliseconds});
}

Handle openProcess(std::uint32_t processId) {
    if (const ErrorCode fault = beginOperation("openProcess", std::wstring(), false, {processId})) {
        failWith(fault);
        return Handle::none;
    }
    const Process* process = machineOfSelf().findBySystemId(processId);
    if (process == nullptr) {
        failWith(errorInvalidParameter);
        return Handle::none;
    }
    return addProcessObject(ObjectKind::process, process->id);
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
            object->snapshotEntries.push_back({simulation::fileNameOf(process->module), process->systemId});
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
