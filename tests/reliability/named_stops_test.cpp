#include <gtest/gtest.h>

#include <algorithm>

#include "platform/files.h"
#include "reliability/scenario.h"
#include "reliability/user_files.h"

// One test for each accepted consequence of a stop, and one for a power failure.
namespace {

using reliability::perform;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Stage;
using simulation::UnflushedData;

constexpr const wchar_t* settings = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\mine\\settings.prefs";

class NamedStops : public ::testing::Test {
protected:
    std::unique_ptr<Rehearsal> rehearsal;
    std::unique_ptr<Stage> stage;

    // Stops the scenario dead in place of this operation, as chosen by operationNumber.
    void stopAt(const std::string& scenario, const std::string& operation, const std::wstring& ending,
                std::size_t nth = 1, UnflushedData data = UnflushedData::lost) {
        rehearsal = std::make_unique<Rehearsal>(reliability::scenarioCalled(scenario));
        const std::unique_ptr<Stage> untouched = rehearsal->stage();
        const std::uint64_t number = reliability::operationNumber(
            perform(*untouched, rehearsal->scenario.arguments), operation, ending, nth);
        ASSERT_NE(number, 0U);
        stage = rehearsal->stage();
        const Performance stopped =
            perform(*stage, rehearsal->scenario.arguments, [&](simulation::ProcessId launcher) {
                stage->machine.stopDead({number, launcher, data});
            });
        ASSERT_EQ(stopped.end->kind, simulation::EndKind::stoppedDead);
        stage->machine.stopDeadAt(0);
    }

    void startNext(const reliability::Arguments& arguments = {}) {
        stage->closePlatforms();
        EXPECT_TRUE(perform(*stage, arguments).endedWell());
    }

    std::size_t countWorkspaces() const {
        const std::vector<std::wstring> paths = stage->machine.tree(L"C:\\Users\\ann\\Mivel\\ZEL");
        return static_cast<std::size_t>(std::count_if(
            paths.begin(), paths.end(), [](const auto& path) { return path.ends_with(L".zel.lock"); }));
    }
};

TEST_F(NamedStops, UnrecordedPlatformIsNotFound) {
    stopAt("first_start", "openStream", L".zel.main");
    stage->machine.runUntilIdle(1000);
    const Performance next = perform(*stage, {});
    EXPECT_EQ(next.commands.size(), 1U);
    EXPECT_EQ(stage->machine.startedProcesses().size(), 2U);
}

TEST_F(NamedStops, SilentPlatformIsNotFound) {
    stopAt("silent_platform", "unlockStream", L".zel.lock");
    const Performance next = perform(*stage, {});
    EXPECT_EQ(next.commands.size(), 1U);
}

TEST_F(NamedStops, StoppedResetIsNotContinued) {
    stopAt("reset_of_plugin_directories", "deleteFile", L"views\\y");
    startNext();
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L".metadata\\.plugins\\views\\sub\\x")));
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L".metadata\\.plugins\\views\\y")));
    EXPECT_TRUE(stage->machine.exists(settings));
}

TEST_F(NamedStops, TruncatedSeedFileStaysUntilAReset) {
    stopAt("first_start", "copyFile", L"config.ini", 1, UnflushedData::partlyWritten);
    startNext();
    EXPECT_EQ(stage->configFile(L"config.ini"), "osgi.bundle");
    startNext({L"-resetconfig"});
    EXPECT_EQ(stage->configFile(L"config.ini"), "osgi.bundles=example\r\n");
}

// The next reset makes a writable copy. It cannot remove the read-only one.
TEST_F(NamedStops, ReadOnlyCopyStaysUntilAReset) {
    stopAt("read_only_templates", "setFileAttributes", L"config.ini");
    const auto isReadOnly = [this](const std::wstring& path) {
        return (stage->machine.attributes(path) & platform::attributeReadOnly) != 0;
    };
    startNext();
    EXPECT_TRUE(isReadOnly(stage->inConfig(L"config.ini")));
    startNext({L"-resetconfig"});
    EXPECT_FALSE(isReadOnly(stage->inConfig(L"config.ini")));
    startNext({L"-resetconfig"});
    EXPECT_TRUE(isReadOnly(stage->inWorkspace(L".configbakdeleteme0001\\config.ini")));
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L".configbakdeleteme0002")));
    startNext({L"-resetconfig"});
    startNext({L"-resetconfig"});
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L".configbakdeleteme0002")));
}

TEST_F(NamedStops, RegistryAndBookmarksReturnWithTheNextRenewal) {
    stopAt("changed_install", "moveFile", L"registry.old");
    startNext();
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\bookmarks.xml"), std::nullopt);
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L"bookmarks.xml.old")));
    startNext({L"-resetconfig"});
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\registry"), "installed features");
}

TEST_F(NamedStops, RepairBacksUpTheIncompleteConfiguration) {
    stopAt("first_start", "writeStream", L"zelinstall.properties.new");
    startNext();
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L".configbak\\zelinstall.properties.new")));
}

TEST_F(NamedStops, RepairReplacesTheBackupOfTheRenewal) {
    stopAt("changed_install", "writeStream", L"zelinstall.properties.new");
    EXPECT_TRUE(reliability::lostFiles(*stage, rehearsal->userFiles).empty());
    startNext();
    EXPECT_EQ(reliability::lostFiles(*stage, rehearsal->userFiles), std::vector<std::wstring>{settings});
}

TEST_F(NamedStops, FileMovedAsideBlocksTheNextDeletionOnce) {
    stopAt("damaged_properties", "deleteFile", L"zelinstall.properties.deleteme");
    startNext();
    EXPECT_TRUE(stage->machine.exists(stage->inConfig(L"zelinstall.properties.new")));
    startNext();
    EXPECT_FALSE(stage->machine.exists(stage->inConfig(L"zelinstall.properties.deleteme")));
}

// The power failure undoes the last step of a deletion. The leftover is removed instead of the file that it
// blocks, once.
TEST_F(NamedStops, FileMovedAsideEndsTheNextRenewalOnce) {
    stopAt("changed_install_with_old_backups", "moveFile", L"\\.config");
    stage->machine.losePower({simulation::PowerLoss::Names::old, simulation::PowerLoss::Contents::old});
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L"bookmarks.xml.old.deleteme")));
    const Performance next = perform(*stage, {});
    EXPECT_TRUE(next.failed());
    EXPECT_TRUE(next.logLines.back().starts_with("ZLNCH0113E: Can't copy file  '"));
    startNext();
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    EXPECT_EQ(reliability::lostFiles(*stage, rehearsal->userFiles), std::vector<std::wstring>());
}

// The next start appends its identity to the truncated line, where it is not found. The start after it writes
// a line of its own.
TEST_F(NamedStops, TruncatedIdentityCostsTheWorkspaceOfOneStart) {
    stopAt("userpb_without_identity", "flushStream", L"zellauncher.properties", 1,
           UnflushedData::partlyWritten);
    for (const std::size_t workspaces : {1U, 2U, 2U}) {
        startNext();
        EXPECT_EQ(countWorkspaces(), workspaces);
    }
}

// The copies are flushed to the device before their source is moved away.
TEST_F(NamedStops, PowerFailureCostsNoMoreThanAStop) {
    stopAt("changed_install", "sleepMilliseconds", L"");
    stage->closePlatforms();
    stage->machine.losePower();
    startNext();
    EXPECT_EQ(reliability::lostFiles(*stage, rehearsal->userFiles), std::vector<std::wstring>());
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\registry"), "installed features");
    EXPECT_EQ(stage->configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
}

TEST_F(NamedStops, StoppedShellRoleLeavesTheShellOfAdministrators) {
    stopAt("kiosk_without_desktop", "createProcess", L"");
    const Performance next = perform(*stage, {});
    EXPECT_EQ(next.logonShell, L"explorer.exe");
    EXPECT_FALSE(next.tookShellRole());
    EXPECT_EQ(next.commands.size(), 1U);
}

TEST_F(NamedStops, ShutdownLogStartsAgainBesideItsKeptLines) {
    stopAt("long_shutdown_log", "moveFile", L"shutdown.log.new");
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L"logs\\shutdown.log")));
    startNext();
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L"logs\\shutdown.log")));
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L"logs\\shutdown.log.new")));
}

}  // namespace
