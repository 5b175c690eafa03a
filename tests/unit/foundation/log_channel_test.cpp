#include "foundation/log_channel.h"

#include "platform/clock.h"
#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::formatLastError;
using zellauncher::formatTimestamp;
using zellauncher::isLogDebug;
using zellauncher::logDebug;
using zellauncher::logDebugArgs;
using zellauncher::logDebugF;
using zellauncher::logDebugLastError;
using zellauncher::logFatal;
using zellauncher::logFatalF;
using zellauncher::logMessage;
using zellauncher::logMessageF;
using zellauncher::openLog;
using zellauncher::openTempLog;
using zellauncher::setLogDebug;
using zellauncher::swapLogDebug;

constexpr const wchar_t* directory = L"C:\\Logs";
constexpr const wchar_t* logFile = L"C:\\Logs\\zellauncher.log";
constexpr const wchar_t* tempLogFile = L"C:\\Temp\\zellauncher.log";
constexpr std::uint32_t fatalStatus = 0xFFFFFFFF;

// A process that starts without an open log.
class LogFile : public ::testing::Test {
protected:
    simulation::Machine machine;

    LogFile() {
        machine.makeDirectory(L"C:\\Temp");
        machine.makeDirectory(directory);
    }

    // The body must return, because its expectations would be skipped otherwise.
    simulation::ProcessEnd run(const std::function<void()>& body) {
        bool hasReturned = false;
        const simulation::ProcessEnd end = machine.run({L"C:\\zellauncher.exe"}, [&] {
            body();
            hasReturned = true;
            return 0;
        });
        EXPECT_TRUE(hasReturned);
        return end;
    }

    // The same for a body that must not return.
    simulation::ProcessEnd runToFatal(const std::function<void()>& body) {
        return machine.run({L"C:\\zellauncher.exe"}, [&] {
            body();
            ADD_FAILURE() << "continued after a fatal message";
            return 0;
        });
    }

    std::string onDisk(const std::wstring& path) const { return machine.readFile(path).value_or("no file"); }

    std::size_t count(const std::string& operation) const {
        std::size_t calls = 0;
        for (const simulation::Operation& made : machine.operations()) {
            calls += made.name == operation ? 1U : 0U;
        }
        return calls;
    }
};

// A process with an open log.
class LogLines : public launchertest::OnMachine {
protected:
    std::string logOf(const std::function<void()>& body) { return run(body).log; }
    std::string quietLogOf(const std::function<void()>& body) { return runQuietly(body).log; }

    // The next fileAttributes fails with this error.
    void failNextFileAttributes(platform::ErrorCode error) {
        machine.inject(launchertest::failing("fileAttributes", error));
    }
};

// --- Opening a log ----------------------------------------------------------------------------------

TEST_F(LogFile, LinesAreHeldBackUntilALogIsOpen) {
    run([this] {
        logMessage("first");
        logMessageF("second %ls", L"\u00E4\u0142");
        EXPECT_TRUE(machine.tree(L"C:\\Logs").empty());
        EXPECT_TRUE(openLog(directory));
        EXPECT_EQ(onDisk(logFile), "first\r\nsecond \xE4\\u0142\r\n\r\n");
    });
    EXPECT_TRUE(machine.tree(L"C:\\Temp").empty());
}

TEST_F(LogFile, LinesReachTheDiskAtTheEndOfTheProcess) {
    run([this] {
        openLog(directory);
        logMessage("first");
        logMessage("second");
        EXPECT_EQ(onDisk(logFile), "\r\n");
    });
    EXPECT_EQ(onDisk(logFile), "\r\nfirst\r\nsecond\r\n");
    EXPECT_EQ(count("flushStream"), 1U);
    EXPECT_EQ(count("closeStream"), 0U);
}

TEST_F(LogFile, FlushWritesTheLinesToTheDisk) {
    run([this] {
        zellauncher::flushLog();
        openLog(directory);
        logMessage("first");
        zellauncher::flushLog();
        EXPECT_EQ(onDisk(logFile), "\r\nfirst\r\n");
    });
}

TEST_F(LogFile, LogWithoutMessagesHasOneEmptyLine) {
    run([] {
        logDebug("dropped");
        openLog(directory);
        logDebug("dropped");
        logDebugF(L"%s", L"dropped");
    });
    EXPECT_EQ(onDisk(logFile), "\r\n");
}

TEST_F(LogFile, LogOfAnEarlierRunIsReplaced) {
    for (const std::string line : {"a longer line of an earlier run", "new"}) {
        run([&] {
            openLog(directory);
            logMessage(line);
        });
        EXPECT_EQ(onDisk(logFile), "\r\n" + line + "\r\n");
    }
}

TEST_F(LogFile, LogDirectoryMayHaveForwardSlashes) {
    machine.makeDirectory(L"C:\\Logs\\sub");
    run([] { EXPECT_TRUE(openLog(L"C:/Logs/sub")); });
    EXPECT_TRUE(machine.exists(L"C:\\Logs\\sub\\zellauncher.log"));
    EXPECT_EQ(machine.operations().at(0).argument, L"C:\\Logs\\sub\\zellauncher.log");
}

TEST_F(LogFile, LaterLinesGoToTheLogOpenedLast) {
    run([] {
        logMessage("held back");
        openLog(directory);
        logMessage("first");
        openLog(L"C:\\Temp");
        logMessage("second");
    });
    EXPECT_EQ(onDisk(logFile), "held back\r\n\r\nfirst\r\n");
    EXPECT_EQ(onDisk(tempLogFile), "\r\nsecond\r\n");
}

// --- The name of the file ---------------------------------------------------------------------------

TEST_F(LogFile, DebugLogHasATimestampInItsName) {
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openLog(directory));
    });
    EXPECT_EQ(machine.tree(directory),
              std::vector<std::wstring>{L"C:\\Logs\\zellauncher_20260131_235900_000.log"});
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(LogFile, DebugRunWaitsUntilItsLogNameIsFree) {
    const std::wstring first = L"C:\\Logs\\zellauncher_20260131_235900_000.log";
    const std::wstring second = L"C:\\Logs\\zellauncher_20260131_235901_000.log";
    machine.writeFile(first, "of another run");
    machine.makeDirectory(second);
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openLog(L"C:/Logs"));
        logMessage("mine");
    });
    EXPECT_EQ(onDisk(first), "of another run");
    EXPECT_EQ(onDisk(L"C:\\Logs\\zellauncher_20260131_235902_000.log"), "\r\nmine\r\n");
    EXPECT_EQ(machine.elapsedMilliseconds(), 2000U);
}

TEST_F(LogFile, ConsecutiveDebugRunsKeepBothLogs) {
    for (int turn = 0; turn < 2; ++turn) {
        run([] {
            setLogDebug(true);
            openLog(directory);
        });
    }
    EXPECT_EQ(machine.tree(directory).size(), 2U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
}

TEST_F(LogFile, LogNameDependsOnTheDebugFlagAtOpening) {
    run([] {
        EXPECT_FALSE(swapLogDebug(true));
        EXPECT_TRUE(isLogDebug());
        setLogDebug(false);
        openLog(directory);
        EXPECT_FALSE(swapLogDebug(true));
        logDebug("forced");
        EXPECT_TRUE(swapLogDebug(false));
        EXPECT_FALSE(isLogDebug());
        logDebug("dropped");
    });
    EXPECT_EQ(machine.tree(directory), std::vector<std::wstring>{logFile});
    EXPECT_EQ(onDisk(logFile), "\r\nforced\r\n");
}

TEST_F(LogFile, ForcedLogRestoresTheDebugFlagAtItsEnd) {
    run([] {
        openLog(directory);
        {
            const zellauncher::ForcedLog forced;
            EXPECT_TRUE(isLogDebug());
            {
                const zellauncher::ForcedLog inner;
                logDebug("inner");
            }
            logDebug("outer");
        }
        EXPECT_FALSE(isLogDebug());
        logDebug("dropped");
    });
    EXPECT_EQ(onDisk(logFile), "\r\ninner\r\nouter\r\n");
}

TEST_F(LogFile, RememberedNameIsNotUsedForTheLog) {
    run([] {
        EXPECT_EQ(zellauncher::logFileName(), L"");
        zellauncher::setLogFileName(L"dcommand.log");
        EXPECT_EQ(zellauncher::logFileName(), L"dcommand.log");
        openLog(directory);
    });
    EXPECT_EQ(machine.tree(directory), std::vector<std::wstring>{logFile});
}

// --- Logs that cannot be opened ---------------------------------------------------------------------

TEST_F(LogFile, FailedOpenIsLogged) {
    run([] {
        logMessage("first");
        EXPECT_FALSE(openLog(L"C:/Gone/z\u0142oty"));
        logMessage("third");
        EXPECT_TRUE(openTempLog());
    });
    EXPECT_EQ(onDisk(tempLogFile),
              "first\r\n"
              "ZLNCH0019E: Could not open C:\\Gone\\z\\u0142oty\\zellauncher.log for writing!\r\n"
              "third\r\n\r\n");
}

TEST_F(LogFile, FailedOpenKeepsTheCurrentLog) {
    run([] {
        openLog(directory);
        EXPECT_FALSE(openLog(L"C:\\Gone"));
        logMessage("still here");
    });
    EXPECT_EQ(onDisk(logFile),
              "\r\nZLNCH0019E: Could not open C:\\Gone\\zellauncher.log for writing!\r\nstill here\r\n");
}

TEST_F(LogFile, TempLogNeedsTheTempVariable) {
    machine.unsetEnvironment(L"TEMP");
    run([] {
        EXPECT_FALSE(openTempLog());
        EXPECT_TRUE(openLog(directory));
    });
    EXPECT_EQ(onDisk(logFile), "ZLNCH0085E: Couldn't find the TEMP system variable!\r\n\r\n");
}

TEST_F(LogFile, TempLogOfADebugRunHasATimestamp) {
    machine.setEnvironment(L"TEMP", L"C:/Temp");
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openTempLog());
    });
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher_20260131_235900_000.log"));
}

TEST_F(LogFile, FullDiskDoesNotStopTheRun) {
    machine.setFreeSpace(0);
    const auto end = run([] {
        logMessage("held back");
        EXPECT_TRUE(openLog(directory));
        logMessage(std::string(20000, 'x'));
        logMessageF("%ls", L"y");
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, 0U);
    EXPECT_EQ(onDisk(logFile), "");
}

// --- Fatal messages ---------------------------------------------------------------------------------

TEST_F(LogFile, FatalMessageWithoutALogGoesToTemp) {
    const auto end = runToFatal([] {
        logMessage("first");
        logFatal("last");
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(onDisk(tempLogFile), "first\r\nlast\r\n\r\n");
}

TEST_F(LogFile, FatalMessageOfADebugRunGetsItsOwnTempLog) {
    runToFatal([] {
        setLogDebug(true);
        logFatalF("last %ls", L"line");
    });
    EXPECT_EQ(onDisk(L"C:\\Temp\\zellauncher_20260131_235900_000.log"), "last line\r\n\r\n");
}

TEST_F(LogFile, FatalMessageGoesToTheOpenLog) {
    const std::vector<std::pair<const char*, std::function<void()>>> fatalEnds = {
        {"logFatal", [] { logFatal("last line"); }},
        {"logFatalF", [] { logFatalF("last %ls", L"line"); }},
    };
    for (const auto& [name, fatalEnd] : fatalEnds) {
        SCOPED_TRACE(name);
        const auto end = runToFatal([&, logAndEnd = fatalEnd] {
            openLog(directory);
            logAndEnd();
        });
        EXPECT_EQ(end.status, fatalStatus);
        EXPECT_EQ(onDisk(logFile), "\r\nlast line\r\n");
        EXPECT_TRUE(machine.tree(L"C:\\Temp").empty());
    }
}

TEST_F(LogFile, FatalMessageWithoutTempStillEndsTheProcess) {
    machine.unsetEnvironment(L"TEMP");
    const auto end = runToFatal([] { logFatal("last line"); });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(count("openStream"), 0U);
}

TEST_F(LogFile, FatalMessageWithUnusableTempStillEndsTheProcess) {
    machine.setEnvironment(L"TEMP", L"C:\\Gone");
    const auto end = runToFatal([] { logFatalF("last %ls", L"line"); });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(count("openStream"), 1U);
}

// --- Messages ---------------------------------------------------------------------------------------

TEST_F(LogLines, MessageIsWrittenUnchanged) {
    EXPECT_EQ(quietLogOf([] {
                  logMessage("100% %s %n \\u0142 \x80\xFF");
                  logMessage("");
                  logMessage("two\nlines");
              }),
              "100% %s %n \\u0142 \x80\xFF\n\ntwo\nlines\n");
}

TEST_F(LogLines, MessageShowsItsArgument) {
    EXPECT_EQ(quietLogOf([] { logMessageF("Unable to open %ls (100%%)", L"C:\\%s%n\\x"); }),
              "Unable to open C:\\%s%n\\x (100%)\n");
}

TEST_F(LogLines, CharactersAbove255AreWrittenAsEscapes) {
    EXPECT_EQ(
        quietLogOf([] {
            logMessageF("\xE4 %ls", L"\u00FF\u0100\u0142");
            logMessageF("%ls", std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xFFFF)});
        }),
        "\xE4 \xFF\\u0100\\u0142\n\\ud83d\\uffff\n");
    EXPECT_EQ(logOf([] {
                  logDebugF(L"\u0142 %s", L"\u0105");
                  logDebugArgs(L"\u0119", {L"\u017C"});
              }),
              "\\u0142 \\u0105\n\\u0119=\"\\u017c, \n");
}

TEST_F(LogLines, MessagesHaveNoLengthLimit) {
    for (const std::size_t length : {4000U, 4095U, 4096U, 4097U, 70000U}) {
        EXPECT_EQ(quietLogOf([&] { logMessageF("<%ls>", std::wstring(length, L'x')); }),
                  "<" + std::string(length, 'x') + ">\n");
        EXPECT_EQ(quietLogOf([&] { logMessage(std::string(length, 'x')); }), std::string(length, 'x') + "\n");
    }
}

// --- Debug lines ------------------------------------------------------------------------------------

TEST_F(LogLines, DebugLinesNeedTheDebugFlag) {
    EXPECT_EQ(quietLogOf([] {
                  EXPECT_FALSE(isLogDebug());
                  logDebug("text");
                  logDebugF(L"%s", L"text");
                  logDebugArgs(L"label", {L"argument"});
                  logDebugLastError(L"something");
              }),
              "");
}

TEST_F(LogLines, DebugTextOf1000CharactersIsDropped) {
    EXPECT_EQ(logOf([] {
                  logDebug(std::string(1000, 'x'));
                  logDebug(std::string(999, 'y'));
                  logDebug("");
              }),
              std::string(999, 'y') + "\n\n");
}

TEST_F(LogLines, ConversionsInADebugTextWriteNothing) {
    EXPECT_EQ(logOf([] { logDebug("a%sb%dc%%d%n\xE4%"); }), "abc%d\xE4\n");
}

TEST_F(LogLines, DebugLineOf4000CharactersIsDropped) {
    const std::wstring format = L"<%s>";
    EXPECT_EQ(logOf([&] {
                  logDebugF(format, std::wstring(3996, L'x'));
                  logDebugF(format, std::wstring(3995, L'y'));
                  logDebugF(std::wstring(4000, L'x'), L"");
                  logDebugF(std::wstring(3999, L'z'), L"");
              }),
              "<" + std::string(3995, 'y') + ">\n" + std::string(3999, 'z') + "\n");
}

TEST_F(LogLines, PaddedDebugLineIsCutAt4000Characters) {
    EXPECT_EQ(logOf([] { logDebugF(L"|%4096s", L"x"); }), "|" + std::string(3999, ' ') + "\n");
}

TEST_F(LogLines, BothTextConversionsTakeTheWideArgument) {
    EXPECT_EQ(logOf([] {
                  logDebugF(L"'%s' is not set", L"A%sB");
                  logDebugF(L"'%ls' is not set", L"A%sB");
                  logDebugF(L"'%s' '%s' '%d'", L"one");
              }),
              "'A%sB' is not set\n'A%sB' is not set\n'one' '' ''\n");
}

TEST_F(LogLines, ArgumentListHasNoClosingQuote) {
    EXPECT_EQ(logOf([] {
                  logDebugArgs(L"arguments", {});
                  logDebugArgs(L"arguments", {L"a b", L"", L"%s\"", L"c"});
              }),
              "arguments=\"\narguments=\"a b, , %s\", c, \n");
}

TEST_F(LogLines, ArgumentListHasNoLengthLimit) {
    const std::vector<std::wstring> arguments(3, std::wstring(5000, L'x'));
    const std::string shown = std::string(5000, 'x') + ", ";
    EXPECT_EQ(logOf([&] { logDebugArgs(L"l", arguments); }), "l=\"" + shown + shown + shown + "\n");
}

TEST_F(LogLines, ErrorLineHasCodeAndSystemText) {
    failNextFileAttributes(platform::errorAccessDenied);
    EXPECT_EQ(logOf([] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(L"Looking at 100%s");
              }),
              "Looking at 100%s failed with error 5: Access is denied.\r\n\n");
}

TEST_F(LogLines, ErrorCodeIsWrittenSigned) {
    failNextFileAttributes(0x80070005);
    EXPECT_EQ(logOf([] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(L"It");
              }),
              "It failed with error -2147024891: The system has a text for this.\r\n\n");
}

TEST_F(LogLines, LongErrorLineIsDropped) {
    failNextFileAttributes(platform::errorAccessDenied);
    const std::wstring rest = L" failed with error 5: Access is denied.\r\n";
    EXPECT_EQ(logOf([&] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(std::wstring(4000 - 3 - rest.size(), L'x'));
                  logDebugLastError(std::wstring(4000 - 4 - rest.size(), L'y'));
              }),
              std::string(4000 - 4 - rest.size(), 'y') + " failed with error 5: Access is denied.\r\n\n");
}

TEST_F(LogLines, LastErrorIsFormattedWithoutLogging) {
    failNextFileAttributes(platform::errorSharingViolation);
    EXPECT_EQ(logOf([] {
                  platform::fileAttributes(L"C:\\");
                  EXPECT_EQ(formatLastError(),
                            L" Failed with error 32: The process cannot access the file because it is being "
                            L"used by another process.\r\n");
              }),
              "");
}

TEST_F(LogLines, TimestampIsTheLocalTime) {
    run([] {
        EXPECT_EQ(formatTimestamp(), L"20260131_235900_000");
        platform::sleepMilliseconds(59999);
        EXPECT_EQ(formatTimestamp(), L"20260131_235959_999");
        platform::sleepMilliseconds(1008);
        EXPECT_EQ(formatTimestamp(), L"20260201_000001_007");
    });
}

}  // namespace
