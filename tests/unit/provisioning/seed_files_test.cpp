#include "provisioning/seed_files.h"

#include <gtest/gtest.h>

#include "configuration/install_configuration.h"
#include "launch/launch_state.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

constexpr const wchar_t* configIni = L"C:\\c\\config.ini";
constexpr const wchar_t* platformXml = L"C:\\c\\org.eclipse.update\\platform.xml";

class SeedFiles : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"jvm.feature.id", L"JF"},
                             {L"jvm.feature.version", L"1.0"},
                             {L"jvm.parent.feature.id", L"PF"},
                             {L"jvm.parent.feature.version", L"2.0"}};
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    launchertest::Outcome outcome;
    bool isInitial = false;
    int result = 77;

    SeedFiles() { machine.makeDirectory(L"C:\\c"); }

    void seedIni() {
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            zellauncher::seedConfigIni(L"C:/c", L"C:\\b");
            isInitial = zellauncher::initialLaunch;
        });
    }
    void seedXml(bool externalJvm = false) {
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            result = zellauncher::seedPlatformXml(L"C:/c", L"C:\\b", launcher, externalJvm);
            isInitial = zellauncher::initialLaunch;
        });
    }
    std::string seeded(const std::string& content, bool externalJvm = false) {
        machine.remove(platformXml);
        machine.writeFile(L"C:\\b\\platform.xml", content);
        seedXml(externalJvm);
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(isInitial);
        return machine.readFile(platformXml).value_or("(absent)");
    }
};

TEST_F(SeedFiles, TheConfigurationIsCopiedOnce) {
    machine.writeFile(L"C:\\b\\config.ini", "as it stands\n\n");
    seedIni();
    EXPECT_EQ(machine.readFile(configIni), "as it stands\n\n");
    EXPECT_TRUE(isInitial);
    machine.writeFile(configIni, "mine");
    seedIni();
    EXPECT_EQ(machine.readFile(configIni), "mine");
    EXPECT_FALSE(isInitial);
}

TEST_F(SeedFiles, ATemplateOfTheKindWins) {
    machine.writeFile(L"C:\\b\\config.ini", "base");
    machine.writeFile(L"C:\\b\\config\\user\\config.ini", "user");
    seedIni();
    EXPECT_EQ(machine.readFile(configIni), "user");
}

TEST_F(SeedFiles, AMissingConfigurationIsFatal) {
    seedIni();
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0009E: Unable to copy config.ini to the user directory.");
}

TEST_F(SeedFiles, TheIdentityOfTheJvmIsFilledIn) {
    EXPECT_EQ(seeded("<f id=\"${jvm.feature.id}\" version=\"${jvm.feature.version}\"/>${jvm.feature.id}\n"
                     "<p id=\"${jvm.parent.feature.id}\" v=\"${jvm.parent.feature.version}\"/>\n"),
              "<f id=\"JF\" version=\"1.0\"/>JF\r\n<p id=\"PF\" v=\"2.0\"/>\r\n");
}

TEST_F(SeedFiles, AVersionNeedsItsIdOnTheSameLine) {
    EXPECT_EQ(seeded("${jvm.feature.version} ${jvm.parent.feature.version}\n"),
              "${jvm.feature.version} ${jvm.parent.feature.version}\r\n");
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.version}\n"),
              "JF ${jvm.parent.feature.version}\r\n");
}

TEST_F(SeedFiles, AnExternalJvmHasNoIdentity) {
    EXPECT_EQ(seeded("<a>\n<f id=\"${jvm.feature.id}\" version=\"${jvm.feature.version}\"/>\n"
                     "<p id=\"${jvm.parent.feature.id}\"/>\n</a>\n",
                     true),
              "<a>\r\n<feature>\r\n<feature>\r\n</a>\r\n");
    launcher.clear();
    EXPECT_EQ(seeded("${jvm.feature.id}\n", true), "<feature>\r\n");
}

TEST_F(SeedFiles, AValueThatHoldsItsPlaceholderIsReplacedOnce) {
    launcher[0].value = L"<${jvm.feature.id}>";
    EXPECT_EQ(seeded("${jvm.feature.id}${jvm.feature.id}\n"), "<${jvm.feature.id}><${jvm.feature.id}>\r\n");
}

TEST_F(SeedFiles, LinesLoseTheirIndentationAndBlankOnesVanish) {
    EXPECT_EQ(seeded("  <a>\n\n    <b>\n"), "  <a>\r\n<b>\r\n");
    EXPECT_EQ(seeded("\n\n<a>\n"), "<a>\r\n");
    EXPECT_EQ(seeded(""), "");
    EXPECT_EQ(seeded("<a>"), "<a>\r\n");
    EXPECT_EQ(seeded(std::string(2025, 'x') + "\n"), std::string(2024, 'x') + "\r\nx\r\n");
}

TEST_F(SeedFiles, WhatExistsIsNeverTouched) {
    machine.writeFile(platformXml, "mine");
    seedXml();
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(isInitial);
    EXPECT_EQ(machine.readFile(platformXml), "mine");
}

TEST_F(SeedFiles, OneKindHasNoUpdateArea) {
    kind = InstallConfigurationKind::userpb;
    seedXml();
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(machine.exists(L"C:\\c\\org.eclipse.update"));
}

TEST_F(SeedFiles, AnInstallWithoutManagedUpdatesHasAnEmptyUpdateArea) {
    machine.writeFile(L"C:\\b\\platform.xml", "<a>\n");
    launcher.push_back({L"update.policy.managed", L"false"});
    seedXml();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(machine.isDirectory(L"C:\\c\\org.eclipse.update"));
    EXPECT_FALSE(machine.exists(platformXml));
    EXPECT_TRUE(isInitial);  // by the directory
    seedXml();
    EXPECT_FALSE(isInitial);
    launcher.back().value = L"False";
    seedXml();
    EXPECT_TRUE(machine.exists(platformXml));
}

TEST_F(SeedFiles, AnUpdateAreaThatCannotBeMadeIsFatal) {
    machine.writeFile(L"C:\\c\\org.eclipse.update", "in the way");
    seedXml();
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0039E: Unable to create C:\\c\\org.eclipse.update directory.");
}

TEST_F(SeedFiles, StreamsThatCannotBeOpenedAreTold) {
    machine.makeDirectory(L"C:\\c\\org.eclipse.update");
    seedXml();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(isInitial);
    EXPECT_TRUE(outcome.logHas("ZLNCH0104E: Unable to open platform.xml.\"C:\\b\\platform.xml\""));
    machine.writeFile(L"C:\\b\\platform.xml", "<a>\n");
    machine.refuse(L"C:\\c\\org.eclipse.update", platform::errorAccessDenied);
    seedXml();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(isInitial);
    EXPECT_TRUE(outcome.logHas(
        "ZLNCH0139E: Unable to open platform.xml for writing.\"C:\\c\\org.eclipse.update\\platform.xml\""));
}

TEST_F(SeedFiles, AMissingValueStopsTheCopy) {
    const PropertyList whole = launcher;
    for (const wchar_t* key : {L"jvm.feature.id", L"jvm.feature.version"}) {
        launcher = whole;
        std::erase_if(launcher, [&](const auto& entry) { return entry.key == key; });
        EXPECT_EQ(seeded("<a>\n${jvm.feature.id}\n<b>\n"), "<a>\r\n");
        EXPECT_TRUE(outcome.logHas(
            "ZLNCH0101E: Error while copying platform.xml to user specific platform.xml file."));
    }
    for (const wchar_t* key : {L"jvm.parent.feature.id", L"jvm.parent.feature.version"}) {
        launcher = whole;
        std::erase_if(launcher, [&](const auto& entry) { return entry.key == key; });
        EXPECT_EQ(seeded("<a>\n${jvm.parent.feature.id}\n<b>\n"), "<a>\r\n");
        EXPECT_TRUE(outcome.logHas(
            "ZLNCH0102E: Error while copying platform.xml to user specific platform.xml file."));
    }
}

TEST_F(SeedFiles, AWriteThatFailsStopsTheCopy) {
    simulation::Fault fault;
    fault.operation = "writeStream";
    fault.argumentEndsWith = L"platform.xml";
    fault.nth = 2;
    machine.inject(fault);
    EXPECT_EQ(seeded("<a>\n<b>\n<c>\n"), "<a>\r\n");
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0103E: Error while copying platform.xml to user specific platform.xml file."));
    machine.clearFaults();
    launcher[0].value = L"\u0410";
    EXPECT_EQ(seeded("<a>\n${jvm.feature.id}\n<c>\n"), "<a>\r\n");
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0103E: Error while copying platform.xml to user specific platform.xml file."));
}

TEST_F(SeedFiles, AllOtherKindsHaveAnUpdateArea) {
    for (const int number : {1, 2, 3, 4, 5, 6, 7}) {
        kind = static_cast<InstallConfigurationKind>(number);
        EXPECT_EQ(seeded("<a>\n"), "<a>\r\n") << number;
    }
}

TEST_F(SeedFiles, AnUpdateAreaOfTheKindHasItsOwnTemplate) {
    machine.writeFile(L"C:\\b\\config\\user\\platform.xml", "<user>\n");
    EXPECT_EQ(seeded("<base>\n"), "<user>\r\n");
}

TEST_F(SeedFiles, BothIdentitiesMayStandOnOneLine) {
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.id} ${jvm.feature.version} "
                     "${jvm.parent.feature.version} ${jvm.parent.feature.version}\n"),
              "JF PF 1.0 2.0 2.0\r\n");
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.id}\n", true), "<feature>\r\n");
}

TEST_F(SeedFiles, AnIdMayNameItsVersion) {
    launcher[0].value = L"JF-${jvm.feature.version}";
    EXPECT_EQ(seeded("${jvm.feature.id}\n"), "JF-1.0\r\n");
}

TEST_F(SeedFiles, AnIdMayBringInTheParents) {
    launcher[0].value = L"${jvm.parent.feature.id}";
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.version}\n"), "PF 2.0\r\n");
}

TEST_F(SeedFiles, AnEmptyValueIsAValue) {
    launcher[0].value = L"";
    launcher[1].value = L"";
    EXPECT_EQ(seeded("<${jvm.feature.id}${jvm.feature.version}>\n"), "<>\r\n");
}

TEST_F(SeedFiles, AVersionThatHoldsItsPlaceholderIsReplacedOnce) {
    launcher[1].value = L"${jvm.feature.version}1";
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.feature.version}\n"), "JF ${jvm.feature.version}1\r\n");
}

TEST_F(SeedFiles, OtherTokensStay) {
    EXPECT_EQ(seeded("${JVM.feature.id} ${jvm.feature.name} $ %s\n"),
              "${JVM.feature.id} ${jvm.feature.name} $ %s\r\n");
}

TEST_F(SeedFiles, ATemplatesBytesPassUnchanged) {
    EXPECT_EQ(seeded("<\xE9\xFF>\r\n\r\n<b>\r\n"), "<\xE9\xFF>\r\n<b>\r\n");
}

TEST_F(SeedFiles, APartialFileIsLeftAlone) {
    launcher.clear();
    EXPECT_EQ(seeded("<a>\n${jvm.feature.id}\n<b>\n"), "<a>\r\n");
    launcher = {{L"jvm.feature.id", L"JF"}, {L"jvm.feature.version", L"1"}};
    seedXml();
    EXPECT_EQ(machine.readFile(platformXml), "<a>\r\n");
    EXPECT_FALSE(isInitial);
}

TEST_F(SeedFiles, ATemplateThatIsADirectoryCannotBeOpened) {
    machine.makeDirectory(L"C:\\b\\platform.xml");
    seedXml();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(machine.exists(platformXml));
    EXPECT_TRUE(isInitial);  // by the directory
    EXPECT_TRUE(outcome.logHas("ZLNCH0104E: Unable to open platform.xml.\"C:\\b\\platform.xml\""));
}

TEST_F(SeedFiles, AFullDiskIsToldWhenTheFileIsWrittenOut) {
    simulation::Fault fault;
    fault.operation = "closeStream";
    fault.argumentEndsWith = L"platform.xml";
    fault.nth = 2;
    fault.error = platform::errorDiskFull;
    machine.inject(fault);
    seeded("<a>\n");
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0103E: Error while copying platform.xml to user specific platform.xml file."));
}

TEST_F(SeedFiles, AConfigurationThatCannotBeCopiedIsFatal) {
    machine.writeFile(L"C:\\b\\config.ini", "x");
    machine.setFreeSpace(0);
    outcome = runQuietly([&] {
        zellauncher::InstallConfiguration = kind;
        zellauncher::seedConfigIni(L"C:/c", L"C:\\b");
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_FALSE(machine.exists(configIni));
}

TEST_F(SeedFiles, AnythingOfTheNameCountsAsTheConfiguration) {
    machine.makeDirectory(configIni);
    seedIni();
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_FALSE(isInitial);
}

}  // namespace
