#include "javalaunch/launch_command.h"

#include "foundation/explanation.h"
#include "instance/platform_lock.h"

namespace zellauncher {

PROCESS_WIDE std::wstring launchCommand;

void setCommandProgram(const SourcedText& path) {
    launchCommand = isMainProcess ? L"\"" + path + L"\"" : std::wstring(path);
    explainProgram(path, launchCommand);
}

void appendArgument(const SourcedText& text, Quoting quoting) {
    if (!isMainProcess) {
        launchCommand += L'\n' + text;
    } else if (quoting == Quoting::quoted) {
        launchCommand += L" \"" + text + L"\"";
    } else {
        launchCommand += L' ' + text;
    }
    explainElement(text, launchCommand);
}

std::wstring quotedValue(const std::wstring& value) {
    return isMainProcess ? L"\"" + value + L"\"" : value;
}

void resetLaunchCommand() {
    launchCommand.assign(1, L'\0');
}

}  // namespace zellauncher
