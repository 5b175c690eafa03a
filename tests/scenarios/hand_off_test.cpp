#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

std::wstring joined(const std::vector<std::wstring>& elements) {
    std::wstring text;
    for (const std::wstring& element : elements) {
        text += (text.empty() ? L"" : L"\n") + element;
    }
    return text + L'\0';
}

// A start while the platform runs: its words go through the platform's pipe.
class HandOff : public Story {
protected:
    std::vector<std::wstring> lastWords() const {
        const std::vector<std::wstring> texts = payloads();
        std::vector<std::wstring> words(1);
        for (const wchar_t unit : texts.empty() ? std::wstring() : texts.back()) {
            if (unit == L'\n') {
                words.emplace_back();
            } else if (unit != L'\0') {
                words.back() += unit;
            }
        }
        return words;
    }
    std::wstring ownerNumber() const { return std::to_wstring(machine.startedProcesses()[0].id); }
};

TEST_F(HandOff, TheWholeListIsHandedOverInOneText) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"hello world", L"", L"\u65e5\u672c"}));
    ASSERT_EQ(payloads().size(), 1U);
    const std::wstring data = L"C:\\Users\\ann/Mivel/ZEL/1234/ann";
    const std::wstring slashed = L"C:/Apps/framework/Client";
    EXPECT_EQ(payloads()[0], joined({slashed + L"/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe",
                                     L"--launcher.suppressErrors",
                                     L"hello world",
                                     L"",
                                     L"\u65e5\u672c",
                                     L"-data",
                                     data,
                                     L"-configuration",
                                     data + L"/.config",
                                     L"-application",
                                     L"com.example.app",
                                     L"-plugincustomization",
                                     slashed + L"/custom.ini",
                                     L"-product",
                                     L"com.example.product",
                                     L"-vm",
                                     slashed + L"/jvm/bin/javaw.exe",
                                     L"-useDaemon",
                                     ownerNumber(),
                                     L"-startup",
                                     slashed + L"/zel/eclipse/plugins/base_1.0/launcher.jar",
                                     L"-vmargs",
                                     L"-Dzel.home=C:\\Apps\\framework\\Client",
                                     L"-Dzel.data=" + data,
                                     L"-Dcom.mivel.zel.install.id=1234",
                                     L"-Dzel.install.config=user",
                                     L"-Dzel.osgi.install.area=C:\\Apps\\framework\\Client\\zel\\eclipse",
                                     L"-Xmx512m",
                                     L"-Xbootclasspath/a:" + slashed + L"/boot.jar"}));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_NE(log().find("ZLNCH0306I: lock file released @ "), std::string::npos);
}

TEST_F(HandOff, TenLaunchersAtOnceHandOverTenTexts) {
    EXPECT_STARTED(launch());
    std::vector<simulation::ProcessId> launchers;
    for (int number = 0; number < 10; ++number) {
        launchers.push_back(begin({L"word" + std::to_wstring(number)}));
    }
    for (const simulation::ProcessId id : launchers) {
        EXPECT_STARTED(machine.waitFor(id));
    }
    const std::vector<std::wstring> texts = payloads();
    ASSERT_EQ(texts.size(), 10U);
    for (int number = 0; number < 10; ++number) {
        const std::wstring word = L"\nword" + std::to_wstring(number) + L"\n";
        EXPECT_EQ(
            std::count_if(texts.begin(), texts.end(),
                          [&](const std::wstring& text) { return text.find(word) != std::wstring::npos; }),
            1);
    }
}

TEST_F(HandOff, AMebibyteArrivesUnchanged) {
    EXPECT_STARTED(launch());
    const std::wstring word(512 * 1024, L'x');
    EXPECT_STARTED(launch({word}));
    EXPECT_EQ(lastWords().at(2), word);
}

TEST_F(HandOff, APlatformWithoutItsPipeIsReported) {
    platform.servesPipe = false;
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"hello"}));
    EXPECT_NE(
        log().find("ZLNCH0142E: Unable to find pipe  Failed with error 2: The system cannot find the file"),
        std::string::npos)
        << log();
    platform.servesPipe = true;
}

TEST_F(HandOff, EachFailureIsReportedWithItsReason) {
    EXPECT_STARTED(launch());
    simulation::Fault fault;
    fault.operation = "createFile";
    fault.argumentEndsWith = L"platform-" + ownerNumber();
    machine.inject(fault);
    EXPECT_FATAL(launch());
    EXPECT_NE(log().find("ZLNCH0143E: Unable to connect to pipe ' Failed with error 5: "), std::string::npos);
    fault.operation = "writePipe";
    fault.argumentEndsWith = L"";
    machine.inject(fault);
    EXPECT_FATAL(launch());
    EXPECT_NE(log().find("ZLNCH0144E: Unable to write to pipe ' Failed with error 5: "), std::string::npos);
    EXPECT_STARTED(launch());  // a fatal end leaves the lock to the system
}

TEST_F(HandOff, AShortTextStandsInADebugLog) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"-debug"}));
    const std::string debugLog = logAt(machine.tree(inWorkspace(L"logs")).back());
    EXPECT_NE(debugLog.find("ZLNCH0146I: Pipe args = C:/Apps/framework/Client/zel"), std::string::npos);
}

// A command for a running platform, and nothing else.
class CommandOnly : public HandOff {};

TEST_F(CommandOnly, SendsTheSameTextAndTouchesNothing) {
    EXPECT_STARTED(launch());
    const std::vector<std::wstring> before = machine.tree(workspace);
    EXPECT_STARTED(launch({L"-dcommand_only", L"hello"}));
    EXPECT_EQ(machine.tree(workspace), before);
    const std::vector<std::wstring> words = lastWords();
    EXPECT_NE(std::find(words.begin(), words.end(), L"hello"), words.end());
    EXPECT_NE(std::find(words.begin(), words.end(), L"-useDaemon"), words.end());
}

TEST_F(CommandOnly, ReadsNoRestartStateAndNoIdentity) {
    EXPECT_STARTED(launch());
    machine.remove(inConfig(L"args.properties"));
    machine.remove(inConfig(L"config.ini"));
    const simulation::ProcessId id = begin({L"-dcommand_only"});
    EXPECT_STARTED(machine.waitFor(id));
    EXPECT_FALSE(machine.exists(inConfig(L"config.ini")));
    EXPECT_EQ(machine.appUserModelIdOf(id), L"");
}

TEST_F(CommandOnly, WithoutAPlatformItFails) {
    EXPECT_STARTED(launch());
    closePlatform();
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_TRUE(log().ends_with("\nZLNCH0145E: eclipse.exe process is not running\n")) << log();
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(CommandOnly, AUserWhoNeverStartedHasNoLogDirectory) {
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(workspace));
    EXPECT_TRUE(tempLog().find("ZLNCH0019E: Could not open ") != std::string::npos);
}

TEST_F(CommandOnly, ARefusalLandsInTheWorkspacesLog) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-dcommand_only", L"java.home"}));
    EXPECT_TRUE(log().ends_with(
        "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.\n"));
}

TEST_F(CommandOnly, AnInstallationIsAlwaysRefused) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-dcommand_only", L"-provManifest"}));
    EXPECT_NE(log().find("ZLNCH0122E: "), std::string::npos);
}

TEST_F(CommandOnly, ARestartStillWaits) {
    EXPECT_STARTED(launch());
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-dcommand_only", L"-restart"}));
    EXPECT_EQ(machine.elapsedMilliseconds() - before, 1000U);
}

TEST_F(CommandOnly, MissingPropertiesAreFatal) {
    EXPECT_STARTED(launch());
    machine.remove(inConfig(L"zelinstall.properties"));
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_TRUE(log().ends_with("\\.config\\zelinstall.properties file!\n"));
}

TEST_F(CommandOnly, TheLeftOverInTempIsThatOfItsKind) {
    EXPECT_STARTED(launch());
    machine.writeFile(L"C:\\Temp\\dcommand.log", "");
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "");
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\dcommand.log"));
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

TEST_F(CommandOnly, ADebugMarkerHoldsNothingUp) {
    EXPECT_STARTED(launch());
    machine.writeFile(L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt", "");
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_LE(machine.elapsedMilliseconds() - before, 1000U);
    EXPECT_EQ(payloads().size(), 1U);
}

TEST_F(CommandOnly, ResetsAndRenewsNothing) {
    EXPECT_STARTED(launch());
    launcherProperties.set("zel.install.id", "1234");
    machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "mine");
    machine.remove(inConfig(L"org.eclipse.update\\platform.xml"));
    const std::vector<std::wstring> before = machine.tree(workspace);
    EXPECT_STARTED(launch({L"-dcommand_only", L"-resetconfig"}));
    EXPECT_EQ(machine.tree(workspace), before);
    EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "mine");
}

TEST_F(CommandOnly, RepairsNoDamagedProperties) {
    EXPECT_STARTED(launch());
    const std::string damaged =
        "zel.install.id=1234\r\nzel.base.location=C:/Apps/framework/Client/zel/eclipse/plugins/"
        "base_1.0\r\nvm=C:/Apps/framework/Client/jvm/bin/javaw.exe\r\n"
        "application=com.example.app\r\nplugincustomization=${zel.home}/custom.ini\r\n";
    machine.writeFile(inConfig(L"zelinstall.properties"), damaged);
    const auto backup = configFile(L"zelinstall.properties.bak");
    const std::vector<std::wstring> before = machine.tree(workspace);
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_EQ(machine.tree(workspace), before);
    EXPECT_EQ(configFile(L"zelinstall.properties"), damaged);
    EXPECT_EQ(configFile(L"zelinstall.properties.bak"), backup);
    EXPECT_EQ(payloads().size(), 1U);
}

TEST_F(CommandOnly, WritesNoArgumentsForARestart) {
    EXPECT_STARTED(launch({L"first"}));
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"-dcommand_only", L"second"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);
}

TEST_F(CommandOnly, NeitherProvisionsNorRunsAFirstTime) {
    EXPECT_STARTED(launch());
    const std::wstring properties = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties";
    machine.writeFile(properties,
                      *machine.readFile(properties) +
                          "provisioning=true\r\nprovisioning.manifest.version=9\r\n"
                          "provisioning.application=com.example.prov\r\n"
                          "config.initial.1=-application\r\nconfig.initial.2=com.example.setup\r\n"
                          "config.initial.3=-initialCompleteFlag\r\nconfig.initial.4=done\r\n");
    EXPECT_STARTED(launch({L"-dcommand_only", L"hello"}));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    const std::vector<std::wstring> words = lastWords();
    EXPECT_NE(std::find(words.begin(), words.end(), L"hello"), words.end());
    EXPECT_EQ(std::find(words.begin(), words.end(), L"com.example.setup"), words.end());
    EXPECT_EQ(std::find(words.begin(), words.end(), L"com.example.prov"), words.end());
}

// The other kinds of start tell properties where the workspace is; this one does not.
TEST_F(CommandOnly, TheWorkspaceIsNoProperty) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch());
    const std::wstring properties = inConfig(L"zelinstall.properties");
    machine.writeFile(properties, *machine.readFile(properties) + "-Dws=${prop.scrivia.workspace.loc}\r\n");
    EXPECT_STARTED(launch());
    const std::vector<std::wstring> words = lastWords();
    EXPECT_NE(std::find(words.begin(), words.end(), L"-Dws=C:/Users/ann/Mivel/ZEL/1234/ann"), words.end());
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_NE(log().find("ZLNCH0088E: property substitution is invalid"), std::string::npos) << log();
}

// A platform that restarts by itself: it starts a launcher and ends so many milliseconds later.
class OwnRestart : public HandOff {
protected:
    simulation::ProcessId restartWith(std::uint32_t endsAfter) {
        platform.livesMilliseconds = 2000 + endsAfter;
        EXPECT_STARTED(launch({L"first"}));
        machine.runUntilIdle(1000);
        platform.livesMilliseconds = 60000;
        return begin({L"-restart", L"-zel_old_pid", std::to_wstring(machine.startedProcesses().back().id)});
    }
};

TEST_F(OwnRestart, APlatformThatEndsAtOnceIsFollowedWithinASecond) {
    const simulation::ProcessId restart = restartWith(0);
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(machine.waitFor(restart));
    EXPECT_LE(machine.elapsedMilliseconds() - before, 3000U);  // of which one for the next one's `.pipe`
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_NE(configFile(L"args.properties")->find("arg1=first"), std::string::npos);
}

TEST_F(OwnRestart, APlatformThatNeedsFiveSecondsIsWaitedFor) {
    const simulation::ProcessId restart = restartWith(5000);
    EXPECT_STARTED(machine.waitFor(restart));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_TRUE(logHas("ZLNCH0304I: We are main process"));
    EXPECT_TRUE(payloads().empty());
}

// After twenty seconds the user gets a platform, whatever has become of the old one.
TEST_F(OwnRestart, APlatformThatStaysIsLeftBehindAfterTwentySeconds) {
    for (const std::uint32_t endsAfter : {30000U, 1000000U}) {
        const std::size_t started = machine.startedProcesses().size();
        const simulation::ProcessId restart = restartWith(endsAfter);
        const simulation::ProcessId old = machine.startedProcesses()[started].id;
        const std::uint64_t before = machine.elapsedMilliseconds();
        EXPECT_STARTED(machine.waitFor(restart));
        EXPECT_GE(machine.elapsedMilliseconds() - before, 20000U);
        EXPECT_LE(machine.elapsedMilliseconds() - before, 23000U);
        EXPECT_TRUE(machine.isRunning(old));
        EXPECT_EQ(machine.startedProcesses().size(), started + 2);
        closePlatform();
    }
}

// The jars of a companion application, beside the platform's own directory.
class ExtensionJars : public Story {
protected:
    std::wstring lastElement() const { return elements().back(); }
    void makeJars(int count) {
        for (int number = 0; number < count; ++number) {
            std::wstring name = std::to_wstring(1000 + number);
            machine.writeFile(L"C:\\Apps\\vxext\\" + name + L".jar", "");
        }
    }
};

TEST_F(ExtensionJars, AreTheLastElement) {
    layOut();
    machine.writeFile(L"C:\\Apps\\vxext\\a.b.zip", "");
    machine.writeFile(L"C:\\Apps\\vxext\\b.jar", "");
    machine.writeFile(L"C:\\Apps\\vxext\\c.JAR", "");
    machine.writeFile(L"C:\\Apps\\vxext\\d.jar.bak", "");
    machine.writeFile(L"C:\\Apps\\vxext\\noending", "");
    machine.writeFile(L"C:\\Apps\\vxext\\sub.jar\\e.jar", "");
    EXPECT_STARTED(launch());
    EXPECT_EQ(lastElement(), L"\"-cp=C:/Apps/vxext/a.b.zip;C:/Apps/vxext/b.jar\"");
}

TEST_F(ExtensionJars, ADirectoryWithoutThemAddsNothing) {
    layOut();
    machine.makeDirectory(L"C:\\Apps\\vxext");
    EXPECT_STARTED(launch());
    EXPECT_EQ(lastElement(), L"-Xbootclasspath/a:\"C:/Apps/framework/Client/boot.jar\"");
}

TEST_F(ExtensionJars, AreTheLastLineOfAHandOff) {
    layOut();
    makeJars(1);
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch());
    EXPECT_TRUE(payloads().at(0).ends_with(std::wstring(L"\n-cp=C:/Apps/vxext/1000.jar") + L'\0'));
}

TEST_F(ExtensionJars, AtMostAHundredAndTwoThousandCharacters) {
    layOut();
    makeJars(100);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_EQ(lastElement().size(), 2000U + 2U);
    const std::string message = "ZELLauncher> Number of jar files greater than MAX jar files (100)";
    EXPECT_EQ(logAt(machine.tree(inWorkspace(L"logs")).back()).find(message), std::string::npos);
    closePlatform();
    makeJars(101);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_NE(logAt(machine.tree(inWorkspace(L"logs")).back()).find(message), std::string::npos);
}

TEST_F(ExtensionJars, ADirectoryThatCannotBeReadAddsNothing) {
    layOut();
    makeJars(1);
    machine.refuse(L"C:\\Apps\\vxext", ::platform::errorAccessDenied);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_NE(logAt(machine.tree(inWorkspace(L"logs")).back()).find("ZELLauncher> Invalid file handle..\n"),
              std::string::npos);
    EXPECT_EQ(command().find(L"-cp="), std::wstring::npos);
}

}  // namespace
