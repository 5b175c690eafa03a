#include <algorithm>

#include "endtoend.h"
#include "support/text.h"

// A workspace has one platform: which launcher starts it, which finds it, and how it ends.
namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::Running;
using endtoend::Status;
namespace fs = std::filesystem;

class OnePlatform : public EndToEnd {};

TEST_F(OnePlatform, OneOfTwoLaunchersAtOnceStartsIt) {
    scriptLines = {"publish-on-request"};
    layOut();
    // With -debug each has its own log.
    const Running first = begin({L"-debug", L"one"});
    const Running second = begin({L"-debug", L"two"});
    askPlatform("publish");
    const Status firstStatus = waitFor(first);
    const Status secondStatus = waitFor(second);
    ASSERT_TRUE(firstStatus && secondStatus);
    EXPECT_EQ(*firstStatus, 0U);
    EXPECT_EQ(*secondStatus, 0U);
    const std::wstring started = hasArgument(L"one") ? L"one" : L"two";
    EXPECT_TRUE(hasArgument(started));
    EXPECT_NE(payload(1).find(started == L"one" ? L"\ntwo\n" : L"\none\n"), std::wstring::npos);
    const std::string processId = platformProcessId();
    EXPECT_EQ(read(workspace() / L".zel.lock"), processId + std::string(10, ' '));

    const std::vector<std::string> logs = debugLogs();
    ASSERT_EQ(logs.size(), 2U);
    EXPECT_EQ(std::count_if(logs.begin(), logs.end(),
                            [](const std::string& text) {
                                return contains(text, "ZLNCH0305I: We are daemon process\n") &&
                                       contains(text, "ZLNCH0146I: Pipe args = ");
                            }),
              1);
}

TEST_F(OnePlatform, LaterStartLeavesItsFilesAlone) {
    EXPECT_EQ(launch({L"first"}), 0U);
    const std::string arguments = read(workspace() / L".config" / L"args.properties");
    const std::string record = read(workspace() / L".zel.lock");
    EXPECT_EQ(launch({L"second"}), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_TRUE(hasArgument(L"first"));
    EXPECT_EQ(read(workspace() / L".config" / L"args.properties"), arguments);
    EXPECT_EQ(read(workspace() / L".zel.lock"), record);
    EXPECT_TRUE(isLockFree());
}

TEST_F(OnePlatform, ProvManifestWhileItRunsIsFatal) {
    EXPECT_EQ(launch(), 0U);
    const std::string processId = platformProcessId();
    EXPECT_EQ(launch({L"-provManifest"}), fatalStatus);
    EXPECT_TRUE(
        log().ends_with("ZLNCH0122E: Attempting to install while process " + processId + " is running.\n"));
}

TEST_F(OnePlatform, InaccessiblePlatformIsFatal) {
    scriptLines = {"semaphore denied"};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(
        contains(lockLog(), "ZLNCH0303E: Unable to access process. Is it elevated? ' Failed with error 5: "));
    EXPECT_TRUE(isPlatformRunning());
}

TEST_F(OnePlatform, LockIsHeldUntilThePipeFileExists) {
    scriptLines = {"publish-on-request"};
    const Running launcher = begin();
    platformArguments();
    EXPECT_FALSE(isLockFree());
    EXPECT_FALSE(fs::exists(workspace() / L".pipe"));
    askPlatform("publish");
    EXPECT_EQ(waitFor(launcher), 0U);
    EXPECT_TRUE(fs::exists(workspace() / L".pipe"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(OnePlatform, ZelLauncherWaitStaysUntilItEnds) {
    scriptLines = {"exit 7"};
    const Running launcher = begin({L"-zelLauncherWait"});
    EXPECT_TRUE(eventually([&] { return fs::exists(workspace() / L".pipe") && isLockFree(); }));
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_FALSE(hasEnded(launcher));
    askPlatform("stop");
    EXPECT_EQ(waitFor(launcher), 0U);
    EXPECT_FALSE(isPlatformRunning());
    EXPECT_EQ(read(workspace() / L"standin" / L"ended.txt"), "exit=7\n");
}

TEST_F(OnePlatform, ProvManifestStartsNoPlatform) {
    EXPECT_EQ(launch({L"-zelLauncherWait", L"-provManifest"}), 0U) << log();
    EXPECT_TRUE(fs::exists(workspace() / L".config" / L"zelinstall.properties"));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_FALSE(fs::exists(workspace() / L"standin"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(OnePlatform, CrashedPlatformIsReplaced) {
    EXPECT_EQ(launch({L"first"}), 0U);
    const std::string pipeFile = read(workspace() / L".pipe");
    crashPlatform();
    EXPECT_EQ(read(workspace() / L".pipe"), pipeFile);
    EXPECT_EQ(launch({L"second"}), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_TRUE(hasArgument(L"second"));
    EXPECT_NE(read(workspace() / L".pipe"), pipeFile);
}

TEST_F(OnePlatform, StalePipeFileIsReplaced) {
    layOut();
    write(workspace() / L".pipe", "\\\\.\\pipe\\gone\r\n");
    write(workspace() / L".zel.lock", "4711          ");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_FALSE(contains(read(workspace() / L".pipe"), "gone"));
}

TEST_F(OnePlatform, LockFileWithoutAProcessIdIsFatal) {
    layOut();
    write(workspace() / L".zel.lock", "abc");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(lockLog(), "ZLNCH0092E: Error reading platform lock file.\n"));
    EXPECT_EQ(read(workspace() / L".zel.lock"), "abc");
}

TEST_F(OnePlatform, RestartWaitsForTheOldPlatform) {
    EXPECT_EQ(launch({L"first"}), 0U);
    const std::string arguments = read(workspace() / L".config" / L"args.properties");
    const std::wstring processId = launchertest::fromUtf8(platformProcessId());
    const Running restart = begin({L"-restart", L"-zel_old_pid", processId});
    EXPECT_TRUE(hasReadTheLockFile(restart));
    stopPlatform();
    EXPECT_EQ(waitFor(restart), 0U) << log();
    EXPECT_EQ(read(workspace() / L".config" / L"args.properties"), arguments);
    EXPECT_FALSE(hasArgument(L"-restart"));
}

}  // namespace
