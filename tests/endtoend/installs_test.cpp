#include <string>
#include <vector>

#include "endtoend.h"

// Whole installs, and the whole command that comes out of them.
namespace {

using endtoend::backward;
using endtoend::EndToEnd;
using endtoend::forward;
namespace fs = std::filesystem;

class Installs : public EndToEnd {};

std::wstring commandOf(const std::vector<std::wstring>& elements) {
    std::wstring command;
    for (const std::wstring& element : elements) {
        command += (command.empty() ? L"" : L" ") + element;
    }
    return command;
}

// One property of each sort. A start needs Xbootclasspath.append to be there, and an empty value still
// makes an element: it follows the 28 that the properties make.
TEST_F(Installs, TheCommandHasAllItsElementsInOrder) {
    setProperty("osgi.splashPath", "file:/C:/Apps/Client/splash");
    baseLines = {"application=com.example.app",
                 "plugincustomization=${zel.home}/custom.ini",
                 "-Dfoo=bar",
                 "vmfix.noconsole=-Dvmfix=${workspace.location}/log",
                 "library.path.prepend=${zel.home}/bin",
                 "jvm.library.path=${prop.java.home}/jvm/bin",
                 "Xbootclasspath.append="};
    environment[L"HOMEPATH"] = forward(userHome).substr(2);
    // The restart state keeps PATH for the library path, unless it is too long to be read back.
    environment[L"PATH"] = L"C:\\windows\\system32" + std::wstring(1000, L';');
    EXPECT_EQ(launch({L"vmarg.Xss=-Xss256k"}), 0U) << log();

    const std::wstring install = forward(home);
    const std::wstring location = install + L"/zel/eclipse/plugins/base_1.0";
    const std::wstring data = forward(userHome) + L"/Mivel/ZEL/1234/ann";
    const std::vector<std::wstring> expected = {
        L"\"" + location + L"\\win32\\x86_64\\eclipse.exe\"",
        L"--launcher.suppressErrors",
        L"-data",
        L"\"" + data + L"\"",
        L"-configuration",
        L"\"" + data + L"/.config\"",
        L"-application",
        L"\"com.example.app\"",
        L"-plugincustomization",
        L"\"" + install + L"/custom.ini\"",
        L"-product",
        L"\"com.example.product\"",
        L"-vm",
        L"\"" + install + L"/jvm/bin/javaw.exe\"",
        L"-startup",
        L"\"" + location + L"/launcher.jar\"",
        L"-vmargs",
        L"\"-Dvmfix=" + backward(data) + L"\\log\"",
        L"\"-Xss256k\"",
        L"-Dzel.home=\"" + backward(home) + L"\"",
        L"-Dzel.data=\"" + data + L"\"",
        L"-Dosgi.splashPath=\"file:/C:/Apps/Client/splash\"",
        L"-Dcom.mivel.zel.install.id=\"1234\"",
        L"-Dzel.install.config=\"user\"",
        L"-Dfoo=\"bar\"",
        L"-Djava.library.path=\"" + install + L"/jvm/bin;" + install + L"/bin\"",
        L"-Dzel.osgi.install.area=\"" + backward(home) + L"\\zel\\eclipse\"",
        L"\"-Xmx512m\"",
        L"-Xbootclasspath/a:\"\"",
    };
    EXPECT_EQ(platformCommand(), commandOf(expected));
}

TEST_F(Installs, TheExampleOfTheRepositoryStarts) {
    layOutExample();
    EXPECT_EQ(launch({L"hello world"}), 0U) << log() << tempLog();
    EXPECT_TRUE(hasWord(L"hello world"));
    EXPECT_EQ(wordBehind(L"-vm"), forward(home) + L"/jvm/bin/javaw.exe");
    EXPECT_EQ(wordBehind(L"-plugincustomization"), forward(home) + L"/plugin_customization.ini");
    EXPECT_EQ(wordBehind(L"-application"), L"com.example.platform.main");
    EXPECT_TRUE(hasWord(L"-Xmx512m"));
    EXPECT_EQ(read(workspace() / L".config" / L"config.ini"),
              read(base / L"config" / L"user" / L"config.ini"));
    stopPlatform();
    EXPECT_EQ(launch({L"-config", L"help"}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-application"), L"com.example.help");
    EXPECT_EQ(platformStart()["title"], "com.example.client.help");
}

}  // namespace
