#include "instance/argument_hand_off.h"

#include <cstdint>
#include <string>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "platform/files.h"
#include "platform/pipes.h"

namespace zellauncher {

namespace {

[[noreturn]] void endWithReason(const char* message) {
    logFatalF(message, formatLastError());
}

// UTF-16 little-endian with a terminating NUL.
std::string payloadOf(const std::wstring& text) {
    std::string bytes(2 * (text.size() + 1), '\0');
    auto next = bytes.begin();
    for (const wchar_t unit : text) {
        const auto value = static_cast<std::uint32_t>(unit);
        *next++ = static_cast<char>(static_cast<unsigned char>(value & 0xFFU));
        *next++ = static_cast<char>(static_cast<unsigned char>((value >> 8U) & 0xFFU));
    }
    return bytes;
}

platform::Handle connectTo(const std::wstring& pipe) {
    explainWait("a free instance of the platform's pipe");
    if (!platform::waitNamedPipe(pipe, platform::waitForever)) {
        endWithReason("ZLNCH0142E: Unable to find pipe %ls");
    }
    const platform::Handle client =
        platform::createFile(pipe, platform::accessRead | platform::accessWrite, 0,
                             platform::openExistingFile, platform::attributeNormal);
    if (client == platform::Handle::none) {
        endWithReason("ZLNCH0143E: Unable to connect to pipe '%ls'");
    }
    return client;
}

}  // namespace

void handOffToPlatform(const std::wstring& command) {
    const std::wstring text = upToNul(command);
    const platform::Handle client = connectTo(readPipeName().value_or(L""));
    if (!platform::writePipe(client, payloadOf(text))) {
        endWithReason("ZLNCH0144E: Unable to write to pipe '%ls'");
    }
    platform::closeHandle(client);
    explainEnd(StartEnd::handedOver);
    logDebugF(L"ZLNCH0146I: Pipe args = %s", text);
    releasePlatformLock();
}

}  // namespace zellauncher
