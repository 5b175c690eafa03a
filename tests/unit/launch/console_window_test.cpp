#include "launch/console_window.h"

#include <gtest/gtest.h>

#include "platform/own_process.h"
#include "support/launcher_fixture.h"

namespace {

class ConsoleWindow : public launchertest::OnMachine {
protected:
    platform::Window find() {
        platform::Window window = platform::Window::none;
        run([&] { window = zellauncher::findConsoleWindow(); });
        return window;
    }
};

TEST_F(ConsoleWindow, WindowIsFoundAndKeepsItsTitle) {
    machine.setConsole(L"mine");
    EXPECT_NE(find(), platform::Window::none);
    EXPECT_EQ(machine.consoleTitle(), L"mine");
    EXPECT_EQ(machine.elapsedMilliseconds(), 40U);
}

TEST_F(ConsoleWindow, TemporaryTitleIsTheTickCountAndTheProcessId) {
    machine.setConsole(L"mine");
    machine.setTickCount(4294967295U);  // printed as a signed number
    std::uint32_t processId = 0;
    run([&] {
        zellauncher::findConsoleWindow();
        processId = platform::currentProcessId();
    });
    std::vector<std::wstring> titles;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.name == "setConsoleTitle") {
            titles.push_back(operation.argument);
        }
    }
    ASSERT_EQ(titles.size(), 2U);
    EXPECT_EQ(titles[0], L"-1/" + std::to_wstring(processId));
    EXPECT_EQ(titles[1], L"mine");
}

TEST_F(ConsoleWindow, LongTitleIsTruncated) {
    machine.setConsole(std::wstring(5000, L't'));
    find();
    EXPECT_EQ(machine.consoleTitle(), std::wstring(4095, L't'));
}

TEST_F(ConsoleWindow, MissingConsoleHasNoWindow) {
    EXPECT_EQ(find(), platform::Window::none);
}

}  // namespace
