#include "launch/argument_screening.h"

#include <cstdint>
#include <string>

#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "instance/lock_owner.h"
#include "instance/platform_lock.h"

namespace zellauncher {

namespace {

struct ForbiddenText {
    const wchar_t* text;
    const char* message;
};

constexpr ForbiddenText forbiddenTexts[] = {
    {L"jvm.library.path",
     "ZLNCH0190E: zellauncher invoked with arg containing \"jvm.library.path\" - not allowed."},
    {L"java.library.path",
     "ZLNCH0191E: zellauncher invoked with arg containing \"java.library.path\" - not allowed."},
    {L"java.home", "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed."},
};

// The digits at the start of the text as an unsigned number; 0 without digits. Clamped to a number that
// no argument count reaches.
std::uint64_t parseDeclaredCount(const std::wstring& text) {
    constexpr std::uint64_t tooMany = std::uint64_t{1} << 32U;
    std::uint64_t number = 0;
    for (const wchar_t unit : text) {
        if (unit < L'0' || unit > L'9') {
            break;
        }
        number = number * 10 + static_cast<std::uint64_t>(unit - L'0');
        if (number >= tooMany) {
            return tooMany;
        }
    }
    return number;
}

}  // namespace

void checkUrlHandlerArgs(const Arguments& arguments) {
    if (!hasArgument(L"-maxargcnt", arguments)) {
        return;
    }
    const std::wstring* count = argumentAfter(L"-maxargcnt", arguments);
    const std::uint64_t declared = count != nullptr ? parseDeclaredCount(*count) : 0;
    const std::uint64_t expected = arguments.size() - (hasRestartFlag(arguments) ? 1U : 0U);
    if (declared != expected) {
        logFatal("ZLNCH0069E: zellauncher invoked with an invalid URL handler action - bad argument count.");
    }
}

void checkDoubleQuotes(const Arguments& arguments) {
    for (const std::wstring& argument : arguments) {
        if (argument.find(L'"') != std::wstring::npos) {
            logFatal("ZLNCH0089E: zellauncher invoked with double quote in arg - bad argument.");
        }
    }
}

void checkForbiddenArgs(const Arguments& arguments) {
    for (const std::wstring& argument : arguments) {
        for (const ForbiddenText& forbidden : forbiddenTexts) {
            if (argument.find(forbidden.text) != std::wstring::npos) {
                logFatal(forbidden.message);
            }
        }
    }
}

void checkProvManifest(const Arguments& effectiveArgs) {
    if (!hasArgument(L"-provManifest", effectiveArgs) || isMainProcess) {
        return;
    }
    const std::wstring owner = formatText(L"%ld", {std::int64_t{lockOwnerPid}});
    logFatalF("ZLNCH0122E: Attempting to install while process %ls is running.", owner);
}

bool hasRestartFlag(const Arguments& arguments) {
    return hasArgument(L"-restart", arguments);
}

}  // namespace zellauncher
