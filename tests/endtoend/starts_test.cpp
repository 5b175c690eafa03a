#include <algorithm>

#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
namespace fs = std::filesystem;

class Starts : public EndToEnd {};

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
    EXPECT_EQ(read(workspace() / L".config" / L"config.ini"), "seeded=user\n");
    EXPECT_TRUE(isLockFree());
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

TEST_F(Starts, WithDebugTheLogIsAFileOfItsOwn) {
    EXPECT_EQ(launch({L"-debug"}), 0U);
    const std::vector<std::string> logs = debugLogs();
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_TRUE(contains(logs.front(), "ZLNCH0032I: Prop Line = \"zel.install.id=1234\"\n"));
    EXPECT_FALSE(hasWord(L"--launcher.suppressErrors"));
}

TEST_F(Starts, AVersionQueryIsAnsweredInTheLog) {
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_FALSE(fs::exists(workspace()));
    EXPECT_EQ(tempLog(), "ZLNCH0031I:   version = \"20250218.1837\"\n\n");
}

TEST_F(Starts, AVersionQueryAmongOtherWordsIsNone) {
    EXPECT_EQ(launch({L"-version", L"hello"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"-version"));
}

TEST_F(Starts, TheUsersWordsReachThePlatformAsTheyAre) {
    const std::vector<std::wstring> words = {L"two words", L"100%s", L"a;b", L"/path/", L"\\u0041"};
    EXPECT_EQ(launch(words), 0U) << log();
    const std::vector<std::wstring> received = platformWords();
    EXPECT_NE(std::search(received.begin(), received.end(), words.begin(), words.end()), received.end());
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
    const endtoend::Variables variables = platformEnvironment();
    EXPECT_EQ(variables.at(L"GREETING"), L"hello");
    EXPECT_EQ(variables.count(L"USERNAME"), 0U);
    EXPECT_TRUE(variables.at(L"PATH").starts_with(forward(home) + L"/bin;"));
}

}  // namespace
