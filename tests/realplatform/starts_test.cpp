#include "real_platform.h"
#include "support/text.h"

// What a real platform gets from a start.
namespace {

using endtoend::Arguments;
using endtoend::backward;
using endtoend::contains;
using endtoend::forward;
using launchertest::toUtf8;
using realplatform::RealPlatform;
using realplatform::StartReport;
namespace fs = std::filesystem;

class RealStarts : public RealPlatform {};

TEST_F(RealStarts, NativeLauncherStartsTheJvmBeside) {
    baseLines.push_back("env.set.GREETING=hello");
    baseLines.push_back("env.unset.UNWANTED=");
    environment[L"UNWANTED"] = L"there";
    jvmLines.push_back("jvm.library.path=jvm/bin");
    expectStart({L"two words", L"100%s", L"vmarg.Dlater=-Dlater=yes"});
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), jvmDirectory() + L"/bin/javaw.exe");
    EXPECT_EQ(report.application, (Arguments{L"two words", L"100%s"}));
    EXPECT_EQ(argumentAfter(L"-data", report.framework), workspaceArgument());
    EXPECT_EQ(report.properties.at("zel.home"), toUtf8(backward(install)));
    EXPECT_EQ(report.properties.at("zel.data"), toUtf8(workspaceArgument()));
    EXPECT_EQ(report.properties.at("com.mivel.zel.install.id"), "1234");
    EXPECT_EQ(report.properties.at("zel.install.config"), "user");
    EXPECT_EQ(report.properties.at("zel.osgi.install.area"), toUtf8(backward(install)) + "\\zel\\eclipse");
    EXPECT_EQ(report.properties.at("osgi.splashPath"), "file:/C:/splash");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.properties.at("later"), "yes");
    EXPECT_EQ(report.properties.at("java.class.path"), toUtf8(forward(base)) + "/launcher.jar");
    EXPECT_TRUE(report.properties.at("java.library.path")
                    .starts_with(toUtf8(jvmDirectory()) + "/bin;" + toUtf8(forward(install)) + "/bin;"))
        << report.properties.at("java.library.path");
    EXPECT_TRUE(report.environment.at(L"PATH").starts_with(forward(install) + L"/bin;"));
    EXPECT_EQ(report.environment.at(L"GREETING"), L"hello");
    EXPECT_EQ(report.environment.count(L"UNWANTED"), 0U);
    EXPECT_EQ(report.summary.at("workspace"), toUtf8(backward(workspace())));
    EXPECT_EQ(report.summary.at("configuration"), toUtf8(backward(workspace() / L".config")));
    EXPECT_EQ(report.summary.at("product"), "com.example.platform.product");
    EXPECT_LE(std::stoul(report.summary.at("memory")), 64UL << 20);
    EXPECT_EQ(report.summary.at("boot"), "extended");
}

TEST_F(RealStarts, NativeLauncherLoadsTheJvm) {
    runJvmInside();
    const Arguments arguments = {L"two words", L"\u65e5\u672c", L"a;b"};
    expectStart(arguments);
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
    EXPECT_EQ(argumentAfter(L"-vm", report.command), jvmDirectory() + L"/bin/server/jvm.dll");
    EXPECT_EQ(jvmProcessId(), recordedProcessId());
    EXPECT_EQ(report.application, arguments);
    EXPECT_EQ(report.properties.at("zel.install.config"), "user");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.summary.at("boot"), "extended");
}

TEST_F(RealStarts, ServiceStartsJavaDirectly) {
    setProperty("install.configuration", "service");
    baseLines.push_back("cp=${zel.home}/zel/eclipse/plugins/base_1.0/launcher.jar");
    place = install / L"eclipse" / L".workspace";
    expectStart({L"hello"});
    const StartReport report = platform();
    EXPECT_EQ(report.command.at(0), jvmDirectory() + L"/bin/javaw.exe");
    EXPECT_TRUE(contains(report.command, L"org.eclipse.core.launcher.Main"));
    EXPECT_TRUE(contains(report.command, L"-nosplash"));
    EXPECT_FALSE(contains(report.command, L"-vmargs"));
    EXPECT_EQ(jvmProcessId(), recordedProcessId());
    EXPECT_EQ(report.properties.at("zel.install.config"), "service");
    EXPECT_EQ(report.properties.at("java.class.path"), toUtf8(forward(base)) + "/launcher.jar");
    EXPECT_EQ(report.properties.at("greeting"), "hello");
    EXPECT_EQ(report.summary.at("workspace"), toUtf8(backward(place)));
    EXPECT_EQ(report.summary.at("configuration"), toUtf8(backward(install / L"eclipse" / L".config")));
    EXPECT_LE(std::stoul(report.summary.at("memory")), 64UL << 20);
    EXPECT_TRUE(contains(report.application, L"hello"));
}

TEST_F(RealStarts, NamesOutsideOfEveryCodePageArrive) {
    runJvmInside();
    userName = L"\u0141ukasz \u65e5\u672c";
    userHome = root / L"\u03a7\u03c1\u03ae\u03c3\u03c4\u03b7\u03c2";
    expectStart({L"\u0436"});
    const StartReport report = platform();
    EXPECT_EQ(argumentAfter(L"-data", report.command), workspaceArgument());
    EXPECT_EQ(argumentAfter(L"-data", report.framework), workspaceArgument());
    EXPECT_EQ(report.summary.at("workspace"), toUtf8(backward(workspace())));
    EXPECT_EQ(report.environment.at(L"USERNAME"), userName);
    EXPECT_EQ(report.application, Arguments{L"\u0436"});
    EXPECT_EQ(launch({L"\u4f5c\u696d"}), 0U) << log();
    EXPECT_TRUE(contains(handOff(1), L"\u4f5c\u696d"));
}

}  // namespace
