#include <algorithm>

#include "endtoend.h"

// Whoever writes a link writes a part of the launcher's command line. These tests tell what such a link
// can do and what it cannot: first through a handler that declares its count, then without one.
namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
using endtoend::Running;
using endtoend::Status;
namespace fs = std::filesystem;

class Links : public EndToEnd {
protected:
    static constexpr const wchar_t* handler = L"-maxargcnt 4 \"%1\"";

    // What the shell makes of a link: the handler's command with the link in its place, as it stands.
    Status follow(const std::wstring& link, std::wstring command = handler) {
        command.replace(command.find(L"%1"), 2, link);
        return launchLine(command);
    }
    // The start ended with this message before anything was touched.
    void expectRefused(const std::wstring& tail, const std::string& message) {
        EXPECT_EQ(launchLine(tail), fatalStatus) << fs::path(tail);
        EXPECT_TRUE(contains(tempLog(), "\n" + message)) << fs::path(tail) << tempLog();
        EXPECT_FALSE(fs::exists(workspace() / L".zel.lock")) << fs::path(tail);
    }
    void expectLinkRefused(const std::wstring& link, const std::string& message) {
        std::wstring tail = handler;
        expectRefused(tail.replace(tail.find(L"%1"), 2, link), message);
    }
    // A start that comes to its end and reaches the platform with these words one behind the other.
    void expectPlatformWords(const std::vector<std::wstring>& words,
                             const std::vector<std::wstring>& expected) {
        EXPECT_EQ(launch(words), 0U) << log() << tempLog();
        const std::vector<std::wstring> received = platformWords();
        EXPECT_NE(std::search(received.begin(), received.end(), expected.begin(), expected.end()),
                  received.end());
        stopPlatform();
    }
    static std::vector<std::wstring> elementsOf(const std::wstring& payload) {
        std::vector<std::wstring> elements(1);
        for (const wchar_t unit : payload.substr(0, payload.find(L'\0'))) {
            if (unit == L'\n') {
                elements.emplace_back();
            } else {
                elements.back() += unit;
            }
        }
        return elements;
    }
};

// --- Through a handler that declares its count ----------------------------------------------------

TEST_F(Links, ALinkIsOneWordOfThePlatform) {
    for (const wchar_t* link : {L"zel:open?x=1&y=%20", L"zel:two words", L"zel:-vm", L"zel:a;b|c>d",
                                L"zel:\u65e5\u672c", L"zel:a\\b", L"zel:vmarg.x=-Dx"}) {
        EXPECT_EQ(follow(link), 0U) << fs::path(link) << log();
        EXPECT_TRUE(hasWord(link)) << fs::path(link);
        stopPlatform();
    }
}

TEST_F(Links, WordsThatALinkAddsAreRefusedByTheirCount) {
    for (const wchar_t* link :
         {L"zel:x\" \"y", L"zel:x\" -vm \"\\\\server\\share\\javaw.exe", L"zel:x\" -data \"C:\\elsewhere",
          L"zel:x\" -vmargs \"-Dx=y", L"zel:x\" \"vmarg.x=-Dx", L"zel:x\" -config \"other",
          L"zel:x\" \"-resetconfig", L"zel:x\" -maxargcnt \"6", L"zel:x\" -restart \"-restart", L"zel:x\" \"",
          L"zel:x\"\t\"y"}) {
        expectLinkRefused(link, "ZLNCH0069E: ");
    }
}

TEST_F(Links, WordsThatALinkTakesAwayAreRefusedByTheirCount) {
    std::wstring tail = L"-maxargcnt 5 \"%1\" -last";
    expectRefused(tail.replace(tail.find(L"%1"), 2, L"zel:x\\"), "ZLNCH0069E: ");
    expectRefused(L"-maxargcnt 4", "ZLNCH0069E: ");
}

TEST_F(Links, AQuoteWithinTheLinkIsRefused) {
    for (const wchar_t* link : {L"zel:x\\\"y", L"zel:x\\", L"zel:x\\\\\\", L"zel:x\\\\\\\"y", L"\\"}) {
        expectLinkRefused(link, "ZLNCH0089E: ");
    }
}

// The system takes them out when it splits the line: what is left is one word without a quote.
TEST_F(Links, QuotesThatOnlyGroupChangeNothing) {
    EXPECT_EQ(follow(L"zel:a\"b c\"d"), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0069E: "));
    EXPECT_EQ(follow(L"zel:a\"b\"c"), 0U) << log();
    EXPECT_TRUE(hasWord(L"zel:abc"));
}

TEST_F(Links, TheNamesOfTheJvmsOwnPlacesAreRefusedAnywhere) {
    expectLinkRefused(L"zel:x?jvm.library.path", "ZLNCH0190E: ");
    expectLinkRefused(L"zel:x?java.library.path=y", "ZLNCH0191E: ");
    expectLinkRefused(L"zel:see-java.homepage", "ZLNCH0192E: ");
    expectRefused(L"-vmargs -Djava.home=x", "ZLNCH0192E: ");
    expectRefused(L"vmarg.x=-Djava.home=x", "ZLNCH0192E: ");
    EXPECT_EQ(follow(L"zel:JAVA.HOME"), 0U) << log();
    EXPECT_TRUE(hasWord(L"zel:JAVA.HOME"));
}

TEST_F(Links, ADeclaredCountIsANumberAndMustFit) {
    for (const wchar_t* tail :
         {L"-maxargcnt", L"-maxargcnt 2", L"-maxargcnt 4", L"-maxargcnt abc", L"-maxargcnt -3",
          L"-maxargcnt +3", L"-maxargcnt \" 3\"", L"-maxargcnt 0x3", L"-maxargcnt 4294967299",
          L"-maxargcnt \"\"", L"-maxargcnt 3 x", L"-maxargcnt 3 -restart x", L"x -maxargcnt 3"}) {
        expectRefused(tail, "ZLNCH0069E: ");
    }
    EXPECT_EQ(launchLine(L"-maxargcnt 3x"), 0U) << log();  // what follows the digits is not looked at
}

TEST_F(Links, OnlyTheFirstCountIsTheDeclaredOne) {
    expectRefused(L"-maxargcnt 4 -maxargcnt 5", "ZLNCH0069E: ");
    EXPECT_EQ(launchLine(L"-maxargcnt 5 -maxargcnt 4"), 0U) << log();
}

// The count leaves room for one `-restart`, which a link may therefore add. It costs the user a second and
// keeps the words of the former start for the platform's next restart.
TEST_F(Links, ALinkMayAddOneRestart) {
    EXPECT_EQ(follow(L"zel:x\" \"-restart"), fatalStatus);  // a user's first start has nothing to restart
    EXPECT_TRUE(contains(log(), "ZLNCH0096E: Unable to load ")) << log();
    EXPECT_EQ(follow(L"zel:first"), 0U) << log();
    const fs::path words = workspace() / L".config" / L"args.properties";
    const std::string kept = read(words);
    EXPECT_EQ(follow(L"zel:second\" \"-restart"), 0U) << log();
    EXPECT_EQ(elementsOf(payload(1)).at(4), L"zel:second");
    stopPlatform();
    EXPECT_EQ(follow(L"zel:third\" \"-restart"), 0U) << log();
    EXPECT_TRUE(hasWord(L"zel:third"));
    EXPECT_FALSE(hasWord(L"-restart"));
    EXPECT_EQ(read(words), kept);
}

// The command has no escaping: the backslash at the end of a word makes the quote behind it a character,
// and from there on the quotes of the command group what was meant to stand apart.
TEST_F(Links, ABackslashAtTheEndOfALinkMisplacesTheQuotesOfTheCommand) {
    scriptLines = {"live 0"};
    layOut();
    const Running launcher = beginLine(L"-maxargcnt 4 \"zel:x\\\\\"");
    EXPECT_TRUE(eventually([&] { return fs::exists(workspace() / L".zel.main"); }));
    write(workspace() / L".pipe", "");  // the platform leaves none where the launcher waits for it
    EXPECT_EQ(waitFor(launcher), 0U) << log();
    // The platform finds no `-data`, so the stand-in leaves its records beside itself.
    const std::vector<std::wstring> words = platformWords(base / L"win32" / L"x86_64");
    EXPECT_EQ(std::count(words.begin(), words.end(), L"-data"), 0);
    EXPECT_NE(std::find_if(words.begin(), words.end(),
                           [](const std::wstring& word) { return word.starts_with(L"zel:x\" -data "); }),
              words.end());
}

TEST_F(Links, AHandedOverBackslashStaysWhereItIs) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(follow(L"zel:x\\\\"), 0U) << log();
    EXPECT_EQ(elementsOf(payload(1)).at(4), L"zel:x\\");
}

// The list that a running platform gets has one line an element, and a line feed is no separator of
// words on a command line.
TEST_F(Links, ALineFeedInAHandedOverLinkBeginsAnotherElement) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(follow(L"zel:x\n-application\nother"), 0U) << log();
    const std::vector<std::wstring> elements = elementsOf(payload(1));
    EXPECT_EQ(elements.at(4), L"zel:x");
    EXPECT_EQ(elements.at(5), L"-application");
    EXPECT_EQ(elements.at(6), L"other");
    stopPlatform();
    EXPECT_EQ(follow(L"zel:x\n-application\nother"), 0U) << log();
    EXPECT_FALSE(platformWords().empty());
    EXPECT_TRUE(
        contains(read(workspace() / L"standin" / L"command.txt"), " \"zel:x\n-application\nother\" "));
}

// Why the link stands last in a handler: behind it a link can put words of its own in the place of the
// handler's, so that the count is the same.
TEST_F(Links, WordsBehindTheLinkCanBeSwallowed) {
    EXPECT_EQ(follow(L"zel:x\" vmarg.x=-Dx=y", L"-maxargcnt 5 \"%1\" -last"), 0U) << log();
    EXPECT_TRUE(hasWord(L"-Dx=y -last"));
    EXPECT_FALSE(hasWord(L"-last"));
}

// --- Without a count ------------------------------------------------------------------------------

TEST_F(Links, AVmIsTakenFromWhereverItIsNamed) {
    const std::wstring vm = L"\\\\server\\share\\javaw.exe";
    EXPECT_EQ(launch({L"-vm", vm}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-vm"), vm);
    stopPlatform();
    EXPECT_EQ(launch({L"-vmargs", L"-vm", vm}), 0U) << log();
    EXPECT_EQ(wordBehind(L"-vm"), vm);
    stopPlatform();
    EXPECT_EQ(launch({L"-vm"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0079E: -vm on command line must be followed by a valid jvm path.\n"));
    EXPECT_EQ(launch({L"-vm", L""}), fatalStatus);
}

// A service starts its VM itself: there the word names the program that runs.
TEST_F(Links, AVmOfAServiceIsTheProgramThatRuns) {
    setProperty("install.configuration", "service");
    layOut();
    fs::create_directories(root / L"brought");
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", root / L"brought" / L"any.exe");
    const fs::path area = home / L"eclipse" / L".workspace";
    EXPECT_EQ(launch({L"-vm", (root / L"brought" / L"any.exe").wstring()}), 0U) << tempLog();
    EXPECT_EQ(platformWords(area).at(0), (root / L"brought" / L"any.exe").wstring());
    stopPlatform(area);
}

TEST_F(Links, WordsBehindVmargsGoToTheJvm) {
    expectPlatformWords({L"-vmargs", L"-javaagent:\\\\server\\share\\a.jar", L"-Xmx1m"},
                        {L"-vmargs", L"-javaagent:\\\\server\\share\\a.jar", L"-Xmx1m"});
}

TEST_F(Links, AnOverrideAddsOrRemovesAnOptionOfTheJvm) {
    baseLines.push_back("vmarg.Xss=-Xss1m");
    setProperty("config.wrong.1", "vmarg.x");
    EXPECT_EQ(launch({L"vmarg.Xss=", L"vmarg.agent=-javaagent:a.jar"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"-javaagent:a.jar"));
    EXPECT_FALSE(hasWord(L"-Xss1m"));
    EXPECT_EQ(launch({L"vmarg.x"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0033E: zellauncher invoked with an invalid vmarg.\n"));
    EXPECT_EQ(launch({L"-config", L"wrong"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0128E: zellauncher invoked with an invalid vmarg.\n"));
}

// The words are screened as they came; the tokens of an override are replaced later.
TEST_F(Links, AnOverrideCanPutARefusedNameTogether) {
    EXPECT_EQ(launch({L"vmarg.x=-Djava.${env.ZL_NO_SUCH_VARIABLE,}home=C:\\x"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"-Djava.home=C:\\x"));
}

TEST_F(Links, AnOverrideReadsTheEnvironmentAndTheProperties) {
    environment[L"ZL_SECRET"] = L"secret";
    EXPECT_EQ(launch({L"vmarg.x=-Dx=${env.ZL_SECRET}-${prop.application}-${zel.home}"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"-Dx=secret-com.example.app-" + forward(home)));
    EXPECT_EQ(launch({L"vmarg.x=-Dx=${env.ZL_NO_SUCH_VARIABLE}"}), fatalStatus);
    EXPECT_TRUE(
        log().ends_with("ZLNCH0088E: property substitution is invalid (-Dx=${env.ZL_NO_SUCH_VARIABLE})\n"))
        << log();
}

// In any other word the places alone are replaced, and the word goes on as it is. A start that becomes
// the main one keeps its words as properties, though, and ends when one of those has an unknown token.
TEST_F(Links, TokensOfOtherWordsStay) {
    environment[L"ZL_SECRET"] = L"secret";
    expectPlatformWords({L"${env.ZL_SECRET}", L"${zel.home}/x"},
                        {L"${env.ZL_SECRET}", forward(home) + L"/x"});
    for (const wchar_t* word : {L"${env.ZL_NO_SUCH_VARIABLE}", L"zel:${unknown", L"${jvm}"}) {
        EXPECT_EQ(launch({word}), fatalStatus);
        EXPECT_TRUE(contains(log(), "ZLNCH0088E: ")) << log();
    }
    EXPECT_EQ(launch(), 0U) << log();  // the next start is not the worse for it
    EXPECT_EQ(launch({L"${env.ZL_NO_SUCH_VARIABLE}"}), 0U) << log();
    EXPECT_EQ(elementsOf(payload(1)).at(2), L"${env.ZL_NO_SUCH_VARIABLE}");
}

TEST_F(Links, AWorkspaceMayBeNamedByTheEnvironment) {
    environment[L"ZL_PLACE"] = (root / L"named").wstring();
    EXPECT_EQ(launch({L"-data", L"${env.ZL_PLACE}"}), 0U) << tempLog();
    EXPECT_FALSE(platformWords(root / L"named").empty());
    stopPlatform(root / L"named");
    EXPECT_EQ(launch({L"-data", L"${env.ZL_NO_SUCH_VARIABLE}"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0301E: Starts with placeholder. This should be translated\n"));
}

// A workspace brings the user's properties with it, and these are believed.
TEST_F(Links, AForeignWorkspaceBringsItsProperties) {
    const fs::path prepared = root / L"prepared";
    write(prepared / L".config" / L"zelinstall.properties",
          "zel.install.id=1234\r\nzel.base.location=${zel.home}/zel/eclipse/plugins/base_1.0\r\n"
          "vm=//server/share/javaw.exe\r\nXbootclasspath.append=//server/share/boot.jar\r\n"
          "plugincustomization=${zel.home}/custom.ini\r\n-Dprepared=true\r\nenv.set.PREPARED=yes\r\n");
    EXPECT_EQ(launch({L"-data", prepared.wstring()}), 0U) << log() << tempLog();
    const std::vector<std::wstring> words = platformWords(prepared);
    EXPECT_EQ(std::count(words.begin(), words.end(), L"//server/share/javaw.exe"), 1);
    EXPECT_EQ(std::count(words.begin(), words.end(), L"-Xbootclasspath/a://server/share/boot.jar"), 1);
    stopPlatform(prepared);
}

TEST_F(Links, AConfigurationIsOneOfTheInstallOrNothing) {
    setProperty("config.app.1", "-Djava.home=of the packager");
    expectPlatformWords({L"-config", L"app"}, {L"-Djava.home=of the packager"});
    EXPECT_EQ(launch({L"-config", L"..\\..\\other", L"x"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"x"));
    EXPECT_FALSE(hasWord(L"-config"));
    EXPECT_FALSE(hasWord(L"..\\..\\other"));
    stopPlatform();
    expectPlatformWords({L"-config"}, {L"-config"});
}

// The launcher's own `-configuration` comes behind, and the first one of the words is dropped.
TEST_F(Links, TheConfigurationDirectoryIsTheLaunchersOwn) {
    expectPlatformWords({L"-configuration", L"C:\\elsewhere", L"x"},
                        {L"--launcher.suppressErrors", L"x", L"-data"});
    expectPlatformWords({L"-configuration", L"a", L"-configuration", L"b", L"x"},
                        {L"-configuration", L"b", L"x"});
}

TEST_F(Links, ApplicationProductAndStartupJarAreChosen) {
    EXPECT_EQ(launch({L"-application", L"a", L"-product", L"p", L"-perfJar", L"\\\\server\\share\\s.jar"}),
              0U)
        << log();
    EXPECT_EQ(wordBehind(L"-application"), L"a");
    EXPECT_EQ(wordBehind(L"-product"), L"p");
    EXPECT_EQ(wordBehind(L"-startup"), L"\\\\server\\share\\s.jar");
    // The program that starts is the install's.
    EXPECT_EQ(platformWords().at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
}

TEST_F(Links, AResetMovesTheUsersConfigurationAway) {
    EXPECT_EQ(launch(), 0U) << log();
    stopPlatform();
    write(workspace() / L".config" / L"mine", "kept");
    EXPECT_EQ(launch({L"-resetconfig"}), 0U) << log();
    EXPECT_EQ(read(workspace() / L".configbak" / L"mine"), "kept");
    EXPECT_FALSE(fs::exists(workspace() / L".config" / L"mine"));
}

TEST_F(Links, AnInstallationIsNotBegunBesideARunningPlatform) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(launch({L"-provManifest"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0122E: Attempting to install while process ")) << log();
    EXPECT_TRUE(isPlatformRunning());
}

}  // namespace
