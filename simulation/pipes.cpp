#include "platform/pipes.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr platform::ErrorCode errorPipeBusy = 231;

Pipe* findPipe(MachineState& machine, const std::wstring& name) {
    const auto found = machine.pipes.find(upperCase(name));
    return found != machine.pipes.end() && found->second.isServed ? &found->second : nullptr;
}

}  // namespace

void servePipe(const std::wstring& name) {
    MachineState& machine = machineOfSelf();
    machine.pipes[upperCase(name)].isServed = true;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::pipe;
    object->servedPipe = name;
    addObject(std::move(object));
}

void servePipeToNobody(const std::wstring& name) {
    servePipe(name);
    machineOfSelf().pipes[upperCase(name)].isBusy = true;
}

void releasePipeEnd(MachineState& machine, const Object& object) {
    if (!object.pipe.empty()) {
        machine.pipes[upperCase(object.pipe)].isBusy = false;
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
    pipe->payloads.emplace_back();
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::pipe;
    object->pipe = name;
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
    simulation::Pipe& written = simulation::machineOfSelf().pipes[simulation::upperCase(found->second->pipe)];
    if (!written.isServed) {
        return simulation::failWith(232);  // the server is gone
    }
    written.payloads.back() += bytes;
    return true;
}

}  // namespace platform
