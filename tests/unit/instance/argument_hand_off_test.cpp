#include "instance/argument_hand_off.h"

#include "platform/own_process.h"
#include "support/operations.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::Workspace;
using launchertest::callsOf;
using launchertest::failing;

constexpr const wchar_t* pipe = L"\\\\.\\pipe\\p1";

// A daemon whose platform serves the pipe p1.
class HandOff : public Workspace {
protected:
    std::size_t handlesLeft = 0;

    HandOff() {
        const simulation::ProcessId id = machine.start({L"C:\\eclipse.exe"}, [] {
            simulation::holdSemaphore(L"Global\\p1sem");
            simulation::servePipe(pipe);
            platform::sleepMilliseconds(60000);
            return 0;
        });
        machine.writeFile(instancetest::lockFile, std::to_string(id) + "          ");
        writePipeFile("p1");
        machine.runUntilIdle(1);
    }
    void handOff(const std::wstring& command) {
        outcome = run([&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
            EXPECT_FALSE(zellauncher::isMainProcess);
            const std::size_t handlesBefore = machine.openHandlesOf(platform::currentProcessId());
            zellauncher::handOffToPlatform(command);
            handlesLeft = machine.openHandlesOf(platform::currentProcessId()) - handlesBefore;
        });
    }
};

TEST_F(HandOff, TextIsSentAsUtf16WithItsNul) {
    handOff(L"a\n\u65e5\u672c");
    EXPECT_EQ(machine.pipePayloads(pipe),
              std::vector<std::string>{std::string("a\0\n\0\xe5\x65\x2c\x67\0\0", 10)});
}

TEST_F(HandOff, TextEndsAtItsFirstNul) {
    handOff(std::wstring(L"a\0b", 3));
    ASSERT_EQ(machine.pipePayloads(pipe).size(), 1U);
    EXPECT_EQ(launchertest::pipeText(machine.pipePayloads(pipe)[0]), std::wstring(L"a\0", 2));
}

// A direct Java start without a JVM has a command without a program, which begins with a NUL.
TEST_F(HandOff, TextMayBeEmpty) {
    handOff(std::wstring(L"\0-x", 3));
    EXPECT_EQ(machine.pipePayloads(pipe), std::vector<std::string>{std::string(2, '\0')});
}

TEST_F(HandOff, LockIsReleasedOnceThePipeIsClosed) {
    const std::size_t before = machine.operations().size();
    handOff(L"a");
    EXPECT_EQ(
        launchertest::traceOf(
            machine, {"waitNamedPipe", "createFile", "writePipe", "closeHandle", "unlockStream"}, before),
        (std::vector<std::string>{"createFile C:\\ws\\.zel.lock", "closeHandle",
                                  "waitNamedPipe \\\\.\\pipe\\p1", "createFile \\\\.\\pipe\\p1", "writePipe",
                                  "closeHandle", "unlockStream .zel.lock"}));
    EXPECT_EQ(handlesLeft, 0U);
}

TEST_F(HandOff, PipeIsAwaitedWithoutLimitAndNotShared) {
    handOff(L"a");
    EXPECT_EQ(callsOf(machine, "waitNamedPipe").at(0).numbers[0], 0xFFFFFFFFU);
    EXPECT_EQ(callsOf(machine, "createFile", L"p1").at(0).numbers,
              (simulation::Numbers{0xC0000000U, 0, 3, 128}));
}

TEST_F(HandOff, TextIsLoggedInDebugRuns) {
    handOff(L"a\nb");
    EXPECT_TRUE(outcome.logHas("ZLNCH0146I: Pipe args = a")) << outcome.log;
    EXPECT_TRUE(outcome.logHas("b"));
}

// The system's text for an error ends with a line end, so each message has two lines.
TEST_F(HandOff, FailuresAreFatal) {
    const std::string denied = " Failed with error 5: Access is denied.\r\n";
    const struct {
        const char* operation;
        const wchar_t* argument;
        std::string message;
    } failures[] = {{"waitNamedPipe", L"p1", "ZLNCH0142E: Unable to find pipe " + denied},
                    {"createFile", L"p1", "ZLNCH0143E: Unable to connect to pipe '" + denied + "'"},
                    {"writePipe", L"", "ZLNCH0144E: Unable to write to pipe '" + denied + "'"}};
    for (const auto& failure : failures) {
        machine.inject(failing(failure.operation, platform::errorAccessDenied, failure.argument));
        handOff(L"a");
        outcome.expectFatal(failure.message);
        machine.clearFaults();
        EXPECT_EQ(callsOf(machine, "unlockStream").size(), 0U) << failure.operation;
    }
}

}  // namespace
