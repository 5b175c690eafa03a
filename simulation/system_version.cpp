#include "platform/system_version.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;

std::optional<SystemVersion> systemVersion() {
    if (const ErrorCode fault = beginOperation("systemVersion")) {
        failWith(fault);
        return std::nullopt;
    }
    return machineOfSelf().systemVersion;
}

}  // namespace platform
