#include "configuration/install_identity.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "configuration/install_kind.h"
#include "platform/files.h"
#include "properties/property_reader.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using launchertest::failing;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

constexpr const wchar_t* path = L"C:\\zellauncher.properties";

class InstallIdentity : public launchertest::OnMachine {
protected:
    PropertyList launcher;
    launchertest::Outcome outcome;

    std::wstring resolve(InstallConfigurationKind kind) {
        std::wstring identity;
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            identity = zellauncher::resolveInstallId(path, launcher);
        });
        return identity;
    }
    bool isChanged(const std::wstring& current, const std::string& userFile) {
        machine.writeFile(L"C:\\c\\zelinstall.properties", userFile);
        bool answer = false;
        outcome = run([&] { answer = zellauncher::installIdChanged(current, L"C:/c"); });
        return answer;
    }
};

TEST_F(InstallIdentity, IsTheFirstEntryOfTheProperties) {
    machine.writeFile(path, "untouched");
    launcher = {{L"zel.install.id", L"A1"}, {L"zel.install.id", L"B2"}};
    EXPECT_EQ(resolve(InstallConfigurationKind::user), L"A1");
    launcher = {{L"zel.install.id", L""}};
    EXPECT_EQ(resolve(InstallConfigurationKind::userpb), L"");
    EXPECT_EQ(machine.readFile(path), "untouched");
}

TEST_F(InstallIdentity, IsRequiredExceptForUserpb) {
    for (int kind = 1; kind <= 7; ++kind) {
        SCOPED_TRACE("kind " + std::to_string(kind));
        resolve(static_cast<InstallConfigurationKind>(kind));
        outcome.expectFatal("ZLNCH0016E: zel.install.id is required for this configuration!");
    }
}

TEST_F(InstallIdentity, IsMadeFromTheTickCountAndStored) {
    machine.writeFile(path, "a=1\r\n");
    machine.setTickCount(4294967295U);
    EXPECT_EQ(resolve(InstallConfigurationKind::userpb), L"4294967295");
    EXPECT_EQ(machine.readFile(path), "a=1\r\nzel.install.id=4294967295\r\n");
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.install.id", launcher), L"4294967295");
}

TEST_F(InstallIdentity, PropertiesFileIsClosed) {
    run([&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::userpb;
        zellauncher::resolveInstallId(path, launcher);
        EXPECT_TRUE(platform::deleteFile(path));
    });
}

// It is in the path of the user's workspace, so it must not change.
TEST_F(InstallIdentity, SurvivesAPowerLoss) {
    machine.writeFile(path, "a=b\n");
    const std::wstring identity = resolve(InstallConfigurationKind::userpb);
    machine.losePower();
    EXPECT_EQ(machine.readFile(path), "a=b\nzel.install.id=" + launchertest::toUtf8(identity) + "\r\n");
}

TEST_F(InstallIdentity, IsAppendedToAnUnendedLine) {
    machine.writeFile(path, "a=1");
    machine.setTickCount(5);
    resolve(InstallConfigurationKind::userpb);
    EXPECT_EQ(machine.readFile(path), "a=1zel.install.id=5\r\n");
}

TEST_F(InstallIdentity, IsFoundAgainInAFileThatEndedInCtrlZ) {
    machine.writeFile(path, "a=1\r\n\x1A");
    machine.setTickCount(5);
    resolve(InstallConfigurationKind::userpb);
    EXPECT_EQ(machine.readFile(path), "a=1\r\nzel.install.id=5\r\n");
}

TEST_F(InstallIdentity, UnwritableFileIsFatal) {
    machine.writeFile(path, "");
    machine.setAttributes(path, platform::attributeReadOnly);
    resolve(InstallConfigurationKind::userpb);
    outcome.expectFatal("ZLNCH0017E: Could not open C:\\zellauncher.properties to append zel.install.id!");
}

TEST_F(InstallIdentity, FullDiskIsFatal) {
    machine.writeFile(path, "");
    const launchertest::Outcome full = runQuietly([&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::userpb;
        machine.setFreeSpace(3);
        launcher.clear();
        // The log cannot grow either, so no message is expected.
        zellauncher::resolveInstallId(path, launcher);
    });
    EXPECT_TRUE(full.isFatal());
    machine.setFreeSpace(std::nullopt);
    machine.inject(failing("writeStream", platform::errorAccessDenied, L"zellauncher.properties"));
    launcher.clear();
    resolve(InstallConfigurationKind::userpb);
    outcome.expectFatal("ZLNCH0018E: Error while writing to C:\\zellauncher.properties file.");
}

TEST_F(InstallIdentity, ChangesWithAnyCharacter) {
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=A1\r\n"));
    EXPECT_TRUE(isChanged(L"A1", "zel.install.id=a1\r\n"));
    EXPECT_TRUE(isChanged(L"A1", "zel.install.id=A12\r\n"));
    EXPECT_TRUE(isChanged(L"", "zel.install.id=A1\r\n"));
}

TEST_F(InstallIdentity, IsUnchangedIfNoneIsRecorded) {
    EXPECT_FALSE(isChanged(L"A1", ""));
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=\r\n"));
    EXPECT_FALSE(isChanged(L"A1", "other=A2\r\n"));
    machine.remove(L"C:\\c");
    bool answer = true;
    run([&] { answer = zellauncher::installIdChanged(L"A1", L"C:/c"); });
    EXPECT_FALSE(answer);
}

TEST_F(InstallIdentity, SecondStartReadsTheStoredIdentity) {
    machine.writeFile(path, "a=1\r\n");
    machine.setTickCount(77);
    resolve(InstallConfigurationKind::userpb);
    const auto afterFirst = machine.readFile(path);
    machine.setTickCount(88);
    launcher.clear();
    run([&] { zellauncher::loadPropertyFile(path, launcher); });
    EXPECT_EQ(resolve(InstallConfigurationKind::userpb), L"77");
    EXPECT_EQ(machine.readFile(path), afterFirst);
}

TEST_F(InstallIdentity, FailedFlushIsFatal) {
    machine.writeFile(path, "");
    machine.inject(failing("flushStream", platform::errorDiskFull, L"zellauncher.properties"));
    resolve(InstallConfigurationKind::userpb);
    outcome.expectFatal("ZLNCH0018E: Error while writing to C:\\zellauncher.properties file.");
}

TEST_F(InstallIdentity, FatalMessageWithoutALogGoesToTemp) {
    machine.makeDirectory(L"C:\\Temp");
    const auto end = machine.run({L"C:\\prog.exe"}, [&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::service;
        zellauncher::resolveInstallId(path, launcher);
        return 0;
    });
    EXPECT_EQ(end.status, 0xFFFFFFFFU);
    EXPECT_EQ(
        launchertest::countOccurrences(machine.readFile(L"C:\\Temp\\zellauncher.log").value_or(""),
                                       "ZLNCH0016E: zel.install.id is required for this configuration!"),
        1U);
}

TEST_F(InstallIdentity, UnreadableUserFileIsFatal) {
    machine.inject(failing("openStream", platform::errorAccessDenied, L"zelinstall.properties"));
    isChanged(L"A1", "");
    outcome.expectFatal("ZLNCH0096E: Unable to load C:\\c\\zelinstall.properties file!");
}

TEST_F(InstallIdentity, FirstRecordedIdentityIsCompared) {
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=A1\r\nzel.install.id=B2\r\n"));
    EXPECT_TRUE(isChanged(L"B2", "zel.install.id=A1\r\nzel.install.id=B2\r\n"));
}

}  // namespace
