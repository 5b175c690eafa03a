#include "instance/child_start.h"

#include <cstdint>
#include <string>

#include "foundation/file_queries.h"
#include "instance/platform_lock.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::failing;

constexpr const wchar_t* program = L"C:\\p\\eclipse.exe";
constexpr const wchar_t* log = L"C:\\TestLog\\zellauncher.log";

// A launcher that holds the lock starts a child, which ends without a pipe file unless a test changes that.
class ChildStart : public Workspace {
protected:
    std::uint32_t publishesAfter = 0;  // milliseconds; 0 means never
    std::uint32_t livesFor = 1000;     // milliseconds
    std::uint32_t exitCode = 1;
    bool removesPipeFile = false;  // at its end
    std::string logBeforeRelease;
    std::uint64_t waited = 0;

    ChildStart() {
        machine.installProgram(program, [this] { return live(); });
    }

    int live() const {
        if (publishesAfter != 0) {
            platform::sleepMilliseconds(publishesAfter);
            platform::closeStream(platform::openStream(pipeFile, "w"));
        }
        platform::sleepMilliseconds(livesFor);
        if (removesPipeFile) {
            platform::deleteFile(pipeFile);
        }
        return static_cast<int>(exitCode);
    }

    void startChild() {
        outcome = runQuietly([&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:/ws");
            const std::uint64_t begin = machine.elapsedMilliseconds();
            zellauncher::startChild(program, {});
            waited = machine.elapsedMilliseconds() - begin;
            logBeforeRelease = launchertest::withLineFeeds(machine.readFile(log).value_or(""));
        });
    }
    void expectStatusLine(const std::string& status) {
        startChild();
        EXPECT_EQ(outcome.lastLine(),
                  "ZELLauncher> the platform's process ended with status " + status +
                      " before a .pipe was seen; if it failed, -debug -consoleLog shows why");
        EXPECT_EQ(waited, 15000U);
    }
    void expectNoLine() {
        startChild();
        EXPECT_EQ(outcome.log.find("ZELLauncher> "), std::string::npos) << outcome.log;
    }
};

TEST_F(ChildStart, EndBeforeThePipeFileIsLoggedWithItsStatus) {
    const std::pair<std::uint32_t, const char*> statuses[] = {{0, "0"},
                                                              {1, "1"},
                                                              {255, "255"},
                                                              {256, "256 (0x100)"},
                                                              {259, "259 (0x103)"},
                                                              {0xC0000005U, "3221225477 (0xC0000005)"},
                                                              {0xFFFFFFFFU, "4294967295 (0xFFFFFFFF)"}};
    for (const auto& [status, text] : statuses) {
        exitCode = status;
        expectStatusLine(text);
    }
}

// Another launcher empties the file as soon as it has the lock.
TEST_F(ChildStart, EndIsOnDiskBeforeTheLockIsReleased) {
    startChild();
    EXPECT_NE(logBeforeRelease.find("ended with status 1 "), std::string::npos) << logBeforeRelease;
}

TEST_F(ChildStart, EndWithinTheLastSecondIsLogged) {
    livesFor = 14500;
    expectStatusLine("1");
}

TEST_F(ChildStart, LivingChildIsNotLogged) {
    livesFor = 100000;
    expectNoLine();
    EXPECT_EQ(waited, 15000U);
}

TEST_F(ChildStart, EndAfterPublishingIsNotLogged) {
    publishesAfter = 500;
    livesFor = 100;
    expectNoLine();
    EXPECT_EQ(waited, 1000U);
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_NE(operation.name, "hasProcessEnded");
    }
}

// The launcher looks once a second, for the last time at 14 seconds.
TEST_F(ChildStart, PipeFileAfterTheLastLookIsFound) {
    publishesAfter = 14500;
    livesFor = 100;
    expectNoLine();
    EXPECT_EQ(waited, 15000U);
}

TEST_F(ChildStart, LifeBetweenTwoLooksIsLogged) {
    publishesAfter = 200;
    livesFor = 200;
    removesPipeFile = true;
    expectStatusLine("1");
}

TEST_F(ChildStart, UnreadableStatusIsNotLogged) {
    machine.inject(failing("processExitCode", platform::errorAccessDenied));
    expectNoLine();
    machine.inject(failing("hasProcessEnded", platform::errorInvalidHandle));
    expectNoLine();
}

}  // namespace
