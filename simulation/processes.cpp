#include <algorithm>

#include "platform/child_processes.h"
#include "platform/interprocess.h"
#include "platform/process.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

bool isBlank(wchar_t unit) {
    return unit == L' ' || unit == L'\t';
}

// The program ends at its closing quote or at the first blank; nothing in it is an escape.
std::wstring takeProgram(const std::wstring& text, std::size_t& position) {
    const bool isQuoted = !text.empty() && text.front() == L'"';
    const std::size_t begin = isQuoted ? 1 : 0;
    const std::size_t end = std::min(text.size(), text.find_first_of(isQuoted ? L"\"" : L" \t", begin));
    position = isQuoted ? end + 1 : end;
    return text.substr(begin, end - begin);
}

// Backslashes count as themselves, but in front of a double quote two stand for one and an odd one
// makes the quote a character. Two quotes inside of quotes are one character, and the quoting ends.
std::wstring takeWord(const std::wstring& text, std::size_t& position) {
    std::wstring word;
    bool isQuoted = false;
    while (true) {
        std::size_t backslashes = 0;
        for (; position < text.size() && text[position] == L'\\'; ++position) {
            ++backslashes;
        }
        const bool isAtQuote = position < text.size() && text[position] == L'"';
        word.append(isAtQuote ? backslashes / 2 : backslashes, L'\\');
        if (position >= text.size() || (!isQuoted && isBlank(text[position]))) {
            return word;
        }
        if (!isAtQuote || backslashes % 2 == 1) {
            word += text[position++];
        } else if (isQuoted && position + 1 < text.size() && text[position + 1] == L'"') {
            word += L'"';
            position += 2;
            isQuoted = false;
        } else {
            isQuoted = !isQuoted;
            ++position;
        }
    }
}

}  // namespace

std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine) {
    std::size_t position = 0;
    std::vector<std::wstring> words = {takeProgram(commandLine, position)};
    while (true) {
        while (position < commandLine.size() && isBlank(commandLine[position])) {
            ++position;
        }
        if (position >= commandLine.size()) {
            return words;
        }
        words.push_back(takeWord(commandLine, position));
    }
}

void releaseSemaphore(MachineState& machine, const std::wstring& name) {
    const auto found = machine.semaphores.find(name);
    if (found != machine.semaphores.end() && --found->second.holders <= 0) {
        machine.semaphores.erase(found);
    }
}

void holdSemaphore(const std::wstring& name, bool mayBeOpened) {
    MachineState& machine = machineOfSelf();
    Semaphore& semaphore = machine.semaphores[name];
    semaphore.mayBeOpened = mayBeOpened;
    ++semaphore.holders;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::semaphore;
    object->semaphore = name;
    self().objects[machine.lastHandle += 4] = std::move(object);
}

namespace {

constexpr platform::ErrorCode errorBadProgram = 193;
constexpr std::size_t longestCommandLine = 32766;

std::uintptr_t addObject(std::unique_ptr<Object> object) {
    const std::uintptr_t handle = machineOfSelf().lastHandle += 4;
    self().objects[handle] = std::move(object);
    return handle;
}

Object* objectOf(platform::Handle handle, ObjectKind kind) {
    const auto found = self().objects.find(static_cast<std::uintptr_t>(handle));
    return found != self().objects.end() && found->second->kind == kind ? found->second.get() : nullptr;
}

// The program file that a command line names, with `.exe` when it is missing; why there is none.
platform::ErrorCode findProgram(const std::wstring& word, std::wstring& path) {
    MachineState& machine = machineOfSelf();
    platform::ErrorCode error = platform::errorFileNotFound;
    for (const std::wstring& candidate : {word, word + L".exe"}) {
        const std::optional<std::wstring> full = makeFullPath(candidate, self().currentDirectory);
        if (!full) {
            continue;
        }
        const Lookup found = lookUp(machine, parsePath(*full, self().currentDirectory, 260));
        if (!found.node || found.node->isDirectory()) {
            // That a directory has the name says more than that nothing has the next one.
            const bool isDenied = found.node || error == platform::errorAccessDenied;
            error = isDenied ? platform::errorAccessDenied : found.error;
            continue;
        }
        path = *full;
        return machine.programs.count(upperCase(path)) == 0 ? errorBadProgram : platform::errorSuccess;
    }
    return error;
}

std::wstring fileNameOf(const std::wstring& path) {
    return path.substr(path.find_last_of(L"\\/") + 1);
}

bool nextEntry(Object& snapshot, platform::ProcessEntry& entry) {
    if (snapshot.snapshotPosition >= snapshot.snapshotNames.size()) {
        return failWith(platform::errorNoMoreFiles);
    }
    entry.executableName = snapshot.snapshotNames[snapshot.snapshotPosition];
    entry.processId = snapshot.snapshotIds[snapshot.snapshotPosition];
    ++snapshot.snapshotPosition;
    return true;
}

}  // namespace

}  // namespace simulation

namespace platform {

using simulation::addObject;
using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::Object;
using simulation::ObjectKind;
using simulation::objectOf;
using simulation::Process;
using simulation::self;

bool createProcess(const std::wstring& commandLine, const StartInformation& start, ChildProcess& child) {
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
    const std::vector<std::wstring> words = simulation::splitCommandLine(text);
    if (error == errorSuccess) {
        error = words.front().empty() ? errorInvalidParameter : simulation::findProgram(words.front(), path);
    }
    if (error != errorSuccess) {
        machine.started.push_back(record);
        return failWith(error);
    }
    Process& process = machine.addProcess(words, machine.programs.at(simulation::upperCase(path)));
    process.parent = self().id;
    process.module = path;
    process.currentDirectory = self().currentDirectory;
    process.environment = self().environment;
    record.id = process.id;
    record.started = true;
    machine.started.push_back(record);
    for (const ObjectKind kind : {ObjectKind::process, ObjectKind::thread}) {
        auto object = std::make_unique<Object>();
        object->kind = kind;
        object->processId = process.id;
        (kind == ObjectKind::process ? child.process : child.thread) =
            static_cast<Handle>(addObject(std::move(object)));
    }
    child.processId = process.id;
    return true;
}

bool hasProcessEnded(Handle process) {
    if (beginOperation("hasProcessEnded") != errorSuccess) {
        return false;
    }
    const Object* object = objectOf(process, ObjectKind::process);
    return object != nullptr &&
           machineOfSelf().processes.at(object->processId)->state == simulation::ProcessState::ended;
}

std::optional<std::uint32_t> processExitCode(Handle process) {
    const ErrorCode fault = beginOperation("processExitCode");
    const Object* object = objectOf(process, ObjectKind::process);
    if (fault != errorSuccess || object == nullptr) {
        failWith(fault != errorSuccess ? fault : errorInvalidHandle);
        return std::nullopt;
    }
    const Process& child = *machineOfSelf().processes.at(object->processId);
    return child.state == simulation::ProcessState::ended ? child.end.status : exitCodeStillActive;
}

void waitForInputIdle(Handle /*process*/, std::uint32_t /*milliseconds*/) {
    beginOperation("waitForInputIdle");
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
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::process;
    object->processId = processId;
    return static_cast<Handle>(addObject(std::move(object)));
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
        object->snapshotNames.push_back(name);
        object->snapshotIds.push_back(4);
    }
    for (const auto& [id, process] : machine.processes) {
        if (process->state != simulation::ProcessState::ended) {
            object->snapshotNames.push_back(simulation::fileNameOf(process->module));
            object->snapshotIds.push_back(id);
        }
    }
    return static_cast<Handle>(addObject(std::move(object)));
}

bool firstProcess(Handle snapshot, ProcessEntry& entry) {
    if (const ErrorCode fault = beginOperation("firstProcess")) {
        return failWith(fault);
    }
    Object* object = objectOf(snapshot, ObjectKind::snapshot);
    if (object == nullptr) {
        return failWith(errorInvalidHandle);
    }
    object->snapshotPosition = 0;
    return simulation::nextEntry(*object, entry);
}

bool nextProcess(Handle snapshot, ProcessEntry& entry) {
    if (const ErrorCode fault = beginOperation("nextProcess")) {
        return failWith(fault);
    }
    Object* object = objectOf(snapshot, ObjectKind::snapshot);
    return object != nullptr ? simulation::nextEntry(*object, entry) : failWith(errorInvalidHandle);
}

Handle openSemaphore(const std::wstring& name, std::uint32_t /*access*/) {
    if (const ErrorCode fault = beginOperation("openSemaphore", name)) {
        failWith(fault);
        return Handle::none;
    }
    MachineState& machine = machineOfSelf();
    const auto found = machine.semaphores.find(name);
    if (found == machine.semaphores.end() || !found->second.mayBeOpened) {
        failWith(found == machine.semaphores.end() ? errorFileNotFound : errorAccessDenied);
        return Handle::none;
    }
    ++found->second.holders;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::semaphore;
    object->semaphore = name;
    return static_cast<Handle>(addObject(std::move(object)));
}

std::vector<std::wstring> commandLineArguments() {
    beginOperation("commandLineArguments");
    return self().words;
}

void removeCurrentDirectoryFromLibrarySearch() {
    beginOperation("removeCurrentDirectoryFromLibrarySearch");
    self().searchesCurrentDirectory = false;
}

std::uint32_t currentProcessId() {
    beginOperation("currentProcessId");
    return self().id;
}

void exitProcess(int status) {
    beginOperation("exitProcess");
    throw simulation::ProcessEnded{{simulation::EndKind::exited, static_cast<std::uint32_t>(status)},
                                   simulation::UnflushedData::kept};
}

void endWithAccessViolation() {
    beginOperation("endWithAccessViolation");
    throw simulation::ProcessEnded{{simulation::EndKind::accessViolation, 0xC0000005U},
                                   simulation::UnflushedData::lost};
}

ErrorCode lastError() {
    return self().lastError;
}

}  // namespace platform
