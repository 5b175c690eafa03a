#include "platform/session.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::ObjectKind;
using simulation::self;

namespace {

constexpr ErrorCode errorNoSuchPrivilege = 1313;
constexpr ErrorCode errorNotAllAssigned = 1300;
constexpr Privilege shutdownPrivilege = Privilege{19};

bool isToken(Handle handle) {
    const auto found = self().objects.find(static_cast<std::uintptr_t>(handle));
    return found != self().objects.end() && found->second->kind == ObjectKind::token;
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
    const std::uintptr_t handle = machineOfSelf().lastHandle += 4;
    self().objects[handle] = std::move(object);
    return static_cast<Handle>(handle);
}

Privilege findPrivilege(const std::wstring& name) {
    const ErrorCode fault = beginOperation("findPrivilege", name);
    if (fault != errorSuccess || name != L"SeShutdownPrivilege") {
        failWith(fault != errorSuccess ? fault : errorNoSuchPrivilege);
        return Privilege::none;
    }
    return shutdownPrivilege;
}

void adjustPrivilege(Handle token, Privilege privilege, bool isEnabled) {
    ErrorCode error = beginOperation("adjustPrivilege");
    if (error == errorSuccess && !isToken(token)) {
        error = errorInvalidHandle;
    }
    const bool isHeld = privilege == shutdownPrivilege && machineOfSelf().hasShutdownPrivilege;
    if (error == errorSuccess && !isHeld) {
        error = errorNotAllAssigned;
    }
    if (error == errorSuccess) {
        machineOfSelf().isShutdownEnabled = isEnabled;
    }
    failWith(error);
}

void sendToDebugger(const std::wstring& text) {
    beginOperation("sendToDebugger", text);
    machineOfSelf().debuggerTexts.push_back(text);
}

}  // namespace platform
