#include "configuration/install_identity.h"

#include <gtest/gtest.h>

#include "configuration/install_configuration.h"
#include "platform/files.h"
#include "properties/property_reader.h"
#include "support/launcher_fixture.h"

namespace {

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
    void expectFatal(const std::string& message) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
};

TEST_F(InstallIdentity, ComesFromTheProperties) {
    machine.writeFile(path, "untouched");
    launcher = {{L"zel.install.id", L"A1"}, {L"zel.install.id", L"B2"}};
    EXPECT_EQ(resolve(InstallConfigurationKind::user), L"A1");
    launcher = {{L"zel.install.id", L""}};
    EXPECT_EQ(resolve(InstallConfigurationKind::userpb), L"");
    EXPECT_EQ(machine.readFile(path), "untouched");
}

TEST_F(InstallIdentity, IsRequiredOfAllKindsButOne) {
    for (int kind = 1; kind <= 7; ++kind) {
        resolve(static_cast<InstallConfigurationKind>(kind));
        expectFatal("ZLNCH0016E: zel.install.id is required for this configuration!");
    }
}

TEST_F(InstallIdentity, IsMadeOfTheTickCountAndKept) {
    machine.writeFile(path, "a=1\r\n");
    machine.setTickCount(4294967295U);
    EXPECT_EQ(resolve(InstallConfigurationKind::userpb), L"4294967295");
    EXPECT_EQ(machine.readFile(path), "a=1\r\nzel.install.id=4294967295\r\n");
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.install.id", launcher), L"4294967295");
}

TEST_F(InstallIdentity, TheFileIsGivenBack) {
    run([&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::userpb;
        zellauncher::resolveInstallId(path, launcher);
        EXPECT_TRUE(platform::deleteFile(path));
    });
}

TEST_F(InstallIdentity, NothingSeparatesItFromALastLineWithoutAnEnd) {
    machine.writeFile(path, "a=1");
    machine.setTickCount(5);
    resolve(InstallConfigurationKind::userpb);
    EXPECT_EQ(machine.readFile(path), "a=1zel.install.id=5\r\n");
}

TEST_F(InstallIdentity, NeedsTheRightToWrite) {
    machine.writeFile(path, "");
    machine.setAttributes(path, platform::attributeReadOnly);
    resolve(InstallConfigurationKind::userpb);
    expectFatal("ZLNCH0017E: Could not open C:\\zellauncher.properties to append zel.install.id!");
}

TEST_F(InstallIdentity, AFullDiskIsNoticed) {
    machine.writeFile(path, "");
    launchertest::Outcome full = runQuietly([&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::userpb;
        machine.setFreeSpace(3);
        launcher.clear();
        // The log cannot grow either; what counts is the end.
        zellauncher::resolveInstallId(path, launcher);
    });
    EXPECT_TRUE(full.isFatal());
    machine.setFreeSpace(std::nullopt);
    simulation::Fault fault;
    fault.operation = "writeStream";
    fault.argumentEndsWith = L"zellauncher.properties";
    machine.inject(fault);
    launcher.clear();
    resolve(InstallConfigurationKind::userpb);
    expectFatal("ZLNCH0018E: Error while writing to C:\\zellauncher.properties file.");
}

TEST_F(InstallIdentity, AChangeIsADifferenceInAnyCharacter) {
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=A1\r\n"));
    EXPECT_TRUE(isChanged(L"A1", "zel.install.id=a1\r\n"));
    EXPECT_TRUE(isChanged(L"A1", "zel.install.id=A12\r\n"));
    EXPECT_TRUE(isChanged(L"", "zel.install.id=A1\r\n"));
}

TEST_F(InstallIdentity, WhatIsNotRecordedHasNotChanged) {
    EXPECT_FALSE(isChanged(L"A1", ""));
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=\r\n"));
    EXPECT_FALSE(isChanged(L"A1", "other=A2\r\n"));
    machine.remove(L"C:\\c");
    bool answer = true;
    run([&] { answer = zellauncher::installIdChanged(L"A1", L"C:/c"); });
    EXPECT_FALSE(answer);
}

TEST_F(InstallIdentity, ASecondStartFindsWhatTheFirstOneMade) {
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

TEST_F(InstallIdentity, WhatTheDiskRefusesBehindTheBufferIsNoticed) {
    machine.writeFile(path, "");
    simulation::Fault fault;
    fault.operation = "flushStream";
    fault.argumentEndsWith = L"zellauncher.properties";
    fault.error = platform::errorDiskFull;
    machine.inject(fault);
    resolve(InstallConfigurationKind::userpb);
    expectFatal("ZLNCH0018E: Error while writing to C:\\zellauncher.properties file.");
}

TEST_F(InstallIdentity, WithoutALogTheMessageGoesToTheTemporaryDirectory) {
    machine.makeDirectory(L"C:\\Temp");
    const auto end = machine.run({L"C:\\prog.exe"}, [&] {
        zellauncher::InstallConfiguration = InstallConfigurationKind::service;
        zellauncher::resolveInstallId(path, launcher);
        return 0;
    });
    EXPECT_EQ(end.status, 0xFFFFFFFFU);
    EXPECT_NE(machine.readFile(L"C:\\Temp\\zellauncher.log")
                  .value_or("")
                  .find("ZLNCH0016E: zel.install.id is required for this configuration!"),
              std::string::npos);
}

TEST_F(InstallIdentity, AUsersFileThatCannotBeReadIsNamed) {
    simulation::Fault fault;
    fault.operation = "openStream";
    fault.argumentEndsWith = L"zelinstall.properties";
    machine.inject(fault);
    isChanged(L"A1", "");
    expectFatal("ZLNCH0096E: Unable to load C:\\c\\zelinstall.properties file!");
}

TEST_F(InstallIdentity, TheFirstRecordedOneCounts) {
    EXPECT_FALSE(isChanged(L"A1", "zel.install.id=A1\r\nzel.install.id=B2\r\n"));
    EXPECT_TRUE(isChanged(L"B2", "zel.install.id=A1\r\nzel.install.id=B2\r\n"));
}

}  // namespace
