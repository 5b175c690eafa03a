#include "explain/environment.h"

#include <algorithm>

#include "foundation/text.h"

namespace explain {

namespace {

auto findEntry(const Variables& variables, const std::wstring& name) {
    return std::find_if(variables.begin(), variables.end(), [&](const auto& variable) {
        return zellauncher::equalIgnoringCase(variable.first, name);
    });
}

std::wstring directoryOf(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\'));
}

}  // namespace

void setVariable(Variables& variables, const std::wstring& name, const std::wstring& value) {
    unsetVariable(variables, name);
    variables[name] = value;
}

void unsetVariable(Variables& variables, const std::wstring& name) {
    const auto found = findEntry(variables, name);
    if (found != variables.end()) {
        variables.erase(found);
    }
}

const std::wstring* findVariable(const Variables& variables, const std::wstring& name) {
    const auto found = findEntry(variables, name);
    return found != variables.end() ? &found->second : nullptr;
}

System defaultSystem(const StartOptions& options) {
    const std::wstring user = options.user.value_or(L"user");
    const std::wstring profile = L"C:\\Users\\" + user;
    System system;
    system.user = user;
    system.currentDirectory = directoryOf(options.install.path + L"\\zel\\");
    system.environment = {
        {L"ALLUSERSPROFILE", L"C:\\ProgramData"},
        {L"APPDATA", profile + L"\\AppData\\Roaming"},
        {L"CommonProgramFiles", L"C:\\Program Files\\Common Files"},
        {L"CommonProgramFiles(x86)", L"C:\\Program Files (x86)\\Common Files"},
        {L"CommonProgramW6432", L"C:\\Program Files\\Common Files"},
        {L"COMPUTERNAME", L"COMPUTER"},
        {L"ComSpec", L"C:\\Windows\\system32\\cmd.exe"},
        {L"DriverData", L"C:\\Windows\\System32\\Drivers\\DriverData"},
        {L"HOMEDRIVE", L"C:"},
        {L"HOMEPATH", L"\\Users\\" + user},
        {L"LOCALAPPDATA", profile + L"\\AppData\\Local"},
        {L"LOGONSERVER", L"\\\\COMPUTER"},
        {L"NUMBER_OF_PROCESSORS", L"2"},
        {L"OS", L"Windows_NT"},
        {L"PATH", L"C:\\Windows\\system32;C:\\Windows"},
        {L"PATHEXT", L".COM;.EXE;.BAT;.CMD;.VBS;.VBE;.JS;.JSE;.WSF;.WSH;.MSC"},
        {L"PROCESSOR_ARCHITECTURE", L"AMD64"},
        {L"PROCESSOR_IDENTIFIER", L"Intel64 Family 6 Model 85 Stepping 7, GenuineIntel"},
        {L"PROCESSOR_LEVEL", L"6"},
        {L"PROCESSOR_REVISION", L"5507"},
        {L"ProgramData", L"C:\\ProgramData"},
        {L"ProgramFiles", L"C:\\Program Files"},
        {L"ProgramFiles(x86)", L"C:\\Program Files (x86)"},
        {L"ProgramW6432", L"C:\\Program Files"},
        {L"PUBLIC", L"C:\\Users\\Public"},
        {L"SESSIONNAME", L"Console"},
        {L"SystemDrive", L"C:"},
        {L"SystemRoot", L"C:\\Windows"},
        {L"TEMP", profile + L"\\AppData\\Local\\Temp"},
        {L"TMP", profile + L"\\AppData\\Local\\Temp"},
        {L"USERDOMAIN", L"COMPUTER"},
        {L"USERNAME", user},
        {L"USERPROFILE", profile},
        {L"windir", L"C:\\Windows"},
    };
    return system;
}

}  // namespace explain
