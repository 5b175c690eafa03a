#include "platform/semaphores.h"

#include "simulation/machine_state.h"

namespace simulation {

void releaseSemaphore(MachineState& machine, const std::wstring& name) {
    const auto found = machine.semaphores.find(name);
    if (found != machine.semaphores.end() && --found->second.holders <= 0) {
        machine.semaphores.erase(found);
    }
}

void holdSemaphore(const std::wstring& name, SemaphoreAccess access) {
    MachineState& machine = machineOfSelf();
    Semaphore& semaphore = machine.semaphores[name];
    semaphore.access = access;
    ++semaphore.holders;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::semaphore;
    object->semaphore = name;
    addObject(std::move(object));
}

}  // namespace simulation

namespace platform {

using simulation::addObject;
using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::Object;
using simulation::ObjectKind;
using simulation::SemaphoreAccess;

Handle openSemaphore(const std::wstring& name, std::uint32_t access) {
    if (const ErrorCode fault = beginOperation("openSemaphore", name, false, {access})) {
        failWith(fault);
        return Handle::none;
    }
    MachineState& machine = machineOfSelf();
    const auto found = machine.semaphores.find(name);
    const bool exists = found != machine.semaphores.end();
    if (!exists || found->second.access == SemaphoreAccess::denied) {
        failWith(exists ? errorAccessDenied : errorFileNotFound);
        return Handle::none;
    }
    ++found->second.holders;
    auto object = std::make_unique<Object>();
    object->kind = ObjectKind::semaphore;
    object->semaphore = name;
    return static_cast<Handle>(addObject(std::move(object)));
}

}  // namespace platform
