#include "launch/console_window.h"

#include <cstdint>

#include "foundation/explanation.h"
#include "foundation/formatter.h"
#include "platform/clock.h"
#include "platform/own_process.h"

namespace zellauncher {

namespace {

constexpr std::size_t titleCapacity = 4096;
constexpr std::uint32_t titleDelayMilliseconds = 40;  // for the new title to reach the window

}  // namespace

platform::Window findConsoleWindow() {
    const std::wstring title = platform::consoleTitle(titleCapacity);
    const std::wstring ownTitle =
        formatText(L"%d/%d", {std::int64_t{static_cast<std::int32_t>(platform::tickCount())},
                              std::int64_t{static_cast<std::int32_t>(platform::currentProcessId())}});
    platform::setConsoleTitle(ownTitle);
    explainWait("the console window's title", titleDelayMilliseconds);
    platform::sleepMilliseconds(titleDelayMilliseconds);
    const platform::Window window = platform::findWindow(ownTitle);
    platform::setConsoleTitle(title);
    return window;
}

}  // namespace zellauncher
