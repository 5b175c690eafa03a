#include "foundation/log_channel.h"

#include "platform/clock.h"
#include "platform/files.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::formatLastError;
using zellauncher::formatTimestamp;
using zellauncher::logDebug;
using zellauncher::logDebugArgs;
using zellauncher::logDebugF;
using zellauncher::logDebugLastError;
using zellauncher::logMessage;
using zellauncher::logMessageF;
using zellauncher::openLog;
using zellauncher::openTempLog;
using zellauncher::setLogDebug;

constexpr const wchar_t* directory = L"C:\\Logs";
constexpr const wchar_t* logFile = L"C:\\Logs\\zellauncher.log";
constexpr const wchar_t* tempLogFile = L"C:\\Temp\\zellauncher.log";
constexpr std::uint32_t fatalStatus = 0xFFFFFFFF;

// The life of the channel: from the start of a process, with no log open.
class LogFile : public ::testing::Test {
protected:
    simulation::Machine machine;

    LogFile() {
        machine.makeDirectory(L"C:\\Temp");
        machine.makeDirectory(directory);
    }

    simulation::ProcessEnd run(const std::function<void()>& body) {
        return machine.run({L"C:\\zellauncher.exe"}, [&] {
            body();
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

// What the lines look like: with a log open and the debug flag on.
class LogLines : public launchertest::OnMachine {
protected:
    std::string logOf(const std::function<void()>& body) { return run(body).log; }
    std::string quietLogOf(const std::function<void()>& body) { return runQuietly(body).log; }

    // Makes the next look at a file leave this error.
    void failNextLook(platform::ErrorCode error) {
        simulation::Fault fault;
        fault.operation = "fileAttributes";
        fault.error = error;
        machine.inject(fault);
    }
};

// --- From held back to open -------------------------------------------------------------------------

TEST_F(LogFile, LinesAreHeldBackUntilAFileIsOpen) {
    run([this] {
        logMessage("first", false);
        logMessageF("second %ls", L"\u00E4\u0142", false);
        EXPECT_TRUE(machine.tree(L"C:\\Logs").empty());
        EXPECT_TRUE(openLog(directory));
        EXPECT_EQ(onDisk(logFile), "first\r\nsecond \xE4\\u0142\r\n\r\n");
    });
    EXPECT_TRUE(machine.tree(L"C:\\Temp").empty());
}

TEST_F(LogFile, LinesOfAnOpenLogReachTheDiskAtTheEndAndNotOneByOne) {
    run([this] {
        openLog(directory);
        logMessage("first", false);
        logMessage("second", false);
        EXPECT_EQ(onDisk(logFile), "\r\n");
    });
    EXPECT_EQ(onDisk(logFile), "\r\nfirst\r\nsecond\r\n");
    EXPECT_EQ(count("flushStream"), 1U);
    EXPECT_EQ(count("closeStream"), 0U);
}

TEST_F(LogFile, AFlushBringsTheLinesToTheDisk) {
    run([this] {
        zellauncher::flushLog();
        openLog(directory);
        logMessage("first", false);
        zellauncher::flushLog();
        EXPECT_EQ(onDisk(logFile), "\r\nfirst\r\n");
    });
}

TEST_F(LogFile, ARunThatSaysNothingLeavesOneEmptyLine) {
    run([] {
        logDebug("dropped");
        openLog(directory);
        logDebug("dropped");
        logDebugF(L"%s", L"dropped");
    });
    EXPECT_EQ(onDisk(logFile), "\r\n");
}

TEST_F(LogFile, TheLogOfAnEarlierRunIsReplaced) {
    for (const std::string line : {"a longer line of an earlier run", "new"}) {
        run([&] {
            openLog(directory);
            logMessage(line, false);
        });
        EXPECT_EQ(onDisk(logFile), "\r\n" + line + "\r\n");
    }
}

TEST_F(LogFile, TheDirectoryMayHaveForwardSlashes) {
    machine.makeDirectory(L"C:\\Logs\\sub");
    run([] { EXPECT_TRUE(openLog(L"C:/Logs/sub")); });
    EXPECT_TRUE(machine.exists(L"C:\\Logs\\sub\\zellauncher.log"));
    EXPECT_EQ(machine.operations().at(0).argument, L"C:\\Logs\\sub\\zellauncher.log");
}

TEST_F(LogFile, ASecondLogTakesTheFurtherLines) {
    run([] {
        logMessage("held back", false);
        openLog(directory);
        logMessage("first", false);
        openLog(L"C:\\Temp");
        logMessage("second", false);
    });
    EXPECT_EQ(onDisk(logFile), "held back\r\n\r\nfirst\r\n");
    EXPECT_EQ(onDisk(tempLogFile), "\r\nsecond\r\n");
}

// --- The name of the file ---------------------------------------------------------------------------

TEST_F(LogFile, ADebugRunHasAFileOfItsOwn) {
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openLog(directory));
    });
    EXPECT_EQ(machine.tree(directory),
              std::vector<std::wstring>{L"C:\\Logs\\zellauncher_20260131_235900_000.log"});
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(LogFile, ADebugRunWaitsASecondWheneverItsNameIsTaken) {
    const std::wstring first = L"C:\\Logs\\zellauncher_20260131_235900_000.log";
    const std::wstring second = L"C:\\Logs\\zellauncher_20260131_235901_000.log";
    machine.writeFile(first, "of another run");
    machine.makeDirectory(second);
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openLog(L"C:/Logs"));
        logMessage("mine", false);
    });
    EXPECT_EQ(onDisk(first), "of another run");
    EXPECT_EQ(onDisk(L"C:\\Logs\\zellauncher_20260131_235902_000.log"), "\r\nmine\r\n");
    EXPECT_EQ(machine.elapsedMilliseconds(), 2000U);
}

TEST_F(LogFile, TwoDebugRunsOneAfterTheOtherKeepBothLogs) {
    for (int turn = 0; turn < 2; ++turn) {
        run([] {
            setLogDebug(true);
            openLog(directory);
        });
    }
    EXPECT_EQ(machine.tree(directory).size(), 2U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
}

TEST_F(LogFile, TheNameFollowsTheFlagAtTheMomentOfOpening) {
    run([] {
        bool previous = true;
        zellauncher::swapLogDebug(true, previous);
        EXPECT_FALSE(previous);
        EXPECT_TRUE(zellauncher::isLogDebug());
        setLogDebug(previous);
        openLog(directory);
        zellauncher::swapLogDebug(true, previous);
        logDebug("forced");
        setLogDebug(previous);
        EXPECT_FALSE(zellauncher::isLogDebug());
        logDebug("dropped");
    });
    EXPECT_EQ(machine.tree(directory), std::vector<std::wstring>{logFile});
    EXPECT_EQ(onDisk(logFile), "\r\nforced\r\n");
}

TEST_F(LogFile, TheRememberedNameDoesNotNameTheLog) {
    run([] {
        EXPECT_EQ(zellauncher::logFileName(), L"");
        zellauncher::setLogFileName(L"dcommand.log");
        EXPECT_EQ(zellauncher::logFileName(), L"dcommand.log");
        openLog(directory);
    });
    EXPECT_EQ(machine.tree(directory), std::vector<std::wstring>{logFile});
}

// --- Logs that cannot be opened ---------------------------------------------------------------------

TEST_F(LogFile, ALogThatCannotBeOpenedIsALineThatIsHeldBack) {
    run([] {
        logMessage("first", false);
        EXPECT_FALSE(openLog(L"C:/Gone/z\u0142oty"));
        logMessage("third", false);
        EXPECT_TRUE(openTempLog());
    });
    EXPECT_EQ(onDisk(tempLogFile),
              "first\r\n"
              "ZLNCH0019E: Could not open C:\\Gone\\z\\u0142oty\\zellauncher.log for writing!\r\n"
              "third\r\n\r\n");
}

TEST_F(LogFile, ALogThatCannotBeOpenedLeavesAnOpenOneInPlace) {
    run([] {
        openLog(directory);
        EXPECT_FALSE(openLog(L"C:\\Gone"));
        logMessage("still here", false);
    });
    EXPECT_EQ(onDisk(logFile),
              "\r\nZLNCH0019E: Could not open C:\\Gone\\zellauncher.log for writing!\r\nstill here\r\n");
}

TEST_F(LogFile, WithoutTempThereIsNoTempLog) {
    machine.unsetEnvironment(L"TEMP");
    run([] {
        EXPECT_FALSE(openTempLog());
        EXPECT_TRUE(openLog(directory));
    });
    EXPECT_EQ(onDisk(logFile), "ZLNCH0085E: Couldn't find the TEMP system variable!\r\n\r\n");
}

TEST_F(LogFile, TheTempLogFollowsTheSameRules) {
    machine.setEnvironment(L"TEMP", L"C:/Temp");
    run([] {
        setLogDebug(true);
        EXPECT_TRUE(openTempLog());
    });
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher_20260131_235900_000.log"));
}

TEST_F(LogFile, AFullDiskHoldsNobodyUp) {
    machine.setFreeSpace(0);
    const auto end = run([] {
        logMessage("held back", false);
        EXPECT_TRUE(openLog(directory));
        logMessage(std::string(20000, 'x'), false);
        logMessageF("%ls", L"y", false);
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, 0U);
    EXPECT_EQ(onDisk(logFile), "");
}

// --- Fatal ends -------------------------------------------------------------------------------------

TEST_F(LogFile, AFatalLineBeforeAnyLogGoesToTemp) {
    const auto end = run([] {
        logMessage("first", false);
        logMessage("last", true);
        ADD_FAILURE() << "went on behind a fatal line";
    });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(onDisk(tempLogFile), "first\r\nlast\r\n\r\n");
}

TEST_F(LogFile, AFatalLineOfADebugRunGoesToAFileOfItsOwnInTemp) {
    run([] {
        setLogDebug(true);
        logMessageF("last %ls", L"words", true);
    });
    EXPECT_EQ(onDisk(L"C:\\Temp\\zellauncher_20260131_235900_000.log"), "last words\r\n\r\n");
}

TEST_F(LogFile, AFatalLineGoesToTheLogThatIsOpen) {
    const std::vector<std::function<void()>> ends = {
        [] { logMessage("last words", true); },
        [] { logMessageF("last %ls", L"words", true); },
        [] { zellauncher::logFatal("last words"); },
        [] { zellauncher::logFatalF("last %ls", L"words"); },
    };
    for (const auto& fatal : ends) {
        const auto end = run([&] {
            openLog(directory);
            fatal();
            ADD_FAILURE() << "went on behind a fatal line";
        });
        EXPECT_EQ(end.status, fatalStatus);
        EXPECT_EQ(onDisk(logFile), "\r\nlast words\r\n");
        EXPECT_TRUE(machine.tree(L"C:\\Temp").empty());
    }
}

TEST_F(LogFile, AFatalLineWithoutTempStillEndsTheProcess) {
    machine.unsetEnvironment(L"TEMP");
    const auto end = run([] { zellauncher::logFatal("last words"); });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(count("openStream"), 0U);
}

TEST_F(LogFile, AFatalLineWithoutAUsableTempStillEndsTheProcess) {
    machine.setEnvironment(L"TEMP", L"C:\\Gone");
    const auto end = run([] { zellauncher::logFatalF("last %ls", L"words"); });
    EXPECT_EQ(end.kind, simulation::EndKind::exited);
    EXPECT_EQ(end.status, fatalStatus);
    EXPECT_EQ(count("openStream"), 1U);
}

// --- Lines that everybody sees ----------------------------------------------------------------------

TEST_F(LogLines, AMessageIsWrittenAsItStands) {
    EXPECT_EQ(quietLogOf([] {
                  logMessage("100% %s %n \\u0142 \x80\xFF", false);
                  logMessage("", false);
                  logMessage("two\nlines", false);
              }),
              "100% %s %n \\u0142 \x80\xFF\n\ntwo\nlines\n");
}

TEST_F(LogLines, AMessageWithAnArgumentShowsIt) {
    EXPECT_EQ(quietLogOf([] { logMessageF("Unable to open %ls (100%%)", L"C:\\%s%n\\x", false); }),
              "Unable to open C:\\%s%n\\x (100%)\n");
}

TEST_F(LogLines, CharactersThatTheLogCannotHoldAreShownByNumber) {
    EXPECT_EQ(quietLogOf([] {
                  logMessageF("\xE4 %ls", L"\u00FF\u0100\u0142", false);
                  logMessageF("%ls", std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xFFFF)},
                              false);
              }),
              "\xE4 \xFF\\u0100\\u0142\n\\ud83d\\uffff\n");
    EXPECT_EQ(logOf([] {
                  logDebugF(L"\u0142 %s", L"\u0105");
                  logDebugArgs(L"\u0119", {L"\u017C"});
              }),
              "\\u0142 \\u0105\n\\u0119=\"\\u017c, \n");
}

TEST_F(LogLines, NoMessageIsTooLong) {
    for (const std::size_t length : {4000U, 4095U, 4096U, 4097U, 70000U}) {
        EXPECT_EQ(quietLogOf([&] { logMessageF("<%ls>", std::wstring(length, L'x'), false); }),
                  "<" + std::string(length, 'x') + ">\n");
        EXPECT_EQ(quietLogOf([&] { logMessage(std::string(length, 'x'), false); }),
                  std::string(length, 'x') + "\n");
    }
}

// --- Debug lines ------------------------------------------------------------------------------------

TEST_F(LogLines, WithoutTheFlagThereAreNoDebugLines) {
    EXPECT_EQ(quietLogOf([] {
                  EXPECT_FALSE(zellauncher::isLogDebug());
                  logDebug("text");
                  logDebugF(L"%s", L"text");
                  logDebugArgs(L"label", {L"word"});
                  logDebugLastError(L"something");
              }),
              "");
}

TEST_F(LogLines, ADebugTextHasFewerThan1000Characters) {
    EXPECT_EQ(logOf([] {
                  logDebug(std::string(1000, 'x'));
                  logDebug(std::string(999, 'y'));
                  logDebug("");
              }),
              std::string(999, 'y') + "\n\n");
}

TEST_F(LogLines, ConversionsInADebugTextGiveNothing) {
    EXPECT_EQ(logOf([] { logDebug("a%sb%dc%%d%n\xE4%"); }), "abc%d\xE4\n");
}

TEST_F(LogLines, ADebugLineWithAnArgumentHasFewerThan4000Characters) {
    const std::wstring format = L"<%s>";
    EXPECT_EQ(logOf([&] {
                  logDebugF(format, std::wstring(3996, L'x'));
                  logDebugF(format, std::wstring(3995, L'y'));
                  logDebugF(std::wstring(4000, L'x'), L"");
                  logDebugF(std::wstring(3999, L'z'), L"");
              }),
              "<" + std::string(3995, 'y') + ">\n" + std::string(3999, 'z') + "\n");
}

TEST_F(LogLines, ADebugLineIsCutAt4000Characters) {
    EXPECT_EQ(logOf([] { logDebugF(L"|%4096s", L"x"); }), "|" + std::string(3999, ' ') + "\n");
}

TEST_F(LogLines, BothSpellingsStandForTheWideArgument) {
    EXPECT_EQ(logOf([] {
                  logDebugF(L"'%s' is not set", L"A%sB");
                  logDebugF(L"'%ls' is not set", L"A%sB");
                  logDebugF(L"'%s' '%s' '%d'", L"one");
              }),
              "'A%sB' is not set\n'A%sB' is not set\n'one' '' ''\n");
}

TEST_F(LogLines, WordsAreListedWithoutAnEnd) {
    EXPECT_EQ(logOf([] {
                  logDebugArgs(L"arguments", {});
                  logDebugArgs(L"arguments", {L"a b", L"", L"%s\"", L"c"});
              }),
              "arguments=\"\narguments=\"a b, , %s\", c, \n");
}

TEST_F(LogLines, AListOfWordsIsNeverTooLong) {
    const std::vector<std::wstring> words(3, std::wstring(5000, L'x'));
    const std::string shown = std::string(5000, 'x') + ", ";
    EXPECT_EQ(logOf([&] { logDebugArgs(L"l", words); }), "l=\"" + shown + shown + shown + "\n");
}

TEST_F(LogLines, AnErrorIsToldWithItsCodeAndTheSystemsWords) {
    failNextLook(platform::errorAccessDenied);
    EXPECT_EQ(logOf([] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(L"Looking at 100%s");
              }),
              "Looking at 100%s failed with error 5: Access is denied.\r\n\n");
}

TEST_F(LogLines, AnErrorCodeIsASignedNumber) {
    failNextLook(0x80070005);
    EXPECT_EQ(logOf([] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(L"It");
              }),
              "It failed with error -2147024891: The system has a text for this.\r\n\n");
}

TEST_F(LogLines, AnErrorLineThatIsTooLongIsDropped) {
    failNextLook(platform::errorAccessDenied);
    const std::wstring rest = L" failed with error 5: Access is denied.\r\n";
    EXPECT_EQ(logOf([&] {
                  platform::fileAttributes(L"C:\\");
                  logDebugLastError(std::wstring(4000 - 3 - rest.size(), L'x'));
                  logDebugLastError(std::wstring(4000 - 4 - rest.size(), L'y'));
              }),
              std::string(4000 - 4 - rest.size(), 'y') + " failed with error 5: Access is denied.\r\n\n");
}

TEST_F(LogLines, AnErrorCanBePutIntoAMessage) {
    failNextLook(platform::errorSharingViolation);
    EXPECT_EQ(logOf([] {
                  std::wstring reason = L"before";
                  platform::fileAttributes(L"C:\\");
                  formatLastError(reason);
                  EXPECT_EQ(reason,
                            L" Failed with error 32: The process cannot access the file because it is being "
                            L"used by another process.\r\n");
              }),
              "");
}

TEST_F(LogLines, ATimestampIsTheLocalTimeInNineteenCharacters) {
    run([] {
        std::wstring timestamp = L"before";
        formatTimestamp(timestamp);
        EXPECT_EQ(timestamp, L"20260131_235900_000");
        platform::sleepMilliseconds(59999);
        formatTimestamp(timestamp);
        EXPECT_EQ(timestamp, L"20260131_235959_999");
        platform::sleepMilliseconds(1008);
        formatTimestamp(timestamp);
        EXPECT_EQ(timestamp, L"20260201_000001_007");
    });
}

}  // namespace
