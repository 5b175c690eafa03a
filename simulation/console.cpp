#include "platform/console.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::machineOfSelf;
using simulation::MachineState;

std::wstring consoleTitle(std::size_t capacity) {
    beginOperation("consoleTitle");
    const MachineState& machine = machineOfSelf();
    return machine.hasConsole ? machine.consoleTitle.substr(0, capacity - 1) : std::wstring();
}

void setConsoleTitle(const std::wstring& title) {
    beginOperation("setConsoleTitle", title);
    if (machineOfSelf().hasConsole) {
        machineOfSelf().consoleTitle = title;
    }
}

Window findWindow(const std::wstring& title) {
    beginOperation("findWindow", title);
    const MachineState& machine = machineOfSelf();
    return machine.hasConsole && machine.consoleTitle == title ? static_cast<Window>(1) : Window::none;
}

void hideWindow(Window window) {
    beginOperation("hideWindow");
    if (window != Window::none) {
        machineOfSelf().isConsoleHidden = true;
    }
}

}  // namespace platform
