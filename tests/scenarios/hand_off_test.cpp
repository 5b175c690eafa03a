#include <gtest/gtest.h>

#include <algorithm>

#include "platform/clock.h"
#include "platform/streams.h"
#include "scenarios/story.h"
#include "support/faults.h"
#include "support/operations.h"

namespace {

using launchertest::failing;
using scenarios::contains;
using scenarios::endsWith;
using scenarios::Story;

std::wstring joined(const std::vector<std::wstring>& elements) {
    std::wstring text;
    for (const std::wstring& element : elements) {
        text += (text.empty() ? L"" : L"\n") + element;
    }
    return text + L'\0';
}

// A start while the platform runs sends its command through the platform's pipe.
class HandOff : public Story {
protected:
    // What a start with these arguments sends.
    std::wstring wholeText(const std::vector<std::wstring>& arguments) const {
        const std::wstring data = L"C:\\Users\\ann/Mivel/ZEL/1234/ann";
        const std::wstring slashed = L"C:/Apps/framework/Client";
        std::vector<std::wstring> all = {
            slashed + L"/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe",
            L"--launcher.suppressErrors"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const std::vector<std::wstring> others = {
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
            platformId(),
            L"-startup",
            slashed + L"/zel/eclipse/plugins/base_1.0/launcher.jar",
            L"-vmargs",
            L"-Dzel.home=C:\\Apps\\framework\\Client",
            L"-Dzel.data=" + data,
            L"-Dcom.mivel.zel.install.id=1234",
            L"-Dzel.install.config=user",
            L"-Dzel.osgi.install.area=C:\\Apps\\framework\\Client\\zel\\eclipse",
            L"-Xmx512m",
            L"-Xbootclasspath/a:" + slashed + L"/boot.jar"};
        all.insert(all.end(), others.begin(), others.end());
        return joined(all);
    }
    // The elements of the last text that a platform received.
    std::vector<std::wstring> lastSent() const {
        const std::vector<std::wstring> texts = payloads();
        std::vector<std::wstring> elements(1);
        for (const wchar_t unit : texts.empty() ? std::wstring() : texts.back()) {
            if (unit == L'\n') {
                elements.emplace_back();
            } else if (unit != L'\0') {
                elements.back() += unit;
            }
        }
        return elements;
    }
    bool wasSent(const std::wstring& element) const {
        const std::vector<std::wstring> sent = lastSent();
        return std::find(sent.begin(), sent.end(), element) != sent.end();
    }
    std::wstring platformId() const { return std::to_wstring(machine.startedProcesses()[0].id); }
};

TEST_F(HandOff, SendsTheWholeCommandAsOneText) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"hello world", L"", L"\u65e5\u672c"}));
    EXPECT_EQ(payloads(), std::vector<std::wstring>{wholeText({L"hello world", L"", L"\u65e5\u672c"})});
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
}

TEST_F(HandOff, TenLaunchersSendTenTexts) {
    EXPECT_STARTED(launch());
    std::vector<simulation::ProcessId> launchers;
    for (int number = 0; number < 10; ++number) {
        launchers.push_back(begin({L"text" + std::to_wstring(number)}));
    }
    for (const simulation::ProcessId id : launchers) {
        EXPECT_STARTED(machine.waitFor(id));
    }
    const std::vector<std::wstring> texts = payloads();
    ASSERT_EQ(texts.size(), 10U);
    for (int number = 0; number < 10; ++number) {
        const std::wstring line = L"\ntext" + std::to_wstring(number) + L"\n";
        EXPECT_EQ(
            std::count_if(texts.begin(), texts.end(),
                          [&](const std::wstring& text) { return text.find(line) != std::wstring::npos; }),
            1);
    }
}

TEST_F(HandOff, MebibyteArrivesUnchanged) {
    EXPECT_STARTED(launch());
    const std::wstring argument(512 * 1024, L'x');
    EXPECT_STARTED(launch({argument}));
    EXPECT_EQ(lastSent().at(2), argument);
}

TEST_F(HandOff, MissingPipeIsFatal) {
    platform.servesPipe = false;
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"hello"}));
    EXPECT_TRUE(endsWith(log(),
                         "\nZLNCH0142E: Unable to find pipe  Failed with error 2: The system cannot find the "
                         "file specified.\r\n\n"));
    platform.servesPipe = true;
}

TEST_F(HandOff, ConnectAndWriteErrorsAreFatal) {
    EXPECT_STARTED(launch());
    machine.inject(failing("createFile", ::platform::errorAccessDenied, L"platform-" + platformId()));
    EXPECT_FATAL(launch());
    const std::string denied = " Failed with error 5: Access is denied.\r\n'\n";
    EXPECT_TRUE(endsWith(log(), "\nZLNCH0143E: Unable to connect to pipe '" + denied));
    machine.inject(failing("writePipe", ::platform::errorAccessDenied));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(endsWith(log(), "\nZLNCH0144E: Unable to write to pipe '" + denied));
    EXPECT_STARTED(launch());  // the system has released the lock
}

TEST_F(HandOff, DebugLogHasTheText) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), "ZLNCH0146I: Pipe args = C:/Apps/framework/Client/zel"));
}

// -dcommand_only sends a command to the running platform and does nothing else.
class CommandOnly : public HandOff {};

TEST_F(CommandOnly, SendsTheTextAndLeavesTheWorkspaceAlone) {
    EXPECT_STARTED(launch());
    const std::vector<std::wstring> before = machine.tree(workspace);
    EXPECT_STARTED(launch({L"-dcommand_only", L"hello"}));
    EXPECT_EQ(machine.tree(workspace), before);
    EXPECT_TRUE(wasSent(L"hello"));
    EXPECT_TRUE(wasSent(L"-useDaemon"));
}

TEST_F(CommandOnly, SendsTheWholeCommandAsOneText) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"-dcommand_only", L"hello world", L"", L"\u65e5\u672c"}));
    EXPECT_EQ(payloads(), std::vector<std::wstring>{
                              wholeText({L"-dcommand_only", L"hello world", L"", L"\u65e5\u672c"})});
}

TEST_F(CommandOnly, NeedsNoRestartStateAndSetsNoIdentity) {
    EXPECT_STARTED(launch());
    machine.remove(inConfig(L"args.properties"));
    machine.remove(inConfig(L"config.ini"));
    const std::size_t before = machine.operations().size();
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(inConfig(L"config.ini")));
    EXPECT_EQ(launchertest::traceOf(machine, {"loadLibrary", "callTextFunction"}, before),
              std::vector<std::string>());
}

TEST_F(CommandOnly, MissingPlatformIsFatal) {
    EXPECT_STARTED(launch());
    closePlatform();
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_TRUE(endsWith(log(), "\nZLNCH0145E: eclipse.exe process is not running\n"));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

// The pipe file is the mark of an unclean end, and the lock removes it. The next start therefore purges no
// cache.
TEST_F(CommandOnly, MissingPlatformLosesTheMarkOfItsUncleanEnd) {
    const std::vector<std::wstring> arguments = {
        L"vmarg.CacheMaintenance.enable=",
        L"vmarg.Dshare=-Xshareclasses:name=app,controlDir=" + std::wstring(workspace) + L"\\cache"};
    EXPECT_STARTED(launch(arguments));
    closePlatform();
    machine.remove(inWorkspace(L".zel.lock"));
    machine.writeFile(inWorkspace(L"cache\\app"), "");
    ASSERT_TRUE(machine.exists(inWorkspace(L".pipe")));
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(inWorkspace(L".pipe")));
    EXPECT_TRUE(machine.exists(inWorkspace(L".zel.lock")));
    EXPECT_STARTED(launch(arguments));
    EXPECT_TRUE(machine.exists(inWorkspace(L"cache\\app")));
    closePlatform();
    EXPECT_STARTED(launch(arguments));
    EXPECT_FALSE(machine.exists(inWorkspace(L"cache\\app")));
}

TEST_F(CommandOnly, MissingLogDirectoryIsFatal) {
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(workspace));
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0019E: Could not open "));
}

TEST_F(CommandOnly, RefusedArgumentIsLoggedInTheWorkspace) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-dcommand_only", L"java.home"}));
    EXPECT_TRUE(endsWith(
        log(), "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.\n"));
}

TEST_F(CommandOnly, ProvManifestIsAlwaysFatal) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-dcommand_only", L"-provManifest"}));
    EXPECT_TRUE(contains(log(), "ZLNCH0122E: "));
}

// Ten documents that are opened at once.
TEST_F(HandOff, WaitingLaunchersDeliverAsSoonAsTheLockIsFree) {
    EXPECT_STARTED(launch());
    const std::uint64_t before = machine.elapsedMilliseconds();
    machine.start({L"holder"}, [&] {
        ::platform::Stream* lockFile = ::platform::openStream(inWorkspace(L".zel.lock"), "r+");
        EXPECT_TRUE(::platform::lockStream(lockFile, 100));
        ::platform::sleepMilliseconds(130);
        ::platform::closeStream(lockFile);
        return 0;
    });
    std::vector<simulation::ProcessId> launchers;
    for (int i = 0; i < 10; ++i) {
        launchers.push_back(begin({L"document", std::to_wstring(i)}));
    }
    for (const simulation::ProcessId waiting : launchers) {
        EXPECT_STARTED(machine.waitFor(waiting));
    }
    EXPECT_EQ(payloads().size(), 10U);
    EXPECT_LE(machine.elapsedMilliseconds() - before, 130U + 10 * 50U);
}

TEST_F(CommandOnly, RestartWaitsOneSecond) {
    EXPECT_STARTED(launch());
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-dcommand_only", L"-restart"}));
    EXPECT_EQ(machine.elapsedMilliseconds() - before, 1000U);
}

TEST_F(CommandOnly, MissingPropertiesAreFatal) {
    EXPECT_STARTED(launch());
    machine.remove(inConfig(L"zelinstall.properties"));
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_TRUE(endsWith(log(), "\\.config\\zelinstall.properties file!\n"));
}

TEST_F(CommandOnly, DeletesOnlyItsOwnTempLog) {
    EXPECT_STARTED(launch());
    machine.writeFile(L"C:\\Temp\\dcommand.log", "");
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "");
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\dcommand.log"));
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

TEST_F(CommandOnly, IgnoresTheDebugMarker) {
    EXPECT_STARTED(launch());
    machine.writeFile(L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt", "");
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-dcommand_only"}));
    EXPECT_LE(machine.elapsedMilliseconds() - before, 1000U);
    EXPECT_EQ(payloads().size(), 1U);
}

TEST_F(CommandOnly, IgnoresResetconfig) {
    EXPECT_STARTED(launch());
    machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "mine");
    machine.remove(inConfig(L"org.eclipse.update\\platform.xml"));
    const std::vector<std::wstring> before = machine.tree(workspace);
    EXPECT_STARTED(launch({L"-dcommand_only", L"-resetconfig"}));
    EXPECT_EQ(machine.tree(workspace), before);
    EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "mine");
}

TEST_F(CommandOnly, LeavesDamagedPropertiesAlone) {
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

TEST_F(CommandOnly, LeavesTheRestartArgumentsAlone) {
    EXPECT_STARTED(launch({L"first"}));
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"-dcommand_only", L"second"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);
}

TEST_F(CommandOnly, SkipsProvisioningAndFirstRun) {
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
    EXPECT_TRUE(wasSent(L"hello"));
    EXPECT_FALSE(wasSent(L"com.example.setup"));
    EXPECT_FALSE(wasSent(L"com.example.prov"));
}

// Other starts define prop.scrivia.workspace.loc.
TEST_F(CommandOnly, WorkspacePropertyIsUndefined) {
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch());
    const std::wstring properties = inConfig(L"zelinstall.properties");
    machine.writeFile(properties, *machine.readFile(properties) + "-Dws=${prop.scrivia.workspace.loc}\r\n");
    EXPECT_STARTED(launch());
    EXPECT_TRUE(wasSent(L"-Dws=C:/Users/ann/Mivel/ZEL/1234/ann"));
    EXPECT_FATAL(launch({L"-dcommand_only"}));
    EXPECT_TRUE(contains(log(), "ZLNCH0088E: property substitution is invalid"));
}

// The platform restarts itself: it starts a launcher with -restart and ends.
class OwnRestart : public HandOff {
protected:
    // Starts a platform and the launcher of its restart; the platform ends this many milliseconds later.
    simulation::ProcessId restartWith(std::uint32_t endsAfter) {
        platform.livesMilliseconds = 2000 + endsAfter;
        EXPECT_STARTED(launch({L"first"}));
        machine.runUntilIdle(1000);
        platform.livesMilliseconds = 60000;
        return begin({L"-restart", L"-zel_old_pid", std::to_wstring(machine.startedProcesses().back().id)});
    }
};

TEST_F(OwnRestart, FollowsAnEndedPlatformAtOnce) {
    const simulation::ProcessId restart = restartWith(0);
    const std::uint64_t before = machine.elapsedMilliseconds();
    EXPECT_STARTED(machine.waitFor(restart));
    EXPECT_LE(machine.elapsedMilliseconds() - before, 3000U);  // one of them for the new `.pipe`
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_TRUE(contains(*configFile(L"args.properties"), "arg1=first"));
}

TEST_F(OwnRestart, WaitsForAPlatformThatNeedsFiveSeconds) {
    const simulation::ProcessId restart = restartWith(5000);
    EXPECT_STARTED(machine.waitFor(restart));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_TRUE(logHas("ZLNCH0304I: We are main process"));
    EXPECT_TRUE(payloads().empty());
}

// The user gets a new platform even if the old one never ends.
TEST_F(OwnRestart, StopsWaitingAfterTwentySeconds) {
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

// The jars of a companion application in the directory `vxext` beside `framework`.
class ExtensionJars : public Story {
protected:
    std::wstring lastElement() const { return elements().back(); }
    void makeJars(int count) {
        for (int number = 0; number < count; ++number) {
            machine.writeFile(L"C:\\Apps\\vxext\\" + std::to_wstring(1000 + number) + L".jar", "");
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

TEST_F(ExtensionJars, SearchIsLoggedInDebugRuns) {
    const std::string missing = "\nZELLauncher> vxext path does not exist\n";
    const std::string existing = "\nZELLauncher> vxext path exists to update classpath\n";
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), missing));
    EXPECT_FALSE(contains(lastDebugLog(), existing));
    closePlatform();
    makeJars(1);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_FALSE(contains(lastDebugLog(), missing));
    EXPECT_TRUE(contains(lastDebugLog(), existing));
}

TEST_F(ExtensionJars, EmptyDirectoryAddsNothing) {
    layOut();
    machine.makeDirectory(L"C:\\Apps\\vxext");
    EXPECT_STARTED(launch());
    EXPECT_EQ(lastElement(), L"-Xbootclasspath/a:\"C:/Apps/framework/Client/boot.jar\"");
}

TEST_F(ExtensionJars, AreTheLastLineOfThePipeText) {
    layOut();
    makeJars(1);
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch());
    EXPECT_TRUE(payloads().at(0).ends_with(std::wstring(L"\n-cp=C:/Apps/vxext/1000.jar") + L'\0'));
}

TEST_F(ExtensionJars, StopAtAHundredJarsOrTwoThousandCharacters) {
    layOut();
    makeJars(100);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_EQ(lastElement().size(), 2000U + 2U);
    const std::string message = "ZELLauncher> Number of jar files greater than MAX jar files (100)";
    EXPECT_FALSE(contains(lastDebugLog(), message));
    closePlatform();
    makeJars(101);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), message));
}

TEST_F(ExtensionJars, UnreadableDirectoryAddsNothing) {
    layOut();
    makeJars(1);
    machine.refuse(L"C:\\Apps\\vxext", ::platform::errorAccessDenied);
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), "ZELLauncher> Invalid file handle..\n"));
    EXPECT_FALSE(contains(command(), L"-cp="));
}

}  // namespace
