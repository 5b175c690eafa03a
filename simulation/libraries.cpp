#include "platform/libraries.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::self;
using simulation::upperCase;

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

}  // namespace platform
