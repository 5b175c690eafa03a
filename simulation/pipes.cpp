#include "platform/pipes.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr platform::ErrorCode errorBrokenPipe = 109;
constexpr platform::ErrorCode errorPipeBusy = 231;
constexpr platform::ErrorCode errorNoData = 232;

Pipe* findPipe(MachineState& machine, const std::wstring& name) {
    const auto found = machine.pipes.find(upperCase(name));
    return found != machine.pipes.end() && found->second.isServed ? &found->second : nullptr;
}

// The pipe at the other end of a client; null if its server has ended, even if another one serves the name.
Pipe* serverOf(MachineState& machine, const Object& client) {
    Pipe* pipe = findPipe(machine, client.pipe);
    return pipe != nullptr && pipe->server == client.pipeServer ? pipe : nullptr;
}

bool hasRoom(const Pipe& pipe, std::size_t bytes) {
    return pipe.isRead || pipe.unread + bytes <= pipe.bufferSize;
}

}  // namespace

void servePipe(const std::wstring& name) {
    Pipe& pipe = machineOfSelf().pipes[upperCase(name)];
    ++pipe.server;
    pipe.isServed = true;
    pipe.isBusy = false;
    pipe.isConnected = false;
    pipe.isRead = true;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::pipe;
    object->servedPipe = name;
    addObject(std::move(object));
}

void servePipeToNobody(const std::wstring& name) {
    servePipe(name);
    machineOfSelf().pipes[upperCase(name)].isBusy = true;
}

void servePipeWithoutReading(const std::wstring& name, std::size_t bufferSize) {
    servePipe(name);
    Pipe& pipe = machineOfSelf().pipes[upperCase(name)];
    pipe.isRead = false;
    pipe.bufferSize = bufferSize;
    pipe.unread = 0;
}

void readPipe(const std::wstring& name) {
    MachineState& machine = machineOfSelf();
    Pipe& pipe = machine.pipes[upperCase(name)];
    pipe.isRead = true;
    pipe.isBusy = pipe.isConnected;
    machine.wakePipeWaiters(upperCase(name));
}

void releasePipeEnd(MachineState& machine, const Object& object) {
    Pipe* pipe = object.pipe.empty() ? nullptr : serverOf(machine, object);
    if (pipe != nullptr) {
        pipe->isConnected = false;
        pipe->isBusy = !pipe->isRead;
        machine.wakePipeWaiters(upperCase(object.pipe));
    }
    if (!object.servedPipe.empty()) {
        machine.pipes[upperCase(object.servedPipe)].isServed = false;
        machine.wakePipeWaiters(upperCase(object.servedPipe));
    }
}

std::unique_ptr<Object> openPipe(MachineState& machine, const std::wstring& name) {
    Pipe* pipe = findPipe(machine, name);
    if (pipe == nullptr || pipe->isBusy) {
        failWith(pipe == nullptr ? platform::errorFileNotFound : errorPipeBusy);
        return nullptr;
    }
    pipe->isBusy = true;
    pipe->isConnected = true;
    pipe->payloads.emplace_back();
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::pipe;
    object->pipe = name;
    object->pipeServer = pipe->server;
    return object;
}

}  // namespace simulation

namespace platform {

bool waitNamedPipe(const std::wstring& name, std::uint32_t milliseconds) {
    if (const ErrorCode fault = simulation::beginOperation("waitNamedPipe", name, false, {milliseconds})) {
        return simulation::failWith(fault);
    }
    simulation::MachineState& machine = simulation::machineOfSelf();
    const std::uint64_t end =
        milliseconds == waitForever ? simulation::never : machine.elapsed + milliseconds;
    for (bool isInTime = true;;
         isInTime = machine.waitForPipe(simulation::self(), simulation::upperCase(name), end)) {
        const simulation::Pipe* pipe = simulation::findPipe(machine, name);
        if (pipe == nullptr) {
            return simulation::failWith(errorFileNotFound);
        }
        if (!pipe->isBusy) {
            return true;
        }
        if (!isInTime || machine.elapsed >= end) {
            return simulation::failWith(121);  // timed out
        }
    }
}

bool writePipe(Handle pipe, const std::string& bytes) {
    if (const ErrorCode fault = simulation::beginOperation("writePipe")) {
        return simulation::failWith(fault);
    }
    const auto found = simulation::self().objects.find(static_cast<std::uintptr_t>(pipe));
    if (found == simulation::self().objects.end() || found->second->pipe.empty()) {
        return simulation::failWith(errorInvalidHandle);
    }
    simulation::MachineState& machine = simulation::machineOfSelf();
    const simulation::Object& client = *found->second;
    simulation::Pipe* server = simulation::serverOf(machine, client);
    ErrorCode ifServerIsGone = simulation::errorNoData;
    while (server != nullptr && !simulation::hasRoom(*server, bytes.size())) {
        machine.waitForPipe(simulation::self(), simulation::upperCase(client.pipe), simulation::never);
        server = simulation::serverOf(machine, client);
        ifServerIsGone = simulation::errorBrokenPipe;
    }
    if (server == nullptr) {
        return simulation::failWith(ifServerIsGone);
    }
    server->unread += bytes.size();
    server->payloads.back() += bytes;
    return true;
}

}  // namespace platform
