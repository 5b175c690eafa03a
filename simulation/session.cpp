#include "platform/session.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::ObjectKind;

namespace {

constexpr ErrorCode errorNoSuchPrivilege = 1313;
constexpr ErrorCode errorNotAllAssigned = 1300;
constexpr Privilege shutdownPrivilege = Privilege{19};

bool isToken(Handle handle) {
    return simulation::objectOf(static_cast<std::uintptr_t>(handle), ObjectKind::token) != nullptr;
}

}  // namespace

void endSession(std::uint32_t how, std::uint32_t reason) {
    if (const ErrorCode fault = beginOperation("endSession")) {
        failWith(fault);
        return;
    }
    machineOfSelf().sessionEnds.push_back({how, reason, machineOfSelf().isShutdownEnabled});
}

Handle openOwnToken() {
    if (const ErrorCode fault = beginOperation("openOwnToken")) {
        failWith(fault);
        return Handle::none;
    }
    auto object = std::make_unique<simulation::Object>();
    object->kind = ObjectKind::token;
    return static_cast<Handle>(simulation::addObject(std::move(object)));
}

Privilege findPrivilege(const std::wstring& name) {
    const ErrorCode fault = beginOperation("findPrivilege", name);
    if (fault != errorSuccess || name != L"SeShutdownPrivilege") {
        failWith(fault != errorSuccess ? fault : errorNoSuchPrivilege);
        return Privilege::none;
    }
    return shutdownPrivilege;
}

bool adjustPrivilege(Handle token, Privilege privilege, PrivilegeState state) {
    ErrorCode error = beginOperation("adjustPrivilege");
    if (error == errorSuccess && !isToken(token)) {
        error = errorInvalidHandle;
    }
    const bool isHeld = privilege == shutdownPrivilege && machineOfSelf().hasShutdownPrivilege;
    if (error == errorSuccess && !isHeld) {
        error = errorNotAllAssigned;
    }
    if (error != errorSuccess) {
        return failWith(error);
    }
    machineOfSelf().isShutdownEnabled = state == PrivilegeState::enabled;
    return true;
}

void sendToDebugger(const std::wstring& text) {
    beginOperation("sendToDebugger", text);
    machineOfSelf().debuggerTexts.push_back(text);
}

}  // namespace platform
