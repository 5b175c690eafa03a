#include <gtest/gtest.h>

#include "scenarios/story.h"
#include "support/text.h"

namespace {

using scenarios::contains;
using scenarios::Story;

class InstallKinds : public Story {
protected:
    void beKind(const std::string& value) { launcherProperties.set("install.configuration", value); }
    void expectUserStart(const std::wstring& kind) {
        EXPECT_STARTED(launch());
        EXPECT_TRUE(hasElement(L"-Dzel.install.config=\"" + kind + L"\"")) << log();
        EXPECT_TRUE(hasElement(L"-vmargs"));
        EXPECT_TRUE(machine.exists(inConfig(L"zelinstall.properties")));
    }
};

// Two first starts of an install that has no identity yet, at the same time.
class TwoFirstStartsOfUserpb : public Story {
public:
    explicit TwoFirstStartsOfUserpb(std::uint64_t seed) : Story(seed) {
        launcherProperties.set("install.configuration", "userpb");
        launcherProperties.remove("zel.install.id");
        simulation::Switching switching;
        switching.stallOneIn = 5;
        switching.longestStallMilliseconds = 10;
        machine.setSwitching(switching);
    }

    // True if they made different identities.
    bool run() {
        const simulation::ProcessId one = begin({L"one"});
        const simulation::ProcessId two = begin({L"two"});
        EXPECT_STARTED(machine.waitFor(one));
        EXPECT_STARTED(machine.waitFor(two));
        const std::vector<std::string> identities = recordedIdentities();
        const bool isDifferent = identities.size() == 2 && identities[0] != identities[1];
        EXPECT_EQ(machine.startedProcesses().size(), isDifferent ? 2U : 1U);
        EXPECT_EQ(payloads().size(), isDifferent ? 0U : 1U);
        machine.runUntilIdle(120000);
        EXPECT_STARTED(launch());
        EXPECT_EQ(recordedIdentities(), identities);
        const std::string first = identities.at(0);
        EXPECT_TRUE(contains(command(), L"ZEL/" + std::wstring(first.begin(), first.end()) + L"/ann"));
        return isDifferent;
    }

private:
    void TestBody() override {}

    std::vector<std::string> recordedIdentities() const {
        std::vector<std::string> identities;
        for (const std::string& line : launchertest::splitLines(
                 machine.readFile(std::wstring(installDir) + L"\\zel\\zellauncher.properties")
                     .value_or(""))) {
            if (line.starts_with("zel.install.id=")) {
                identities.push_back(line.substr(15));
            }
        }
        return identities;
    }
};

TEST_F(InstallKinds, ServiceStartsJavaInsideTheInstall) {
    beKind("service");
    baseProperties.set("cp", "${zel.home}/start.jar");
    layOut();
    machine.installProgram(L"C:\\Apps\\framework\\Client\\jvm\\bin\\javaw.exe", [] { return 0; });
    machine.unsetEnvironment(L"USERNAME");
    EXPECT_STARTED(launch({L"-data", L"D:\\elsewhere", L"x"}));
    const std::wstring area = L"C:\\Apps\\framework\\Client\\eclipse\\";
    EXPECT_TRUE(machine.exists(area + L".workspace\\.zel.lock"));
    EXPECT_TRUE(machine.exists(area + L".config\\zelinstall.properties"));
    EXPECT_FALSE(machine.exists(L"D:\\elsewhere"));
    EXPECT_EQ(elements(), (std::vector<std::wstring>{
                              L"\"C:/Apps/framework/Client/jvm/bin/javaw.exe\"",
                              L"-Dzel.home=\"C:\\Apps\\framework\\Client\"",
                              L"-Dzel.data=\"C:\\Apps\\framework\\Client\\eclipse\\.workspace\"",
                              L"-Dcom.mivel.zel.install.id=\"1234\"",
                              L"-Dzel.install.config=\"service\"",
                              L"-Dzel.osgi.install.area=\"C:\\Apps\\framework\\Client\\zel\\eclipse\"",
                              L"\"-Xmx512m\"",
                              L"-Xbootclasspath/a:\"C:/Apps/framework/Client/boot.jar\"",
                              L"-cp",
                              L"\"C:/Apps/framework/Client/start.jar\"",
                              L"\"org.eclipse.core.launcher.Main\"",
                              L"-nosplash",
                              L"--launcher.suppressErrors",
                              L"\"x\"",
                              L"-data",
                              L"\"C:\\Apps\\framework\\Client\\eclipse\\.workspace\"",
                              L"-configuration",
                              L"\"C:\\Apps\\framework\\Client\\eclipse\\.config\"",
                              L"-application",
                              L"\"com.example.app\"",
                              L"-plugincustomization",
                              L"\"C:/Apps/framework/Client/custom.ini\"",
                              L"-product",
                              L"\"com.example.product\"",
                          }));
}

TEST_F(InstallKinds, ServiceWithoutAJvmIsFatal) {
    beKind("service");
    launcherProperties.remove("jvm.location");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(
        contains(logAt(L"C:\\Apps\\framework\\Client\\eclipse\\.workspace\\logs\\zellauncher.log"),
                 "ZELLauncher> the command names no program: neither -vm nor the vm property is given\n"));
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(command(), L"");  // instead of the first argument as the program
}

TEST_F(InstallKinds, ServiceWithAnEmptyJvmIsFatal) {
    beKind("service");
    launcherProperties.remove("jvm.location");
    baseProperties.set("vm", "");
    EXPECT_FATAL(launch());
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_FALSE(machine.startedProcesses()[0].started);
    EXPECT_TRUE(command().starts_with(L"\"\" -Dzel.home="));
}

TEST_F(InstallKinds, LockdownStarts) {
    beKind("lockdown");
    machine.setUser(L"ann", {L"Administrators"});
    expectUserStart(L"lockdown");
}

TEST_F(InstallKinds, UserStarts) {
    expectUserStart(L"user");
}

TEST_F(InstallKinds, MissingKindIsFatal) {
    launcherProperties.remove("install.configuration");
    baseProperties.set("install.configuration", "user");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(
        logHas("ZLNCH0008E: Unable to calculate necessary values for user specific "
               "zelinstall.properties file."));
}

TEST_F(InstallKinds, SerialMultiuserStarts) {
    beKind("serial.multiuser");
    expectUserStart(L"serial.multiuser");
}

TEST_F(InstallKinds, UnknownKindIsFatal) {
    beKind("User");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(logHas("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!"));
    EXPECT_TRUE(machine.startedProcesses().empty());
}

TEST_F(InstallKinds, MultiuserStarts) {
    beKind("multiuser");
    expectUserStart(L"multiuser");
}

TEST_F(InstallKinds, UserpbCreatesItsIdentityOnce) {
    beKind("userpb");
    launcherProperties.remove("zel.install.id");
    machine.setTickCount(424242);
    EXPECT_STARTED(launch());
    const std::wstring ownWorkspace = L"C:\\Users\\ann\\Mivel\\ZEL\\424242\\ann";
    EXPECT_TRUE(machine.exists(ownWorkspace + L"\\.config\\zelinstall.properties"));
    EXPECT_FALSE(machine.exists(ownWorkspace + L"\\.config\\org.eclipse.update"));
    const std::wstring properties = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties";
    EXPECT_TRUE(machine.readFile(properties)->ends_with("zel.install.id=424242\r\n"));
    const auto once = machine.readFile(properties);
    machine.waitFor(machine.startedProcesses()[0].id);
    machine.setTickCount(1);
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.readFile(properties), once);
}

TEST_F(InstallKinds, UserpbKeepsItsWorkspaceIfThePropertiesEndInCtrlZ) {
    beKind("userpb");
    launcherProperties.remove("zel.install.id");
    layOut();
    const std::wstring properties = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties";
    machine.writeFile(properties, launcherProperties.content() + "\x1A");
    for (const std::uint32_t ticks : {424242U, 535353U, 646464U}) {
        machine.setTickCount(ticks);
        EXPECT_STARTED(launch());
        EXPECT_TRUE(hasElement(L"-Dcom.mivel.zel.install.id=\"424242\""));
        machine.runUntilIdle(120000);
    }
    EXPECT_FALSE(machine.exists(L"C:\\Users\\ann\\Mivel\\ZEL\\535353"));
    EXPECT_EQ(machine.readFile(properties), launcherProperties.content() + "zel.install.id=424242\r\n");
}

// Nothing keeps two first starts from each appending an identity. The first line wins from then on.
TEST(TwoFirstStarts, OfAUserpbInstallBothSucceed) {
    int different = 0;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        different += TwoFirstStartsOfUserpb(seed).run() ? 1 : 0;
    }
    EXPECT_GT(different, 0);
    EXPECT_LT(different, 20);
}

TEST_F(InstallKinds, MissingIdentityIsFatalForOtherKinds) {
    launcherProperties.remove("zel.install.id");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0016E: zel.install.id is required for this configuration!"));
}

}  // namespace
