#include "configuration/user_install_properties.h"

#include <gtest/gtest.h>

#include "configuration/install_configuration.h"
#include "launch/launch_state.h"
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
}

TEST_F(UserInstallProperties, ContinuationsStayWithTheirLine) {
    EXPECT_EQ(copied("a=1\\\r\n#x\r\nb=2\r\n"), "a=1\\\r\n#x\r\nb=2\r\n");
    EXPECT_EQ(copied("a=1\\\r\nb.linux=2\r\nc.linux=3\r\n"), "a=1\\\r\nb.linux=2\r\n");
    // Judged before the qualifier goes.
    EXPECT_EQ(copied("a.win32\\\r\nb.linux=1\r\n"), "a\r\nb.linux=1\r\n");
}

TEST_F(UserInstallProperties, ACommentDoesNotContinue) {
    EXPECT_EQ(copied("# c\\\r\na.linux=1\r\n! d\\\r\nb=2\r\n"), "# c\\\r\n! d\\\r\nb=2\r\n");
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

TEST(Escaping, EntriesEscapeTheBlanksOfTheirKey) {
    std::wstring out;
    zellauncher::escapeEntry(L"a b=", L"c d", out);
    EXPECT_EQ(out, L"a\\ b\\==c d");
    out.clear();
    zellauncher::escapeEntry(L"", L"v", out);
    EXPECT_EQ(out, L"=v");
}

}  // namespace
