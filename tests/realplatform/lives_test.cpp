#include "real_platform.h"

// What befalls a real platform between its first start and its end.
namespace {

using endtoend::contains;
using endtoend::forward;
using realplatform::contains;
using realplatform::RealPlatform;
using realplatform::StartReport;
using realplatform::utf8;
using realplatform::wordAfter;
using realplatform::Words;

class RealLives : public RealPlatform {
protected:
    // What the next start hands over, and to whom.
    void expectHandOff(int number, const Words& words) {
        EXPECT_EQ(launch(words), 0U) << log();
        const Words received = handOff(number);
        EXPECT_EQ(received.at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
        EXPECT_EQ(wordAfter(received, L"-useDaemon"), std::to_wstring(recordedNumber()));
        for (const std::wstring& word : words) {
            EXPECT_TRUE(contains(received, word)) << utf8(word);
        }
        EXPECT_FALSE(contains(log(), "ZLNCH0072I"));
    }
    std::string userProperties() const { return read(workspace() / L".config" / L"zelinstall.properties"); }
};

TEST_F(RealLives, ASecondAndAThirdStartAreHandedOver) {
    expectStart({L"first"});
    const std::uint32_t number = platformNumber();
    expectHandOff(1, {L"second", L"two words", L"\u65e5\u672c"});
    expectHandOff(2, {L"third"});
    EXPECT_EQ(platformNumber(), number);
    EXPECT_TRUE(isRunning(number));
    EXPECT_FALSE(hasHandOff(3));
}

TEST_F(RealLives, AHandOffThatIsOverBeforeAnybodyWaitsForItIsNotLost) {
    expectStart();
    endtoend::PipeClient slow(pipeName());
    ASSERT_TRUE(slow.isConnected());
    tell({L"quick"});
    EXPECT_TRUE(slow.write(L"slow"));
    slow.close();
    EXPECT_EQ(handOff(1), Words{L"slow"});
    EXPECT_TRUE(contains(handOff(2), L"quick"));
}

TEST_F(RealLives, ProvisioningAndTheStartThatFollows) {
    setProperty("provisioning", "true");
    setProperty("provisioning.application", "com.example.platform.provisioning");
    setProperty("provisioning.manifest.version", "7.1");
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    const StartReport first = provisioning();
    EXPECT_TRUE(contains(first.framework, L"-userProvLaunch"));
    EXPECT_TRUE(contains(first.framework, L"com.example.platform.provisioning"));
    EXPECT_EQ(first.properties.at("eclipse.application"), "com.example.platform.provisioning");
    EXPECT_FALSE(hasRun(L"platform"));
    EXPECT_TRUE(contains(log(), "ZLNCH0073I: Provisioning Command = '"));
    EXPECT_TRUE(contains(userProperties(), "\nprovisioning.manifest.version=7.1\n"));
    EXPECT_TRUE(isLockFree());

    expectStart({L"hello"});
    EXPECT_EQ(platform().properties.at("eclipse.application"), "com.example.platform.main");
    EXPECT_FALSE(contains(log(), "ZLNCH0073I"));
    EXPECT_TRUE(contains(userProperties(), "\nprovisioning.manifest.version=7.1\n"));
}

TEST_F(RealLives, ARestartByThePlatformKeepsTheWords) {
    runJvmInside();
    const Words words = {L"two words", L"\u65e5\u672c", L"a=b"};
    expectStart(words);
    const std::uint32_t number = platformNumber();
    const std::string arguments = read(workspace() / L".config" / L"args.properties");
    tell({L"-restartPlatform"});
    awaitSuccessorOf(number);
    EXPECT_FALSE(isRunning(number));
    EXPECT_EQ(platform().application, words);
    EXPECT_EQ(recordedNumber(), platformNumber());
    EXPECT_EQ(read(workspace() / L".config" / L"args.properties"), arguments);
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_TRUE(contains(log(), "-restart, -zel_old_pid, " + std::to_string(number)));
}

// The JVM's number is another than that of the process which the launcher recorded.
TEST_F(RealLives, ARestartWithTheJvmBeside) {
    expectStart({L"hello"});
    const std::uint32_t number = platformNumber();
    const std::uint32_t recorded = recordedNumber();
    EXPECT_NE(number, recorded);
    tell({L"-restartPlatform"});
    awaitSuccessorOf(number);
    EXPECT_FALSE(isRunning(number));
    EXPECT_NE(recordedNumber(), recorded);
    EXPECT_EQ(platform().application, Words{L"hello"});
    EXPECT_TRUE(contains(log(), "-restart, -zel_old_pid, " + std::to_string(recorded)));
}

// An administrator's platform on a locked-down desktop is not supervised: that it comes back is the native
// launcher's doing. What shows here is that later starts find it all the same.
TEST_F(RealLives, ALockedDownPlatformComesBackAfterItsOwnRestart) {
    if (!endtoend::isUserAdministrator()) {
        GTEST_SKIP() << "the user of the tests is no administrator";
    }
    setProperty("install.configuration", "lockdown");
    expectStart({L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    const std::uint32_t number = platformNumber();
    tell({L"-exit", L"23"});
    awaitSuccessorOf(number);
    awaitEndOf(recordedNumber());
    EXPECT_EQ(platform().application, Words{L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    expectHandOff(1, {L"second"});
}

TEST_F(RealLives, AResetMakesTheConfigurationAnew) {
    expectStart();
    endPlatform();
    write(workspace() / L".config" / L"left-over.txt", "");
    write(workspace() / L"own.txt", "the user's");
    write(workspace() / L".config" / L"config.ini", "osgi.bundles=no.such.bundle@start\r\n");
    expectStart({L"-resetconfig", L"hello"});
    EXPECT_FALSE(std::filesystem::exists(workspace() / L".config" / L"left-over.txt"));
    EXPECT_EQ(read(workspace() / L".config" / L"config.ini"),
              read(base / L"config" / L"user" / L"config.ini"));
    EXPECT_EQ(read(workspace() / L"own.txt"), "the user's");
    EXPECT_EQ(platform().application, Words{L"hello"});
}

TEST_F(RealLives, AfterACrashTheNextStartBringsANewPlatform) {
    runJvmInside();
    expectStart();
    const std::string pipe = read(workspace() / L".pipe");
    crash(platformNumber());
    expectStart();
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_NE(read(workspace() / L".pipe"), pipe);
    endPlatform();
    EXPECT_FALSE(std::filesystem::exists(workspace() / L".pipe"));
}

}  // namespace
