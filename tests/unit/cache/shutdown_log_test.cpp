#include "cache/shutdown_log.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/clock.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using launchertest::failing;

constexpr const wchar_t* path = L"C:\\ws\\logs\\shutdown.log";
constexpr const wchar_t* newPath = L"C:\\ws\\logs\\shutdown.log.new";
const std::string started = "Started Sat Jan 31 23:59:00 2026\r\n";

// The lines with these numbers.
std::string numbered(int from, int to) {
    std::string text;
    for (int n = from; n <= to; ++n) {
        text += "line " + std::to_string(n) + "\r\n";
    }
    return text;
}

class ShutdownLog : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    ShutdownLog() { machine.makeDirectory(L"C:\\ws\\logs"); }

    void record() {
        outcome = run([] { zellauncher::recordPlatformStart(L"C:/ws"); });
    }
    // What a start after this time writes into an empty history.
    std::string recordAfter(std::uint32_t days, std::uint32_t seconds) {
        machine.remove(path);
        machine.passDays(days);
        outcome = run([&] {
            platform::sleepMilliseconds(seconds * 1000);
            zellauncher::recordPlatformStart(L"C:/ws");
        });
        return machine.readFile(path).value_or("");
    }
};

TEST_F(ShutdownLog, IsTrimmedTo101LinesAtTheTwoHundredth) {
    machine.writeFile(path, numbered(1, 198));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(1, 198) + started);
    machine.writeFile(path, numbered(1, 199));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(100, 199) + started);
    EXPECT_FALSE(machine.exists(newPath));
    machine.writeFile(path, numbered(1, 249));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(150, 249) + started);
}

TEST_F(ShutdownLog, FinalCtrlZDoesNotEndTheHistory) {
    machine.writeFile(path, numbered(1, 199) + "\x1A");
    record();
    EXPECT_EQ(machine.readFile(path), numbered(100, 199) + started);
}

TEST_F(ShutdownLog, TrimDropsBlankLinesAndIndentation) {
    machine.writeFile(path, "\r\n  a\r\n\r\n   b\r\n" + numbered(1, 198));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(99, 198) + started);
}

TEST_F(ShutdownLog, EmptyFirstLineIsNotCounted) {
    machine.writeFile(path, "\n\n\n");
    record();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(machine.readFile(path), "\n\n\n" + started);
    machine.writeFile(path, "\n" + numbered(1, 198));
    record();
    EXPECT_EQ(machine.readFile(path), "\n" + numbered(1, 198) + started);
    machine.writeFile(path, "\n" + numbered(1, 199));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(100, 199) + started);
}

TEST_F(ShutdownLog, DaysAndTimesHaveTwoDigits) {
    EXPECT_EQ(recordAfter(0, 69), "Started Sun Feb 01 00:00:09 2026\r\n");
}

TEST_F(ShutdownLog, EveryDayAndMonthHasItsName) {
    const char* dates[] = {"Mon Mar 02", "Wed Apr 01", "Fri May 01", "Sun May 31", "Tue Jun 30", "Thu Jul 30",
                           "Sat Aug 29", "Mon Sep 28", "Wed Oct 28", "Fri Nov 27", "Sun Dec 27"};
    for (const char* date : dates) {
        EXPECT_EQ(recordAfter(30, 0), std::string("Started ") + date + " 23:59:00 2026\r\n");
    }
    EXPECT_EQ(recordAfter(30, 0), "Started Tue Jan 26 23:59:00 2027\r\n");
}

TEST_F(ShutdownLog, LineOverTheReadLimitIsCountedTwice) {
    const std::string longLine(2024 + 10, 'x');
    machine.writeFile(path, numbered(1, 98) + longLine + "\r\n" + numbered(99, 196));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(1, 98) + longLine + "\r\n" + numbered(99, 196) + started);
    machine.writeFile(path, numbered(1, 98) + longLine + "\r\n" + numbered(99, 197));
    record();
    EXPECT_EQ(machine.readFile(path), std::string(10, 'x') + "\r\n" + numbered(99, 197) + started);
}

TEST_F(ShutdownLog, UnendedLastLineIsCounted) {
    machine.writeFile(path, numbered(1, 199) + "x");
    run([] { zellauncher::trimShutdownLog(L"C:/ws/logs"); });
    EXPECT_EQ(machine.readFile(path), numbered(100, 199) + "x\r\n");
}

TEST_F(ShutdownLog, FailedTrimIsLoggedInDebugRunsOnly) {
    machine.makeDirectory(path);
    outcome = runQuietly([] { zellauncher::trimShutdownLog(L"C:\\ws\\logs"); });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShutdownLog, FailedCloseOfTheTrimIsLogged) {
    machine.writeFile(path, numbered(1, 199));
    machine.inject(failing("closeStream", platform::errorAccessDenied, L"shutdown.log.new"));
    record();
    EXPECT_EQ(outcome.log, "ZLNCH0137E: Error while truncating file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(ShutdownLog, LeftoverNewFileIsReplaced) {
    machine.writeFile(newPath, numbered(1, 500));
    machine.writeFile(path, numbered(1, 199));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(100, 199) + started);
    EXPECT_FALSE(machine.exists(newPath));
}

TEST_F(ShutdownLog, FailedAppendIsFatal) {
    for (const char* operation : {"writeStream", "closeStream"}) {
        SCOPED_TRACE(operation);
        machine.inject(failing(operation, platform::errorAccessDenied, L"shutdown.log"));
        record();
        outcome.expectFatal("ZLNCH0118E: Error writing to C:\\ws\\logs\\shutdown.log file.");
    }
    machine.remove(L"C:\\ws\\logs");
    record();
    outcome.expectFatal("ZLNCH0098E: Could not open C:\\ws\\logs\\shutdown.log for writing!");
}

TEST_F(ShutdownLog, ShortLogIsOnlyReadAndClosed) {
    machine.writeFile(path, numbered(1, 198));
    record();
    EXPECT_EQ(machine.readFile(path), numbered(1, 198) + started);
    EXPECT_EQ(launchertest::callsOf(machine, "closeStream", L"shutdown.log").size(), 2U);
}

TEST_F(ShutdownLog, UnreadableLogIsNotTrimmed) {
    machine.writeFile(path, numbered(1, 300));
    machine.inject(failing("openStream", platform::errorAccessDenied, L"shutdown.log", 2));
    record();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "ZLNCH0138E: Unable to open file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(machine.readFile(path), numbered(1, 300) + started);
}

TEST_F(ShutdownLog, WithoutANewFileIsNotTrimmed) {
    machine.writeFile(path, numbered(1, 300));
    machine.makeDirectory(newPath);
    record();
    EXPECT_EQ(launchertest::callsOf(machine, "closeStream", L"shutdown.log").size(), 2U);
    EXPECT_EQ(outcome.log,
              "ZLNCH0105E: Unable to open file for writing.\"C:\\ws\\logs\\shutdown.log.new\"\n");
    EXPECT_EQ(machine.readFile(path), numbered(1, 300) + started);
}

TEST_F(ShutdownLog, LineThatCannotBeCopiedIsLoggedAndSkipped) {
    machine.writeFile(path, numbered(1, 199));
    machine.inject(failing("writeStream", platform::errorAccessDenied, L"shutdown.log.new", 2));
    record();
    EXPECT_EQ(outcome.log, "ZLNCH0137E: Error while truncating file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(machine.readFile(path), numbered(100, 100) + numbered(102, 199) + started);
}

}  // namespace
