#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

constexpr const wchar_t* marker = L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt";

class DebugMarker : public Story {};

TEST_F(DebugMarker, HoldsTheStartUntilDeleted) {
    layOut();
    machine.writeFile(marker, "");
    const simulation::ProcessId launcherProcess = begin();
    machine.runUntilIdle(3600000);
    EXPECT_TRUE(machine.isRunning(launcherProcess));
    EXPECT_TRUE(machine.startedProcesses().empty());
    EXPECT_TRUE(machine.exists(inWorkspace(L".zel.lock")));
    EXPECT_FALSE(machine.exists(inWorkspace(L".config")));

    machine.remove(marker);
    const std::uint64_t deleted = machine.elapsedMilliseconds();
    EXPECT_STARTED(machine.waitFor(launcherProcess));
    EXPECT_LE(machine.elapsedMilliseconds() - deleted,
              1000U + 1000U);  // one second each for the marker and for .pipe
    EXPECT_TRUE(hasElement(L"\"-debugFile\""));
    EXPECT_TRUE(hasElement(L"\"-pb4l\""));
    EXPECT_TRUE(hasElement(L"\"-debug\""));
    EXPECT_TRUE(hasElement(L"\"-console\""));
}

TEST_F(DebugMarker, ForcesADebugLog) {
    layOut();
    machine.writeFile(marker, "");
    const simulation::ProcessId launcherProcess = begin();
    machine.runUntilIdle(10000);
    machine.remove(marker);
    EXPECT_STARTED(machine.waitFor(launcherProcess));
    EXPECT_TRUE(machine.exists(firstDebugLog));
    EXPECT_FALSE(machine.exists(inWorkspace(L"logs\\zellauncher.log")));
}

}  // namespace
