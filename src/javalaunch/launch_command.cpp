#include "javalaunch/launch_command.h"

#include "instance/platform_lock.h"

namespace zellauncher {

PROCESS_WIDE std::wstring launchCommand;

void setCommandProgram(const std::wstring& path) {
    launchCommand = isMainProcess ? L"\"" + path + L"\"" : path;
}

void appendArgument(const std::wstring& text, Quoting quoting) {
    if (!isMainProcess) {
        launchCommand += L'\n' + text;
    } else if (quoting == Quoting::quoted) {
        launchCommand += L" \"" + text + L"\"";
    } else {
        launchCommand += L' ' + text;
    }
}

std::wstring quotedValue(const std::wstring& value) {
    return isMainProcess ? L"\"" + value + L"\"" : value;
}

void resetLaunchCommand() {
    launchCommand.assign(1, L'\0');
}

}  // namespace zellauncher
