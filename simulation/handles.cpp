#include "platform/handles.h"

#include "simulation/machine_state.h"

namespace simulation {

std::uintptr_t addObject(std::unique_ptr<Object> object) {
    const std::uintptr_t handle = machineOfSelf().lastHandle += 4;
    self().objects[handle] = std::move(object);
    return handle;
}

Object* objectOf(std::uintptr_t handle, ObjectKind kind) {
    const auto found = self().objects.find(handle);
    return found != self().objects.end() && found->second->kind == kind ? found->second.get() : nullptr;
}

void releaseObject(MachineState& machine, Object& object) {
    if (object.file) {
        closeOpenFile(machine, *object.file);
    }
    if (object.kind == ObjectKind::semaphore) {
        releaseSemaphore(machine, object.semaphore);
    }
    if (object.kind == ObjectKind::pipe) {
        releasePipeEnd(machine, object);
    }
}

}  // namespace simulation

namespace platform {

using simulation::beginOperation;
using simulation::machineOfSelf;
using simulation::self;

void closeHandle(Handle handle) {
    beginOperation("closeHandle");
    const auto found = self().objects.find(static_cast<std::uintptr_t>(handle));
    if (found == self().objects.end()) {
        return;
    }
    simulation::releaseObject(machineOfSelf(), *found->second);
    self().objects.erase(found);
}

}  // namespace platform
