#include <algorithm>

#include "platform/clock.h"
#include "platform/console.h"
#include "platform/desktop.h"
#include "platform/environment.h"
#include "platform/users.h"
#include "simulation/machine_state.h"

// What the machine answers about its clock, environment, users, console and libraries.
namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::MachineState;
using simulation::self;
using simulation::upperCase;

namespace {

// The system's own codes, and the same as results of its object model.
bool hasText(ErrorCode code) {
    return code < 16000 || code >> 16U == 0x8007U;
}

}  // namespace

std::uint32_t tickCount() {
    beginOperation("tickCount");
    return machineOfSelf().tickStart + static_cast<std::uint32_t>(machineOfSelf().elapsed);
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    beginOperation("sleepMilliseconds");
    machineOfSelf().sleep(self(), milliseconds);
}

std::optional<std::wstring> environmentValue(const std::wstring& name) {
    if (const ErrorCode fault = beginOperation("environmentValue", name)) {
        failWith(fault);
        return std::nullopt;
    }
    const auto found = self().environment.find(upperCase(name));
    if (found == self().environment.end()) {
        failWith(203);
        return std::nullopt;
    }
    return found->second.second;
}

int putEnvironmentText(const std::wstring& assignment) {
    if (const ErrorCode fault = beginOperation("putEnvironmentText", assignment)) {
        failWith(fault);
        return -1;
    }
    const std::size_t separator = assignment.find(L'=');
    if (separator == std::wstring::npos || separator == 0) {
        failWith(errorInvalidParameter);
        return -1;
    }
    const std::wstring name = assignment.substr(0, separator);
    const std::wstring value = assignment.substr(separator + 1);
    if (value.empty()) {
        self().environment.erase(upperCase(name));
    } else {
        self().environment[upperCase(name)] = {name, value};
    }
    return 0;
}

bool currentUserName(std::size_t capacity, std::wstring& name) {
    if (const ErrorCode fault = beginOperation("currentUserName")) {
        return failWith(fault);
    }
    if (machineOfSelf().userName.size() + 1 > capacity) {
        return failWith(122);
    }
    name = machineOfSelf().userName;
    return true;
}

SecurityId administratorsGroupId() {
    if (const ErrorCode fault = beginOperation("administratorsGroupId")) {
        failWith(fault);
        return SecurityId::none;
    }
    return static_cast<SecurityId>(544);
}

void freeSecurityId(SecurityId /*id*/) {
    beginOperation("freeSecurityId");
}

bool accountName(SecurityId id, std::size_t capacity, std::wstring& name) {
    if (const ErrorCode fault = beginOperation("accountName")) {
        return failWith(fault);
    }
    if (id == SecurityId::none) {
        return failWith(errorInvalidParameter);
    }
    if (machineOfSelf().administratorsName.size() + 1 > capacity) {
        return failWith(122);
    }
    name = machineOfSelf().administratorsName;
    return true;
}

LocalGroups localGroupsOfUser(const std::wstring& userName, std::uint32_t /*preferredSize*/) {
    LocalGroups groups;
    const MachineState& machine = machineOfSelf();
    groups.status = beginOperation("localGroupsOfUser", userName);
    groups.totalEntries = static_cast<std::uint32_t>(machine.userGroups.size());
    if (groups.status != 0) {
        groups.totalEntries = 0;
        return groups;
    }
    if (upperCase(userName) != upperCase(machine.userName)) {
        groups.status = 2221;  // no such user
        groups.totalEntries = 0;
        return groups;
    }
    groups.entriesRead = groups.totalEntries;
    groups.names = machine.userGroups;
    return groups;
}

bool systemVersion(std::uint32_t& major, std::uint32_t& minor) {
    if (const ErrorCode fault = beginOperation("systemVersion")) {
        return failWith(fault);
    }
    major = machineOfSelf().major;
    minor = machineOfSelf().minor;
    return true;
}

Library loadLibrary(const std::wstring& name) {
    const ErrorCode fault = beginOperation("loadLibrary", name);
    const bool isThere = machineOfSelf().hasShellLibrary && upperCase(name) == L"SHELL32.DLL";
    if (fault != errorSuccess || !isThere) {
        failWith(fault != errorSuccess ? fault : 126);
        return Library::none;
    }
    return static_cast<Library>(1);
}

TextFunction textFunction(Library library, const std::string& name) {
    const ErrorCode fault = beginOperation("textFunction", std::wstring(name.begin(), name.end()));
    const bool isThere = library != Library::none && machineOfSelf().hasAppIdFunction &&
                         name == "SetCurrentProcessExplicitAppUserModelID";
    if (fault != errorSuccess || !isThere) {
        failWith(fault != errorSuccess ? fault : 127);
        return TextFunction::none;
    }
    return static_cast<TextFunction>(1);
}

void callTextFunction(TextFunction function, const std::wstring& text) {
    beginOperation("callTextFunction", text);
    if (function != TextFunction::none) {
        self().appUserModelId = text;
    }
}

void freeLibrary(Library /*library*/) {
    beginOperation("freeLibrary");
}

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

std::wstring errorText(ErrorCode code) {
    switch (code) {
        case errorSuccess:
            return L"The operation completed successfully.\r\n";
        case errorFileNotFound:
            return L"The system cannot find the file specified.\r\n";
        case errorPathNotFound:
            return L"The system cannot find the path specified.\r\n";
        case errorAccessDenied:
            return L"Access is denied.\r\n";
        case errorSharingViolation:
            return L"The process cannot access the file because it is being used by another process.\r\n";
        case errorDiskFull:
            return L"There is not enough space on the disk.\r\n";
        case errorDirectoryNotEmpty:
            return L"The directory is not empty.\r\n";
        case errorAlreadyExists:
            return L"Cannot create a file when that file already exists.\r\n";
        case 193:
            return L"%1 is not a valid Win32 application.\r\n";
        default:
            return hasText(code) ? L"The system has a text for this.\r\n" : L"";
    }
}

}  // namespace platform
