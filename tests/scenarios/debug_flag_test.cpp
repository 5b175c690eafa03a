#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"
#include "support/text.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// Lines of debug runs: the first is written before the arguments are expanded, the second after that.
constexpr const char* earlyLine = "\nZLNCH0032I: Prop Line = \"product=com.example.product\"\n";
constexpr const char* lateLine = "\nZLNCH0032I: Prop Line = \"application=com.example.app\"\n";

class DebugFlag : public Story {
protected:
    void expectLines(const std::string& text, bool early, bool late) {
        EXPECT_EQ(text.find(earlyLine) != std::string::npos, early) << text;
        EXPECT_EQ(text.find(lateLine) != std::string::npos, late) << text;
    }
};

TEST_F(DebugFlag, OfTheCommandLineHoldsFromTheBeginning) {
    EXPECT_STARTED(launch({L"x", L"-debug"}));
    expectLines(logAt(firstDebugLog), true, true);
}

TEST_F(DebugFlag, OfAConfigurationHoldsOnceTheArgumentsAreExpanded) {
    launcherProperties.set("config.app.1", "-debug");
    EXPECT_STARTED(launch({L"-config", L"app"}));
    expectLines(logAt(firstDebugLog), false, true);
}

// `-debug` is the name of the configuration here.
TEST_F(DebugFlag, ThatTheExpansionRemovesHoldsUntilThen) {
    EXPECT_STARTED(launch({L"-config", L"-debug"}));
    EXPECT_FALSE(machine.exists(firstDebugLog));
    expectLines(log(), true, false);
}

TEST_F(DebugFlag, NeedsTheWholeOption) {
    EXPECT_STARTED(launch({L"-Debug", L"-debugx", L"-debu"}));
    EXPECT_FALSE(machine.exists(firstDebugLog));
    expectLines(log(), false, false);
}

TEST_F(DebugFlag, NamesTheLogOfAnEarlyFailure) {
    layOut();
    machine.remove(L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties");
    EXPECT_FATAL(launch({L"-debug"}));
    EXPECT_EQ(machine.tree(L"C:\\Temp"),
              std::vector<std::wstring>{L"C:\\Temp\\zellauncher_20260131_235900_000.log"});
}

// A good start logs no failure, because a reader would take it for the cause of a problem.
class GoodDebugLogs : public Story {
protected:
    // Lines of the newest debug log that report a failure. Two messages with an E report progress.
    std::vector<std::string> failureLines() {
        std::vector<std::string> failures;
        for (const std::string& line : launchertest::splitLines(lastDebugLog())) {
            const bool isMessage = line.starts_with("ZLNCH") && line.substr(9, 2) == "E:";
            const bool isProgress = line.starts_with("ZLNCH0090E: Existing platform lock file found") ||
                                    line.starts_with("ZLNCH0091E: No data in the platform lock file");
            const bool hasFailed = line.find("ailed") != std::string::npos ||
                                   line.find("Error") != std::string::npos ||
                                   line.find("Unable") != std::string::npos;
            if ((isMessage && !isProgress) || hasFailed) {
                failures.push_back(line);
            }
        }
        return failures;
    }
    void expectGoodStart(std::vector<std::wstring> arguments) {
        machine.remove(inWorkspace(L"logs"));
        machine.makeDirectory(inWorkspace(L"logs"));
        arguments.emplace_back(L"-debug");
        EXPECT_STARTED(launch(arguments));
        EXPECT_TRUE(contains(lastDebugLog(), "ZLNCH0032I: Prop Line = "));
        EXPECT_EQ(failureLines(), std::vector<std::string>());
    }
};

TEST_F(GoodDebugLogs, ReportNoFailure) {
    // Only a machine that has a kiosk's shell can be asked for it without a failure.
    machine.setRegistryText(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells",
                            L"KSD_SHELL", L"kiosk.exe");
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_EQ(failureLines(), std::vector<std::string>());
    expectGoodStart({L"hello"});
    expectGoodStart({L"-dcommand_only", L"hello"});
    closePlatform();
    expectGoodStart({});
    closePlatform();
    expectGoodStart({L"-restart"});
    closePlatform();
    expectGoodStart({L"-resetconfig"});
    closePlatform();
    expectGoodStart({L"-provManifest", L"-zelLauncherWait"});
    EXPECT_EQ(machine.startedProcesses().size(), 4U);
    EXPECT_EQ(payloads().size(), 2U);
}

}  // namespace
