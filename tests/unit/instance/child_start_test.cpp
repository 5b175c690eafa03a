#include "instance/child_start.h"

#include <optional>

#include "platform/own_process.h"
#include "support/operations.h"
#include "unit/instance/workspace_fixture.h"

namespace {

class ChildStart : public instancetest::Workspace {};

TEST_F(ChildStart, EndOfAChildIsNoticedWithinATenthOfASecond) {
    machine.installProgram(L"C:\\p\\child.exe", [] {
        platform::sleepMilliseconds(330);
        return 7;
    });
    simulation::ProcessId launcher = {};
    run([&] {
        launcher = platform::currentProcessId();
        const std::optional<platform::ChildProcess> child = platform::createProcess(L"C:\\p\\child.exe", {});
        ASSERT_TRUE(child);
        zellauncher::waitForChild(*child);
        EXPECT_TRUE(platform::hasProcessEnded(child->process));
    });
    EXPECT_EQ(launchertest::sleepsOf(machine, launcher), std::vector<std::uint32_t>(4, 100));
}

}  // namespace
