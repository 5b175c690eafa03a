#include <gtest/gtest.h>

#include <fstream>

#include "explain/check/example_install.h"
#include "explain/log/log_files.h"
#include "explain/log/log_reading.h"
#include "explain/log/log_writer.h"
#include "scenarios/story.h"

// What the log of a start says is what happened.
namespace {

using explain::LogFault;
using explain::LogOutcome;
using explain::LogReading;
using explain::LogResult;
using nlohmann::json;

constexpr const char* beginning = "ZLNCH0030I: zellauncher wmain arguments=\"C:\\zel\\zellauncher.exe, \r\n";

class LogOfStart : public scenarios::Story {
protected:
    LogReading read(const std::wstring& path) const {
        const LogResult result = explain::readLog(machine.readFile(path).value_or(""));
        EXPECT_EQ(result.fault, LogFault::none) << logAt(path);
        return result.reading;
    }
    LogReading readLog() const { return read(inWorkspace(L"logs\\zellauncher.log")); }
    LogReading readTempLog() const { return read(L"C:\\Temp\\zellauncher.log"); }
};

TEST_F(LogOfStart, ShowsTheCommandAndTheLock) {
    EXPECT_STARTED(launch({L"hello world"}));
    const LogReading reading = readLog();
    EXPECT_EQ(reading.outcome, LogOutcome::started);
    EXPECT_EQ(reading.status, 0);
    EXPECT_FALSE(reading.message);
    EXPECT_EQ(reading.arguments, "C:\\Apps\\framework\\Client\\zel\\zellauncher.exe, hello world");
    ASSERT_GT(reading.elements.size(), 3U);
    EXPECT_EQ(reading.elements[2], "hello world");
    EXPECT_EQ(reading.locked, "20260131_235900_000");
    EXPECT_TRUE(reading.released);
    EXPECT_GT(reading.heldMilliseconds.value_or(0), 0);
    EXPECT_TRUE(reading.hints.empty()) << log();
}

TEST_F(LogOfStart, WithDebugHasTheSameOutcome) {
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_EQ(read(firstDebugLog).outcome, LogOutcome::started);
    EXPECT_FALSE(read(firstDebugLog).elements.empty());
}

TEST_F(LogOfStart, HintsAtAPlatformThatDoesNotComeUp) {
    platform.publishes = false;
    EXPECT_STARTED(launch());
    EXPECT_EQ(readLog().outcome, LogOutcome::started);
    EXPECT_EQ(readLog().hints.size(), 1U);
}

TEST_F(LogOfStart, BesideARunningPlatformIsAHandOff) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch());
    EXPECT_EQ(readLog().outcome, LogOutcome::handedOver);
    EXPECT_EQ(readLog().status, 0);
}

TEST_F(LogOfStart, ThatProvisionsSaysSo) {
    launcherProperties.set("provisioning", "true");
    launcherProperties.set("provisioning.manifest.version", "7");
    EXPECT_STARTED(launch());
    EXPECT_EQ(readLog().outcome, LogOutcome::provisioned);
    EXPECT_FALSE(readLog().elements.empty());
}

TEST_F(LogOfStart, ThatOnlyPreparesSaysSo) {
    EXPECT_STARTED(launch({L"-zelLauncherWait", L"-provManifest"}));
    EXPECT_EQ(readLog().outcome, LogOutcome::prepared);
}

TEST_F(LogOfStart, ThatIsRefusedHasTheMessageAndItsEntry) {
    baseProperties.remove("plugincustomization");
    EXPECT_FATAL(launch());
    const LogReading reading = readLog();
    EXPECT_EQ(reading.outcome, LogOutcome::refused);
    EXPECT_EQ(reading.status, -1);
    ASSERT_TRUE(reading.message && reading.entry);
    EXPECT_TRUE(reading.message->starts_with("ZLNCH0050E:  plugin_customization.ini is missing"));
    EXPECT_EQ(reading.entry->text, "ZLNCH0050E:  plugin_customization.ini is missing from %ls");
}

TEST_F(LogOfStart, BeforeTheWorkspaceIsKnownIsInTemp) {
    launcherProperties.remove("zel.install.id");
    EXPECT_FATAL(launch());
    EXPECT_EQ(readTempLog().outcome, LogOutcome::refused);
    EXPECT_TRUE(readTempLog().message.value_or("").starts_with("ZLNCH0016E"));
}

TEST_F(LogOfStart, OfAVersionQueryIsRefused) {
    EXPECT_FATAL(launch({L"-version"}));
    EXPECT_EQ(readTempLog().outcome, LogOutcome::refused);
    EXPECT_EQ(readTempLog().status, -1);
}

// An access violation is a status of its own, and the list of files that cannot be removed is one message.
TEST(LogReading, KnowsTheMessagesWithSeveralLines) {
    const std::string list =
        std::string(beginning) +
        "\r\nZLNCH0107E begin: Error removing metadata plugin directory\r\n"
        "Can't delete file \\\\?\\C:\\ws\\a  -  Failed with error 5: Access is denied.\r\n\r\n"
        "ZLNCH0108E end: Unable to remove all files in the metadata plugin directory. "
        "Please correct the problems listed above\r\n";
    EXPECT_EQ(explain::readLog(list).reading.message,
              "ZLNCH0107E begin: Error removing metadata plugin directory");
    const std::string framework =
        std::string(beginning) + "ZELLauncher> no framework directory in the install path \"C:\\Apps\"\r\n";
    EXPECT_EQ(explain::readLog(framework).reading.status, -1073741819);
}

// The system's text for an error ends the line within the message.
TEST(LogReading, KnowsAMessageThatGoesOnAfterTheSystemsText) {
    const LogResult result = explain::readLog(
        std::string(beginning) +
        "ZLNCH0143E: Unable to connect to pipe ' Failed with error 5: Access is denied.\r\r\n'\r\n");
    EXPECT_EQ(result.reading.outcome, LogOutcome::refused);
    EXPECT_EQ(result.reading.message,
              "ZLNCH0143E: Unable to connect to pipe ' Failed with error 5: Access is denied.\n'");
    ASSERT_TRUE(result.reading.entry);
    EXPECT_EQ(result.reading.entry->text, "ZLNCH0143E: Unable to connect to pipe '%ls'");
}

TEST(LogReading, OfALauncherThatStillWaitsIsUnfinished) {
    const std::string text = std::string(beginning) +
                             "ZLNCH0303I: lock file captured @ 20260131_235900_000\r\n"
                             "ZLNCH0305I: We are daemon process\r\n";
    const LogResult result = explain::readLog(text);
    EXPECT_EQ(result.fault, LogFault::none);
    EXPECT_EQ(result.reading.outcome, LogOutcome::unfinished);
    EXPECT_FALSE(result.reading.status);
}

struct FaultyLog {
    std::string bytes;
    LogFault fault;
};

TEST(LogReading, NamesWhyAFileIsNoLog) {
    const FaultyLog logs[] = {
        {"", LogFault::empty},
        {"Started Sat Jan 31 23:59:00 2026\r\n", LogFault::foreign},
        {std::string("\xFF\xFEZ\0L\0", 6), LogFault::utf16},
        {"ZLNCH0304I: We are main process\r\n", LogFault::damaged},
        {std::string(beginning) + std::string(4, '\0') + "\r\n", LogFault::damaged},
        {std::string(beginning) + "ZLNCH0304I: We are ma", LogFault::cut},
        {"ZLNCH0030I: zellauncher wmain arguments=\"a, ", LogFault::cut},
        {beginning, LogFault::none},
    };
    for (const FaultyLog& log : logs) {
        EXPECT_EQ(explain::readLog(log.bytes).fault, log.fault) << log.bytes;
    }
}

// --- Directories -----------------------------------------------------------------------------------

class Fleet : public ::testing::Test {
protected:
    explaintest::ExampleInstall directory;  // any directory of the test's own

    void write(const std::string& name, const std::string& bytes) { directory.write("fleet/" + name, bytes); }
    explain::LogFiles read() const { return explain::readLogFiles({directory.file("fleet").string()}); }
    std::string fileName(const std::string& name) const {
        return directory.file("fleet/" + name).generic_string();
    }
};

const std::string refused = std::string(beginning) +
                            "ZLNCH0016E: zel.install.id is required for this "
                            "configuration!\r\n";
const std::string handedOver = std::string(beginning) +
                               "ZLNCH0305I: We are daemon process\r\n"
                               "ZLNCH0306I: lock file released @ 20260131_235900_100\r\n";

TEST_F(Fleet, IsATableOfOutcomesAndCauses) {
    write("pc1/ann.log", refused);
    write("pc2/bob.log", refused);
    write("pc3/eve.log", handedOver);
    write("pc3/shutdown.log", "Started Sat Jan 31 23:59:00 2026\r\n");
    const json result = json::parse(explain::writeLogsJson(read()));
    ASSERT_EQ(result["table"].size(), 2U);
    EXPECT_EQ(result["table"][0]["outcome"], "refused");
    EXPECT_EQ(result["table"][0]["reason"], "ZLNCH0016E: zel.install.id is required for this configuration!");
    EXPECT_EQ(result["table"][0]["count"], 2);
    EXPECT_EQ(result["table"][0]["files"], (json{fileName("pc1/ann.log"), fileName("pc2/bob.log")}));
    EXPECT_EQ(result["table"][1]["outcome"], "handedOver");
    EXPECT_EQ(result["skipped"],
              (json{{{"file", fileName("pc3/shutdown.log")}, {"reason", "no log of the launcher"}}}));
    EXPECT_EQ(result["logs"].size(), 3U);
    const std::string text = explain::writeLogs(read());
    EXPECT_NE(text.find("3 logs, 1 other file\n       2  refused: ZLNCH0016E"), std::string::npos) << text;
}

TEST_F(Fleet, CountsAreSingularOrPlural) {
    const auto beginsWith = [&](const std::string& counts) {
        const std::string text = explain::writeLogs(read());
        EXPECT_TRUE(text.starts_with(counts + "\n")) << text;
    };
    write("ann.log", refused);
    beginsWith("1 log, 0 other files");
    write("shutdown.log", "Started Sat Jan 31 23:59:00 2026\r\n");
    beginsWith("1 log, 1 other file");
    write("notes.log", "text\r\n");
    write("bob.log", refused);
    beginsWith("2 logs, 2 other files");
}

TEST_F(Fleet, FileThatIsGivenIsShownInFull) {
    write("ann.log", refused);
    const std::string text = explain::writeLogs(explain::readLogFiles({fileName("ann.log")}));
    for (const char* part : {"refused to start. Its status is -1.", "ZLNCH0016E", "Meaning: ", "Remedy: "}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    }
}

TEST_F(Fleet, MissingPathIsRefused) {
    EXPECT_ANY_THROW(explain::readLogFiles({fileName("missing")}));
}

}  // namespace
