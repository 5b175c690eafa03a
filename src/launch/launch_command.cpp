#include "launch/launch_command.h"

#include "launch/launch_state.h"

namespace zellauncher {

void setCommandProgram(const std::wstring& path) {
    launchCommand = isMainProcess ? L"\"" + path + L"\"" : path;
}

void appendArgument(const std::wstring& text, bool quoted) {
    if (!isMainProcess) {
        launchCommand += L'\n' + text;
    } else if (quoted) {
        launchCommand += L" \"" + text + L"\"";
    } else {
        launchCommand += L' ' + text;
    }
}

}  // namespace zellauncher
