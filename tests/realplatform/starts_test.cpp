#include "real_platform.h"

// What a real platform sees of a start.
namespace {

using endtoend::backward;
using endtoend::forward;
using realplatform::contains;
using realplatform::RealPlatform;
using realplatform::StartReport;
using realplatform::utf8;
using realplatform::wordAfter;
using realplatform::Words;
namespace fs = std::filesystem;

class RealStarts : public RealPlatform {
protected:
    std::wstring workspaceAsArgument() const { return userHome.wstring() + L"/Mivel/ZEL/1234/" + userName; }
};

TEST_F(RealStarts, TheNativeLauncherWithTheJvmBeside) {
    baseLines.push_back("env.set.GREETING=hello");
    baseLines.push_back("env.unset.UNWANTED=");
    environment[L"UNWANTED"] = L"there";
    jvmLines.push_back("jvm.library.path=jvm/bin");
    expectStart({L"two words", L"100%s", L"vmarg.Dlater=-Dlater=yes"});
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), jvmDirectory() + L"/bin/javaw.exe");
    EXPECT_EQ(report.application, (Words{L"two words", L"100%s"}));
    EXPECT_EQ(wordAfter(report.framework, L"-data"), workspaceAsArgument());
    EXPECT_EQ(report.properties.at("zel.home"), utf8(backward(home)));
    EXPECT_EQ(report.properties.at("zel.data"), utf8(workspaceAsArgument()));
    EXPECT_EQ(report.properties.at("com.mivel.zel.install.id"), "1234");
    EXPECT_EQ(report.properties.at("zel.install.config"), "user");
    EXPECT_EQ(report.properties.at("zel.osgi.install.area"), utf8(backward(home)) + "\\zel\\eclipse");
    EXPECT_EQ(report.properties.at("osgi.splashPath"), "file:/C:/splash");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.properties.at("later"), "yes");
    EXPECT_EQ(report.properties.at("java.class.path"), utf8(forward(base)) + "/launcher.jar");
    EXPECT_TRUE(report.properties.at("java.library.path")
                    .starts_with(utf8(jvmDirectory()) + "/bin;" + utf8(forward(home)) + "/bin;"))
        << report.properties.at("java.library.path");
    EXPECT_TRUE(report.environment.at("PATH").starts_with(utf8(forward(home)) + "/bin;"));
    EXPECT_EQ(report.environment.at("GREETING"), "hello");
    EXPECT_EQ(report.environment.count("UNWANTED"), 0U);
    EXPECT_EQ(report.summary.at("workspace"), utf8(backward(workspace())));
    EXPECT_EQ(report.summary.at("configuration"), utf8(backward(workspace() / L".config")));
    EXPECT_EQ(report.summary.at("product"), "com.example.platform.product");
    EXPECT_LE(std::stoul(report.summary.at("memory")), 64UL << 20);
    EXPECT_EQ(report.summary.at("boot"), "extended");
}

TEST_F(RealStarts, TheNativeLauncherWithTheJvmInside) {
    runJvmInside();
    const Words words = {L"two words", L"\u65e5\u672c", L"a;b"};
    expectStart(words);
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
    EXPECT_EQ(wordAfter(report.command, L"-vm"), jvmDirectory() + L"/bin/server/jvm.dll");
    EXPECT_EQ(platformNumber(), recordedNumber());
    EXPECT_EQ(report.application, words);
    EXPECT_EQ(report.properties.at("zel.install.config"), "user");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.summary.at("boot"), "extended");
}

TEST_F(RealStarts, AServiceStartsJavaItself) {
    setProperty("install.configuration", "service");
    baseLines.push_back("cp=${zel.home}/zel/eclipse/plugins/base_1.0/launcher.jar");
    place = home / L"eclipse" / L".workspace";
    expectStart({L"hello"});
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), jvmDirectory() + L"/bin/javaw.exe");
    EXPECT_TRUE(contains(report.command, L"org.eclipse.core.launcher.Main"));
    EXPECT_TRUE(contains(report.command, L"-nosplash"));
    EXPECT_FALSE(contains(report.command, L"-vmargs"));
    EXPECT_EQ(platformNumber(), recordedNumber());
    EXPECT_EQ(report.properties.at("zel.install.config"), "service");
    EXPECT_EQ(report.properties.at("java.class.path"), utf8(forward(base)) + "/launcher.jar");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.summary.at("workspace"), utf8(backward(place)));
    EXPECT_EQ(report.summary.at("configuration"), utf8(backward(home / L"eclipse" / L".config")));
    EXPECT_LE(std::stoul(report.summary.at("memory")), 64UL << 20);
    EXPECT_TRUE(contains(report.application, L"hello"));
}

TEST_F(RealStarts, NamesOutsideOfEightBits) {
    runJvmInside();
    userName = L"\u0141ukasz \u65e5\u672c";
    userHome = root / L"\u03a7\u03c1\u03ae\u03c3\u03c4\u03b7\u03c2";
    expectStart({L"\u0436"});
    const StartReport report = platform();
    EXPECT_EQ(wordAfter(report.command, L"-data"), workspaceAsArgument());
    EXPECT_EQ(wordAfter(report.framework, L"-data"), workspaceAsArgument());
    EXPECT_EQ(report.summary.at("workspace"), utf8(backward(workspace())));
    EXPECT_EQ(report.environment.at("USERNAME"), utf8(userName));
    EXPECT_EQ(report.application, Words{L"\u0436"});
    EXPECT_EQ(launch({L"\u4f5c\u696d"}), 0U) << log();
    EXPECT_TRUE(contains(handOff(1), L"\u4f5c\u696d"));
}

}  // namespace
