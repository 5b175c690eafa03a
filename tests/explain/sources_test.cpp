#include <gtest/gtest.h>

#include <algorithm>

#include "explain/encoding.h"
#include "explain/real_install.h"
#include "explain/text_writer.h"

// Two sources compete for an element of each section of the command. The element names the one that wins,
// and, without that one, the other.
namespace {

using explain::Explanation;
using explain::sourceText;
using explain::toUtf8;
using explaintest::RealInstall;
using Arguments = std::vector<std::wstring>;

struct Line {
    const char* file;
    const char* text;
};

struct Contest {
    const char* name;
    const char* section;
    const char* element;  // the beginning of its text
    std::vector<Line> common;
    std::vector<Line> winning;  // what is there only as long as the winner is
    Arguments arguments;        // of the start with the winner
    Arguments otherArguments;   // without it
    const char* winner;
    const char* loser;
};

constexpr const char* launcher = RealInstall::launcherProperties;
constexpr const char* base = RealInstall::userTemplate;
constexpr const char* jvm = RealInstall::jvmProperties;

const Contest contests[] = {
    {"Application",
     "platform arguments",
     "-application",
     {},
     {},
     {L"-application", L"x"},
     {},
     "argument -application",
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:1 application (user's copy: line 1)"},
    {"PluginCustomization",
     "platform arguments",
     "-plugincustomization",
     {},
     {},
     {L"-plugincustomization", L"C:\\x.ini"},
     {},
     "argument -plugincustomization",
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:2 plugincustomization (user's copy: line 2)"},
    {"Workspace",
     "platform arguments",
     "-data",
     {},
     {{launcher, "zel.data=C:/elsewhere"}},
     {},
     {},
     "zel/zellauncher.properties:6 zel.data",
     "variable HOMEPATH"},
    {"WorkspaceOfArgument",
     "system properties",
     "-Dzel.data",
     {{launcher, "zel.data=C:/elsewhere"}},
     {},
     {L"-data", L"C:\\ws"},
     {},
     "argument -data",
     "zel/zellauncher.properties:6 zel.data"},
    {"Personality",
     "platform arguments",
     "-personality",
     {{jvm, "personality=p2"}},
     {{base, "personality=p1"}},
     {},
     {},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 personality (user's copy: line 4)",
     "zel/deploy/jvm.properties:2 personality"},
    {"Vm",
     "JVM",
     "-vm",
     {},
     {},
     {L"-vm", L"C:\\Program Files\\framework\\Client\\jvm\\bin\\javaw.exe"},
     {},
     "argument -vm",
     "zel/zellauncher.properties:4 jvm.location (user's copy: line 5)"},
    {"PerfJar",
     "startup",
     "\"",
     {},
     {},
     {L"-perfJar", L"C:\\perf.jar"},
     {},
     "argument -perfJar",
     "zel/zellauncher.properties:2 zel.base.location (user's copy: line 6)"},
    {"JvmArgument",
     "JVM arguments",
     "\"-Xss",
     {{base, "vmarg.Xss=-Xss1m"}},
     {},
     {L"vmarg.Xss=-Xss256k"},
     {},
     "argument vmarg.Xss=-Xss256k",
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 vmarg.Xss (user's copy: line 4)"},
    {"SystemProperty",
     "system properties",
     "-Djava.library.path",
     {{jvm, "jvm.library.path=C:/a"}},
     {{base, "jvm.library.path=C:/b"}},
     {},
     {},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 jvm.library.path (user's copy: line 4)",
     "zel/deploy/jvm.properties:2 jvm.library.path"},
    {"FirstOfTwoLines",
     "platform arguments",
     "-personality",
     {{base, "personality.win32=p"}, {base, "personality=q"}},
     {},
     {},
     {L"-debug"},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 personality.win32 (user's copy: line 4)",
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 personality.win32 (user's copy: line 4)"},
    {"JvmOption",
     "JVM options",
     "\"-Xmx",
     {{launcher, "other=1"}},
     {{base, "-Xmx=1g"}},
     {},
     {},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 -Xmx (user's copy: line 4)",
     "zel/deploy/jvm.properties:1 -Xmx512m"},
    {"BootClassPath",
     "boot class path",
     "-Xbootclasspath/p",
     {{jvm, "Xbootclasspath.prepend=C:/j.jar"}},
     {{base, "Xbootclasspath.prepend=C:/b.jar"}},
     {},
     {},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 Xbootclasspath.prepend (user's copy: line 4)",
     "zel/deploy/jvm.properties:2 Xbootclasspath.prepend"},
    {"ClassPath",
     "class path",
     "-cp",
     {{jvm, "cp=C:/j.jar"}},
     {{base, "cp=C:/b.jar"}},
     {},
     {},
     "zel/eclipse/plugins/base_1.0/zelinstall.properties:4 cp (user's copy: line 4)",
     "zel/deploy/jvm.properties:2 cp"},
};

// A test of the table shows the element in case of a failure.
std::string sourceIn(const Explanation& explanation, const Contest& contest) {
    for (const explain::Element& element : explanation.elements) {
        if (element.section == contest.section && toUtf8(element.text).starts_with(contest.element)) {
            return sourceText(element.source);
        }
    }
    return "no such element: " + toUtf8(explanation.command.value_or(L"no command")) + "\n" +
           explanation.message.value_or("");
}

std::string sourceOf(const Contest& contest, bool hasWinner) {
    const RealInstall install;
    for (const Line& line : contest.common) {
        install.append(line.file, line.text);
    }
    if (hasWinner) {
        for (const Line& line : contest.winning) {
            install.append(line.file, line.text);
        }
    }
    return sourceIn(install.explain(hasWinner ? contest.arguments : contest.otherArguments), contest);
}

class Sources : public testing::TestWithParam<Contest> {};

TEST_P(Sources, ElementNamesTheOneThatWins) {
    EXPECT_EQ(sourceOf(GetParam(), true), GetParam().winner);
}

TEST_P(Sources, ElementNamesTheOtherWithoutIt) {
    EXPECT_EQ(sourceOf(GetParam(), false), GetParam().loser);
}

INSTANTIATE_TEST_SUITE_P(Sections, Sources, testing::ValuesIn(contests),
                         [](const auto& contest) { return std::string(contest.param.name); });

std::string sourceOfElement(const Explanation& explanation, const std::string& section,
                            const std::string& beginning) {
    Contest wanted = contests[0];
    wanted.section = section.c_str();
    wanted.element = beginning.c_str();
    return sourceIn(explanation, wanted);
}

// The user's own properties compete with the install's.
TEST(UserSources, ProgramFollowsTheUsersOwnBaseLocation) {
    const RealInstall install;
    const RealInstall user;
    user.write("user/Mivel/ZEL/1234/user/.config/zelinstall.properties",
               "application=com.example.own\r\nplugincustomization=${zel.home}/custom.ini\r\n"
               "Xbootclasspath.append=\r\nzel.install.id=1234\r\ninstall.configuration=user\r\n"
               "zel.base.location=${zel.home}/zel/other\r\nvm=${zel.home}/jvm/bin/javaw.exe\r\n");
    install.placeProgram("zel/other/win32/x86_64/eclipse.exe");
    explain::StartOptions options;
    options.maps = {{user.at("user").string(), L"C:\\Users\\user"}};
    const Explanation explanation = install.explain({}, options);
    const std::string file = "C:\\Users\\user\\Mivel\\ZEL\\1234\\user\\.config\\zelinstall.properties";
    EXPECT_EQ(sourceOfElement(explanation, "program", "\""), file + ":6 zel.base.location");
    EXPECT_EQ(sourceOfElement(explanation, "platform arguments", "-application"), file + ":1 application");
    // An entry that still is what the template gives has that origin.
    EXPECT_EQ(
        sourceOfElement(explanation, "platform arguments", "-plugincustomization"),
        "zel/eclipse/plugins/base_1.0/zelinstall.properties:2 plugincustomization (user's copy: line 2)");
}

TEST(UserSources, ProvisioningNamesItsFirstLine) {
    const RealInstall install;
    install.append(RealInstall::launcherProperties, "provisioning=true");
    install.append(RealInstall::launcherProperties, "provisioning.manifest.version=7");
    install.append(RealInstall::launcherProperties, "provisioning.application=com.example.prov");
    install.append(RealInstall::launcherProperties, "provisioning.application=com.example.late");
    const Explanation explanation = install.explain();
    EXPECT_EQ(explanation.outcome, explain::Outcome::provisioned);
    EXPECT_EQ(sourceOfElement(explanation, "provisioning", "-application"),
              "zel/zellauncher.properties:8 provisioning.application");
}

TEST(UserSources, DaemonPairNamesTheLockFile) {
    const RealInstall install;
    explain::StartOptions options;
    options.platform = explain::Platform::running;
    const Explanation explanation = install.explain({}, options);
    EXPECT_EQ(explanation.outcome, explain::Outcome::handedOver);
    EXPECT_EQ(sourceOfElement(explanation, "running platform", "-useDaemon"),
              "C:\\Users\\user\\Mivel\\ZEL\\1234\\user\\.zel.lock");
}

TEST(UserSources, ExtensionJarsNameTheirDirectory) {
    const RealInstall install;
    const RealInstall beside;
    beside.write("vxext/a.jar", "");
    explain::StartOptions options;
    options.maps = {{beside.at("vxext").string(), L"C:\\Program Files\\vxext"}};
    EXPECT_EQ(sourceOfElement(install.explain({}, options), "extension jars", "\"-cp="),
              "C:\\Program Files\\vxext");
}

TEST(Assumptions, DriveOfTheHomeExists) {
    const RealInstall install;
    explain::StartOptions options;
    options.environment = {{L"HOMEDRIVE", L"H:"}, {L"HOMEPATH", L"\\home"}};
    const Explanation explanation = install.explain({}, options);
    EXPECT_EQ(explanation.outcome, explain::Outcome::started);
    EXPECT_EQ(explanation.assumptions, std::vector<std::string>{"the drive H:\\, on which is H:\\home"});
}

TEST(Logs, AreNoFilesWhereverTempIs) {
    const RealInstall install;
    explain::StartOptions options;
    for (const wchar_t* temp : {L"\\Users", L"Temp", L"\\\\localhost\\C$\\Users"}) {
        options.environment = {{L"TEMP", temp}};
        options.currentDirectory = L"C:\\Windows";
        const Explanation explanation = install.explain({L"a\"b"}, options);
        EXPECT_TRUE(explanation.files.empty());
        EXPECT_EQ(explanation.log.size(), 3U) << explanation.log.back();
    }
}

TEST(UserSources, DirectStartNamesTheArgumentForItsProgram) {
    const RealInstall install;
    install.write(RealInstall::launcherProperties,
                  "zel.install.id=1234\r\nzel.base.location=${zel.home}/zel/eclipse/plugins/base_1.0\r\n"
                  "install.configuration=service\r\njvm.location=${zel.home}/jvm/bin/javaw.exe\r\n");
    EXPECT_EQ(sourceOfElement(install.explain(), "JVM", "\""),
              "zel/zellauncher.properties:4 jvm.location (user's copy: line 5)");
    EXPECT_EQ(sourceOfElement(
                  install.explain({L"-vm", L"C:\\Program Files\\framework\\Client\\jvm\\bin\\javaw.exe"}),
                  "JVM", "\""),
              "argument -vm");
}

}  // namespace
