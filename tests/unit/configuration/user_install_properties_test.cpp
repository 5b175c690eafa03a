#include "configuration/user_install_properties.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "configuration/initial_launch.h"
#include "configuration/install_kind.h"
#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/property_lists.h"
#include "support/text.h"

namespace {

using launchertest::failing;
using launchertest::withoutKey;
using zellauncher::escapeEntry;
using zellauncher::escapeValue;
using zellauncher::PropertyList;

constexpr const wchar_t* userFile = L"C:\\ws\\.config\\zelinstall.properties";
const std::wstring newFile = std::wstring(userFile) + L".new";
constexpr const wchar_t* baseFile = L"C:\\b\\zelinstall.properties";

constexpr const char* lineNotCopied =
    "ZLNCH0001E: Error while copying base zelinstall.properties to user specific zelinstall.properties file.";
constexpr const char* blockNotWritten =
    "ZLNCH0015E: Unable to append values to user specific zelinstall.properties file.";
constexpr const char* filesNotOpened =
    "ZLNCH0074E: Unable to open user specific zelinstall.properties and temporary zelinstall.properties "
    "files.";

class UserInstallProperties : public launchertest::OnMachine {
protected:
    PropertyList launcher = {
        {L"zel.install.id", L"1"}, {L"zel.base.location", L"C:\\b"}, {L"install.configuration", L"user"}};
    launchertest::Outcome outcome;
    std::wstring path;
    bool isInitial = false;
    const std::string block =
        "zel.install.id=1\r\nzel.base.location=C\\:/b\r\ninstall.configuration=user\r\n";

    UserInstallProperties() { machine.makeDirectory(L"C:\\ws\\.config"); }

    void ensure(const std::string& base) {
        machine.writeFile(baseFile, base);
        outcome = run([&] {
            zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
            path = zellauncher::ensureUserInstallProperties(L"C:/ws/.config", L"C:\\b", launcher);
            isInitial = zellauncher::initialLaunch;
        });
    }
    // The copied lines of a new user file, without the block after them.
    std::string copied(const std::string& base) {
        machine.remove(userFile);
        ensure(base);
        const std::string content = machine.readFile(userFile).value_or("(absent)");
        EXPECT_TRUE(content.ends_with(block)) << content;
        return content.substr(0, content.size() - block.size());
    }
};

TEST_F(UserInstallProperties, AreMadeOnlyOnce) {
    ensure("a=1\r\n");
    EXPECT_EQ(path, userFile);
    EXPECT_TRUE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n" + block);
    EXPECT_FALSE(machine.exists(newFile));
    machine.writeFile(userFile, "mine");
    ensure("a=2\r\n");
    EXPECT_EQ(path, userFile);
    EXPECT_FALSE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "mine");
}

TEST_F(UserInstallProperties, SuccessLogsNothing) {
    ensure("a=1\r\nb.linux=2\r\n");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(UserInstallProperties, BlockHasWhatTheLauncherKnows) {
    launcher = {{L"zel.install.id", L"1"},
                {L"jvm.location", L"C:\\j\\java.exe"},
                {L"zel.base.location", L"${zel.home}/base"},
                {L"install.configuration", L"userpb"},
                {L"com.mivel.zel.core.locale", L"de"},
                {L"com.mivel.zel.core.bidi", L""}};
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=1\r\nvm=C\\:/j/java.exe\r\nzel.base.location=${zel.home}/base\r\n"
              "install.configuration=userpb\r\ncom.mivel.zel.core.locale=de\r\ncom.mivel.zel.core.bidi=\r\n");
}

TEST_F(UserInstallProperties, EmptyJvmIsOmitted) {
    launcher.push_back({L"jvm.location", L""});
    EXPECT_EQ(copied("a=1\r\n"), "a=1\r\n");
}

TEST_F(UserInstallProperties, MissingRequiredKeyIsFatal) {
    for (const wchar_t* key : {L"zel.install.id", L"zel.base.location", L"install.configuration"}) {
        SCOPED_TRACE(launchertest::toUtf8(key));
        const PropertyList whole = launcher;
        launcher = withoutKey(whole, key);
        machine.remove(userFile);
        machine.remove(newFile);
        ensure("a=1\r\n");
        outcome.expectFatal(
            "ZLNCH0008E: Unable to calculate necessary values for user specific zelinstall.properties file.");
        // The plain copy stays, and the next start repairs it.
        EXPECT_EQ(machine.readFile(userFile), "a=1\r\n");
        EXPECT_TRUE(machine.exists(newFile));
        launcher = whole;
    }
}

TEST_F(UserInstallProperties, LinesOfOtherSystemsAreDropped) {
    EXPECT_EQ(copied("a.linux=1\\\r\n2\r\nb=3\r\n"), "b=3\r\n");
    EXPECT_EQ(copied("a.win32=1\r\nb.macosx=2\r\n"), "a=1\r\n");
    EXPECT_EQ(copied("a.linux=1\\\r\n2\\\r\n3\r\nb=4\r\n"), "b=4\r\n");
    EXPECT_EQ(copied("a.linux=1\r\nb.macosx=2\r\nc=3\r\n"), "c=3\r\n");
}

TEST_F(UserInstallProperties, ContinuationsStayWithTheirLine) {
    EXPECT_EQ(copied("a=1\\\r\n#x\r\nb=2\r\n"), "a=1\\\r\n#x\r\nb=2\r\n");
    EXPECT_EQ(copied("a=1\\\r\nb.linux=2\r\nc.linux=3\r\n"), "a=1\\\r\nb.linux=2\r\n");
    EXPECT_EQ(copied("a=1\\\r\n2\\\r\nb.linux=3\r\n"), "a=1\\\r\n2\\\r\nb.linux=3\r\n");
    // The continuation is recognized before the qualifier is removed.
    EXPECT_EQ(copied("a.win32\\\r\nb.linux=1\r\n"), "a\r\nb.linux=1\r\n");
}

TEST_F(UserInstallProperties, CommentsDoNotContinue) {
    EXPECT_EQ(copied("# c\\\r\na.linux=1\r\n! d\\\r\nb=2\r\n"), "# c\\\r\n! d\\\r\nb=2\r\n");
    EXPECT_EQ(copied("! d\\\r\na.linux=1\r\n!b.linux=2\r\n"), "! d\\\r\n!b.linux=2\r\n");
    EXPECT_EQ(copied("  # c.linux=1\r\nb=2\r\n"), "# c.linux=1\r\nb=2\r\n");
}

TEST_F(UserInstallProperties, BlankLinesAndIndentationAreDropped) {
    EXPECT_EQ(copied("  a=1\r\n\r\n   b=2\r\n"), "a=1\r\nb=2\r\n");
    EXPECT_EQ(copied("\r\n\r\na=1\r\n"), "a=1\r\n");
    EXPECT_EQ(copied("\r\n"), "");
}

TEST_F(UserInstallProperties, LongLineIsBrokenInTwo) {
    EXPECT_EQ(copied("a=" + std::string(2022, 'x') + "yz\r\n"), "a=" + std::string(2022, 'x') + "\r\nyz\r\n");
}

TEST_F(UserInstallProperties, BytesAreCopiedUnchanged) {
    EXPECT_EQ(copied("k\xE9y=\xA0\xFF\r\n"), "k\xE9y=\xA0\xFF\r\n");
}

TEST_F(UserInstallProperties, PercentSignInTheBlockIsAConversion) {
    launcher.setValue(0, L"50%% %s%d|%ls");
    ensure("");
    EXPECT_EQ(machine.readFile(userFile)->substr(0, 26), "zel.install.id=50% |\r\nzel.");
}

TEST_F(UserInstallProperties, PercentSignEndingAValueSparesTheNextLine) {
    launcher.setValue(0, L"50%");
    launcher.push_back({L"com.mivel.zel.core.locale", L"de%0"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=50\r\nzel.base.location=C\\:/b\r\ninstall.configuration=user\r\n"
              "com.mivel.zel.core.locale=de\r\n");
}

TEST_F(UserInstallProperties, PathsInTheBlockAreFormats) {
    launcher.setValue(1, L"C:\\100%%\\b");
    launcher.push_back({L"jvm.location", L"C:\\%s\\\u65e5\u00e9.exe"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=1\r\nvm=C\\:/"
              "/\\u65e5\\u00e9.exe\r\nzel.base.location=C\\:/100%/b\r\n"
              "install.configuration=user\r\n");
}

TEST_F(UserInstallProperties, FirstEntryOfAKeyIsUsed) {
    launcher.push_back({L"zel.install.id", L"2"});
    launcher.push_back({L"jvm.location", L"a"});
    launcher.push_back({L"jvm.location", L"b"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=1\r\nvm=a\r\nzel.base.location=C\\:/b\r\ninstall.configuration=user\r\n");
}

TEST_F(UserInstallProperties, KeysOfTheBaseFileComeFirst) {
    EXPECT_EQ(copied("zel.install.id=base\r\nvm=base"), "zel.install.id=base\r\nvm=base\r\n");
}

TEST_F(UserInstallProperties, BaseFileOfTheKindIsUsed) {
    machine.writeFile(L"C:\\b\\config\\user\\zelinstall.properties", "kind=1\r\n");
    EXPECT_EQ(copied("a=1\r\n"), "kind=1\r\n");
}

TEST_F(UserInstallProperties, PieceOfALongLineIsALine) {
    // The first piece ends in a backslash, so the second one continues it.
    EXPECT_EQ(copied("a=" + std::string(2021, 'x') + "\\b.linux=1\r\n"),
              "a=" + std::string(2021, 'x') + "\\\r\nb.linux=1\r\n");
    EXPECT_EQ(copied("a=" + std::string(2022, 'x') + "b.linux=1\r\n"),
              "a=" + std::string(2022, 'x') + "\r\n");
}

TEST_F(UserInstallProperties, EntryAfterADroppedOneIsJudgedByItself) {
    EXPECT_EQ(copied("a.linux=1\\\r\n2\r\nb.macosx=3\r\n#c\r\nd=4\r\n"), "#c\r\nd=4\r\n");
    EXPECT_EQ(copied("a.linux=1\\\r\n#2\r\nb=3\r\n"), "b=3\r\n");
    EXPECT_EQ(copied("a=1\\\r\n2\r\nb.linux=3\r\n"), "a=1\\\r\n2\r\n");
}

TEST_F(UserInstallProperties, CtrlZEndsTheFileAndNulTheLine) {
    EXPECT_EQ(copied("a=1\r\n\x1A"
                     "b=2\r\n"),
              "a=1\r\n");
    EXPECT_EQ(copied(std::string("a=1\0junk\r\nb=2\r\n", 15)), "a=1\r\nb=2\r\n");
}

TEST_F(UserInstallProperties, ResultIsZeroOnlyIfBothFilesOpened) {
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        EXPECT_EQ(
            zellauncher::writeUserInstallProperties(L"C:/ws/.config/zelinstall.properties",
                                                    L"C:/ws/.config/zelinstall.properties.new", launcher),
            0);
        EXPECT_FALSE(zellauncher::initialLaunch);
    });
    EXPECT_EQ(machine.readFile(newFile), "a=1\r\n" + block);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n");
    machine.remove(userFile);
    outcome =
        run([&] { EXPECT_EQ(zellauncher::writeUserInstallProperties(userFile, newFile, launcher), -1); });
    EXPECT_TRUE(outcome.logHas(filesNotOpened));
    run([&] { EXPECT_EQ(zellauncher::writeUserInstallProperties(newFile, L"C:/none/x", launcher), -1); });
}

TEST_F(UserInstallProperties, SystemGetsPathsWithBackslashes) {
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        zellauncher::writeUserInstallProperties(L"C:/ws/.config/zelinstall.properties",
                                                L"C:/ws/.config/zelinstall.properties.new", launcher);
    });
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_EQ(operation.argument.find(L'/'), std::wstring::npos) << operation.name;
    }
}

TEST_F(UserInstallProperties, FileIsClosedIfTheOtherFailsToOpen) {
    run([&] {
        zellauncher::writeUserInstallProperties(userFile, newFile, launcher);
        EXPECT_TRUE(platform::deleteFile(newFile));
    });
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        zellauncher::writeUserInstallProperties(userFile, L"C:\\none\\x", launcher);
        EXPECT_TRUE(platform::deleteFile(userFile));
    });
}

TEST_F(UserInstallProperties, FailedFlushOfTheBlockIsLogged) {
    machine.inject(failing("flushStream", platform::errorAccessDenied, L".new"));
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(isInitial);
    EXPECT_TRUE(outcome.logHas(blockNotWritten));
}

TEST_F(UserInstallProperties, FailedReplacementLeavesTheCopyOfTheBaseFile) {
    machine.inject(failing("moveFile", platform::errorAccessDenied, L"zelinstall.properties"));
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n");
    EXPECT_EQ(machine.readFile(newFile), "a=1\r\n" + block);
}

TEST_F(UserInstallProperties, LeftoverTemporaryFileIsReplaced) {
    machine.writeFile(newFile, std::string(9000, 'x'));
    EXPECT_EQ(copied("a=1\r\n"), "a=1\r\n");
}

// A start that is stopped at any operation leaves what the next one can use: no file, the plain copy,
// which the next start finds incomplete, or the complete file.
TEST_F(UserInstallProperties, ProcessStoppedAnywhereLeavesNoPartialFile) {
    const std::string base = "a=1\r\nb.linux=2\r\n";
    const std::string whole = "a=1\r\n" + block;
    bool isStopped = true;
    int stops = 0;
    for (std::uint64_t nth = 1; isStopped; ++nth) {
        machine.remove(L"C:\\ws\\.config");
        machine.makeDirectory(L"C:\\ws\\.config");
        machine.stopDeadAt(nth);
        ensure(base);
        machine.stopDeadAt(0);
        isStopped = outcome.processEnd().kind == simulation::EndKind::stoppedDead;
        stops += isStopped ? 1 : 0;
        const std::string left = machine.readFile(userFile).value_or(base);
        EXPECT_TRUE(left == base || left == whole) << "operation " << nth << ": " << left;
        ensure(base);
        EXPECT_EQ(outcome.processEnd().status, 0U);
        const std::string next = machine.readFile(userFile).value_or("(absent)");
        EXPECT_TRUE(next == base || next == whole) << "operation " << nth << ": " << next;
    }
    EXPECT_GT(stops, 10);
    EXPECT_EQ(machine.readFile(userFile), whole);
}

TEST_F(UserInstallProperties, NewFileSurvivesAPowerLoss) {
    ensure("a=1\r\n");
    const auto content = machine.readFile(userFile);
    ASSERT_TRUE(content);
    machine.losePower();
    EXPECT_EQ(machine.readFile(userFile), content);
}

TEST_F(UserInstallProperties, MissingBaseFileIsFatal) {
    outcome = run([&] {
        zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
        zellauncher::ensureUserInstallProperties(L"C:/ws/.config", L"C:\\b", launcher);
    });
    outcome.expectFatal("ZLNCH0022E: Unable to copy zelinstall.properties to the user directory.");
}

TEST_F(UserInstallProperties, FailedOpenIsLogged) {
    machine.inject(failing("openStream", platform::errorAccessDenied, L".new"));
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.logHas(filesNotOpened));
}

TEST_F(UserInstallProperties, FailedWriteIsLogged) {
    machine.inject(failing("writeStream", platform::errorAccessDenied, L".new"));
    ensure("a=1\r\nb=2\r\n");
    EXPECT_TRUE(outcome.logHas(lineNotCopied));
    EXPECT_EQ(machine.readFile(userFile), "b=2\r\n" + block);
    machine.remove(userFile);
    machine.clearFaults();
    machine.inject(failing("writeStream", platform::errorAccessDenied, L".new", 2));
    ensure("a=1\r\n");
    EXPECT_TRUE(outcome.logHas(blockNotWritten));
}

TEST_F(UserInstallProperties, CharacterAbove255IsNotWritten) {
    launcher.setValue(0, L"\u0410");
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.logHas(blockNotWritten));
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\nzel.install.id=");
}

TEST(Escaping, ValuesArePlainAscii) {
    EXPECT_EQ(escapeValue(L"a b#!=:\\\t\x7F\u00E9\uFFFF${}"),
              L"a b\\#\\!\\=\\:\\\\\\u0009\\u007f\\u00e9\\uffff${}");
}

TEST(Escaping, FirstAndLastPlainCharacterAreKept) {
    EXPECT_EQ(escapeValue(L"\x1F ~\x7F"), L"\\u001f ~\\u007f");
}

TEST(Escaping, EntriesEscapeTheBlanksOfTheirKey) {
    EXPECT_EQ(escapeEntry(L"a b=", L"c d"), L"a\\ b\\==c d");
    EXPECT_EQ(escapeEntry(L"", L"v"), L"=v");
}

}  // namespace
