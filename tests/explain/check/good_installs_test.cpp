#include <gtest/gtest.h>

#include <sstream>
#include <variant>

#include "explain/catalogue.h"
#include "explain/check/check.h"
#include "explain/check/check_command.h"
#include "explain/check/example_install.h"
#include "explain/check/findings_writer.h"
#include "explain/command_line.h"
#include "explain/start.h"
#include "explain/text_writer.h"

// Installs without a mistake: a false alarm makes people switch a check off.
namespace {

using explaintest::ExampleInstall;

constexpr const char* launcherFile = "zel/zellauncher.properties";
constexpr const char* templateFile = "zel/eclipse/plugins/base_1.0/zelinstall.properties";
constexpr const char* jvmFile = "zel/deploy/jvm.properties";

explain::StartOptions optionsFor(const ExampleInstall& install) {
    const auto request = explain::readCommandLine({"start", install.path()});
    return std::get<explain::StartOptions>(request);
}

std::string findingsOf(const ExampleInstall& install) {
    const explain::CheckResult result = explain::checkInstall(optionsFor(install), std::nullopt);
    return result.findings.empty() ? std::string() : explain::writeFindings(result);
}

void replace(const ExampleInstall& install, const char* file, const char* what, const std::string& with) {
    install.change({{"file", file}, {"replace", what}, {"with", with}});
}

void append(const ExampleInstall& install, const char* file, const std::string& text) {
    install.write(file, install.read(file) + text);
}

// The kinds that take their templates from the base location itself.
void addCommonConfigIni(const ExampleInstall& install) {
    install.write("zel/eclipse/plugins/base_1.0/config.ini",
                  install.read("zel/eclipse/plugins/base_1.0/config/user/config.ini"));
}

TEST(GoodInstall, OfEachKindHasNoFinding) {
    for (const char* kind : {"lockdown", "user", "serial.multiuser", "multiuser", "userpb", "service"}) {
        const ExampleInstall install;
        addCommonConfigIni(install);
        replace(install, launcherFile, "install.configuration=user",
                std::string("install.configuration=") + kind);
        append(install, templateFile, "cp=${zel.home}/zel/eclipse/plugins/base_1.0/launcher.jar\n");
        EXPECT_EQ(findingsOf(install), "") << kind;
    }
}

TEST(GoodInstall, ThatMakesItsIdentityHasNoFinding) {
    const ExampleInstall install;
    addCommonConfigIni(install);
    replace(install, launcherFile, "zel.install.id=1234", "");
    replace(install, launcherFile, "install.configuration=user", "install.configuration=userpb");
    EXPECT_EQ(findingsOf(install), "");
}

TEST(GoodInstall, WithALibraryAsJvmHasNoFinding) {
    const ExampleInstall install;
    install.write("jvm/bin/server/jvm.dll", explaintest::executableFile(true));
    replace(install, launcherFile, "jvm/bin/javaw.exe", "jvm/bin/server/jvm.dll");
    EXPECT_EQ(findingsOf(install), "");
}

TEST(GoodInstall, WithWindowsLineEndsHasNoFinding) {
    const ExampleInstall install;
    for (const char* file : {launcherFile, templateFile, jvmFile}) {
        std::string text;
        for (const char letter : install.read(file)) {
            text += letter == '\n' ? "\r\n" : std::string(1, letter);
        }
        install.write(file, text);
    }
    EXPECT_EQ(findingsOf(install), "");
}

// Every key that a packager may set.
void addEveryKey(const ExampleInstall& install) {
    append(install, launcherFile,
           "zel.data=${env.LOCALAPPDATA}/Client\n"
           "eclipse.name=eclipse.exe\n"
           "config.help.restartExe.win32=${zel.home}/zel/zellauncher.exe\n"
           "config.initial.1=-initialCompleteFlag\n"
           "config.initial.2=first.run.done\n"
           "provisioning=true\n"
           "provisioning.application=com.example.provisioning\n"
           "provisioning.manifest.version=7\n"
           "update.policy.managed=true\n"
           "jvm.feature.id=com.example.jvm\n"
           "jvm.feature.version=1.0.0\n"
           "jvm.parent.feature.id=com.example.parent\n"
           "jvm.parent.feature.version=1.0.0\n"
           "java.exe.name.win32=java.exe\n"
           "javaw.exe.name.win32=javaw.exe\n"
           "com.mivel.zel.core.locale=de\n"
           "com.mivel.zel.core.bidi=off\n");
    append(install, templateFile,
           "personality=com.example.personality\n"
           "product=com.example.platform.product\n"
           "Xbootclasspath.prepend=\n"
           "cp=${zel.home}/zel/eclipse/plugins/base_1.0/launcher.jar\n"
           "vm=${zel.home}/jvm/bin/javaw.exe\n"
           "my.key=${zel.data}/mine\n"
           "-Dmine=${prop.my.key}\n"
           "vmarg.Xss=-Xss256k\n"
           "vmarg.Dshare=-Xshareclasses:name=client,controlDir=${workspace.location}/cache\n"
           "vmarg.CacheMaintenance.enable=\n"
           "jvm.shareclasses.fullpath=${workspace.location}/shared\n"
           "library.path.append=${zel.home}/more\n"
           "env.set.CLIENT=1\n"
           "env.unset.JAVA_TOOL_OPTIONS=\n"
           "resetDir.views=org.example.views\n"
           "java.home=${zel.home}/jvm\n");
    install.write("more/codec.dll", explaintest::executableFile(true));
}

TEST(GoodInstall, WithEveryKeyHasNothingAboveANote) {
    const ExampleInstall install;
    addEveryKey(install);
    // Java 9 and later refuse a prepended boot class path, which is a warning of its own.
    replace(install, templateFile, "Xbootclasspath.prepend=\n", "");
    const explain::CheckResult result = explain::checkInstall(optionsFor(install), std::nullopt);
    for (const explain::Finding& finding : result.findings) {
        EXPECT_EQ(finding.severity, explain::Severity::note) << explain::findingText(finding);
    }
    std::string texts = install.read(launcherFile) + install.read(templateFile) + install.read(jvmFile);
    for (const explain::KeyEntry& entry : explain::keyEntries()) {
        const bool isForPackagers = entry.files.front() != "args.properties" && entry.key != "jvm.root" &&
                                    entry.key != "scrivia.workspace.loc" &&
                                    entry.key != "Xbootclasspath.prepend";
        const std::string beginning = entry.key.substr(0, entry.key.find('<'));
        EXPECT_TRUE(!isForPackagers || texts.find("\n" + beginning) != std::string::npos) << entry.key;
    }
}

// --- Texts -----------------------------------------------------------------------------------------

TEST(CheckTexts, ShowATokenAsItIsInItsValue) {
    const std::pair<const char*, const char*> lines[] = {
        {"-Da=${zel.hom", "${zel.hom has no closing brace in -Da"},
        {"-Da=${zel.hom}/x", "${zel.hom} in -Da is replaced by nothing"},
        {"-Da=${zel.home}/${nope}", "${nope} in -Da is replaced by nothing"},
    };
    for (const auto& [line, text] : lines) {
        const ExampleInstall install;
        append(install, jvmFile, std::string(line) + "\n");
        EXPECT_NE(findingsOf(install).find(text), std::string::npos) << findingsOf(install);
    }
}

TEST(CheckTexts, NameWhatIsWrongWithAWorkspace) {
    const std::pair<const char*, const char*> workspaces[] = {
        {"C:/a|b", "has a name that no directory can have: C:/a|b"},
        {"C:/ws/../x", "has a parent directory in it: C:/ws/../x"},
        {"ws", "is no full path: ws"},
        {"//server/share", "is a network path: //server/share"},
        {"${zel.home}/ws", "${zel.home} is not replaced in zel.data"},
        {"${env.APPDATA/ws", "${env.APPDATA/ws has no closing brace in zel.data"},
    };
    for (const auto& [workspace, text] : workspaces) {
        const ExampleInstall install;
        append(install, launcherFile, std::string("zel.data=") + workspace + "\n");
        EXPECT_NE(findingsOf(install).find(text), std::string::npos) << findingsOf(install);
    }
}

// --- The command -----------------------------------------------------------------------------------

TEST(CheckCommand, StatusIsThatOfTheWorstFinding) {
    const ExampleInstall install;
    testing::internal::CaptureStdout();
    EXPECT_EQ(explain::runCheck({install.path()}), 0);
    install.write("zel/eclipse/plugins/base_1.0/launcher.jar", "text");
    EXPECT_EQ(explain::runCheck({install.path()}), 0) << "only a note";
    append(install, launcherFile, "product=com.example.other\n");
    EXPECT_EQ(explain::runCheck({install.path()}), 1);
    EXPECT_EQ(explain::runCheck({install.path(), "--allow", "duplicate-key"}), 0);
    replace(install, launcherFile, "zel.install.id=1234", "");
    EXPECT_EQ(explain::runCheck({"--json", install.path()}), 2);
    testing::internal::GetCapturedStdout();
}

TEST(CheckCommand, TextShowsControlCharactersEscaped) {
    const explain::Finding finding = {"rule",        explain::Severity::note, "file",      1,
                                      "a\x1B[31m\n", "b\x7F\t\xC3\xA9",       "c\xC2\x9B", {}};
    EXPECT_EQ(explain::findingText(finding), "file:1: note: a\\u001b[31m\\u000a [rule]");
    const std::string text = explain::writeFindings({{finding}, std::nullopt});
    EXPECT_NE(text.find("    b\\u007f\\u0009\xC3\xA9\n    c\\u009b\n"), std::string::npos) << text;
}

TEST(CheckCommand, WithoutAnInstallCannotCheck) {
    const ExampleInstall install;
    testing::internal::CaptureStderr();
    EXPECT_EQ(explain::runCheck({}), 3);
    EXPECT_EQ(explain::runCheck({install.path() + "/missing"}), 3);
    EXPECT_EQ(explain::runCheck({install.path(), "--allow", "no-such-rule"}), 3);
    EXPECT_EQ(explain::runCheck({install.path(), "--starts", "2"}), 3);
    testing::internal::GetCapturedStderr();
}

TEST(CheckCommand, JsonHasTheFindingsOnly) {
    const ExampleInstall install;
    replace(install, launcherFile, "zel.install.id=1234", "");
    testing::internal::CaptureStdout();
    explain::runCheck({install.path(), "--json"});
    const auto json = nlohmann::json::parse(testing::internal::GetCapturedStdout());
    ASSERT_EQ(json.size(), 1U);
    ASSERT_EQ(json["findings"].size(), 1U);
    const nlohmann::json& finding = json["findings"][0];
    EXPECT_EQ(finding.size(), 7U);
    EXPECT_EQ(finding["rule"], "missing-key");
    EXPECT_EQ(finding["severity"], "error");
    EXPECT_EQ(finding["file"], launcherFile);
    EXPECT_TRUE(finding["line"].is_null());
}

TEST(CheckOfAStart, IsPartOfItsExplanation) {
    const ExampleInstall install;
    replace(install, templateFile, "Xbootclasspath.append=", "");
    const std::vector<explain::Explanation> starts = explain::explainStarts(optionsFor(install));
    ASSERT_EQ(starts.front().findings.size(), 1U);
    EXPECT_EQ(starts.front().findings.front().rule, "missing-key");
    const std::string text = explain::writeText(starts, explain::Diffs::leftOut);
    EXPECT_NE(text.find("zelinstall.properties: error: Xbootclasspath.append is missing"), std::string::npos);
}

}  // namespace
