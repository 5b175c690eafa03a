#include "simulation/machine.h"

#include <algorithm>

#include "simulation/machine_state.h"

// How the machine works
//
// A program is a function that is linked against this implementation of the system interface. Each
// process has a thread, but there is only one turn. Each thread waits on its own semaphore, and the
// running one passes the turn on when it sleeps, ends, or is switched. Nothing else synchronises, and
// nothing depends on the speed of the real machine.
//
// Every operation of the system interface begins with beginOperation (faults.cpp). It switches to another
// process if the generator or the test's plan says so, records the operation, kills the process if the
// test asked for that, and returns the error of an injected fault. An operation that fails by a fault has
// no effect. possible_errors.cpp lists the errors that each operation can have.
//
// A process ends by an exception that unwinds its thread (ProcessEnded); the launcher catches nothing that
// could stop it. At the normal end the buffers of open streams are flushed. At any other end they are
// lost, or kept as the test says. Handles and locks are released in every case.
//
// Time is a number of milliseconds. It only moves in runWhile, when all processes sleep.

namespace simulation {

namespace {

void collectTree(Node& directory, const std::wstring& path, std::vector<std::wstring>& all) {
    loadEntries(directory);
    for (const auto& [name, node] : directory.entries) {
        const std::wstring full = path + L"\\" + node->name;
        all.push_back(node->isDirectory() ? full + L"\\" : full);
        collectTree(*node, full, all);
    }
}

NodePointer copyTree(const Node& node) {
    auto copy = std::make_shared<Node>();
    copy->name = node.name;
    copy->attributes = node.attributes;
    copy->content = node.content;
    copy->host = node.host;
    for (const auto& [name, entry] : node.entries) {
        copy->entries[name] = copyTree(*entry);
    }
    return copy;
}

}  // namespace

Machine::Machine(std::uint64_t seed) : state(std::make_unique<MachineState>(seed)) {
    makeDrive(L'C');
    makeDrive(L'D');
    setEnvironment(L"TEMP", L"C:\\Temp");
    setEnvironment(L"HOMEDRIVE", L"C:");
    setEnvironment(L"HOMEPATH", L"\\Users\\ann");
    setEnvironment(L"USERNAME", L"ann");
    setEnvironment(L"USERPROFILE", L"C:\\Users\\ann");
    setEnvironment(L"PATH", L"C:\\Windows\\System32");
}

Machine::~Machine() {
    state->whenEnded = nullptr;
    for (const auto& [id, process] : state->processes) {
        state->stopProcess(*process);
    }
}

ProcessId Machine::start(const std::vector<std::wstring>& arguments, Program program) {
    Process& process = state->addProcess(arguments, std::move(program));
    process.environment = state->environment;
    process.currentDirectory = state->currentDirectory;
    process.module =
        makeFullPath(arguments.empty() ? L"C:\\program.exe" : arguments.front(), state->currentDirectory)
            .value_or(L"");
    return process.id;
}

void Machine::setModule(ProcessId process, const std::wstring& path) {
    state->processes.at(process)->module = path;
}

ProcessEnd Machine::waitFor(ProcessId process) {
    const Process& target = *state->processes.at(process);
    state->runWhile([&] { return target.state != ProcessState::ended; }, never);
    return target.end;
}

std::optional<ProcessEnd> Machine::waitFor(ProcessId process, std::uint64_t limitMilliseconds) {
    const Process& target = *state->processes.at(process);
    state->runWhile([&] { return target.state != ProcessState::ended; }, limitMilliseconds);
    return target.state == ProcessState::ended ? std::optional(target.end) : std::nullopt;
}

void Machine::limitOperations(std::uint64_t ofEachProcess) {
    state->operationLimit = ofEachProcess;
}

ProcessEnd Machine::run(const std::vector<std::wstring>& arguments, Program program) {
    return waitFor(start(arguments, std::move(program)));
}

void Machine::runUntilIdle(std::uint64_t limitMilliseconds) {
    state->runWhile(
        [this] {
            return std::any_of(state->processes.begin(), state->processes.end(),
                               [](const auto& entry) { return entry.second->state != ProcessState::ended; });
        },
        limitMilliseconds);
}

void Machine::reuseProcessIds() {
    state->reusesProcessIds = true;
}

std::uint32_t Machine::systemIdOf(ProcessId process) const {
    return state->processes.at(process)->systemId;
}

void Machine::stop(ProcessId process) {
    state->stopProcess(*state->processes.at(process));
}

bool Machine::isRunning(ProcessId process) const {
    return state->processes.at(process)->state != ProcessState::ended;
}

ProcessEnd Machine::endOf(ProcessId process) const {
    return state->processes.at(process)->end;
}

void Machine::setSwitching(const Switching& switching) {
    state->switchOdds = switching.oneIn;
    state->stallOdds = switching.stallOneIn;
    state->longestStall = switching.longestStallMilliseconds;
}

void Machine::stallOnce(const Stall& stall) {
    state->stall = stall;
}

void Machine::switchOnlyAt(std::function<bool(const char*, const std::wstring&)> isSwitchingOperation) {
    state->isSwitchingOperation = std::move(isSwitchingOperation);
}

void Machine::followChoices(const std::vector<Choice>& choices) {
    state->followsChoices = true;
    state->choices = choices;
    state->nextChoice = 0;
    state->switchingPoints.clear();
}

const std::vector<SwitchingPoint>& Machine::switchingPoints() const {
    return state->switchingPoints;
}

void Machine::beforeOperation(std::function<void(const std::string&, const std::wstring&)> observer) {
    state->beforeOperation = std::move(observer);
}

void Machine::whenEnded(std::function<void(ProcessId)> observer) {
    state->whenEnded = std::move(observer);
}

void Machine::installProgram(const std::wstring& path, Program program) {
    if (!exists(path)) {
        writeFile(path, "");
    }
    state->programs[upperCase(path)] = std::move(program);
}

void Machine::playPrograms(Program program) {
    state->anyProgram = std::move(program);
}

const std::vector<StartedProcess>& Machine::startedProcesses() const {
    return state->started;
}

void Machine::makeDrive(wchar_t letter) {
    NodePointer& root = state->drives[upperCase({letter, L':'})];
    if (!root) {
        root = std::make_shared<Node>();
        root->attributes = platform::attributeDirectory;
    }
}

void Machine::removeDrive(wchar_t letter) {
    state->drives.erase(upperCase({letter, L':'}));
}

static Lookup find(MachineState& machine, const std::wstring& path) {
    return lookUp(machine, parseWithoutLimit(path));
}

void Machine::makeDirectory(const std::wstring& path) {
    makeNode(*state, path, platform::attributeDirectory);
}

void Machine::writeFile(const std::wstring& path, const std::string& content) {
    Node& file = *makeNode(*state, path, 0);
    if (file.isDirectory()) {
        throw std::invalid_argument("the path is a directory of the simulated machine");
    }
    file.host.reset();
    file.content = content;
    file.onDevice.reset();
}

std::optional<std::string> Machine::readFile(const std::wstring& path) const {
    const Lookup found = find(*state, path);
    if (!found.node || found.node->isDirectory()) {
        return std::nullopt;
    }
    loadContent(*found.node);
    return found.node->content;
}

std::wstring Machine::fullPath(const std::wstring& path) const {
    const ParsedPath parsed = parsePath(path, state->currentDirectory, plainPathLimit);
    if (parsed.error != platform::errorSuccess) {
        return path;
    }
    std::wstring full = parsed.components.front() + (parsed.components.size() == 1 ? L"\\" : L"");
    for (std::size_t i = 1; i < parsed.components.size(); ++i) {
        full += L"\\" + parsed.components[i];
    }
    return full;
}

bool Machine::exists(const std::wstring& path) const {
    return find(*state, path).node != nullptr;
}

bool Machine::isDirectory(const std::wstring& path) const {
    const Lookup found = find(*state, path);
    return found.node && found.node->isDirectory();
}

std::uint32_t Machine::attributes(const std::wstring& path) const {
    const Lookup found = find(*state, path);
    return found.node ? found.node->attributes : 0;
}

void Machine::setAttributes(const std::wstring& path, std::uint32_t attributes) {
    const Lookup found = find(*state, path);
    if (found.node) {
        found.node->attributes = (found.node->attributes & platform::attributeDirectory) | attributes;
    }
}

void Machine::remove(const std::wstring& path) {
    const Lookup found = find(*state, path);
    if (found.node && found.parent) {
        found.parent->entries.erase(upperCase(found.leaf));
        if (found.parent->entriesOnDevice) {
            found.parent->entriesOnDevice->erase(upperCase(found.leaf));
        }
    }
}

std::vector<std::wstring> Machine::tree(const std::wstring& root) const {
    std::vector<std::wstring> all;
    const Lookup found = find(*state, root);
    if (found.node) {
        collectTree(*found.node, root.back() == L'\\' ? root.substr(0, root.size() - 1) : root, all);
    }
    std::sort(all.begin(), all.end());
    return all;
}

struct DiskImage::Content {
    std::map<std::wstring, NodePointer> drives;
};

DiskImage Machine::saveDisks() const {
    auto content = std::make_shared<DiskImage::Content>();
    for (const auto& [drive, root] : state->drives) {
        content->drives[drive] = copyTree(*root);
    }
    DiskImage image;
    image.content = std::move(content);
    return image;
}

void Machine::loadDisks(const DiskImage& image) {
    state->drives.clear();
    for (const auto& [drive, root] : image.content->drives) {
        state->drives[drive] = copyTree(*root);
    }
}

void Machine::refuse(const std::wstring& path, platform::ErrorCode error) {
    const Lookup found = find(*state, path);
    if (found.node) {
        found.node->refusal = error;
        state->hasRefusals = state->hasRefusals || error != platform::errorSuccess;
    }
}

void Machine::setFreeSpace(std::optional<std::uint64_t> bytes) {
    state->freeSpace = bytes;
}

void Machine::holdOpen(const std::wstring& path, HeldSharing sharing) {
    const Lookup found = find(*state, path);
    if (!found.node) {
        return;
    }
    auto file = std::make_unique<OpenFile>();
    file->node = found.node;
    file->canRead = true;
    file->sharesRead = sharing == HeldSharing::everything;
    file->sharesWrite = file->sharesRead;
    file->sharesDelete = file->sharesRead;
    found.node->opens.push_back(file.get());
    state->heldOpen[upperCase(path)] = std::move(file);
}

void Machine::releaseOpen(const std::wstring& path) {
    const auto held = state->heldOpen.find(upperCase(path));
    if (held != state->heldOpen.end()) {
        closeOpenFile(*state, *held->second);
        state->heldOpen.erase(held);
    }
}

void Machine::setEnvironment(const std::wstring& name, const std::wstring& value) {
    state->environment[upperCase(name)] = {name, value};
}

void Machine::unsetEnvironment(const std::wstring& name) {
    state->environment.erase(upperCase(name));
}

void Machine::setCurrentDirectory(const std::wstring& path) {
    state->currentDirectory = path;
}

void Machine::setUser(const std::wstring& name, const std::vector<std::wstring>& localGroups) {
    state->userName = name;
    state->userGroups = localGroups;
}

void Machine::setAdministratorsGroupName(const std::wstring& name) {
    state->administratorsName = name;
}

void Machine::setSystemVersion(std::uint32_t major, std::uint32_t minor) {
    state->systemVersion = {major, minor};
}

void Machine::addProcess(const std::wstring& executableName) {
    state->otherProcesses.push_back(executableName);
}

void Machine::createSemaphore(const std::wstring& name, SemaphoreAccess access) {
    state->semaphores[name] = {access, 1};
}

void Machine::removeSemaphore(const std::wstring& name) {
    state->semaphores.erase(name);
}

void Machine::refusePrivileges() {
    state->hasShutdownPrivilege = false;
}

bool Machine::isShutdownEnabled() const {
    return state->isShutdownEnabled;
}

const std::vector<SessionEnd>& Machine::sessionEnds() const {
    return state->sessionEnds;
}

const std::vector<std::wstring>& Machine::debuggerTexts() const {
    return state->debuggerTexts;
}

std::size_t Machine::openHandlesOf(ProcessId process) const {
    return state->processes.at(process)->objects.size();
}

void Machine::createPipe(const std::wstring& name, PipeState pipeState) {
    Pipe& pipe = state->pipes[upperCase(name)];
    pipe.isServed = true;
    pipe.isBusy = pipeState == PipeState::busy;
}

std::vector<std::string> Machine::pipePayloads(const std::wstring& name) const {
    const auto found = state->pipes.find(upperCase(name));
    return found == state->pipes.end() ? std::vector<std::string>() : found->second.payloads;
}

bool Machine::hasPipeClient(const std::wstring& name) const {
    const auto found = state->pipes.find(upperCase(name));
    return found != state->pipes.end() && found->second.isConnected;
}

platform::LocalTime Machine::now() const {
    return timeOf(*state);
}

void Machine::passDays(std::uint32_t days) {
    state->daysPassed += days;
}

std::uint64_t Machine::elapsedMilliseconds() const {
    return state->elapsed;
}

void Machine::setTickCount(std::uint32_t milliseconds) {
    state->tickStart = milliseconds - static_cast<std::uint32_t>(state->elapsed);
}

void Machine::setConsole(const std::wstring& title) {
    state->hasConsole = true;
    state->consoleTitle = title;
}

std::wstring Machine::consoleTitle() const {
    return state->consoleTitle;
}

bool Machine::isConsoleHidden() const {
    return state->isConsoleHidden;
}

void Machine::removeShellLibrary() {
    state->hasShellLibrary = false;
}

void Machine::removeAppIdFunction() {
    state->hasAppIdFunction = false;
}

void Machine::setLastProcessId(ProcessId id) {
    state->lastProcessId = id;
}

Surroundings Machine::surroundings() const {
    Surroundings found;
    for (const auto& [upper, variable] : state->environment) {
        found.environment[variable.first] = variable.second;
    }
    found.currentDirectory = state->currentDirectory;
    found.user = state->userName;
    found.isAdministrator = std::find(state->userGroups.begin(), state->userGroups.end(),
                                      state->administratorsName) != state->userGroups.end();
    found.processes = state->otherProcesses;
    found.programs = state->programs;
    found.hasFailures = !state->faults.empty() || state->stop || state->freeSpace ||
                        !state->heldOpen.empty() || state->hasRefusals;
    return found;
}

void Machine::inject(const Fault& fault) {
    state->faults.push_back({fault, 0});
}

void Machine::clearFaults() {
    state->faults.clear();
}

void Machine::stopDeadAt(std::uint64_t nth) {
    state->stop.reset();
    if (nth != 0) {
        stopDead({nth, 0, UnflushedData::lost});
    }
}

void Machine::stopDead(const Stop& stop) {
    state->stop = stop;
    state->seenOfStop = 0;
}

const std::vector<Operation>& Machine::operations() const {
    return state->operations;
}

std::uint64_t Machine::operationCount() const {
    return state->operations.size();
}

std::wstring Machine::appUserModelIdOf(ProcessId process) const {
    return state->processes.at(process)->appUserModelId;
}

bool Machine::currentDirectoryInLibrarySearch(ProcessId process) const {
    return state->processes.at(process)->searchesCurrentDirectory;
}

std::map<std::wstring, std::wstring> Machine::environmentOf(ProcessId process) const {
    std::map<std::wstring, std::wstring> variables;
    for (const auto& [upper, variable] : state->processes.at(process)->environment) {
        variables[variable.first] = variable.second;
    }
    return variables;
}

}  // namespace simulation
