#include "kiosk/shell_role.h"

#include <cstdint>
#include <string>

#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "platform/registry.h"

namespace zellauncher {

namespace {

constexpr const wchar_t* winLogonKey = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* kioskShellsKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* shellValue = L"Shell";
constexpr const wchar_t* kioskShellValue = L"KSD_SHELL";
constexpr std::uint32_t shellBytes = 1000;

void logRegistryFailure(const wchar_t* format, std::initializer_list<FormatArgument> arguments) {
    std::string line;
    wideToNarrow(line, formatText(format, arguments));
    logDebug(line);
}

// Opens the key for reading; `none` with a debug line on failure.
platform::RegistryKey openForReading(const wchar_t* path, const wchar_t* message) {
    platform::RegistryKey key = platform::RegistryKey::none;
    const std::uint32_t code = platform::openRegistryKey(platform::RegistryRoot::localMachine, path,
                                                         platform::registryQueryValue, key);
    if (code != 0) {
        logRegistryFailure(message, {std::wstring(path), std::int64_t{static_cast<std::int32_t>(code)}});
    }
    return key;
}

// The message names the logon shell for both values: its words are settled.
void readShell(platform::RegistryKey key, const wchar_t* valueName, std::uint32_t& size, std::wstring& text,
               const wchar_t* message) {
    if (key == platform::RegistryKey::none) {
        return;
    }
    const std::uint32_t code = platform::queryRegistryText(key, valueName, size, text);
    if (code != 0) {
        logRegistryFailure(message, {std::wstring(winLogonKey), std::wstring(shellValue),
                                     std::int64_t{static_cast<std::int32_t>(code)}});
    }
}

}  // namespace

bool isKioskShellActive() {
    // One size serves both values, so a kiosk shell that is longer than the logon shell is not read.
    std::uint32_t size = shellBytes;
    std::wstring shell;
    platform::RegistryKey key =
        openForReading(winLogonKey, L"ZLNCH0057E: Error opening HKLM\\%S key: rc = %d");
    readShell(key, shellValue, size, shell, L"ZLNCH0058E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);

    std::wstring kioskShell;
    key = openForReading(kioskShellsKey, L"ZLNCH0131E: Error opening HKLM\\%S key: rc = %d");
    readShell(key, kioskShellValue, size, kioskShell, L"ZLNCH0134E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);
    return equalIgnoringCase(shell, kioskShell);
}

void runKioskShellRole() {
    logFatal("ZELLauncher> this version can not give a kiosk machine its desktop");
}

}  // namespace zellauncher
