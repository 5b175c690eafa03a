#include "configuration/user_install_properties.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "configuration/install_configuration.h"
#include "launch/launch_state.h"
#include "platform/files.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::PropertyList;

constexpr const wchar_t* userFile = L"C:\\ws\\.config\\zelinstall.properties";
constexpr const wchar_t* baseFile = L"C:\\b\\zelinstall.properties";

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
    void fail(const std::string& operation, const std::wstring& ending, std::uint64_t nth = 1) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = ending;
        fault.nth = nth;
        machine.inject(fault);
    }
    // The copied lines, without the block behind them.
    std::string copied(const std::string& base) {
        machine.remove(userFile);
        ensure(base);
        const std::string content = machine.readFile(userFile).value_or("(absent)");
        EXPECT_TRUE(content.ends_with(block)) << content;
        return content.substr(0, content.size() - block.size());
    }
};

TEST_F(UserInstallProperties, AreMadeOnce) {
    ensure("a=1\r\n");
    EXPECT_EQ(path, userFile);
    EXPECT_TRUE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n" + block);
    EXPECT_FALSE(machine.exists(std::wstring(userFile) + L".new"));
    machine.writeFile(userFile, "mine");
    ensure("a=2\r\n");
    EXPECT_EQ(path, userFile);
    EXPECT_FALSE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "mine");
}

TEST_F(UserInstallProperties, WhatGoesWellLeavesNoWord) {
    ensure("a=1\r\nb.linux=2\r\n");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(UserInstallProperties, TheBlockHasWhatTheLauncherKnows) {
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

TEST_F(UserInstallProperties, AnEmptyJvmIsLeftOut) {
    launcher.push_back({L"jvm.location", L""});
    EXPECT_EQ(copied("a=1\r\n"), "a=1\r\n");
}

TEST_F(UserInstallProperties, ARequiredKeyThatIsMissingIsFatal) {
    for (const wchar_t* key : {L"zel.install.id", L"zel.base.location", L"install.configuration"}) {
        const PropertyList whole = launcher;
        std::erase_if(launcher, [&](const auto& entry) { return entry.key == key; });
        machine.remove(userFile);
        machine.remove(std::wstring(userFile) + L".new");
        ensure("a=1\r\n");
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(
            outcome.lastLine(),
            "ZLNCH0008E: Unable to calculate necessary values for user specific zelinstall.properties file.");
        EXPECT_EQ(machine.readFile(userFile),
                  "a=1\r\n");  // the plain copy stays, and the next start repairs it
        EXPECT_TRUE(machine.exists(std::wstring(userFile) + L".new"));
        launcher = whole;
    }
}

TEST_F(UserInstallProperties, LinesOfOtherSystemsFallAway) {
    EXPECT_EQ(copied("a.linux=1\\\r\n2\r\nb=3\r\n"), "b=3\r\n");
    EXPECT_EQ(copied("a.win32=1\r\nb.macosx=2\r\n"), "a=1\r\n");
    EXPECT_EQ(copied("a.linux=1\\\r\n2\\\r\n3\r\nb=4\r\n"), "b=4\r\n");
    EXPECT_EQ(copied("a.linux=1\r\nb.macosx=2\r\nc=3\r\n"), "c=3\r\n");
}

TEST_F(UserInstallProperties, ContinuationsStayWithTheirLine) {
    EXPECT_EQ(copied("a=1\\\r\n#x\r\nb=2\r\n"), "a=1\\\r\n#x\r\nb=2\r\n");
    EXPECT_EQ(copied("a=1\\\r\nb.linux=2\r\nc.linux=3\r\n"), "a=1\\\r\nb.linux=2\r\n");
    EXPECT_EQ(copied("a=1\\\r\n2\\\r\nb.linux=3\r\n"), "a=1\\\r\n2\\\r\nb.linux=3\r\n");
    // Judged before the qualifier goes.
    EXPECT_EQ(copied("a.win32\\\r\nb.linux=1\r\n"), "a\r\nb.linux=1\r\n");
}

TEST_F(UserInstallProperties, ACommentDoesNotContinue) {
    EXPECT_EQ(copied("# c\\\r\na.linux=1\r\n! d\\\r\nb=2\r\n"), "# c\\\r\n! d\\\r\nb=2\r\n");
    EXPECT_EQ(copied("! d\\\r\na.linux=1\r\n!b.linux=2\r\n"), "! d\\\r\n!b.linux=2\r\n");
    EXPECT_EQ(copied("  # c.linux=1\r\nb=2\r\n"), "# c.linux=1\r\nb=2\r\n");
}

TEST_F(UserInstallProperties, BlankLinesAndIndentationVanish) {
    EXPECT_EQ(copied("  a=1\r\n\r\n   b=2\r\n"), "a=1\r\nb=2\r\n");
    EXPECT_EQ(copied("\r\n\r\na=1\r\n"), "a=1\r\n");
    EXPECT_EQ(copied("\r\n"), "");
}

TEST_F(UserInstallProperties, ALongLineIsBrokenInTwo) {
    EXPECT_EQ(copied("a=" + std::string(2022, 'x') + "yz\r\n"), "a=" + std::string(2022, 'x') + "\r\nyz\r\n");
}

TEST_F(UserInstallProperties, BytesPassUnchanged) {
    EXPECT_EQ(copied("k\xE9y=\xA0\xFF\r\n"), "k\xE9y=\xA0\xFF\r\n");
}

TEST_F(UserInstallProperties, APerCentSignInTheBlockIsAConversion) {
    launcher[0].value = L"50%% %s%d|%ls";
    ensure("");
    EXPECT_EQ(machine.readFile(userFile)->substr(0, 26), "zel.install.id=50% |\r\nzel.");
}

TEST_F(UserInstallProperties, APerCentSignAtTheEndOfAValueLeavesTheNextLineWhole) {
    launcher[0].value = L"50%";
    launcher.push_back({L"com.mivel.zel.core.locale", L"de%0"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=50\r\nzel.base.location=C\\:/b\r\ninstall.configuration=user\r\n"
              "com.mivel.zel.core.locale=de\r\n");
}

TEST_F(UserInstallProperties, PathsInTheBlockAreFormatsToo) {
    launcher[1].value = L"C:\\100%%\\b";
    launcher.push_back({L"jvm.location", L"C:\\%s\\\u65e5\u00e9.exe"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=1\r\nvm=C\\:/"
              "/\\u65e5\\u00e9.exe\r\nzel.base.location=C\\:/100%/b\r\n"
              "install.configuration=user\r\n");
}

TEST_F(UserInstallProperties, TheFirstEntryOfAKeyIsTaken) {
    launcher.push_back({L"zel.install.id", L"2"});
    launcher.push_back({L"jvm.location", L"a"});
    launcher.push_back({L"jvm.location", L"b"});
    ensure("");
    EXPECT_EQ(machine.readFile(userFile),
              "zel.install.id=1\r\nvm=a\r\nzel.base.location=C\\:/b\r\ninstall.configuration=user\r\n");
}

TEST_F(UserInstallProperties, AKeyOfTheBaseFileStaysInFront) {
    EXPECT_EQ(copied("zel.install.id=base\r\nvm=base"), "zel.install.id=base\r\nvm=base\r\n");
}

TEST_F(UserInstallProperties, TheBaseFileOfTheKindIsTaken) {
    machine.writeFile(L"C:\\b\\config\\user\\zelinstall.properties", "kind=1\r\n");
    EXPECT_EQ(copied("a=1\r\n"), "kind=1\r\n");
}

TEST_F(UserInstallProperties, APieceOfALongLineIsALineOfItsOwn) {
    // The first piece ends in a backslash and so the second one belongs to it.
    EXPECT_EQ(copied("a=" + std::string(2021, 'x') + "\\b.linux=1\r\n"),
              "a=" + std::string(2021, 'x') + "\\\r\nb.linux=1\r\n");
    EXPECT_EQ(copied("a=" + std::string(2022, 'x') + "b.linux=1\r\n"),
              "a=" + std::string(2022, 'x') + "\r\n");
}

TEST_F(UserInstallProperties, AfterADroppedEntryTheNextOneIsJudgedByItself) {
    EXPECT_EQ(copied("a.linux=1\\\r\n2\r\nb.macosx=3\r\n#c\r\nd=4\r\n"), "#c\r\nd=4\r\n");
    EXPECT_EQ(copied("a.linux=1\\\r\n#2\r\nb=3\r\n"), "b=3\r\n");
    EXPECT_EQ(copied("a=1\\\r\n2\r\nb.linux=3\r\n"), "a=1\\\r\n2\r\n");
}

TEST_F(UserInstallProperties, ACtrlZAndANulEndWhatIsRead) {
    EXPECT_EQ(copied("a=1\r\n\x1A"
                     "b=2\r\n"),
              "a=1\r\n");
    EXPECT_EQ(copied(std::string("a=1\0junk\r\nb=2\r\n", 15)), "a=1\r\nb=2\r\n");
}

TEST_F(UserInstallProperties, TheResultTellsWhetherTheFilesOpened) {
    const std::wstring target = std::wstring(userFile) + L".new";
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        EXPECT_EQ(
            zellauncher::writeUserInstallProperties(L"C:/ws/.config/zelinstall.properties",
                                                    L"C:/ws/.config/zelinstall.properties.new", launcher),
            0);
        EXPECT_FALSE(zellauncher::initialLaunch);
    });
    EXPECT_EQ(machine.readFile(target), "a=1\r\n" + block);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n");
    machine.remove(userFile);
    outcome =
        run([&] { EXPECT_EQ(zellauncher::writeUserInstallProperties(userFile, target, launcher), -1); });
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0074E: Unable to open user specific zelinstall.properties and temporary "
                       "zelinstall.properties files."));
    run([&] { EXPECT_EQ(zellauncher::writeUserInstallProperties(target, L"C:/none/x", launcher), -1); });
}

TEST_F(UserInstallProperties, TheSystemIsAskedForPathsWithBackslashes) {
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        zellauncher::writeUserInstallProperties(L"C:/ws/.config/zelinstall.properties",
                                                L"C:/ws/.config/zelinstall.properties.new", launcher);
    });
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_EQ(operation.argument.find(L'/'), std::wstring::npos) << operation.name;
    }
}

TEST_F(UserInstallProperties, AFileThatOpenedBesideOneThatDidNotIsGivenBack) {
    const std::wstring target = std::wstring(userFile) + L".new";
    run([&] {
        zellauncher::writeUserInstallProperties(userFile, target, launcher);
        EXPECT_TRUE(platform::deleteFile(target));
    });
    machine.writeFile(userFile, "a=1\r\n");
    run([&] {
        zellauncher::writeUserInstallProperties(userFile, L"C:\\none\\x", launcher);
        EXPECT_TRUE(platform::deleteFile(userFile));
    });
}

TEST_F(UserInstallProperties, AFullDiskIsToldWhenTheBlockIsWrittenOut) {
    fail("flushStream", L".new");
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(isInitial);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0015E: Unable to append values to user specific zelinstall.properties file."));
}

TEST_F(UserInstallProperties, AReplacementThatFailsLeavesTheCopyOfTheBaseFile) {
    fail("moveFile", L"zelinstall.properties");
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(isInitial);
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\n");
    EXPECT_EQ(machine.readFile(std::wstring(userFile) + L".new"), "a=1\r\n" + block);
}

TEST_F(UserInstallProperties, AnEarlierTemporaryFileIsNoObstacle) {
    machine.writeFile(std::wstring(userFile) + L".new", std::string(9000, 'x'));
    EXPECT_EQ(copied("a=1\r\n"), "a=1\r\n");
}

// A start that dies at any moment leaves a file that the next one can work with: none, the plain copy
// that the check of the start finds incomplete, or the whole file. Never a piece of one.
TEST_F(UserInstallProperties, ADeathAtAnyMomentLeavesNoPieceOfAFile) {
    const std::string base = "a=1\r\nb.linux=2\r\n";
    const std::string whole = "a=1\r\n" + block;
    bool isDead = true;
    int deaths = 0;
    for (std::uint64_t nth = 1; isDead; ++nth) {
        machine.remove(L"C:\\ws\\.config");
        machine.makeDirectory(L"C:\\ws\\.config");
        machine.stopDeadAt(nth);
        ensure(base);
        machine.stopDeadAt(0);
        isDead = outcome.end.kind == simulation::EndKind::stoppedDead;
        deaths += isDead ? 1 : 0;
        const std::string left = machine.readFile(userFile).value_or(base);
        EXPECT_TRUE(left == base || left == whole) << nth << ": " << left;
        ensure(base);
        EXPECT_EQ(outcome.end.status, 0U);
        const std::string next = machine.readFile(userFile).value_or("(absent)");
        EXPECT_TRUE(next == base || next == whole) << nth << ": " << next;
    }
    EXPECT_GT(deaths, 10);
    EXPECT_EQ(machine.readFile(userFile), whole);
}

TEST_F(UserInstallProperties, AMissingBaseFileIsFatal) {
    outcome = run([&] {
        zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
        zellauncher::ensureUserInstallProperties(L"C:/ws/.config", L"C:\\b", launcher);
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0022E: Unable to copy zelinstall.properties to the user directory.");
}

TEST_F(UserInstallProperties, AStreamThatCannotBeOpenedIsTold) {
    fail("openStream", L".new");
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0074E: Unable to open user specific zelinstall.properties and temporary "
                       "zelinstall.properties files."));
}

TEST_F(UserInstallProperties, ALineOrABlockThatCannotBeWrittenIsTold) {
    fail("writeStream", L".new");
    ensure("a=1\r\nb=2\r\n");
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0001E: Error while copying base zelinstall.properties to user specific "
                       "zelinstall.properties file."));
    EXPECT_EQ(machine.readFile(userFile), "b=2\r\n" + block);
    machine.remove(userFile);
    machine.clearFaults();
    fail("writeStream", L".new", 2);
    ensure("a=1\r\n");
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0015E: Unable to append values to user specific zelinstall.properties file."));
}

TEST_F(UserInstallProperties, ACharacterOutsideTheFilesBytesCannotBeWritten) {
    launcher[0].value = L"\u0410";
    ensure("a=1\r\n");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0015E: Unable to append values to user specific zelinstall.properties file."));
    EXPECT_EQ(machine.readFile(userFile), "a=1\r\nzel.install.id=");
}

TEST(Escaping, ValuesArePlainAscii) {
    std::wstring out = L"x";
    zellauncher::escapeValue(L"a b#!=:\\\t\x7F\u00E9\uFFFF${}", out);
    EXPECT_EQ(out, L"xa b\\#\\!\\=\\:\\\\\\u0009\\u007f\\u00e9\\uffff${}");
}

TEST(Escaping, TheFirstAndTheLastPlainCharacterStay) {
    std::wstring out;
    zellauncher::escapeValue(L"\x1F ~\x7F", out);
    EXPECT_EQ(out, L"\\u001f ~\\u007f");
}

TEST(Escaping, EntriesEscapeTheBlanksOfTheirKey) {
    std::wstring out;
    zellauncher::escapeEntry(L"a b=", L"c d", out);
    EXPECT_EQ(out, L"a\\ b\\==c d");
    out.clear();
    zellauncher::escapeEntry(L"", L"v", out);
    EXPECT_EQ(out, L"=v");
}

}  // namespace
