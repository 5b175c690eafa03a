#include "endtoend.h"

// Whole installs and the whole command made from them.
namespace {

using endtoend::Arguments;
using endtoend::backward;
using endtoend::EndToEnd;
using endtoend::forward;
namespace fs = std::filesystem;

class Installs : public EndToEnd {};

std::wstring joined(const Arguments& elements) {
    std::wstring command;
    for (const std::wstring& element : elements) {
        command += (command.empty() ? L"" : L" ") + element;
    }
    return command;
}

// One property of each kind. Xbootclasspath.append is required, and its empty value still makes an
// element: the 29th.
TEST_F(Installs, CommandHasAllElementsInOrder) {
    setProperty("osgi.splashPath", "file:/C:/Apps/Client/splash");
    baseLines = {"application=com.example.app",
                 "plugincustomization=${zel.home}/custom.ini",
                 "-Dfoo=bar",
                 "vmfix.noconsole=-Dvmfix=${workspace.location}/log",
                 "library.path.prepend=${zel.home}/bin",
                 "jvm.library.path=${prop.java.home}/jvm/bin",
                 "Xbootclasspath.append="};
    environment[L"HOMEPATH"] = forward(userHome).substr(2);
    // This PATH is too long to be read back from the restart state, so it is not in the library path.
    environment[L"PATH"] = L"C:\\windows\\system32" + std::wstring(1000, L';');
    EXPECT_EQ(launch({L"vmarg.Xss=-Xss256k"}), 0U) << log();

    const std::wstring zelHome = forward(install);
    const std::wstring location = zelHome + L"/zel/eclipse/plugins/base_1.0";
    const std::wstring data = forward(userHome) + L"/Mivel/ZEL/1234/ann";
    const Arguments expected = {
        L"\"" + location + L"\\win32\\x86_64\\eclipse.exe\"",
        L"--launcher.suppressErrors",
        L"-data",
        L"\"" + data + L"\"",
        L"-configuration",
        L"\"" + data + L"/.config\"",
        L"-application",
        L"\"com.example.app\"",
        L"-plugincustomization",
        L"\"" + zelHome + L"/custom.ini\"",
        L"-product",
        L"\"com.example.product\"",
        L"-vm",
        L"\"" + zelHome + L"/jvm/bin/javaw.exe\"",
        L"-startup",
        L"\"" + location + L"/launcher.jar\"",
        L"-vmargs",
        L"\"-Dvmfix=" + backward(data) + L"\\log\"",
        L"\"-Xss256k\"",
        L"-Dzel.home=\"" + backward(install) + L"\"",
        L"-Dzel.data=\"" + data + L"\"",
        L"-Dosgi.splashPath=\"file:/C:/Apps/Client/splash\"",
        L"-Dcom.mivel.zel.install.id=\"1234\"",
        L"-Dzel.install.config=\"user\"",
        L"-Dfoo=\"bar\"",
        L"-Djava.library.path=\"" + zelHome + L"/jvm/bin;" + zelHome + L"/bin\"",
        L"-Dzel.osgi.install.area=\"" + backward(install) + L"\\zel\\eclipse\"",
        L"\"-Xmx512m\"",
        L"-Xbootclasspath/a:\"\"",
    };
    EXPECT_EQ(platformCommand(), joined(expected));
}

TEST_F(Installs, ExampleInstallStarts) {
    layOutExample();
    EXPECT_EQ(launch({L"hello world"}), 0U) << log() << tempLog();
    EXPECT_TRUE(hasArgument(L"hello world"));
    EXPECT_EQ(argumentAfter(L"-vm"), forward(install) + L"/jvm/bin/javaw.exe");
    EXPECT_EQ(argumentAfter(L"-plugincustomization"), forward(install) + L"/plugin_customization.ini");
    EXPECT_EQ(argumentAfter(L"-application"), L"com.example.platform.main");
    EXPECT_TRUE(hasArgument(L"-Xmx512m"));
    EXPECT_EQ(read(workspace() / L".config" / L"config.ini"),
              read(base / L"config" / L"user" / L"config.ini"));
    stopPlatform();
    EXPECT_EQ(launch({L"-config", L"help"}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-application"), L"com.example.help");
    EXPECT_EQ(platformStart()["title"], "com.example.client.help");
}

}  // namespace
