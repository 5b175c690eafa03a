#include "launch/argument_screening.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "instance/lock_owner.h"
#include "instance/platform_lock.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::Outcome;
using zellauncher::Arguments;

constexpr const char* badCount =
    "ZLNCH0069E: zellauncher invoked with an invalid URL handler action - bad argument count.";
constexpr const char* badQuote = "ZLNCH0089E: zellauncher invoked with double quote in arg - bad argument.";
constexpr const char* jvmLibraryPath =
    "ZLNCH0190E: zellauncher invoked with arg containing \"jvm.library.path\" - not allowed.";
constexpr const char* javaLibraryPath =
    "ZLNCH0191E: zellauncher invoked with arg containing \"java.library.path\" - not allowed.";
constexpr const char* javaHome =
    "ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.";

class ArgumentScreening : public launchertest::OnMachine {
protected:
    bool isMain = true;
    std::int32_t owner = 77;

    Outcome checkCount(const Arguments& arguments) {
        return run([&] { zellauncher::checkUrlHandlerArgs(arguments); });
    }
    Outcome checkQuotes(const Arguments& arguments) {
        return run([&] { zellauncher::checkDoubleQuotes(arguments); });
    }
    Outcome checkForbidden(const Arguments& arguments) {
        return run([&] { zellauncher::checkForbiddenArgs(arguments); });
    }
    Outcome checkManifest(const Arguments& arguments) {
        return run([&] {
            zellauncher::isMainProcess = isMain;
            zellauncher::lockOwnerPid = owner;
            zellauncher::checkProvManifest(arguments);
        });
    }
};

void expectPassed(const Outcome& outcome) {
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ArgumentScreening, DeclaredCountIncludesProgramAndDeclaration) {
    expectPassed(checkCount({L"prog", L"-maxargcnt", L"3"}));
    checkCount({L"prog", L"-maxargcnt", L"3", L"x"}).expectFatal(badCount);
    checkCount({L"prog", L"-maxargcnt", L"4"}).expectFatal(badCount);
}

TEST_F(ArgumentScreening, DeclaredCountMayHaveSeveralDigits) {
    Arguments arguments = {L"prog", L"-maxargcnt", L"119"};
    arguments.resize(119);
    expectPassed(checkCount(arguments));
    arguments.emplace_back();
    checkCount(arguments).expectFatal(badCount);
}

TEST_F(ArgumentScreening, RestartOptionIsNotCounted) {
    expectPassed(checkCount({L"prog", L"-maxargcnt", L"4", L"-restart", L"x"}));
    checkCount({L"prog", L"-maxargcnt", L"5", L"-restart", L"x"}).expectFatal(badCount);
}

TEST_F(ArgumentScreening, NonNumericCountIsFatal) {
    checkCount({L"prog", L"-maxargcnt"}).expectFatal(badCount);
    for (const wchar_t* count : {L"abc", L"", L"+3", L" 3"}) {
        SCOPED_TRACE(count);
        checkCount({L"prog", L"-maxargcnt", count}).expectFatal(badCount);
    }
}

TEST_F(ArgumentScreening, CountEndsAtTheFirstNonDigit) {
    expectPassed(checkCount({L"prog", L"-maxargcnt", L"3x"}));
    expectPassed(checkCount({L"prog", L"-maxargcnt", L"003"}));
}

TEST_F(ArgumentScreening, CountBeyond32BitsIsFatal) {
    const std::vector<std::wstring> counts = {L"4294967299",            // 2^32 + 3
                                              L"18446744073709551619",  // 2^64 + 3
                                              std::wstring(5000, L'9')};
    for (const std::wstring& count : counts) {
        SCOPED_TRACE(count);
        checkCount({L"prog", L"-maxargcnt", count}).expectFatal(badCount);
    }
}

TEST_F(ArgumentScreening, CommandLineWithoutADeclaredCountPasses) {
    expectPassed(checkCount({}));
    expectPassed(checkCount({L"prog"}));
    expectPassed(checkCount({L"-maxargcnt"}));
    expectPassed(checkCount({L"prog", L"-MAXARGCNT", L"9"}));
    expectPassed(checkCount({L"prog", L"-maxargcntx", L"9"}));
}

TEST_F(ArgumentScreening, DoubleQuoteInAnyArgumentIsFatal) {
    expectPassed(checkQuotes({L"prog", L"it's", L"a b"}));
    checkQuotes({L"prog", L"x", L"a\"b"}).expectFatal(badQuote);
    checkQuotes({L"pr\"og"}).expectFatal(badQuote);
}

TEST_F(ArgumentScreening, JvmLibraryPathAndHomeAreForbidden) {
    checkForbidden({L"prog", L"xjvm.library.pathx"}).expectFatal(jvmLibraryPath);
    checkForbidden({L"prog", L"-Djava.library.path=x"}).expectFatal(javaLibraryPath);
    checkForbidden({L"prog", L"-Djava.home=x"}).expectFatal(javaHome);
    checkForbidden({L"prog", L"-Djava.homeX=y"}).expectFatal(javaHome);
    checkForbidden({L"C:\\java.home\\zel\\zellauncher.exe"}).expectFatal(javaHome);
    expectPassed(checkForbidden({L"prog", L"JAVA.HOME", L"java_home", L"library.path"}));
}

TEST_F(ArgumentScreening, FirstForbiddenTextOfTheFirstArgumentDecides) {
    checkForbidden({L"prog", L"java.home java.library.path jvm.library.path"}).expectFatal(jvmLibraryPath);
    checkForbidden({L"prog", L"java.home", L"jvm.library.path"}).expectFatal(javaHome);
}

TEST_F(ArgumentScreening, ProvisioningIsFatalWhileThePlatformRuns) {
    expectPassed(checkManifest({L"prog", L"-provManifest"}));
    isMain = false;
    expectPassed(checkManifest({L"prog", L"-provmanifest"}));
    expectPassed(checkManifest({L"-provManifest"}));
    owner = 4711;
    checkManifest({L"prog", L"-provManifest"})
        .expectFatal("ZLNCH0122E: Attempting to install while process 4711 is running.");
    owner = -5;
    checkManifest({L"prog", L"-provManifest"})
        .expectFatal("ZLNCH0122E: Attempting to install while process -5 is running.");
}

TEST_F(ArgumentScreening, RestartFlagIsAWholeArgumentAfterTheProgram) {
    EXPECT_TRUE(zellauncher::hasRestartFlag({L"prog", L"-restart"}));
    EXPECT_FALSE(zellauncher::hasRestartFlag({L"-restart"}));
    EXPECT_FALSE(zellauncher::hasRestartFlag({L"prog", L"-Restart", L"-restart=1"}));
}

}  // namespace
