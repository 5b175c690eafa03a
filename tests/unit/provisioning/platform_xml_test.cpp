#include "provisioning/platform_xml.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "configuration/initial_launch.h"
#include "configuration/install_kind.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"
#include "support/property_lists.h"

namespace {

using launchertest::failing;
using launchertest::withoutKey;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

constexpr const wchar_t* baseTemplate = L"C:\\b\\platform.xml";
constexpr const wchar_t* updateDirectory = L"C:\\c\\org.eclipse.update";
constexpr const wchar_t* platformXml = L"C:\\c\\org.eclipse.update\\platform.xml";
constexpr const char* writeFailure =
    "ZLNCH0103E: Error while copying platform.xml to user specific platform.xml file.";

class PlatformXml : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"jvm.feature.id", L"JF"},
                             {L"jvm.feature.version", L"1.0"},
                             {L"jvm.parent.feature.id", L"PF"},
                             {L"jvm.parent.feature.version", L"2.0"}};
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    launchertest::Outcome outcome;
    bool isJvmExternal = false;
    bool isInitial = false;  // initialLaunch after the seeding
    int result = 77;

    PlatformXml() { machine.makeDirectory(L"C:\\c"); }

    void seed() {
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            result = zellauncher::seedPlatformXml(L"C:/c", L"C:\\b", launcher, isJvmExternal);
            isInitial = zellauncher::initialLaunch;
        });
    }
    // The user's file that is made from a template of this content.
    std::string seeded(const std::string& content) {
        machine.remove(platformXml);
        machine.writeFile(baseTemplate, content);
        seed();
        EXPECT_EQ(result, 0);
        EXPECT_TRUE(isInitial);
        return machine.readFile(platformXml).value_or("(absent)");
    }
};

TEST_F(PlatformXml, FeatureOfTheJvmIsFilledIn) {
    EXPECT_EQ(seeded("<f id=\"${jvm.feature.id}\" version=\"${jvm.feature.version}\"/>${jvm.feature.id}\n"
                     "<p id=\"${jvm.parent.feature.id}\" v=\"${jvm.parent.feature.version}\"/>\n"),
              "<f id=\"JF\" version=\"1.0\"/>JF\r\n<p id=\"PF\" v=\"2.0\"/>\r\n");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(PlatformXml, FileIsFlushed) {
    seeded("<a>\n");
    EXPECT_EQ(launchertest::callsOf(machine, "flushFile", L"\\platform.xml").size(), 1U);
}

TEST_F(PlatformXml, VersionNeedsItsIdOnTheSameLine) {
    EXPECT_EQ(seeded("${jvm.feature.version} ${jvm.parent.feature.version}\n"),
              "${jvm.feature.version} ${jvm.parent.feature.version}\r\n");
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.version}\n"),
              "JF ${jvm.parent.feature.version}\r\n");
}

TEST_F(PlatformXml, ExternalJvmReplacesTheLine) {
    isJvmExternal = true;
    EXPECT_EQ(seeded("<a>\n<f id=\"${jvm.feature.id}\" version=\"${jvm.feature.version}\"/>\n"
                     "<p id=\"${jvm.parent.feature.id}\"/>\n</a>\n"),
              "<a>\r\n<feature>\r\n<feature>\r\n</a>\r\n");
    launcher.clear();
    EXPECT_EQ(seeded("${jvm.feature.id}\n"), "<feature>\r\n");
}

TEST_F(PlatformXml, PlaceholderThatAValueCompletesIsReplacedToo) {
    launcher.setValue(0, L"${jvm.feature");
    EXPECT_EQ(seeded("<${jvm.feature.id}.id}.id}>\n"), "<${jvm.feature>\r\n");
    launcher.setValue(0, L".id}");
    EXPECT_EQ(seeded("<${jvm.feature${jvm.feature${jvm.feature.id}>\n"), "<.id}>\r\n");
}

TEST_F(PlatformXml, EveryPlaceholderThatALineHoldsIsReplaced) {
    std::string line;
    std::string expected;
    for (; line.size() + 17 <= 2024; line += "${jvm.feature.id}") {
        expected += "JF";
    }
    EXPECT_EQ(seeded(line + "\n"), expected + "\r\n");
}

// Replacing it would never end.
TEST_F(PlatformXml, PlaceholderThatItsValueContainsStays) {
    launcher.setValue(0, L"<${jvm.feature.id}>");
    EXPECT_EQ(seeded("${jvm.feature.id}${jvm.feature.id} ${jvm.feature.version}\n"),
              "${jvm.feature.id}${jvm.feature.id} 1.0\r\n");
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the value of ${jvm.feature.id} contains its placeholder, so the placeholder stays"));
}

TEST_F(PlatformXml, PlaceholderWhoseValueGrowsWithoutEndStays) {
    launcher.setValue(0, L".id}.id}${jvm.feature");
    std::string line;
    for (int i = 0; i < 60; ++i) {
        line += "${jvm.feature";
    }
    line += ".id}";
    EXPECT_EQ(seeded(line + "\n"), line + "\r\n");
    EXPECT_LE(outcome.log.size(), 1000U);
}

// Each replacement completes the next placeholder and shortens the line.
TEST_F(PlatformXml, ThousandReplacementsInALineAreTheMost) {
    launcher.setValue(0, L"{jvm.feature.id}");
    EXPECT_EQ(seeded(std::string(1000, '$') + "{jvm.feature.id}\n"), "{jvm.feature.id}\r\n");
    const std::string longer = std::string(1001, '$') + "{jvm.feature.id}";
    EXPECT_EQ(seeded(longer + "\n"), longer + "\r\n");
}

TEST_F(PlatformXml, LinesAfterTheFirstLoseIndentationAndBlankLines) {
    EXPECT_EQ(seeded("  <a>\n\n    <b>\n"), "  <a>\r\n<b>\r\n");
    EXPECT_EQ(seeded("\n\n<a>\n"), "<a>\r\n");
    EXPECT_EQ(seeded(""), "");
    EXPECT_EQ(seeded("<a>"), "<a>\r\n");
    EXPECT_EQ(seeded(std::string(2025, 'x') + "\n"), std::string(2024, 'x') + "\r\nx\r\n");
}

TEST_F(PlatformXml, ExistingFileIsNotChanged) {
    machine.writeFile(platformXml, "mine");
    seed();
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(isInitial);
    EXPECT_EQ(machine.readFile(platformXml), "mine");
}

TEST_F(PlatformXml, UserpbHasNoUpdateDirectory) {
    kind = InstallConfigurationKind::userpb;
    seed();
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(machine.exists(updateDirectory));
}

TEST_F(PlatformXml, UnmanagedUpdatesCreateOnlyTheDirectory) {
    machine.writeFile(baseTemplate, "<a>\n");
    launcher.push_back({L"update.policy.managed", L"false"});
    seed();
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(machine.isDirectory(updateDirectory));
    EXPECT_FALSE(machine.exists(platformXml));
    EXPECT_TRUE(isInitial);  // because the directory is new
    seed();
    EXPECT_FALSE(isInitial);
    launcher.setValue(launcher.size() - 1, L"False");
    seed();
    EXPECT_TRUE(machine.exists(platformXml));
}

TEST_F(PlatformXml, FailureToCreateTheDirectoryIsFatal) {
    machine.writeFile(updateDirectory, "");
    seed();
    outcome.expectFatal("ZLNCH0039E: Unable to create C:\\c\\org.eclipse.update directory.");
}

TEST_F(PlatformXml, UnopenableFilesAreLogged) {
    machine.makeDirectory(updateDirectory);
    seed();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(isInitial);
    EXPECT_TRUE(outcome.logHas("ZLNCH0104E: Unable to open platform.xml.\"C:\\b\\platform.xml\""));
    machine.writeFile(baseTemplate, "<a>\n");
    machine.refuse(updateDirectory, platform::errorAccessDenied);
    seed();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(isInitial);
    EXPECT_TRUE(outcome.logHas(
        "ZLNCH0139E: Unable to open platform.xml for writing.\"C:\\c\\org.eclipse.update\\platform.xml\""));
    // The template, which could be opened.
    EXPECT_EQ(launchertest::callsOf(machine, "closeStream", L"platform.xml").size(), 1U);
}

TEST_F(PlatformXml, MissingValueStopsTheCopy) {
    struct Case {
        const wchar_t* missingKey;
        const char* content;
        const char* message;
    };
    constexpr const char* jvm = "<a>\n${jvm.feature.id}\n<b>\n";
    constexpr const char* parent = "<a>\n${jvm.parent.feature.id}\n<b>\n";
    constexpr const char* jvmMessage =
        "ZLNCH0101E: Error while copying platform.xml to user specific platform.xml file.";
    constexpr const char* parentMessage =
        "ZLNCH0102E: Error while copying platform.xml to user specific platform.xml file.";
    const PropertyList whole = launcher;
    for (const Case& each : {Case{L"jvm.feature.id", jvm, jvmMessage},
                             {L"jvm.feature.version", jvm, jvmMessage},
                             {L"jvm.parent.feature.id", parent, parentMessage},
                             {L"jvm.parent.feature.version", parent, parentMessage}}) {
        launcher = withoutKey(whole, each.missingKey);
        EXPECT_EQ(seeded(each.content), "<a>\r\n") << each.message;
        EXPECT_TRUE(outcome.logHas(each.message)) << outcome.log;
    }
}

TEST_F(PlatformXml, FailedWriteStopsTheCopy) {
    machine.inject(failing("writeStream", platform::errorAccessDenied, L"platform.xml", 2));
    EXPECT_EQ(seeded("<a>\n<b>\n<c>\n"), "<a>\r\n");
    EXPECT_TRUE(outcome.logHas(writeFailure));
    machine.clearFaults();
    launcher.setValue(0, L"\u0410");  // no byte of the file can hold it
    EXPECT_EQ(seeded("<a>\n${jvm.feature.id}\n<c>\n"), "<a>\r\n");
    EXPECT_TRUE(outcome.logHas(writeFailure));
}

TEST_F(PlatformXml, OtherKindsHaveTheFile) {
    for (const int number : {1, 2, 3, 4, 5, 6, 7}) {
        kind = static_cast<InstallConfigurationKind>(number);
        EXPECT_EQ(seeded("<a>\n"), "<a>\r\n") << number;
    }
}

TEST_F(PlatformXml, TemplateOfTheKindWins) {
    machine.writeFile(L"C:\\b\\config\\user\\platform.xml", "<user>\n");
    EXPECT_EQ(seeded("<base>\n"), "<user>\r\n");
}

TEST_F(PlatformXml, OneLineMayNameBothFeatures) {
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.id} ${jvm.feature.version} "
                     "${jvm.parent.feature.version} ${jvm.parent.feature.version}\n"),
              "JF PF 1.0 2.0 2.0\r\n");
    isJvmExternal = true;
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.id}\n"), "<feature>\r\n");
}

TEST_F(PlatformXml, IdMayContainTheVersionPlaceholder) {
    launcher.setValue(0, L"JF-${jvm.feature.version}");
    EXPECT_EQ(seeded("${jvm.feature.id}\n"), "JF-1.0\r\n");
}

TEST_F(PlatformXml, IdMayContainTheParentsPlaceholder) {
    launcher.setValue(0, L"${jvm.parent.feature.id}");
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.parent.feature.version}\n"), "PF 2.0\r\n");
}

TEST_F(PlatformXml, EmptyValueIsUsed) {
    launcher.setValue(0, L"");
    launcher.setValue(1, L"");
    EXPECT_EQ(seeded("<${jvm.feature.id}${jvm.feature.version}>\n"), "<>\r\n");
}

TEST_F(PlatformXml, VersionPlaceholderThatItsValueContainsStays) {
    launcher.setValue(1, L"${jvm.feature.version}1");
    EXPECT_EQ(seeded("${jvm.feature.id} ${jvm.feature.version}\n"), "JF ${jvm.feature.version}\r\n");
}

TEST_F(PlatformXml, OtherTokensStay) {
    EXPECT_EQ(seeded("${JVM.feature.id} ${jvm.feature.name} $ %s\n"),
              "${JVM.feature.id} ${jvm.feature.name} $ %s\r\n");
}

TEST_F(PlatformXml, BytesOfTheTemplateStayUnchanged) {
    EXPECT_EQ(seeded("<\xE9\xFF>\r\n\r\n<b>\r\n"), "<\xE9\xFF>\r\n<b>\r\n");
}

TEST_F(PlatformXml, PartialFileIsNotCompletedLater) {
    launcher.clear();
    EXPECT_EQ(seeded("<a>\n${jvm.feature.id}\n<b>\n"), "<a>\r\n");
    launcher = {{L"jvm.feature.id", L"JF"}, {L"jvm.feature.version", L"1"}};
    seed();
    EXPECT_EQ(machine.readFile(platformXml), "<a>\r\n");
    EXPECT_FALSE(isInitial);
}

TEST_F(PlatformXml, DirectoryAsTheTemplateIsLogged) {
    machine.makeDirectory(baseTemplate);
    seed();
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(machine.exists(platformXml));
    EXPECT_TRUE(isInitial);  // because the directory is new
    EXPECT_TRUE(outcome.logHas("ZLNCH0104E: Unable to open platform.xml.\"C:\\b\\platform.xml\""));
}

TEST_F(PlatformXml, FullDiskAtTheCloseIsLogged) {
    // The first one closed is the template.
    machine.inject(failing("closeStream", platform::errorDiskFull, L"platform.xml", 2));
    seeded("<a>\n");
    EXPECT_TRUE(outcome.logHas(writeFailure));
}

}  // namespace
