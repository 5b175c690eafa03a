#include <windows.h>

#include "endtoend.h"
#include "held_files.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::Running;
namespace fs = std::filesystem;

// The user's configuration is created again, or changed by the provisioning application.
class Renewals : public EndToEnd {
protected:
    fs::path config() const { return workspace() / L".config"; }

    void startOnce() {
        setProperty("zel.data", "${env.USERPROFILE}/Mivel/ZEL/1234/ann");
        EXPECT_EQ(launch(), 0U) << log() << tempLog();
        stopPlatform();
        write(config() / L"org.eclipse.update" / L"registry", "registry");
        write(config() / L"org.eclipse.update" / L"bookmarks.xml", "bookmarks");
        write(config() / L"mine", "mine");
    }
    void expectRenewed() {
        EXPECT_EQ(read(config() / L"org.eclipse.update" / L"registry"), "registry");
        EXPECT_EQ(read(config() / L"org.eclipse.update" / L"bookmarks.xml"), "bookmarks");
        EXPECT_FALSE(fs::exists(config() / L"mine"));
        EXPECT_EQ(read(workspace() / L".configbak" / L"mine"), "mine");
        EXPECT_TRUE(fs::exists(config() / L"zelinstall.properties.bak"));
        EXPECT_TRUE(isPlatformRunning(workspace()));
    }
    // The rest of the line after this text; empty without the text.
    static std::string textAfter(const std::string& text, const std::string& log) {
        const std::size_t found = log.find(text);
        const std::size_t begin = found + text.size();
        return found == std::string::npos ? std::string() : log.substr(begin, log.find('\n', begin) - begin);
    }
};

TEST_F(Renewals, NewIdentityRenewsTheConfiguration) {
    startOnce();
    setProperty("zel.install.id", "1235");
    layOut();
    EXPECT_EQ(launch(), 0U) << log();
    expectRenewed();
    EXPECT_TRUE(contains(read(config() / L"zelinstall.properties"), "zel.install.id=1235\n"));
    EXPECT_TRUE(fs::exists(workspace() / L"platform.xml.old"));
}

TEST_F(Renewals, ResetconfigRenewsTheConfiguration) {
    baseLines.push_back("resetDir.views=views");
    startOnce();
    write(workspace() / L".metadata" / L".plugins" / L"views" / L"sub" / L"x", "");
    EXPECT_EQ(launch({L"-resetconfig"}), 0U) << log();
    expectRenewed();
    EXPECT_FALSE(fs::exists(workspace() / L".metadata" / L".plugins" / L"views"));
}

TEST_F(Renewals, TruncatedPropertiesWithoutBackupAreRenewed) {
    startOnce();
    const std::string good = read(config() / L"zelinstall.properties");
    write(config() / L"zelinstall.properties", good.substr(0, good.size() / 2));
    endtoend::removeAll(config() / L"zelinstall.properties.bak");
    EXPECT_EQ(launch(), 0U) << log();
    expectRenewed();
    EXPECT_EQ(read(config() / L"zelinstall.properties"), good);
}

TEST_F(Renewals, OpenFileStopsTheResetBeforeTheMove) {
    baseLines.push_back("resetDir.views=views");
    startOnce();
    const fs::path held = workspace() / L".metadata" / L".plugins" / L"views" / L"held";
    write(held, "");
    HANDLE file =
        CreateFileW(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(launch({L"-resetconfig"}), fatalStatus);
    CloseHandle(file);
    EXPECT_TRUE(
        contains(log(), "ZLNCH0107E begin: Error removing metadata plugin directory\nCan't delete file "));
    EXPECT_TRUE(fs::exists(config() / L"mine"));
    EXPECT_EQ(launch({L"-resetconfig"}), 0U) << log();
    expectRenewed();
}

TEST_F(Renewals, OpenDirectoryStopsTheResetBeforeTheMove) {
    baseLines.push_back("resetDir.views=views");
    startOnce();
    const fs::path held = workspace() / L".metadata" / L".plugins" / L"views" / L"held";
    fs::create_directories(held);
    HANDLE directory = CreateFileW(held.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    ASSERT_NE(directory, INVALID_HANDLE_VALUE);
    EXPECT_EQ(launch({L"-resetconfig"}), fatalStatus);
    CloseHandle(directory);
    EXPECT_TRUE(contains(log(), "Can't delete dir "));
    EXPECT_TRUE(fs::exists(config() / L"mine"));
    EXPECT_EQ(launch({L"-resetconfig"}), 0U) << log();
    expectRenewed();
}

TEST_F(Renewals, SecondStartWaitsWhileProvisioningRuns) {
    setProperty("provisioning", "true");
    setProperty("provisioning.manifest.version", "7");
    setProperty("provisioning.application", "com.example.prov");
    layOut();
    // With -debug each has its own log.
    const Running first = begin({L"-debug", L"vmarg.Dshare=-Xshareclasses:name=x"});
    EXPECT_TRUE(hasArgument(L"-userProvLaunch"));
    EXPECT_TRUE(hasArgument(L"-Xshareclasses=none"));
    const std::string provisioning = platformProcessId();
    const Running second = begin({L"-debug"});
    EXPECT_TRUE(hasComeToTheLock(second));
    EXPECT_FALSE(hasEnded(first));
    askPlatform("stop");
    EXPECT_EQ(waitFor(first), 0U);
    // The second start provisions again, because the standin did not record the version. It would wait long
    // for the `.pipe` of a platform that is asked to end before it has written one.
    EXPECT_TRUE(eventually([&] {
        const std::string record = read(workspace() / L".zel.main");
        return !record.empty() && record != provisioning + std::string(5, ' ') &&
               fs::exists(workspace() / L".pipe");
    }));
    askPlatform("stop");
    EXPECT_EQ(waitFor(second), 0U);
    const std::vector<std::string> logs = debugLogs();
    ASSERT_EQ(logs.size(), 2U);
    const bool isInOrder = contains(logs[0], "-Xshareclasses");
    const std::string released = textAfter("ZLNCH0306I: lock file released @ ", logs[isInOrder ? 0 : 1]);
    const std::string captured = textAfter("ZLNCH0303I: lock file captured @ ", logs[isInOrder ? 1 : 0]);
    EXPECT_FALSE(released.empty());
    EXPECT_GE(captured, released);
    EXPECT_TRUE(contains(logs[0], "ZLNCH0073I: Provisioning Command = '\""));
    write(config() / L"zelinstall.properties",
          read(config() / L"zelinstall.properties") + "provisioning.manifest.version=7\n");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0072I: Command = '\""));
}

}  // namespace
