#include <algorithm>

#include "endtoend.h"

// The text of a link becomes part of the launcher's command line. These tests show what a link can and
// cannot do, first through a handler with -maxargcnt, then without. Shares are those of this machine: the
// launcher looks for files beside the JVM, and Windows would search the network for another machine.
namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::containsInOrder;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
using endtoend::Running;
using endtoend::Status;
namespace fs = std::filesystem;

class Links : public EndToEnd {
protected:
    static constexpr const wchar_t* handler = L"-maxargcnt 4 \"%1\"";

    // Puts the link into the handler's command unchanged, as the shell does.
    static std::wstring filledIn(const std::wstring& link, std::wstring command = handler) {
        return command.replace(command.find(L"%1"), 2, link);
    }
    Status follow(const std::wstring& link, const std::wstring& command = handler) {
        return launchLine(filledIn(link, command));
    }
    // The start is fatal with this message and does not reach the lock.
    void expectRefused(const std::wstring& tail, const std::string& message) {
        EXPECT_EQ(launchLine(tail), fatalStatus) << fs::path(tail);
        EXPECT_TRUE(contains(tempLog(), "\n" + message)) << fs::path(tail) << tempLog();
        EXPECT_FALSE(fs::exists(workspace() / L".zel.lock")) << fs::path(tail);
    }
    void expectLinkRefused(const std::wstring& link, const std::string& message) {
        expectRefused(filledIn(link), message);
    }
    // The start succeeds, and the platform's arguments contain the expected ones without a gap.
    void expectPlatformArguments(const Arguments& arguments, const Arguments& expected) {
        EXPECT_EQ(launch(arguments), 0U) << log() << tempLog();
        EXPECT_TRUE(containsInOrder(platformArguments(), expected));
        stopPlatform();
    }
};

// --- Through a handler with -maxargcnt ------------------------------------------------------------

TEST_F(Links, LinkIsOneArgumentOfThePlatform) {
    for (const wchar_t* link : {L"zel:open?x=1&y=%20", L"zel:two words", L"zel:-vm", L"zel:a;b|c>d",
                                L"zel:\u65e5\u672c", L"zel:a\\b", L"zel:vmarg.x=-Dx"}) {
        EXPECT_EQ(follow(link), 0U) << fs::path(link) << log();
        EXPECT_TRUE(hasArgument(link)) << fs::path(link);
        stopPlatform();
    }
}

TEST_F(Links, LinkThatAddsArgumentsIsFatal) {
    for (const wchar_t* link :
         {L"zel:x\" \"y", L"zel:x\" -vm \"\\\\localhost\\zl-no-share\\javaw.exe",
          L"zel:x\" -data \"C:\\elsewhere", L"zel:x\" -vmargs \"-Dx=y", L"zel:x\" \"vmarg.x=-Dx",
          L"zel:x\" -config \"other", L"zel:x\" \"-resetconfig", L"zel:x\" -maxargcnt \"6",
          L"zel:x\" -restart \"-restart", L"zel:x\" \"", L"zel:x\"\t\"y"}) {
        expectLinkRefused(link, "ZLNCH0069E: ");
    }
}

TEST_F(Links, LinkThatRemovesArgumentsIsFatal) {
    expectRefused(filledIn(L"zel:x\\", L"-maxargcnt 5 \"%1\" -last"), "ZLNCH0069E: ");
    expectRefused(L"-maxargcnt 4", "ZLNCH0069E: ");
}

TEST_F(Links, QuoteInTheLinkIsFatal) {
    for (const wchar_t* link : {L"zel:x\\\"y", L"zel:x\\", L"zel:x\\\\\\", L"zel:x\\\\\\\"y", L"\\"}) {
        expectLinkRefused(link, "ZLNCH0089E: ");
    }
}

// Splitting the command line removes them and leaves one argument without quotes.
TEST_F(Links, GroupingQuotesChangeNothing) {
    EXPECT_EQ(follow(L"zel:a\"b c\"d"), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0069E: "));
    EXPECT_EQ(follow(L"zel:a\"b\"c"), 0U) << log();
    EXPECT_TRUE(hasArgument(L"zel:abc"));
}

TEST_F(Links, JvmPathPropertiesAreFatalAnywhere) {
    expectLinkRefused(L"zel:x?jvm.library.path", "ZLNCH0190E: ");
    expectLinkRefused(L"zel:x?java.library.path=y", "ZLNCH0191E: ");
    expectLinkRefused(L"zel:see-java.homepage", "ZLNCH0192E: ");
    expectRefused(L"-vmargs -Djava.home=x", "ZLNCH0192E: ");
    expectRefused(L"vmarg.x=-Djava.home=x", "ZLNCH0192E: ");
    EXPECT_EQ(follow(L"zel:JAVA.HOME"), 0U) << log();
    EXPECT_TRUE(hasArgument(L"zel:JAVA.HOME"));
}

TEST_F(Links, DeclaredCountMustBeANumberAndMatch) {
    for (const wchar_t* tail :
         {L"-maxargcnt", L"-maxargcnt 2", L"-maxargcnt 4", L"-maxargcnt abc", L"-maxargcnt -3",
          L"-maxargcnt +3", L"-maxargcnt \" 3\"", L"-maxargcnt 0x3", L"-maxargcnt 4294967299",
          L"-maxargcnt \"\"", L"-maxargcnt 3 x", L"-maxargcnt 3 -restart x", L"x -maxargcnt 3"}) {
        expectRefused(tail, "ZLNCH0069E: ");
    }
    EXPECT_EQ(launchLine(L"-maxargcnt 3x"), 0U) << log();  // text after the digits is ignored
}

TEST_F(Links, FirstCountIsTheDeclaredOne) {
    expectRefused(L"-maxargcnt 4 -maxargcnt 5", "ZLNCH0069E: ");
    EXPECT_EQ(launchLine(L"-maxargcnt 5 -maxargcnt 4"), 0U) << log();
}

// The declared count allows one -restart in addition. Such a link costs the user a second, and the
// platform's next restart uses the arguments of the former start.
TEST_F(Links, LinkCanAddOneRestart) {
    EXPECT_EQ(follow(L"zel:x\" \"-restart"), fatalStatus);  // nothing to restart yet
    EXPECT_TRUE(contains(log(), "ZLNCH0096E: Unable to load ")) << log();
    EXPECT_EQ(follow(L"zel:first"), 0U) << log();
    const fs::path restartState = workspace() / L".config" / L"args.properties";
    const std::string kept = read(restartState);
    EXPECT_EQ(follow(L"zel:second\" \"-restart"), 0U) << log();
    EXPECT_EQ(handedOver(1).at(4), L"zel:second");
    stopPlatform();
    EXPECT_EQ(follow(L"zel:third\" \"-restart"), 0U) << log();
    EXPECT_TRUE(hasArgument(L"zel:third"));
    EXPECT_FALSE(hasArgument(L"-restart"));
    EXPECT_EQ(read(restartState), kept);
}

// The platform's command has no escaping, so a backslash at the end of an argument makes its closing
// quote a character, and the following arguments are grouped wrongly.
TEST_F(Links, BackslashAtTheEndMisplacesTheCommandsQuotes) {
    scriptLines = {"live 0"};
    layOut();
    const Running launcher = beginLine(L"-maxargcnt 4 \"zel:x\\\\\"");
    EXPECT_TRUE(eventually([&] { return fs::exists(workspace() / L".zel.main"); }));
    // The launcher waits for this file, but the platform does not know the workspace.
    write(workspace() / L".pipe", "");
    EXPECT_EQ(waitFor(launcher), 0U) << log();
    // Without -data the standin writes its records beside its program file.
    const Arguments arguments = platformArguments(base / L"win32" / L"x86_64");
    EXPECT_FALSE(contains(arguments, L"-data"));
    EXPECT_TRUE(std::any_of(arguments.begin(), arguments.end(), [](const std::wstring& argument) {
        return argument.starts_with(L"zel:x\" -data ");
    }));
}

TEST_F(Links, HandedOverBackslashIsHarmless) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(follow(L"zel:x\\\\"), 0U) << log();
    EXPECT_EQ(handedOver(1).at(4), L"zel:x\\");
}

// In the text for a running platform each line is an argument. On a command line a line feed does not
// separate arguments.
TEST_F(Links, HandedOverLineFeedBeginsAnotherArgument) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(follow(L"zel:x\n-application\nother"), 0U) << log();
    const Arguments received = handedOver(1);
    EXPECT_EQ(received.at(4), L"zel:x");
    EXPECT_EQ(received.at(5), L"-application");
    EXPECT_EQ(received.at(6), L"other");
    stopPlatform();
    EXPECT_EQ(follow(L"zel:x\n-application\nother"), 0U) << log();
    EXPECT_FALSE(platformArguments().empty());
    EXPECT_TRUE(
        contains(read(workspace() / L"standin" / L"command.txt"), " \"zel:x\n-application\nother\" "));
}

// Why the link must be the handler's last argument: otherwise it can replace those after it and keep the
// count.
TEST_F(Links, ArgumentsAfterTheLinkCanBeReplaced) {
    EXPECT_EQ(follow(L"zel:x\" vmarg.x=-Dx=y", L"-maxargcnt 5 \"%1\" -last"), 0U) << log();
    EXPECT_TRUE(hasArgument(L"-Dx=y -last"));
    EXPECT_FALSE(hasArgument(L"-last"));
}

// --- Without -maxargcnt ---------------------------------------------------------------------------

TEST_F(Links, VmIsTakenFromAnywhere) {
    const std::wstring vm = L"\\\\localhost\\zl-no-share\\javaw.exe";
    EXPECT_EQ(launch({L"-vm", vm}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-vm"), vm);
    stopPlatform();
    EXPECT_EQ(launch({L"-vmargs", L"-vm", vm}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-vm"), vm);
    stopPlatform();
    EXPECT_EQ(launch({L"-vm"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0079E: -vm on command line must be followed by a valid jvm path.\n"));
    EXPECT_EQ(launch({L"-vm", L""}), fatalStatus);
}

// A service starts Java directly.
TEST_F(Links, VmOfAServiceIsTheProgramThatRuns) {
    setProperty("install.configuration", "service");
    layOut();
    fs::create_directories(root / L"brought");
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", root / L"brought" / L"any.exe");
    const fs::path area = install / L"eclipse" / L".workspace";
    EXPECT_EQ(launch({L"-vm", (root / L"brought" / L"any.exe").wstring()}), 0U) << tempLog();
    EXPECT_EQ(platformArguments(area).at(0), (root / L"brought" / L"any.exe").wstring());
    stopPlatform(area);
}

TEST_F(Links, ArgumentsAfterVmargsGoToTheJvm) {
    expectPlatformArguments({L"-vmargs", L"-javaagent:\\\\localhost\\zl-no-share\\a.jar", L"-Xmx1m"},
                            {L"-vmargs", L"-javaagent:\\\\localhost\\zl-no-share\\a.jar", L"-Xmx1m"});
}

TEST_F(Links, OverrideAddsOrRemovesAJvmOption) {
    baseLines.push_back("vmarg.Xss=-Xss1m");
    setProperty("config.wrong.1", "vmarg.x");
    EXPECT_EQ(launch({L"vmarg.Xss=", L"vmarg.agent=-javaagent:a.jar"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"-javaagent:a.jar"));
    EXPECT_FALSE(hasArgument(L"-Xss1m"));
    EXPECT_EQ(launch({L"vmarg.x"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0033E: zellauncher invoked with an invalid vmarg.\n"));
    EXPECT_EQ(launch({L"-config", L"wrong"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0128E: zellauncher invoked with an invalid vmarg.\n"));
}

// Arguments are screened before the tokens of an override are replaced.
TEST_F(Links, OverrideCanAssembleARefusedName) {
    EXPECT_EQ(launch({L"vmarg.x=-Djava.${env.ZL_NO_SUCH_VARIABLE,}home=C:\\x"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"-Djava.home=C:\\x"));
}

TEST_F(Links, OverrideReadsEnvironmentAndProperties) {
    environment[L"ZL_SECRET"] = L"secret";
    EXPECT_EQ(launch({L"vmarg.x=-Dx=${env.ZL_SECRET}-${prop.application}-${zel.home}"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"-Dx=secret-com.example.app-" + forward(install)));
    EXPECT_EQ(launch({L"vmarg.x=-Dx=${env.ZL_NO_SUCH_VARIABLE}"}), fatalStatus);
    EXPECT_TRUE(
        log().ends_with("ZLNCH0088E: property substitution is invalid (-Dx=${env.ZL_NO_SUCH_VARIABLE})\n"))
        << log();
}

// Only the tokens of directories are replaced in other arguments. But a main process stores its arguments
// as properties, and there an unknown token is fatal.
TEST_F(Links, TokensOfOtherArgumentsStay) {
    environment[L"ZL_SECRET"] = L"secret";
    expectPlatformArguments({L"${env.ZL_SECRET}", L"${zel.home}/x"},
                            {L"${env.ZL_SECRET}", forward(install) + L"/x"});
    for (const wchar_t* argument : {L"${env.ZL_NO_SUCH_VARIABLE}", L"zel:${unknown", L"${jvm}"}) {
        EXPECT_EQ(launch({argument}), fatalStatus);
        EXPECT_TRUE(contains(log(), "ZLNCH0088E: ")) << log();
    }
    EXPECT_EQ(launch(), 0U) << log();  // the next start is not affected
    EXPECT_EQ(launch({L"${env.ZL_NO_SUCH_VARIABLE}"}), 0U) << log();
    EXPECT_EQ(handedOver(1).at(2), L"${env.ZL_NO_SUCH_VARIABLE}");
}

TEST_F(Links, DataCanNameAVariable) {
    environment[L"ZL_PLACE"] = (root / L"named").wstring();
    EXPECT_EQ(launch({L"-data", L"${env.ZL_PLACE}"}), 0U) << tempLog();
    EXPECT_FALSE(platformArguments(root / L"named").empty());
    stopPlatform(root / L"named");
    EXPECT_EQ(launch({L"-data", L"${env.ZL_NO_SUCH_VARIABLE}"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0301E: Starts with placeholder. This should be translated\n"));
}

// The launcher trusts the zelinstall.properties of any workspace.
TEST_F(Links, ForeignWorkspaceBringsItsProperties) {
    const fs::path prepared = root / L"prepared";
    write(prepared / L".config" / L"zelinstall.properties",
          "zel.install.id=1234\r\nzel.base.location=${zel.home}/zel/eclipse/plugins/base_1.0\r\n"
          "vm=//localhost/zl-no-share/javaw.exe\r\nXbootclasspath.append=//localhost/zl-no-share/boot.jar\r\n"
          "plugincustomization=${zel.home}/custom.ini\r\n-Dprepared=true\r\nenv.set.PREPARED=yes\r\n");
    EXPECT_EQ(launch({L"-data", prepared.wstring()}), 0U) << log() << tempLog();
    const Arguments arguments = platformArguments(prepared);
    EXPECT_EQ(std::count(arguments.begin(), arguments.end(), L"//localhost/zl-no-share/javaw.exe"), 1);
    EXPECT_EQ(
        std::count(arguments.begin(), arguments.end(), L"-Xbootclasspath/a://localhost/zl-no-share/boot.jar"),
        1);
    stopPlatform(prepared);
}

TEST_F(Links, ConfigNamesOnlyConfigurationsOfTheInstall) {
    setProperty("config.app.1", "-Djava.home=of the packager");
    expectPlatformArguments({L"-config", L"app"}, {L"-Djava.home=of the packager"});
    EXPECT_EQ(launch({L"-config", L"..\\..\\other", L"x"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"x"));
    EXPECT_FALSE(hasArgument(L"-config"));
    EXPECT_FALSE(hasArgument(L"..\\..\\other"));
    stopPlatform();
    expectPlatformArguments({L"-config"}, {L"-config"});
}

// The launcher drops the first -configuration and appends its own after the other arguments.
TEST_F(Links, ConfigurationDirectoryIsTheLaunchersOwn) {
    expectPlatformArguments({L"-configuration", L"C:\\elsewhere", L"x"},
                            {L"--launcher.suppressErrors", L"x", L"-data"});
    expectPlatformArguments({L"-configuration", L"a", L"-configuration", L"b", L"x"},
                            {L"-configuration", L"b", L"x"});
}

TEST_F(Links, ApplicationProductAndStartupJarCanBeChosen) {
    EXPECT_EQ(
        launch({L"-application", L"a", L"-product", L"p", L"-perfJar", L"\\\\localhost\\zl-no-share\\s.jar"}),
        0U)
        << log();
    EXPECT_EQ(argumentAfter(L"-application"), L"a");
    EXPECT_EQ(argumentAfter(L"-product"), L"p");
    EXPECT_EQ(argumentAfter(L"-startup"), L"\\\\localhost\\zl-no-share\\s.jar");
    // The program itself is still the install's.
    EXPECT_EQ(platformArguments().at(0), forward(base) + L"\\win32\\x86_64\\eclipse.exe");
}

TEST_F(Links, ResetMovesTheUsersConfigurationAway) {
    EXPECT_EQ(launch(), 0U) << log();
    stopPlatform();
    write(workspace() / L".config" / L"mine", "kept");
    EXPECT_EQ(launch({L"-resetconfig"}), 0U) << log();
    EXPECT_EQ(read(workspace() / L".configbak" / L"mine"), "kept");
    EXPECT_FALSE(fs::exists(workspace() / L".config" / L"mine"));
}

TEST_F(Links, ProvManifestWithARunningPlatformIsFatal) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(launch({L"-provManifest"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0122E: Attempting to install while process ")) << log();
    EXPECT_TRUE(isPlatformRunning());
}

}  // namespace
