#include <algorithm>

#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::Running;
using endtoend::Status;
namespace fs = std::filesystem;

class Starts : public EndToEnd {
protected:
    std::wstring forward(const fs::path& path) const { return path.generic_wstring(); }
    bool hasWord(const std::wstring& word) const {
        const std::vector<std::wstring> words = platformWords();
        return std::find(words.begin(), words.end(), word) != words.end();
    }
    std::wstring wordBehind(const std::wstring& option) const {
        const std::vector<std::wstring> words = platformWords();
        const auto found = std::find(words.begin(), words.end(), option);
        return found == words.end() || found + 1 == words.end() ? std::wstring() : *(found + 1);
    }
};

TEST_F(Starts, AFirstStartMakesTheUsersFilesAndStartsThePlatform) {
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    for (const wchar_t* name :
         {L".config/args.properties", L".config/config.ini", L".config/zelinstall.properties",
          L".config/zelinstall.properties.bak", L".config/org.eclipse.update/platform.xml", L".zel.lock",
          L".zel.main", L".pipe", L"applications/eclipse/features", L"applications/eclipse/plugins",
          L"logs/shutdown.log"}) {
        EXPECT_TRUE(fs::exists(workspace() / name)) << fs::path(name);
    }
    EXPECT_EQ(wordBehind(L"-data"), userHome.wstring() + L"/Mivel/ZEL/1234/ann");
    EXPECT_TRUE(isPlatformRunning(workspace()));
    const std::string number = platformStart()["pid"];
    EXPECT_EQ(read(workspace() / L".zel.main"), number + std::string(5, ' '));
    EXPECT_EQ(read(workspace() / L".zel.lock"), number + std::string(10, ' '));
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_TRUE(contains(log(), "ZLNCH0072I: Command = '\""));
    EXPECT_EQ(read(workspace() / L".config" / L"org.eclipse.update" / L"platform.xml"),
              "<config>\n<feature>\n</config>\n");
}

TEST_F(Starts, ALaterStartFindsEverythingInPlace) {
    EXPECT_EQ(launch(), 0U);
    const std::wstring first = platformCommand();
    const std::string properties = read(workspace() / L".config" / L"zelinstall.properties");
    stopPlatform();
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(platformCommand(), first);
    EXPECT_EQ(read(workspace() / L".config" / L"zelinstall.properties"), properties);
}

TEST_F(Starts, TheEndpointOfADeadPlatformIsNoSignOfLife) {
    layOut();
    write(workspace() / L".pipe", "\\\\.\\pipe\\gone\r\n");
    write(workspace() / L".zel.lock", "4711          ");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_FALSE(contains(read(workspace() / L".pipe"), "gone"));
}

TEST_F(Starts, TwoLaunchersAtOnceStartOnePlatform) {
    layOut();
    const Running first = begin({L"one"});
    const Running second = begin({L"two"});
    const Status firstStatus = waitFor(first);
    const Status secondStatus = waitFor(second);
    ASSERT_TRUE(firstStatus && secondStatus);
    EXPECT_NE(*firstStatus, *secondStatus);
    EXPECT_EQ(std::min(*firstStatus, *secondStatus), 0U);
    EXPECT_EQ(std::max(*firstStatus, *secondStatus), fatalStatus);
    EXPECT_TRUE(hasWord(*firstStatus == 0 ? L"one" : L"two"));
}

TEST_F(Starts, WithDebugTheLogIsAFileOfItsOwn) {
    EXPECT_EQ(launch({L"-debug"}), 0U);
    std::string debugLog;
    for (const fs::directory_entry& entry : fs::directory_iterator(workspace() / L"logs")) {
        if (entry.path().filename().wstring().starts_with(L"zellauncher_")) {
            debugLog = read(entry.path());
        }
    }
    EXPECT_TRUE(contains(debugLog, "ZLNCH0032I: Prop Line = \"zel.install.id=1234\"\n"));
    EXPECT_FALSE(hasWord(L"--launcher.suppressErrors"));
}

TEST_F(Starts, AVersionQueryIsAnsweredInTheLog) {
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_EQ(tempLog(), "ZLNCH0031I:   version = \"20250218.1837\"\n\n");
}

TEST_F(Starts, AConfigurationBringsItsWordsAndItsIdentity) {
    setProperty("config.app.1", "-application");
    setProperty("config.app.2", "com.example.other");
    setProperty("config.app.appID", "com.example.id");
    EXPECT_EQ(launch({L"-config", L"app"}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-application"), L"com.example.other");
    EXPECT_EQ(platformStart()["flags"], "1000");
    EXPECT_EQ(platformStart()["title"], "com.example.id");
}

TEST_F(Starts, ThePlatformGetsTheTaskbarIdentity) {
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(platformStart()["flags"], "3000");
    EXPECT_EQ(platformStart()["title"], "mivel.tarsin.client.eclipse.exe");
}

TEST_F(Starts, AnOverrideOfTheCommandLineWins) {
    baseLines.push_back("vmarg.Xss=-Xss1m");
    EXPECT_EQ(launch({L"vmarg.Xss=-Xss256k"}), 0U);
    EXPECT_TRUE(hasWord(L"-Xss256k"));
    EXPECT_FALSE(hasWord(L"-Xss1m"));
}

TEST_F(Starts, AWorkspaceOfTheCommandLine) {
    const fs::path other = root / L"my workspace";
    EXPECT_EQ(launch({L"-data", other.wstring() + L"\\"}), 0U);
    const std::vector<std::wstring> words = platformWords(other);
    EXPECT_NE(std::find(words.begin(), words.end(), other.wstring()), words.end());
    EXPECT_FALSE(fs::exists(workspace()));
    stopPlatform(other);
}

TEST_F(Starts, AVmOfTheCommandLine) {
    layOut();
    write(root / L"other" / L"bin" / L"javaw.exe", "");
    write(root / L"other" / L"jvm.properties", "-Xmx1g\r\n");
    EXPECT_EQ(launch({L"-vm", (root / L"other" / L"bin" / L"javaw.exe").wstring()}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-vm"), (root / L"other" / L"bin" / L"javaw.exe").wstring());
    EXPECT_TRUE(hasWord(L"-Xmx1g"));
    EXPECT_FALSE(hasWord(L"-Xmx512m"));
}

TEST_F(Starts, AConsoleAsksForTheConsoleExecutable) {
    EXPECT_EQ(launch({L"-console"}), 0U);
    EXPECT_EQ(wordBehind(L"-vm"), forward(home) + L"/jvm/bin/java.exe");
    stopPlatform();
    EXPECT_EQ(launch({L"-consoleLog"}), 0U);
    EXPECT_EQ(wordBehind(L"-vm"), forward(home) + L"/jvm/bin/java.exe");
}

TEST_F(Starts, AMissingConsoleExecutableIsRefused) {
    layOut();
    fs::remove(home / L"jvm" / L"bin" / L"java.exe");
    EXPECT_EQ(launch({L"-console"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0003E: Specified vm ("));
}

TEST_F(Starts, CustomNamesOfTheExecutables) {
    setProperty("javaw.exe.name.win32", "clientw.exe");
    layOut();
    write(home / L"jvm" / L"bin" / L"clientw.exe", "");
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(wordBehind(L"-vm"), forward(home) + L"/jvm/bin/clientw.exe");
}

TEST_F(Starts, WaitsForThePlatformWhenAsked) {
    scriptLines = {"live 4000", "exit 7"};
    EXPECT_EQ(launch({L"-zelLauncherWait"}), 0U);
    EXPECT_FALSE(isPlatformRunning(workspace()));
}

TEST_F(Starts, AFirstRunReplacesTheUsersWords) {
    setProperty("config.initial.1", "-application");
    setProperty("config.initial.2", "com.example.setup");
    setProperty("config.initial.3", "-initialCompleteFlag");
    setProperty("config.initial.4", "setup.done");
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-application"), L"com.example.setup");
    EXPECT_FALSE(hasWord(L"hello"));
}

TEST_F(Starts, DamagedUserPropertiesAreReplacedByTheirBackup) {
    EXPECT_EQ(launch(), 0U);
    const fs::path properties = workspace() / L".config" / L"zelinstall.properties";
    const std::string good = read(properties);
    stopPlatform();
    write(properties, good.substr(0, good.size() / 2));
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(read(properties), good);
}

TEST_F(Starts, TheEnvironmentOfThePlatformIsShaped) {
    baseLines.push_back("library.path.prepend=${zel.home}/bin");
    baseLines.push_back("env.set.GREETING=hello");
    baseLines.push_back("env.unset.USERNAME=");
    EXPECT_EQ(launch(), 0U);
    const std::map<std::wstring, std::wstring> variables = platformEnvironment();
    EXPECT_EQ(variables.at(L"GREETING"), L"hello");
    EXPECT_EQ(variables.count(L"USERNAME"), 0U);
    EXPECT_TRUE(variables.at(L"PATH").starts_with(forward(home) + L"/bin;"));
}

TEST_F(Starts, ARestartWaitsForThePlatformThatAskedForIt) {
    EXPECT_EQ(launch({L"first"}), 0U);
    const std::string arguments = read(workspace() / L".config" / L"args.properties");
    const std::wstring number = std::to_wstring(std::stoul(platformStart()["pid"]));
    const Running restart = begin({L"-restart", L"-zel_old_pid", number});
    stopPlatform();
    EXPECT_EQ(waitFor(restart), 0U) << log();
    EXPECT_EQ(read(workspace() / L".config" / L"args.properties"), arguments);
    EXPECT_FALSE(hasWord(L"-restart"));
}

TEST_F(Starts, NamesOutsideLatin1) {
    userName = L"\u0410\u043d\u043d\u0430";  // the log alone has to show it: the command carries it as it is
    EXPECT_EQ(launch({L"\u65e5\u672c"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"\u65e5\u672c"));
    EXPECT_EQ(wordBehind(L"-data"), userHome.wstring() + L"/Mivel/ZEL/1234/" + userName);
    EXPECT_TRUE(contains(log(), "\\u65e5\\u672c"));
    EXPECT_TRUE(contains(read(workspace() / L".config" / L"args.properties"), "arg1=\\u65e5\\u672c\n"));
}

TEST_F(Starts, AnInstallPathOutsideLatin1) {
    home = root / L"framework" / L"\u0394";
    base = home / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_TRUE(platformCommand().starts_with(L"\"" + forward(base) + L"\\win32\\x86_64\\eclipse.exe\""));
}

// The command of a whole install, all its 28 elements as the system handed them to the platform. A start
// needs Xbootclasspath.append to be there, so one more element follows them.
TEST_F(Starts, TheCommandHasAllItsElementsInOrder) {
    setProperty("osgi.splashPath", "file:/C:/Apps/Client/splash");
    baseLines = {"application=com.example.app",
                 "plugincustomization=${zel.home}/custom.ini",
                 "-Dfoo=bar",
                 "vmfix.noconsole=-Dvmfix=${workspace.location}/log",
                 "library.path.prepend=${zel.home}/bin",
                 "jvm.library.path=${prop.java.home}/jvm/bin",
                 "Xbootclasspath.append="};
    // A PATH of more than 1000 characters is not read back, so the library path is the install's alone.
    environment[L"PATH"] = L"C:\\windows\\system32" + std::wstring(1000, L';');
    EXPECT_EQ(launch({L"vmarg.Xss=-Xss256k"}), 0U) << log();
    const std::wstring install = home.wstring();
    const std::wstring slashed = forward(home);
    const std::wstring data = userHome.wstring() + L"/Mivel/ZEL/1234/ann";
    std::wstring fix = data;
    std::replace(fix.begin(), fix.end(), L'/', L'\\');
    const std::wstring location = slashed + L"/zel/eclipse/plugins/base_1.0";
    const std::wstring expected =
        L"\"" + location + L"\\win32\\x86_64\\eclipse.exe\" --launcher.suppressErrors -data \"" + data +
        L"\" -configuration \"" + data +
        L"/.config\" -application \"com.example.app\" -plugincustomization \"" + slashed +
        L"/custom.ini\" -product \"com.example.product\" -vm \"" + slashed +
        L"/jvm/bin/javaw.exe\" -startup \"" + location + L"/launcher.jar\" -vmargs \"-Dvmfix=" + fix +
        L"\\log\" \"-Xss256k\" -Dzel.home=\"" + install + L"\" -Dzel.data=\"" + data +
        L"\" -Dosgi.splashPath=\"file:/C:/Apps/Client/splash\" -Dcom.mivel.zel.install.id=\"1234\" "
        L"-Dzel.install.config=\"user\" -Dfoo=\"bar\" -Djava.library.path=\"" +
        slashed + L"/jvm/bin;" + slashed + L"/bin\" -Dzel.osgi.install.area=\"" + install +
        L"\\zel\\eclipse\" \"-Xmx512m\" -Xbootclasspath/a:\"\"";
    EXPECT_EQ(platformCommand(), expected);
}

}  // namespace
