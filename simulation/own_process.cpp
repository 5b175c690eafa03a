#include "platform/own_process.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::self;

std::vector<std::wstring> commandLineArguments() {
    beginOperation("commandLineArguments");
    return self().arguments;
}

void removeCurrentDirectoryFromLibrarySearch() {
    beginOperation("removeCurrentDirectoryFromLibrarySearch");
    self().searchesCurrentDirectory = false;
}

std::uint32_t currentProcessId() {
    beginOperation("currentProcessId");
    return self().systemId;
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

}  // namespace platform
