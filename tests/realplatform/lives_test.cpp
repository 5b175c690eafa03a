#include "real_platform.h"
#include "support/text.h"

// What happens to a real platform between its first start and its end.
namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::forward;
using launchertest::toUtf8;
using realplatform::RealPlatform;
using realplatform::StartReport;

class RealLives : public RealPlatform {
protected:
    // Starts the launcher again; its arguments must reach the running platform as the n-th text.
    void expectHandOff(int number, const Arguments& arguments) {
        EXPECT_EQ(launch(arguments), 0U) << log();
        const Arguments received = handOff(number);
        EXPECT_EQ(received.at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
        EXPECT_EQ(argumentAfter(L"-useDaemon", received), std::to_wstring(recordedProcessId()));
        for (const std::wstring& argument : arguments) {
            EXPECT_TRUE(contains(received, argument)) << toUtf8(argument);
        }
        EXPECT_FALSE(contains(log(), "ZLNCH0072I"));
    }
    std::string userProperties() const { return read(workspace() / L".config" / L"zelinstall.properties"); }
};

TEST_F(RealLives, SecondAndThirdStartAreHandedOver) {
    expectStart({L"first"});
    const std::uint32_t processId = jvmProcessId();
    expectHandOff(1, {L"second", L"two words", L"\u65e5\u672c"});
    expectHandOff(2, {L"third"});
    EXPECT_EQ(jvmProcessId(), processId);
    EXPECT_TRUE(isRunning(processId));
    EXPECT_FALSE(hasHandOff(3));
}

TEST_F(RealLives, TextOfAClientThatIsGoneIsStillRead) {
    expectStart();
    endtoend::PipeClient slow(pipeName());
    ASSERT_TRUE(slow.isConnected());
    send({L"quick"});
    EXPECT_TRUE(slow.write(L"slow"));
    slow.close();
    EXPECT_EQ(handOff(1), Arguments{L"slow"});
    EXPECT_TRUE(contains(handOff(2), L"quick"));
}

TEST_F(RealLives, ProvisioningRunsOnceBeforeTheFirstStart) {
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

TEST_F(RealLives, RestartByThePlatformKeepsTheArguments) {
    runJvmInside();
    const Arguments arguments = {L"two words", L"\u65e5\u672c", L"a=b"};
    expectStart(arguments);
    const std::uint32_t processId = jvmProcessId();
    const std::string restartState = read(workspace() / L".config" / L"args.properties");
    send({L"-restartPlatform"});
    awaitSuccessorOf(processId);
    EXPECT_FALSE(isRunning(processId));
    EXPECT_EQ(platform().application, arguments);
    EXPECT_EQ(recordedProcessId(), jvmProcessId());
    EXPECT_EQ(read(workspace() / L".config" / L"args.properties"), restartState);
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_TRUE(contains(log(), "-restart, -zel_old_pid, " + std::to_string(processId)));
}

// The launcher recorded the native platform launcher, not the JVM.
TEST_F(RealLives, RestartWithTheJvmBesideUsesTheRecordedProcessId) {
    expectStart({L"hello"});
    const std::uint32_t processId = jvmProcessId();
    const std::uint32_t recorded = recordedProcessId();
    EXPECT_NE(processId, recorded);
    send({L"-restartPlatform"});
    awaitSuccessorOf(processId);
    EXPECT_FALSE(isRunning(processId));
    EXPECT_NE(recordedProcessId(), recorded);
    EXPECT_EQ(platform().application, Arguments{L"hello"});
    EXPECT_TRUE(contains(log(), "-restart, -zel_old_pid, " + std::to_string(recorded)));
}

// The launcher does not supervise an administrator's platform. The native platform launcher restarts it
// here, and later starts must find it.
TEST_F(RealLives, LockdownPlatformIsFoundAfterItsOwnRestart) {
    if (!endtoend::isUserAdministrator()) {
        GTEST_SKIP() << "needs a user whom the machine lists as an administrator";
    }
    setProperty("install.configuration", "lockdown");
    expectStart({L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    const std::uint32_t processId = jvmProcessId();
    send({L"-exit", L"23"});
    awaitSuccessorOf(processId);
    awaitEndOf(recordedProcessId());
    EXPECT_EQ(platform().application, Arguments{L"hello"});
    EXPECT_EQ(platform().properties.at("zel.install.config"), "lockdown");
    expectHandOff(1, {L"second"});
}

TEST_F(RealLives, ResetRenewsTheConfiguration) {
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
    EXPECT_EQ(platform().application, Arguments{L"hello"});
}

TEST_F(RealLives, CrashedPlatformIsReplaced) {
    runJvmInside();
    expectStart();
    const std::string pipe = read(workspace() / L".pipe");
    crash(jvmProcessId());
    expectStart();
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_NE(read(workspace() / L".pipe"), pipe);
    endPlatform();
    EXPECT_FALSE(std::filesystem::exists(workspace() / L".pipe"));
}

}  // namespace
