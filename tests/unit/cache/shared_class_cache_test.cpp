#include "cache/shared_class_cache.h"

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::VmargOverrides;

constexpr const wchar_t* history = L"C:\\ws\\logs\\shutdown.log";

std::string numbered(int from, int to) {
    std::string text;
    for (int n = from; n <= to; ++n) {
        text += "line " + std::to_string(n) + "\r\n";
    }
    return text;
}

class CacheUpkeep : public launchertest::OnMachine {
protected:
    VmargOverrides overrides = {{L"vmarg.CacheMaintenance.enable", L"false"}};
    launchertest::Outcome outcome;
    bool purged = false;
    bool isStale = true;
    const std::string started = "Started Sat Jan 31 23:59:00 2026\r\n";

    CacheUpkeep() { machine.makeDirectory(L"C:\\ws\\logs"); }

    void maintain(const std::wstring& option) {
        overrides[L"vmarg.Dshare"] = option;
        maintain();
    }
    void maintain() {
        outcome = run([&] {
            purged = true;
            zellauncher::cacheMaintenance(L"C:/ws", overrides, isStale, purged);
        });
    }
    void fill(const std::wstring& directory) {
        machine.writeFile(directory + L"\\x_app_y", "");
        machine.writeFile(directory + L"\\other", "");
        machine.makeDirectory(directory + L"\\app_directory");
    }
    bool isPurged(const std::wstring& directory) {
        EXPECT_TRUE(machine.exists(directory + L"\\app_directory"));
        return !machine.exists(directory + L"\\x_app_y");
    }
};

TEST_F(CacheUpkeep, DeletesTheCacheFilesAfterAnUncleanEnd) {
    fill(L"C:\\ws\\cache");
    maintain(L"-Xshareclasses:name=app%u,controlDir=C:\\ws\\cache");
    EXPECT_TRUE(isPurged(L"C:\\ws\\cache"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\cache\\other"));
    EXPECT_TRUE(purged);
    EXPECT_EQ(machine.readFile(history), started);
}

TEST_F(CacheUpkeep, OnlyTheKeySwitchesItOn) {
    fill(L"C:\\ws\\cache");
    overrides.clear();
    maintain(L"-Xshareclasses:name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
    EXPECT_FALSE(purged);
    EXPECT_EQ(machine.readFile(history), started);
}

TEST_F(CacheUpkeep, ACleanEndLeavesTheCache) {
    fill(L"C:\\ws\\cache");
    isStale = false;
    maintain(L"-Xshareclasses:name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
    EXPECT_EQ(machine.readFile(history), started);
}

TEST_F(CacheUpkeep, WithoutANameOrADirectoryNothingIsDeleted) {
    fill(L"C:\\ws");
    for (const wchar_t* option :
         {L"", L"-Xshareclasses:controldir=C:\\ws", L"name=app", L"controlDir=C:\\ws"}) {
        maintain(option);
        EXPECT_FALSE(isPurged(L"C:\\ws"));
        EXPECT_FALSE(purged);
    }
    overrides.erase(L"vmarg.Dshare");
    maintain();
    EXPECT_FALSE(purged);
}

TEST_F(CacheUpkeep, TheTextEndsAtACommaAndLosesItsBlanks) {
    fill(L"C:\\ws\\cache");
    maintain(L"name =  app , controlDir = C:/ws/cache ,x");
    EXPECT_TRUE(isPurged(L"C:\\ws\\cache"));
}

TEST_F(CacheUpkeep, TheLettersOfAnOptionMayBelongToAnotherWord) {
    // `name` is first found in the directory's path; the text behind the next equals sign counts.
    fill(L"C:\\ws\\username\\c");
    machine.writeFile(L"C:\\ws\\username\\c\\x", "");
    maintain(L"controlDir=C:\\ws\\username\\c,name=x_app");
    EXPECT_TRUE(isPurged(L"C:\\ws\\username\\c"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\username\\c\\x"));
}

TEST_F(CacheUpkeep, WithoutAnEqualsSignTheTextIsTheWholeValue) {
    fill(L"C:\\ws\\cache");
    machine.writeFile(L"C:\\ws\\cache\\C_name", "");
    maintain(L"C:\\ws\\cache\\name_controlDir");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
}

TEST_F(CacheUpkeep, ADirectoryOutsideTheWorkspaceIsNotTouched) {
    fill(L"C:\\other");
    maintain(L"name=app,controlDir=C:\\other");
    EXPECT_FALSE(isPurged(L"C:\\other"));
    fill(L"C:\\ws\\cache");
    maintain(L"name=app,controlDir=C:\\WS\\cache");  // the comparison is of the text
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
    EXPECT_FALSE(purged);
}

TEST_F(CacheUpkeep, TheComparisonIsOfTheTextAndNotOfDirectories) {
    fill(L"C:\\ws");
    maintain(L"name=app,controlDir=C:/ws");
    EXPECT_TRUE(isPurged(L"C:\\ws"));
    fill(L"C:\\wsx");
    maintain(L"name=app,controlDir=C:/wsx");
    EXPECT_TRUE(isPurged(L"C:\\wsx"));
}

TEST_F(CacheUpkeep, ThePerCentSignCutsTheNameAlone) {
    fill(L"C:\\ws\\a%b");
    maintain(L"name=app%u%v,controlDir=C:\\ws\\a%b");
    EXPECT_TRUE(isPurged(L"C:\\ws\\a%b"));
}

TEST_F(CacheUpkeep, ARelativeDirectoryIsFatal) {
    for (const wchar_t* option : {L"name=app,controlDir=cache", L"name=app,controlDir=",
                                  L"name=app,controlDir=  ,x", L"name=app,controlDir=\\ws"}) {
        maintain(option);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), "ZLNCH0140E: relative paths can not be converted to unicode path");
        EXPECT_FALSE(machine.exists(history));
    }
}

TEST_F(CacheUpkeep, AnEmptyNameFitsEveryFileOfTheDirectoryAndNoneBelow) {
    for (const wchar_t* name : {L"name=", L"name=   ", L"name=%u"}) {
        fill(L"C:\\ws\\cache");
        machine.writeFile(L"C:\\ws\\cache\\app_directory\\kept", "");
        maintain(name + std::wstring(L",controlDir=C:\\ws\\cache"));
        EXPECT_TRUE(isPurged(L"C:\\ws\\cache"));
        EXPECT_FALSE(machine.exists(L"C:\\ws\\cache\\other"));
        EXPECT_TRUE(machine.exists(L"C:\\ws\\cache\\app_directory\\kept"));
        EXPECT_TRUE(purged);
    }
}

TEST_F(CacheUpkeep, OnlyBlanksAreStripped) {
    fill(L"C:\\ws\\cache");
    maintain(L"name=\tapp,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
}

TEST_F(CacheUpkeep, TheLettersOfAnOptionAreCaseSensitive) {
    fill(L"C:\\ws\\cache");
    maintain(L"Name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
    maintain(L"name=app,ControlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged(L"C:\\ws\\cache"));
    EXPECT_EQ(machine.readFile(history), started + started);
}

TEST_F(CacheUpkeep, AnEmptyDirectoryIsNoSuccess) {
    machine.makeDirectory(L"C:\\ws\\cache");
    maintain(L"name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(purged);
    maintain(L"name=app,controlDir=C:\\ws\\missing");
    EXPECT_FALSE(purged);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(machine.readFile(history), started + started);
}

TEST_F(CacheUpkeep, WhatCannotBeDeletedDoesNotStopTheStart) {
    fill(L"C:\\ws\\cache");
    machine.setAttributes(L"C:\\ws\\cache\\x_app_y", 1);
    maintain(L"name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(purged);
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
}

class History : public CacheUpkeep {
protected:
    History() { overrides.clear(); }
    void fail(const std::string& operation, const std::wstring& ending, std::uint64_t nth = 1) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = ending;
        fault.nth = nth;
        machine.inject(fault);
    }
};

TEST_F(History, GrowsTo199LinesAndKeeps101OfThe200th) {
    machine.writeFile(history, numbered(1, 198));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(1, 198) + started);
    machine.writeFile(history, numbered(1, 199));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(100, 199) + started);
    EXPECT_FALSE(machine.exists(std::wstring(history) + L".new"));
    machine.writeFile(history, numbered(1, 249));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(150, 249) + started);
}

TEST_F(History, BlankAndIndentedLinesAreLostAtATrim) {
    machine.writeFile(history, "\r\n  a\r\n\r\n   b\r\n" + numbered(1, 198));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(99, 198) + started);
}

TEST_F(History, AnEmptyFirstLineEndsAndCountsNoLine) {
    machine.writeFile(history, "\n\n\n");
    maintain();
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(machine.readFile(history), "\n\n\n" + started);
    machine.writeFile(history, "\n" + numbered(1, 198));
    maintain();
    EXPECT_EQ(machine.readFile(history), "\n" + numbered(1, 198) + started);
    machine.writeFile(history, "\n" + numbered(1, 199));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(100, 199) + started);
}

TEST_F(History, DaysAndTimesHaveTwoDigits) {
    const simulation::ProcessId id = machine.start({L"C:\\p.exe"}, [] {
        platform::sleepMilliseconds(69000);  // from the end of January
        zellauncher::recordPlatformStart(L"C:\\ws");
        return 0;
    });
    machine.waitFor(id);
    EXPECT_EQ(machine.readFile(history), "Started Sun Feb 01 00:00:09 2026\r\n");
}

TEST_F(History, ALineBeyondTheLimitCountsAsSeveral) {
    const std::string longLine(2024 + 10, 'x');
    machine.writeFile(history, numbered(1, 98) + longLine + "\r\n" + numbered(99, 196));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(1, 98) + longLine + "\r\n" + numbered(99, 196) + started);
    machine.writeFile(history, numbered(1, 98) + longLine + "\r\n" + numbered(99, 197));
    maintain();
    EXPECT_EQ(machine.readFile(history), std::string(10, 'x') + "\r\n" + numbered(99, 197) + started);
}

TEST_F(History, ALastLineWithoutItsEndIsALine) {
    const std::string unended = numbered(1, 199) + "x";
    machine.writeFile(history, unended);
    run([] { zellauncher::trimShutdownLog(L"C:/ws/logs"); });
    EXPECT_EQ(machine.readFile(history), numbered(100, 199) + "x\r\n");
}

TEST_F(History, TheLinesThatTellOfAFailedTrimAreForDebugging) {
    machine.makeDirectory(history);
    outcome = runQuietly([] { zellauncher::trimShutdownLog(L"C:\\ws\\logs"); });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(History, ATrimThatTheDiskRefusesAtTheEndIsTold) {
    machine.writeFile(history, numbered(1, 199));
    fail("closeStream", L"shutdown.log.new");
    maintain();
    EXPECT_EQ(outcome.log, "ZLNCH0137E: Error while truncating file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(outcome.end.status, 0U);
}

TEST_F(History, ALeftOverNewFileIsReplaced) {
    machine.writeFile(std::wstring(history) + L".new", numbered(1, 500));
    machine.writeFile(history, numbered(1, 199));
    maintain();
    EXPECT_EQ(machine.readFile(history), numbered(100, 199) + started);
    EXPECT_FALSE(machine.exists(std::wstring(history) + L".new"));
}

TEST_F(History, ThatCannotBeWrittenIsFatal) {
    fail("writeStream", L"shutdown.log");
    maintain();
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0118E: Error writing to C:\\ws\\logs\\shutdown.log file.");
    fail("closeStream", L"shutdown.log");
    maintain();
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0118E: Error writing to C:\\ws\\logs\\shutdown.log file.");
    machine.remove(L"C:\\ws\\logs");
    maintain();
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0098E: Could not open C:\\ws\\logs\\shutdown.log for writing!");
}

TEST_F(History, ThatCannotBeReadIsNotTrimmed) {
    machine.writeFile(history, numbered(1, 300));
    fail("openStream", L"shutdown.log", 2);
    maintain();
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "ZLNCH0138E: Unable to open file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(machine.readFile(history), numbered(1, 300) + started);
}

TEST_F(History, WithoutItsNewFileIsNotTrimmed) {
    machine.writeFile(history, numbered(1, 300));
    machine.makeDirectory(std::wstring(history) + L".new");
    maintain();
    EXPECT_EQ(outcome.log,
              "ZLNCH0105E: Unable to open file for writing.\"C:\\ws\\logs\\shutdown.log.new\"\n");
    EXPECT_EQ(machine.readFile(history), numbered(1, 300) + started);
}

TEST_F(History, ALineThatCannotBeCopiedIsToldAndTheOthersGoOn) {
    machine.writeFile(history, numbered(1, 199));
    fail("writeStream", L"shutdown.log.new", 2);
    maintain();
    EXPECT_EQ(outcome.log, "ZLNCH0137E: Error while truncating file.\"C:\\ws\\logs\\shutdown.log\"\n");
    EXPECT_EQ(machine.readFile(history), numbered(100, 100) + numbered(102, 199) + started);
}

}  // namespace
